// Qualifiers: names, values, conditions on them and changes of them.
#include "qualifiers.h"

#include <algorithm>
#include <utility>

#include "status.h"

namespace qsrv {
namespace {

std::string without_trailing_blanks(const std::string &text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' || c == '-' ||
         c == '.' || c == '_' || (static_cast<unsigned char>(c) & 0x80) != 0;
}

}  // namespace

std::size_t qualifier_index(std::string_view name) {
  const auto *const place = std::find(kQualifierNames.begin(), kQualifierNames.end(), name);
  if (place == kQualifierNames.end()) throw Failure{Status::bad_qualifier};
  return static_cast<std::size_t>(place - kQualifierNames.begin());
}

bool is_listable(std::size_t qualifier, std::string_view value) {
  if (qualifier != kLabel) return !value.empty() && std::all_of(value.begin(), value.end(), is_plain);
  return !value.ends_with(' ') &&
         std::none_of(value.begin(), value.end(), [](char c) { return c == '\'' || is_control(c); });
}

Qualifiers qualifiers_from(const Terms &terms, std::string_view block_name) {
  Qualifiers qualifiers{"", "1", "1", "0", "0", "0", "0"};
  std::array<bool, kQualifierNames.size()> given{};
  for (const Term &term : terms) {
    const std::size_t index = qualifier_index(term.name);
    const std::string value = without_trailing_blanks(term.value);
    if (!term.has_value || term.matches_all() || !is_listable(index, value)) throw Failure{Status::bad_qualifier};
    // Two values for one qualifier, or one that no list of bodies shows: which was meant could not be told later.
    if (std::exchange(given[index], true) || (index == kHighQualifier && block_name == kBodies))
      throw Failure{Status::bad_qualifier};
    qualifiers[index] = value;
  }
  return qualifiers;
}

Conditions conditions_of(const Terms &where) {
  Conditions conditions;
  for (const Term &term : where) {
    if (!term.has_value) throw Failure{Status::bad_command};
    if (term.name == "wildcard") continue;
    const std::size_t index = qualifier_index(term.name);
    if (!term.matches_all()) conditions.push_back({index, without_trailing_blanks(term.value)});
  }
  return conditions;
}

bool holds(const Conditions &where, const Qualifiers &qualifiers) {
  return std::all_of(where.begin(), where.end(),
                     [&](const Condition &condition) { return qualifiers[condition.qualifier] == condition.value; });
}

Changes changes_of(const Terms &convert) {
  Changes changes;
  for (const Term &term : convert) {
    if (!term.has_value) throw Failure{Status::bad_command};
    Change change{qualifier_index(term.name), std::nullopt, without_trailing_blanks(term.value)};
    const auto *const name =
        std::find(kQualifierNames.begin(), kQualifierNames.end(), std::string_view(lower_case(term.value)));
    if (!term.quoted && name != kQualifierNames.end())
      change.source = static_cast<std::size_t>(name - kQualifierNames.begin());
    else if (!is_listable(change.target, change.value))
      throw Failure{Status::bad_qualifier};
    changes.push_back(change);
  }
  return changes;
}

Qualifiers changed(const Changes &changes, const Qualifiers &qualifiers) {
  Qualifiers result = qualifiers;
  for (const Change &change : changes)
    result[change.target] = change.source ? qualifiers[*change.source] : change.value;
  return result;
}

std::optional<Conditions> before(const Changes &changes, const Conditions &where) {
  Conditions result;
  for (const Condition &condition : where) {
    const auto change = std::find_if(changes.rbegin(), changes.rend(),
                                     [&](const Change &each) { return each.target == condition.qualifier; });
    if (change == changes.rend())
      result.push_back(condition);
    else if (change->source)
      result.push_back({*change->source, condition.value});
    else if (change->value != condition.value)
      return std::nullopt;
  }
  return result;
}

}  // namespace qsrv
