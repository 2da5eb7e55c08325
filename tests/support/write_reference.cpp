#include "support/write_reference.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>

namespace sbrtest {
namespace {

using Six = std::array<double, 6>;

// ---- what the public operations give, as values ---------------------------------------------------------------------

template <class T>
std::vector<T> taken(T *block, int count) {
  std::vector<T> values;
  if (block != nullptr && count > 0) values.assign(block, block + count);
  SBR_FreeMemory(block);
  return values;
}

std::string field(const char *text, std::size_t width) { return {text, width}; }

// Six values per position of the kind; by the twin's own number of the mode, 0 for the pre-vector.
std::vector<Six> six_vectors(SBR body, int number, int kind) {
  const auto count = static_cast<std::size_t>(SBR_ModeNodeCount(body, kind));
  std::vector<double> first(3 * count);
  std::vector<double> second(3 * count);
  if (SBR_Mode(body, number, kind, first.data(), 0) == 0 || SBR_Mode(body, number, kind, second.data(), 1) == 0)
    return {};
  std::vector<Six> all(count);
  for (std::size_t n = 0; n < count; ++n)
    for (std::size_t c = 0; c < 3; ++c) {
      all[n][c] = first[3 * n + c];
      all[n][c + 3] = second[3 * n + c];
    }
  return all;
}

bool any_nonzero(const Six &v) {
  for (const double value : v)
    if (value != 0.0) return true;
  return false;
}

double von_mises_squared(const Six &v) {
  return v[0] * v[0] + v[1] * v[1] + v[2] * v[2] - v[0] * v[1] - v[1] * v[2] - v[0] * v[2] +
         3 * (v[3] * v[3] + v[4] * v[4] + v[5] * v[5]);
}

// ---- one write ------------------------------------------------------------------------------------------------------

// Which blocks the record has, by index.
using Content = std::array<bool, 36>;

class Run {
 public:
  Run(Twin &twin, const std::string &options, const std::string &date)
      : twin_(twin), body_(twin.body), options_(options), date_(date) {}

  std::optional<RecordBuilder> result() {
    reduce();
    if (!choose_word()) return std::nullopt;
    RecordBuilder record(word_, xdr_, single_);
    put_header(record);
    if (!plan()) return std::nullopt;
    for (int block = 3; block <= 35; ++block)
      if (content_[static_cast<std::size_t>(block)] && !put(record, block)) return std::nullopt;
    return record;
  }

 private:
  [[nodiscard]] bool has(const char *keyword) const { return options_.find(keyword) != std::string::npos; }
  [[nodiscard]] bool exists(int block) const { return SBR_Exists(body_, block) != 0; }
  bool &content(int block) { return content_[static_cast<std::size_t>(block)]; }

  // The text between the first such bracket and the next closing one; the test gives no others.
  [[nodiscard]] std::optional<std::string> value(const std::string &keyword) const {
    const std::size_t at = options_.find(keyword + "(");
    if (at == std::string::npos) return std::nullopt;
    const std::size_t first = at + keyword.size() + 1;
    return options_.substr(first, options_.find(')', first) - first);
  }

  void reduce() {
    if (has("lbrf2cm")) SBR_ShiftLBRFtoCM(body_);
    if (const auto path = value("sketch")) SBR_SketchGrid(body_, path->c_str());
    if (has("strip_face")) SBR_StripCommonFaces(body_);
    if (const auto text = value("coarsen")) SBR_TrimGeometry(body_, text->c_str());
  }

  bool choose_word() {
    bool good = true;
    word_ = 0x13C;
    if (has("full_str")) {
      if (has("sparse_str")) good = false;
      word_ = 41;
    }
    if (has("single")) word_ = (word_ & 0xFFU) == 41 ? 51 : word_ | 0x200U;
    if (has("no_xdr")) {
      const std::uint32_t code = word_ & 0xFFU;
      word_ = code == 41 ? 40 : code == 51 ? 50 : word_ & ~0x100U;
    }
    const bool fits = !has("invar") && !has("single") && !has("sparse_str");
    if (has("82_comp")) {
      good = good && fits;
      word_ = 20;
    }
    if (has("81_comp")) {
      good = good && fits;
      word_ = 10;
    }
    xdr_ = word_ == 41 || word_ == 51 || (word_ & 0x100U) != 0;
    single_ = word_ == 50 || word_ == 51 || (word_ & 0x200U) != 0;
    if (SBR_IsCoarsened(body_) != 0) word_ |= 0x400U;
    return good;
  }

  void put_header(RecordBuilder &record) const {
    char title[129] = {};
    char name[129] = {};
    char type[17] = {};
    char comments[3][81] = {};
    SBR_Header(body_, title, nullptr, name, type, comments[0], comments[1], comments[2]);
    record.header(title, date_, name, type, comments[0], comments[1], comments[2], '\0');
  }

  // ---- the plan

  void plan_faces() {
    const bool old = word_ == 10 || word_ == 20;
    content(4) = old && (exists(13) || exists(4));
    content(13) = !old && (exists(13) || exists(4));
  }

  void orthonormalize() {
    first_ = 0;
    end_ = SBR_ModeCount(body_);
    exported_ = end_;
    if (has("no_ortho")) return;
    const bool done = SBR_OrthoNormalize(body_) != 0;
    const int modes = SBR_ModeCount(body_);
    if (done && (twin_.off_diagonal || !twin_.has_table)) {
      twin_.transformation_modes = twin_.numbers;
      for (int i = 0; i < modes; ++i) twin_.numbers[static_cast<std::size_t>(i)] = i + 1;
      twin_.has_table = true;
    }
    content(6) = modes > 0;
    content(15) = done;
    cut_range(modes);
  }

  void cut_range(int modes) {
    const double low = value("lowpass") ? std::atof(value("lowpass")->c_str()) : 1e8;
    const double high = value("highpass") ? std::atof(value("highpass")->c_str()) : -1.0;
    std::vector<double> hz(static_cast<std::size_t>(modes));
    std::vector<double> mass(hz.size());
    for (std::size_t i = 0; i < hz.size(); ++i)
      SBR_Eigenvalue(body_, own_number(static_cast<int>(i)), nullptr, &hz[i], nullptr, &mass[i], nullptr);
    first_ = 0;
    while (first_ < modes && !(hz[static_cast<std::size_t>(first_)] > high)) ++first_;
    if (first_ == modes) first_ = 0;
    end_ = 0;
    while (end_ < modes && mass[static_cast<std::size_t>(end_)] != 0.0 && !(hz[static_cast<std::size_t>(end_)] > low))
      ++end_;
    if (modes > 0) {
      const int shift = twin_.numbers[static_cast<std::size_t>(first_)] - 1;
      for (int &number : twin_.numbers) number -= shift;
    }
    exported_ = end_ - first_;
  }

  void compute_invariants() {
    if (has("full_invar")) {
      SBR_FullComputeInvars(body_);
      for (int block = 18; block <= 25; ++block) content(block) = true;
    } else if (has("fast_invar")) {
      SBR_FastComputeInvars(body_);
      for (int block = 18; block <= 25; ++block) content(block) = block != 22 && block != 25;
    } else if (has("invar")) {
      setup_ = false;
    }
  }

  void make_it_stand_alone() {
    SBR_RigidBodyForcesOnPrincipalAxes(body_);
    if (SBR_DampingOnPrincipalAxes(body_) != 0 && SBR_NumberOfGenDamp(body_) > 0) twin_.damping_turned = true;
    if (setup_) setup_ = SBR_DiscardUnreferencedNodes(body_) != 0;
  }

  bool plan() {
    for (const int block : {3, 7, 8, 9, 14, 16, 18, 19, 20, 21, 22, 23, 24, 25}) content(block) = exists(block);
    plan_faces();
    content(10) = true;
    content(11) = content(12) = has("no_ortho");
    orthonormalize();
    compute_invariants();
    if (content(20)) make_it_stand_alone();
    content(5) = content(20) || exists(5) || (exists(3) && exists(8));
    for (const int block : {17, 26, 27, 28, 30, 31, 33, 34, 35}) content(block) = exists(block);
    content(29) = exported_ > 0;
    if (exported_ < 0 && !has("empty")) return false;
    if (has("empty")) {
      content_ = {};
      content(5) = content(10) = true;
      for (const int block : {3, 8, 9, 16}) content(block) = exists(block);
      plan_faces();
      SBR_RigidComputeInvars(body_);
      content(18) = content(19) = content(23) = true;
    }
    if (has("MKS") && setup_) SBR_SetUnits(body_, "KILOGRAM", "METER", "SECOND", "NEWTON");
    return true;
  }

  // ---- blocks

  [[nodiscard]] int own_number(int mode) const { return SBR_ModeNumber(body_, mode); }
  [[nodiscard]] int number(int mode) const { return twin_.numbers[static_cast<std::size_t>(mode)]; }
  // The word ahead of a mode.
  void put_mode_word(FieldBytes &out, int mode) const {
    if (word_ != 10) out.integer(word_ == 20 ? 0 : number(mode));
  }

  bool put(RecordBuilder &record, int block) {
    FieldBytes &out = record.fresh(block);
    switch (block) {
      case 3:
        return put_nodes(out);
      case 4:
        return put_old_faces(out);
      case 5:
        return put_global(out);
      case 6:
        return put_eigenvalues(out);
      case 7:
        return put_shapes(out);
      case 8:
        return put_masses(out);
      case 9:
        return put_inertias(out);
      case 10:
        return put_units(out);
      case 11:
        return put_matrix(out, SBR_NumberOfGenStiff(body_), SBR_GenStiffSparse);
      case 12:
        return put_matrix(out, SBR_NumberOfGenMass(body_), SBR_GenMassSparse);
      case 13:
        return put_faces(out);
      case 14:
        return put_damping(out);
      case 15:
        return put_transformation(out);
      case 16:
        return put_interface_nodes(out);
      case 17:
        return put_kind(out, 1);
      case 28:
        return put_kind(out, 2);
      case 26:
        return put_preload(out);
      case 27:
        return put_loads(out);
      case 29:
        return put_statistics(out);
      case 30:
        return put_pre_vector(out, 1);
      case 31:
        return put_pre_vector(out, 2);
      case 33:
        return put_operators(out);
      case 34:
        return put_nodal_loads(out);
      case 35:
        return put_monitor_points(out);
      default:
        return put_invariant(out, block);
    }
  }

  bool put_nodes(FieldBytes &out) const {
    const int count = SBR_NodeCount(body_);
    out.integers({count, 3});
    for (int i = 0; i < count; ++i) {
      double xyz[3] = {};
      SBR_NodeCoordinates(body_, i, xyz);
      out.integer(SBR_NodeID(body_, i)).reals({xyz[0], xyz[1], xyz[2]});
    }
    return true;
  }

  [[nodiscard]] std::vector<std::vector<int>> faces() const {
    int count = 0;
    int length = 0;
    SBR_FaceListSize(body_, &count, &length);
    std::vector<int> list(static_cast<std::size_t>(length));
    if (length > 0) SBR_ElementFaces(body_, list.data());
    std::vector<std::vector<int>> all;
    for (std::size_t at = 0; at < list.size(); at += static_cast<std::size_t>(list[at]) + 1)
      all.emplace_back(list.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                       list.begin() + static_cast<std::ptrdiff_t>(at) + 1 + list[at]);
    return all;
  }

  bool put_old_faces(FieldBytes &out) const {
    const auto all = faces();
    out.integers({static_cast<int>(all.size()), 12});
    for (int group = 0; group < 12; ++group) {
      int size = 0;
      for (const auto &face : all) size += static_cast<int>(face.size()) == group + 2 ? 1 : 0;
      out.integers({group, size, group + 2});
    }
    for (int group = 0; group < 12; ++group)
      for (const auto &face : all) {
        if (static_cast<int>(face.size()) != group + 2) continue;
        out.integers({0, 0});
        for (const int node : face) out.integer(SBR_NodeID(body_, node));
      }
    return true;
  }

  bool put_faces(FieldBytes &out) const {
    const auto all = faces();
    int length = 0;
    for (const auto &face : all) length += static_cast<int>(face.size()) + 1;
    if (length == 0) return false;
    out.integers({4 * length + 16, 0, static_cast<int>(all.size()), length});
    for (const auto &face : all) out.integer(static_cast<int>(face.size())).integers(face);
    return true;
  }

  bool put_global(FieldBytes &out) const {
    const double mass = SBR_Invar1(body_);
    const std::vector<double> moment = taken(SBR_Invar2(body_), 3);
    const std::vector<double> inertia = taken(SBR_Invar7(body_), 9);
    if (moment.empty() || inertia.empty()) return false;
    out.real(mass);
    for (const double m : moment) out.real(mass != 0.0 ? m / mass : 0.0);
    for (std::size_t p = 0; p < 9; ++p) out.real(p % 4 == 0 ? inertia[p] : -inertia[p]);
    return true;
  }

  bool put_eigenvalues(FieldBytes &out) const {
    out.integer(exported_);
    for (int m = first_; m < end_; ++m) {
      double row[5] = {};
      if (SBR_Eigenvalue(body_, own_number(m), &row[0], &row[1], &row[2], &row[3], &row[4]) == 0) return false;
      out.integer(number(m)).reals({row, row + 5});
    }
    return true;
  }

  // The figure of a mode, counted from the first exported one.
  void note(int mode, std::size_t slot, int id, double square) {
    auto &[ids, values] = statistics_[mode - first_];
    ids.resize(13);
    values.resize(13);
    ids[slot] = id;
    values[slot] = std::sqrt(square);
  }

  bool put_shapes(FieldBytes &out) {
    const int nodes = SBR_NodeCount(body_);
    out.integers({exported_, nodes});
    for (int i = 0; i < nodes; ++i) out.integer(SBR_NodeID(body_, i));
    if (nodes == 0) return false;
    for (int m = first_; m < end_; ++m) {
      const std::vector<Six> shape = six_vectors(body_, own_number(m), 0);
      if (static_cast<int>(shape.size()) != nodes) return false;
      put_mode_word(out, m);
      double best[2] = {};
      int id[2] = {};
      for (int i = 0; i < nodes; ++i) {
        const Six &v = shape[static_cast<std::size_t>(i)];
        for (const int half : {0, 1}) {
          const auto c = static_cast<std::size_t>(3 * half);
          const double square = v[c] * v[c] + v[c + 1] * v[c + 1] + v[c + 2] * v[c + 2];
          if (!(square > best[half])) continue;
          best[half] = square;
          id[half] = SBR_NodeID(body_, i);
        }
        out.reals({v.begin(), v.end()});
      }
      note(m, 0, id[0], best[0]);
      note(m, 1, id[1], best[1]);
    }
    return true;
  }

  bool put_masses(FieldBytes &out) const {
    const int count = SBR_NodeCount(body_);
    out.integers({count, 1});
    for (int i = 0; i < count; ++i) out.integer(SBR_NodeID(body_, i)).real(SBR_NodalMass(body_, i));
    return true;
  }

  bool put_inertias(FieldBytes &out) const {
    constexpr int kPlaces[6][3] = {{0, 4, 4}, {1, 4, 5}, {2, 4, 6}, {4, 5, 5}, {5, 5, 6}, {8, 6, 6}};
    int count = 0;
    FieldBytes rows(xdr_, single_);
    for (int i = 0; i < SBR_NodeCount(body_); ++i) {
      double matrix[9] = {};
      if (SBR_NodalInertia(body_, i, matrix) == 0) continue;
      for (const auto &[place, row, column] : kPlaces) {
        if (matrix[place] == 0.0) continue;
        ++count;
        rows.integer(SBR_NodeID(body_, i)).character(row).character(column).real(matrix[place]);
      }
    }
    out.integer(count).raw(rows.bytes());
    return true;
  }

  bool put_units(FieldBytes &out) const {
    char labels[4][17] = {};
    SBR_Units(body_, labels[0], labels[1], labels[2], labels[3]);
    for (const auto &label : labels) out.text(label, 16);
    return true;
  }

  bool put_matrix(FieldBytes &out, int count, int (*sparse)(SBR, double *, int *, int *)) const {
    if (count < 1) return false;
    std::vector<double> values(static_cast<std::size_t>(count));
    std::vector<int> rows(values.size());
    std::vector<int> columns(values.size());
    if (sparse(body_, values.data(), rows.data(), columns.data()) == 0) return false;
    out.integers({count, exported_});
    for (std::size_t i = 0; i < values.size(); ++i)
      out.integers({number(rows[i]), number(columns[i])}).real(values[i]).integer(1);
    return true;
  }

  bool put_damping(FieldBytes &out) const {
    const int count = SBR_NumberOfGenDamp(body_);
    if (count < 1) return false;
    std::vector<double> values(static_cast<std::size_t>(count));
    std::vector<int> rows(values.size());
    std::vector<int> columns(values.size());
    if (SBR_GenDampSparse(body_, values.data(), rows.data(), columns.data()) == 0) return false;
    out.integers({count, twin_.damping_turned ? 1 : 0});
    for (std::size_t i = 0; i < values.size(); ++i)
      out.integers({rows[i] + 1, columns[i] + 1}).real(values[i]).integer(1);
    return true;
  }

  bool put_transformation(FieldBytes &out) const {
    const int modes = SBR_ModeCount(body_);
    std::vector<double> matrix(static_cast<std::size_t>(modes) * static_cast<std::size_t>(modes));
    if (SBR_Transformation(body_, matrix.data()) == 0) return false;
    out.integer(modes);
    out.integers(twin_.transformation_modes.empty() ? twin_.numbers : twin_.transformation_modes).reals(matrix);
    return true;
  }

  bool put_interface_nodes(FieldBytes &out) const {
    int count = 0;
    int *nodes = SBR_InterfaceNodes(body_, &count);
    out.integer(count).integers(taken(nodes, count));
    return true;
  }

  // ---- stress and strain

  [[nodiscard]] bool is_expanded(int kind) const {
    for (const std::uint32_t old : {10U, 20U, 30U, 31U, 40U, 41U, 50U, 51U})
      if (word_ == old) return SBR_ModeNodeCount(body_, kind) != SBR_NodeCount(body_);
    return false;
  }

  struct Entry {
    int id;
    int position;  // of the kind; -1 for a node without data
  };

  // The written entries of a kind. Pre-stress and pre-strain go by the list of their modes.
  std::vector<Entry> entries(int kind) {
    std::vector<Entry> list;
    if (is_expanded(kind)) {
      for (int i = 0; i < SBR_NodeCount(body_); ++i) {
        const int id = SBR_NodeID(body_, i);
        list.push_back({id, SBR_ModeNodeIndex(body_, kind, id)});
      }
      return list;
    }
    std::vector<std::vector<Six>> sources;
    if (content(kind == 1 ? 30 : 31)) sources.push_back(six_vectors(body_, 0, kind));
    for (int m = first_; m < end_; ++m) sources.push_back(six_vectors(body_, own_number(m), kind));
    for (int p = 0; p < SBR_ModeNodeCount(body_, kind); ++p) {
      bool keep = !has("sparse_str");
      for (const auto &source : sources) keep = keep || any_nonzero(source.at(static_cast<std::size_t>(p)));
      if (keep) list.push_back({SBR_ModeNodeID(body_, kind, p), p});
    }
    return list;
  }

  void put_entries(FieldBytes &out, const std::vector<Entry> &list, const std::vector<Six> &values) const {
    for (const Entry &entry : list) {
      const Six six = entry.position < 0 ? Six{} : values.at(static_cast<std::size_t>(entry.position));
      out.reals({six.begin(), six.end()});
    }
  }

  bool put_kind(FieldBytes &out, int kind) {
    if (SBR_ModeNodeCount(body_, kind) < 1) return false;
    const std::vector<Entry> list = entries(kind);
    out.integers({exported_, static_cast<int>(list.size())});
    for (const Entry &entry : list) out.integer(entry.id);
    for (int m = first_; m < end_; ++m) {
      const std::vector<Six> values = six_vectors(body_, own_number(m), kind);
      if (values.empty()) return false;
      put_mode_word(out, m);
      put_entries(out, list, values);
      double best = 0.0;
      int id = 0;
      for (const Entry &entry : list) {
        if (entry.position < 0) continue;
        const double square = von_mises_squared(values[static_cast<std::size_t>(entry.position)]);
        if (!(square > best)) continue;
        best = square;
        id = SBR_ModeNodeID(body_, kind, entry.position);
      }
      note(m, kind == 1 ? 2 : 3, id, best);
    }
    return true;
  }

  bool put_pre_vector(FieldBytes &out, int kind) {
    const std::vector<Six> values = six_vectors(body_, 0, kind);
    if (values.empty()) return false;
    const std::vector<Entry> list = entries(kind);
    out.integer(static_cast<int>(list.size()));
    put_entries(out, list, values);
    return true;
  }

  bool put_statistics(FieldBytes &out) {
    out.integer(exported_);
    for (int m = 0; m < exported_; ++m) {
      auto &[ids, values] = statistics_[m];
      ids.resize(13);
      values.resize(13);
      out.integers(ids).reals(values);
    }
    return true;
  }

  // ---- invariants

  void put_columns(FieldBytes &out, const std::vector<double> &rows) const {
    const int modes = SBR_ModeCount(body_);
    for (int c = 0; c < 3; ++c)
      for (int m = first_; m < end_; ++m) out.real(rows.at(static_cast<std::size_t>(c * modes + m)));
  }

  bool put_invariant(FieldBytes &out, int block) const {
    const int modes = SBR_ModeCount(body_);
    if (block == 18) out.real(SBR_Invar1(body_));
    if (block == 19) out.reals(taken(SBR_Invar2(body_), 3));
    if (block == 23) out.reals(taken(SBR_Invar7(body_), 9));
    if (block == 18 || block == 19 || block == 23) return true;
    if (modes == 0) return false;
    out.integer(exported_);
    if (block == 20) put_columns(out, taken(SBR_Invar3(body_), 3 * modes));
    if (block == 21) put_columns(out, taken(SBR_Invar4(body_), 3 * modes));
    for (int j = first_; j < end_; ++j) {
      if (block == 22) put_columns(out, taken(SBR_Invar5(body_, j), 3 * modes));
      if (block == 24) out.reals(taken(SBR_Invar8(body_, j), 9));
      for (int k = first_; block == 25 && k < end_; ++k) out.reals(taken(SBR_Invar9(body_, j, k), 9));
    }
    return true;
  }

  // ---- loads, operators, monitor points

  void put_range(FieldBytes &out, const std::vector<double> &values) const {
    for (int m = first_; m < end_; ++m) out.real(values.at(static_cast<std::size_t>(m)));
  }

  bool put_preload(FieldBytes &out) const {
    int count = 0;
    double *values = SBR_GetModalPreload(body_, &count);
    if (count == 0) return false;
    out.integers({exported_, SBR_ModalPreloadProcessed(body_)});
    put_range(out, taken(values, count));
    return true;
  }

  bool put_loads(FieldBytes &out) const {
    const int cases = SBR_GetModalLoadCaseCount(body_);
    out.integers({exported_, cases});
    for (int i = 0; i < cases; ++i) {
      char label[256] = {};
      SBR_GetModalLoadCaseLabel(body_, i, label);
      out.text(field(label, 256), 256).integer(SBR_ModalLoadProcessed(body_, i));
      int count = 0;
      double *values = SBR_GetModalLoad(body_, i, &count);
      put_range(out, taken(values, count));
    }
    return true;
  }

  bool put_operators(FieldBytes &out) const {
    const int count = SBR_GetMatrixOperatorCount(body_);
    out.integer(count);
    for (int op = 0; op < count; ++op) {
      const int rows = SBR_GetMatrixOperatorNumRows(body_, op);
      char name[81] = {};
      SBR_GetMatrixOperatorName(body_, op, name);
      out.integer(rows).text(name, 8);
      std::vector<std::array<char, 81>> labels(static_cast<std::size_t>(rows));
      std::vector<char *> pointers;
      for (auto &label : labels) pointers.push_back(label.data());
      SBR_GetMatrixOperatorLabels(body_, op, pointers.data());
      for (const auto &label : labels) out.text(label.data(), 80);
      const int subs = SBR_GetMatrixOperatorNumSubOperator(body_, op);
      out.integer(subs);
      for (int sub = 0; sub < subs; ++sub) {
        const int columns = SBR_GetMatrixOperatorSubNumCols(body_, op, sub);
        char tag[9] = {};
        SBR_GetMatrixOperatorSubTag(body_, op, sub, tag);
        std::vector<double> data(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
        SBR_GetMatrixOperatorSubData(body_, op, sub, data.data());
        out.integer(columns).text(tag, 8).reals(data);
      }
    }
    return true;
  }

  bool put_nodal_loads(FieldBytes &out) const {
    const int cases = SBR_GetModalLoadNodalCaseCount(body_);
    out.integer(cases);
    for (int i = 0; i < cases; ++i) {
      const int count = SBR_GetModalLoadNodalCount(body_, i);
      out.integer(count);
      if (count < 1) continue;
      const std::vector<int> nodes = taken(SBR_GetModalLoadNodalNode(body_, i), count);
      const std::vector<int> coordinates = taken(SBR_GetModalLoadNodalCoord(body_, i), count);
      const std::vector<double> loads = taken(SBR_GetModalLoadNodalLoad(body_, i), count);
      for (std::size_t k = 0; k < nodes.size(); ++k) out.integers({nodes[k], coordinates[k]}).real(loads[k]);
    }
    return true;
  }

  bool put_monitor_points(FieldBytes &out) const {
    const int count = SBR_GetMonitorPointCount(body_);
    out.integer(count);
    for (int i = 0; i < count; ++i) {
      char name[10] = {};
      char label[60] = {};
      SBR_GetMonitorPointNameLabel(body_, i, name, label);
      int rows = 0;
      int columns = 0;
      SBR_GetMonitorPointOperatorSize(body_, i, &rows, &columns);
      const int loads = SBR_GetMonitorPointNumLoadOperator(body_, i);
      int flags = 0;
      for (int type = 1; type <= 4; ++type) flags |= SBR_MonitorPointHasOperator(body_, i, type);
      out.integers({SBR_GetMonitorPointType(body_, i), SBR_GetMonitorPointResultType(body_, i),
                    SBR_GetMonitorPointComponent(body_, i)});
      out.text(name, 8).text(label, 56).integers({rows, loads, flags});
      for (int type = 1; type <= 4; ++type) {
        if (SBR_MonitorPointHasOperator(body_, i, type) == 0) continue;
        std::vector<double> data(static_cast<std::size_t>(rows * columns * (type == 4 ? loads : 1)));
        SBR_GetMonitorPointOperator(body_, i, type, data.data());
        out.reals(data);
      }
    }
    return true;
  }

  Twin &twin_;
  SBR body_;
  const std::string &options_;
  const std::string &date_;
  std::uint32_t word_ = 0;
  bool xdr_ = false;
  bool single_ = false;
  bool setup_ = true;
  Content content_{};
  int first_ = 0;
  int end_ = 0;
  int exported_ = 0;
  std::map<int, std::pair<std::vector<int>, std::vector<double>>> statistics_;  // by exported mode
};

}  // namespace

Twin twin_of(SBR body, bool off_diagonal) {
  Twin twin;
  twin.body = body;
  twin.off_diagonal = off_diagonal;
  for (int i = 0; i < SBR_ModeCount(body); ++i) twin.numbers.push_back(SBR_ModeNumber(body, i));
  return twin;
}

std::optional<RecordBuilder> reference_write(Twin &twin, const std::string &options, const std::string &date) {
  return Run(twin, options, date).result();
}

}  // namespace sbrtest
