// The database front, browsing: which bodies a database file holds, and by which qualifiers each is known.
#include "database/browse.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/reports.h"
#include "database/binding.h"
#include "database/blocks.h"
#include "database/check.h"
#include "sbrkit/sbrkit.h"

namespace sbr::db {
namespace {

constexpr std::int64_t kListSlack = 2;  // bytes that the list's buffer has beyond the length given

int browse_count = 0;  // the logical numbers used so far

// ---- asking the database -------------------------------------------------------------------------------------------

// Makes the bodies of the file known in the open database under the qualifier highqual = -number.
int locate_bodies(const char *path, int number) noexcept {
  int status = assign("dbbrw", number, path);
  if (status != 0) return status;
  Text command;
  if (!print(command,
             "dblocate logical=dbbrw%d datablk=(sbrdb) where(projno=* and version=*) "
             "convert(projno=projno;version=version;highqual=%d)",
             number, -number)) {
    report_no_memory(unit_name::kDatabaseBrowse);
    return 1;
  }
  entries().db_command(text_of(command), &status);
  return status;
}

// The dictionary's list of those bodies. A status that is not 0 also stands for an empty list.
int list_bodies(int number, Text &list) noexcept {
  Text command;
  if (!print(command,
             "dbdict datablk(sbrdb) where(highqual=%d) "
             "select(selabel,projno='projno',version='version',peid,desiter,stepcur)",
             -number)) {
    report_no_memory(unit_name::kDatabaseBrowse);
    return 1;
  }
  char one = 0;
  int needed = 0;
  int status = 0;
  entries().get_dbdict(text_of(command), &one, 1, &needed, &status);
  if (needed <= 0) return 1;
  const std::int64_t size = needed + kListSlack;
  if (size > INT32_MAX || !list.allocate(size + 1)) {
    report_no_memory(unit_name::kDatabaseBrowse);
    return 1;
  }
  status = 0;
  entries().get_dbdict(text_of(command), list.data(), static_cast<int>(size), &needed, &status);
  return status;
}

// ---- reading the list ----------------------------------------------------------------------------------------------

// The next line of the text that is not empty, taken off its front.
std::string_view take_line(std::string_view &text) noexcept {
  while (text.starts_with('\n')) text.remove_prefix(1);
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(line.size());
  return line;
}

// A column of the list: its name, and where names and values start.
struct Column {
  std::string_view name;
  std::size_t offset = 0;
};

// The column at or behind a place of the header line; its name is empty behind the last one.
Column column_from(std::string_view header, std::size_t place) noexcept {
  const std::size_t start = header.find_first_not_of(' ', place);
  if (start == std::string_view::npos) return {};
  return {header.substr(start, header.find(' ', start) - start), start};
}

// A label: the text up to the next single quote without trailing blanks. The opening quote stands at the offset or just
// ahead of it.
std::string_view label_at(std::string_view line, std::size_t offset) noexcept {
  std::string_view value = offset < line.size() ? line.substr(offset) : std::string_view();
  const bool is_open = offset > 0 && offset <= line.size() && line[offset - 1] == '\'';
  if (!is_open && value.starts_with('\'')) value.remove_prefix(1);
  value = value.substr(0, value.find('\''));
  return value.substr(0, value.find_last_not_of(' ') + 1);
}

std::string_view value_at(std::string_view line, std::size_t offset) noexcept {
  const std::string_view value = offset < line.size() ? line.substr(offset) : std::string_view();
  return value.substr(0, value.find(' '));
}

// "NAME=value,NAME=value" of a line of the list; labels stand between single quotes.
bool describe(std::string_view header, std::string_view line, Text &out) noexcept {
  out.clear();
  bool room = append(out, "");
  for (Column column = column_from(header, 0); room && !column.name.empty();
       column = column_from(header, column.offset + column.name.size())) {
    if (!view_of(out).empty()) room = append(out, ",");
    room = room && append(out, column.name) && append(out, "=");
    if (column.name == "SELABEL")
      room = room && append(out, "'") && append(out, label_at(line, column.offset)) && append(out, "'");
    else
      room = room && append(out, value_at(line, column.offset));
  }
  return room;
}

// The line of body number index of `count`: the bodies are the last lines that are not empty. Null when there are
// fewer.
std::string_view body_line(std::string_view text, std::int64_t count, int index) noexcept {
  std::int64_t lines = 0;
  for (std::string_view rest = text; !take_line(rest).empty();) ++lines;
  std::string_view line;
  for (std::int64_t i = std::max<std::int64_t>(lines - count, 0) + index; i > 0; --i) line = take_line(text);
  return line;
}

}  // namespace

std::int64_t browse(const char *path, int index, Text &qualifiers) noexcept {
  qualifiers.release();
  if (judge_file(path) != FileCheck::usable) return kUnusableFile;
  const int number = ++browse_count;
  Text list;
  if (locate_bodies(path, number) != 0) return 0;
  const int status = list_bodies(number, list);

  std::string_view text = view_of(list);
  // The names take a line, and so does what stands below them or an empty end.
  const std::int64_t bodies = std::max<std::int64_t>(std::count(text.begin(), text.end(), '\n') - 2, 0);
  if (status != 0 || index < 1 || index > bodies) return bodies;

  const std::string_view header = take_line(text);
  const std::string_view line = body_line(text, bodies, index);
  if (!line.empty() && !describe(header, line, qualifiers)) {
    qualifiers.release();
    report_no_memory(unit_name::kDatabaseBrowse);
  }
  return bodies;
}

}  // namespace sbr::db

extern "C" {

uint32_t DB_BodyBrowser(const char *path, int index, char *text) {
  sbr::Text qualifiers;
  const std::int64_t bodies = sbr::db::browse(path, index, qualifiers);
  if (text != nullptr) {
    const std::string_view shown = sbr::view_of(qualifiers).substr(0, DB_BROWSER_TEXT - 1);
    if (!shown.empty()) std::memcpy(text, shown.data(), shown.size());
    text[shown.size()] = '\0';
  }
  return static_cast<uint32_t>(bodies);
}

}  // extern "C"
