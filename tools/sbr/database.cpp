// sbr db put, list, check, get: bodies in the solver's database.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "datablock.h"
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

// Reading needs a scratch database in the current directory: it gets a directory of its own, which goes at the end.
class ReadingRun {
 public:
  ReadingRun() : before_(open(".", O_PATH | O_CLOEXEC)) {
    load_library();  // relative paths in the environment are meant from here
    const char *parent = std::getenv("TMP");
    const bool given = parent != nullptr && *parent != '\0';
    std::string directory = fs::absolute(given ? fs::path(parent) : fs::temp_directory_path()) / "sbr_XXXXXX";
    if (mkdtemp(directory.data()) == nullptr || chdir(directory.c_str()) != 0)
      throw Failure(kFailed, directory + ": " + std::strerror(errno));
    directory_ = directory;
    if (DB_StartBase() == 0) {
      close();
      throw Failure(kFailed, "the database system cannot be started");
    }
  }
  ~ReadingRun() { close(); }
  ReadingRun(const ReadingRun &) = delete;
  ReadingRun &operator=(const ReadingRun &) = delete;

 private:
  void close() {
    if (directory_.empty()) return;
    DB_TermBase();
    CDB_UnloadLibrary();
    std::error_code code;
    if (before_ < 0 || fchdir(before_) != 0) fs::current_path("/", code);
    if (before_ >= 0) ::close(before_);
    fs::remove_all(directory_, code);
    directory_.clear();
  }
  int before_;
  fs::path directory_;
};

// ---- bodies of a database ------------------------------------------------------------------------------------------

// Ends the command when the file cannot be used. The reason has been reported.
void require_usable(const std::string &store) {
  if (DB_CheckDBset(store.c_str()) != 0) throw Failure(kUnreadable, store + ": not a usable database");
}

// The status of looking for bodies: a database that cannot be read also has none.
int status_of(const std::string &path) {
  std::string quoted;
  for (const char c : path) quoted.append(c == '\'' ? 2 : 1, c);
  int status = 0;
  CDB_QS_DbCommand(("assign sbrprobe='" + quoted + "'").c_str(), &status);
  if (status != 0) return status;
  CDB_QS_DbCommand(
      "dblocate logical=sbrprobe datablk=(sbrdb) where(projno=* and version=*) "
      "convert(projno=projno;version=version;highqual=-1000000)",
      &status);
  return status;
}

// The number of bodies. `path` is absolute, `store` the name for messages.
int count_bodies(const fs::path &path, const std::string &store) {
  const std::uint32_t bodies = DB_BodyBrowser(path.c_str(), 0, nullptr);
  if (bodies > INT32_MAX) throw Failure(kUnreadable, store + ": not a usable database");
  if (bodies != 0) return static_cast<int>(bodies);
  if (const int status = status_of(path); status != 0)
    throw Failure(kUnreadable, store + ": the database cannot be read, status " + std::to_string(status));
  return 0;
}

using Qualifiers = std::vector<std::pair<std::string, std::string>>;

// "SELABEL='wing, left',projno=1" by names and values; names become lower case, labels lose their quotes.
Qualifiers qualifiers_of(const std::string &text) {
  Qualifiers list;
  std::size_t place = 0;
  while (place < text.size()) {
    const std::size_t equals = text.find('=', place);
    if (equals == std::string::npos) break;
    std::string name = text.substr(place, equals - place);
    for (char &c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const bool quoted = text.compare(equals + 1, 1, "'") == 0;
    const std::size_t start = equals + (quoted ? 2 : 1);
    const std::size_t end = std::min(text.find(quoted ? '\'' : ',', start), text.size());
    list.emplace_back(clean(name), clean(text.substr(start, end - start)));
    place = std::min(text.find(',', end), text.size() - 1) + 1;
  }
  return list;
}

Qualifiers describe(const fs::path &path, int index) {
  char text[DB_BROWSER_TEXT] = {};
  DB_BodyBrowser(path.c_str(), index, text);
  return qualifiers_of(text);
}

// ---- commands ------------------------------------------------------------------------------------------------------

void put(const std::string &input, const std::string &store, const std::string &qualifiers,
         const WriteOptions &options) {
  if (!store.ends_with(kSuffix)) throw Failure(kUsage, store + ": the name of a database ends with .MASTER");
  const Body body = open_record(input);
  require_whole_nodes(body.get(), options);
  use_options(options);
  load_library();
  std::error_code code;
  if (fs::exists(store, code)) require_usable(store);
  const bool written = SBR_write_DB(body.get(), store.c_str(), qualifiers.c_str()) != 0;
  if (!written) DB_TermWrite();
  CDB_UnloadLibrary();
  if (!written) throw Failure(kFailed, store + ": the body was not stored");
}

void list(const std::string &store, bool json) {
  require_usable(store);
  const fs::path path = fs::absolute(store);
  const ReadingRun run;
  const int bodies = count_bodies(path, store);
  Json all = Json::array();
  std::vector<std::string> headings = {"index"};
  std::vector<std::vector<std::string>> rows;
  for (int index = 1; index <= bodies; ++index) {
    Json entry = {{"index", index}};
    std::vector<std::string> row = {std::to_string(index)};
    for (const auto &[name, value] : describe(path, index)) {
      entry[name] = value;
      row.push_back(value);
      if (index == 1) headings.push_back('<' + name);
    }
    all.push_back(entry);
    rows.push_back(row);
  }
  if (json) {
    std::cout << all.dump(2) << '\n';
    return;
  }
  Table table(headings);
  for (const auto &row : rows) table.add(row);
  if (bodies == 0)
    std::cout << "no bodies\n";
  else
    table.print();
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
  const std::string base = store.substr(0, store.rfind(kSuffix));
  for (const std::string &file : {store, base + kDataSuffix})
    if (fs::equivalent(file, output, code)) throw Failure(kUsage, output + ": is the database itself");
}

void get(const std::string &store, int index, const std::string &output) {
  require_usable(store);
  refuse_own_files(store, output);
  const fs::path path = fs::absolute(store);
  const fs::path target = fs::absolute(output);
  const ReadingRun run;
  const int bodies = count_bodies(path, store);
  if (index > bodies)
    throw Failure(kUsage,
                  store + ": no body " + std::to_string(index) + ", the database holds " + std::to_string(bodies));
  db_block block{DB_OpenDatablk(path.c_str(), index, nullptr), {0, 0}};
  if (block.unit == 0) throw Failure(kUnreadable, store + ": body " + std::to_string(index) + " cannot be opened");
  OutputFile record(target);
  copy_to_record(block, record.stream());
  record.commit();
  DB_CloseDatablk(block.unit);
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

  CLI::App *get_command = db->add_subcommand("get", "Make a record of a body in a database");
  add_store(get_command);
  get_command->add_option("INDEX", options->index, "The body's number in the list, from 1")
      ->required()
      ->check(CLI::PositiveNumber);
  get_command->add_option("OUT.sbr", options->record, "The record to write")->required();
  get_command->callback([options] { get(options->store, options->index, options->record); });
}

}  // namespace sbrtool
