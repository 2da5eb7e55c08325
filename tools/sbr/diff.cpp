// sbr diff: whether two records tell of the same body, and where they differ most.
#include "diff.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>

#include "commandline.h"
#include "comparing.h"

namespace sbrtool {
namespace {

struct DiffOptions {
  std::string a;
  std::string b;
  std::optional<double> relative;
  double absolute = 0.0;
  std::vector<std::string> blocks;  // NAME=R
  bool exact = false;
  bool json = false;
};

Tolerances tolerances_of(const DiffOptions &options, SBR a, SBR b) {
  Tolerances tolerances(options.exact, SBR_Double_Prec(a) == 0 || SBR_Double_Prec(b) == 0);
  if (options.relative) tolerances.set_all(*options.relative);
  tolerances.set_absolute(options.absolute);
  for (const std::string &text : options.blocks) {
    const std::size_t equals = text.find('=');
    char *end = nullptr;
    const double value = equals == std::string::npos ? NAN : std::strtod(text.c_str() + equals + 1, &end);
    if (!(value >= 0.0) || end == nullptr || *end != '\0' || end == text.c_str() + equals + 1)
      throw Failure(kUsage, "--tolerance: '" + text + "' is not of the form BLOCK=NUMBER");
    tolerances.set_block(CLI::detail::trim_copy(text.substr(0, equals)), value);
  }
  return tolerances;
}

// How the modes were matched, in words: nothing when each is itself.
std::string modes_in_words(const ModeMatch &match) {
  int turned = 0;
  int moved = 0;
  int mixed = 0;
  for (const MatchedMode &mode : match.modes) {
    if (!mode.alone()) {
      ++mixed;
      continue;
    }
    turned += mode.parts[0].second < 0.0 ? 1 : 0;
    moved += mode.parts[0].first != mode.b ? 1 : 0;
  }
  std::string text = std::to_string(match.modes.size()) + " modes matched";
  const auto add = [&](int count, const char *what) {
    if (count > 0) text += ", " + std::to_string(count) + what;
  };
  add(mixed, " as mixtures of modes of one frequency");
  add(turned, " with the other sign");
  add(moved, " in another place");
  add(static_cast<int>(match.unmatched.size()), " without a partner");
  return text;
}

}  // namespace

const Block *DiffOutcome::farthest() const {
  const Block *found = nullptr;
  for (const Block &block : blocks)
    if (block.same() && block.largest() > 0.0 && std::isfinite(block.largest()) &&
        (found == nullptr || block.largest() > found->largest()))
      found = &block;
  return found;
}

DiffOutcome compare_records(SBR a, SBR b, const Tolerances &tolerances) {
  DiffRun run(a, b, tolerances);
  for (void (*const part)(DiffRun &) : {compare_geometry, compare_modes, compare_invariants, compare_loads}) part(run);
  DiffOutcome outcome;
  outcome.match = run.match;
  for (const Block &block : run.blocks)
    if (!block.empty()) outcome.blocks.push_back(block);
  for (const Block &block : outcome.blocks) outcome.different += block.same() ? 0 : 1;
  return outcome;
}

std::string summary_of(const DiffOutcome &outcome) {
  if (!outcome.same()) {
    std::string names;
    for (const Block &block : outcome.blocks)
      if (!block.same()) names += (names.empty() ? "" : ", ") + block.name();
    return "different: " + std::to_string(outcome.different) + " of " + std::to_string(outcome.compared()) +
           " blocks (" + names + "); " + modes_in_words(outcome.match);
  }
  return "same: " + std::to_string(outcome.compared()) + " blocks; " + modes_in_words(outcome.match) +
         (outcome.farthest() == nullptr ? ""
                                        : "; largest difference " + brief(outcome.farthest()->largest(), 2) + " (" +
                                              outcome.farthest()->name() + ")");
}

namespace {

Json json_of(const DiffOutcome &outcome, const DiffOptions &options) {
  Json blocks = Json::array();
  for (const Block &block : outcome.blocks) blocks.push_back(block.json());
  Json modes = Json::array();
  for (const MatchedMode &mode : outcome.match.modes) {
    Json parts = Json::array();
    for (const auto &[k, weight] : mode.parts) parts.push_back({{"mode_of_a", k + 1}, {"weight", finite(weight)}});
    modes.push_back({{"mode_of_b", mode.b + 1}, {"mac", finite(mode.mac)}, {"parts", parts}});
  }
  return {{"a", options.a},
          {"b", options.b},
          {"same", outcome.same()},
          {"summary", summary_of(outcome)},
          {"different_blocks", outcome.different},
          {"blocks", blocks},
          {"modes", modes},
          {"unmatched", outcome.match.unmatched}};
}

void print(const DiffOutcome &outcome) {
  Table table({"<block", "<result", "tolerance", "largest difference"});
  std::string places;
  for (const Block &block : outcome.blocks) {
    table.add({block.name(), block.verdict(), brief(block.tolerance(), 2), brief(block.largest(), 2)});
    if (!block.worst().empty()) places += "  " + block.name() + ", " + block.worst() + '\n';
  }
  table.print();
  if (!places.empty()) std::cout << "worst places:\n" << places;
  std::cout << summary_of(outcome) << '\n';
}

int run_diff(const DiffOptions &options) {
  const Body a = open_record(options.a);
  const Body b = open_record(options.b);
  // One file compared with itself comes as one shared body.
  const DiffOutcome outcome = compare_records(a.get(), b.get(), tolerances_of(options, a.get(), b.get()));
  if (options.json)
    std::cout << json_of(outcome, options).dump(2) << '\n';
  else
    print(outcome);
  return outcome.same() ? kDone : kFindings;
}

}  // namespace

void add_diff_command(CLI::App &app, int &exit_code) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App *diff = app.add_subcommand("diff", "Compare two records, block by block and mode by mode");
  diff->add_option("A", options->a, "One record")->required();
  diff->add_option("B", options->b, "The other")->required();
  diff->add_option(
          "--rtol", options->relative,
          "Relative tolerance of all blocks, instead of one for each: 1e-9 for nodes, 1e-6 for frequencies and "
          "mass, 1e-4 for shapes, 1e-3 for stress; at least 1e-6 when a record is in single precision")
      ->type_name("R")
      ->check(CLI::NonNegativeNumber);
  diff->add_option("--atol", options->absolute, "Absolute tolerance, besides (0)")
      ->type_name("A")
      ->check(CLI::NonNegativeNumber);
  as_list(diff->add_option("--tolerance", options->blocks, "Relative tolerance of a block, by its name in the table"))
      ->type_name("BLOCK=R,...");
  diff->add_flag(
      "--exact", options->exact,
      "Value by value and modes by their place: 1e-12, 1e-6 when a record is in single precision, no floors");
  diff->add_flag("--json", options->json, "Print JSON");
  diff->callback([options, &exit_code] { exit_code = run_diff(*options); });
}

}  // namespace sbrtool
