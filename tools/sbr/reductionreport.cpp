#include "reductionreport.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace sbrtool {
namespace {

using sbrtranslate::FreeModes;
using sbrtranslate::ImportReport;
using sbrtranslate::ReductionFigures;

std::string hertz_list(const std::vector<double> &values) {
  std::string text;
  for (const double hz : values) text += (text.empty() ? "" : ", ") + brief(hz, 6);
  return text;
}

// Effective masses as shares of the body's, with their sums.
void print_effective_masses(const ReductionFigures &figures, int normal_modes) {
  if (figures.effective_mass.empty()) return;
  std::cout << "Effective mass of the modes with the interface held, in % of the body's mass and inertia\n";
  Table table({"mode", "Hz", "x", "y", "z", "about x", "about y", "about z"});
  std::array<double, 6> sums{};
  const auto share = [&](double value, std::size_t j) {
    return figures.total_mass[j] > 0.0 ? brief(100.0 * value / figures.total_mass[j], 4) : std::string("-");
  };
  for (std::size_t i = 0; i < figures.effective_mass.size(); ++i) {
    const bool normal = i < static_cast<std::size_t>(normal_modes);
    std::vector<std::string> row = {std::string(normal ? "normal " : "residual ") +
                                        std::to_string(normal ? i + 1 : i + 1 - static_cast<std::size_t>(normal_modes)),
                                    brief(figures.normal_hz[i], 7)};
    for (std::size_t j = 0; j < 6; ++j) {
      row.push_back(share(figures.effective_mass[i][j], j));
      sums[j] += figures.effective_mass[i][j];
    }
    table.add(row);
  }
  std::vector<std::string> last = {"sum", ""};
  for (std::size_t j = 0; j < 6; ++j) last.push_back(share(sums[j], j));
  table.add(last);
  table.print();
  std::cout << '\n';
}

// One row for each mode of the full body, with its match among those of the reduced body.
void print_free_modes(const FreeModes &free) {
  if (free.full_hz.empty()) return;
  std::cout << "Modes of the free body: the full matrices (rows) against the reduced ones (columns), "
               "modal assurance criterion with the mass matrix\n";
  const std::size_t columns = free.reduced_hz.size();
  std::vector<std::string> headings = {"full Hz", "reduced Hz", "difference %"};
  for (std::size_t j = 0; j < columns; ++j) headings.push_back(std::to_string(j + 1));
  Table table(headings);
  for (std::size_t i = 0; i < free.full_hz.size(); ++i) {
    const double *row = &free.mac[i * columns];
    const auto best = static_cast<std::size_t>(std::max_element(row, row + columns) - row);
    std::vector<std::string> cells = {brief(free.full_hz[i], 7), brief(free.reduced_hz[best], 7),
                                      brief(100.0 * (free.reduced_hz[best] / free.full_hz[i] - 1.0), 3)};
    for (std::size_t j = 0; j < columns; ++j) {
      char text[16];
      std::snprintf(text, sizeof text, "%.4f", row[j]);
      cells.emplace_back(text);
    }
    table.add(cells);
  }
  table.print();
  std::cout << '\n';
}

}  // namespace

void print_reduction(const ImportReport &report) {
  const ReductionFigures &figures = report.reduction;
  if (report.constraint_modes == 0) return;
  const bool interface_modes = !figures.interface_hz.empty();
  std::cout << "Reduction           " << report.constraint_modes
            << (interface_modes ? " interface modes, " : " constraint modes, ") << report.normal_modes
            << " fixed-interface normal modes";
  if (figures.residual_modes != 0) std::cout << ", " << figures.residual_modes << " residual modes";
  std::cout << "\nSolver              " << figures.cost.solver << ": " << brief(figures.cost.rows, 9) << " rows";
  if (figures.cost.factor_entries > 0.0)  // not every solver tells them
    std::cout << ", " << brief(figures.cost.factor_entries / std::max(figures.cost.entries, 1.0), 3)
              << " entries of the factor for each of the matrix";
  std::cout << '\n';
  if (interface_modes) std::cout << "Interface modes     " << hertz_list(figures.interface_hz) << " Hz\n";
  std::cout << '\n';
  print_effective_masses(figures, report.normal_modes);
  print_free_modes(figures.free);
}

Json reduction_json(const ReductionFigures &figures) {
  Json masses = Json::array();
  for (const auto &row : figures.effective_mass) masses.push_back(finite(row.data(), 6));
  Json mac = Json::array();
  const std::size_t columns = figures.free.reduced_hz.size();
  for (std::size_t i = 0; i < figures.free.full_hz.size(); ++i)
    mac.push_back(finite(&figures.free.mac[i * columns], columns));
  const auto list = [](const std::vector<double> &values) { return finite(values.data(), values.size()); };
  return {{"solver", figures.cost.solver},
          {"residual_modes", figures.residual_modes},
          {"interface_hz", list(figures.interface_hz)},
          {"normal_hz", list(figures.normal_hz)},
          {"effective_mass", masses},
          {"total_mass", finite(figures.total_mass.data(), 6)},
          {"rigid_residual", finite(figures.rigid_residual)},
          {"free_hz", list(figures.free.full_hz)},
          {"reduced_hz", list(figures.free.reduced_hz)},
          {"mac", mac}};
}

void show_reduction_progress(const sbrtranslate::ReductionProgress &progress) {
  if (isatty(STDERR_FILENO) == 0) return;
  std::string line = "\r\033[K";
  if (progress.done < 1.0) {
    line += progress.step;
    if (progress.done > 0.0) line += ", " + std::to_string(static_cast<int>(100.0 * progress.done)) + " %";
    if (progress.seconds_left >= 1.0)
      line += ", about " + std::to_string(static_cast<long>(std::ceil(progress.seconds_left))) + " s left";
  }
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace sbrtool
