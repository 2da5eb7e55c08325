// Names of shared libraries: what a name says about the file it stands for, and the lists of directories that are
// searched. Pure functions of texts.
#ifndef SBRKIT_DATABASE_LIBRARY_NAMES_H
#define SBRKIT_DATABASE_LIBRARY_NAMES_H

#include <cstring>
#include <string>
#include <string_view>

namespace ktx {

inline constexpr char kListSeparator = ':';
inline constexpr char kDirectorySeparator = '/';
inline constexpr const char *kLibrarySuffix = ".so";
inline constexpr const char *kLibraryPrefix = "lib";
inline constexpr const char *kCurrentDirectory = "./";

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

}  // namespace ktx

#endif
