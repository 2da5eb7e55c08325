// The dictionary's list as text: a line of headings, a line that separates, and a line for each data block.
#ifndef QSRV_LISTING_H
#define QSRV_LISTING_H

#include <cstdint>
#include <string>
#include <vector>

#include "qualifiers.h"

namespace qsrv {

struct ListRow {
  std::int64_t row = 0;  // the data block's number in the list of its database, from 1
  Qualifiers qualifiers;
};

// Columns are qualifiers, or "row". A column's heading is the value of its term, else its name in upper case. Labels
// stand between quotes, the opening one just ahead of the column. Throws no_room for a text that no caller could take.
std::string list_text(const std::vector<ListRow> &rows, const Terms &columns);

}  // namespace qsrv

#endif
