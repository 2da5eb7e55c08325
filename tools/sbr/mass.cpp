// sbr mass, faces: mass properties with principal axes, and the surface at a glance.
#include <iostream>
#include <map>
#include <new>

#include "massproperties.h"

namespace sbrtool {
namespace {

// ---- mass ----------------------------------------------------------------------------------------------------------

void show_mass(const std::string &file, bool json) {
  const Body body = open_record(file);
  const MassProperties properties = mass_properties(body.get());
  if (!properties.inertia.allFinite()) throw Failure(kFailed, "the mass properties are not finite numbers");
  const auto [moments, axes] = principal_axes(properties);
  if (json) {
    Json axis_list = Json::array();
    for (int i = 0; i < 3; ++i) axis_list.push_back({axes(i, 0), axes(i, 1), axes(i, 2)});
    const Eigen::Matrix<double, 3, 3, Eigen::RowMajor> rows = properties.inertia;
    const Json all = {{"mass", properties.mass},
                      {"center", finite(properties.center.data(), 3)},
                      {"inertia_about_center", finite(rows.data(), 9)},
                      {"principal_moments", finite(moments.data(), 3)},
                      {"principal_axes", axis_list},
                      {"source", properties.source}};
    std::cout << all.dump(2) << '\n';
    return;
  }
  char units[4][17] = {};
  SBR_Units(body.get(), units[0], units[1], units[2], units[3]);
  std::cout << "Mass data from   " << properties.source << "\nUnits            " << clean(units[0]) << ", "
            << clean(units[1]) << "\nMass             " << brief(properties.mass, 10) << "\nCentre of mass   ";
  for (int c = 0; c < 3; ++c) std::cout << brief(properties.center[c], 10) << (c < 2 ? ", " : "\n");
  std::cout << "Inertia about the centre of mass (off-diagonal: minus the products)\n";
  Table table({"", "x", "y", "z"});
  const char *const names[] = {"x", "y", "z"};
  for (int r = 0; r < 3; ++r)
    table.add({names[r], brief(properties.inertia(r, 0), 10), brief(properties.inertia(r, 1), 10),
               brief(properties.inertia(r, 2), 10)});
  table.print();
  std::cout << "Principal moments and axes\n";
  Table axes_table({"moment", "x", "y", "z"});
  for (int i = 0; i < 3; ++i)
    axes_table.add({brief(moments[i], 10), brief(axes(i, 0)), brief(axes(i, 1)), brief(axes(i, 2))});
  axes_table.print();
}

// ---- faces ---------------------------------------------------------------------------------------------------------

struct Surface {
  int faces = 0;
  std::map<int, int> by_vertices;
  std::vector<std::vector<int>> chains;
};

Surface surface_of(SBR body) {
  Surface surface;
  int length = 0;
  SBR_FaceListSize(body, &surface.faces, &length);
  std::vector<int> list(static_cast<std::size_t>(std::max(length, 0)) + 1);
  if (length > 0 && SBR_ElementFaces(body, list.data()) == 0) length = 0;
  for (int at = 0; at < length; at += list[static_cast<std::size_t>(at)] + 1) {
    const int vertices = list[static_cast<std::size_t>(at)];
    if (vertices < 0) break;
    surface.by_vertices[vertices] += 1;
  }
  if (length < 1) return surface;
  const int chains = SBR_GetFreeEdgeCount(body);
  if (chains < 0) throw std::bad_alloc();
  for (int i = 0; i < chains; ++i) {
    std::vector<int> ids(static_cast<std::size_t>(std::max(SBR_GetFreeEdgeSize(body, i), 1)));
    ids.resize(static_cast<std::size_t>(SBR_GetFreeEdge(body, i, ids.data())));
    surface.chains.push_back(ids);
  }
  return surface;
}

void show_faces(const std::string &file, bool json) {
  const Body body = open_record(file);
  const Surface surface = surface_of(body.get());
  int outer = 0;
  int words = 0;
  SBR_FaceListSize(body.get(), &outer, &words);
  const bool closed = surface.faces > 0 && surface.chains.empty();
  if (json) {
    Json counts = Json::object();
    for (const auto &[vertices, count] : surface.by_vertices) counts[std::to_string(vertices)] = count;
    const Json all = {{"faces", surface.faces},
                      {"by_vertices", counts},
                      {"outer_faces", outer},
                      {"closed", closed},
                      {"free_edge_chains", surface.chains}};
    std::cout << all.dump(2) << '\n';
    return;
  }
  std::cout << "Faces            " << surface.faces << '\n';
  for (const auto &[vertices, count] : surface.by_vertices)
    std::cout << "  of " << vertices << " vertices  " << count << '\n';
  std::cout << "Outer faces      " << outer << "\nSurface          " << (closed ? "closed" : "open")
            << "\nFree edge chains " << surface.chains.size() << '\n';
  for (std::size_t i = 0; i < surface.chains.size(); ++i) {
    const auto &chain = surface.chains[i];
    if (chain.empty()) continue;
    const bool loop = chain.size() > 1 && chain.front() == chain.back();
    std::cout << "  " << i + 1 << ": " << (loop ? "closed, " : "open, ") << chain.size() - 1 << " edges, from node "
              << chain.front() << " to node " << chain.back() << '\n';
  }
}

}  // namespace

void add_mass_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  struct Options {
    std::string file;
    bool json = false;
  };
  const auto options = std::make_shared<Options>();
  struct Command {
    const char *name;
    const char *text;
    void (*run)(const std::string &file, bool json);
  };
  for (const Command &each :
       {Command{"mass", "Show mass, centre of mass, inertia, principal moments and axes", show_mass},
        Command{"faces", "Show the surface: faces by vertices, free edge chains, closed or not", show_faces}}) {
    CLI::App *command = app.add_subcommand(each.name, each.text);
    command->add_option("FILE", options->file, "The record")->required();
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, run = each.run] { run(options->file, options->json); });
  }
}

}  // namespace sbrtool
