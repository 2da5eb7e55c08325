// Opening record files. The unit fills a fresh body from its file: it recognizes the encoding, finds the blocks and has
// them read in their order. Mode vectors and inertia invariants stay in the file.
#ifndef SBRKIT_READ_READER_H
#define SBRKIT_READ_READER_H

#include <cstdio>

#include "body/body.h"

namespace sbr {

// The live body of a file, with one reference more; null when there is none. surface_mesh says which of the two
// bodies that a file may have is meant.
[[nodiscard]] SbrBody *share_body(const char *file_name, int surface_mesh) noexcept;
// A new body read from a file; null when the file cannot be opened or read.
[[nodiscard]] SbrBody *open_body(const char *file_name) noexcept;

}  // namespace sbr

#endif
