// Carries one kind of mode data over to a shorter list of nodes: first a new file beside the present store, then, when
// the caller has all it needs, the exchange. Discarding prepares all kinds before it installs the first.
#ifndef SBRKIT_MODES_SHORTEN_H
#define SBRKIT_MODES_SHORTEN_H

#include <span>

#include "modes/rewrite.h"

namespace sbr {

class ModeShortening {
 public:
  ModeShortening(SbrBody &body, Kind kind) noexcept : body_(body), kind_(kind), rewrite_(body, kind) {}

  // Writes the kept rows of all modes to a new file. False after a report; the store is as it was.
  [[nodiscard]] bool prepare(std::span<const std::int32_t> keep) noexcept;
  // Makes the new file the kind's store and moves the rows of pre-stress or pre-strain.
  void install() noexcept;
  // Per place in the keep list the kind position of its node, or a negative value.
  [[nodiscard]] std::span<const std::int32_t> map() const noexcept { return map_.span(); }

 private:
  [[nodiscard]] bool write_modes() noexcept;
  [[nodiscard]] bool write_mode(int mode) noexcept;
  void move_pre_vectors() noexcept;

  SbrBody &body_;
  Kind kind_;
  ModeRewrite rewrite_;
  Array<std::int32_t> map_;
  Array<double> parts_[2];
  Array<double> row_;
};

// Keeps the nodal loads on the nodes of a keep list, under their new indices.
void compact_nodal_loads(SbrBody &body, std::span<const std::int32_t> keep) noexcept;

}  // namespace sbr

#endif
