// sbr transform: a body moved, turned, mirrored, renumbered.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>

#include "changing.h"

namespace sbrtool {
namespace {

// The words between commas, without the blanks around them.
std::vector<std::string> words_of(const std::string &text) {
  std::vector<std::string> words;
  std::istringstream list(text);
  for (std::string word; std::getline(list, word, ',');) words.push_back(CLI::detail::trim_copy(word));
  return words;
}

std::vector<double> numbers_of(const std::string &text, const std::string &option,
                               std::initializer_list<std::size_t> counts) {
  std::vector<double> values;
  for (const std::string &word : words_of(text)) {
    char *end = nullptr;
    values.push_back(std::strtod(word.c_str(), &end));
    if (word.empty() || *end != '\0' || !std::isfinite(values.back()))
      throw Failure(kUsage, option + ": '" + word + "' is not a number");
  }
  for (const std::size_t count : counts)
    if (values.size() == count) return values;
  throw Failure(kUsage, option + ": wrong number of values in '" + text + "'");
}

std::vector<int> integers_of(const std::string &text, const std::string &option) {
  std::vector<int> values;
  for (const std::string &word : words_of(text)) {
    int value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size())
      throw Failure(kUsage, option + ": '" + word + "' is not a whole number in range");
    values.push_back(value);
  }
  return values;
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
    const std::vector<int> offset = integers_of(text, option);
    if (offset.size() != 1) throw Failure(kUsage, option + ": one number is needed, not '" + text + "'");
    done = SBR_RenumberNodes(body, offset[0]);
  } else {
    const std::vector<int> ids = integers_of(text, option);
    done = SBR_RenumberInterfaceNodes(body, static_cast<int>(ids.size()), ids.data());
  }
  if (done == 0) throw Failure(kFailed, option + " " + text + ": refused");
}

// Loads that were carried to the principal axes hold a force and a moment about the origin in their rigid entries. The
// library moves bodies without them.
void warn_of_loads(SBR body) {
  const auto has_rigid_entries = [&](double *given, int count) {
    const Given<double> values(given);
    for (int i = 0; values && i < std::min(count, SBR_RigidBodyModeCount(body)); ++i)
      if (values[static_cast<std::size_t>(i)] != 0.0) return true;
    return false;
  };
  int count = 0;
  bool found = false;
  if (SBR_ModalPreloadProcessed(body) != 0) {
    double *preload = SBR_GetModalPreload(body, &count);
    found = has_rigid_entries(preload, count);
  }
  for (int i = 0; i < SBR_GetModalLoadCaseCount(body) && !found; ++i) {
    if (SBR_ModalLoadProcessed(body, i) == 0) continue;
    double *load = SBR_GetModalLoad(body, i, &count);
    found = has_rigid_entries(load, count);
  }
  if (found)
    std::cerr << "warning: the record has modal loads on the principal axes; their force and moment stay those of the "
                 "former frame\n";
}

}  // namespace

void add_transform_command(CLI::App &app) {
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
    MovableBody body(job->input, job->options);
    std::map<std::string, std::size_t> used;
    bool warned = false;
    for (const CLI::Option *given : command->parse_order()) {
      const std::string name = given->get_name();
      static const std::vector<std::string> kSteps = {"--translate", "--rotate", "--mirror", "--renumber",
                                                      "--renumber-interface"};
      if (std::find(kSteps.begin(), kSteps.end(), name) == kSteps.end()) continue;
      const bool moves = name.compare(0, 10, "--renumber") != 0;
      if (moves && !warned) warn_of_loads(body.get());
      warned = warned || moves;
      transform(body.get(), name, given->results().at(used[name]++));
    }
    if (used.empty()) throw Failure(kUsage, "nothing to do: give --translate, --rotate, --mirror or --renumber");
    body.settle();
    write_record(body.get(), job->input, job->output, job->options);
  });
}

}  // namespace sbrtool
