// The mass of a record: what its nodes, its invariants and its global properties say of it.
//
// Where the writer drops nodes it first takes the invariants from all of them, and the global properties from the
// invariants. Such a record tells its mass in these two, which agree; its nodes hold less, and that is right. Any other
// disagreement is not.
#include <Eigen/Dense>
#include <cmath>
#include <optional>

#include "check.h"
#include "rawrecord.h"

namespace sbrtool {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;
using RowMatrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

// Mass, first moment and inertia about the origin (off-diagonal: minus the products); what is not told is missing.
struct MassData {
  std::optional<double> mass;
  std::optional<Vector3d> moment;
  std::optional<Matrix3d> inertia;
};

MassData of_nodes(CheckRun &run) {
  MassData data;
  if (!run.has(kMassBlock)) return data;
  double sum = 0.0;
  Vector3d moment = Vector3d::Zero();
  Matrix3d inertia = Matrix3d::Zero();
  for (int i = 0; i < run.nodes(); ++i) {
    double mass = 0.0;
    Vector3d r;
    double nine[9];
    SBR_NodalMassAndGeometry(run.body(), i, &mass, r.data());
    sum += mass;
    moment += mass * r;
    inertia += mass * (r.dot(r) * Matrix3d::Identity() - r * r.transpose());
    if (SBR_NodalInertia(run.body(), i, nine) != 0) inertia += Eigen::Map<RowMatrix>(nine);
  }
  data = {sum, moment, inertia};
  return data;
}

MassData of_invariants(CheckRun &run) {
  MassData data;
  if (run.has(kFirstInvariant)) data.mass = SBR_Invar1(run.body());
  if (run.has(19))
    if (const Given<double> stored(SBR_Invar2(run.body())); stored) data.moment = Eigen::Map<Vector3d>(stored.get());
  if (run.has(23))
    if (const Given<double> stored(SBR_Invar7(run.body())); stored) data.inertia = Eigen::Map<RowMatrix>(stored.get());
  return data;
}

// The global inertia has positive products.
MassData of_global(CheckRun &run) {
  MassData data;
  const auto stored = stored_global(run.body(), run.path());
  if (!stored) return data;
  data.mass = (*stored)[0];
  data.moment = *data.mass * Vector3d((*stored)[1], (*stored)[2], (*stored)[3]);
  Matrix3d inertia = -Eigen::Map<const RowMatrix>(stored->data() + 4);
  inertia.diagonal() *= -1.0;
  data.inertia = inertia;
  return data;
}

double reach(CheckRun &run) {
  double reach = SBR_BodySize(run.body());
  for (int i = 0; i < run.nodes(); ++i) {
    double r[3];
    SBR_NodeCoordinates(run.body(), i, r);
    for (const double c : r) reach = std::fmax(reach, std::fabs(c));
  }
  return reach > 0.0 ? reach : 1.0;
}

// How far two sources are apart, relative to the mass and the reach of the body.
void compare(CheckRun &run, const std::string &subject, const std::string &what, const MassData &a, const MassData &b,
             const std::string &meaning) {
  const double reach_of_body = reach(run);
  const double mass = std::fmax(std::fabs(a.mass.value_or(0.0)), std::fabs(b.mass.value_or(0.0)));
  const double scale = mass > 0.0 ? mass : 1.0;
  const double allowed = 10.0 * run.tolerance();
  const auto judge = [&](const char *quantity, double difference) {
    run.expect(difference <= allowed,
               {Level::error, subject, std::string(quantity) + ": " + what + ", relative", difference, "", meaning});
  };
  if (a.mass && b.mass) judge("mass", std::fabs(*a.mass - *b.mass) / scale);
  if (a.moment && b.moment) judge("center", (*a.moment - *b.moment).cwiseAbs().maxCoeff() / (scale * reach_of_body));
  if (a.inertia && b.inertia)
    judge("inertia", (*a.inertia - *b.inertia).cwiseAbs().maxCoeff() / (scale * reach_of_body * reach_of_body));
}

void check_nodal_masses(CheckRun &run) {
  if (!run.has(kMassBlock)) return;
  int negative = 0;
  int zero = 0;
  std::string first;
  for (int i = 0; i < run.nodes(); ++i) {
    const double mass = SBR_NodalMass(run.body(), i);
    zero += mass == 0.0 ? 1 : 0;
    if (mass < 0.0 && negative++ == 0) first = run.node_name(i);
  }
  run.expect(negative == 0, {Level::error, "nodal masses", "nodes with a negative mass", static_cast<double>(negative),
                             first, "No body has negative mass; motion would not be bounded."});
  run.expect(zero < run.nodes() || run.nodes() == 0,
             {Level::error, "nodal masses", "of all nodes are zero", static_cast<double>(zero), "",
              "The body has no mass in its nodes: was the density given?"});
  if (zero > 0 && zero < run.nodes())
    run.note("nodal masses", "nodes without mass", zero, "Usual for interface nodes of beams and spiders.");
}

// Moments of inertia about the center are not negative, and none is larger than the sum of the others.
void check_inertia(CheckRun &run, const MassData &data, const char *subject) {
  if (!data.mass || !data.moment || !data.inertia || !(*data.mass > 0.0)) return;
  const Vector3d c = *data.moment / *data.mass;
  const Matrix3d about = *data.inertia - *data.mass * (c.dot(c) * Matrix3d::Identity() - c * c.transpose());
  if (!about.allFinite()) return;
  const Vector3d moments = Eigen::SelfAdjointEigenSolver<Matrix3d>(0.5 * (about + about.transpose())).eigenvalues();
  // What rounding leaves of the parallel-axis terms is no finding.
  const double noise = 10.0 * run.tolerance() * data.inertia->cwiseAbs().maxCoeff();
  const double lack = std::fmin(moments[0], moments[0] + moments[1] - moments[2]);
  run.expect(lack >= -noise, {Level::error, subject, "least of the principal moments and of their triangle differences",
                              lack, "", "No body of positive mass has such moments of inertia about its center."});
}

void check_dropped_nodes(CheckRun &run, const MassData &nodes, const MassData &stored, const MassData &global) {
  const double share = *nodes.mass / *stored.mass;
  const bool agrees =
      global.mass && std::fabs(*global.mass - *stored.mass) <= 10.0 * run.tolerance() * std::fabs(*stored.mass);
  // The writer drops all nodes without a reference, of a body whose modes have invariant 3.
  const bool dropped = share < 1.0 && run.unreferenced() == 0 && (run.has(kThirdInvariant) || run.modes() == 0);
  const char *const what = "share of the mass of invariant 1 that the nodes hold";
  if (!agrees || !dropped) {
    run.expect(false, {Level::error, "mass", what, share, "",
                       dropped ? "Neither the nodes nor the global properties agree with the invariants."
                               : "Nodes and invariants tell different masses, although no nodes were dropped."});
    return;
  }
  run.note("mass", what, share,
           "Nodes were dropped after their mass had gone into the invariants, which agree with the global properties.");
  if (run.modes() == 0) return;
  const int pairs = (run.has(22) ? 1 : 0) + (run.has(kLastInvariant) ? 1 : 0);
  run.expect(pairs == 2, {Level::warning, "mass", "of the invariants 5 and 9 are stored", static_cast<double>(pairs),
                          "", "A solver that asks for them would get those of the nodes that are left."});
}

}  // namespace

bool nodes_hold_the_mass(CheckRun &run) {
  if (!run.has(kMassBlock)) return false;
  if (!run.has(kFirstInvariant)) return true;
  const double stored = SBR_Invar1(run.body());
  const double sum = *of_nodes(run).mass;
  return std::fabs(sum - stored) <= 10.0 * run.tolerance() * std::fabs(stored);
}

void check_masses(CheckRun &run) {
  check_nodal_masses(run);
  const MassData nodes = of_nodes(run);
  const MassData stored = of_invariants(run);
  const MassData global = of_global(run);
  const bool known = (nodes.mass && *nodes.mass != 0.0) || (stored.mass && *stored.mass != 0.0) ||
                     (global.mass && *global.mass != 0.0);
  run.expect(known, {Level::error, "mass", "mass of the body", SBR_Invar1(run.body()), "",
                     "Neither nodes nor invariants nor global properties tell a mass; it cannot be moved."});
  const bool whole = nodes_hold_the_mass(run);
  if (stored.mass) {
    compare(run, "global properties", "against the invariants", global, stored,
            "Solvers that read the one and those that read the other simulate different bodies.");
    if (nodes.mass && whole)
      compare(run, "invariants", "against the nodes", stored, nodes,
              "Center or inertia of the invariants are not those of the nodes of this record.");
    else if (nodes.mass)
      check_dropped_nodes(run, nodes, stored, global);
  } else {
    compare(run, "global properties", "against the nodes", global, nodes,
            "The nodes do not hold the mass that the record announces: some may be missing.");
  }
  check_inertia(run, stored.mass ? stored : nodes, stored.mass ? "invariants" : "nodal masses");
  check_inertia(run, global, "global properties");
}

}  // namespace sbrtool
