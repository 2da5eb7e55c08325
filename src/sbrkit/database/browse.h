// Browsing: which bodies a database file holds, and by which qualifiers each is known.
#ifndef SBRKIT_DATABASE_BROWSE_H
#define SBRKIT_DATABASE_BROWSE_H

#include <cstdint>

#include "database/text.h"

namespace sbr::db {

// The answer of browse for a file that cannot be used.
inline constexpr std::int64_t kUnusableFile = -1;

// The number of bodies in the database file, 0 for none, kUnusableFile; and the qualifiers of body number index,
// counted from 1, as "NAME=value,NAME=value". The text is empty for an index that names no body.
std::int64_t browse(const char *path, int index, Text &qualifiers) noexcept;

}  // namespace sbr::db

#endif
