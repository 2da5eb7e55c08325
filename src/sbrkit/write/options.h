// The options of a write: what KTX_SBRWRITE_OPTIONS asks for, as plain data. The unit owns nothing beyond one call.
#ifndef SBRKIT_WRITE_OPTIONS_H
#define SBRKIT_WRITE_OPTIONS_H

#include "base/memory.h"
#include "write/option_table.h"

namespace sbr {

struct WriteOptions : WriteFlags {
  Array<char> sketch_path;  // zero-terminated; no memory when there is no sketch to apply
  Array<char> coarsen;      // zero-terminated; no memory when nothing is to be coarsened
  double lowpass = 1e8;     // Hz
  double highpass = -1.0;   // Hz
};

// Finds the keywords of the table in a text; a null text holds none. False when memory is short.
//
// Every keyword is a plain substring of the whole text. A value runs from its bracket over the characters of its set.
// A value that meets the end of the text at once counts as given and empty; one that meets a strange character at
// once counts as absent.
[[nodiscard]] bool parse_write_options(const char *text, WriteOptions &options) noexcept;

}  // namespace sbr

#endif
