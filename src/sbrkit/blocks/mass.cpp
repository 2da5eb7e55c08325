#include "blocks/mass.h"

#include "base/reports.h"
#include "body/node_table.h"
#include "mass/entry.h"

namespace sbr {
namespace {

// ---- global properties ---------------------------------------------------------------------------------------------

Reading read_global_properties(SbrBody &body) noexcept {
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kGlobalBodyProps)) return Reading::complete;
  FieldReader reader(body.record);
  return transfer(reader, body.global) ? Reading::complete : failed("Problem reading Global Body Properties");
}

// The properties that the invariants tell replace those that the body had.
bool write_global_properties(Emission &run) noexcept {
  calculate_global_mass(run.body);
  const GlobalProperties &global = run.body.global;
  const double *center = global.center;
  const double *inertia = global.inertia;
  report_info("\nGlobal body properties:");
  report_info("Mass          : %lf\n", global.mass);
  report_info("Center of Mass: %lf %lf %lf", center[0], center[1], center[2]);
  report_info("Inertia Tensor: %lf %lf %lf", inertia[0], inertia[1], inertia[2]);
  report_info("                %lf %lf %lf", inertia[3], inertia[4], inertia[5]);
  report_info("                %lf %lf %lf", inertia[6], inertia[7], inertia[8]);
  return run.put(global);
}

// Asking for the properties fills the cells of the invariants behind them. Without any source these are zeros, which
// must not count as known to the reports of the invariants: such cells are given up again.
class CellsWithoutSource {
 public:
  explicit CellsWithoutSource(SbrBody &body) noexcept : body_(body) {
    const bool global = has_block(body, kGlobalBodyProps) || has_block(body, kNodalMasses);
    for (const Entry &entry : kEntries)
      if (!global && !has_block(body, entry.block) && !(body.invariants.*entry.cell)) given_up_ |= entry.bit;
  }
  ~CellsWithoutSource() {
    for (const Entry &entry : kEntries)
      if ((given_up_ & entry.bit) != 0) (body_.invariants.*entry.cell).release();
  }
  CellsWithoutSource(const CellsWithoutSource &) = delete;
  CellsWithoutSource &operator=(const CellsWithoutSource &) = delete;

 private:
  struct Entry {
    Block block;
    Array<double> Invariants::*cell;
    unsigned bit;
  };
  static constexpr Entry kEntries[] = {{kInvariant1, &Invariants::invar1, 1},
                                       {kInvariant2, &Invariants::invar2, 2},
                                       {kInvariant7, &Invariants::invar7, 4}};

  SbrBody &body_;
  unsigned given_up_ = 0;
};

bool print_global_properties(const Report &report) noexcept {
  const CellsWithoutSource without_source(report.body);
  calculate_global_mass(report.body);
  const double *c = report.body.global.center;
  const double *i = report.body.global.inertia;
  std::fprintf(report.out, "Mass: % 17.10lf\n", report.body.global.mass);
  std::fprintf(report.out, "Center of Mass: % 17.10lf % 17.10lf % 17.10lf\n", c[0], c[1], c[2]);
  std::fprintf(report.out, "Inertia Tensor: % 17.10lf % 17.10lf % 17.10lf\n", i[0], i[1], i[2]);
  std::fprintf(report.out, "                % 17.10lf % 17.10lf % 17.10lf\n", i[3], i[4], i[5]);
  std::fprintf(report.out, "                % 17.10lf % 17.10lf % 17.10lf\n", i[6], i[7], i[8]);
  std::fprintf(report.out, "\n");
  return true;
}

// ---- nodal masses --------------------------------------------------------------------------------------------------

void take_nodal_mass(SbrBody &body, std::int32_t id, double mass) noexcept {
  const int index = node_index(body, id);
  if (index < 0) return;
  NodeRecord &node = body.nodes.nodes[index];
  if (node.mass != 0.0) report_warning("Redefining mass of Node %d", id);
  node.mass = mass;
}

// The nodal masses behind the two leading words.
bool read_mass_rows(SbrBody &body, const NodalMassesHead &head) noexcept {
  StreamChannel &channel = body.record;
  const std::int32_t values = head.values_per_node;
  RowReader rows(channel, bounded_sum(4, bounded_product(values, real_size(channel))), head.node_count);
  for (std::int32_t i = 0; i < head.node_count; ++i) {
    std::int32_t id = 0;
    double sum = 0.0;
    if (!rows.integer(id)) return false;
    for (std::int32_t k = 0; k < values; ++k) {
      double value = 0.0;
      if (!rows.reals(&value, 1)) return false;
      sum += value;
    }
    take_nodal_mass(body, id, values > 1 ? sum / values : sum);
  }
  return true;
}

Reading read_nodal_masses(SbrBody &body) noexcept {
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kNodalMasses)) return Reading::complete;
  FieldReader reader(body.record);
  NodalMassesHead head;
  if (!transfer(reader, head)) return failed("Problem reading Nodal Mass information");
  if (head.values_per_node < 0) head.values_per_node = 0;
  if (head.values_per_node > 1) {
    report_warning("Each node must possess a single scalar mass");
    report_warning("Generating scalar by averaging %d values", head.values_per_node);
  }
  return read_mass_rows(body, head) ? Reading::complete : failed("Problem reading Nodal Mass information");
}

bool write_nodal_masses(Emission &run) noexcept {
  const Array<NodeRecord> &nodes = run.body.nodes.nodes;
  if (!run.put(NodalMassesHead{nodes.count(), 1})) return false;
  int massless = 0;
  for (const NodeRecord &node : nodes) {
    // Whether a record arrives is deliberately not looked at.
    static_cast<void>(run.put(NodalMassRow{node.id, node.mass}));
    if (node.mass == 0.0) ++massless;
  }
  if (massless > 0) report_warning("Found %d massless node(s)", massless);
  return true;
}

bool print_nodal_masses(const Report &report) noexcept {
  std::span<const NodeKey> keys;
  if (!report.sorted_nodes(Kind::shape, keys)) return false;
  for (const NodeKey &key : keys) std::fprintf(report.out, "%9d\t%le\n", key.id, nodal_mass(report.body, key.position));
  std::fprintf(report.out, "\n");
  return true;
}

// ---- nodal inertias ------------------------------------------------------------------------------------------------

// A rotational degree of freedom as an index from 0, or -1 after a report.
int tensor_index(const char *which, char stored) noexcept {
  if (stored >= 4 && stored <= 6) return stored - 4;
  report_error("%s index of nodal inertia entries should be 4, 5, or 6.  %d encoutered\n", which, stored);
  return -1;
}

// The steps of transfer(NodalInertiaRow), with the checks that stand between its fields. False after a failed read
// or a report.
bool read_nodal_inertia(SbrBody &body, RowReader &rows, int &unknown) noexcept {
  NodalInertiaRow entry;
  if (!rows.integer(entry.id) || !rows.chars(&entry.row, 1)) return false;
  const int row = tensor_index("Row", entry.row);
  if (row < 0 || !rows.chars(&entry.column, 1)) return false;
  const int column = tensor_index("Column", entry.column);
  if (column < 0) return false;
  const int index = node_index(body, entry.id);
  double *tensor = index >= 0 ? node_inertia_or_add(body, index) : nullptr;
  if (index >= 0 && tensor == nullptr) {
    report_error("Error allocating memory for inertia matrix for node %d\n", entry.id);
    return false;
  }
  if (!rows.reals(&entry.value, 1)) return false;
  if (index < 0) {
    ++unknown;
    return true;
  }
  double &place = tensor[kPackedPlace[row][column]];
  if (place != 0.0 && place != entry.value) report_warning("Redefining mass of Nodal inertia %d", entry.id);
  place = entry.value;
  return true;
}

Reading read_nodal_inertias(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem reading Nodal Inertia information";
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kNodalInertias)) return Reading::complete;
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  RowReader rows(body.record, field_bytes<NodalInertiaRow>(encoding_of(body.record)), head.count);
  int unknown = 0;
  for (std::int32_t i = 0; i < head.count; ++i)
    if (!read_nodal_inertia(body, rows, unknown)) return failed(kProblem);
  if (unknown > 0) report_warning("Ignoring %d nodal inertia entries of nodes that the body does not have", unknown);
  return Reading::complete;
}

// The six places of a symmetric 3 x 3 matrix that a record keeps, with their rows and columns as degrees of freedom.
struct InertiaPlace {
  int place;
  char row;
  char column;
};
constexpr InertiaPlace kInertiaPlaces[] = {{0, 4, 4}, {1, 4, 5}, {2, 4, 6}, {4, 5, 5}, {5, 5, 6}, {8, 6, 6}};

// Calls visit(node index, place, value) for every non-zero inertia value; false when a visit gives false.
template <class Visit>
bool walk_inertias(SbrBody &body, Visit visit) noexcept {
  const int nodes = node_count(body);
  for (int i = 0; i < nodes; ++i) {
    double matrix[9];
    if (!nodal_inertia(body, i, matrix)) continue;
    for (const InertiaPlace &place : kInertiaPlaces)
      if (matrix[place.place] != 0.0 && !visit(i, place, matrix[place.place])) return false;
  }
  return true;
}

bool write_nodal_inertias(Emission &run) noexcept {
  int entries = 0;
  static_cast<void>(walk_inertias(run.body, [&](int, const InertiaPlace &, double) { return ++entries > 0; }));
  report_info("\nNodal inertia info:\n   Sparse matrix entries: %ld", static_cast<long>(entries));
  if (!run.put(CountHead{entries})) return false;
  return walk_inertias(run.body, [&](int node, const InertiaPlace &place, double value) {
    return run.put(NodalInertiaRow{node_id(run.body, node), place.row, place.column, value});
  });
}

bool print_nodal_inertias(const Report &report) noexcept {
  bool any = false;
  std::span<const NodeKey> keys;
  if (!report.sorted_nodes(Kind::shape, keys)) return false;
  for (const NodeKey &key : keys) {
    double m[9];
    if (!nodal_inertia(report.body, key.position, m)) continue;
    any = true;
    std::fprintf(report.out, "Inertia Tensor of Node %9d: % 17.10lf % 17.10lf % 17.10lf\n", key.id, m[0], m[1], m[2]);
    for (const double *row : {m + 3, m + 6})
      std::fprintf(report.out, "                                  % 17.10lf % 17.10lf % 17.10lf\n", row[0], row[1],
                   row[2]);
  }
  if (!any) std::fprintf(report.out, "\tNo Nodal Inertia information.\n");
  std::fprintf(report.out, "\n");
  return true;
}

}  // namespace

constinit const BlockFunctions kGlobalBodyPropsBlock{
    .read = read_global_properties, .write = write_global_properties, .print = print_global_properties};
// Whether the last masses arrive is deliberately not looked at.
constinit const BlockFunctions kNodalMassesBlock{
    .read = read_nodal_masses, .write = write_nodal_masses, .print = print_nodal_masses, .end_is_checked = false};
constinit const BlockFunctions kNodalInertiasBlock{
    .read = read_nodal_inertias, .write = write_nodal_inertias, .print = print_nodal_inertias};

}  // namespace sbr
