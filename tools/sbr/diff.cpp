// sbr diff: two records block by block, with the worst place of each.
#include <cmath>
#include <functional>
#include <iostream>

#include "comparing.h"
#include "session.h"

namespace sbrtool {

std::vector<double> mode_part(SBR body, int mode_index, int kind, int part) {
  const int nodes = SBR_ModeNodeCount(body, kind);
  if (nodes < 1) return {};
  std::vector<double> values(3 * static_cast<std::size_t>(nodes));
  if (SBR_Mode(body, SBR_ModeNumber(body, mode_index), kind, values.data(), part) == 0) values.clear();
  return values;
}

namespace {

struct Tolerance {
  double relative;
  double absolute;
};

// The comparison of one block: how many values differ, and where it is worst.
class Block {
 public:
  Block(std::string name, const Tolerance &tolerance) : name_(std::move(name)), tolerance_(tolerance) {}

  void value(double a, double b, const std::function<std::string()> &place) {
    ++compared_;
    const bool same_odd = (std::isnan(a) && std::isnan(b)) || a == b;
    const double difference = std::fabs(a - b);
    const double allowed = tolerance_.absolute + tolerance_.relative * std::max(std::fabs(a), std::fabs(b));
    if (same_odd || difference <= allowed) return;
    ++different_;
    const double weight = std::isfinite(difference) ? difference / std::max(allowed, 1e-300) : HUGE_VAL;
    if (different_ > 1 && !(weight > worst_weight_)) return;
    worst_weight_ = weight;
    worst_ = place() + ": " + number(a) + " and " + number(b);
  }
  void count(const std::string &what, double a, double b) {
    value(a, b, [&] { return what; });
  }
  void text(const std::string &what, const std::string &a, const std::string &b) {
    ++compared_;
    if (a == b) return;
    ++different_;
    worst_ = what + ": '" + clean(a) + "' and '" + clean(b) + "'";
    worst_weight_ = HUGE_VAL;
  }
  void only_in(const char *which) { only_ = which; }

  [[nodiscard]] bool same() const { return different_ == 0 && only_.empty(); }
  [[nodiscard]] bool empty() const { return compared_ == 0 && only_.empty(); }
  [[nodiscard]] const std::string &name() const { return name_; }
  [[nodiscard]] std::string verdict() const {
    if (!only_.empty()) return "only in " + only_;
    return different_ == 0 ? "same" : std::to_string(different_) + " of " + std::to_string(compared_) + " differ";
  }
  [[nodiscard]] const std::string &worst() const { return worst_; }
  [[nodiscard]] Json json() const {
    Json entry = {{"block", name_}, {"same", same()}, {"compared", compared_}, {"different", different_}};
    if (!only_.empty()) entry["only_in"] = only_;
    if (!worst_.empty()) entry["worst"] = worst_;
    return entry;
  }

 private:
  std::string name_;
  Tolerance tolerance_;
  long compared_ = 0;
  long different_ = 0;
  double worst_weight_ = 0.0;
  std::string worst_;
  std::string only_;
};

class Comparison {
 public:
  Comparison(SBR a, SBR b, const Tolerance &tolerance) : a_(a), b_(b), tolerance_(tolerance) {}

  std::vector<Block> run() {
    header();
    units();
    nodes();
    faces();
    global();
    eigenvalues();
    modes();
    matrices();
    transformation();
    interface_nodes();
    invariants();
    loads();
    statistics();
    operators();
    return blocks_;
  }

 private:
  static std::string at(const char *what, int i) { return std::string(what) + " " + std::to_string(i); }

  // A block that only one of the two has is a difference of its own.
  bool in_both(Block &block, bool in_a, bool in_b) {
    if (in_a && in_b) return true;
    if (in_a != in_b) block.only_in(in_a ? "A" : "B");
    blocks_.push_back(block);
    return false;
  }
  [[nodiscard]] bool exists(SBR body, int block) const { return SBR_Exists(body, block) != 0; }

  void header() {
    Block block("header", tolerance_);
    char texts[2][7][129] = {};
    const char *const names[] = {"title",     "date",      "input file", "input file type",
                                 "comment 1", "comment 2", "comment 3"};
    for (int i = 0; i < 2; ++i) {
      auto &t = texts[i];
      SBR_Header(i == 0 ? a_ : b_, t[0], t[1], t[2], t[3], t[4], t[5], t[6]);
    }
    for (int i = 0; i < 7; ++i) block.text(names[i], texts[0][i], texts[1][i]);
    blocks_.push_back(block);
  }

  void units() {
    Block block("units", tolerance_);
    char labels[2][4][17] = {};
    const char *const names[] = {"mass", "length", "time", "force"};
    for (int i = 0; i < 2; ++i) SBR_Units(i == 0 ? a_ : b_, labels[i][0], labels[i][1], labels[i][2], labels[i][3]);
    for (int i = 0; i < 4; ++i) block.text(names[i], labels[0][i], labels[1][i]);
    blocks_.push_back(block);
  }

  // Nodes are compared by ID: another order of the table is no difference.
  void nodes() {
    Block coordinates("nodal coordinates", tolerance_);
    Block masses("nodal masses", tolerance_);
    Block inertias("nodal inertias", tolerance_);
    coordinates.count("node count", SBR_NodeCount(a_), SBR_NodeCount(b_));
    for (int i = 0; i < SBR_NodeCount(a_); ++i) {
      const int id = SBR_NodeID(a_, i);
      const int k = SBR_NodeIndex(b_, id);
      if (k < 0) {
        coordinates.text(at("node", id), "present", "missing");
        continue;
      }
      double p[3];
      double q[3];
      SBR_NodeCoordinates(a_, i, p);
      SBR_NodeCoordinates(b_, k, q);
      for (int c = 0; c < 3; ++c) coordinates.value(p[c], q[c], [&] { return at("node", id) + " " + "xyz"[c]; });
      masses.value(SBR_NodalMass(a_, i), SBR_NodalMass(b_, k), [&] { return at("node", id); });
      double I[9] = {};
      double J[9] = {};
      const int has_a = SBR_NodalInertia(a_, i, I);
      const int has_b = SBR_NodalInertia(b_, k, J);
      if (has_a != 0 || has_b != 0)
        for (int c = 0; c < 9; ++c) inertias.value(I[c], J[c], [&] { return at("node", id) + at(" entry", c); });
    }
    blocks_.push_back(coordinates);
    if (in_both(masses, exists(a_, 8), exists(b_, 8))) blocks_.push_back(masses);
    if (in_both(inertias, exists(a_, 9), exists(b_, 9))) blocks_.push_back(inertias);
  }

  static std::vector<int> face_ids(SBR body) {
    int faces = 0;
    int length = 0;
    SBR_FaceListSize(body, &faces, &length);
    std::vector<int> list(static_cast<std::size_t>(std::max(length, 0)));
    if (list.empty() || SBR_ElementFaces(body, list.data()) == 0) return {};
    for (std::size_t p = 0; p < list.size();) {
      const int vertices = list[p++];
      for (int k = 0; k < vertices && p < list.size(); ++k, ++p) list[p] = SBR_NodeID(body, list[p]);
    }
    return list;
  }

  void faces() {
    Block block("element faces", tolerance_);
    const bool in_a = exists(a_, 13) || exists(a_, 4);
    const bool in_b = exists(b_, 13) || exists(b_, 4);
    if (!in_both(block, in_a, in_b)) return;
    const auto p = face_ids(a_);
    const auto q = face_ids(b_);
    block.count("list length", static_cast<double>(p.size()), static_cast<double>(q.size()));
    for (std::size_t i = 0; i < std::min(p.size(), q.size()); ++i)
      block.value(p[i], q[i], [&] { return at("word", static_cast<int>(i)); });
    blocks_.push_back(block);
  }

  void global() {
    Block block("global properties", tolerance_);
    if (!in_both(block, exists(a_, 5), exists(b_, 5))) return;
    double mass[2] = {};
    double inertia[2][9] = {};
    double center[2][3] = {};
    SBR_TotalMassInertia(a_, &mass[0], inertia[0], center[0]);
    SBR_TotalMassInertia(b_, &mass[1], inertia[1], center[1]);
    block.count("mass", mass[0], mass[1]);
    for (int c = 0; c < 3; ++c) block.value(center[0][c], center[1][c], [&] { return at("centre", c); });
    for (int c = 0; c < 9; ++c) block.value(inertia[0][c], inertia[1][c], [&] { return at("inertia", c); });
    blocks_.push_back(block);
  }

  void eigenvalues() {
    Block block("eigenvalues", tolerance_);
    block.count("mode count", SBR_ModeCount(a_), SBR_ModeCount(b_));
    const char *const names[] = {"eigenvalue", "Hz", "rad/s", "generalized mass", "generalized stiffness"};
    for (int m = 0; m < std::min(SBR_ModeCount(a_), SBR_ModeCount(b_)); ++m) {
      double p[5] = {};
      double q[5] = {};
      const int known_a = SBR_Eigenvalue(a_, SBR_ModeNumber(a_, m), p, p + 1, p + 2, p + 3, p + 4);
      const int known_b = SBR_Eigenvalue(b_, SBR_ModeNumber(b_, m), q, q + 1, q + 2, q + 3, q + 4);
      block.count("eigenvalue known", known_a, known_b);
      for (int c = 0; c < 5; ++c) block.value(p[c], q[c], [&] { return at("mode", m + 1) + " " + names[c]; });
    }
    blocks_.push_back(block);
  }

  // The values of a kind at the nodes that both have, mode by mode.
  void modes() {
    const char *const names[] = {"mode shapes", "modal stress", "modal strain"};
    for (int kind = 0; kind < 3; ++kind) {
      Block block(names[kind], tolerance_);
      if (!in_both(block, SBR_ModeExist(a_, kind) != 0, SBR_ModeExist(b_, kind) != 0)) continue;
      block.count("node count", SBR_ModeNodeCount(a_, kind), SBR_ModeNodeCount(b_, kind));
      block.count("mode count", SBR_ModeCount(a_), SBR_ModeCount(b_));
      for (int m = 0; m < std::min(SBR_ModeCount(a_), SBR_ModeCount(b_)); ++m)
        for (int part = 0; part < 2; ++part) compare_part(block, kind, m, part);
      blocks_.push_back(block);
    }
  }

  void compare_part(Block &block, int kind, int m, int part) {
    const auto p = mode_part(a_, m, kind, part);
    const auto q = mode_part(b_, m, kind, part);
    for (std::size_t i = 0; 3 * i + 2 < p.size(); ++i) {
      const int id = SBR_ModeNodeID(a_, kind, static_cast<int>(i));
      const int k = SBR_ModeNodeIndex(b_, kind, id);
      const auto place = [&] { return at("mode", m + 1) + at(" node", id) + at(" part", part); };
      if (k < 0 || 3 * static_cast<std::size_t>(k) + 2 >= q.size()) {
        block.text(place(), "present", "missing");
        continue;
      }
      for (std::size_t c = 0; c < 3; ++c) block.value(p[3 * i + c], q[3 * static_cast<std::size_t>(k) + c], place);
    }
  }

  void matrices() {
    using Full = int (*)(SBR, double *, int);
    const struct {
      const char *name;
      int block;
      Full full;
    } kinds[] = {{"generalized stiffness", 11, SBR_GenStiffFull},
                 {"generalized mass", 12, SBR_GenMassFull},
                 {"generalized damping", 14, SBR_GenDampFull}};
    for (const auto &kind : kinds) {
      Block block(kind.name, tolerance_);
      if (!in_both(block, exists(a_, kind.block), exists(b_, kind.block))) continue;
      const int n = std::max(SBR_ModeCount(a_), SBR_ModeCount(b_)) + 6;
      const auto size = static_cast<std::size_t>(n) * static_cast<std::size_t>(n);
      std::vector<double> p(size);
      std::vector<double> q(size);
      kind.full(a_, p.data(), n);
      kind.full(b_, q.data(), n);
      for (std::size_t i = 0; i < size; ++i)
        block.value(p[i], q[i], [&] {
          return "(" + std::to_string(i / static_cast<std::size_t>(n) + 1) + ", " +
                 std::to_string(i % static_cast<std::size_t>(n) + 1) + ")";
        });
      blocks_.push_back(block);
    }
  }

  void transformation() {
    Block block("mode shape transformation", tolerance_);
    if (!in_both(block, exists(a_, 15), exists(b_, 15))) return;
    const auto n = static_cast<std::size_t>(SBR_ModeCount(a_));
    block.count("mode count", SBR_ModeCount(a_), SBR_ModeCount(b_));
    if (SBR_ModeCount(a_) == SBR_ModeCount(b_)) {
      std::vector<double> p(n * n);
      std::vector<double> q(n * n);
      SBR_Transformation(a_, p.data());
      SBR_Transformation(b_, q.data());
      for (std::size_t i = 0; i < n * n; ++i) block.value(p[i], q[i], [&] { return at("value", static_cast<int>(i)); });
    }
    blocks_.push_back(block);
  }

  void interface_nodes() {
    Block block("interface nodes", tolerance_);
    if (!in_both(block, exists(a_, 16), exists(b_, 16))) return;
    int n = 0;
    int m = 0;
    const Given<int> p(SBR_InterfaceNodeIDs(a_, &n));
    const Given<int> q(SBR_InterfaceNodeIDs(b_, &m));
    block.count("count", n, m);
    for (int i = 0; i < std::min(n, m) && p && q; ++i)
      block.value(p[static_cast<std::size_t>(i)], q[static_cast<std::size_t>(i)], [&] { return at("place", i + 1); });
    blocks_.push_back(block);
  }

  void compare_given(Block &block, const std::string &what, double *first, double *second, std::size_t count) {
    const Given<double> p(first);
    const Given<double> q(second);
    if (!p || !q) {
      block.text(what, p ? "present" : "missing", q ? "present" : "missing");
      return;
    }
    for (std::size_t i = 0; i < count; ++i)
      block.value(p[i], q[i], [&] { return what + at(" value", static_cast<int>(i)); });
  }

  void invariants() {
    const int modes = std::min(SBR_ModeCount(a_), SBR_ModeCount(b_));
    const auto M = static_cast<std::size_t>(modes);
    const int numbers[] = {1, 2, 3, 4, 5, 7, 8, 9};
    for (int i = 0; i < 8; ++i) {
      Block block("invariant " + std::to_string(numbers[i]), tolerance_);
      if (!in_both(block, exists(a_, 18 + i), exists(b_, 18 + i))) continue;
      block.count("mode count", SBR_ModeCount(a_), SBR_ModeCount(b_));
      if (SBR_ModeCount(a_) == SBR_ModeCount(b_)) compare_invariant(block, numbers[i], modes, M);
      blocks_.push_back(block);
    }
  }

  void compare_invariant(Block &block, int which, int modes, std::size_t M) {
    if (which == 1) block.count("value", SBR_Invar1(a_), SBR_Invar1(b_));
    if (which == 2) compare_given(block, "", SBR_Invar2(a_), SBR_Invar2(b_), 3);
    if (which == 3) compare_given(block, "", SBR_Invar3(a_), SBR_Invar3(b_), 3 * M);
    if (which == 4) compare_given(block, "", SBR_Invar4(a_), SBR_Invar4(b_), 3 * M);
    if (which == 7) compare_given(block, "", SBR_Invar7(a_), SBR_Invar7(b_), 9);
    for (int j = 0; j < modes; ++j) {
      if (which == 5) compare_given(block, at("mode", j + 1), SBR_Invar5(a_, j), SBR_Invar5(b_, j), 3 * M);
      if (which == 8) compare_given(block, at("mode", j + 1), SBR_Invar8(a_, j), SBR_Invar8(b_, j), 9);
      for (int k = 0; k < modes && which == 9; ++k)
        compare_given(block, at("modes", j + 1) + ", " + std::to_string(k + 1), SBR_Invar9(a_, j, k),
                      SBR_Invar9(b_, j, k), 9);
    }
  }

  void loads() {
    Block preload("modal preload", tolerance_);
    if (in_both(preload, exists(a_, 26), exists(b_, 26))) {
      int n = 0;
      int m = 0;
      double *p = SBR_GetModalPreload(a_, &n);
      double *q = SBR_GetModalPreload(b_, &m);
      preload.count("count", n, m);
      preload.count("on principal axes", SBR_ModalPreloadProcessed(a_), SBR_ModalPreloadProcessed(b_));
      compare_given(preload, "", p, q, static_cast<std::size_t>(std::min(n, m)));
      blocks_.push_back(preload);
    }
    Block modal("modal loads", tolerance_);
    if (in_both(modal, exists(a_, 27), exists(b_, 27))) {
      compare_modal_loads(modal);
      blocks_.push_back(modal);
    }
    Block nodal("nodal loads", tolerance_);
    if (in_both(nodal, exists(a_, 34), exists(b_, 34))) {
      compare_nodal_loads(nodal);
      blocks_.push_back(nodal);
    }
  }

  void compare_modal_loads(Block &block) {
    const int cases = std::min(SBR_GetModalLoadCaseCount(a_), SBR_GetModalLoadCaseCount(b_));
    block.count("case count", SBR_GetModalLoadCaseCount(a_), SBR_GetModalLoadCaseCount(b_));
    for (int i = 0; i < cases; ++i) {
      char p[257] = {};
      char q[257] = {};
      SBR_GetModalLoadCaseLabel(a_, i, p);
      SBR_GetModalLoadCaseLabel(b_, i, q);
      block.text(at("case", i + 1) + " label", p, q);
      block.count(at("case", i + 1) + " on principal axes", SBR_ModalLoadProcessed(a_, i),
                  SBR_ModalLoadProcessed(b_, i));
      int n = 0;
      int m = 0;
      double *x = SBR_GetModalLoad(a_, i, &n);
      double *y = SBR_GetModalLoad(b_, i, &m);
      block.count(at("case", i + 1) + " count", n, m);
      compare_given(block, at("case", i + 1), x, y, static_cast<std::size_t>(std::min(n, m)));
    }
  }

  void compare_nodal_loads(Block &block) {
    const int cases = std::min(SBR_GetModalLoadNodalCaseCount(a_), SBR_GetModalLoadNodalCaseCount(b_));
    block.count("case count", SBR_GetModalLoadNodalCaseCount(a_), SBR_GetModalLoadNodalCaseCount(b_));
    for (int i = 0; i < cases; ++i) {
      const int n = SBR_GetModalLoadNodalCount(a_, i);
      const int m = SBR_GetModalLoadNodalCount(b_, i);
      block.count(at("case", i + 1) + " count", n, m);
      const Given<int> nodes[2] = {Given<int>(SBR_GetModalLoadNodalNode(a_, i)),
                                   Given<int>(SBR_GetModalLoadNodalNode(b_, i))};
      const Given<int> places[2] = {Given<int>(SBR_GetModalLoadNodalCoord(a_, i)),
                                    Given<int>(SBR_GetModalLoadNodalCoord(b_, i))};
      const Given<double> values[2] = {Given<double>(SBR_GetModalLoadNodalLoad(a_, i)),
                                       Given<double>(SBR_GetModalLoadNodalLoad(b_, i))};
      for (std::size_t k = 0; k < static_cast<std::size_t>(std::min(n, m)); ++k) {
        const auto place = [&] { return at("case", i + 1) + at(" entry", static_cast<int>(k) + 1); };
        if (!nodes[0] || !nodes[1] || !places[0] || !places[1] || !values[0] || !values[1]) break;
        block.value(SBR_NodeID(a_, nodes[0][k]), SBR_NodeID(b_, nodes[1][k]), place);
        block.value(places[0][k], places[1][k], place);
        block.value(values[0][k], values[1][k], place);
      }
    }
  }

  // Figures of a mode without stress (or strain) are not asked for: the record has none.
  void statistics() {
    Block block("modal statistics", tolerance_);
    if (!in_both(block, exists(a_, 29), exists(b_, 29))) return;
    using Figure = int (*)(SBR, int, int *, double *);
    const struct {
      const char *name;
      Figure figure;
      int kind;
    } figures[] = {{"translation", SBR_GetMaxModeDisplacement, 0},
                   {"rotation", SBR_GetMaxModeRotation, 0},
                   {"stress", SBR_GetMaxVonMisesStress, 1},
                   {"strain", SBR_GetMaxVonMisesStrain, 2}};
    for (int m = 0; m < std::min(SBR_ModeCount(a_), SBR_ModeCount(b_)); ++m)
      for (const auto &one : figures) {
        if (SBR_ModeNodeCount(a_, one.kind) < 1 || SBR_ModeNodeCount(b_, one.kind) < 1) continue;
        double p = 0.0;
        double q = 0.0;
        one.figure(a_, SBR_ModeNumber(a_, m), nullptr, &p);
        one.figure(b_, SBR_ModeNumber(b_, m), nullptr, &q);
        block.value(p, q, [&] { return at("mode", m + 1) + " " + one.name; });
      }
    blocks_.push_back(block);
    for (int kind = 1; kind < 3; ++kind) pre_vectors(kind);
  }

  void pre_vectors(int kind) {
    Block block(kind == 1 ? "pre-stress" : "pre-strain", tolerance_);
    if (!in_both(block, exists(a_, 29 + kind), exists(b_, 29 + kind))) return;
    for (int part = 0; part < 2; ++part) {
      std::vector<double> values[2];
      for (int i = 0; i < 2; ++i) {
        SBR body = i == 0 ? a_ : b_;
        values[i].resize(3 * static_cast<std::size_t>(std::max(SBR_ModeNodeCount(body, kind), 1)));
        SBR_Mode(body, 0, kind, values[i].data(), part);
      }
      block.count("value count", static_cast<double>(values[0].size()), static_cast<double>(values[1].size()));
      for (std::size_t i = 0; i < std::min(values[0].size(), values[1].size()); ++i)
        block.value(values[0][i], values[1][i], [&] { return at("value", static_cast<int>(i)) + at(" part", part); });
    }
    blocks_.push_back(block);
  }

  void operators() {
    Block points("monitor points", tolerance_);
    if (in_both(points, exists(a_, 35), exists(b_, 35))) {
      compare_points(points);
      blocks_.push_back(points);
    }
    Block matrices_block("matrix operators", tolerance_);
    if (in_both(matrices_block, exists(a_, 33), exists(b_, 33))) {
      compare_operators(matrices_block);
      blocks_.push_back(matrices_block);
    }
  }

  void compare_points(Block &block) {
    block.count("point count", SBR_GetMonitorPointCount(a_), SBR_GetMonitorPointCount(b_));
    for (int i = 0; i < std::min(SBR_GetMonitorPointCount(a_), SBR_GetMonitorPointCount(b_)); ++i) {
      const std::string where = at("point", i + 1);
      char texts[2][2][64] = {};
      SBR_GetMonitorPointNameLabel(a_, i, texts[0][0], texts[0][1]);
      SBR_GetMonitorPointNameLabel(b_, i, texts[1][0], texts[1][1]);
      block.text(where + " name", texts[0][0], texts[1][0]);
      block.text(where + " label", texts[0][1], texts[1][1]);
      block.count(where + " type", SBR_GetMonitorPointType(a_, i), SBR_GetMonitorPointType(b_, i));
      block.count(where + " result type", SBR_GetMonitorPointResultType(a_, i), SBR_GetMonitorPointResultType(b_, i));
      block.count(where + " component", SBR_GetMonitorPointComponent(a_, i), SBR_GetMonitorPointComponent(b_, i));
      int rows[2] = {};
      int columns[2] = {};
      SBR_GetMonitorPointOperatorSize(a_, i, &rows[0], &columns[0]);
      SBR_GetMonitorPointOperatorSize(b_, i, &rows[1], &columns[1]);
      for (int type = 1; type <= 4; ++type) {
        const int has_a = SBR_MonitorPointHasOperator(a_, i, type);
        const int has_b = SBR_MonitorPointHasOperator(b_, i, type);
        block.count(where + at(" operator", type), has_a, has_b);
        const int loads_a = type == 4 ? SBR_GetMonitorPointNumLoadOperator(a_, i) : 1;
        const int loads_b = type == 4 ? SBR_GetMonitorPointNumLoadOperator(b_, i) : 1;
        if (has_a == 0 || has_b == 0 || rows[0] != rows[1] || columns[0] != columns[1] || loads_a != loads_b) continue;
        const auto size = static_cast<std::size_t>(rows[0]) * static_cast<std::size_t>(columns[0]) *
                          static_cast<std::size_t>(loads_a);
        std::vector<double> p(size);
        std::vector<double> q(size);
        SBR_GetMonitorPointOperator(a_, i, type, p.data());
        SBR_GetMonitorPointOperator(b_, i, type, q.data());
        for (std::size_t k = 0; k < size; ++k)
          block.value(p[k], q[k], [&] { return where + at(" operator", type) + at(" value", static_cast<int>(k)); });
      }
    }
  }

  void compare_operators(Block &block) {
    block.count("operator count", SBR_GetMatrixOperatorCount(a_), SBR_GetMatrixOperatorCount(b_));
    for (int i = 0; i < std::min(SBR_GetMatrixOperatorCount(a_), SBR_GetMatrixOperatorCount(b_)); ++i) {
      const std::string where = at("operator", i + 1);
      char names[2][81] = {};
      SBR_GetMatrixOperatorName(a_, i, names[0]);
      SBR_GetMatrixOperatorName(b_, i, names[1]);
      block.text(where + " name", names[0], names[1]);
      const int rows[2] = {SBR_GetMatrixOperatorNumRows(a_, i), SBR_GetMatrixOperatorNumRows(b_, i)};
      const int subs[2] = {SBR_GetMatrixOperatorNumSubOperator(a_, i), SBR_GetMatrixOperatorNumSubOperator(b_, i)};
      block.count(where + " rows", rows[0], rows[1]);
      block.count(where + " sub-operators", subs[0], subs[1]);
      for (int s = 0; rows[0] == rows[1] && s < std::min(subs[0], subs[1]); ++s) {
        const int columns[2] = {SBR_GetMatrixOperatorSubNumCols(a_, i, s), SBR_GetMatrixOperatorSubNumCols(b_, i, s)};
        block.count(where + at(" columns of", s + 1), columns[0], columns[1]);
        if (columns[0] != columns[1] || columns[0] < 1 || rows[0] < 1) continue;
        const auto size = static_cast<std::size_t>(rows[0]) * static_cast<std::size_t>(columns[0]);
        std::vector<double> p(size);
        std::vector<double> q(size);
        SBR_GetMatrixOperatorSubData(a_, i, s, p.data());
        SBR_GetMatrixOperatorSubData(b_, i, s, q.data());
        for (std::size_t k = 0; k < size; ++k)
          block.value(p[k], q[k], [&] { return where + at(" sub", s + 1) + at(" value", static_cast<int>(k)); });
      }
    }
  }

  SBR a_;
  SBR b_;
  Tolerance tolerance_;
  std::vector<Block> blocks_;
};

struct DiffOptions {
  std::string a;
  std::string b;
  std::optional<double> relative;
  double absolute = 0.0;
  bool json = false;
};

int run_diff(const DiffOptions &options) {
  const Body a = open_record(options.a);
  const Body b = open_record(options.b);
  const bool both_double = SBR_Double_Prec(a.get()) != 0 && SBR_Double_Prec(b.get()) != 0;
  const Tolerance tolerance{options.relative.value_or(both_double ? 1e-12 : 1e-6), options.absolute};
  // One file compared with itself comes as one shared body.
  const std::vector<Block> blocks = Comparison(a.get(), b.get(), tolerance).run();
  int different = 0;
  Json list = Json::array();
  Table table({"<block", "<result"});
  std::string places;
  for (const Block &block : blocks) {
    if (block.empty()) continue;
    different += block.same() ? 0 : 1;
    list.push_back(block.json());
    table.add({block.name(), block.verdict()});
    if (!block.worst().empty()) places += "  " + block.name() + ", " + block.worst() + '\n';
  }
  if (options.json) {
    std::cout << Json{{"a", options.a},
                      {"b", options.b},
                      {"rtol", tolerance.relative},
                      {"atol", tolerance.absolute},
                      {"different_blocks", different},
                      {"blocks", list}}
                     .dump(2)
              << '\n';
  } else {
    table.print();
    if (!places.empty()) std::cout << "worst places:\n" << places;
    std::cout << (different == 0 ? "equal within the tolerance" : std::to_string(different) + " block(s) differ")
              << '\n';
  }
  return different == 0 ? kDone : kFindings;
}

}  // namespace

void add_diff_command(CLI::App &app, int &exit_code) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App *diff = app.add_subcommand("diff", "Compare two records block by block, with the worst place of each");
  diff->add_option("A", options->a, "One record")->required();
  diff->add_option("B", options->b, "The other")->required();
  diff->add_option("--rtol", options->relative, "Relative tolerance (1e-12; 1e-6 when one is in single precision)");
  diff->add_option("--atol", options->absolute, "Absolute tolerance (0)");
  diff->add_flag("--json", options->json, "Print JSON");
  diff->footer("Ends with 1 when the records differ. Encoding, layout and precision alone are no difference.");
  diff->callback([options, &exit_code] { exit_code = run_diff(*options); });
}

}  // namespace sbrtool
