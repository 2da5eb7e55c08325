// sbr info, modes, nodes, mode: what stands in a record.
#include <array>
#include <cmath>
#include <iostream>
#include <optional>

#include "blocknames.h"
#include "commandline.h"
#include "givenarray.h"
#include "modefacts.h"
#include "modeplot.h"
#include "record/rows.h"
#include "session.h"

namespace sbrtool {
namespace {

// ---- info ----------------------------------------------------------------------------------------------------------

Json header_texts(SBR body) {
  char title[129] = {};
  char date[33] = {};
  char file[129] = {};
  char type[17] = {};
  char comments[3][81] = {};
  SBR_Header(body, title, date, file, type, comments[0], comments[1], comments[2]);
  return {{"title", clean(title)},
          {"date", clean(date)},
          {"input_file", clean(file)},
          {"input_file_type", clean(type)},
          {"comments", {clean(comments[0]), clean(comments[1]), clean(comments[2])}}};
}

Json units_of(SBR body) {
  char mass[17] = {};
  char length[17] = {};
  char time[17] = {};
  char force[17] = {};
  SBR_Units(body, mass, length, time, force);
  return {{"mass", clean(mass)}, {"length", clean(length)}, {"time", clean(time)}, {"force", clean(force)}};
}

Json blocks_of(SBR body) {
  Json blocks = Json::array();
  std::int64_t offset = 0;
  for (int i = 0; i < sbr::kBlockCount; ++i) {
    if (SBR_Exists(body, i) == 0) continue;
    const std::int64_t size = SBR_size_of_block(body, i);
    blocks.push_back({{"number", i + 1}, {"name", block_name(i)}, {"offset", offset}, {"size", size}});
    offset += size;
  }
  return blocks;
}

// Where the body's mass comes from, in the library's own order of sources.
const char *mass_source(SBR body) {
  if (SBR_Exists(body, 18) != 0) return "invariants in the record";
  if (SBR_Exists(body, 8) != 0) return "nodal masses";
  if (SBR_Exists(body, 5) != 0) return "global body properties";
  return "none";
}

Json frequency_range(SBR body) {
  Json range = nullptr;
  for (int i = 0; i < SBR_ModeCount(body); ++i) {
    double hz = 0.0;
    if (SBR_Eigenvalue(body, SBR_ModeNumber(body, i), nullptr, &hz, nullptr, nullptr, nullptr) == 0) continue;
    if (!std::isfinite(hz)) continue;
    if (range.is_null())
      range = {hz, hz};
    else
      range = {std::min(range[0].get<double>(), hz), std::max(range[1].get<double>(), hz)};
  }
  return range;
}

Json counts_of(SBR body) {
  int faces = 0;
  int face_words = 0;
  SBR_FaceListSize(body, &faces, &face_words);
  int interface_nodes = 0;
  const Given<int> nodes = given_array(SBR_InterfaceNodes(body, &interface_nodes), interface_nodes);
  return {{"nodes", SBR_NodeCount(body)},
          {"faces", faces},
          {"interface_nodes", interface_nodes},
          {"modes", SBR_ModeCount(body)},
          {"rigid_body_modes", SBR_RigidBodyModeCount(body)},
          {"stress_nodes", SBR_ModeNodeCount(body, 1)},
          {"strain_nodes", SBR_ModeNodeCount(body, 2)},
          {"modal_load_cases", SBR_GetModalLoadCaseCount(body)},
          {"nodal_load_cases", SBR_GetModalLoadNodalCaseCount(body)},
          {"monitor_points", SBR_GetMonitorPointCount(body)},
          {"matrix_operators", SBR_GetMatrixOperatorCount(body)}};
}

Json invariants_of(SBR body) {
  Json invariants = Json::object();
  const Given<double> second(SBR_Invar2(body));
  const Given<double> seventh(SBR_Invar7(body));
  invariants["1"] = finite(SBR_Invar1(body));
  invariants["2"] = second ? finite(second.get(), 3) : Json(nullptr);
  invariants["7"] = seventh ? finite(seventh.get(), 9) : Json(nullptr);
  Json in_record = Json::array();
  static constexpr std::array<int, 8> kNumbers = {1, 2, 3, 4, 5, 7, 8, 9};
  for (std::size_t i = 0; i < kNumbers.size(); ++i)
    if (SBR_Exists(body, 18 + static_cast<int>(i)) != 0) in_record.push_back(kNumbers[i]);
  invariants["in_record"] = in_record;
  return invariants;
}

Json describe(SBR body, const std::string &path) {
  const std::int64_t character_size = SBR_size_of_block(body, sbr::kHeader) / sbr::kHeaderChars;
  return {{"file", path},
          {"version", SBR_Version(body) / 10.0},
          {"encoding", character_size == 4 ? "XDR" : "native"},
          {"precision", SBR_Double_Prec(body) != 0 ? "double" : "single"},
          {"coarsened", SBR_IsCoarsened(body) != 0},
          {"header", header_texts(body)},
          {"units", units_of(body)},
          {"counts", counts_of(body)},
          {"frequency_range_hz", frequency_range(body)},
          {"mass", finite(SBR_Invar1(body))},
          {"mass_source", mass_source(body)},
          {"extent", finite(SBR_BodySize(body))},
          {"invariants", invariants_of(body)},
          {"blocks", blocks_of(body)}};
}

std::string text_of(const Json &value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

void print_description(const Json &all) {
  const auto line = [](const char *name, const std::string &value) {
    std::cout << name << std::string(22 - std::char_traits<char>::length(name), ' ') << value << '\n';
  };
  const Json &header = all["header"];
  const Json &units = all["units"];
  const Json &counts = all["counts"];
  line("File", text_of(all["file"]));
  line("Format", "version " + all["version"].dump() + ", " + text_of(all["encoding"]) + ", " +
                     text_of(all["precision"]) + " precision" + (all["coarsened"].get<bool>() ? ", coarsened" : ""));
  line("Title", text_of(header["title"]));
  line("Date", text_of(header["date"]));
  line("Input file", text_of(header["input_file"]) + "  " + text_of(header["input_file_type"]));
  for (const Json &comment : header["comments"])
    if (comment != "") line("Comment", text_of(comment));
  line("Units", text_of(units["mass"]) + ", " + text_of(units["length"]) + ", " + text_of(units["time"]) + ", " +
                    text_of(units["force"]));
  line("Nodes", counts["nodes"].dump() + " (" + counts["interface_nodes"].dump() + " interface)");
  line("Faces", counts["faces"].dump());
  line("Extent", all["extent"].is_null() ? "unknown" : brief(all["extent"].get<double>()));
  line("Mass", (all["mass"].is_null() ? "unknown" : brief(all["mass"].get<double>(), 8)) + "  (from " +
                   text_of(all["mass_source"]) + ")");
  line("Modes", counts["modes"].dump() + " (" + counts["rigid_body_modes"].dump() + " rigid-body)");
  if (const Json &range = all["frequency_range_hz"]; !range.is_null())
    line("Frequencies", brief(range[0].get<double>()) + " to " + brief(range[1].get<double>()) + " Hz");
  line("Stress, strain at", counts["stress_nodes"].dump() + ", " + counts["strain_nodes"].dump() + " nodes");
  line("Load cases", counts["modal_load_cases"].dump() + " modal, " + counts["nodal_load_cases"].dump() + " nodal");
  line("Monitor points", counts["monitor_points"].dump());
  line("Matrix operators", counts["matrix_operators"].dump());
  std::string stored;
  for (const Json &invariant : all["invariants"]["in_record"])
    stored += (stored.empty() ? "" : ", ") + invariant.dump();
  const auto values = [](const Json &list) {
    std::string text;
    for (const Json &value : list)
      text += (text.empty() ? "" : ", ") + (value.is_null() ? std::string("nan") : brief(value.get<double>(), 8));
    return text.empty() ? std::string("unknown") : text;
  };
  line("Invariant 1", all["mass"].is_null() ? "unknown" : brief(all["mass"].get<double>(), 10));
  line("Invariant 2", values(all["invariants"]["2"]));
  line("Invariant 7", values(all["invariants"]["7"]));
  line("Invariants stored", stored.empty() ? "none" : stored);
  std::cout << '\n';
  Table table({"block", "<name", "offset", "size"});
  for (const Json &block : all["blocks"])
    table.add({block["number"].dump(), text_of(block["name"]), block["offset"].dump(), block["size"].dump()});
  table.print();
}

// A line for each record; what cannot be read is told in its line.
int show_several(const std::vector<std::string> &files, bool json) {
  Table table({"<file", "version", "nodes", "faces", "modes", "rigid", "mass", "<units", "lowest Hz", "highest Hz"});
  Json list = Json::array();
  int code = kDone;
  for (const std::string &file : files) {
    try {
      const Body body = open_record(file);
      list.push_back(describe(body.get(), file));
    } catch (const Failure &failure) {
      if (failure.code() != kUnreadable) throw;
      list.push_back({{"file", file}, {"unreadable", failure.what()}});
      std::cerr << "sbr: " << failure.what() << '\n';
      code = kUnreadable;
      table.add({file, "unreadable"});
      continue;
    }
    const Json &all = list.back();
    const Json &range = all["frequency_range_hz"];
    const auto real = [](const Json &value) { return value.is_null() ? "-" : brief(value.get<double>()); };
    table.add({file, all["version"].dump(), all["counts"]["nodes"].dump(), all["counts"]["faces"].dump(),
               all["counts"]["modes"].dump(), all["counts"]["rigid_body_modes"].dump(), real(all["mass"]),
               text_of(all["units"]["mass"]) + ", " + text_of(all["units"]["length"]),
               range.is_null() ? "-" : real(range[0]), range.is_null() ? "-" : real(range[1])});
  }
  if (json)
    std::cout << list.dump(2) << '\n';
  else
    table.print();
  return code;
}

// ---- modes ---------------------------------------------------------------------------------------------------------

Json modes_of(SBR body) {
  Json modes = Json::array();
  for (const ModeFacts &facts : facts_of_modes(body)) {
    Json entry = {{"number", facts.number}};
    if (facts.known)
      entry.update({{"eigenvalue", finite(facts.eigenvalue)},
                    {"hz", finite(facts.hz)},
                    {"generalized_mass", finite(facts.mass)},
                    {"generalized_stiffness", finite(facts.stiffness)}});
    modes.push_back(entry);
  }
  return modes;
}

void print_modes(SBR body) {
  Table table({"mode", "eigenvalue", "Hz", "gen. mass", "gen. stiffness"});
  for (const ModeFacts &facts : facts_of_modes(body)) {
    if (facts.known)
      table.add({std::to_string(facts.number), brief(facts.eigenvalue, 8), brief(facts.hz, 8), brief(facts.mass, 8),
                 brief(facts.stiffness, 8)});
    else
      table.add({std::to_string(facts.number), "-", "-", "-", "-"});
  }
  table.print();
}

// ---- nodes, mode ---------------------------------------------------------------------------------------------------

std::vector<int> node_indices(SBR body, const std::vector<int> &ids) {
  std::vector<int> indices;
  if (ids.empty())
    for (int i = 0; i < SBR_NodeCount(body); ++i) indices.push_back(i);
  for (const int id : ids) {
    const int index = SBR_NodeIndex(body, id);
    if (index < 0) throw Failure(kUsage, "no node " + std::to_string(id) + " in the record");
    indices.push_back(index);
  }
  return indices;
}

void show_nodes(SBR body, const std::vector<int> &ids, bool json) {
  Table table({"id", "x", "y", "z", "mass"});
  Json list = Json::array();
  for (const int index : node_indices(body, ids)) {
    double xyz[3] = {};
    double mass = 0.0;
    double inertia[9];
    SBR_NodalMassAndGeometry(body, index, &mass, xyz);
    const int id = SBR_NodeID(body, index);
    if (json) {
      Json node = {{"id", id}, {"index", index}, {"xyz", finite(xyz, 3)}, {"mass", finite(mass)}};
      if (SBR_NodalInertia(body, index, inertia) != 0) node["inertia"] = finite(inertia, 9);
      list.push_back(node);
    } else {
      table.add({std::to_string(id), brief(xyz[0], 9), brief(xyz[1], 9), brief(xyz[2], 9), brief(mass, 9)});
    }
  }
  if (json)
    std::cout << list.dump(2) << '\n';
  else
    table.print();
}

constexpr std::array<std::array<const char *, 6>, 3> kComponents = {
    {{"dx", "dy", "dz", "ax", "ay", "az"}, {"xx", "yy", "zz", "xy", "xz", "yz"}, {"xx", "yy", "zz", "xy", "xz", "yz"}}};
const std::map<std::string, int> kKinds = {{"shape", 0}, {"stress", 1}, {"strain", 2}};

struct ModeRows {
  std::vector<int> ids;
  std::vector<double> values;  // six per node
};

ModeRows mode_rows(SBR body, int mode, int kind, const std::vector<int> &ids) {
  ModeRows rows;
  const int errors_before = reported_errors();
  const auto count = static_cast<std::size_t>(SBR_ModeNodeCount(body, kind));
  std::vector<double> parts[2];
  for (int part = 0; part < 2; ++part) {
    auto &values = parts[static_cast<std::size_t>(part)];
    values.resize(3 * std::max<std::size_t>(count, 1));
    if (SBR_Mode(body, mode, kind, values.data(), part) == 0)
      throw Failure(kUsage, "the record holds no such data for mode " + std::to_string(mode));
  }
  if (reported_errors() != errors_before) throw Failure(kUnreadable, "the mode cannot be read from the record");
  const auto take = [&](std::size_t position) {
    rows.ids.push_back(SBR_ModeNodeID(body, kind, static_cast<int>(position)));
    for (const auto &part : parts)
      rows.values.insert(rows.values.end(), part.begin() + static_cast<std::ptrdiff_t>(3 * position),
                         part.begin() + static_cast<std::ptrdiff_t>(3 * position + 3));
  };
  if (ids.empty())
    for (std::size_t position = 0; position < count; ++position) take(position);
  for (const int id : ids) {
    const int position = SBR_ModeNodeIndex(body, kind, id);
    if (position < 0) throw Failure(kUsage, "no data of this kind at node " + std::to_string(id));
    take(static_cast<std::size_t>(position));
  }
  return rows;
}

void show_mode(SBR body, int mode, int kind, const std::vector<int> &ids, bool json) {
  const ModeRows rows = mode_rows(body, mode, kind, ids);
  const auto &names = kComponents[static_cast<std::size_t>(kind)];
  if (json) {
    Json list = Json::array();
    for (std::size_t i = 0; i < rows.ids.size(); ++i)
      list.push_back({{"id", rows.ids[i]}, {"values", finite(rows.values.data() + 6 * i, 6)}});
    const Json result = {{"mode", mode}, {"components", names}, {"nodes", list}};
    std::cout << result.dump(2) << '\n';
    return;
  }
  std::vector<std::string> headings = {"id"};
  headings.insert(headings.end(), names.begin(), names.end());
  Table table(headings);
  for (std::size_t i = 0; i < rows.ids.size(); ++i) {
    std::vector<std::string> row = {std::to_string(rows.ids[i])};
    for (std::size_t c = 0; c < 6; ++c) row.push_back(brief(rows.values[6 * i + c], 7));
    table.add(row);
  }
  table.print();
}

}  // namespace

void add_information_commands(CLI::App &app, int &exit_code) {
  struct Options {
    std::string file;
    std::vector<std::string> files;
    bool json = false;
    bool plot = false;
    std::vector<int> ids;
    int mode = 0;
    std::string kind = "shape";
  };
  const auto options = std::make_shared<Options>();
  const auto command = [&](const char *name, const char *text) {
    CLI::App *sub = app.add_subcommand(name, text);
    sub->add_flag("--json", options->json, "Print JSON");
    return sub;
  };
  const auto command_with_file = [&](const char *name, const char *text) {
    CLI::App *sub = command(name, text);
    sub->add_option("FILE", options->file, "The record")->required();
    return sub;
  };

  CLI::App *info = command("info", "Show what records hold: format, units, texts, counts, mass, frequencies, blocks");
  info->add_option("FILE", options->files, "The records")->required();
  info->callback([options, &exit_code] {
    if (options->files.size() > 1) {
      exit_code = show_several(options->files, options->json);
      return;
    }
    const Body body = open_record(options->files[0]);
    const Json all = describe(body.get(), options->files[0]);
    if (options->json)
      std::cout << all.dump(2) << '\n';
    else
      print_description(all);
  });
  CLI::App *modes =
      command_with_file("modes", "List the modes: number, eigenvalue, Hz, generalized mass and stiffness");
  modes->add_flag("--plot", options->plot, "Draw frequencies and modal statistics as bars");
  modes->callback([options] {
    if (options->plot && options->json) throw Failure(kUsage, "--plot is for people, --json for programs: give one");
    const Body body = open_record(options->file);
    if (options->plot)
      plot_modes(body.get());
    else if (options->json)
      std::cout << modes_of(body.get()).dump(2) << '\n';
    else
      print_modes(body.get());
  });
  CLI::App *nodes = command_with_file("nodes", "List the nodes: ID, coordinates, mass");
  as_list(nodes->add_option("--id", options->ids, "Only these nodes"))->type_name("ID,...");
  nodes->callback([options] {
    const Body body = open_record(options->file);
    show_nodes(body.get(), options->ids, options->json);
  });
  CLI::App *mode = command_with_file("mode", "Show one mode, node by node");
  mode->add_option("NUMBER", options->mode,
                   "The mode's number; 0 with --kind stress or strain names the pre-stress or pre-strain")
      ->required();
  as_list(mode->add_option("--node", options->ids, "Only at these nodes"))->type_name("ID,...");
  mode->add_option("--kind", options->kind, "What of the mode")
      ->check(CLI::IsMember({"shape", "stress", "strain"}))
      ->default_str("shape");
  mode->callback([options] {
    const Body body = open_record(options->file);
    show_mode(body.get(), options->mode, kKinds.at(options->kind), options->ids, options->json);
  });
}

}  // namespace sbrtool
