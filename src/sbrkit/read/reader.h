// Opening record files. The unit fills a fresh body from its file: it recognizes the encoding, finds the blocks and has
// them read in their order. Mode vectors and inertia invariants stay in the file.
#ifndef SBRKIT_READ_READER_H
#define SBRKIT_READ_READER_H

#include <cstdio>

#include "body/body.h"

namespace sbr {

// A body read from a file, and what `prepare`, if any, makes of it before it can be found; null when the file cannot be
// opened or read. When another thread has opened the file in the meantime, the body is that one.
[[nodiscard]] SbrBody *open_body(const char *file_name, void (*prepare)(SbrBody &body) noexcept) noexcept;

}  // namespace sbr

#endif
