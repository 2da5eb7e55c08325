// A slow model of writing: the steps of a write in their order, done to a twin of the body by the public operations,
// and the bytes of the record put together field by field. It shares no code with the writer's plan and emission.
#ifndef SBRKIT_TESTS_SUPPORT_WRITE_REFERENCE_H
#define SBRKIT_TESTS_SUPPORT_WRITE_REFERENCE_H

#include <optional>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"
#include "support/record_builder.h"

namespace sbrtest {

// A body like the one that is written. Its modes keep their numbers when a range is cut out, so that each of them can
// be asked for by its number: the numbers that the other body has by then are kept beside it.
struct Twin {
  SBR body = nullptr;
  bool off_diagonal = false;              // a generalized matrix couples two modes
  bool has_table = false;                 // an eigenvalue table was made
  bool damping_turned = false;            // damping stands on principal axes
  std::vector<int> numbers;               // of the modes, as a write leaves them
  std::vector<int> transformation_modes;  // their numbers before the last orthonormalization; empty without one
};
Twin twin_of(SBR body, bool off_diagonal);

// Does to the twin what a write under the options does, and gives the record that it makes; nothing when the write
// fails. The header's date is that of the given text. The options stand in the environment, too.
std::optional<RecordBuilder> reference_write(Twin &twin, const std::string &options, const std::string &date);

}  // namespace sbrtest

#endif
