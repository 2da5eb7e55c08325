// Discarding: the nodes that no face, interface node or nodal load refers to leave the node table, and with it the mode
// data of all kinds.
#include "surface/discard.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/reports.h"
#include "body/faces.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "modes/shorten.h"
#include "surface/strip.h"

namespace sbr {
namespace {

// ---- the keep list ----------------------------------------------------------------------------------------

std::int64_t nodal_load_count(const SbrBody &body) noexcept {
  std::int64_t count = 0;
  for (std::size_t i = 0; i < body.loads.nodal.size(); ++i)
    if (body.loads.nodal[i] != nullptr) count += static_cast<std::int64_t>(body.loads.nodal[i]->nodes.size());
  return count;
}

// Copies the face list, with -1 in place of the vertex counts. Gives where the copy ends.
std::int32_t *gather_face_nodes(const SbrBody &body, std::int32_t *out) noexcept {
  std::int32_t *end = std::copy(body.faces.list.begin(), body.faces.list.end(), out);
  for (FaceWalk walk(body.faces); walk.next();) out[walk.start()] = -1;
  return end;
}

std::int32_t *gather_load_nodes(const SbrBody &body, std::int32_t *out) noexcept {
  for (std::size_t i = 0; i < body.loads.nodal.size(); ++i) {
    const NodalLoadCase *load_case = body.loads.nodal[i];
    if (load_case != nullptr) out = std::copy(load_case->nodes.begin(), load_case->nodes.end(), out);
  }
  return out;
}

// Puts the node indices among the values in order, once each. False when memory is short.
bool tidy(Array<std::int32_t> &nodes, int node_count) noexcept {
  Array<unsigned char> named;
  if (!named.allocate(std::max(node_count, 1))) return false;
  const auto end = static_cast<std::uint32_t>(node_count);
  for (const std::int32_t node : nodes.span())
    if (static_cast<std::uint32_t>(node) < end) named[node] = 1;
  std::int64_t kept = 0;
  for (std::int32_t node = 0; node < node_count; ++node)
    if (named[node] != 0) nodes[kept++] = node;
  return nodes.resize(kept);
}

// Fills the cached keep list. False after a report.
bool build_geometry_nodes(SbrBody &body, bool with_loads) noexcept {
  const std::int64_t room = static_cast<std::int64_t>(body.faces.list.size() + body.interface_nodes.nodes.size()) +
                            (with_loads ? nodal_load_count(body) : 0);
  Array<std::int32_t> nodes;
  if (!nodes.allocate(room)) return report_no_memory(unit_name::kTools);
  if (body.faces.list.empty()) {
    report_warning("Missing element face information.");
    return false;
  }
  std::int32_t *end = gather_face_nodes(body, nodes.data());
  // A place that an interface node does not fill stays 0 and so keeps node index 0.
  for (const std::int32_t node : body.interface_nodes.nodes)
    if (node_id(body, node) > 0) *end++ = node;
  if (with_loads) gather_load_nodes(body, end);
  if (!tidy(nodes, node_count(body)) || nodes.empty()) return report_no_memory(unit_name::kTools);
  body.geometry.geometry_nodes = std::move(nodes);
  return true;
}

// ---- discarding -------------------------------------------------------------------------------------------

struct KindTexts {
  const char *modes_gone;
  const char *pre_vectors_gone;
};

constexpr PerKind<KindTexts> kTexts{
    {{"", ""},
     {"All the nodes referenced in Stress Mode have been removed. Stress Mode data is eliminated.",
      "All the nodes referenced in Pre-Stress have been removed. Pre-Stress data is eliminated."},
     {"All the nodes referenced in Strain Mode have been removed. Strain Mode data is eliminated.",
      "All the nodes referenced in Pre-Strain have been removed. Pre-Strain data is eliminated."}}};

// One run. All that can fail happens beside the body; then the body changes as a whole.
class Discarding {
 public:
  Discarding(SbrBody &body, std::span<const std::int32_t> keep) noexcept
      : body_(body), keep_(keep), kinds_{{{body, Kind::shape}, {body, Kind::stress}, {body, Kind::strain}}} {}

  [[nodiscard]] bool prepare() noexcept {
    if (!number_kept_nodes()) return report_no_memory(unit_name::kTools);
    if (!keeps_all_references()) return false;
    for (const Kind kind : kKinds)
      if (!prepare_kind(kind)) return false;
    if (!copy_nodes(body_, keep_, nodes_)) return report_no_memory(unit_name::kTools);
    for (const Kind kind : kListedKinds)
      if (affects(kind) && !list_kept_nodes(kind)) return report_no_memory(unit_name::kTools);
    return true;
  }

  void install() noexcept {
    for (const Kind kind : kKinds)
      if (affects(kind)) kinds_[kind].install();
    if (has_block(body_, kModalLoadNodal)) compact_nodal_loads(body_, keep_);
    replace_nodes(body_, std::move(nodes_));
    for (const Kind kind : kListedKinds) install_kind_nodes(kind);
    renumber_references();
  }

 private:
  [[nodiscard]] bool has_modes(Kind kind) const noexcept {
    return kind == Kind::shape || has_block(body_, kKindFacts[kind].block);
  }
  // A kind may have nodes without modes: those of a pre-vector alone.
  [[nodiscard]] bool affects(Kind kind) const noexcept { return has_modes(kind) || kind_count(body_, kind) > 0; }

  [[nodiscard]] bool prepare_kind(Kind kind) noexcept {
    if (!affects(kind)) return true;
    return has_modes(kind) ? kinds_[kind].prepare(keep_) : kinds_[kind].prepare_without_modes(keep_);
  }

  bool number_kept_nodes() noexcept {
    if (!place_in_list_.allocate(std::max(node_count(body_), 1))) return false;
    for (std::size_t k = 0; k < keep_.size(); ++k) place_in_list_[keep_[k]] = static_cast<std::int32_t>(k) + 1;
    return true;
  }
  // Where a node index stands in the keep list; -1 for one that is not kept.
  [[nodiscard]] std::int32_t new_index(std::int32_t old) const noexcept {
    return static_cast<std::uint32_t>(old) < place_in_list_.size() ? place_in_list_[old] - 1 : -1;
  }

  // A keep list may be older than the faces. An index that it does not have would be lost.
  [[nodiscard]] bool keeps_all_references() const noexcept {
    for (FaceWalk walk(body_.faces); walk.next();)
      for (const std::int32_t node : walk.face())
        if (new_index(node) < 0) {
          report_error(
              "A face refers to node %d, which is not in the list of nodes to keep.  No nodes are discarded.\n"
              "The list is older than the face; the next call makes it anew.",
              node_id(body_, node));
          return false;
        }
    for (const std::int32_t node : body_.interface_nodes.nodes)
      if (new_index(node) < 0) {
        report_error(
            "Interface node %d is not in the list of nodes to keep.  No nodes are discarded.\n"
            "The list has nodes of positive ID, as they were when it was made; the next call makes it anew.",
            node_id(body_, node));
        return false;
      }
    return true;
  }

  // The kind's nodes among those kept, in the order of the keep list.
  bool list_kept_nodes(Kind kind) noexcept {
    const std::span<const std::int32_t> map = kinds_[kind].map();
    for (std::size_t k = 0; k < map.size(); ++k)
      if (map[k] >= 0 && !kind_nodes_[kind].push_back(static_cast<std::int32_t>(k))) return false;
    return true;
  }

  void install_kind_nodes(Kind kind) noexcept {
    const bool had_nodes = has_modes(kind) || kind_count(body_, kind) > 0;
    replace_kind_nodes(body_, kind, std::move(kind_nodes_[kind]));
    if (!had_nodes || kind_count(body_, kind) > 0) return;
    if (has_modes(kind)) {
      report_warning("%s", kTexts[kind].modes_gone);
      set_block(body_, kKindFacts[kind].block, false);
    }
    if (!has_block(body_, *kKindFacts[kind].pre_block)) return;
    report_warning("%s", kTexts[kind].pre_vectors_gone);
    set_block(body_, *kKindFacts[kind].pre_block, false);
  }

  void renumber_references() noexcept {
    std::int32_t *list = body_.faces.list.data();
    for (FaceWalk walk(body_.faces); walk.next();)
      for (std::size_t v = 0; v < walk.face().size(); ++v) {
        std::int32_t &node = list[walk.start() + 1 + v];
        node = new_index(node);
      }
    for (std::int32_t &node : body_.interface_nodes.nodes) node = new_index(node);
    forget_interface_places(body_);
  }

  SbrBody &body_;
  std::span<const std::int32_t> keep_;
  Array<std::int32_t> place_in_list_;  // per node index its place in the keep list plus 1; 0 for one that is not kept
  PerKind<ModeShortening> kinds_;
  ReducedNodes nodes_;
  PerKind<Array<std::int32_t>> kind_nodes_;
};

// A keep list is good for the node table it was made of; one that outlived it keeps what is left.
std::span<const std::int32_t> valid_part(const SbrBody &body, const Array<std::int32_t> &keep) noexcept {
  return {keep.begin(), std::lower_bound(keep.begin(), keep.end(), node_count(body))};
}

}  // namespace

bool load_nodes_are_kept() noexcept {
  const char *options = std::getenv("KTX_SBRWRITE_OPTIONS");
  return options == nullptr || std::strstr(options, "optimize_mforce_nodes") == nullptr;
}

const Array<std::int32_t> *geometry_nodes(SbrBody &body, bool keep_load_nodes) noexcept {
  const Array<std::int32_t> &nodes = body.geometry.geometry_nodes;
  return nodes || build_geometry_nodes(body, keep_load_nodes) ? &nodes : nullptr;
}

bool discard_unreferenced_nodes(SbrBody &body, bool keep_load_nodes) noexcept {
  const Array<std::int32_t> *keep = geometry_nodes(body, keep_load_nodes);
  if (keep == nullptr) return true;
  Discarding discarding(body, valid_part(body, *keep));
  const bool prepared = discarding.prepare();
  if (prepared) discarding.install();
  body.geometry.geometry_nodes.release();
  return prepared;
}

void remove_internal_geometry(SbrBody &body) noexcept {
  if (body.geometry.internal_geometry_removed != 0) return;
  report_info("\n Remove internal geometry of SBR\n");
  strip_common_faces(body);
  (void)discard_unreferenced_nodes(body, load_nodes_are_kept());
}

}  // namespace sbr

extern "C" {

int *SBR_GeometryNodes(SBR body, int *count) {
  if (count != nullptr) *count = 0;
  if (!sbr::require_body(body)) return nullptr;
  const sbr::Array<std::int32_t> *nodes = sbr::geometry_nodes(*body, sbr::load_nodes_are_kept());
  if (nodes == nullptr) return nullptr;
  sbr::Array<std::int32_t> copy;
  if (!copy.allocate(nodes->count())) {
    sbr::report_no_memory(sbr::unit_name::kTools);
    return nullptr;
  }
  std::copy(nodes->begin(), nodes->end(), copy.begin());
  if (count != nullptr) *count = copy.count();
  return copy.detach();
}

int SBR_DiscardUnreferencedNodes(SBR body) {
  return sbr::require_body(body) && sbr::discard_unreferenced_nodes(*body, sbr::load_nodes_are_kept()) ? 1 : 0;
}

int SBR_RemoveInternalGeometry(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::remove_internal_geometry(*body);
  return body->geometry.internal_geometry_removed;
}

}  // extern "C"
