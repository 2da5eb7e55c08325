// Carries one kind of mode data over to a shorter list of nodes: first a new file beside the present store, then, when
// the caller has all it needs, the exchange. Discarding prepares all kinds before it installs the first.
#ifndef SBRKIT_MODES_SHORTEN_H
#define SBRKIT_MODES_SHORTEN_H

#include <span>

#include "modes/rewrite.h"

namespace sbr {

class ModeShortening {
 public:
  ModeShortening(SbrBody &body, Kind kind) noexcept
      : body_(body), kind_(kind), rewrite_(body, kind, RewritePurpose::shortening) {}

  // Writes the kept rows of all modes to a new file. False after a report; the store is as it was.
  [[nodiscard]] bool prepare(std::span<const std::int32_t> keep) noexcept;
  // In place of prepare for a kind that has nodes but no modes, such as a pre-stress alone: there is no file to write,
  // and on installing the rows of the pre-vector move to the places of their nodes in the shorter list of the kind,
  // which has the kept nodes in the order of the keep list. False after a report.
  [[nodiscard]] bool prepare_without_modes(std::span<const std::int32_t> keep) noexcept;
  // Makes the new file the kind's store and moves the rows of pre-stress or pre-strain.
  void install() noexcept;
  // Per place in the keep list the kind position of its node, or a negative value.
  [[nodiscard]] std::span<const std::int32_t> map() const noexcept { return map_.span(); }

 private:
  [[nodiscard]] bool make_map(std::span<const std::int32_t> keep) noexcept;
  [[nodiscard]] Rewriting write_modes() noexcept;
  [[nodiscard]] Rewriting keep_rows(int mode, double *out) noexcept;
  void move_pre_vectors() noexcept;

  SbrBody &body_;
  Kind kind_;
  ModeRewrite rewrite_;
  bool has_file_ = false;
  Array<std::int32_t> map_;
  Array<SixVector> pre_rows_;  // without modes: the pre-vector as it will be
};

// Moves the nodal loads on kept nodes to their new node indices; loads on other nodes go.
void compact_nodal_loads(SbrBody &body, std::span<const std::int32_t> keep) noexcept;

}  // namespace sbr

#endif
