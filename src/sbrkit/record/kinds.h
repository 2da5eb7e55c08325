// The kinds of mode data, as a type: what a record has of each, and how the values of one per kind are kept.
#ifndef SBRKIT_RECORD_KINDS_H
#define SBRKIT_RECORD_KINDS_H

#include <array>
#include <cstddef>
#include <optional>

#include "record/blocks.h"

namespace sbr {

// The numbers are those of the public operations.
enum class Kind : int { shape = 0, stress = 1, strain = 2 };

inline constexpr std::array<Kind, 3> kKinds = {Kind::shape, Kind::stress, Kind::strain};
// The kinds with a node list of their own and with a pre-vector.
inline constexpr std::array<Kind, 2> kListedKinds = {Kind::stress, Kind::strain};

// The kind of a public number; nothing for a number that names none.
constexpr std::optional<Kind> kind_of(int number) noexcept {
  if (number < 0 || number > 2) return std::nullopt;
  return static_cast<Kind>(number);
}
constexpr int number_of(Kind kind) noexcept { return static_cast<int>(kind); }

// One T for each kind.
template <class T>
class PerKind {
 public:
  constexpr T &operator[](Kind kind) noexcept { return values_[static_cast<std::size_t>(kind)]; }
  constexpr const T &operator[](Kind kind) const noexcept { return values_[static_cast<std::size_t>(kind)]; }
  constexpr T *begin() noexcept { return values_; }
  constexpr T *end() noexcept { return values_ + 3; }
  constexpr const T *begin() const noexcept { return values_; }
  constexpr const T *end() const noexcept { return values_ + 3; }

  T values_[3]{};
};

// What a record has of a kind.
struct KindFacts {
  const char *name;                // "mode shape", in messages of entering
  const char *short_name;          // "Shape", in messages of rewriting
  Block block;                     // its modes
  std::optional<Block> pre_block;  // its pre-vector
  const char *failed_read;         // the report of a mode that cannot be read; its number follows
  const char *failed_pre_read;     // the same for the pre-vector
  const char *file_name;           // "modeshape", where its temporary file is told
  const char *file_variable;       // the environment variable that names that file
};

inline constexpr PerKind<KindFacts> kKindFacts{
    {{"mode shape", "Shape", kModeShapes, std::nullopt, "Problem reading mode shape %d", nullptr, "modeshape",
      "KTX_TMP_MOD"},
     {"modal stress", "Stress", kModalStress, kNodalPreStress, "Problem reading modal stress vector %d",
      "Problem reading pre stress vector", "modal stress", "KTX_TMP_STR"},
     {"modal strain", "Strain", kModalStrain, kNodalPreStrain, "Problem reading modal strain vector %d",
      "Problem reading pre strain vector", "modal strain", "KTX_TMP_STN"}}};

}  // namespace sbr

#endif
