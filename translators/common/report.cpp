#include "common/report.h"

#include <algorithm>
#include <cmath>

#include "common/rigid_fit.h"

namespace sbrtranslate {

void judge_model(ImportReport &report) {
  const Model &model = report.model;
  if (!model.left_out.empty())
    report.warnings.push_back(std::to_string(model.left_out.size()) +
                              " nodes of the deck belong to no element and are left " + "out, the first is " +
                              std::to_string(model.left_out.front()));
  if (model.pieces > 1)
    report.warnings.push_back("the mesh falls into " + std::to_string(model.pieces) + " pieces that share no node");
  if (!model.has_masses) return;
  const auto exact = model.exact.inertia(model.exact.centre());
  const auto lumped = model.lumped.inertia(model.lumped.centre());
  for (std::size_t k = 0; k < 3; ++k)
    if (const double ratio = lumped[4 * k] / exact[4 * k]; ratio > 1.05 || ratio < 0.95)
      report.warnings.push_back(std::string("the lumped masses give ") + show(100.0 * (ratio - 1.0), 3) +
                                " % more inertia about " + "xyz"[k] +
                                " than the elements have: the mesh is coarse there");
}

void judge_modes(ImportReport &report) {
  std::string negative;
  std::string unstable;
  int rigid = 0;
  for (const ModeReport &mode : report.modes) {
    if (mode.eigenvalue < 0.0) {
      std::string &list = mode.rigid ? negative : unstable;
      list += (list.empty() ? "" : ", ") + std::to_string(mode.number);
    }
    rigid += mode.rigid ? 1 : 0;
  }
  if (!negative.empty())
    report.warnings.push_back("negative eigenvalues of rigid modes (zero within rounding): " + negative);
  if (!unstable.empty()) report.warnings.push_back("negative eigenvalues of elastic modes: " + unstable);
  if (rigid != 6 && !report.modes.empty())
    report.warnings.push_back(std::to_string(rigid) + " modes are rigid motions, a free body has 6" +
                              (rigid < 6 ? " (is it supported, or are modes missing?)" : ""));
  for (std::size_t i = 0; i + 1 < report.modes.size(); ++i)
    if (!report.modes[i].rigid && report.modes[i + 1].rigid) {
      report.warnings.push_back("mode " + std::to_string(report.modes[i].number) +
                                " comes before the last rigid mode and is elastic: a mechanism or a loose part?");
      break;
    }
}

void report_body_modes(SBR body, ImportReport &report) {
  report.modes.clear();
  const RigidFit fit(report.model);
  const int count = SBR_ModeCount(body);
  std::vector<double> shape(3 * static_cast<std::size_t>(std::max(SBR_NodeCount(body), 1)));
  for (int i = 0; i < count; ++i) {
    ModeReport mode;
    mode.number = SBR_ModeNumber(body, i);
    SBR_Eigenvalue(body, mode.number, &mode.eigenvalue, &mode.hz, nullptr, nullptr, nullptr);
    require(SBR_Mode(body, mode.number, 0, shape.data(), 0), "to give a mode");
    fit.judge(
        [&](std::size_t n) {
          const int at = SBR_ModeNodeIndex(body, 0, report.model.nodes[n].id);
          if (at < 0) return Vec3{};
          const auto p = 3 * static_cast<std::size_t>(at);
          return Vec3{shape[p], shape[p + 1], shape[p + 2]};
        },
        mode);
    report.modes.push_back(mode);
  }
}

}  // namespace sbrtranslate
