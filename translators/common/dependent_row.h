// Rows of a matrix that follow other rows.
#ifndef SBRKIT_TRANSLATORS_COMMON_DEPENDENT_ROW_H
#define SBRKIT_TRANSLATORS_COMMON_DEPENDENT_ROW_H

#include <utility>
#include <vector>

namespace sbrtranslate {

// A row whose value is a combination of other rows, none of which is dependent itself.
struct DependentRow {
  int row = 0;
  std::vector<std::pair<int, double>> terms;  // row and factor
};

}  // namespace sbrtranslate

#endif
