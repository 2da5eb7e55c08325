// Temporary files: a name with the prefix "sbr_" in the directory of the environment variable TMP, else the system's;
// created exclusively, readable and writable by the owner only.
#ifndef SBRKIT_BASE_TEMPORARY_FILE_H
#define SBRKIT_BASE_TEMPORARY_FILE_H

#include <cstdio>

#include "base/memory.h"

namespace sbr {

// A name that no file has at the moment. False when memory is short.
[[nodiscard]] bool temporary_name(Array<char> &path) noexcept;
// The same in the directory of another file.
[[nodiscard]] bool temporary_name_beside(Array<char> &path, const char *file) noexcept;
// Creates the file and opens it for reading and writing; null when that fails.
[[nodiscard]] std::FILE *create_exclusive(const char *path) noexcept;

}  // namespace sbr

#endif
