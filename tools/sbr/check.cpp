// sbr check: whether a record is sound, each finding with its figure.
#include <Eigen/Dense>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <set>

#include "comparing.h"
#include "session.h"

namespace sbrtool {
namespace {

enum class Verdict { good, note, bad };

struct Finding {
  Verdict verdict;
  std::string subject;
  std::string text;
  double figure;
};

constexpr const char *kWords[] = {"ok", "note", "FAIL"};

// What a check compares against. Single-precision records cannot agree better than their reals.
struct Tolerances {
  double relative;
  double rigid = 1e-3;
};

class Checker {
 public:
  Checker(SBR body, std::string path, const Tolerances &tolerances)
      : body_(body), path_(std::move(path)), tolerances_(tolerances) {}

  std::vector<Finding> run() {
    check_sizes();
    check_references();
    check_finite();
    check_eigenvalues();
    check_generalized_masses();
    check_invariants();
    check_rigid_modes();
    return findings_;
  }

 private:
  void add(bool good, const std::string &subject, const std::string &text, double figure) {
    findings_.push_back({good ? Verdict::good : Verdict::bad, subject, text, figure});
  }
  void note(const std::string &subject, const std::string &text, double figure) {
    findings_.push_back({Verdict::note, subject, text, figure});
  }

  // The blocks, one behind the other, are the file.
  void check_sizes() {
    std::int64_t sum = 0;
    for (int block = 0; block < 36; ++block) sum += SBR_size_of_block(body_, block);
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path_));
    const auto excess = static_cast<double>(size - sum);
    const std::string text = "blocks hold " + std::to_string(sum) + " bytes, the file " + std::to_string(size);
    // Version 3 stress blocks have no mode words although their size counts them, and a monitor point with other than
    // one load operator is sized by rule only: neither is a fault of the file.
    const bool by_rule = SBR_Version(body_) / 10 == 3 || SBR_Exists(body_, 35) != 0;
    if (excess == 0.0 || !by_rule)
      add(excess == 0.0, "sizes", text, excess);
    else
      note("sizes", text + " (the size rule of this layout is not exact)", excess);
  }

  void check_references() {
    const int nodes = SBR_NodeCount(body_);
    std::set<int> ids;
    for (int i = 0; i < nodes; ++i) ids.insert(SBR_NodeID(body_, i));
    add(static_cast<int>(ids.size()) == nodes, "references", "node IDs that stand more than once",
        nodes - static_cast<double>(ids.size()));
    int faces = 0;
    int length = 0;
    SBR_FaceListSize(body_, &faces, &length);
    std::vector<int> list(static_cast<std::size_t>(std::max(length, 0)) + 1);
    int wrong = 0;
    int small = 0;
    int counted = 0;
    if (length > 0 && SBR_ElementFaces(body_, list.data()) != 0)
      for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
        const int vertices = list[at++];
        ++counted;
        small += vertices < 3 ? 1 : 0;
        if (vertices < 0 || at + static_cast<std::size_t>(vertices) > static_cast<std::size_t>(length)) {
          ++wrong;
          break;
        }
        for (int k = 0; k < vertices; ++k, ++at) wrong += list[at] < 0 || list[at] >= nodes ? 1 : 0;
      }
    add(wrong == 0, "references", "face vertices outside the node table", wrong);
    add(counted == faces, "references", "faces announced but not listed", faces - counted);
    if (small > 0) note("references", "faces of fewer than three vertices", small);
    int interface_count = 0;
    const Given<int> interface_nodes(SBR_InterfaceNodes(body_, &interface_count));
    int wrong_interface = 0;
    for (int i = 0; i < interface_count && interface_nodes; ++i)
      wrong_interface +=
          interface_nodes[static_cast<std::size_t>(i)] < 0 || interface_nodes[static_cast<std::size_t>(i)] >= nodes ? 1
                                                                                                                    : 0;
    add(wrong_interface == 0, "references", "interface nodes outside the node table", wrong_interface);
  }

  void check_finite() {
    int odd = 0;
    for (int i = 0; i < SBR_NodeCount(body_); ++i) {
      double mass = 0.0;
      double xyz[3];
      SBR_NodalMassAndGeometry(body_, i, &mass, xyz);
      odd += std::isfinite(mass) && std::isfinite(xyz[0]) && std::isfinite(xyz[1]) && std::isfinite(xyz[2]) ? 0 : 1;
    }
    add(odd == 0, "finite values", "nodes with coordinates or mass that are no numbers", odd);
    static const char *const kinds[] = {"mode shapes", "modal stress vectors", "modal strain vectors"};
    for (int kind = 0; kind < 3; ++kind) {
      if (SBR_ModeExist(body_, kind) == 0) continue;
      int bad_modes = 0;
      const int errors = reported_errors();
      for (int m = 0; m < SBR_ModeCount(body_); ++m) {
        bool good = true;
        for (int part = 0; part < 2; ++part) {
          const auto values = mode_part(body_, m, kind, part);
          for (const double value : values) good = good && std::isfinite(value);
        }
        bad_modes += good ? 0 : 1;
      }
      add(bad_modes == 0, "finite values", std::string(kinds[kind]) + " with values that are no numbers", bad_modes);
      add(reported_errors() == errors, "finite values", std::string(kinds[kind]) + " that cannot be read",
          reported_errors() - errors);
    }
  }

  // Eigenvalue, frequency, generalized mass and stiffness of each mode belong together.
  void check_eigenvalues() {
    const double ucf = SBR_UCF(body_);
    double worst_ratio = 0.0;
    double worst_hz = 0.0;
    int without = 0;
    for (int m = 0; m < SBR_ModeCount(body_); ++m) {
      double e = 0.0;
      double hz = 0.0;
      double rad = 0.0;
      double mass = 0.0;
      double stiffness = 0.0;
      if (SBR_Eigenvalue(body_, SBR_ModeNumber(body_, m), &e, &hz, &rad, &mass, &stiffness) == 0) {
        ++without;
        continue;
      }
      const double scale = std::max(std::fabs(e), 1e-6);
      if (mass != 0.0) worst_ratio = std::max(worst_ratio, std::fabs(e - stiffness / mass) / scale);
      const double expected = (e < 0.0 ? -std::sqrt(-e * ucf) : std::sqrt(e * ucf)) / 6.28318530718;
      // Old records may give the frequency of a negative eigenvalue as no number.
      if (std::isfinite(hz))
        worst_hz = std::max(worst_hz, std::fabs(hz - expected) / std::max(std::fabs(expected), 1e-3));
    }
    if (SBR_ModeCount(body_) == 0) return;
    if (without != 0) note("eigenvalues", "modes without eigenvalue (matrices that are not diagonal)", without);
    add(worst_ratio <= tolerances_.relative, "eigenvalues", "against generalized stiffness over mass, relative",
        worst_ratio);
    add(worst_hz <= tolerances_.relative, "eigenvalues", "against frequencies, relative", worst_hz);
  }

  void check_generalized_masses() {
    if (SBR_ModeCount(body_) == 0) return;
    double worst = 0.0;
    for (int m = 0; m < SBR_ModeCount(body_); ++m) {
      double mass = 0.0;
      if (SBR_Eigenvalue(body_, SBR_ModeNumber(body_, m), nullptr, nullptr, nullptr, &mass, nullptr) == 0) return;
      worst = std::max(worst, std::fabs(mass - 1.0));
    }
    add(worst <= 1e-6, "generalized masses", "away from 1", worst);
    if (SBR_Exists(body_, 8) == 0 || SBR_ModeExist(body_, 0) == 0) return;
    double nodal = 0.0;
    for (int m = 0; m < SBR_ModeCount(body_); ++m) {
      const auto shape = mode_part(body_, m, 0, 0);
      double sum = 0.0;
      for (std::size_t i = 0; 3 * i + 2 < shape.size(); ++i)
        sum +=
            SBR_NodalMass(body_, static_cast<int>(i)) *
            (shape[3 * i] * shape[3 * i] + shape[3 * i + 1] * shape[3 * i + 1] + shape[3 * i + 2] * shape[3 * i + 2]);
      nodal = std::max(nodal, std::fabs(sum - 1.0));
    }
    note("generalized masses", "from shapes and nodal masses (lumped), away from 1", nodal);
  }

  // Stored invariants against sums over the nodes and modes of the record.
  void check_invariants() {
    if (SBR_Exists(body_, 8) == 0) return;
    const int nodes = SBR_NodeCount(body_);
    Eigen::VectorXd masses(nodes);
    Eigen::Matrix3Xd at(3, nodes);
    for (int i = 0; i < nodes; ++i) {
      double mass = 0.0;
      SBR_NodalMassAndGeometry(body_, i, &mass, at.col(i).data());
      masses[i] = mass;
    }
    // Reductions drop nodes after the invariants were taken: what is left of the nodes cannot give them again.
    if (const double stored = SBR_Invar1(body_);
        SBR_Exists(body_, 18) != 0 && stored > 0.0 && masses.sum() < stored * (1.0 - 1e-6)) {
      note("invariants", "share of the stored mass that the nodes of the record hold; not recomputed",
           masses.sum() / stored);
      return;
    }
    if (SBR_Exists(body_, 18) != 0) compare("invariant 1", SBR_Invar1(body_), masses.sum(), std::fabs(masses.sum()));
    const Eigen::Vector3d first_moment = at * masses;
    const double extent = std::max(SBR_BodySize(body_), at.cwiseAbs().maxCoeff());
    const double total = masses.cwiseAbs().sum();
    if (SBR_Exists(body_, 19) != 0) {
      const Given<double> stored(SBR_Invar2(body_));
      for (int c = 0; c < 3 && stored; ++c)
        compare("invariant 2", stored[static_cast<std::size_t>(c)], first_moment[c], total * extent);
    }
    if (SBR_Exists(body_, 23) != 0) compare_inertia(masses, at, total * extent * extent);
    if (SBR_ModeExist(body_, 0) != 0) compare_modal_invariants(masses, at);
    for (const auto &[name, worst] : worst_of_invariant_)
      add(worst <= tolerances_.relative * 10.0, name, "stored against recomputed from nodes and modes, relative",
          worst);
  }

  void compare(const std::string &name, double stored, double computed, double scale) {
    double &worst = worst_of_invariant_[name];
    const double difference = std::fabs(stored - computed) / (scale > 0.0 ? scale : 1.0);
    worst = std::isnan(difference) ? difference : std::max(worst, difference);
  }

  void compare_inertia(const Eigen::VectorXd &masses, const Eigen::Matrix3Xd &at, double scale) {
    const Given<double> stored(SBR_Invar7(body_));
    Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
    for (int i = 0; i < masses.size(); ++i) {
      const Eigen::Vector3d r = at.col(i);
      sum += masses[i] * (r.dot(r) * Eigen::Matrix3d::Identity() - r * r.transpose());
      double nine[9];
      if (SBR_NodalInertia(body_, i, nine) != 0) sum += Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(nine);
    }
    for (int r = 0; r < 3 && stored; ++r)
      for (int c = 0; c < 3; ++c) compare("invariant 7", stored[static_cast<std::size_t>(3 * r + c)], sum(r, c), scale);
  }

  // Invariants 3 to 5, 8 and 9 of each mode (pair).
  void compare_modal_invariants(const Eigen::VectorXd &masses, const Eigen::Matrix3Xd &at) {
    const int modes = SBR_ModeCount(body_);
    const auto M = static_cast<std::size_t>(modes);
    const Given<double> third(SBR_Exists(body_, 20) != 0 ? SBR_Invar3(body_) : nullptr);
    const Given<double> fourth(SBR_Exists(body_, 21) != 0 ? SBR_Invar4(body_) : nullptr);
    const bool eighth = SBR_Exists(body_, 24) != 0;
    const bool pairs = SBR_Exists(body_, 22) != 0 || SBR_Exists(body_, 25) != 0;
    if (!third && !fourth && !eighth && !pairs) return;
    for (std::size_t j = 0; j < M; ++j) {
      const Eigen::Matrix3Xd phi = matrix_of(static_cast<int>(j), 0, masses.size());
      const double size = std::max(phi.cwiseAbs().maxCoeff(), 1e-300) * masses.cwiseAbs().sum();
      const double extent = std::max(at.cwiseAbs().maxCoeff(), 1e-300);
      const Eigen::Vector3d three = phi * masses;
      for (std::size_t c = 0; c < 3 && third; ++c)
        compare("invariant 3", third[c * M + j], three[static_cast<int>(c)], size);
      if (fourth) compare_fourth(j, M, fourth.get(), phi, masses, at, size * extent);
      if (eighth) {
        const Given<double> stored(SBR_Invar8(body_, static_cast<int>(j)));
        if (stored) compare_tilde_product("invariant 8", stored.get(), at, phi, masses, size * extent);
      }
      if (pairs) compare_pairs(static_cast<int>(j), phi, masses, size);
    }
  }

  void compare_fourth(std::size_t j, std::size_t M, const double *fourth, const Eigen::Matrix3Xd &phi,
                      const Eigen::VectorXd &masses, const Eigen::Matrix3Xd &at, double scale) {
    const Eigen::Matrix3Xd theta = matrix_of(static_cast<int>(j), 1, masses.size());
    Eigen::Vector3d sum = Eigen::Vector3d::Zero();
    for (int i = 0; i < masses.size(); ++i) {
      sum += masses[i] * at.col(i).cross(phi.col(i));
      double nine[9];
      if (SBR_NodalInertia(body_, i, nine) != 0)
        sum += Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(nine) * theta.col(i);
    }
    for (std::size_t c = 0; c < 3; ++c) compare("invariant 4", fourth[c * M + j], sum[static_cast<int>(c)], scale);
  }

  // sum of m ~a ~b, with ~a ~b = b a^T - (a . b) E.
  void compare_tilde_product(const std::string &name, const double *stored, const Eigen::Matrix3Xd &a,
                             const Eigen::Matrix3Xd &b, const Eigen::VectorXd &masses, double scale) {
    const Eigen::Matrix3d outer = b * masses.asDiagonal() * a.transpose();
    const Eigen::Matrix3d sum = outer - outer.trace() * Eigen::Matrix3d::Identity();
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) compare(name, stored[3 * r + c], sum(r, c), scale);
  }

  void compare_pairs(int j, const Eigen::Matrix3Xd &phi_j, const Eigen::VectorXd &masses, double size_j) {
    const auto M = static_cast<std::size_t>(SBR_ModeCount(body_));
    const Given<double> fifth(SBR_Exists(body_, 22) != 0 ? SBR_Invar5(body_, j) : nullptr);
    for (int k = 0; k < static_cast<int>(M); ++k) {
      const Eigen::Matrix3Xd phi_k = matrix_of(k, 0, masses.size());
      const double scale = size_j * std::max(phi_k.cwiseAbs().maxCoeff(), 1e-300);
      Eigen::Vector3d sum = Eigen::Vector3d::Zero();
      for (int i = 0; i < masses.size(); ++i) sum += masses[i] * phi_j.col(i).cross(phi_k.col(i));
      for (std::size_t c = 0; c < 3 && fifth; ++c)
        compare("invariant 5", fifth[c * M + static_cast<std::size_t>(k)], sum[static_cast<int>(c)], scale);
      if (SBR_Exists(body_, 25) == 0) continue;
      const Given<double> ninth(SBR_Invar9(body_, j, k));
      if (ninth) compare_tilde_product("invariant 9", ninth.get(), phi_j, phi_k, masses, scale);
    }
  }

  Eigen::Matrix3Xd matrix_of(int mode, int part, Eigen::Index nodes) {
    auto values = mode_part(body_, mode, 0, part);
    values.resize(3 * static_cast<std::size_t>(nodes), 0.0);
    return Eigen::Map<Eigen::Matrix3Xd>(values.data(), 3, nodes);
  }

  // The leading rigid-body modes are motions of a rigid body: what a least-squares fit leaves over.
  void check_rigid_modes() {
    const int rigid = SBR_RigidBodyModeCount(body_);
    const int nodes = SBR_NodeCount(body_);
    if (SBR_ModeExist(body_, 0) == 0 || nodes < 3) return;
    note("rigid modes", "rigid-body modes found", rigid);
    Eigen::MatrixXd motions = Eigen::MatrixXd::Zero(3 * nodes, 6);
    for (int i = 0; i < nodes; ++i) {
      double r[3];
      SBR_NodeCoordinates(body_, i, r);
      motions.block<3, 3>(3 * i, 0).setIdentity();
      motions.block<3, 3>(3 * i, 3) << 0, r[2], -r[1], -r[2], 0, r[0], r[1], -r[0], 0;
    }
    const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> fit(motions);
    for (int m = 0; m < rigid; ++m) {
      const Eigen::Matrix3Xd shape = matrix_of(m, 0, nodes);
      const Eigen::Map<const Eigen::VectorXd> flat(shape.data(), 3 * nodes);
      const double norm = flat.norm();
      if (norm == 0.0) continue;
      const double rest = (flat - motions * fit.solve(flat)).norm() / norm;
      add(rest <= tolerances_.rigid, "rigid modes",
          "mode " + std::to_string(SBR_ModeNumber(body_, m)) + ": part that is no rigid motion", rest);
    }
  }

  SBR body_;
  std::string path_;
  Tolerances tolerances_;
  std::vector<Finding> findings_;
  std::map<std::string, double> worst_of_invariant_;
};

int run_check(const std::string &file, std::optional<double> tolerance, bool json) {
  const Body body = open_record(file);
  const Tolerances tolerances{tolerance.value_or(SBR_Double_Prec(body.get()) != 0 ? 1e-6 : 1e-4)};
  const std::vector<Finding> findings = Checker(body.get(), file, tolerances).run();
  int failures = 0;
  Json list = Json::array();
  Table table({"<", "<subject", "figure", "<what"});
  for (const Finding &finding : findings) {
    failures += finding.verdict == Verdict::bad ? 1 : 0;
    const char *word = kWords[static_cast<int>(finding.verdict)];
    list.push_back(
        {{"verdict", word}, {"subject", finding.subject}, {"what", finding.text}, {"figure", finite(finding.figure)}});
    table.add({word, finding.subject, brief(finding.figure, 4), finding.text});
  }
  if (json) {
    std::cout << Json{{"file", file}, {"failures", failures}, {"findings", list}}.dump(2) << '\n';
  } else {
    table.print();
    std::cout << (failures == 0 ? "sound" : std::to_string(failures) + " finding(s)") << '\n';
  }
  return failures == 0 ? kDone : kFindings;
}

}  // namespace

void add_checking_commands(CLI::App &app, int &exit_code) {
  struct Options {
    std::string file;
    std::optional<double> tolerance;
    bool json = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *check = app.add_subcommand("check", "Check a record: structure, references, numbers, physics");
  check->add_option("FILE", options->file, "The record")->required();
  check->add_option("--tolerance", options->tolerance, "Relative tolerance (1e-6; 1e-4 for single precision)");
  check->add_flag("--json", options->json, "Print JSON");
  check->footer("Ends with 1 when anything fails. Notes are figures to look at, not failures.");
  check->callback([options, &exit_code] { exit_code = run_check(options->file, options->tolerance, options->json); });
  add_diff_command(app, exit_code);
}

}  // namespace sbrtool
