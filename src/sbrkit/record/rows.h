// The rows of a record: one description of the fields of each block.
//
// A block is a few leading words followed by rows. Each group of fields is a plain record with a function
//
//   bool transfer(Io &io, Record &record)
//
// that walks its fields in file order and stops at the first that fails. Sizing, reading and writing differ in Io only:
// FieldSize counts bytes, FieldReader (record/field_reader.h) and RowReader decode, a writer's sink encodes. An Io has
//
//   bool count(std::int32_t &value)    a word that says how much follows
//   bool integer(std::int32_t &value)  any other word
//   bool chars(char *text, std::int64_t count)
//   bool reals(double *values, std::int64_t count)
//
// Which rows follow which heads is told in record/shapes.h. The header owns no data. Some rows are also what a body
// holds: header texts, eigenvalues, global properties.
#ifndef SBRKIT_RECORD_ROWS_H
#define SBRKIT_RECORD_ROWS_H

#include <array>
#include <cstdint>
#include <limits>

#include "base/mat3.h"
#include "record/blocks.h"

namespace sbr {

// ---- sizes ---------------------------------------------------------------------------------------------------------

// Sums and products of counts that a file gives: they stop at the limits instead of overflowing.
constexpr std::int64_t bounded_product(std::int64_t a, std::int64_t b) {
  std::int64_t result = 0;
  if (!__builtin_mul_overflow(a, b, &result)) return result;
  return (a < 0) == (b < 0) ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}
constexpr std::int64_t bounded_sum(std::int64_t a, std::int64_t b) {
  std::int64_t result = 0;
  if (!__builtin_add_overflow(a, b, &result)) return result;
  return a > 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}

// Bytes per real and per character of a file.
struct Encoding {
  int real_bytes = 8;
  int char_bytes = 1;
};

// Io that counts the bytes of what passes; it looks at no value.
class FieldSize {
 public:
  explicit FieldSize(Encoding encoding) noexcept : encoding_(encoding) {}
  bool count(const std::int32_t &) noexcept { return add(1, 4); }
  bool integer(const std::int32_t &) noexcept { return add(1, 4); }
  bool chars(const char *, std::int64_t count) noexcept { return add(count, encoding_.char_bytes); }
  bool reals(const double *, std::int64_t count) noexcept { return add(count, encoding_.real_bytes); }
  [[nodiscard]] std::int64_t bytes() const noexcept { return bytes_; }

 private:
  bool add(std::int64_t count, int size) noexcept {
    bytes_ = bounded_sum(bytes_, bounded_product(count, size));
    return true;
  }
  Encoding encoding_;
  std::int64_t bytes_ = 0;
};

// ---- header texts, content summary and units (blocks 1, 2, 10) -----------------------------------------------------

constexpr int kHeaderChars = 544;
constexpr int kUnitChars = 16;

struct HeaderTexts {
  char title[128] = {};
  char date[32] = {};
  char input_file_name[128] = {};
  char input_file_type[16] = {};
  char comment1[80] = {};
  char comment2[80] = {};
  char comment3[80] = {};
};

template <class Io>
bool transfer(Io &io, HeaderTexts &texts) {
  return io.chars(texts.title, sizeof texts.title) && io.chars(texts.date, sizeof texts.date) &&
         io.chars(texts.input_file_name, sizeof texts.input_file_name) &&
         io.chars(texts.input_file_type, sizeof texts.input_file_type) &&
         io.chars(texts.comment1, sizeof texts.comment1) && io.chars(texts.comment2, sizeof texts.comment2) &&
         io.chars(texts.comment3, sizeof texts.comment3);
}

struct ContentSummary {
  char bytes[kContentBytes] = {};
};
template <class Io>
bool transfer(Io &io, ContentSummary &summary) {
  return io.chars(summary.bytes, kContentBytes);
}

struct UnitLabels {
  char mass[kUnitChars] = {};
  char length[kUnitChars] = {};
  char time[kUnitChars] = {};
  char force[kUnitChars] = {};
};
template <class Io>
bool transfer(Io &io, UnitLabels &labels) {
  return io.chars(labels.mass, kUnitChars) && io.chars(labels.length, kUnitChars) &&
         io.chars(labels.time, kUnitChars) && io.chars(labels.force, kUnitChars);
}

// ---- nodes (block 3) -----------------------------------------------------------------------------------------------

struct NodalCoordsHead {
  std::int32_t node_count = 0;
  std::int32_t dimension = 3;
};
template <class Io>
bool transfer(Io &io, NodalCoordsHead &head) {
  return io.count(head.node_count) && io.count(head.dimension);
}

struct NodeRow {
  std::int32_t id = 0;
  double xyz[3] = {};
};
// Readers and writers move three coordinates whatever the head says; only the size follows its dimension.
template <class Io>
bool transfer(Io &io, NodeRow &row, std::int32_t dimension = 3) {
  return io.integer(row.id) && io.reals(row.xyz, dimension);
}

// ---- faces (blocks 4, 13) ------------------------------------------------------------------------------------------

struct ElementTopologyHead {
  std::int32_t face_count = 0;
  std::int32_t group_count = 0;
};
template <class Io>
bool transfer(Io &io, ElementTopologyHead &head) {
  return io.integer(head.face_count) && io.count(head.group_count);
}

struct FaceGroup {
  std::int32_t type = 0;
  std::int32_t size = 0;            // faces in the group
  std::int32_t nodes_per_face = 0;  // each face: two words without meaning, then this many node IDs
};
constexpr int kIgnoredFaceWords = 2;
template <class Io>
bool transfer(Io &io, FaceGroup &group) {
  return io.integer(group.type) && io.count(group.size) && io.count(group.nodes_per_face);
}

struct ElementFacesHead {
  std::int32_t block_size = 0;  // of the whole block: 4 * list_length + 16
  std::int32_t reserved = 0;
  std::int32_t face_count = 0;
  std::int32_t list_length = 0;
};
template <class Io>
bool transfer(Io &io, ElementFacesHead &head) {
  return io.count(head.block_size) && io.integer(head.reserved) && io.integer(head.face_count) &&
         io.count(head.list_length);
}

// ---- mass and global properties (blocks 5, 8, 9) -------------------------------------------------------------------

struct GlobalProperties {
  double mass = 0.0;
  double center[3] = {};
  double inertia[9] = {};  // positive products of inertia
};

template <class Io>
bool transfer(Io &io, GlobalProperties &global) {
  return io.reals(&global.mass, 1) && io.reals(global.center, 3) && io.reals(global.inertia, 9);
}

struct NodalMassesHead {
  std::int32_t node_count = 0;
  std::int32_t values_per_node = 1;
};
template <class Io>
bool transfer(Io &io, NodalMassesHead &head) {
  return io.count(head.node_count) && io.count(head.values_per_node);
}

struct NodalMassRow {
  std::int32_t id = 0;
  double mass = 0.0;
};
template <class Io>
bool transfer(Io &io, NodalMassRow &row, std::int32_t values_per_node = 1) {
  return io.integer(row.id) && io.reals(&row.mass, values_per_node);
}

// A head that is one count: blocks 6, 9, 15, 16, 20 to 22, 24, 25, 29 to 35.
struct CountHead {
  std::int32_t count = 0;
};
template <class Io>
bool transfer(Io &io, CountHead &head) {
  return io.count(head.count);
}

struct NodalInertiaRow {
  std::int32_t id = 0;
  char row = 0;  // rotational degrees of freedom, 4 to 6
  char column = 0;
  double value = 0.0;
};
template <class Io>
bool transfer(Io &io, NodalInertiaRow &row) {
  return io.integer(row.id) && io.chars(&row.row, 1) && io.chars(&row.column, 1) && io.reals(&row.value, 1);
}

// ---- eigenvalues and mode blocks (blocks 6, 7, 17, 28) -------------------------------------------------------------

struct EigenRecord {
  std::int32_t mode = 0;
  double eigenvalue = 0.0;
  double frequency_hz = 0.0;
  double frequency_rad = 0.0;
  double generalized_mass = 0.0;
  double generalized_stiffness = 0.0;
};

template <class Io>
bool transfer(Io &io, EigenRecord &record) {
  return io.integer(record.mode) && io.reals(&record.eigenvalue, 1) && io.reals(&record.frequency_hz, 1) &&
         io.reals(&record.frequency_rad, 1) && io.reals(&record.generalized_mass, 1) &&
         io.reals(&record.generalized_stiffness, 1);
}

struct ModeBlockHead {
  std::int32_t mode_count = 0;
  std::int32_t node_count = 0;  // this many node IDs follow, then the vectors
};
template <class Io>
bool transfer(Io &io, ModeBlockHead &head) {
  return io.count(head.mode_count) && io.count(head.node_count);
}

// One vector. Its values are too many to be kept here: whoever reads or writes them brings the place.
struct ModeVectorRow {
  std::int32_t word = 0;
  double *values = nullptr;  // six per node
};
template <class Io>
bool transfer(Io &io, ModeVectorRow &row, std::int64_t nodes, bool with_word) {
  return (!with_word || io.integer(row.word)) && io.reals(row.values, bounded_product(6, nodes));
}

// ---- generalized matrices and transformation (blocks 11, 12, 14, 15) -----------------------------------------------

struct SparseHead {
  std::int32_t entry_count = 0;
  std::int32_t second_word = 0;  // stiffness and mass: the mode count; damping: damping_on_principal_axes
};
template <class Io>
bool transfer(Io &io, SparseHead &head) {
  return io.count(head.entry_count) && io.integer(head.second_word);
}

struct SparseRow {
  std::int32_t row = 0;  // counted from 1
  std::int32_t column = 0;
  double value = 0.0;
  std::int32_t trailer = 1;
};
template <class Io>
bool transfer(Io &io, SparseRow &row) {
  return io.integer(row.row) && io.integer(row.column) && io.reals(&row.value, 1) && io.integer(row.trailer);
}

// ---- invariants (blocks 18 to 25) ----------------------------------------------------------------------------------

// The reals of an invariant block for M modes.
constexpr std::int64_t invariant_reals(int block, std::int64_t modes) {
  switch (block) {
    case kInvariant1:
      return 1;
    case kInvariant2:
      return 3;
    case kInvariant3:
    case kInvariant4:
      return bounded_product(3, modes);
    case kInvariant5:
      return bounded_product(bounded_product(3, modes), modes);
    case kInvariant7:
      return 9;
    case kInvariant8:
      return bounded_product(9, modes);
    case kInvariant9:
      return bounded_product(bounded_product(9, modes), modes);
    default:
      return 0;
  }
}
constexpr bool invariant_has_count(int block) {
  return block == kInvariant3 || block == kInvariant4 || block == kInvariant5 || block == kInvariant8 ||
         block == kInvariant9;
}

// ---- loads (blocks 26, 27, 34) -------------------------------------------------------------------------------------

struct ModalPreloadHead {
  std::int32_t mode_count = 0;  // this many reals follow
  std::int32_t on_principal_axes = 0;
};
template <class Io>
bool transfer(Io &io, ModalPreloadHead &head) {
  return io.count(head.mode_count) && io.integer(head.on_principal_axes);
}

struct ModalLoadsHead {
  std::int32_t mode_count = 0;
  std::int32_t load_count = 0;
};
template <class Io>
bool transfer(Io &io, ModalLoadsHead &head) {
  return io.count(head.mode_count) && io.count(head.load_count);
}

constexpr int kLoadLabelChars = 256;
struct ModalLoadRow {
  char label[kLoadLabelChars] = {};
  std::int32_t on_principal_axes = 0;
};
// One value per mode follows; `values` is where they are brought to or taken from.
template <class Io>
bool transfer(Io &io, ModalLoadRow &row, std::int64_t modes, double *values = nullptr) {
  return io.chars(row.label, kLoadLabelChars) && io.integer(row.on_principal_axes) && io.reals(values, modes);
}

struct NodalLoadRow {
  std::int32_t node = 0;
  std::int32_t coordinate = 0;
  double load = 0.0;
};
template <class Io>
bool transfer(Io &io, NodalLoadRow &row) {
  return io.integer(row.node) && io.integer(row.coordinate) && io.reals(&row.load, 1);
}

// ---- statistics, pre-stress and pre-strain (blocks 29, 30, 31) -----------------------------------------------------

constexpr int kStatisticsSlots = 13;
struct ModalStatistics {
  std::int32_t node_ids[13];
  double values[13];
};

template <class Io>
bool transfer(Io &io, ModalStatistics &row) {
  for (std::int32_t &id : row.node_ids)
    if (!io.integer(id)) return false;
  return io.reals(row.values, kStatisticsSlots);
}

template <class Io>
bool transfer(Io &io, SixVector &row) {
  return io.reals(row.data(), 6);
}

// ---- matrix operators (block 33) -----------------------------------------------------------------------------------

constexpr int kOperatorNameChars = 8;
constexpr int kRowLabelChars = 80;

struct MatrixOperatorHead {
  std::int32_t row_count = 0;
  char name[kOperatorNameChars] = {};
};
template <class Io>
bool transfer(Io &io, MatrixOperatorHead &head) {
  return io.count(head.row_count) && io.chars(head.name, kOperatorNameChars);
}

using RowLabel = std::array<char, kRowLabelChars>;
template <class Io>
bool transfer(Io &io, RowLabel &label) {
  return io.chars(label.data(), kRowLabelChars);
}

struct SubOperatorHead {
  std::int32_t column_count = 0;
  char tag[kOperatorNameChars] = {};
};
template <class Io>
bool transfer(Io &io, SubOperatorHead &head) {
  return io.count(head.column_count) && io.chars(head.tag, kOperatorNameChars);
}

// ---- monitor points (blocks 32, 35) --------------------------------------------------------------------------------

struct MonitorPointHead {
  std::int32_t type = 0;
  std::int32_t result_type = 0;
  std::int32_t component = 0;
  char name[8] = {};
  char label[56] = {};
  std::int32_t operator_rows = 0;
  std::int32_t load_operators = 0;
  std::int32_t flags = 0;
};
template <class Io>
bool transfer(Io &io, MonitorPointHead &head) {
  return io.integer(head.type) && io.integer(head.result_type) && io.integer(head.component) &&
         io.chars(head.name, sizeof head.name) && io.chars(head.label, sizeof head.label) &&
         io.count(head.operator_rows) && io.count(head.load_operators) && io.integer(head.flags);
}
// The reals of the operator of a flag bit: 0 displacement, 1 velocity, 2 acceleration, 3 load.
constexpr std::int64_t monitor_operator_reals(int bit, std::int64_t rows, std::int64_t load_operators,
                                              std::int64_t modes) {
  const std::int64_t one = bounded_product(rows, modes);
  return bit == 3 ? bounded_product(load_operators, one) : one;
}

// ---- row sizes -----------------------------------------------------------------------------------------------------

// The bytes of one record of fields in a file.
template <class Record, class... Extra>
[[nodiscard]] std::int64_t field_bytes(Encoding encoding, Extra... extra) noexcept {
  Record record{};
  FieldSize size(encoding);
  (void)transfer(size, record, extra...);
  return size.bytes();
}

}  // namespace sbr

#endif
