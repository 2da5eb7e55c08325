// The database front, browsing: which bodies a database file holds, and by which qualifiers each is known.
#include <cstring>
#include <string_view>

#include "base/reports.h"
#include "database/front.h"
#include "sbrkit/sbrkit.h"

namespace {

using sbr::append;
using sbr::print;
using sbr::Text;
using sbr::text_of;
using sbr::view_of;

constexpr std::int64_t kListSlack = 2;  // bytes that the list's buffer has beyond the length given

int browse_count = 0;  // the logical numbers used so far

// ---- asking the database -------------------------------------------------------------------------------------------

// Makes the bodies of the file known in the open database under the qualifier highqual = -number.
int locate_bodies(const char *path, int number) noexcept {
  int status = sbr::assign("dbbrw", number, path);
  if (status != 0) return status;
  Text command;
  if (!print(command,
             "dblocate logical=dbbrw%d datablk=(sbrdb) where(projno=* and version=*) "
             "convert(projno=projno;version=version;highqual=%d)",
             number, -number)) {
    sbr::report_no_memory(sbr::unit_name::kDatabaseBrowse);
    return 1;
  }
  CDB_QS_DbCommand(text_of(command), &status);
  return status;
}

// The dictionary's list of those bodies. A status that is not 0 also stands for an empty list.
int list_bodies(int number, Text &list) noexcept {
  Text command;
  if (!print(command,
             "dbdict datablk(sbrdb) where(highqual=%d) "
             "select(selabel,projno='projno',version='version',peid,desiter,stepcur)",
             -number)) {
    sbr::report_no_memory(sbr::unit_name::kDatabaseBrowse);
    return 1;
  }
  char one = 0;
  int needed = 0;
  int status = 0;
  CDB_QS_GetDbdict(text_of(command), &one, 1, &needed, &status);
  if (needed <= 0) return 1;
  const std::int64_t size = needed + kListSlack;
  if (size > INT32_MAX || !list.allocate(size + 1)) {
    sbr::report_no_memory(sbr::unit_name::kDatabaseBrowse);
    return 1;
  }
  status = 0;
  CDB_QS_GetDbdict(text_of(command), list.data(), static_cast<int>(size), &needed, &status);
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

}  // namespace

namespace sbr {

std::int64_t browse(const char *path, int index, Text &qualifiers) noexcept {
  qualifiers.release();
  if (DB_CheckDBset(path) != 0) return kUnusableFile;
  const int number = ++browse_count;
  Text list;
  if (locate_bodies(path, number) != 0) return 0;
  const int status = list_bodies(number, list);

  std::string_view text = view_of(list);
  std::int64_t bodies = -2;  // the header and the line below it are no bodies
  for (const char character : text) bodies += character == '\n' ? 1 : 0;
  if (bodies < 0) bodies = 0;
  if (status != 0 || index < 1 || index > bodies) return bodies;

  const std::string_view header = take_line(text);
  std::string_view line;
  for (int i = 0; i <= index; ++i) line = take_line(text);
  if (!describe(header, line, qualifiers)) {
    qualifiers.release();
    sbr::report_no_memory(sbr::unit_name::kDatabaseBrowse);
  }
  return bodies;
}

}  // namespace sbr

extern "C" {

uint32_t DB_BodyBrowser(const char *path, int index, char *text) {
  Text qualifiers;
  const std::int64_t bodies = sbr::browse(path, index, qualifiers);
  if (text != nullptr) {
    const std::string_view shown = view_of(qualifiers).substr(0, DB_BROWSER_TEXT - 1);
    if (!shown.empty()) std::memcpy(text, shown.data(), shown.size());
    text[shown.size()] = '\0';
  }
  return static_cast<uint32_t>(bodies);
}

}  // extern "C"
