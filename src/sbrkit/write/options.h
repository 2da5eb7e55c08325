// The options of a write: what KTX_SBRWRITE_OPTIONS asks for, as plain data. The unit owns nothing beyond one call.
#ifndef SBRKIT_WRITE_OPTIONS_H
#define SBRKIT_WRITE_OPTIONS_H

#include "base/memory.h"

namespace sbr {

struct WriteOptions {
  bool lbrf2cm = false;
  bool strip_face = false;
  bool sparse = false;
  bool full = false;
  bool no_ortho = false;
  bool single = false;
  bool no_xdr = false;
  bool layout_82 = false;
  bool layout_81 = false;
  bool invariants = false;  // also set by full_invariants and fast_invariants, whose keywords contain its own
  bool full_invariants = false;
  bool fast_invariants = false;
  bool empty = false;
  bool mks = false;
  Array<char> sketch_path;  // zero-terminated; no memory when there is no sketch to apply
  Array<char> coarsen;      // zero-terminated; no memory when nothing is to be coarsened
  double lowpass = 1e8;     // Hz
  double highpass = -1.0;   // Hz
};

// Finds the keywords in a text; a null text holds none. False when memory is short.
//
// Every keyword is a plain substring of the whole text. A value runs from its bracket over the characters of its set.
// A value that meets the end of the text at once counts as given and empty; one that meets a strange character at
// once counts as absent.
[[nodiscard]] bool parse_write_options(const char *text, WriteOptions &options) noexcept;

}  // namespace sbr

#endif
