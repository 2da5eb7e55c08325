// The database front: starting and ending (sbrdbfront), data blocks and their records (sbrdbblocks), browsing
// (sbrdbbrowse). The state of the database run is owned by sbrdbfront, each counter by the unit that raises it.
#ifndef SBRKIT_DATABASE_FRONT_H
#define SBRKIT_DATABASE_FRONT_H

#include <cstdint>

#include "database/text.h"

namespace sbr {

// The answer of browse for a file that cannot be used.
inline constexpr std::int64_t kUnusableFile = -1;

// The number of bodies in the database file, 0 for none, kUnusableFile; and the qualifiers of body number index,
// counted from 1, as "NAME=value,NAME=value". The text is empty for an index that names no body.
std::int64_t browse(const char *path, int index, Text &qualifiers) noexcept;

// Gives the name that an assignment puts to a file's path: sends "assign <logical>='<path>'". The status of the
// command.
int assign(const char *logical, int number, const char *path) noexcept;

}  // namespace sbr

#endif
