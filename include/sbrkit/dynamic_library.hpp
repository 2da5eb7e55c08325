/** @file
 *  @brief Shared libraries that are found by the product's search policy and loaded at most once, for C++ callers.
 *
 *  Needs C++17 and a system with dlopen(). The class lies in the shared library sbrkit, which exports it beside the C
 *  operations.
 *
 *  A library is named by its plain name ("Qsrv_22_2"), without directory and ending. It is looked for in
 *
 *  - first the directories of `KTX_USER_PLUGIN_DIR`, followed by those of `PATH`,
 *  - then the search list of the process (ktxDynamicLibrary::set_search_list()), followed by those of `PATH` when the
 *    first step did not have them,
 *  - then the one directory `short_topdir`/`KTX_CPU`, when both variables are set,
 *  - last the current directory.
 *
 *  A name that is a path is taken as it is and searched for nowhere. Every name is tried with ".so" first, then as it
 *  is. When a library has been loaded, its hook "_initialize" (or its base name followed by that) is called once; the
 *  hook "_terminate" (likewise) is called before it goes. Hooks take nothing and give nothing.
 *
 *  Nothing here sends a message: a failed load answers false and leaves the reason in ktxDynamicLibrary::error_text().
 *  A user who cannot load a library sets `VENTA_I_CAN_NOT_LOAD_MY_LIBRARY` to the name of a file, to which every step
 *  is then appended.
 *
 *  The state (which libraries are loaded and how often, the last error, the search list) is one per process: a search
 *  list that a host sets here also leads CDB_LoadLibrary(), and a library that both load is initialized once. No lock
 *  guards it: one thread at a time. Exhausted memory is a failed operation, never an exception. */
#ifndef SBRKIT_DYNAMIC_LIBRARY_HPP
#define SBRKIT_DYNAMIC_LIBRARY_HPP

#include <cstdint>

#if defined(__GNUC__)
/// Marks a class that the shared library exports.
#define SBR_CLASS_API __attribute__((visibility("default")))
#else
#define SBR_CLASS_API
#endif

/// A user of a shared library: finds it, loads it, looks its symbols up. Objects that name the same file share it.
class SBR_CLASS_API ktxDynamicLibrary {
 public:
  /// An object without a library.
  ktxDynamicLibrary();
  /// Builds the object and loads the library as load() does. The flag decides nothing and is cleared by the loading.
  explicit ktxDynamicLibrary(const char *name, const char **error = nullptr, bool flag = false);
  /// Drops the references that the object still holds. The last object takes the search list with it.
  virtual ~ktxDynamicLibrary();
  ktxDynamicLibrary(const ktxDynamicLibrary &) = delete;
  ktxDynamicLibrary &operator=(const ktxDynamicLibrary &) = delete;

  /// Finds the library and takes a reference to it; loads it when the process has none of that file name yet. True when
  /// that succeeded: the object then holds this library, with one more reference if it held it before, and lets another
  /// one go. False leaves the object with what it held. *error, if given, receives the pointer of error_text() when
  /// there is one: an empty text after a success.
  bool load(const char *name, const char **error = nullptr);
  /// True while the object holds a library that is still loaded.
  [[nodiscard]] bool is_loaded() const;
  /// The address of a symbol, valid as long as the library is loaded; null without the symbol or a library.
  void *find_symbol(const char *name) const;
  /// Drops one of the object's references. The last reference of a library calls its terminate hook and closes it.
  void unload();
  /// Finds the library and, when it is loaded, drops one reference.
  void unload_by_name(const char *name);
  /// The references to the library that the name leads to; 0 when it is not loaded or not found, -1 for an empty name.
  int reference_count_of(const char *name);
  /// The path that the name leads to, for the caller to free with free(); null when nothing is found.
  char *full_name(const char *name);

  /// Replaces the search list of the process, or with the flag appends to it. An empty list or null replaces it by
  /// none. The list goes with the last living object, that of a bound database library included.
  static void set_search_list(const char *list, bool append);
  /// The search list, valid until it is set again; null when none is set.
  static const char *search_list();
  /// The reason of the last failure, empty after a success; null when nothing is loaded and nothing has failed. The
  /// text lies in one buffer, which the next loading overwrites, and which goes with the last library.
  static const char *error_text();

 private:
  std::uint64_t library_ = 0;  // the number under which the process knows the held library; 0 for none
  int references_ = 0;         // how many of the library's references are the object's
};

#endif
