// dynamic_library.hpp: shared libraries that are found by the product's search policy and loaded at most once.
//
// A library is named by its plain name ("Qsrv_22_2"), without directory and ending. It is looked for, in this order, in
//   1. the directories of KTX_USER_PLUGIN_DIR, followed by those of PATH,
//   2. the search list of the process (set_search_list), followed by those of PATH when step 1 did not have them,
//   3. the directory short_topdir/KTX_CPU, when both variables are set,
//   4. the current directory.
// A name that is a path is taken as it is and searched for nowhere. Every name is tried with ".so" first, then as it
// is. When a library has been loaded, its hook "_initialize" (or "<base name>_initialize") is called once; the hook
// "_terminate" (or "<base name>_terminate") is called before it goes.
//
// Nothing here sends a message: a failed load answers false and leaves the reason in error_text(). A user who cannot
// load a library sets VENTA_I_CAN_NOT_LOAD_MY_LIBRARY to the name of a file, to which every step is then appended.
//
// The classes are defined in this header, and their state (registry, last error, search list) belongs to the program or
// shared library that includes it. No lock guards it. Exhausted memory is a failed operation, never an exception.
#ifndef SBRKIT_DYNAMIC_LIBRARY_HPP
#define SBRKIT_DYNAMIC_LIBRARY_HPP

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// ---- names and directories -----------------------------------------------------------------------------------------

namespace ktx {

inline constexpr char kListSeparator = ':';
inline constexpr char kDirectorySeparator = '/';
inline constexpr const char *kLibrarySuffix = ".so";
inline constexpr const char *kLibraryPrefix = "lib";
inline constexpr const char *kCurrentDirectory = "./";
inline constexpr std::size_t kErrorSize = 1025;

// The value of an environment variable; null when it is not set or empty.
inline const char *variable(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

// The part of a path behind its last directory separator.
inline std::string_view file_name_of(std::string_view path) {
  const std::size_t slash = path.rfind(kDirectorySeparator);
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// The file name without directory, extension and a leading "lib".
inline std::string base_name_of(std::string_view path) {
  std::string_view name = file_name_of(path);
  if (const std::size_t dot = name.rfind('.'); dot != std::string_view::npos && dot != 0) name = name.substr(0, dot);
  if (name.starts_with(kLibraryPrefix)) name.remove_prefix(std::strlen(kLibraryPrefix));
  return std::string(name);
}

// True when the name ends with the platform's ending of shared libraries: a last dot that is neither the first
// character nor one of two dots in a row, and from there exactly the ending.
inline bool has_library_suffix(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || name[dot - 1] == '.') return false;
  return name.substr(dot) == kLibrarySuffix;
}

// True when the name gets a form with "lib" ahead of it: it has no directory and does not start with "lib".
inline bool takes_library_prefix(std::string_view name) {
  return name.find(kDirectorySeparator) == std::string_view::npos && !name.starts_with(kLibraryPrefix);
}

// True when the name says itself where the library is.
inline bool is_path(std::string_view name) {
  if (name.empty()) return false;
  const char first = name.front();
  const bool is_name_character = (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z') ||
                                 (first >= '0' && first <= '9') || first == '_' || first == '.';
  if (!is_name_character) return true;
  return name.starts_with("./") || name.starts_with("../") || name.find(":/") != std::string_view::npos;
}

// Two lists of directories as one. A first list that starts and ends with the separator stands alone; one that only
// starts with it comes second.
inline std::string join_lists(std::string_view first, std::string_view second) {
  const bool open_front = first.starts_with(kListSeparator);
  const bool open_end = first.ends_with(kListSeparator);
  if (open_front && open_end) return std::string(first);
  if (open_front) return std::string(second).append(first);
  std::string joined(first);
  if (!open_end) joined += kListSeparator;
  return joined.append(second);
}

inline bool is_file(const std::string &path) {
  struct stat facts {};
  return ::stat(path.c_str(), &facts) == 0 && !S_ISDIR(facts.st_mode);
}

}  // namespace ktx

// ---- ktxLoader: one loaded library ---------------------------------------------------------------------------------

// One registered library with a reference count. Building it loads the library and calls its initialize hook; its end
// calls the terminate hook and closes the library.
class ktxLoader {
 public:
  explicit ktxLoader(std::string path);
  virtual ~ktxLoader();
  ktxLoader(const ktxLoader &) = delete;
  ktxLoader &operator=(const ktxLoader &) = delete;

  // The library of that path with one more reference; loaded when the registry does not have its file name yet. Null,
  // and the reason in last_error, when it cannot be loaded.
  static std::shared_ptr<ktxLoader> load(const char *path);
  // Drops one reference; the last one takes the library off the registry and ends it.
  static void unload(const std::shared_ptr<ktxLoader> &library);
  // The registered library with the file name of the path, or null.
  static std::shared_ptr<ktxLoader> registered(std::string_view path);

  [[nodiscard]] int reference_count() const { return references_; }
  [[nodiscard]] const std::string &path() const { return path_; }
  [[nodiscard]] void *module() const { return module_; }

 private:
  void call_hook(const char *hook) const;
  [[nodiscard]] void *own_symbol(const std::string &name) const;

  int references_ = 1;
  std::string path_;
  void *module_ = nullptr;
};

namespace ktx {

// What the process knows about its libraries. It is never destroyed: libraries may go while the process ends.
struct ProcessState {
  std::map<std::string, std::shared_ptr<ktxLoader>, std::less<>> registry;  // by file name
  std::unique_ptr<char[]> last_error;                                       // kErrorSize characters
  std::optional<std::string> search_list;
  int living_objects = 0;
  std::FILE *trace = nullptr;
  bool flag = false;
};

inline ProcessState &process_state() {
  alignas(ProcessState) static unsigned char storage[sizeof(ProcessState)];
  static ProcessState *const state = new (storage) ProcessState;
  return *state;
}

// Opens the trace file that the user asked for, once.
inline void open_trace() {
  ProcessState &state = process_state();
  if (state.trace != nullptr) return;
  if (const char *path = variable("VENTA_I_CAN_NOT_LOAD_MY_LIBRARY"); path != nullptr)
    state.trace = std::fopen(path, "a");
}

// Appends a line to the trace; each line is on the disk before the step that it announces.
inline void trace(const char *first, const char *second, const char *third = "") {
  std::FILE *stream = process_state().trace;
  if (stream == nullptr) return;
  std::fprintf(stream, "%s%s%s\n", first, second, third);
  std::fflush(stream);
}

inline void require_last_error() {
  ProcessState &state = process_state();
  if (!state.last_error) state.last_error.reset(new char[kErrorSize]());
}

// Keeps the text as the last error, cut to what the buffer holds.
inline void set_last_error(const char *text) {
  require_last_error();
  std::snprintf(process_state().last_error.get(), kErrorSize, "%s", text);
}

}  // namespace ktx

inline ktxLoader::ktxLoader(std::string path) : path_(std::move(path)) {
  // Without a separator the system would search for the file by a policy of its own.
  const bool has_directory = path_.find(ktx::kDirectorySeparator) != std::string::npos;
  const std::string opened = has_directory ? path_ : ktx::kCurrentDirectory + path_;
  ::dlerror();
  module_ = ::dlopen(opened.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module_ == nullptr) {
    const char *reason = ::dlerror();
    ktx::set_last_error(reason != nullptr ? reason : "Demand Load: Unknown error number\n");
    return;
  }
  call_hook("_initialize");
}

inline ktxLoader::~ktxLoader() {
  if (module_ == nullptr) return;
  try {
    call_hook("_terminate");
  } catch (const std::bad_alloc &) {  // no memory for the name of the hook: it is not called
  }
  ::dlclose(module_);
}

// A symbol that the library itself defines: those of the libraries that it depends on do not count.
inline void *ktxLoader::own_symbol(const std::string &name) const {
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
inline void ktxLoader::call_hook(const char *hook) const {
  void *symbol = own_symbol(hook);
  if (symbol == nullptr) symbol = own_symbol(ktx::base_name_of(path_) + hook);
  if (symbol != nullptr) reinterpret_cast<void (*)()>(symbol)();
}

inline std::shared_ptr<ktxLoader> ktxLoader::registered(std::string_view path) {
  const auto &registry = ktx::process_state().registry;
  const auto place = registry.find(ktx::file_name_of(path));
  return place == registry.end() ? nullptr : place->second;
}

inline std::shared_ptr<ktxLoader> ktxLoader::load(const char *path) {
  if (path == nullptr || *path == '\0') {
    ktx::set_last_error("Bad logic in ktxLoader::load; entered with a NULL library name");
    return nullptr;
  }
  if (std::shared_ptr<ktxLoader> known = registered(path)) {
    ++known->references_;
    ktx::trace("   Already loaded", "");
    return known;
  }
  auto fresh = std::make_shared<ktxLoader>(path);
  if (fresh->module_ == nullptr) {
    ktx::trace("   Not Loaded", "");
    ktx::trace("   ERROR: ", ktx::process_state().last_error.get());
    return nullptr;
  }
  ktx::process_state().registry.emplace(ktx::file_name_of(path), fresh);
  ktx::trace("   Load OK", "");
  return fresh;
}

inline void ktxLoader::unload(const std::shared_ptr<ktxLoader> &library) {
  ktx::trace("Unloading: ", library->path_.c_str());
  if (--library->references_ > 0) return;
  ktx::ProcessState &state = ktx::process_state();
  if (const auto place = state.registry.find(ktx::file_name_of(library->path_)); place != state.registry.end())
    state.registry.erase(place);
  if (state.registry.empty()) state.last_error.reset();
}

// ---- ktxDynamicLibrary: finding, loading and using a library -------------------------------------------------------

class ktxDynamicLibrary {
 public:
  ktxDynamicLibrary();
  // Builds the object and loads the library. When there is a last error its text goes to *error.
  explicit ktxDynamicLibrary(const char *name, const char **error = nullptr, bool flag = false);
  virtual ~ktxDynamicLibrary();
  ktxDynamicLibrary(const ktxDynamicLibrary &) = delete;
  ktxDynamicLibrary &operator=(const ktxDynamicLibrary &) = delete;

  // Finds and loads the library; one that the object holds already is let go first. True when it is loaded. *error, if
  // given, receives the pointer of error_text() when there is one.
  bool load(const char *name, const char **error = nullptr);
  // True while the object holds a library that is still loaded.
  [[nodiscard]] bool is_loaded() const { return !library_.expired(); }
  // The address of a symbol, or null.
  void *find_symbol(const char *name) const;
  // Drops the object's reference. The last reference of a library calls its terminate hook and closes it.
  void unload();
  // Finds the library and, when it is loaded, drops one reference.
  void unload_by_name(const char *name);
  // The references to the library that the name leads to; 0 when it is not loaded or not found, -1 for an empty name.
  int reference_count_of(const char *name);
  // The path that the name leads to, for the caller to free with free(); null when nothing is found.
  char *full_name(const char *name);

  // Replaces the search list of the process, or with the flag appends to it. An empty list or null replaces it by none.
  // The list goes with the last living object.
  static void set_search_list(const char *list, bool append);
  // The search list; null when none is set.
  static const char *search_list();
  // The reason of the last failure, empty after a success; null when nothing is loaded and nothing has failed.
  static const char *error_text();

 private:
  void load_named(const char *name);
  void clear_search();
  std::optional<std::string> resolve(const char *name);
  std::optional<std::string> search_directories();
  [[nodiscard]] std::optional<std::string> try_list(std::string_view list) const;
  [[nodiscard]] std::optional<std::string> try_file(const std::string &path) const;
  [[nodiscard]] std::string search_report() const;

  const char *name_ = nullptr;
  std::weak_ptr<ktxLoader> library_;
  const char *user_dir_ = nullptr;
  std::optional<std::string> cpu_dir_;
  std::optional<std::string> current_dir_;
  const char *path_list_ = nullptr;
  const char *search_list_ = nullptr;
  std::optional<std::string> prefix_;
  std::optional<std::string> suffix_;
};

inline ktxDynamicLibrary::ktxDynamicLibrary() {
  ++ktx::process_state().living_objects;
  ktx::open_trace();
}

inline ktxDynamicLibrary::ktxDynamicLibrary(const char *name, const char **error, bool flag) : ktxDynamicLibrary() {
  ktx::process_state().flag = flag;
  load(name, error);
}

inline ktxDynamicLibrary::~ktxDynamicLibrary() {
  unload();
  ktx::ProcessState &state = ktx::process_state();
  if (--state.living_objects == 0) state.search_list.reset();
}

inline bool ktxDynamicLibrary::load(const char *name, const char **error) {
  unload();
  try {
    load_named(name);
  } catch (const std::bad_alloc &) {  // nothing is loaded, which is the answer
  }
  ktx::ProcessState &state = ktx::process_state();
  state.flag = false;
  if (error != nullptr && state.last_error) *error = state.last_error.get();
  return is_loaded();
}

inline void ktxDynamicLibrary::load_named(const char *name) {
  clear_search();
  ktx::set_last_error("");
  ktx::trace("Loading: ", name != nullptr ? name : "");
  if (name == nullptr || *name == '\0') {
    library_ = ktxLoader::load(name);
    return;
  }
  const std::optional<std::string> path = resolve(name);
  ktx::trace("   Full Name: ", path ? path->c_str() : name);
  if (path) {
    library_ = ktxLoader::load(path->c_str());
    return;
  }
  ktx::set_last_error(search_report().c_str());
  ktx::trace("   ERROR: ", ktx::process_state().last_error.get());
}

inline void *ktxDynamicLibrary::find_symbol(const char *name) const {
  const std::shared_ptr<ktxLoader> library = library_.lock();
  if (!library || name == nullptr) return nullptr;
  void *symbol = ::dlsym(library->module(), name);
  ktx::trace("Looking for function: ", name, symbol != nullptr ? " Found" : " Not Found");
  return symbol;
}

inline void ktxDynamicLibrary::unload() {
  if (const std::shared_ptr<ktxLoader> library = library_.lock()) ktxLoader::unload(library);
  library_.reset();
}

inline void ktxDynamicLibrary::unload_by_name(const char *name) {
  try {
    const std::optional<std::string> path = resolve(name);
    if (!path) return;
    if (const std::shared_ptr<ktxLoader> library = ktxLoader::registered(*path)) ktxLoader::unload(library);
  } catch (const std::bad_alloc &) {  // not found, so nothing to unload
  }
}

inline int ktxDynamicLibrary::reference_count_of(const char *name) {
  if (name == nullptr || *name == '\0') return -1;
  try {
    const std::optional<std::string> path = resolve(name);
    const std::shared_ptr<ktxLoader> library = path ? ktxLoader::registered(*path) : nullptr;
    return library ? library->reference_count() : 0;
  } catch (const std::bad_alloc &) {
    return 0;
  }
}

inline char *ktxDynamicLibrary::full_name(const char *name) {
  try {
    const std::optional<std::string> path = resolve(name);
    return path ? ::strdup(path->c_str()) : nullptr;
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

inline void ktxDynamicLibrary::set_search_list(const char *list, bool append) {
  std::optional<std::string> &present = ktx::process_state().search_list;
  const bool empty = list == nullptr || *list == '\0';
  try {
    if (!append || !present)
      present = empty ? std::nullopt : std::optional<std::string>(list);
    else if (!empty)
      present->append(1, ktx::kListSeparator).append(list);
  } catch (const std::bad_alloc &) {  // the list stays as far as it got
  }
}

inline const char *ktxDynamicLibrary::search_list() {
  const std::optional<std::string> &present = ktx::process_state().search_list;
  return present ? present->c_str() : nullptr;
}

inline const char *ktxDynamicLibrary::error_text() { return ktx::process_state().last_error.get(); }

// ---- the search ----------------------------------------------------------------------------------------------------

inline void ktxDynamicLibrary::clear_search() {
  name_ = user_dir_ = path_list_ = search_list_ = nullptr;
  cpu_dir_.reset();
  current_dir_.reset();
  prefix_.reset();
  suffix_.reset();
}

// The path of the file that the name leads to.
inline std::optional<std::string> ktxDynamicLibrary::resolve(const char *name) {
  clear_search();
  if (name == nullptr || *name == '\0') return std::nullopt;
  name_ = name;
  if (!ktx::has_library_suffix(name)) suffix_ = ktx::kLibrarySuffix;
  if (ktx::takes_library_prefix(name)) prefix_ = ktx::kLibraryPrefix;
  return ktx::is_path(name) ? try_file(name) : search_directories();
}

inline std::optional<std::string> ktxDynamicLibrary::search_directories() {
  user_dir_ = ktx::variable("KTX_USER_PLUGIN_DIR");
  path_list_ = ktx::variable("PATH");
  search_list_ = search_list();
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
  const char *cpu = ktx::variable("KTX_CPU");
  const char *top = ktx::variable("short_topdir");
  if (!found && cpu != nullptr && top != nullptr) {
    cpu_dir_ = std::string(top).append(1, ktx::kDirectorySeparator).append(cpu);
    found = try_list(*cpu_dir_);
  }
  if (!found) {
    current_dir_ = ktx::kCurrentDirectory;
    found = try_list(*current_dir_);
  }
  return found;
}

// Tries the directories of a list in turn. A name that takes no prefix is also tried without its first three letters,
// so that "libfoo" finds "foo.so".
inline std::optional<std::string> ktxDynamicLibrary::try_list(std::string_view list) const {
  const std::string_view name = name_;
  const std::size_t prefix_size = std::strlen(ktx::kLibraryPrefix);
  while (!list.empty()) {
    const std::size_t end = list.find(ktx::kListSeparator);
    const std::string_view entry = list.substr(0, end);
    list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
    if (entry.empty()) continue;
    std::string directory(entry);
    if (!directory.ends_with(ktx::kDirectorySeparator)) directory += ktx::kDirectorySeparator;
    if (auto found = try_file(std::string(directory).append(name))) return found;
    if (prefix_ || name.size() <= prefix_size) continue;
    if (auto found = try_file(directory.append(name.substr(prefix_size)))) return found;
  }
  return std::nullopt;
}

// The path with the ending, or as it is, whichever is a file.
inline std::optional<std::string> ktxDynamicLibrary::try_file(const std::string &path) const {
  if (suffix_) {
    if (std::string with_suffix = path + *suffix_; ktx::is_file(with_suffix)) return with_suffix;
  }
  if (ktx::is_file(path)) return path;
  return std::nullopt;
}

// What was looked for, and where.
inline std::string ktxDynamicLibrary::search_report() const {
  const std::string name = name_;
  std::string names = name;
  if (prefix_) names += ", " + *prefix_ + name;
  if (suffix_) names += ", " + name + *suffix_;
  if (prefix_ && suffix_) names += ", " + *prefix_ + name + *suffix_;

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

  return "The user library \"" + name + "\" could not be located. These name(s) were searched for: " + names + "." +
         places;
}

#endif
