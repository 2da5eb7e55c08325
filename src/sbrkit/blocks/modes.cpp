#include "blocks/modes.h"

#include <algorithm>
#include <cmath>

#include "base/reports.h"
#include "blocks/mode_lists.h"
#include "body/node_table.h"
#include "modes/access.h"
#include "modes/cache.h"
#include "modes/statistics.h"
#include "modes/store.h"

namespace sbr {
namespace {

// ---- reading: the places of the vectors ----------------------------------------------------------------------------
//
// The vectors of modes are passed over: only where they lie is noted.

int code_of(const SbrBody &body) noexcept { return version_code(body.layout.version); }

// The number of a mode that the mode data itself does not tell.
std::int32_t number_by_place(const SbrBody &body, std::int32_t mode) noexcept {
  const Array<EigenRecord> &records = body.matrices.eigenvalues;
  return static_cast<std::size_t>(mode) < records.size() ? records[mode].mode : mode + 1;
}

// No file holds more modes than words. Checked before memory is taken for a table of modes.
bool modes_credible(StreamChannel &channel, std::int32_t modes) noexcept {
  return bounded_product(modes, 4) <= file_bytes(channel);
}

// Notes where the vector at the present position lies and passes over it.
void note_vector(SbrBody &body, Kind kind, std::int32_t mode, std::int64_t vector_bytes) noexcept {
  body.store.offsets[kind][mode] = place_of(body.record);
  if (vector_bytes != 0) pass_over(body.record, vector_bytes);
}

std::int64_t vector_bytes_of(SbrBody &body, std::int32_t nodes) noexcept {
  return bounded_product(nodes, field_bytes<SixVector>(encoding_of(body.record)));
}

// Brings the node table into the order of the mode data: a node that is not the expected one changes places with it.
// The keys of the node table keep the places that the nodes had in the file.
bool follow_mode_order(SbrBody &body, std::int32_t nodes) noexcept {
  RowReader ids(body.record, 4, nodes);
  for (std::int32_t i = 0; i < nodes; ++i) {
    std::int32_t id = 0;
    if (!ids.integer(id)) return false;
    const std::int32_t present = body.nodes.nodes[i].id;
    if (id != 0 && id != present) swap_nodes_by_id(body, present, id);
  }
  return true;
}

// The number and the place of every mode shape.
bool note_mode_shapes(SbrBody &body, const ModeBlockHead &head) noexcept {
  const std::int64_t vector_bytes = vector_bytes_of(body, head.node_count);
  for (std::int32_t mode = 0; mode < head.mode_count; ++mode) {
    std::int32_t number = 0;
    if (mode_word_present(code_of(body), Kind::shape) && !read_int(body.record, number)) return false;
    if (!mode_word_is_number(code_of(body), Kind::shape)) number = number_by_place(body, mode);
    body.mode_table.mode_numbers[mode] = number;
    note_vector(body, Kind::shape, mode, vector_bytes);
  }
  return true;
}

Reading read_mode_shapes(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem encountered while caching Mode shape Data";
  constexpr const char *kNoMemory = "Out of memory while reading Mode Shape block";
  if (!go_to_block(body, kModeShapes)) return Reading::complete;
  FieldReader reader(body.record);
  ModeBlockHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  body.mode_table.mode_count = std::max(head.mode_count, 0);
  if (body.matrices.eigenvalues && head.mode_count != body.matrices.eigenvalue_count)
    return failed("Number of mode shapes does not match the number of eigenvalues");
  if (node_count(body) < 1) return failed_for_memory();
  if (head.node_count < 0 || head.node_count > node_count(body)) return failed(kProblem);
  body.nodes.kinds[Kind::shape].count = head.node_count;
  body.nodes.shape_list_present = true;
  if (!follow_mode_order(body, head.node_count)) return failed(kProblem);
  if (head.mode_count < 1) return Reading::complete;
  if (!modes_credible(body.record, head.mode_count)) return failed(kProblem);
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  if (!body.store.offsets[Kind::shape].allocate(head.mode_count)) return failed(kNoMemory);
  if (numbers.count() < head.mode_count && !numbers.allocate(head.mode_count)) return failed(kNoMemory);
  return note_mode_shapes(body, head) ? Reading::complete : failed(kProblem);
}

// ---- what stress and strain differ in ------------------------------------------------------------------------------

struct ReadingTexts {
  const char *count_differs;
  const char *before_shapes;
  const char *other_order;
  const char *no_memory;
  const char *problem;
  const char *unknown_nodes;
  const char *pre_info_problem;
  const char *pre_count_differs;
  const char *pre_no_memory;
  const char *pre_problem;
};
constexpr ReadingTexts kStressReading = {"Number of stress modes does not match the number of eigenvalues",
                                         "Stress modes are being processed before mode shapes",
                                         "Stress modes are in a different order than mode shapes",
                                         "Out of memory while reading Modal Stress Block",
                                         "Problem when reading Modal Stress info",
                                         "Modal stress is given at %d nodes that the body does not have",
                                         "Problem occurred while reading Pre-Stress info",
                                         "Number of nodes in pre-stress does not match that in stress modes",
                                         "Out of memory while processing Pre-Stress Block",
                                         "Problem when reading Pre-Stress Block"};
constexpr ReadingTexts kStrainReading = {"Number of strain modes does not match the number of eigenvalues",
                                         "Strain modes are being processed before mode shapes",
                                         "Strain modes are in a different order than mode shapes",
                                         "Out of memory while reading Modal Strain Block",
                                         "Problem when reading Modal Strain info",
                                         "Modal strain is given at %d nodes that the body does not have",
                                         "Problem occurred while reading Pre-Strain info",
                                         "Number of nodes in pre-strain does not match that in strain modes",
                                         "Out of memory while processing Pre-Strain Block",
                                         "Problem when reading Pre-Strain Block"};

struct WritingTexts {
  int slot;  // of the statistics
  const char *info;
  const char *zero_warning;
  const char *pre_info;
};
constexpr WritingTexts kStressWriting = {2, "\nStress Mode info:\n   Modes: %ld\n   Nodes: %ld",
                                         "The modal stresses for mode %d have only zero entries\n",
                                         "\nPre-Stress info:\n   Nodes: %ld"};
constexpr WritingTexts kStrainWriting = {3, "\nStrain Mode info:\n   Modes: %ld\n   Nodes: %ld",
                                         "The modal strains for mode %d have only zero entries\n",
                                         "\nPre-Strain info:\n   Nodes: %ld"};

const ReadingTexts &reading_texts(Kind kind) noexcept { return kind == Kind::stress ? kStressReading : kStrainReading; }
const WritingTexts &writing_texts(Kind kind) noexcept { return kind == Kind::stress ? kStressWriting : kStrainWriting; }

// ---- reading stress and strain -------------------------------------------------------------------------------------

// The node list of a kind and its keys. A node that the body does not have keeps its position and has no index.
Reading read_kind_nodes(SbrBody &body, Kind kind) noexcept {
  const ReadingTexts &texts = reading_texts(kind);
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(texts.problem);
  if (node_count(body) < 1) return failed_for_memory();
  if (head.count < 0 || head.count > node_count(body) || !rows_left(body.record, head.count, 4))
    return failed(texts.problem);
  KindNodes &list = body.nodes.kinds[kind];
  Array<std::int32_t> ids;
  if (!ids.resize(head.count) || !list.nodes.resize(head.count)) return failed_for_memory();
  if (!read_ints(body.record, ids.data(), head.count)) return failed(texts.problem);
  list.count = head.count;
  int unknown = 0;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    list.nodes[i] = node_index(body, ids[i]);
    if (list.nodes[i] < 0) ++unknown;
  }
  if (unknown > 0) report_warning(texts.unknown_nodes, unknown);
  if (!list.keys.build(list.count, [&](int i) { return ids[i]; })) return failed_for_memory();
  return Reading::complete;
}

enum class VectorWalk { complete, read_failed, other_order };

// Modes that the file breaks off before lie at its end, where nothing can be read.
void note_missing_vectors(SbrBody &body, Kind kind, std::int32_t first) noexcept {
  Array<std::int64_t> &offsets = body.store.offsets[kind];
  std::fill(offsets.begin() + first, offsets.end(), file_bytes(body.record));
}

// The place of every vector of a kind, and the numbers of the modes: taken from here, or compared with those known.
VectorWalk note_vectors(SbrBody &body, Kind kind, bool numbers_from_here) noexcept {
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  const int code = code_of(body);
  const std::int64_t vector_bytes = vector_bytes_of(body, body.nodes.kinds[kind].count);
  for (std::int32_t mode = 0; mode < body.mode_table.mode_count; ++mode) {
    const auto at = static_cast<std::size_t>(mode);
    std::int32_t word = 0;
    if (mode_word_present(code, kind) && !read_int(body.record, word)) {
      note_missing_vectors(body, kind, mode);
      return VectorWalk::read_failed;
    }
    if (numbers_from_here)
      numbers[at] = mode_word_is_number(code, kind) ? word : number_by_place(body, mode);
    else if (mode_word_is_number(code, kind) && (at >= numbers.size() || numbers[at] != word))
      return VectorWalk::other_order;
    note_vector(body, kind, mode, vector_bytes);
  }
  return VectorWalk::complete;
}

// The vectors of a kind when the block has modes.
Reading read_kind_vectors(SbrBody &body, Kind kind) noexcept {
  const ReadingTexts &texts = reading_texts(kind);
  const std::int32_t modes = body.mode_table.mode_count;
  if (!modes_credible(body.record, modes)) return failed(texts.problem);
  Array<std::int32_t> &numbers = body.mode_table.mode_numbers;
  if (!body.store.offsets[kind].allocate(modes)) return failed(texts.no_memory);
  const bool numbers_from_here = !numbers;
  if (numbers_from_here) {
    if (!numbers.allocate(modes)) return failed(texts.no_memory);
    report_warning("%s", texts.before_shapes);
  }
  const VectorWalk walk = note_vectors(body, kind, numbers_from_here);
  if (walk == VectorWalk::other_order) return failed(texts.other_order);
  // A strain block that breaks off among its vectors is taken as far as it goes, without a word.
  if (walk == VectorWalk::read_failed && kind == Kind::stress) return failed(texts.problem);
  // The mode count is that of this block; the numbers of modes beyond those known are 0.
  if (numbers.count() < modes && !numbers.resize(modes)) return failed(texts.no_memory);
  return Reading::complete;
}

Reading read_vectors(SbrBody &body, Kind kind) noexcept {
  const ReadingTexts &texts = reading_texts(kind);
  if (!go_to_block(body, kind_block(kind))) return Reading::complete;
  FieldReader reader(body.record);
  CountHead modes;
  if (!transfer(reader, modes)) return failed(texts.problem);
  body.mode_table.mode_count = std::max(modes.count, 0);
  if (body.matrices.eigenvalues && modes.count != body.matrices.eigenvalue_count)
    report_error("%s", texts.count_differs);
  if (const Reading list = read_kind_nodes(body, kind); list != Reading::complete) return list;
  if (modes.count < 1) return kind == Kind::stress ? Reading::complete : failed(texts.problem);
  return read_kind_vectors(body, kind);
}

// ---- reading pre-stress and pre-strain -----------------------------------------------------------------------------

Reading read_pre_vector(SbrBody &body, Kind kind, Array<SixVector> &vectors) noexcept {
  const ReadingTexts &texts = reading_texts(kind);
  if (!go_to_block(body, *kKindFacts[kind].pre_block)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(texts.pre_info_problem);
  if (head.count != kind_count(body, kind)) report_error("%s", texts.pre_count_differs);
  const std::int64_t row_bytes = field_bytes<SixVector>(encoding_of(channel));
  if (head.count > 0 && !rows_left(channel, head.count, row_bytes)) return failed(texts.pre_problem);
  if (!vectors.allocate(head.count)) return failed(texts.pre_no_memory);
  return reader.reals(vectors.data()->data(), std::int64_t{6} * head.count) ? Reading::complete
                                                                            : failed(texts.pre_problem);
}

// ---- writing: the figures on the way -------------------------------------------------------------------------------

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

// The word in front of a mode: none, zero or its number, by the layout.
bool put_mode_word(Emission &run, Kind kind, int number) noexcept {
  if (!run.out.mode(kind)) return false;
  if (has_no_mode_words(run.plan.word)) return true;
  return run.out.integer(has_zero_mode_words(run.plan.word) ? 0 : number);
}

// ---- writing shapes, stress and strain -----------------------------------------------------------------------------
//
// One mode at a time passes through, so the memory taken follows the node count and not the modes.

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
  for (int first = 0; first < nodes; first += kNodesPerPiece) {
    const int last = std::min(first + kNodesPerPiece, nodes);
    const int filled = std::clamp(known, first, last);
    const double *piece = shape + 6 * static_cast<std::ptrdiff_t>(first);
    for (int i = first; i < filled; ++i) {
      const double *six = shape + 6 * static_cast<std::ptrdiff_t>(i);
      translation.offer(squared_length(six), i);
      rotation.offer(squared_length(six + 3), i);
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

bool write_mode_shapes(Emission &run) noexcept {
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

bool put_kind_mode(Emission &run, Kind kind, int index) noexcept {
  SbrBody &body = run.body;
  const int number = mode_number(body, index);
  const double *values = whole_mode(body, index, kind);
  if (values == nullptr || !put_mode_word(run, kind, number)) return false;
  Largest von_mises;
  bool nonzero = false;
  const bool put = put_list_values(run, kind, values, [&](std::int32_t position, const double *six) {
    von_mises.offer(squared_stress(six, six + 3), position);
    nonzero = nonzero || any_nonzero(six);
  });
  if (!put) return false;
  note(body, index - run.plan.first_mode, writing_texts(kind).slot, kind, von_mises);
  if (!nonzero) report_warning(writing_texts(kind).zero_warning, number);
  return true;
}

bool write_kind(Emission &run, Kind kind) noexcept {
  if (!form_list(run, kind)) return false;
  const int kept = run.lists[kind].kept;
  report_info(writing_texts(kind).info, static_cast<long>(run.plan.exported_modes), static_cast<long>(kept));
  if (!run.put(ModeBlockHead{run.plan.exported_modes, kept}) || !put_list_ids(run, kind)) return false;
  for (int m = run.plan.first_mode; m < run.plan.end_mode; ++m)
    if (!put_kind_mode(run, kind, m)) return false;
  return true;
}

// A pre-vector follows the list of its stress or strain block. A record without that block gets the list formed here.
bool write_pre_vector(Emission &run, Kind kind) noexcept {
  if (!form_list(run, kind)) return false;
  const double *values = whole_mode(run.body, kPreVector, kind);
  if (values == nullptr) return false;
  const int kept = run.lists[kind].kept;
  report_info(writing_texts(kind).pre_info, static_cast<long>(kept));
  return run.put(CountHead{kept}) && put_list_values(run, kind, values, [](std::int32_t, const double *) noexcept {});
}

// ---- the report ----------------------------------------------------------------------------------------------------

constexpr const char *kShapeHeading =
    "     ID            dx               dy               dz               ax               ay               az\n";
constexpr const char *kStressHeading =
    "       ID       sigma_x          sigma_y          sigma_z           tau_xy           tau_xz           tau_yz\n";
constexpr const char *kStrainHeading =
    "       ID     epsilon_x        epsilon_y        epsilon_z         gamma_xy         gamma_xz         gamma_yz\n";
constexpr const char *kShapeRow = "%9d  % 16.9e % 16.9e % 16.9e % 16.9e % 16.9e % 16.9e\n";
constexpr const char *kStressRow = "%9d  %16.9e %16.9e %16.9e %16.9e %16.9e %16.9e\n";

// 112 tildes and two line feeds.
void put_rule(std::FILE *out) noexcept {
  constexpr const char *kEight = "~~~~~~~~";
  for (int i = 0; i < 14; ++i) std::fputs(kEight, out);
  std::fputs("\n\n", out);
}

// One part of a mode or pre-vector as a caller gets it: from the cache, from the record, or zeros where the body has
// nothing of it.
struct PartView {
  const double *first;
  std::ptrdiff_t stride;

  [[nodiscard]] const double *at(int position) const noexcept { return first + stride * position; }
};

PartView part_of(SbrBody &body, int mode, Kind kind, int part) noexcept {
  static constexpr double kZeros[3] = {};
  if (const double *kept = kept_part(body, mode, kind, part); kept != nullptr) return {kept, 3};
  const bool recorded = mode == kPreVector || (mode >= 0 && mode < body.store.offsets[kind].count());
  const double *six = recorded ? whole_mode(body, mode, kind) : nullptr;
  return six != nullptr ? PartView{six + 3 * static_cast<std::ptrdiff_t>(part), 6} : PartView{kZeros, 0};
}

// The rows of a mode, in ascending order of the node IDs. False after the allocation message.
bool print_rows(const Report &report, int mode, Kind kind, const char *format) noexcept {
  std::span<const NodeKey> keys;
  if (!report.sorted_nodes(kind, keys)) return false;
  if (!ready_for_modes(report.body, kind)) return report.no_memory();
  const PartView parts[2] = {part_of(report.body, mode, kind, 0), part_of(report.body, mode, kind, 1)};
  const int count = kind_count(report.body, kind);
  for (const NodeKey &key : keys) {
    if (key.position < 0 || key.position >= count) continue;
    const double *u = parts[0].at(key.position);
    const double *v = parts[1].at(key.position);
    std::fprintf(report.out, format, key.id, u[0], u[1], u[2], v[0], v[1], v[2]);
  }
  return true;
}

struct PrintingTexts {
  const char *count;
  const char *mode;
  const char *heading;
  const char *row;
  const char *nothing;
  const char *no_pre_vector;
};
constexpr PerKind<PrintingTexts> kPrintingTexts{
    {{"Number of Mode Shapes %d\n\n", "\nMODE NUMBER %d=================================\n\n", kShapeHeading, kShapeRow,
      nullptr, nullptr},
     {"Number of Stress Shapes %d\n\n", "\nSTRESS SHAPE NUMBER %d=================================\n\n", kStressHeading,
      kStressRow, "\tNo Modal Stress Information\n\n", "\tNo Nodal Pre-Stress Information\n\n"},
     {"Number of Strain Shapes %d\n\n", "\nSTRAIN SHAPE NUMBER %d=================================\n\n", kStrainHeading,
      kStressRow, "\tNo Modal Strain Information\n\n", "\tNo Nodal Pre-Strain Information\n\n"}}};

bool print_modes(const Report &report, Kind kind) noexcept {
  const PrintingTexts &texts = kPrintingTexts[kind];
  const int modes = mode_count(report.body);
  if (modes < 1 || kind_count(report.body, kind) < 1) return true;
  std::fprintf(report.out, texts.count, modes);
  for (int m = 0; m < modes; ++m) {
    // A caller names modes by their numbers: number 0 of stress and strain is the pre-vector.
    const int number = mode_number(report.body, m);
    const int mode = number == 0 && kind != Kind::shape ? kPreVector : m;
    std::fprintf(report.out, texts.mode, number);
    std::fputs(texts.heading, report.out);
    put_rule(report.out);
    if (!print_rows(report, mode, kind, texts.row)) return false;
  }
  return true;
}

bool print_listed_modes(const Report &report, Kind kind) noexcept {
  if (has_block(report.body, kKindFacts[kind].block)) return print_modes(report, kind);
  std::fputs(kPrintingTexts[kind].nothing, report.out);
  return true;
}

bool print_pre_vector(const Report &report, Kind kind) noexcept {
  const PrintingTexts &texts = kPrintingTexts[kind];
  if (!has_block(report.body, *kKindFacts[kind].pre_block)) {
    std::fputs(texts.no_pre_vector, report.out);
    return true;
  }
  std::fputs(texts.heading, report.out);
  put_rule(report.out);
  return print_rows(report, kPreVector, kind, texts.row);
}

}  // namespace

constinit const BlockFunctions kModeShapesBlock{
    .read = read_mode_shapes, .write = write_mode_shapes, .print = [](const Report &report) noexcept {
      return print_modes(report, Kind::shape);
    }};
constinit const BlockFunctions kModalStressBlock{
    .read = [](SbrBody &body) noexcept { return read_vectors(body, Kind::stress); },
    .write = [](Emission &run) noexcept { return write_kind(run, Kind::stress); },
    .print = [](const Report &report) noexcept { return print_listed_modes(report, Kind::stress); }};
constinit const BlockFunctions kModalStrainBlock{
    .read = [](SbrBody &body) noexcept { return read_vectors(body, Kind::strain); },
    .write = [](Emission &run) noexcept { return write_kind(run, Kind::strain); },
    .print = [](const Report &report) noexcept { return print_listed_modes(report, Kind::strain); }};
constinit const BlockFunctions kNodalPreStressBlock{
    .read = [](SbrBody &body) noexcept { return read_pre_vector(body, Kind::stress, body.pre.stress); },
    .write = [](Emission &run) noexcept { return write_pre_vector(run, Kind::stress); },
    .print = [](const Report &report) noexcept { return print_pre_vector(report, Kind::stress); }};
constinit const BlockFunctions kNodalPreStrainBlock{
    .read = [](SbrBody &body) noexcept { return read_pre_vector(body, Kind::strain, body.pre.strain); },
    .write = [](Emission &run) noexcept { return write_pre_vector(run, Kind::strain); },
    .print = [](const Report &report) noexcept { return print_pre_vector(report, Kind::strain); }};

}  // namespace sbr
