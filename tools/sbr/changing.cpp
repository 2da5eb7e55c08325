// sbr report, write, transform, reduce, units: a record printed, and made anew with changes.
#include <array>
#include <cstdio>
#include <iostream>
#include <sstream>

#include "session.h"
#include "unitsystems.h"
#include "writing.h"

namespace sbrtool {
namespace {

constexpr int kBlockNumbers = 36;

struct Job {
  std::string input;
  std::string output;
  WriteOptions options;
};

std::shared_ptr<Job> add_job(CLI::App &command) {
  auto job = std::make_shared<Job>();
  command.add_option("IN", job->input, "The record to read")->required();
  command.add_option("OUT", job->output, "The record to write")->required();
  add_write_options(command, job->options);
  return job;
}

void print_report(const std::string &file, std::vector<int> blocks) {
  const Body body = open_record(file);
  if (blocks.empty())
    for (int block = 1; block <= kBlockNumbers; ++block)
      if (SBR_Exists(body.get(), block - 1) != 0) blocks.push_back(block);
  for (const int block : blocks) SBR_Contents(body.get(), block, stdout);
  if (std::fflush(stdout) != 0) throw Failure(kFailed, "cannot write to standard output");
}

// ---- transform -----------------------------------------------------------------------------------------------------

std::vector<double> numbers_of(const std::string &text, const std::string &option,
                               std::initializer_list<std::size_t> counts) {
  std::vector<double> values;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, ',');) {
    std::size_t used = 0;
    try {
      values.push_back(std::stod(word, &used));
    } catch (const std::exception &) {
      used = 0;
    }
    if (used == 0 || used != word.size()) throw Failure(kUsage, option + ": '" + word + "' is not a number");
  }
  for (const std::size_t count : counts)
    if (values.size() == count) return values;
  throw Failure(kUsage, option + ": wrong number of values in '" + text + "'");
}

void transform(SBR body, const std::string &option, const std::string &text) {
  int done = 0;
  if (option == "--translate") {
    const auto v = numbers_of(text, option, {3});
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    done = SBR_Translate(body, v.data(), length);
  } else if (option == "--rotate") {
    auto v = numbers_of(text, option, {4, 7});
    v.resize(7, 0.0);
    done = SBR_Rotate(body, v.data(), v.data() + 4, v[3]);
  } else if (option == "--mirror") {
    auto v = numbers_of(text, option, {3, 6});
    v.resize(6, 0.0);
    done = SBR_Mirror(body, v.data(), v.data() + 3);
  } else if (option == "--renumber") {
    done = SBR_RenumberNodes(body, static_cast<int>(numbers_of(text, option, {1})[0]));
  } else {
    std::vector<int> ids;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');)
      ids.push_back(static_cast<int>(numbers_of(word, option, {1})[0]));
    done = SBR_RenumberInterfaceNodes(body, static_cast<int>(ids.size()), ids.data());
  }
  if (done == 0) throw Failure(kFailed, option + " " + text + ": refused");
}

void add_transform(CLI::App &app) {
  CLI::App *command = app.add_subcommand("transform", "Move, turn, mirror or renumber a body and write it");
  const auto job = add_job(*command);
  const auto values = std::make_shared<std::array<std::vector<std::string>, 5>>();
  const auto option = [&](std::size_t i, const char *name, const char *form, const char *text) {
    command->add_option(name, (*values)[i], text)->type_name(form)->allow_extra_args(false);
  };
  option(0, "--translate", "DX,DY,DZ", "Move the body by a vector");
  option(1, "--rotate", "AX,AY,AZ,DEG[,PX,PY,PZ]", "Turn it about an axis (through a point), right-handed");
  option(2, "--mirror", "NX,NY,NZ[,PX,PY,PZ]", "Reflect it in a plane (through a point)");
  option(3, "--renumber", "OFFSET", "Add an offset to all node IDs");
  option(4, "--renumber-interface", "ID,ID,...", "Give the interface nodes these IDs, in their order");
  command->footer("The steps are done in the order in which they are given; a step may be given several times.");
  command->callback([job, command, values] {
    const Body body = open_record(job->input);
    std::map<std::string, std::size_t> used;
    for (const CLI::Option *given : command->parse_order()) {
      const std::string name = given->get_name();
      static const std::vector<std::string> kSteps = {"--translate", "--rotate", "--mirror", "--renumber",
                                                      "--renumber-interface"};
      if (std::find(kSteps.begin(), kSteps.end(), name) == kSteps.end()) continue;
      transform(body.get(), name, given->results().at(used[name]++));
    }
    if (used.empty()) throw Failure(kUsage, "nothing to do: give --translate, --rotate, --mirror or --renumber");
    write_record(body.get(), job->input, job->output, job->options);
  });
}

// ---- write, reduce, units ------------------------------------------------------------------------------------------

void add_write(CLI::App &app) {
  CLI::App *command = app.add_subcommand("write", "Write a record anew: orthonormal modes, chosen blocks and layout");
  const auto job = add_job(*command);
  command->footer(
      "The flags become the text of the environment variable KTX_SBRWRITE_OPTIONS; what the variable\n"
      "holds already stays in front.");
  command->callback([job] {
    const Body body = open_record(job->input);
    write_record(body.get(), job->input, job->output, job->options);
  });
}

void add_reduce(CLI::App &app) {
  CLI::App *command = app.add_subcommand("reduce", "Make the surface smaller and drop what it does not need");
  const auto job = add_job(*command);
  const auto keep_nodes = std::make_shared<bool>(false);
  command->add_flag("--keep-nodes", *keep_nodes, "Keep nodes that no face, interface or load refers to");
  command->footer(
      "Inner faces go, then --sketch or --coarsen are applied, then nodes that nothing refers to go with their\n"
      "mode data.");
  command->callback([job, keep_nodes] {
    const Body body = open_record(job->input);
    int before = 0;
    int after = 0;
    int words = 0;
    SBR_FaceListSize(body.get(), &before, &words);
    const int nodes = SBR_NodeCount(body.get());
    if (!job->options.sketch.empty()) {
      SBR_SketchGrid(body.get(), job->options.sketch.c_str());
      job->options.sketch.clear();
    } else if (before > 0) {
      SBR_StripCommonFaces(body.get());
    }
    if (!job->options.coarsen.empty()) {
      SBR_TrimGeometry(body.get(), (full_coarsening(job->options.coarsen) + ")").c_str());
      job->options.coarsen.clear();
    }
    if (!*keep_nodes && SBR_DiscardUnreferencedNodes(body.get()) == 0)
      throw Failure(kFailed, "the nodes without a reference could not be discarded");
    SBR_FaceListSize(body.get(), &after, &words);
    std::cout << "faces " << before << " -> " << after << ", nodes " << nodes << " -> " << SBR_NodeCount(body.get())
              << '\n';
    write_record(body.get(), job->input, job->output, job->options);
  });
}

void add_units(CLI::App &app) {
  CLI::App *command = app.add_subcommand("units", "Convert a record to another unit system");
  const auto job = add_job(*command);
  const auto system = std::make_shared<std::string>();
  command->add_option("--to", *system, "The system: " + unit_system_names() + ", or MASS,LENGTH,TIME,FORCE")
      ->required();
  command->callback([job, system] {
    const UnitSystem units = unit_system(*system);
    const Body body = open_record(job->input);
    if (SBR_SetUnits(body.get(), units.mass.c_str(), units.length.c_str(), units.time.c_str(), units.force.c_str()) ==
        0)
      throw Failure(kUsage, "the record cannot be converted to " + *system);
    write_record(body.get(), job->input, job->output, job->options);
  });
}

}  // namespace

void add_changing_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  struct Options {
    std::string file;
    std::vector<int> blocks;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *report = app.add_subcommand("report", "Print blocks of a record as text");
  report->add_option("FILE", options->file, "The record")->required();
  report->add_option("BLOCK", options->blocks, "Block numbers, 1 to 36; all that exist when none is given")
      ->check(CLI::Range(1, kBlockNumbers));
  report->callback([options] { print_report(options->file, options->blocks); });
  add_write(app);
  add_transform(app);
  add_reduce(app);
  add_units(app);
}

}  // namespace sbrtool
