// sbr db put, list, check, repair, get: bodies in the solver's database.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string_view>

#include "datablock.h"
#include "interrupt.h"
#include "output.h"
#include "session.h"
#include "writing.h"

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

constexpr const char *kSuffix = ".MASTER";
constexpr const char *kDataSuffix = ".DBALL";

// ---- the database library ------------------------------------------------------------------------------------------

// The plug-in directory that belongs to this program: the installed one, or that of the build tree it stands in.
fs::path plugin_directory() {
  std::error_code code;
  const fs::path program = fs::read_symlink("/proc/self/exe", code);
  if (code) return {};
  const fs::path here = program.parent_path();
  if (const fs::path installed = here / ".." / SBR_PLUGIN_DIRECTORY; fs::is_directory(installed, code))
    return installed.lexically_normal();
  const fs::path build = here / "../..";
  if (fs::exists(build / "CMakeCache.txt", code) && fs::is_directory(build / "plugins", code))
    return (build / "plugins").lexically_normal();
  return {};
}

// Names the store that comes with the program where the environment names no other, and a home, which that store does
// not look into.
void prepare_environment() {
  const fs::path plugins = plugin_directory();
  if (!plugins.empty()) setenv("KTX_USER_PLUGIN_DIR", plugins.c_str(), 0);
  if (const char *home = std::getenv("KTX_QSRVHOME_DIR"); home == nullptr)
    setenv("KTX_QSRVHOME_DIR", plugins.empty() ? "/" : plugins.c_str(), 1);
  else
    setenv("KTX_QSRVHOME_DIR", fs::absolute(*home == '\0' ? "." : home).c_str(), 1);
}

void load_library() {
  prepare_environment();
  if (CDB_LoadLibrary() == 0)
    throw Failure(kFailed,
                  "the database library Qsrv_22_2 cannot be loaded; KTX_USER_PLUGIN_DIR names the directory it is in");
}

// Reading needs a scratch database in the current directory: it gets a directory of its own, which goes at the end. A
// signal waits until the databases are closed.
class ReadingRun {
 public:
  ReadingRun() : before_(open(".", O_PATH | O_CLOEXEC)) {
    if (chdir(directory_.path().c_str()) != 0)
      throw Failure(kFailed, directory_.path().string() + ": " + std::strerror(errno));
    if (DB_StartBase() == 0) {
      close();
      throw Failure(kFailed, "the database system cannot be started");
    }
  }
  ~ReadingRun() { close(); }
  ReadingRun(const ReadingRun &) = delete;
  ReadingRun &operator=(const ReadingRun &) = delete;

 private:
  // Relative paths in the environment are meant from where the program was started.
  struct Library {
    Library() { load_library(); }
    ~Library() { CDB_UnloadLibrary(); }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
  };
  void close() {
    DB_TermBase();
    std::error_code code;
    if (before_ < 0 || fchdir(before_) != 0) fs::current_path("/", code);
    if (before_ >= 0) ::close(before_);
  }
  OrderlyEnd end_;
  Library library_;
  WorkDirectory directory_;
  int before_;
};

// ---- bodies of a database ------------------------------------------------------------------------------------------

// Ends the command when the file cannot be used. The reason has been reported.
void require_usable(const std::string &store) {
  if (DB_CheckDBset(store.c_str()) != 0) throw Failure(kUnreadable, store + ": not a usable database");
}

// What the statuses of a database library mean, as far as they come from looking for bodies.
std::string meaning(int status) {
  switch (status) {
    case 103:
      return "its data cannot be opened";
    case 107:
      return "its data are damaged, or none of this store";
    case 112:
      return "another process keeps it locked";
    case 116:
      return "the list of its bodies is too long";
    default:
      return "it gives no answer";
  }
}

void require_status(int status, const std::string &store) {
  if (status != 0)
    throw Failure(kUnreadable,
                  store + ": the database cannot be read, status " + std::to_string(status) + ": " + meaning(status));
}

// The high qualifiers under which this program knows bodies; those of the library's front are near zero.
int next_high_qualifier() {
  static int last = -1000000;
  return --last;
}

// Makes the bodies of a database known under a high qualifier. `choice` narrows them, as in " row=3".
int locate(const std::string &path, int high, const std::string &choice = "") {
  std::string quoted;
  for (const char c : path) quoted.append(c == '\'' ? 2 : 1, c);
  int status = 0;
  CDB_QS_DbCommand(("assign sbrlist='" + quoted + "'").c_str(), &status);
  if (status != 0) return status;
  const std::string command =
      "dblocate logical=sbrlist datablk=(sbrdb) where(projno=* and version=*) "
      "convert(projno=projno;version=version;highqual=" +
      std::to_string(high) + ")" + choice;
  CDB_QS_DbCommand(command.c_str(), &status);
  return status;
}

// The dictionary's list of what is known under a high qualifier; empty for nothing.
int dictionary(int high, const std::string &columns, std::string &list) {
  const std::string command =
      "dbdict datablk(sbrdb) where(highqual=" + std::to_string(high) + ") select(" + columns + ")";
  list.clear();
  char one = 0;
  int needed = 0;
  int status = 0;
  CDB_QS_GetDbdict(command.c_str(), &one, 1, &needed, &status);
  if (status != 0 || needed <= 0) return status;
  list.resize(static_cast<std::size_t>(needed) + 2);
  CDB_QS_GetDbdict(command.c_str(), list.data(), needed + 2, &needed, &status);
  list.resize(std::min(list.size(), static_cast<std::size_t>(std::max(needed, 0))));
  return status;
}

// ---- the list of bodies --------------------------------------------------------------------------------------------

struct BodyColumn {
  std::string name;  // in lower case
  std::size_t offset = 0;
};

struct BodyList {
  std::vector<std::string> names;
  std::vector<std::vector<std::string>> bodies;  // values in the order of the names
};

// Takes a line off the front of the text; false where it does not end.
bool take_line(std::string_view &text, std::string_view &line) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) return false;
  line = text.substr(0, end);
  text.remove_prefix(end + 1);
  return true;
}

std::vector<BodyColumn> columns_of(std::string_view header) {
  std::vector<BodyColumn> columns;
  for (std::size_t at = header.find_first_not_of(' '); at != std::string_view::npos;) {
    const std::size_t end = std::min(header.find(' ', at), header.size());
    BodyColumn column{std::string(header.substr(at, end - at)), at};
    for (char &c : column.name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    columns.push_back(column);
    at = header.find_first_not_of(' ', end);
  }
  return columns;
}

// The value below a column's name; nothing when there is none. A label stands between quotes, of which the first may
// stand just ahead of the column.
std::optional<std::string> value_at(std::string_view line, const BodyColumn &column) {
  if (column.offset >= line.size()) return std::nullopt;
  std::string_view value = line.substr(column.offset);
  if (column.name != "selabel") {
    value = value.substr(0, value.find(' '));
    return value.empty() ? std::nullopt : std::optional(std::string(value));
  }
  if (column.offset == 0 || line[column.offset - 1] != '\'') {
    if (!value.starts_with('\'')) return std::nullopt;
    value.remove_prefix(1);
  }
  const std::size_t end = value.find('\'');
  if (end == std::string_view::npos) return std::nullopt;
  value = value.substr(0, end);
  return std::string(value.substr(0, value.find_last_not_of(' ') + 1));
}

// A line of names, one that separates, and one for each body.
BodyList bodies_from(std::string_view text, const std::string &store) {
  BodyList list;
  std::string_view header;
  std::string_view line;
  if (text.empty()) return list;
  if (!take_line(text, header) || !take_line(text, line))
    throw Failure(kUnreadable, store + ": the list of bodies cannot be read");
  const std::vector<BodyColumn> columns = columns_of(header);
  for (const BodyColumn &column : columns) list.names.push_back(clean(column.name));
  while (!text.empty()) {
    std::vector<std::string> values;
    bool complete = take_line(text, line) && !columns.empty();
    for (std::size_t i = 0; complete && i < columns.size(); ++i) {
      const std::optional<std::string> value = value_at(line, columns[i]);
      complete = value.has_value();
      if (complete) values.push_back(clean(*value));
    }
    if (!complete)
      throw Failure(kUnreadable,
                    store + ": the description of body " + std::to_string(list.bodies.size() + 1) + " is missing");
    list.bodies.push_back(std::move(values));
  }
  return list;
}

// `path` is absolute, `store` the name for messages.
BodyList list_bodies(const fs::path &path, const std::string &store) {
  const int high = next_high_qualifier();
  require_status(locate(path, high), store);
  std::string text;
  require_status(dictionary(high, "selabel,projno='projno',version='version',peid,desiter,stepcur", text), store);
  return bodies_from(text, store);
}

// Opens the body at a row of the list without asking for the list. 0 where the library does not know how: its answer
// would name the row.
int open_row(const fs::path &path, int row) {
  const int high = next_high_qualifier();
  std::string text;
  if (locate(path, high, " row=" + std::to_string(row)) != 0 || dictionary(high, "row='row'", text) != 0) return 0;
  std::string_view rest = text;
  std::string_view header;
  std::string_view line;
  if (!take_line(rest, header) || !take_line(rest, line) || !take_line(rest, line) || !rest.empty()) return 0;
  const std::vector<BodyColumn> columns = columns_of(header);
  if (columns.size() != 1 || columns[0].name != "row" || value_at(line, columns[0]) != std::to_string(row)) return 0;
  int unit = 0;
  int count = 0;
  int status = 0;
  const std::string command =
      "datablk=(sbrdb) where(projno=* and version=* and highqual=" + std::to_string(high) + " and wildcard=true)";
  CDB_QS_AllocDatablk(command.c_str(), &unit, &count, &status);
  return status == 0 && count == 1 && CDB_Ruvo_Open(unit, 0, 0) != 0 ? unit : 0;
}

// The unit of a body that is open for reading, or the end of the command.
int open_body(const fs::path &path, const std::string &store, int index) {
  if (const int unit = open_row(path, index); unit != 0) return unit;
  const std::size_t bodies = list_bodies(path, store).bodies.size();
  if (static_cast<std::size_t>(index) > bodies)
    throw Failure(kUsage,
                  store + ": no body " + std::to_string(index) + ", the database holds " + std::to_string(bodies));
  const int unit = DB_OpenDatablk(path.c_str(), index, nullptr);
  if (unit == 0) throw Failure(kUnreadable, store + ": body " + std::to_string(index) + " cannot be opened");
  return unit;
}

// ---- commands ------------------------------------------------------------------------------------------------------

std::string data_file(const std::string &store) { return store.substr(0, store.rfind(kSuffix)) + kDataSuffix; }

void require_name(const std::string &store) {
  if (!store.ends_with(kSuffix)) throw Failure(kUsage, store + ": the name of a database ends with .MASTER");
}

bool is_there(const std::string &path) {
  std::error_code code;
  return fs::exists(fs::symlink_status(path, code));
}

void put(const std::string &input, const std::string &store, const std::string &qualifiers,
         const WriteOptions &options) {
  require_name(store);
  const WorkDirectory directory;
  const Body body = open_record(input);
  require_whole_nodes(body.get(), options);
  use_options(body.get(), options);
  load_library();
  if (is_there(store)) require_usable(store);
  const bool written = SBR_write_DB(body.get(), store.c_str(), qualifiers.c_str()) != 0;
  if (!written) DB_TermWrite();
  CDB_UnloadLibrary();
  if (written) return;
  if (!is_there(store) && is_there(data_file(store)))
    throw Failure(kFailed, store + ": is missing beside " + data_file(store) +
                               ". If that holds bodies, 'sbr db repair " + store + "' makes the database whole");
  throw Failure(kFailed, store + ": the body was not stored");
}

void list(const std::string &store, bool json) {
  require_usable(store);
  BodyList list;
  {
    const fs::path path = fs::absolute(store);
    const ReadingRun run;
    list = list_bodies(path, store);
  }
  if (json) {
    Json all = Json::array();
    for (const std::vector<std::string> &body : list.bodies) {
      Json entry = {{"index", all.size() + 1}};
      for (std::size_t i = 0; i < body.size(); ++i) entry[list.names[i]] = body[i];
      all.push_back(std::move(entry));
    }
    std::cout << all.dump(2) << '\n';
    return;
  }
  if (list.bodies.empty()) {
    std::cout << "no bodies\n";
    return;
  }
  std::vector<std::string> headings = {"index"};
  for (const std::string &name : list.names) headings.push_back('<' + name);
  Table table(headings);
  for (std::size_t row = 0; row < list.bodies.size(); ++row) {
    std::vector<std::string> values = {std::to_string(row + 1)};
    values.insert(values.end(), list.bodies[row].begin(), list.bodies[row].end());
    table.add(values);
  }
  table.print();
}

// A header that is there but cannot be used makes room for a new one, and comes back if there will be none.
class SetAside {
 public:
  explicit SetAside(const std::string &path) : path_(path), aside_(path + ".old") {
    if (is_there(aside_)) throw Failure(kFailed, aside_ + ": stands where the old header would go; move it away");
    if (std::rename(path.c_str(), aside_.c_str()) != 0) throw Failure(kFailed, path + ": " + std::strerror(errno));
  }
  ~SetAside() {
    if (!done_ && !is_there(path_)) std::rename(aside_.c_str(), path_.c_str());
  }
  SetAside(const SetAside &) = delete;
  SetAside &operator=(const SetAside &) = delete;
  void finish() { done_ = true; }
  [[nodiscard]] const std::string &name() const { return aside_; }

 private:
  std::string path_;
  std::string aside_;
  bool done_ = false;
};

// Codes of headers that say nothing; the others say that the database belongs elsewhere, or could not be looked at.
bool is_damaged(int code) { return code == 6 || (code >= 10 && code <= 13); }

// Lets the library look through the data and make the header that they lack.
void repair_data(const std::string &store) {
  int status = 0;
  const std::string base = store.substr(0, store.rfind(kSuffix));
  CDB_QS_DbaseBst("", "./", &status);
  if (status == 0) CDB_QS_DbaseNew(base.c_str(), "dbrepair dball", &status);
  int closed = 0;
  if (status == 0) CDB_QS_DbaseCls(&closed);
  CDB_UnloadLibrary();
  if (status == 105) throw Failure(kFailed, store + ": the database library has no repair");
  if (status == 107)
    throw Failure(kUnreadable, data_file(store) + ": is damaged, or no data of this store; it was left as it is");
  if (status == 103) throw Failure(kUnreadable, data_file(store) + ": cannot be opened and written");
  if (status != 0 || closed != 0)
    throw Failure(kFailed, store + ": not repaired, status " + std::to_string(status != 0 ? status : closed));
}

void repair(const std::string &store) {
  require_name(store);
  if (!is_there(data_file(store)))
    throw Failure(kUnreadable, data_file(store) + ": no such file; without the data there is nothing to repair");
  const OrderlyEnd end;
  std::optional<SetAside> old;
  bool present = is_there(store);
  if (present) {
    const bool information = show_information(false);
    const int code = DB_CheckDBset(store.c_str());
    show_information(information);
    if (code != 0 && !is_damaged(code)) throw Failure(kUnreadable, store + ": not a header that could be replaced");
    if (code != 0) old.emplace(store);
    present = code == 0;
  }
  load_library();
  repair_data(store);
  if (old) old->finish();
  std::cout << store << (present ? ": sound, nothing to repair" : ": written anew");
  if (old) std::cout << "; the old header is " << old->name();
  std::cout << '\n';
}

// Codes of files that cannot be opened or read; the others are judgements of what was read.
bool is_unreadable(int code) { return code < 0 || code == 2 || code == 4 || code == 5 || code == 7; }

void check(const std::string &store, bool json, int &exit_code) {
  const int code = DB_CheckDBset(store.c_str());
  // A file that cannot be reached is only warned about.
  if (code == 0 && access(store.c_str(), R_OK) != 0) throw Failure(kUnreadable, store + ": " + std::strerror(errno));
  if (json)
    std::cout << Json({{"file", store}, {"usable", code == 0}, {"code", code}}).dump(2) << '\n';
  else
    std::cout << store << (code == 0 ? ": usable" : ": not usable, code " + std::to_string(code)) << '\n';
  if (code != 0) exit_code = is_unreadable(code) ? kUnreadable : kFindings;
}

void refuse_own_files(const std::string &store, const std::string &output) {
  std::error_code code;
  if (fs::is_directory(output, code)) throw Failure(kUsage, output + ": is a directory");
  for (const std::string &file : {store, data_file(store)})
    if (fs::equivalent(file, output, code)) throw Failure(kUsage, output + ": is the database itself");
}

void get(const std::string &store, int index, const std::string &output) {
  require_usable(store);
  refuse_own_files(store, output);
  const fs::path path = fs::absolute(store);
  const fs::path target = fs::absolute(output);
  const ReadingRun run;
  const db_block block{open_body(path, store, index), {0, 0}};
  OutputFile record(target);
  copy_to_record(block, record.stream());
  DB_CloseDatablk(block.unit);
  record.commit();
}

}  // namespace

void add_database_commands(CLI::App &app, int &exit_code) {
  struct Options {
    std::string store;
    std::string record;
    std::string qualifiers;
    int index = 0;
    bool json = false;
    WriteOptions write;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *db = app.add_subcommand("db", "Store bodies in the solver's database, and take them out");
  db->require_subcommand(1);
  db->footer(
      "The database library Qsrv_22_2 is looked for in KTX_USER_PLUGIN_DIR; without that variable the store that "
      "comes\n"
      "with sbr is taken. 'check' needs no library.");
  const auto add_store = [&](CLI::App *command) {
    command->add_option("STORE.MASTER", options->store, "The database")->required();
  };
  const auto add_json = [&](CLI::App *command) { command->add_flag("--json", options->json, "Print JSON"); };

  CLI::App *put_command = db->add_subcommand("put", "Store a body; a database that is not there is created");
  put_command->add_option("BODY.sbr", options->record, "The record to store")->required();
  add_store(put_command);
  put_command->add_option("--qualifiers", options->qualifiers,
                          "What the body is known by, such as \"projno=1,version=2,selabel='wing, left'\"; a body "
                          "with the same qualifiers is replaced");
  add_write_options(*put_command, options->write);
  put_command->callback([options] { put(options->record, options->store, options->qualifiers, options->write); });

  CLI::App *list_command = db->add_subcommand("list", "List the bodies of a database with their qualifiers");
  add_store(list_command);
  add_json(list_command);
  list_command->callback([options] { list(options->store, options->json); });

  CLI::App *check_command = db->add_subcommand("check", "Judge a .MASTER file by its header");
  add_store(check_command);
  add_json(check_command);
  check_command->callback([options, &exit_code] { check(options->store, options->json, exit_code); });

  CLI::App *repair_command =
      db->add_subcommand("repair", "Look through the data of a database, and write the .MASTER file that they lack");
  add_store(repair_command);
  repair_command->callback([options] { repair(options->store); });

  CLI::App *get_command = db->add_subcommand("get", "Make a record of a body in a database");
  add_store(get_command);
  get_command->add_option("INDEX", options->index, "The body's number in the list, from 1")
      ->required()
      ->check(CLI::PositiveNumber);
  get_command->add_option("OUT.sbr", options->record, "The record to write")->required();
  get_command->callback([options] { get(options->store, options->index, options->record); });
}

}  // namespace sbrtool
