// sbr check: whether records are sound, each finding with its figure, its place and its meaning.
#include "check.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <optional>

#include "commandline.h"
#include "comparing.h"

namespace sbrtool {

// ---- CheckRun
// --------------------------------------------------------------------------------------------------------

namespace {
constexpr std::int64_t kMostKeptValues = 20'000'000;  // 160 MB
constexpr std::array<const char *, 4> kWords = {"ok", "note", "warning", "error"};
}  // namespace

const char *word_of(Level level) { return kWords[static_cast<std::size_t>(level)]; }

CheckRun::CheckRun(SBR body, std::string path, double tolerance)
    : body_(body),
      path_(std::move(path)),
      tolerance_(tolerance),
      nodes_(SBR_NodeCount(body)),
      modes_(SBR_ModeCount(body)),
      keeps_shapes_(std::int64_t{6} * nodes_ * modes_ <= kMostKeptValues) {}

const std::vector<double> &CheckRun::shape(int mode, int part) {
  const std::pair<int, int> key = keeps_shapes_ ? std::pair(mode, part) : std::pair(-1, -1);
  const auto place = shapes_.find(key);
  if (keeps_shapes_ && place != shapes_.end()) return place->second;
  return shapes_[key] = mode_part(body_, mode, 0, part);
}

void CheckRun::expect(bool good, Finding finding) {
  if (good) {
    finding.level = Level::good;
    finding.place.clear();
    finding.meaning.clear();
  }
  findings_.push_back(std::move(finding));
}

void CheckRun::note(const std::string &subject, const std::string &what, double figure, const std::string &meaning) {
  findings_.push_back({Level::note, subject, what, figure, "", meaning});
}

std::vector<Finding> findings_of(SBR body, const std::string &file, std::optional<double> tolerance) {
  CheckRun run(body, file, tolerance.value_or(SBR_Double_Prec(body) != 0 ? 1e-6 : 1e-4));
  for (void (*const part)(CheckRun &) : {check_structure, check_units, check_numbers, check_modes, check_masses,
                                         check_invariants, check_scales, check_rigid_modes})
    part(run);
  return run.findings();
}

// ---- one record
// ------------------------------------------------------------------------------------------------------

namespace {

struct CheckOptions {
  std::vector<std::string> files;
  std::optional<double> tolerance;
  bool strict = false;
  bool json = false;
};

struct Verdict {
  std::string file;
  std::string unreadable;  // why it could not be examined
  std::vector<Finding> findings;

  [[nodiscard]] int count(Level level) const {
    return static_cast<int>(
        std::count_if(findings.begin(), findings.end(), [&](const Finding &one) { return one.level == level; }));
  }
  [[nodiscard]] bool sound(bool strict) const {
    return unreadable.empty() && count(Level::error) == 0 && (!strict || count(Level::warning) == 0);
  }
  [[nodiscard]] int exit_code(bool strict) const {
    if (!unreadable.empty()) return kUnreadable;
    return sound(strict) ? kDone : kFindings;
  }
  [[nodiscard]] std::string text(bool strict) const {
    if (!unreadable.empty()) return "unreadable";
    std::string counts;
    for (const Level level : {Level::error, Level::warning})
      if (const int n = count(level); n > 0)
        counts += (counts.empty() ? "" : ", ") + std::to_string(n) + ' ' + word_of(level) + (n > 1 ? "s" : "");
    const std::string verdict = sound(strict) ? "sound" : "not sound";
    return counts.empty() ? verdict : verdict + ": " + counts;
  }
};

Verdict examine(const std::string &file, const CheckOptions &options) {
  Verdict verdict{file, "", {}};
  try {
    const Body body = open_record(file);
    verdict.findings = findings_of(body.get(), file, options.tolerance);
  } catch (const Failure &failure) {
    if (failure.code() != kUnreadable || options.files.size() == 1) throw;
    verdict.unreadable = failure.what();
  }
  return verdict;
}

Json json_of(const Verdict &verdict, bool strict) {
  Json list = Json::array();
  for (const Finding &one : verdict.findings)
    list.push_back({{"level", word_of(one.level)},
                    {"subject", one.subject},
                    {"what", one.what},
                    {"figure", finite(one.figure)},
                    {"place", one.place},
                    {"meaning", one.meaning}});
  Json all = {{"file", verdict.file},
              {"sound", verdict.sound(strict)},
              {"errors", verdict.count(Level::error)},
              {"warnings", verdict.count(Level::warning)},
              {"notes", verdict.count(Level::note)},
              {"findings", list}};
  if (!verdict.unreadable.empty()) all["unreadable"] = verdict.unreadable;
  return all;
}

// ---- output
// ----------------------------------------------------------------------------------------------------------

void print_meanings(const Verdict &verdict, const std::string &indent) {
  for (const Finding &one : verdict.findings) {
    if (one.level < Level::warning) continue;
    std::cout << indent << word_of(one.level) << ": " << one.subject << ", " << one.what << ": " << brief(one.figure, 4)
              << (one.place.empty() ? "" : " (" + one.place + ")") << ". " << one.meaning << '\n';
  }
}

void print_one(const Verdict &verdict, bool strict) {
  Table table({"<", "<subject", "figure", "<what", "<where"});
  for (const Finding &one : verdict.findings)
    table.add({one.level == Level::error ? "ERROR" : word_of(one.level), one.subject, brief(one.figure, 4), one.what,
               one.place});
  table.print();
  print_meanings(verdict, "");
  std::cout << verdict.text(strict) << '\n';
}

void print_several(const std::vector<Verdict> &verdicts, bool strict) {
  Table table({"<file", "errors", "warnings", "notes", "<verdict"});
  for (const Verdict &verdict : verdicts)
    table.add({verdict.file, std::to_string(verdict.count(Level::error)), std::to_string(verdict.count(Level::warning)),
               std::to_string(verdict.count(Level::note)), verdict.text(strict)});
  table.print();
  for (const Verdict &verdict : verdicts) {
    if (verdict.unreadable.empty() && verdict.count(Level::error) + verdict.count(Level::warning) == 0) continue;
    std::cout << '\n' << verdict.file << ":\n";
    if (!verdict.unreadable.empty()) std::cout << "  " << verdict.unreadable << '\n';
    print_meanings(verdict, "  ");
  }
}

int run_check(const CheckOptions &options) {
  std::vector<Verdict> verdicts;
  int code = kDone;
  for (const std::string &file : options.files) {
    verdicts.push_back(examine(file, options));
    code = std::max(code, verdicts.back().exit_code(options.strict));
  }
  if (options.json) {
    Json list = Json::array();
    for (const Verdict &verdict : verdicts) list.push_back(json_of(verdict, options.strict));
    std::cout << (verdicts.size() == 1 ? list[0] : list).dump(2) << '\n';
  } else if (verdicts.size() == 1) {
    print_one(verdicts[0], options.strict);
  } else {
    print_several(verdicts, options.strict);
  }
  return code;
}

}  // namespace

void add_checking_commands(CLI::App &app, int &exit_code) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App *check = app.add_subcommand("check", "Check records: structure, units, numbers, physics");
  check->add_option("FILE", options->files, "The records")->required();
  above_zero(
      check->add_option("--tolerance", options->tolerance, "Relative tolerance (1e-6; 1e-4 for single precision)"))
      ->type_name("T");
  check->add_flag("--strict", options->strict, "Warnings make a record unsound too");
  check->add_flag("--json", options->json, "Print JSON");
  check->footer(
      "Findings are errors, warnings or notes. An error ends with 1; so does a warning with --strict. Notes are\n"
      "figures to look at. Of several records there is a table, and the exit code is that of the worst.");
  check->callback([options, &exit_code] { exit_code = run_check(*options); });
  add_diff_command(app, exit_code);
}

}  // namespace sbrtool
