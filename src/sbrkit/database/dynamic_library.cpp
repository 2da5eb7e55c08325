// The dynamic library loader: names are resolved to files by the search policy, and the process keeps one register of
// what is loaded.
#include "sbrkit/dynamic_library.hpp"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "database/library_names.h"

namespace {

constexpr std::size_t kErrorSize = 1025;

// The value of an environment variable; null when it is not set or empty.
const char *variable(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

bool is_file(const std::string &path) {
  struct stat facts {};
  return ::stat(path.c_str(), &facts) == 0 && !S_ISDIR(facts.st_mode);
}

// ---- one loaded library --------------------------------------------------------------------------------------------

// One registered library with a reference count. Building it loads the library and calls its initialize hook; its end
// calls the terminate hook and closes the library.
class ktxLoader {
 public:
  ktxLoader(std::string path, std::uint64_t number);
  ~ktxLoader();
  ktxLoader(const ktxLoader &) = delete;
  ktxLoader &operator=(const ktxLoader &) = delete;

  [[nodiscard]] const std::string &path() const { return path_; }
  [[nodiscard]] std::uint64_t number() const { return number_; }
  [[nodiscard]] void *module() const { return module_; }

  int references = 1;

 private:
  void call_hook(const char *hook) const;
  [[nodiscard]] void *own_symbol(const std::string &name) const;

  std::string path_;
  std::uint64_t number_;  // no other library of the process has it, now or later
  void *module_ = nullptr;
};

// ---- the state of the process --------------------------------------------------------------------------------------

// What the process knows about its libraries. It is never destroyed: libraries may go while the process ends.
struct ProcessState {
  std::map<std::string, std::unique_ptr<ktxLoader>, std::less<>> registry;  // by file name
  std::uint64_t last_number = 0;
  std::unique_ptr<char[]> last_error;  // kErrorSize characters
  std::optional<std::string> search_list;
  int living_objects = 0;
  std::FILE *trace = nullptr;
  bool flag = false;
};

// Held by whoever looks at the state or changes it. The hooks of a library may load and unload others, so that the lock
// may be taken again by the thread that has it.
std::recursive_mutex &state_lock() {
  static auto *const lock = new std::recursive_mutex;
  return *lock;
}

ProcessState &process_state() {
  alignas(ProcessState) static unsigned char storage[sizeof(ProcessState)];
  static ProcessState *const state = new (storage) ProcessState;
  return *state;
}

// Opens the trace file that the user asked for, once.
void open_trace() {
  ProcessState &state = process_state();
  if (state.trace != nullptr) return;
  if (const char *path = variable("VENTA_I_CAN_NOT_LOAD_MY_LIBRARY"); path != nullptr)
    state.trace = std::fopen(path, "a");
}

// Appends a line to the trace; each line is on the disk before the step that it announces.
void trace(const char *first, const char *second, const char *third = "") {
  std::FILE *stream = process_state().trace;
  if (stream == nullptr) return;
  std::fprintf(stream, "%s%s%s\n", first, second, third);
  std::fflush(stream);
}

// Keeps the text as the last error, cut to what the buffer holds.
void set_last_error(const char *text) {
  ProcessState &state = process_state();
  if (!state.last_error) state.last_error.reset(new char[kErrorSize]());
  std::snprintf(state.last_error.get(), kErrorSize, "%s", text);
}

ktxLoader::ktxLoader(std::string path, std::uint64_t number) : path_(std::move(path)), number_(number) {
  // Without a separator the system would search for the file by a policy of its own.
  const bool has_directory = path_.find(ktx::kDirectorySeparator) != std::string::npos;
  const std::string opened = has_directory ? path_ : ktx::kCurrentDirectory + path_;
  ::dlerror();
  module_ = ::dlopen(opened.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module_ == nullptr) {
    const char *reason = ::dlerror();
    set_last_error(reason != nullptr ? reason : "Demand Load: Unknown error number\n");
    return;
  }
  call_hook("_initialize");
}

ktxLoader::~ktxLoader() {
  if (module_ == nullptr) return;
  try {
    call_hook("_terminate");
  } catch (const std::bad_alloc &) {  // no memory for the name of the hook: it is not called
  }
  ::dlclose(module_);
}

// A symbol that the library itself defines: those of the libraries that it depends on do not count.
void *ktxLoader::own_symbol(const std::string &name) const {
  void *symbol = ::dlsym(module_, name.c_str());
  if (symbol == nullptr) return nullptr;
  link_map *library = nullptr;
  link_map *definer = nullptr;
  Dl_info facts{};
  if (::dlinfo(module_, RTLD_DI_LINKMAP, &library) != 0) return nullptr;
  if (::dladdr1(symbol, &facts, reinterpret_cast<void **>(&definer), RTLD_DL_LINKMAP) == 0) return nullptr;
  return definer == library ? symbol : nullptr;
}

// Calls the hook of that name, or of the base name followed by it, when the library has one.
void ktxLoader::call_hook(const char *hook) const {
  void *symbol = own_symbol(hook);
  if (symbol == nullptr) symbol = own_symbol(ktx::base_name_of(path_) + hook);
  if (symbol != nullptr) reinterpret_cast<void (*)()>(symbol)();
}

// ---- the registry --------------------------------------------------------------------------------------------------

// The registered library with the file name of the path, or null.
ktxLoader *registered(std::string_view path) {
  const auto &registry = process_state().registry;
  const auto place = registry.find(ktx::file_name_of(path));
  return place == registry.end() ? nullptr : place->second.get();
}

// The registered library of that number, or null. A process has few libraries.
ktxLoader *registered(std::uint64_t number) {
  if (number == 0) return nullptr;
  for (const auto &[name, library] : process_state().registry)
    if (library->number() == number) return library.get();
  return nullptr;
}

// The library of that path with one more reference; loaded when the registry does not have its file name yet. Null,
// and the reason in last_error, when it cannot be loaded.
ktxLoader *add_reference(const std::string &path) {
  if (ktxLoader *known = registered(path)) {
    ++known->references;
    trace("   Already loaded", "");
    return known;
  }
  ProcessState &state = process_state();
  auto fresh = std::make_unique<ktxLoader>(path, ++state.last_number);
  if (fresh->module() == nullptr) {
    trace("   Not Loaded", "");
    trace("   ERROR: ", state.last_error.get());
    return nullptr;
  }
  // Its hook may have loaded the library itself; there is one of a name.
  const auto [place, is_new] = state.registry.try_emplace(std::string(ktx::file_name_of(path)), std::move(fresh));
  if (!is_new) ++place->second->references;
  trace("   Load OK", "");
  return place->second.get();
}

// Drops one reference; the last one takes the library off the registry and ends it.
void drop_reference(ktxLoader &library) {
  trace("Unloading: ", library.path().c_str());
  if (--library.references > 0) return;
  ProcessState &state = process_state();
  // Off the registry first: its hook may come back here.
  const auto place = state.registry.find(ktx::file_name_of(library.path()));
  const std::unique_ptr<ktxLoader> ended = std::move(place->second);
  state.registry.erase(place);
  if (state.registry.empty()) state.last_error.reset();
}

// ---- the search ----------------------------------------------------------------------------------------------------

// One search for a name, and where it led.
class Search {
 public:
  explicit Search(const char *name) : name_(name != nullptr ? name : "") {
    if (!ktx::has_library_suffix(name_)) suffix_ = ktx::kLibrarySuffix;
    if (ktx::takes_library_prefix(name_)) prefix_ = ktx::kLibraryPrefix;
  }

  // The path of the file that the name leads to.
  std::optional<std::string> resolve() { return ktx::is_path(name_) ? try_file(name_) : search_directories(); }
  // What was looked for, and where.
  [[nodiscard]] std::string report() const;

 private:
  std::optional<std::string> search_directories();
  [[nodiscard]] std::optional<std::string> try_list(std::string_view list) const;
  [[nodiscard]] std::optional<std::string> try_directory(std::string directory) const;
  [[nodiscard]] std::optional<std::string> try_file(const std::string &path) const;

  std::string name_;
  std::optional<std::string> prefix_;
  std::optional<std::string> suffix_;
  const char *user_dir_ = nullptr;
  const char *search_list_ = nullptr;
  const char *path_list_ = nullptr;
  std::optional<std::string> cpu_dir_;
  std::optional<std::string> current_dir_;
};

std::optional<std::string> Search::search_directories() {
  user_dir_ = variable("KTX_USER_PLUGIN_DIR");
  path_list_ = variable("PATH");
  search_list_ = ktxDynamicLibrary::search_list();
  bool path_is_used = false;
  std::optional<std::string> found;
  if (user_dir_ != nullptr) {
    path_is_used = path_list_ != nullptr;
    found = try_list(path_is_used ? ktx::join_lists(user_dir_, path_list_) : user_dir_);
  }
  if (!found && (search_list_ != nullptr || (path_list_ != nullptr && !path_is_used))) {
    const bool add_path = path_list_ != nullptr && !path_is_used;
    if (search_list_ == nullptr)
      found = try_list(path_list_);
    else
      found = try_list(add_path ? ktx::join_lists(search_list_, path_list_) : search_list_);
  }
  const char *cpu = variable("KTX_CPU");
  const char *top = variable("short_topdir");
  if (!found && cpu != nullptr && top != nullptr) {
    cpu_dir_ = std::string(top).append(1, ktx::kDirectorySeparator).append(cpu);
    found = try_directory(*cpu_dir_);
  }
  if (!found) {
    current_dir_ = ktx::kCurrentDirectory;
    found = try_directory(*current_dir_);
  }
  return found;
}

// Tries the directories of a list in turn.
std::optional<std::string> Search::try_list(std::string_view list) const {
  while (!list.empty()) {
    const std::size_t end = list.find(ktx::kListSeparator);
    const std::string_view entry = list.substr(0, end);
    list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
    if (entry.empty()) continue;
    if (auto found = try_directory(std::string(entry))) return found;
  }
  return std::nullopt;
}

// A name that takes no prefix is also tried without its first three letters, so that "libfoo" finds "foo.so".
std::optional<std::string> Search::try_directory(std::string directory) const {
  const std::size_t prefix_size = std::strlen(ktx::kLibraryPrefix);
  if (!directory.ends_with(ktx::kDirectorySeparator)) directory += ktx::kDirectorySeparator;
  if (auto found = try_file(directory + name_)) return found;
  if (prefix_ || name_.size() <= prefix_size) return std::nullopt;
  return try_file(directory.append(name_, prefix_size));
}

// The path with the ending, or as it is, whichever is a file.
std::optional<std::string> Search::try_file(const std::string &path) const {
  if (suffix_) {
    if (std::string with_suffix = path + *suffix_; is_file(with_suffix)) return with_suffix;
  }
  if (is_file(path)) return path;
  return std::nullopt;
}

std::string Search::report() const {
  std::string names = name_;
  if (prefix_) names += ", " + *prefix_ + name_;
  if (suffix_) names += ", " + name_ + *suffix_;
  if (prefix_ && suffix_) names += ", " + *prefix_ + name_ + *suffix_;

  std::string places;
  const auto add = [&places](const char *place) {
    if (place != nullptr) places.append(1, ktx::kListSeparator).append(place);
  };
  add(user_dir_);
  add(search_list_);
  add(path_list_);
  add(cpu_dir_ ? cpu_dir_->c_str() : nullptr);
  add(current_dir_ ? current_dir_->c_str() : nullptr);
  if (!places.empty()) places.insert(0, " They were not located in the path list");

  return "The user library \"" + name_ + "\" could not be located. These name(s) were searched for: " + names + "." +
         places;
}

// ---- finding and loading -------------------------------------------------------------------------------------------

// The library that the name leads to, with one more reference; null with the reason in last_error.
ktxLoader *load_named(const char *name) {
  set_last_error("");
  trace("Loading: ", name);
  Search search(name);
  const std::optional<std::string> path = search.resolve();
  trace("   Full Name: ", path ? path->c_str() : name);
  if (path) return add_reference(*path);
  set_last_error(search.report().c_str());
  trace("   ERROR: ", process_state().last_error.get());
  return nullptr;
}

}  // namespace

ktxDynamicLibrary::ktxDynamicLibrary() {
  const std::lock_guard hold(state_lock());
  ++process_state().living_objects;
  open_trace();
}

ktxDynamicLibrary::ktxDynamicLibrary(const char *name, const char **error, bool flag) : ktxDynamicLibrary() {
  const std::lock_guard hold(state_lock());
  process_state().flag = flag;
  load(name, error);
}

ktxDynamicLibrary::~ktxDynamicLibrary() {
  const std::lock_guard hold(state_lock());
  while (references_ > 0) unload();
  ProcessState &state = process_state();
  if (--state.living_objects == 0) state.search_list.reset();
}

bool ktxDynamicLibrary::load(const char *name, const char **error) {
  const std::lock_guard hold(state_lock());
  ktxLoader *library = nullptr;
  try {
    library = load_named(name != nullptr ? name : "");
  } catch (const std::bad_alloc &) {  // nothing is loaded, which is the answer
  }
  if (library != nullptr) {
    const std::uint64_t number = library->number();
    if (number != library_)
      while (references_ > 0) unload();
    library_ = number;
    ++references_;
  }
  ProcessState &state = process_state();
  state.flag = false;
  if (error != nullptr && state.last_error) *error = state.last_error.get();
  return library != nullptr;
}

bool ktxDynamicLibrary::is_loaded() const {
  const std::lock_guard hold(state_lock());
  return registered(library_) != nullptr;
}

void *ktxDynamicLibrary::find_symbol(const char *name) const {
  const std::lock_guard hold(state_lock());
  const ktxLoader *library = registered(library_);
  if (library == nullptr || name == nullptr) return nullptr;
  void *symbol = ::dlsym(library->module(), name);
  trace("Looking for function: ", name, symbol != nullptr ? " Found" : " Not Found");
  return symbol;
}

void ktxDynamicLibrary::unload() {
  const std::lock_guard hold(state_lock());
  if (references_ < 1) return;
  // The library may have gone already: others can unload it by its name.
  if (ktxLoader *library = registered(library_)) drop_reference(*library);
  if (--references_ == 0) library_ = 0;
}

void ktxDynamicLibrary::unload_by_name(const char *name) {
  const std::lock_guard hold(state_lock());
  try {
    const std::optional<std::string> path = Search(name).resolve();
    if (!path) return;
    if (ktxLoader *library = registered(*path)) drop_reference(*library);
  } catch (const std::bad_alloc &) {  // not found, so nothing to unload
  }
}

int ktxDynamicLibrary::reference_count_of(const char *name) {
  const std::lock_guard hold(state_lock());
  if (name == nullptr || *name == '\0') return -1;
  try {
    const std::optional<std::string> path = Search(name).resolve();
    const ktxLoader *library = path ? registered(*path) : nullptr;
    return library != nullptr ? library->references : 0;
  } catch (const std::bad_alloc &) {
    return 0;
  }
}

char *ktxDynamicLibrary::full_name(const char *name) {
  const std::lock_guard hold(state_lock());
  try {
    const std::optional<std::string> path = Search(name).resolve();
    return path ? ::strdup(path->c_str()) : nullptr;
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

void ktxDynamicLibrary::set_search_list(const char *list, bool append) {
  const std::lock_guard hold(state_lock());
  std::optional<std::string> &present = process_state().search_list;
  const bool empty = list == nullptr || *list == '\0';
  try {
    if (!append || !present)
      present = empty ? std::nullopt : std::optional<std::string>(list);
    else if (!empty)
      present->append(1, ktx::kListSeparator).append(list);
  } catch (const std::bad_alloc &) {  // the list stays as far as it got
  }
}

const char *ktxDynamicLibrary::search_list() {
  const std::lock_guard hold(state_lock());
  const std::optional<std::string> &present = process_state().search_list;
  return present ? present->c_str() : nullptr;
}

const char *ktxDynamicLibrary::error_text() {
  const std::lock_guard hold(state_lock());
  return process_state().last_error.get();
}
