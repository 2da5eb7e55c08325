// The commands of a database: a verb and items, "dbcreate datablk=(sbrdb) quals(projno=1;selabel='wing')". The grammar:
//
//   command   = [ verb ] { item }
//   verb      = word                                     only in front, and only without "=" or "(" behind it
//   item      = word                                     the set in "init dbsbr"
//             | word "=" value | word [ "=" ] list
//   list      = "(" { separator } [ term { separator { separator } term } ] { separator } ")"
//   term      = word [ "=" value ]
//   separator = "," | ";" | "and"
//   value     = word | quoted
//   quoted    = "'" { any character but "'", or "''" for one } "'"
//   word      = one or more of any characters but blank, tab, line ends and  = ( ) , ; '
//
// Behind "=" stands a value, whatever it reads: "projno=and" has the value "and". "and" in any case of letters
// separates where a term could start or end. A value is never left out; the empty one is ''. Verbs and the names of
// items and terms are taken in lower case, values as they stand.
#ifndef QSRV_COMMAND_H
#define QSRV_COMMAND_H

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qsrv {

// One part of a list: "name", "name=value" or "name='value'". Names are in lower case.
struct Term {
  std::string name;
  std::string value;
  bool has_value = false;
  bool quoted = false;

  // True for an unquoted "*", which stands for every value.
  [[nodiscard]] bool matches_all() const { return !quoted && value == "*"; }
};

using Terms = std::vector<Term>;

struct Command {
  std::string verb;                    // in lower case; empty when the text starts with an item
  std::map<std::string, Terms> items;  // by name in lower case; "name=value" is one term that has that value alone

  // The terms of an item; throws bad_command when there is no such item.
  [[nodiscard]] const Terms &item(const std::string &name) const;
  // The same, empty when there is no such item.
  [[nodiscard]] const Terms &optional_item(const std::string &name) const;
  // Throws bad_command when there is an item beside those.
  void allow_only(std::initializer_list<std::string_view> names) const;
  // The only term of an item such as datablk=(sbrdb) or logical=name.
  [[nodiscard]] const std::string &name_of(const std::string &name) const;
};

// Takes a text apart; throws bad_command for one that does not keep to the grammar.
Command parse_command(std::string_view text);

std::string lower_case(std::string_view text);
std::string upper_case(std::string_view text);

}  // namespace qsrv

#endif
