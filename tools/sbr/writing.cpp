#include "writing.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

#include "output.h"
#include "rawrecord.h"

namespace sbrtool {
namespace {

// A number without a plus sign: the option's reader takes digits, point, e and minus only.
std::string plain_number(double value) {
  std::string text = number(value);
  if (const auto plus = text.find('+'); plus != std::string::npos) text.erase(plus, 1);
  return text;
}

// A keyword counts wherever it stands in the option variable, so also inside a file name.
void check_sketch_name(const std::string &path) {
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (option.is_in(path))
      throw Failure(kUsage, "the name of the sketch file holds the option keyword '" + std::string(option.keyword) +
                                "', which would take effect too; rename the file");
  if (path.find('"') != std::string::npos) throw Failure(kUsage, "the name of the sketch file holds a quotation mark");
}

// Layouts and invariants are told by one flag each.
bool is_chosen(const sbr::WriteOption &option, const WriteOptions &options) {
  const bool layout = option.member == &sbr::WriteFlags::layout_81 || option.member == &sbr::WriteFlags::layout_82;
  return option.choice == (layout ? options.layout : options.invariants);
}

// Whether a flag that takes a value has one.
bool is_given(const sbr::WriteOption &option, const WriteOptions &options) {
  switch (option.value) {
    case sbr::OptionValue::sketch:
      return !options.sketch.empty();
    case sbr::OptionValue::coarsening:
      return !options.coarsen.empty();
    case sbr::OptionValue::lowpass:
      return options.lowpass.has_value();
    case sbr::OptionValue::highpass:
      return options.highpass.has_value();
    case sbr::OptionValue::none:
      break;
  }
  return option.member == &sbr::WriteFlags::any_invariants && !options.invariants.empty();
}

// What stands behind a keyword; nothing when the flags do not ask for the option.
std::optional<std::string> value_of(const sbr::WriteOption &option, const WriteOptions &options) {
  const auto bracketed = [](const std::string &value) { return "(" + value + ")"; };
  switch (option.value) {
    case sbr::OptionValue::none:
      if (option.choice.empty() ? options.*option.member : is_chosen(option, options)) return "";
      break;
    case sbr::OptionValue::sketch:
      if (options.sketch.empty()) break;
      check_sketch_name(options.sketch);
      return bracketed('"' + options.sketch + '"');
    case sbr::OptionValue::coarsening:
      if (options.coarsen.empty()) break;
      if (options.coarsen.find_first_not_of(" 0123456789.,preserve_str") != std::string::npos)
        throw Failure(kUsage, "--coarsen takes numbers, commas and preserve_str only");
      return bracketed(full_coarsening(options.coarsen));
    case sbr::OptionValue::lowpass:
      if (options.lowpass) return bracketed(plain_number(*options.lowpass));
      break;
    case sbr::OptionValue::highpass:
      if (options.highpass) return bracketed(plain_number(*options.highpass));
      break;
  }
  return std::nullopt;
}

// Of two values for one option the library takes the first, which is that of the variable.
void check_variable(const std::string &variable, const WriteOptions &options) {
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (!option.value_name.empty() && option.is_in(variable) && is_given(option, options))
      throw Failure(kUsage, (option.flag.empty() ? "--invariants" : std::string(option.flag)) + " is given while " +
                                sbr::kWriteOptionsVariable + " holds '" + std::string(option.keyword) +
                                "' too, which would win; unset the variable");
}

// ---- flags ---------------------------------------------------------------------------------------------------------

// A flag whose values stand for one keyword each.
CLI::Option *add_choice(CLI::App &command, const sbr::WriteOption &first, WriteOptions &options) {
  std::set<std::string> choices;
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (option.flag == first.flag) choices.emplace(option.choice);
  std::string &choice = first.member == &sbr::WriteFlags::layout_82 ? options.layout : options.invariants;
  return command.add_option(std::string(first.flag), choice, std::string(first.help))->check(CLI::IsMember(choices));
}

CLI::Option *add_flag(CLI::App &command, const sbr::WriteOption &option, WriteOptions &options) {
  const std::string flag(option.flag);
  const std::string help(option.help);
  switch (option.value) {
    case sbr::OptionValue::sketch:
      return command.add_option(flag, options.sketch, help)->check(CLI::ExistingFile);
    case sbr::OptionValue::coarsening:
      return command.add_option(flag, options.coarsen, help);
    case sbr::OptionValue::lowpass:
      return command.add_option(flag, options.lowpass, help);
    case sbr::OptionValue::highpass:
      return command.add_option(flag, options.highpass, help);
    case sbr::OptionValue::none:
      break;
  }
  return option.choice.empty() ? command.add_flag(flag, options.*option.member, help)
                               : add_choice(command, option, options);
}

}  // namespace

void add_write_options(CLI::App &command, WriteOptions &options) {
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (!option.help.empty()) {
      CLI::Option *flag = add_flag(command, option, options)->group("Write options");
      if (option.value != sbr::OptionValue::none) flag->type_name(std::string(option.value_name));
    }
}

std::string full_coarsening(const std::string &text) {
  return std::count(text.begin(), text.end(), ',') < 2 ? text + ",0" : text;
}

std::string option_text(const WriteOptions &options) {
  std::string text;
  if (const char *given = std::getenv(sbr::kWriteOptionsVariable); given != nullptr) text = given;
  check_variable(text, options);
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (const auto value = value_of(option, options))
      text += (text.empty() ? "" : " ") + std::string(option.keyword) + *value;
  return text;
}

void use_options(SBR body, const WriteOptions &options) {
  WriteOptions given = options;
  // A body without faces has none to strip: the library takes such a list for missing memory.
  int faces = 0;
  int words = 0;
  if (options.sketch.empty() && (SBR_FaceListSize(body, &faces, &words) == 0 || faces == 0)) given.strip_faces = false;
  const std::string text = option_text(given);
  if (!text.empty()) setenv(sbr::kWriteOptionsVariable, text.c_str(), 1);
}

// ---- what cannot be written rightly --------------------------------------------------------------------------------

double share_of_nodes(SBR body, double mass) {
  double sum = 0.0;
  for (int i = 0; i < SBR_NodeCount(body); ++i) sum += SBR_NodalMass(body, i);
  return sum / mass;
}

std::optional<double> nodal_share(SBR body) {
  if (SBR_Exists(body, kFirstInvariant) == 0) return std::nullopt;
  const double stored = SBR_Invar1(body);
  if (!(stored > 0.0)) return std::nullopt;
  return share_of_nodes(body, stored);
}

bool is_whole(std::optional<double> share) { return !share || std::fabs(*share - 1.0) <= 1e-5; }

namespace {

bool stores_invariants(SBR body) {
  for (int block = kFirstInvariant; block <= kLastInvariant; ++block)
    if (SBR_Exists(body, block) != 0) return true;
  return false;
}

// Has the invariants that the record stores computed afresh.
void recompute_invariants(SBR body, WriteOptions &options) {
  if (SBR_ModeCount(body) == 0)
    options.empty = true;
  else if (options.invariants.empty() && SBR_Exists(body, kThirdInvariant) != 0)
    options.invariants = SBR_Exists(body, kLastInvariant) != 0 ? "full" : "fast";
}

void require_stored_invariants(SBR body, const WriteOptions &options, double share) {
  static constexpr std::array<int, 8> kNumbers = {1, 2, 3, 4, 5, 7, 8, 9};
  std::string missing;
  for (std::size_t i = 0; i < kNumbers.size(); ++i) {
    const bool wanted = options.invariants == "full" || (kNumbers[i] != 5 && kNumbers[i] != 9);
    if (!wanted || SBR_Exists(body, kFirstInvariant + static_cast<int>(i)) != 0) continue;
    missing += (missing.empty() ? "" : ", ") + std::to_string(kNumbers[i]);
  }
  if (missing.empty()) return;
  throw Failure(kUsage, "--invariants " + options.invariants + ": the nodes of the record hold " +
                            brief(100.0 * share, 4) + " % of its mass, so that invariants " + missing +
                            " cannot be computed from them; start from the record with all its nodes, or leave the "
                            "option out to keep the invariants that are stored");
}

}  // namespace

void require_whole_nodes(SBR body, const WriteOptions &options) {
  if (options.shift_to_cm && stores_invariants(body))
    throw Failure(kUsage, "--shift-to-cm: the record stores inertia invariants, which would not be moved");
  if (options.invariants.empty()) return;
  const std::optional<double> share = nodal_share(body);
  if (is_whole(share)) return;
  require_stored_invariants(body, options, *share);
}
Body open_to_write(const std::string &input, WriteOptions &options) {
  Body body = open_record(input);
  const bool old = !options.layout.empty() && SBR_Exists(body.get(), kThirdInvariant) != 0;
  const bool moves = options.shift_to_cm && stores_invariants(body.get());
  if (!old && !moves) return body;
  if (const std::optional<double> share = nodal_share(body.get()); !is_whole(share))
    throw Failure(kUsage, (old ? "--layout " + options.layout : std::string("--shift-to-cm")) + ": the nodes of " +
                              input + " hold " + brief(100.0 * *share, 4) +
                              " % of its mass, the rest is in its invariants, which " +
                              (old ? "the old layouts cannot hold" : "the shift leaves as they are") +
                              "; start from the record with all its nodes");
  if (!old) recompute_invariants(body.get(), options);
  body.reset();
  return open_without_blocks(input, kFirstInvariant, old ? kBlockCount - 1 : kLastInvariant);
}

MovableBody::MovableBody(const std::string &input, WriteOptions &options) : body_(open_to_write(input, options)) {
  if (SBR_Exists(body_.get(), kMassBlock) == 0 || is_whole(nodal_share(body_.get()))) return;
  for (int i = 0; i < SBR_NodeCount(body_.get()); ++i) masses_.push_back(SBR_NodalMass(body_.get(), i));
  body_.reset();
  body_ = open_without_blocks(input, kMassBlock, kMassBlock);
}

void MovableBody::settle() {
  for (std::size_t i = 0; i < masses_.size(); ++i)
    if (SBR_SetNodalMass(body_.get(), SBR_NodeID(body_.get(), static_cast<int>(i)), masses_[i]) == 0)
      throw Failure(kFailed, "the nodal masses could not be kept");
}

namespace {

// The range as the library takes it: from the first mode above the one bound up to the first mode above the other.
// False when the body cannot tell its frequencies yet.
bool check_frequency_range(SBR body, const WriteOptions &options) {
  if ((!options.lowpass && !options.highpass) || options.empty || options.no_ortho) return true;
  const double low = options.highpass.value_or(-1.0);
  const double high = options.lowpass.value_or(1e8);
  int first = -1;
  int end = -1;
  double least = HUGE_VAL;
  double most = -HUGE_VAL;
  const int modes = SBR_ModeCount(body);
  for (int i = 0; i < modes; ++i) {
    double hz = 0.0;
    double mass = 0.0;
    if (SBR_Eigenvalue(body, SBR_ModeNumber(body, i), nullptr, &hz, nullptr, &mass, nullptr) == 0) return false;
    if (first < 0 && hz > low) first = i;
    if (end < 0 && (mass == 0.0 || hz > high)) end = i;
    least = std::fmin(least, hz);
    most = std::fmax(most, hz);
  }
  if (first >= 0 && (end < 0 ? modes : end) > first) return true;
  const std::string has =
      modes == 0 ? "the record has no modes"
                 : "its " + std::to_string(modes) + " modes lie from " + brief(least) + " to " + brief(most) + " Hz";
  const std::string range =
      !options.lowpass    ? "above " + brief(low) + " Hz (--highpass)"
      : !options.highpass ? "up to " + brief(high) + " Hz (--lowpass)"
                          : "above " + brief(low) + " Hz (--highpass) and up to " + brief(high) + " Hz (--lowpass)";
  throw Failure(kUsage, "no mode lies " + range + ": " + has);
}

void check_options(const WriteOptions &options) {
  for (const auto &[name, value] : {std::pair{"--lowpass", options.lowpass}, std::pair{"--highpass", options.highpass}})
    if (value && !std::isfinite(*value)) throw Failure(kUsage, std::string(name) + ": a frequency in Hz is needed");
  if ((options.lowpass || options.highpass) && options.no_ortho)
    std::cerr << "warning: --no-ortho writes all modes as they are; the frequency range has no effect\n";
  if (options.lowpass && options.highpass && *options.highpass >= *options.lowpass)
    throw Failure(kUsage, "--highpass " + brief(*options.highpass) + " is not below --lowpass " +
                              brief(*options.lowpass) + ": no mode lies between them");
}

// Operators of monitor points are written for all modes, and read for those that the record has: with fewer modes their
// numbers are others.
void warn_of_operators(SBR body, SBR written) {
  constexpr int kOperatorTypes = 4;
  const int modes = SBR_ModeCount(written);
  if (modes == 0 || modes == SBR_ModeCount(body)) return;
  for (int point = 0; point < SBR_GetMonitorPointCount(body); ++point)
    for (int type = 1; type <= kOperatorTypes; ++type)
      if (SBR_MonitorPointHasOperator(body, point, type) != 0) {
        std::cerr << "warning: the operators of the monitor points are written for all " << SBR_ModeCount(body)
                  << " modes, and read wrong from a record with " << modes
                  << " of them; to use them, write all modes (without --lowpass and --highpass)\n";
        return;
      }
}

void check_names(const std::string &input, const std::string &output) {
  std::error_code code;
  if (std::filesystem::is_directory(output, code)) throw Failure(kUsage, output + ": is a directory");
  if (!input.empty()) require_other_file(input, output, "input");
}

}  // namespace

void write_record(SBR body, const std::string &input, const std::string &output, const WriteOptions &options,
                  Errors errors) {
  check_names(input, output);
  check_options(options);
  const bool range_known = check_frequency_range(body, options);
  require_whole_nodes(body, options);
  use_options(body, options);
  OutputFile file(output);
  const int errors_before = reported_errors();
  const bool written = SBR_write_SBR(body, file.path().c_str()) != 0;
  if (!written || (errors == Errors::fail && reported_errors() != errors_before))
    throw Failure(kFailed, output + ": the record was not written");
  // Modes that were not orthogonal have their frequencies only now.
  if (!range_known && !options.mks) check_frequency_range(body, options);
  if (file.is_regular()) {
    const Body readable(SBR_CreateFromSBR(file.path().c_str()));
    if (!readable) throw Failure(kFailed, output + ": the record was not written, for it could not be read back");
    warn_of_operators(body, readable.get());
  }
  file.commit();
}

}  // namespace sbrtool
