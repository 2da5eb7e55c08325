#include "record/toc.h"

#include <algorithm>
#include <limits>

#include "base/reports.h"
#include "record/rows.h"

namespace sbr {
namespace {

// Offsets are sums of at most 36 sizes; sizes beyond this are those of corrupt counts.
constexpr std::int64_t kLargestSize = std::int64_t{1} << 56;

// The size of a block that a walk sums up: rows without a count of their own, group by group.
class Walk {
 public:
  Walk(StreamChannel &channel, std::int64_t bytes) noexcept
      : channel_(channel), encoding_(encoding_of(channel)), bytes_(bytes) {}

  // Reads a group of fields and adds its size.
  template <class Record>
  [[nodiscard]] bool fields(Record &record) noexcept {
    FieldReader reader(channel_);
    if (!transfer(reader, record)) return false;
    add(field_bytes<Record>(encoding_));
    return true;
  }
  // Adds and passes over data. Data of a negative size is not there.
  [[nodiscard]] bool skip(std::int64_t count, std::int64_t bytes_each) noexcept {
    const std::int64_t bytes = bounded_product(count, bytes_each);
    if (bytes < 0) return false;
    add(bytes);
    if (bytes != 0) go_to(channel_, bounded_sum(tell_stream(channel_.stream), bytes));
    return true;
  }
  void add(std::int64_t bytes) noexcept { bytes_ = bounded_sum(bytes_, bytes); }
  [[nodiscard]] std::int64_t bytes() const noexcept { return bytes_; }
  [[nodiscard]] Encoding encoding() const noexcept { return encoding_; }

 private:
  StreamChannel &channel_;
  Encoding encoding_;
  std::int64_t bytes_;
};

// The size of a block; `complete` is false when a read failed on the way.
struct Sizing {
  std::int64_t bytes = 0;
  bool complete = true;
};

// Reads the leading words of the block that the channel stands at. A failure makes the block's size 0.
template <class Head>
bool read_head(StreamChannel &channel, Head &head, Sizing &sizing) noexcept {
  FieldReader reader(channel);
  sizing.complete = transfer(reader, head);
  if (sizing.complete) sizing.bytes = field_bytes<Head>(encoding_of(channel));
  return sizing.complete;
}

void add_rows(Sizing &sizing, std::int64_t rows, std::int64_t row_bytes) noexcept {
  sizing.bytes = bounded_sum(sizing.bytes, bounded_product(rows, row_bytes));
}

Sizing size_of_nodal_coords(StreamChannel &channel) noexcept {
  Sizing sizing;
  NodalCoordsHead head;
  if (read_head(channel, head, sizing))
    add_rows(sizing, head.node_count, field_bytes<NodeRow>(encoding_of(channel), head.dimension));
  return sizing;
}

Sizing size_of_element_topology(StreamChannel &channel) noexcept {
  Sizing sizing;
  ElementTopologyHead head;
  if (!read_head(channel, head, sizing)) return sizing;
  FieldReader reader(channel);
  const std::int64_t group_bytes = field_bytes<FaceGroup>(encoding_of(channel));
  for (std::int32_t i = 0; i < head.group_count; ++i) {
    FaceGroup group;
    if (!transfer(reader, group)) return {0, false};
    add_rows(sizing, 1, group_bytes);
    add_rows(sizing, group.size, (std::int64_t{group.nodes_per_face} + kIgnoredFaceWords) * 4);
  }
  return sizing;
}

// Blocks of a mode count and one row per mode; also the eigenvalues, the transformation and the statistics.
Sizing size_of_mode_rows(StreamChannel &channel, Layout &layout, int block) noexcept {
  Sizing sizing;
  CountHead head;
  if (!read_head(channel, head, sizing)) return sizing;
  const std::int64_t modes = layout.sized_modes = head.count;
  const Encoding encoding = encoding_of(channel);
  if (block == kEigenvalues)
    add_rows(sizing, modes, field_bytes<EigenRecord>(encoding));
  else if (block == kModalStatistics)
    add_rows(sizing, modes, field_bytes<ModalStatistics>(encoding));
  else if (block == kModeShapeTransformation)
    add_rows(sizing, modes, bounded_sum(bounded_product(modes, encoding.real_bytes), 4));
  else
    add_rows(sizing, invariant_reals(block, modes), encoding.real_bytes);
  return sizing;
}

Sizing size_of_mode_vectors(StreamChannel &channel, Layout &layout) noexcept {
  Sizing sizing;
  ModeBlockHead head;
  if (!read_head(channel, head, sizing)) return sizing;
  layout.sized_modes = head.mode_count;
  add_rows(sizing, head.node_count, 4);
  std::int64_t vector_bytes = bounded_product(head.node_count, field_bytes<SixVector>(encoding_of(channel)));
  if (mode_word_counted(version_code(layout.version))) vector_bytes = bounded_sum(vector_bytes, 4);
  add_rows(sizing, head.mode_count, vector_bytes);
  return sizing;
}

Sizing size_of_nodal_masses(StreamChannel &channel) noexcept {
  Sizing sizing;
  NodalMassesHead head;
  if (read_head(channel, head, sizing))
    add_rows(sizing, head.node_count, field_bytes<NodalMassRow>(encoding_of(channel), head.values_per_node));
  return sizing;
}

template <class Head, class Row>
Sizing size_of_rows(StreamChannel &channel, std::int32_t Head::*count) noexcept {
  Sizing sizing;
  Head head;
  if (read_head(channel, head, sizing)) add_rows(sizing, head.*count, field_bytes<Row>(encoding_of(channel)));
  return sizing;
}

Sizing size_of_element_faces(StreamChannel &channel) noexcept {
  CountHead stored;
  Sizing sizing;
  if (read_head(channel, stored, sizing)) sizing.bytes = stored.count;
  return sizing;
}

Sizing size_of_interface_nodes(StreamChannel &channel) noexcept {
  Sizing sizing;
  CountHead head;
  if (read_head(channel, head, sizing)) add_rows(sizing, head.count, 4);
  return sizing;
}

Sizing size_of_preload(StreamChannel &channel, Layout &layout) noexcept {
  Sizing sizing;
  ModalPreloadHead head;
  if (!read_head(channel, head, sizing)) return sizing;
  layout.sized_modes = head.mode_count;
  add_rows(sizing, head.mode_count, encoding_of(channel).real_bytes);
  return sizing;
}

Sizing size_of_loads(StreamChannel &channel, Layout &layout) noexcept {
  Sizing sizing;
  ModalLoadsHead head;
  if (!read_head(channel, head, sizing)) return sizing;
  layout.sized_modes = head.mode_count;
  const Encoding encoding = encoding_of(channel);
  add_rows(sizing, head.load_count,
           bounded_sum(field_bytes<ModalLoadRow>(encoding), bounded_product(head.mode_count, encoding.real_bytes)));
  return sizing;
}

// Walks sum up what they can read: a failed read ends the walk, and the sum so far is the size.

// A point counts with one operator array, whatever its flags say.
Sizing size_of_monitor_points(StreamChannel &channel, const Layout &layout) noexcept {
  Walk walk(channel, 0);
  CountHead head;
  bool complete = walk.fields(head);
  for (std::int32_t i = 0; complete && i < head.count; ++i) {
    MonitorPointHead point;
    complete = walk.fields(point) &&
               walk.skip(monitor_operator_reals(3, point.operator_rows, point.load_operators, layout.sized_modes),
                         walk.encoding().real_bytes);
  }
  return {walk.bytes(), complete};
}

Sizing size_of_matrix_operators(StreamChannel &channel) noexcept {
  Walk walk(channel, 0);
  CountHead head;
  bool complete = walk.fields(head);
  for (std::int32_t i = 0; complete && i < head.count; ++i) {
    MatrixOperatorHead op;
    CountHead subs;
    complete = walk.fields(op) && walk.skip(op.row_count, std::int64_t{kRowLabelChars} * walk.encoding().char_bytes) &&
               walk.fields(subs);
    for (std::int32_t j = 0; complete && j < subs.count; ++j) {
      SubOperatorHead sub;
      complete =
          walk.fields(sub) && walk.skip(std::int64_t{op.row_count} * sub.column_count, walk.encoding().real_bytes);
    }
  }
  return {walk.bytes(), complete};
}

Sizing size_of_nodal_loads(StreamChannel &channel) noexcept {
  Walk walk(channel, 0);
  CountHead head;
  bool complete = walk.fields(head);
  for (std::int32_t i = 0; complete && i < head.count; ++i) {
    CountHead rows;
    complete = walk.fields(rows) && walk.skip(rows.count, field_bytes<NodalLoadRow>(walk.encoding()));
  }
  return {walk.bytes(), complete};
}

// The size of the block that the record channel stands at.
Sizing size_at_position(StreamChannel &channel, Layout &layout, int block) noexcept {
  const Encoding encoding = encoding_of(channel);
  switch (block) {
    case kVersionCode:
      return {4, true};
    case kHeader:
      return {field_bytes<HeaderTexts>(encoding), true};
    case kContentSummary:
      return {std::int64_t{kContentBytes} * encoding.char_bytes, true};
    case kNodalCoords:
      return size_of_nodal_coords(channel);
    case kElementTopology:
      return size_of_element_topology(channel);
    case kGlobalBodyProps:
      return {field_bytes<GlobalProperties>(encoding), true};
    case kModeShapes:
    case kModalStress:
    case kModalStrain:
      return size_of_mode_vectors(channel, layout);
    case kNodalMasses:
      return size_of_nodal_masses(channel);
    case kNodalInertias:
      return size_of_rows<CountHead, NodalInertiaRow>(channel, &CountHead::count);
    case kUnits:
      return {field_bytes<UnitLabels>(encoding), true};
    case kGeneralizedStiffness:
    case kGeneralizedMass:
    case kGeneralizedDamping:
      return size_of_rows<SparseHead, SparseRow>(channel, &SparseHead::entry_count);
    case kElementFaces:
      return size_of_element_faces(channel);
    case kInterfaceNodes:
      return size_of_interface_nodes(channel);
    case kInvariant1:
    case kInvariant2:
    case kInvariant7:
      return {invariant_reals(block, 0) * encoding.real_bytes, true};
    case kModalPreload:
      return size_of_preload(channel, layout);
    case kModalLoads:
      return size_of_loads(channel, layout);
    case kNodalPreStress:
    case kNodalPreStrain:
      return size_of_rows<CountHead, SixVector>(channel, &CountHead::count);
    case kOldMonitorPoints:
    case kMonitorPoints:
      return size_of_monitor_points(channel, layout);
    case kMatrixOperator:
      return size_of_matrix_operators(channel);
    case kModalLoadNodal:
      return size_of_nodal_loads(channel);
    default:
      return size_of_mode_rows(channel, layout, block);
  }
}

}  // namespace

std::int64_t content_summary_offset(const StreamChannel &channel) noexcept {
  return 4 + field_bytes<HeaderTexts>(encoding_of(channel));
}

bool go_to_block(StreamChannel &channel, const Layout &layout, int block) noexcept {
  if (channel.stream == nullptr || block >= kBlockCount || !has_block(layout, block)) return false;
  go_to(channel, layout.block_offset[block]);
  return true;
}

std::int64_t size_of_block(StreamChannel &channel, Layout &layout, int block) noexcept {
  if (channel.stream == nullptr || block >= kBlockCount || !has_block(layout, block)) return 0;
  const PositionKeeper keeper(channel);
  go_to(channel, layout.block_offset[block]);
  const Sizing sizing = size_at_position(channel, layout, block);
  if (!sizing.complete && block_entry(block).sizing_problem != nullptr)
    report_error("%s", block_entry(block).sizing_problem);
  return std::clamp<std::int64_t>(sizing.bytes, 0, kLargestSize);
}

void build_block_offsets(StreamChannel &channel, Layout &layout) noexcept {
  layout.block_offset[0] = 0;
  for (int block = 0; block + 1 < kBlockCount; ++block)
    layout.block_offset[block + 1] = layout.block_offset[block] + size_of_block(channel, layout, block);
}

}  // namespace sbr
