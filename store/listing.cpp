#include "listing.h"

#include <algorithm>

#include "status.h"

namespace qsrv {
namespace {

constexpr std::string_view kRow = "row";

struct Column {
  std::string heading;
  std::size_t qualifier = 0;
  bool is_row = false;
  std::size_t width = 0;

  [[nodiscard]] bool is_label() const { return !is_row && qualifier == kLabel; }
  [[nodiscard]] std::string value(const ListRow &row) const {
    if (is_row) return std::to_string(row.row);
    const std::string &value = row.qualifiers[qualifier];
    return is_label() ? "'" + value + "'" : value;
  }
};

Column column_of(const Term &term, const std::vector<ListRow> &rows) {
  Column column;
  column.is_row = term.name == kRow;
  if (!column.is_row) column.qualifier = qualifier_index(term.name);
  const std::string heading = term.has_value ? term.value : upper_case(term.name);
  column.heading = column.is_label() ? " " + heading : heading;
  column.width = column.heading.size();
  for (const ListRow &row : rows) column.width = std::max(column.width, column.value(row).size());
  return column;
}

void append_padded(std::string &text, const std::string &value, std::size_t width) {
  text += value;
  text.append(width - std::min(width, value.size()) + 1, ' ');
}

}  // namespace

std::string list_text(const std::vector<ListRow> &rows, const Terms &terms) {
  constexpr std::size_t kMost = INT32_MAX - 16;
  std::vector<Column> columns;
  std::size_t line = 1;
  for (const Term &term : terms) {
    columns.push_back(column_of(term, rows));
    line += columns.back().width + 1;
  }
  if (rows.size() + 2 > kMost / line) throw Failure{Status::no_room};
  std::string text;
  text.reserve((rows.size() + 2) * line);
  for (const Column &column : columns) append_padded(text, column.heading, column.width);
  text += '\n';
  for (const Column &column : columns) append_padded(text, std::string(column.width, '-'), column.width);
  text += '\n';
  for (const ListRow &row : rows) {
    for (const Column &column : columns) append_padded(text, column.value(row), column.width);
    text += '\n';
  }
  return text;
}

}  // namespace qsrv
