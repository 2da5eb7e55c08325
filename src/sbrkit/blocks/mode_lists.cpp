// Emission of mode data: shapes, stress and strain, the figures gathered on the way, and the pre-vectors. One mode at
// a time passes through, so the memory taken follows the node count and not the modes.
#include <algorithm>
#include <cmath>

#include "base/reports.h"
#include "blocks/emission.h"
#include "body/node_table.h"
#include "modes/access.h"
#include "modes/store.h"

namespace sbr {
namespace {

// Nodes per piece: six values each, so that a piece stays in the cache between its two uses.
constexpr int kPiece = 2048;

// The largest of a quantity over the nodes, before the square root, and where it is. The first of equals stands; -1
// when all are zero.
struct Largest {
  double square = 0.0;
  std::int32_t position = -1;

  void offer(double value, std::int32_t at) noexcept {
    if (value > square) {
      square = value;
      position = at;
    }
  }
};

// Enters a figure of an exported mode in the statistics; the node ID is 0 when all values were zero.
void note(SbrBody &body, int exported, int slot, Kind kind, const Largest &largest) noexcept {
  if (exported < 0 || exported >= body.statistics.count()) return;
  ModalStatistics &figures = body.statistics[exported];
  const std::int32_t at = largest.position;
  figures.node_ids[slot] = at < 0 ? 0 : kind == Kind::shape ? node_id(body, at) : kind_node_id(body, kind, at);
  figures.values[slot] = std::sqrt(largest.square);
}

bool any_nonzero(const double *six) noexcept {
  return six[0] != 0.0 || six[1] != 0.0 || six[2] != 0.0 || six[3] != 0.0 || six[4] != 0.0 || six[5] != 0.0;
}

// The word in front of a mode: none, zero or its number, by the layout.
bool put_mode_word(Emission &run, Kind kind, int number) noexcept {
  if (!run.out.mode(kind)) return false;
  if (has_no_mode_words(run.plan.word)) return true;
  return run.out.integer(has_zero_mode_words(run.plan.word) ? 0 : number);
}

double length_squared(const double *v) noexcept { return v[0] * v[0] + v[1] * v[1] + v[2] * v[2]; }

// Square of the von Mises stress of normal components v[0..2] and shear components v[3..5].
double von_mises_squared(const double *v) noexcept {
  return v[0] * v[0] + v[1] * v[1] + v[2] * v[2] - v[0] * v[1] - v[1] * v[2] - v[0] * v[2] +
         3 * (v[3] * v[3] + v[4] * v[4] + v[5] * v[5]);
}

// ---- mode shapes ----------------------------------------------------------------------------------------------------

bool put_mode_shape(Emission &run, int index) noexcept {
  SbrBody &body = run.body;
  const int number = mode_number(body, index);
  const double *shape = whole_mode(body, index, Kind::shape);
  if (shape == nullptr || !put_mode_word(run, Kind::shape, number)) return false;
  const int nodes = node_count(body);
  const int known = std::min(body.nodes.kinds[Kind::shape].count, nodes);
  Largest translation;
  Largest rotation;
  bool nonzero = false;
  for (int first = 0; first < nodes; first += kPiece) {
    const int last = std::min(first + kPiece, nodes);
    const int filled = std::clamp(known, first, last);
    const double *piece = shape + 6 * static_cast<std::ptrdiff_t>(first);
    for (int i = first; i < filled; ++i) {
      const double *six = shape + 6 * static_cast<std::ptrdiff_t>(i);
      translation.offer(length_squared(six), i);
      rotation.offer(length_squared(six + 3), i);
      nonzero = nonzero || any_nonzero(six);
    }
    if (!run.out.reals(piece, 6 * static_cast<std::int64_t>(filled - first))) return false;
    // Nodes that the shapes of a foreign record do not cover stand still.
    constexpr double kStill[6] = {};
    for (int i = filled; i < last; ++i)
      if (!run.out.reals(kStill, 6)) return false;
  }
  note(body, index - run.plan.first_mode, 0, Kind::shape, translation);
  note(body, index - run.plan.first_mode, 1, Kind::shape, rotation);
  if (!nonzero) report_warning("The mode shape for mode %d has only zero entries\n", number);
  return true;
}

// ---- stress and strain ----------------------------------------------------------------------------------------------

// What the stress and the strain block differ in.
struct KindTexts {
  Kind kind;
  int block;
  int pre_block;
  int slot;  // of the statistics
  const char *info;
  const char *zero_warning;
  const char *pre_info;
};
constexpr KindTexts kStressTexts{Kind::stress,
                                 kModalStress,
                                 kNodalPreStress,
                                 2,
                                 "\nStress Mode info:\n   Modes: %ld\n   Nodes: %ld",
                                 "The modal stresses for mode %d have only zero entries\n",
                                 "\nPre-Stress info:\n   Nodes: %ld"};
constexpr KindTexts kStrainTexts{Kind::strain,
                                 kModalStrain,
                                 kNodalPreStrain,
                                 3,
                                 "\nStrain Mode info:\n   Modes: %ld\n   Nodes: %ld",
                                 "The modal strains for mode %d have only zero entries\n",
                                 "\nPre-Strain info:\n   Nodes: %ld"};

bool mark_nonzero(const double *values, Array<unsigned char> &keep) noexcept {
  if (values == nullptr) return false;
  for (std::size_t i = 0; i < keep.size(); ++i, values += 6)
    if (keep[i] == 0 && any_nonzero(values)) keep[i] = 1;
  return true;
}

// The sparse list: the nodes whose pre-vector or data in any exported mode is not zero.
bool form_sparse_list(Emission &run, const KindTexts &texts, ModeList &list) noexcept {
  SbrBody &body = run.body;
  Array<unsigned char> keep;
  if (!keep.allocate(body.nodes.kinds[texts.kind].count)) return run.no_memory();
  if (run.plan.has(texts.pre_block) && !mark_nonzero(whole_mode(body, kPreVector, texts.kind), keep)) return false;
  if (run.plan.has(texts.block))
    for (int m = run.plan.first_mode; m < run.plan.end_mode; ++m)
      if (!mark_nonzero(whole_mode(body, m, texts.kind), keep)) return false;
  for (int i = 0; i < keep.count(); ++i)
    if (keep[i] != 0) list.position[list.kept++] = i;
  return true;
}

// An old layout lists every node of the body when stress or strain is known at only some of them.
bool is_expanded(const Emission &run, const KindTexts &texts) noexcept {
  return is_old(run.plan.word) && run.body.nodes.kinds[texts.kind].count != node_count(run.body);
}

bool form_list(Emission &run, const KindTexts &texts) noexcept {
  ModeList &list = run.lists[texts.kind];
  if (list.formed) return true;
  SbrBody &body = run.body;
  const bool expanded = is_expanded(run, texts);
  const int length = expanded ? node_count(body) : body.nodes.kinds[texts.kind].count;
  if (!list.position.allocate(length)) return run.no_memory();
  if (run.plan.sparse && !expanded) {
    if (!form_sparse_list(run, texts, list)) return false;
  } else {
    list.kept = length;
    for (int i = 0; i < length; ++i)
      list.position[i] = expanded ? kind_position(body, texts.kind, node_id(body, i)) : i;
  }
  list.formed = true;
  return true;
}

bool put_list_ids(Emission &run, const KindTexts &texts) noexcept {
  const ModeList &list = run.lists[texts.kind];
  const bool expanded = is_expanded(run, texts);
  for (int i = 0; i < list.kept; ++i) {
    const std::int32_t position = list.position[i];
    const int id = expanded ? node_id(run.body, i) : kind_node_id(run.body, texts.kind, position);
    if (!run.out.integer(id)) return false;
  }
  return true;
}

// Puts the six values of every written entry, and shows each entry with data to visit(position, six values).
template <class Visit>
bool put_list_values(Emission &run, Kind kind, const double *values, Visit visit) noexcept {
  const ModeList &list = run.lists[kind];
  if (!run.packed && !run.packed.allocate(std::int64_t{6} * kPiece)) return run.no_memory();
  for (int first = 0; first < list.kept; first += kPiece) {
    const int last = std::min(first + kPiece, list.kept);
    double *put = run.packed.data();
    for (int i = first; i < last; ++i, put += 6) {
      const std::int32_t position = list.position[i];
      if (position < 0) {
        std::fill_n(put, 6, 0.0);
        continue;
      }
      const double *six = values + 6 * static_cast<std::ptrdiff_t>(position);
      visit(position, six);
      std::copy_n(six, 6, put);
    }
    if (!run.out.reals(run.packed.data(), 6 * static_cast<std::int64_t>(last - first))) return false;
  }
  return true;
}

bool put_kind_mode(Emission &run, const KindTexts &texts, int index) noexcept {
  SbrBody &body = run.body;
  const int number = mode_number(body, index);
  const double *values = whole_mode(body, index, texts.kind);
  if (values == nullptr || !put_mode_word(run, texts.kind, number)) return false;
  Largest von_mises;
  bool nonzero = false;
  const bool put = put_list_values(run, texts.kind, values, [&](std::int32_t position, const double *six) {
    von_mises.offer(von_mises_squared(six), position);
    nonzero = nonzero || any_nonzero(six);
  });
  if (!put) return false;
  note(body, index - run.plan.first_mode, texts.slot, texts.kind, von_mises);
  if (!nonzero) report_warning(texts.zero_warning, number);
  return true;
}

bool emit_kind(Emission &run, const KindTexts &texts) noexcept {
  if (!form_list(run, texts)) return false;
  const int kept = run.lists[texts.kind].kept;
  report_info(texts.info, static_cast<long>(run.plan.exported_modes), static_cast<long>(kept));
  if (!run.put(ModeBlockHead{run.plan.exported_modes, kept}) || !put_list_ids(run, texts)) return false;
  for (int m = run.plan.first_mode; m < run.plan.end_mode; ++m)
    if (!put_kind_mode(run, texts, m)) return false;
  return true;
}

// A pre-vector follows the list of its stress or strain block. A record without that block gets the list formed here.
bool emit_pre_vector(Emission &run, const KindTexts &texts) noexcept {
  if (!form_list(run, texts)) return false;
  const double *values = whole_mode(run.body, kPreVector, texts.kind);
  if (values == nullptr) return false;
  const int kept = run.lists[texts.kind].kept;
  report_info(texts.pre_info, static_cast<long>(kept));
  return run.put(CountHead{kept}) &&
         put_list_values(run, texts.kind, values, [](std::int32_t, const double *) noexcept {});
}

}  // namespace

bool emit_mode_shapes(Emission &run) noexcept {
  const Array<NodeRecord> &nodes = run.body.nodes.nodes;
  report_info("\nTrans Mode info:\n   Modes: %ld\n   Nodes: %ld", static_cast<long>(run.plan.exported_modes),
              static_cast<long>(nodes.size()));
  report_info("\nWriting Mode Shapes");
  if (!run.put(ModeBlockHead{run.plan.exported_modes, nodes.count()})) return false;
  for (const NodeRecord &node : nodes)
    if (!run.out.integer(node.id)) return false;
  if (nodes.empty()) return run.no_memory();
  for (int m = run.plan.first_mode; m < run.plan.end_mode; ++m)
    if (!put_mode_shape(run, m)) return false;
  return true;
}

bool emit_modal_stress(Emission &run) noexcept { return emit_kind(run, kStressTexts); }
bool emit_modal_strain(Emission &run) noexcept { return emit_kind(run, kStrainTexts); }
bool emit_pre_stress(Emission &run) noexcept { return emit_pre_vector(run, kStressTexts); }
bool emit_pre_strain(Emission &run) noexcept { return emit_pre_vector(run, kStrainTexts); }

bool emit_modal_statistics(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int i = 0; i < run.plan.exported_modes; ++i)
    if (i >= run.body.statistics.count() || !run.put(run.body.statistics[i])) return false;
  return true;
}

}  // namespace sbr
