// Every family of accessors asked for everything that a small body has.
#include <array>

#include "faults/scenario.h"
#include "support/body_view.h"
#include "support/modal_body.h"

namespace sbrtest::faults {
namespace {

std::string at(const char *name, int index) { return std::string(name) + " " + std::to_string(index); }

}  // namespace

void look_at_geometry(Run &run, SBR body) {
  const HeaderView header = header_of(body);
  run.item("header", true, header.title, header.input_file_name, header.input_file_type, header.comment1);
  const UnitLabels units = units_of(body);
  run.item("units", true, units.mass, units.length, units.time, units.force);
  const int nodes = SBR_NodeCount(body);
  run.item("node count", nodes > 0, nodes);
  for (int i = 0; i < nodes; ++i) {
    std::array<double, 9> inertia{};
    const int id = SBR_NodeID(body, i);
    const bool heavy = SBR_NodalInertia(body, i, inertia.data()) != 0;
    run.item(at("node", i), id > 0, id, coordinates_of(body, i), SBR_NodalMass(body, i), heavy, inertia);
    const int index = SBR_NodeIndex(body, id);
    run.item(at("index of node", i), index >= 0, index);
  }
  run.item("size", SBR_BodySize(body) > 0.0, SBR_BodySize(body));
  run.item("faces", true, face_words(body));
  int count = 0;
  int *nodes_held = SBR_InterfaceNodes(body, &count);
  if (SBR_Exists(body, 16) != 0) run.array("interface nodes", nodes_held, count);
  int *ids = SBR_InterfaceNodeIDs(body, &count);
  if (SBR_Exists(body, 16) != 0) run.array("interface node IDs", ids, count);
  const double point[] = {0.1, 0.2, 0.3};
  const int closest = SBR_ClosestNode(body, point, 0);
  run.item("closest node", closest >= 0, closest);
  run.array("closest nodes", SBR_ClosestNodes(body, point, 2, 0, &count), count);
  const int edges = SBR_GetFreeEdgeCount(body);
  Text chains;
  for (int chain = 0; chain < edges; ++chain) {
    std::vector<int> chain_ids(static_cast<std::size_t>(SBR_GetFreeEdgeSize(body, chain)));
    SBR_GetFreeEdge(body, chain, chain_ids.data());
    chains.add(chain_ids);
  }
  run.item("free edges", edges >= 0, edges, chains.bytes());
  for (int block = 0; block < 36; ++block) run.item(at("size of block", block), true, SBR_size_of_block(body, block));
}

void look_at_modes(Run &run, SBR body) {
  run.item("mode count", true, SBR_ModeCount(body));
  for (int kind = 0; kind < 3; ++kind) {
    const int nodes = SBR_ModeNodeCount(body, kind);
    if (SBR_ModeExist(body, kind) == 0 || nodes < 1) continue;
    for (int m = 0; m < SBR_ModeCount(body); ++m) {
      const int number = SBR_ModeNumber(body, m);
      const std::vector<double> mode = whole_mode_of(body, number, kind);
      run.item(at("mode", m), !mode.empty(), mode);
      std::array<double, 3> three{};
      const int id = SBR_ModeNodeID(body, kind, nodes - 1);
      bool good = SBR_ModeByNode(body, number, kind, id, three.data(), 1) != 0;
      run.item(at("mode by node", m), good, three);
      good = SBR_ModeByNodeWithoutCache(body, number, kind, id, three.data(), 0) != 0;
      run.item(at("mode by node without cache", m), good, three);
      double *part = nullptr;
      good = SBR_ModeByRef(body, number, kind, &part, 0) != 0;
      run.item(at("mode by reference", m), good,
               good ? std::vector<double>(part, part + 3 * static_cast<std::ptrdiff_t>(nodes)) : std::vector<double>());
      if (SBR_Double_Prec(body) != 0) {
        std::vector<double> whole(6 * static_cast<std::size_t>(nodes));
        good = SBR_Read_Mode_Double(body, number, kind, whole.data()) != 0;
        run.item(at("whole mode", m), good, whole);
      }
    }
    if (kind == 0 || SBR_Exists(body, kind == 1 ? 30 : 31) == 0) continue;
    const auto vectors = pre_vectors_of(body, kind);
    run.item(at("pre-vectors", kind), !vectors.empty(), vectors);
  }
}

void look_at_matrices(Run &run, SBR body) {
  const int modes = SBR_ModeCount(body);
  for (int m = 0; m < modes; ++m) {
    std::array<double, 5> values{};
    const bool good =
        SBR_Eigenvalue(body, SBR_ModeNumber(body, m), &values[0], &values[1], &values[2], &values[3], &values[4]) != 0;
    if (good || SBR_Exists(body, 6) != 0) run.item(at("eigenvalue", m), good, values);
  }
  const auto entries = [&](const char *name, const MatrixEntries &list) {
    Text text;
    for (const MatrixEntry &entry : list) text.add(entry.row).add(entry.column).add(entry.value);
    run.item(name, true, text.bytes());
  };
  entries("stiffness", stiffness_of(body));
  entries("mass", mass_of(body));
  entries("damping", damping_of(body));
  run.item("transformation", true, transformation_of(body));
  run.item("rigid body modes", true, SBR_RigidBodyModeCount(body));
}

void look_at_loads(Run &run, SBR body) {
  int count = 0;
  for (int i = 0; i < SBR_GetModalLoadCaseCount(body); ++i) {
    run.item(at("label of load case", i), true, modal_load_label_of(body, i), SBR_ModalLoadProcessed(body, i));
    double *values = SBR_GetModalLoad(body, i, &count);
    run.array(at("load case", i), values, count);
  }
  if (SBR_ModalPreloadExist(body) != 0) {
    double *values = SBR_GetModalPreload(body, &count);
    run.array("preload", values, count);
  }
  for (int i = 0; i < SBR_GetModalLoadNodalCaseCount(body); ++i) {
    const int entries = SBR_GetModalLoadNodalCount(body, i);
    if (entries < 1) continue;
    run.array(at("loaded nodes", i), SBR_GetModalLoadNodalNode(body, i), entries);
    run.array(at("loaded coordinates", i), SBR_GetModalLoadNodalCoord(body, i), entries);
    run.array(at("nodal loads", i), SBR_GetModalLoadNodalLoad(body, i), entries);
  }
}

void look_at_operators(Run &run, SBR body) {
  for (int i = 0; i < SBR_GetMonitorPointCount(body); ++i) {
    std::array<double, 3> place{};
    SBR_GetMonitorPointLocation(body, i, place.data());
    run.item(at("monitor point", i), true, monitor_name_of(body, i), monitor_label_of(body, i), place);
    for (int type = 1; type <= 4; ++type) run.item(at("its operator", type), true, monitor_operator_of(body, i, type));
  }
  for (int i = 0; i < SBR_GetMatrixOperatorCount(body); ++i) {
    std::array<char, 81> name{};
    SBR_GetMatrixOperatorName(body, i, name.data());
    run.item(at("matrix operator", i), true, std::string(name.data()), SBR_GetMatrixOperatorNumRows(body, i));
    for (int sub = 0; sub < SBR_GetMatrixOperatorNumSubOperator(body, i); ++sub)
      run.item(at("its columns", sub), true, sub_operator_of(body, i, sub));
  }
}

void look_at_invariants(Run &run, SBR body) {
  const int modes = SBR_ModeCount(body);
  const double mass = SBR_Invar1(body);
  run.item("invariant 1", mass > 0.0, mass);
  run.array("invariant 2", SBR_Invar2(body), 3);
  run.array("invariant 3", SBR_Invar3(body), 3 * modes);
  run.array("invariant 4", SBR_Invar4(body), 3 * modes);
  for (int m = 0; m < modes; ++m) {
    run.array(at("invariant 5", m), SBR_Invar5(body, m), 3 * modes);
    run.array(at("invariant 8", m), SBR_Invar8(body, m), 9);
    run.array(at("invariant 9", m), SBR_Invar9(body, m, modes - 1), 9);
  }
  run.array("invariant 6", SBR_Invar6(body), modes * modes);
  run.array("invariant 7", SBR_Invar7(body), 9);
}

void look_at_statistics(Run &run, SBR body) {
  for (int m = 0; m < SBR_ModeCount(body); ++m) {
    const int number = SBR_ModeNumber(body, m);
    using Call = int (*)(SBR, int, int *, double *);
    const std::pair<const char *, Call> calls[] = {{"largest displacement", SBR_GetMaxModeDisplacement},
                                                   {"largest rotation", SBR_GetMaxModeRotation},
                                                   {"largest stress", SBR_GetMaxVonMisesStress},
                                                   {"largest strain", SBR_GetMaxVonMisesStrain}};
    for (const auto &[name, call] : calls) {
      int id = 0;
      double value = 0.0;
      const bool good = call(body, number, &id, &value) != 0;
      run.item(at(name, m), good, id, value);
    }
  }
}

void look_at_all(Run &run, SBR body) {
  look_at_geometry(run, body);
  look_at_modes(run, body);
  look_at_matrices(run, body);
  look_at_loads(run, body);
  look_at_operators(run, body);
  look_at_statistics(run, body);
}

}  // namespace sbrtest::faults
