#include "writing.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>

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

// ---- flags

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
    if (!option.help.empty()) add_flag(command, option, options)->group("Write options");
}

std::string full_coarsening(const std::string &text) {
  return std::count(text.begin(), text.end(), ',') < 2 ? text + ",0" : text;
}

std::string option_text(const WriteOptions &options) {
  std::string text;
  if (const char *given = std::getenv(sbr::kWriteOptionsVariable); given != nullptr) text = given;
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (const auto value = value_of(option, options))
      text += (text.empty() ? "" : " ") + std::string(option.keyword) + *value;
  return text;
}

void use_options(const WriteOptions &options) {
  const std::string text = option_text(options);
  if (!text.empty()) setenv(sbr::kWriteOptionsVariable, text.c_str(), 1);
}

void write_record(SBR body, const std::string &input, const std::string &output, const WriteOptions &options) {
  std::error_code code;
  if (std::filesystem::is_directory(output, code)) throw Failure(kUsage, output + ": is a directory");
  if (!input.empty() && std::filesystem::equivalent(input, output, code))
    throw Failure(kUsage, output + ": is the input itself; write to another file");
  use_options(options);
  if (SBR_write_SBR(body, output.c_str()) == 0) throw Failure(kFailed, output + ": the record was not written");
}

}  // namespace sbrtool

// ---- progress ------------------------------------------------------------------------------------------------------

// The program's own progress monitor takes the place of the library's silent one: a bar on a terminal, nothing else.
namespace {

struct Progress {
  int total = 0;
  int done = 0;
  int shown = -1;
};
Progress progress;

void draw() {
  constexpr int kWidth = 40;
  if (progress.total < 1 || isatty(STDERR_FILENO) == 0) return;
  const int filled = static_cast<int>(static_cast<long>(progress.done) * kWidth / progress.total);
  if (filled == progress.shown) return;
  progress.shown = filled;
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(kWidth, '.');
  std::fprintf(stderr, "\r[%s] %3d %%%s", bar.c_str(), filled * 100 / kWidth, filled == kWidth ? "\r\033[K" : "");
  std::fflush(stderr);
}

}  // namespace

extern "C" void SBR_TimeMonitor(int total) {
  progress = {total, 0, -1};
  draw();
}

extern "C" void SBR_TimeMonitorStamp(void) {
  if (progress.done < progress.total) ++progress.done;
  draw();
}
