// The tables of a body, each column with its unit.
#include <array>

#include "comparing.h"
#include "export.h"
#include "exportbody.h"
#include "givenarray.h"
#include "modefacts.h"

namespace sbrtool {
namespace {

using Row = std::function<void(const double *)>;

constexpr std::array<const char *, 3> kAxes = {"x", "y", "z"};
constexpr std::array<const char *, 9> kMatrix = {"xx", "xy", "xz", "yx", "yy", "yz", "zx", "zy", "zz"};

template <std::size_t N>
void add(std::vector<ExportColumn> &columns, const std::array<const char *, N> &names, const std::string &unit) {
  for (const char *name : names) columns.push_back({name, unit, false});
}

ExportColumn key(const char *name) { return {name, "", true}; }

// ---- nodes, faces
// ----------------------------------------------------------------------------------------------------

ExportTable nodes_table(SBR body, const UnitLabels &units) {
  const bool inertias = SBR_Exists(body, 9) != 0;
  ExportTable table{"nodes", {key("id")}, SBR_NodeCount(body), {}};
  add(table.columns, kAxes, units.length);
  table.columns.push_back({"mass", units.mass, false});
  if (inertias)
    for (const char *name : kTensorNames)
      table.columns.push_back({std::string("I") + name, units.mass_length2(), false});
  table.produce = [body, inertias](const Row &row) {
    for (int i = 0; i < SBR_NodeCount(body); ++i) {
      double values[11] = {static_cast<double>(SBR_NodeID(body, i))};
      double I[9] = {};
      SBR_NodalMassAndGeometry(body, i, values + 4, values + 1);
      if (inertias && SBR_NodalInertia(body, i, I) != 0) {
        const double six[] = {I[0], I[4], I[8], I[1], I[2], I[5]};
        std::copy(six, six + 6, values + 5);
      }
      row(values);
    }
  };
  return table;
}

ExportTable faces_table(SBR body) {
  int faces = 0;
  int length = 0;
  SBR_FaceListSize(body, &faces, &length);
  auto list = std::make_shared<std::vector<int>>(static_cast<std::size_t>(std::max(length, 0)));
  if (list->empty() || SBR_ElementFaces(body, list->data()) == 0) list->clear();
  auto rows = std::make_shared<std::vector<std::array<double, 3>>>();
  int face = 0;
  for (std::size_t at = 0; at < list->size();) {
    const int vertices = (*list)[at++];
    ++face;
    for (int k = 0; k < vertices && at < list->size(); ++k, ++at)
      rows->push_back({static_cast<double>(face), k + 1.0, static_cast<double>(SBR_NodeID(body, (*list)[at]))});
  }
  return {"faces",
          {key("face"), key("corner"), key("node")},
          static_cast<std::int64_t>(rows->size()),
          [rows](const Row &row) {
            for (const auto &one : *rows) row(one.data());
          }};
}

ExportTable interface_table(SBR body) {
  int count = 0;
  const std::shared_ptr<int[]> ids = given_array(SBR_InterfaceNodeIDs(body, &count), count);
  return {"interface_nodes", {key("id")}, count, [ids, count](const Row &row) {
            for (int i = 0; i < count; ++i) {
              const auto id = static_cast<double>(ids[i]);
              row(&id);
            }
          }};
}

// ---- modes
// -----------------------------------------------------------------------------------------------------------

ExportTable modes_table(SBR body, const UnitLabels &units) {
  return {"modes",
          {key("number"),
           {"eigenvalue", units.eigenvalue(), false},
           {"frequency", "1/" + units.time, false},
           {"angular_frequency", "rad/" + units.time, false},
           {"generalized_mass", units.mass_length2(), false},
           {"generalized_stiffness", units.force + " " + units.length, false}},
          SBR_ModeCount(body),
          [body](const Row &row) {
            for (const ModeFacts &mode : facts_of_modes(body)) {
              const double values[] = {
                  static_cast<double>(mode.number), mode.eigenvalue, mode.hz, mode.rad, mode.mass, mode.stiffness};
              row(values);
            }
          }};
}

// Six values of a mode at each node of a kind; number 0 names the pre-stress and pre-strain.
void produce_vectors(SBR body, int kind, int number, const Row &row) {
  const int nodes = SBR_ModeNodeCount(body, kind);
  std::vector<double> parts[2];
  const int errors = reported_errors();
  for (int part = 0; part < 2; ++part) {
    parts[part].resize(3 * static_cast<std::size_t>(std::max(nodes, 1)));
    if (SBR_Mode(body, number, kind, parts[part].data(), part) == 0 || reported_errors() != errors)
      throw Failure(kUnreadable, "mode " + std::to_string(number) + " cannot be read from the record");
  }
  for (int i = 0; i < nodes; ++i) {
    double values[8] = {static_cast<double>(number), static_cast<double>(SBR_ModeNodeID(body, kind, i))};
    for (std::size_t part = 0; part < 2; ++part)
      std::copy_n(parts[part].data() + 3 * static_cast<std::size_t>(i), 3, values + 2 + 3 * part);
    row(values);
  }
}

std::vector<ExportColumn> vector_columns(const UnitLabels &units, int kind) {
  std::vector<ExportColumn> columns = {key("mode"), key("node")};
  if (kind == 0) {
    for (const char *name : {"dx", "dy", "dz"}) columns.push_back({name, units.length, false});
    for (const char *name : {"ax", "ay", "az"}) columns.push_back({name, "rad", false});
  } else {
    add(columns, kTensorNames, kind == 1 ? units.stress() : "");
  }
  return columns;
}

void add_vectors(std::vector<ExportTable> &tables, SBR body, const UnitLabels &units) {
  const char *const names[] = {"shapes", "stress", "strain"};
  for (int kind = 0; kind < 3; ++kind) {
    if (SBR_ModeExist(body, kind) == 0) continue;
    tables.push_back({names[kind], vector_columns(units, kind),
                      std::int64_t{SBR_ModeCount(body)} * SBR_ModeNodeCount(body, kind), [body, kind](const Row &row) {
                        for (int m = 0; m < SBR_ModeCount(body); ++m)
                          produce_vectors(body, kind, SBR_ModeNumber(body, m), row);
                      }});
  }
  const char *const pre_names[] = {"", "pre_stress", "pre_strain"};
  for (int kind = 1; kind < 3; ++kind)
    if (SBR_Exists(body, 29 + kind) != 0)
      tables.push_back({pre_names[kind], vector_columns(units, kind), SBR_ModeNodeCount(body, kind),
                        [body, kind](const Row &row) { produce_vectors(body, kind, 0, row); }});
}

// ---- matrices
// --------------------------------------------------------------------------------------------------------

void add_matrices(std::vector<ExportTable> &tables, SBR body, const UnitLabels &units) {
  using Count = int (*)(SBR);
  using Sparse = int (*)(SBR, double *, int *, int *);
  const struct {
    const char *name;
    Count count;
    Sparse sparse;
    std::string unit;
  } kinds[] = {{"generalized_stiffness", SBR_NumberOfGenStiff, SBR_GenStiffSparse, units.force + " " + units.length},
               {"generalized_mass", SBR_NumberOfGenMass, SBR_GenMassSparse, units.mass_length2()},
               {"generalized_damping", SBR_NumberOfGenDamp, SBR_GenDampSparse,
                units.force + " " + units.length + " " + units.time}};
  for (const auto &kind : kinds) {
    const int count = kind.count(body);
    if (count < 1) continue;
    tables.push_back({kind.name,
                      {key("row"), key("column"), {"value", kind.unit, false}},
                      count,
                      [body, count, sparse = kind.sparse](const Row &row) {
                        const auto n = static_cast<std::size_t>(count);
                        std::vector<double> values(n);
                        std::vector<int> rows(n);
                        std::vector<int> columns(n);
                        sparse(body, values.data(), rows.data(), columns.data());
                        for (std::size_t i = 0; i < n; ++i) {
                          const double entry[] = {rows[i] + 1.0, columns[i] + 1.0, values[i]};
                          row(entry);
                        }
                      }});
  }
}

// ---- invariants
// ------------------------------------------------------------------------------------------------------

using Values = std::shared_ptr<double[]>;

Values kept(double *given) {
  if (given == nullptr) throw Failure(kFailed, "the invariants cannot be had");
  return Values(given, FreeArray());
}

// Invariants 1, 2 and 7.
void add_rigid_invariants(std::vector<ExportTable> &tables, SBR body, const UnitLabels &units) {
  tables.push_back({"invariant_1", {{"mass", units.mass, false}}, 1, [body](const Row &row) {
                      const double mass = SBR_Invar1(body);
                      row(&mass);
                    }});
  ExportTable second{"invariant_2", {}, 1, [body](const Row &row) { row(kept(SBR_Invar2(body)).get()); }};
  add(second.columns, kAxes, units.mass_length());
  ExportTable seventh{"invariant_7", {}, 1, [body](const Row &row) { row(kept(SBR_Invar7(body)).get()); }};
  add(seventh.columns, kMatrix, units.mass_length2());
  tables.push_back(second);
  tables.push_back(seventh);
}

// Three components of each mode, out of 3 x M values.
ExportTable by_mode(const char *name, SBR body, double *(*get)(SBR), const std::string &unit) {
  ExportTable table{name, {key("mode")}, SBR_ModeCount(body), [body, get](const Row &row) {
                      const auto M = static_cast<std::size_t>(SBR_ModeCount(body));
                      const Values all = kept(get(body));
                      for (std::size_t j = 0; j < M; ++j) {
                        const double values[] = {static_cast<double>(SBR_ModeNumber(body, static_cast<int>(j))), all[j],
                                                 all[M + j], all[2 * M + j]};
                        row(values);
                      }
                    }};
  add(table.columns, kAxes, unit);
  return table;
}

void produce_fifth(SBR body, const Row &row) {
  const auto M = static_cast<std::size_t>(SBR_ModeCount(body));
  for (std::size_t j = 0; j < M; ++j) {
    const Values all = kept(SBR_Invar5(body, static_cast<int>(j)));
    for (std::size_t k = 0; k < M; ++k) {
      const double values[] = {static_cast<double>(SBR_ModeNumber(body, static_cast<int>(j))),
                               static_cast<double>(SBR_ModeNumber(body, static_cast<int>(k))), all[k], all[M + k],
                               all[2 * M + k]};
      row(values);
    }
  }
}

void produce_eighth(SBR body, const Row &row) {
  for (int j = 0; j < SBR_ModeCount(body); ++j) {
    double values[10] = {static_cast<double>(SBR_ModeNumber(body, j))};
    std::copy_n(kept(SBR_Invar8(body, j)).get(), 9, values + 1);
    row(values);
  }
}

void produce_ninth(SBR body, const Row &row) {
  for (int j = 0; j < SBR_ModeCount(body); ++j)
    for (int k = 0; k < SBR_ModeCount(body); ++k) {
      double values[11] = {static_cast<double>(SBR_ModeNumber(body, j)), static_cast<double>(SBR_ModeNumber(body, k))};
      std::copy_n(kept(SBR_Invar9(body, j, k)).get(), 9, values + 2);
      row(values);
    }
}

// Those that the record stores, or that its nodes give; a table of zeros would say what is not known.
void add_invariants(std::vector<ExportTable> &tables, SBR body, const UnitLabels &units) {
  const bool nodes = SBR_Exists(body, 8) != 0;
  if (nodes || SBR_Exists(body, 18) != 0 || SBR_Exists(body, 5) != 0) add_rigid_invariants(tables, body, units);
  if (SBR_ModeCount(body) < 1) return;
  const auto has = [&](int block) { return SBR_Exists(body, block) != 0 || nodes; };
  const std::int64_t modes = SBR_ModeCount(body);
  if (has(20)) tables.push_back(by_mode("invariant_3", body, SBR_Invar3, units.mass_length()));
  if (has(21)) tables.push_back(by_mode("invariant_4", body, SBR_Invar4, units.mass_length2()));
  if (has(22)) {
    tables.push_back({"invariant_5", {key("mode"), key("other_mode")}, modes * modes, [body](const Row &row) {
                        produce_fifth(body, row);
                      }});
    add(tables.back().columns, kAxes, units.mass_length2());
  }
  if (has(24)) {
    tables.push_back({"invariant_8", {key("mode")}, modes, [body](const Row &row) { produce_eighth(body, row); }});
    add(tables.back().columns, kMatrix, units.mass_length2());
  }
  if (has(25)) {
    tables.push_back({"invariant_9", {key("mode"), key("other_mode")}, modes * modes, [body](const Row &row) {
                        produce_ninth(body, row);
                      }});
    add(tables.back().columns, kMatrix, units.mass_length2());
  }
}

// ---- loads
// -----------------------------------------------------------------------------------------------------------

void add_loads(std::vector<ExportTable> &tables, SBR body, const UnitLabels &units) {
  const int cases = SBR_GetModalLoadCaseCount(body);
  const std::string unit = units.force + " " + units.length;
  if (cases > 0)
    tables.push_back({"modal_loads",
                      {key("case"), key("mode"), {"value", unit, false}},
                      std::int64_t{cases} * SBR_ModeCount(body),
                      [body, cases](const Row &row) {
                        for (int i = 0; i < cases; ++i) {
                          int count = 0;
                          const Values load = kept(SBR_GetModalLoad(body, i, &count));
                          for (int m = 0; m < SBR_ModeCount(body); ++m) {
                            const double values[] = {i + 1.0, static_cast<double>(SBR_ModeNumber(body, m)),
                                                     m < count ? load[m] : 0.0};
                            row(values);
                          }
                        }
                      }});
  std::int64_t entries = 0;
  for (int i = 0; i < SBR_GetModalLoadNodalCaseCount(body); ++i) entries += SBR_GetModalLoadNodalCount(body, i);
  if (entries > 0)
    tables.push_back({"nodal_loads",
                      {key("case"), key("node"), key("coordinate"), {"value", "", false}},
                      entries,
                      [body](const Row &row) {
                        for (int i = 0; i < SBR_GetModalLoadNodalCaseCount(body); ++i) {
                          const int count = SBR_GetModalLoadNodalCount(body, i);
                          const Given<int> nodes = given_array(SBR_GetModalLoadNodalNode(body, i), count);
                          const Given<int> places = given_array(SBR_GetModalLoadNodalCoord(body, i), count);
                          const Given<double> loads = given_array(SBR_GetModalLoadNodalLoad(body, i), count);
                          for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k) {
                            const double values[] = {i + 1.0, static_cast<double>(SBR_NodeID(body, nodes[k])),
                                                     static_cast<double>(places[k]), loads[k]};
                            row(values);
                          }
                        }
                      }});
}

}  // namespace

std::vector<ExportTable> tables_of(SBR body) {
  const UnitLabels units(body);
  std::vector<ExportTable> tables = {nodes_table(body, units), faces_table(body), interface_table(body),
                                     modes_table(body, units)};
  add_vectors(tables, body, units);
  add_matrices(tables, body, units);
  add_invariants(tables, body, units);
  add_loads(tables, body, units);
  return tables;
}

}  // namespace sbrtool
