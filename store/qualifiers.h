// The qualifiers of a data block: a fixed set, so that whatever tells two data blocks apart can be listed and asked
// for.
#ifndef QSRV_QUALIFIERS_H
#define QSRV_QUALIFIERS_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"

namespace qsrv {

// In the order in which lists show them. The last one belongs to the host that reads: located and scratch data blocks
// have it, bodies do not.
inline constexpr std::array<std::string_view, 7> kQualifierNames{"selabel", "projno",  "version", "peid",
                                                                 "desiter", "stepcur", "highqual"};
inline constexpr std::size_t kLabel = 0;
inline constexpr std::size_t kHighQualifier = 6;
// The data blocks that bodies are.
inline constexpr std::string_view kBodies = "sbrdb";

using Qualifiers = std::array<std::string, kQualifierNames.size()>;

// Throws bad_qualifier for a name that is none.
std::size_t qualifier_index(std::string_view name);
// False for a value that no list could show so that it is found again.
bool is_listable(std::size_t qualifier, std::string_view value);
// The qualifiers of a new data block, with the values that stand where the command gives none.
Qualifiers qualifiers_from(const Terms &terms, std::string_view block_name);

// ---- selecting and changing ----------------------------------------------------------------------------------------

struct Condition {
  std::size_t qualifier = 0;
  std::string value;
};
using Conditions = std::vector<Condition>;

// Terms that match everything make no condition, nor does "wildcard=true": it says only that qualifiers that are not
// named may have any value, which holds at all times.
Conditions conditions_of(const Terms &where);
bool holds(const Conditions &where, const Qualifiers &qualifiers);

// A new value: that of another qualifier of the block, or a value of its own.
struct Change {
  std::size_t target = 0;
  std::optional<std::size_t> source;
  std::string value;
};
using Changes = std::vector<Change>;

// A value that is the name of a qualifier stands for the value of that qualifier.
Changes changes_of(const Terms &convert);
Qualifiers changed(const Changes &changes, const Qualifiers &qualifiers);
// The conditions on qualifiers from before the changes; nothing when no data block can meet them.
std::optional<Conditions> before(const Changes &changes, const Conditions &where);

}  // namespace qsrv

#endif
