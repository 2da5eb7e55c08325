#include "writing.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace sbrtool {
namespace {

constexpr const char *kVariable = "KTX_SBRWRITE_OPTIONS";

// The keywords of the option variable. They are found anywhere in it, so also inside a file name.
constexpr std::array<const char *, 16> kKeywords = {
    "lbrf2cm", "sketch",  "strip_face", "coarsen(", "sparse_str", "full_str",  "no_ortho", "single",
    "no_xdr",  "82_comp", "81_comp",    "invar",    "lowpass(",   "highpass(", "empty",    "MKS"};

// A number without a plus sign: the option's reader takes digits, point, e and minus only.
std::string plain_number(double value) {
  std::string text = number(value);
  if (const auto plus = text.find('+'); plus != std::string::npos) text.erase(plus, 1);
  return text;
}

void check_sketch_name(const std::string &path) {
  for (const char *keyword : kKeywords)
    if (path.find(keyword) != std::string::npos)
      throw Failure(kUsage, "the name of the sketch file holds the option keyword '" + std::string(keyword) +
                                "', which would take effect too; rename the file");
  if (path.find('"') != std::string::npos) throw Failure(kUsage, "the name of the sketch file holds a quotation mark");
}

}  // namespace

void add_write_options(CLI::App &command, WriteOptions &options) {
  const char *group = "Write options";
  command.add_flag("--single", options.single, "Single-precision reals")->group(group);
  command.add_flag("--no-xdr", options.no_xdr, "Native instead of XDR encoding")->group(group);
  command.add_option("--lowpass", options.lowpass, "Drop modes above this frequency (Hz)")->group(group);
  command.add_option("--highpass", options.highpass, "Drop modes up to this frequency (Hz)")->group(group);
  command.add_option("--invariants", options.invariants, "Compute and store inertia invariants: full or fast")
      ->check(CLI::IsMember({"full", "fast"}))
      ->group(group);
  command
      .add_option("--coarsen", options.coarsen,
                  "Fuse small flat faces: RES,ANGLE[,COLINEAR[,ID,...][,preserve_str]]; RES a fraction of the extent, "
                  "ANGLE in degrees")
      ->group(group);
  command.add_option("--sketch", options.sketch, "Replace the faces by those of a sketch file")
      ->check(CLI::ExistingFile)
      ->group(group);
  command.add_flag("--strip-faces", options.strip_faces, "Remove faces that two elements share")->group(group);
  command.add_flag("--sparse-stress", options.sparse_stress, "Keep only nodes with stress or strain other than zero")
      ->group(group);
  command.add_flag("--full-stress", options.full_stress, "Stress and strain at all nodes (layout 4.1)")->group(group);
  command.add_option("--layout", options.layout, "An old layout: 81 or 82")
      ->check(CLI::IsMember({"81", "82"}))
      ->group(group);
  command.add_flag("--no-ortho", options.no_ortho, "Leave the modes as they are; store generalized mass and stiffness")
      ->group(group);
  command.add_flag("--empty", options.empty, "Geometry and mass only, no modes")->group(group);
  command.add_flag("--mks", options.mks, "Convert to kilogram, meter, second, newton")->group(group);
  command.add_flag("--shift-to-cm", options.shift_to_cm, "Move the reference frame to the centre of mass")
      ->group(group);
}

std::string full_coarsening(const std::string &text) {
  return std::count(text.begin(), text.end(), ',') < 2 ? text + ",0" : text;
}

std::string option_text(const WriteOptions &options) {
  std::string text;
  if (const char *given = std::getenv(kVariable); given != nullptr) text = given;
  const auto add = [&](const std::string &word) { text += (text.empty() ? "" : " ") + word; };
  if (options.shift_to_cm) add("lbrf2cm");
  if (!options.sketch.empty()) {
    check_sketch_name(options.sketch);
    add("sketch(\"" + options.sketch + "\")");
  }
  if (options.strip_faces) add("strip_face");
  if (!options.coarsen.empty()) {
    if (options.coarsen.find_first_not_of(" 0123456789.,preserve_str") != std::string::npos)
      throw Failure(kUsage, "--coarsen takes numbers, commas and preserve_str only");
    add("coarsen(" + full_coarsening(options.coarsen) + ")");
  }
  if (options.sparse_stress) add("sparse_str");
  if (options.full_stress) add("full_str");
  if (options.no_ortho) add("no_ortho");
  if (options.single) add("single");
  if (options.no_xdr) add("no_xdr");
  if (!options.layout.empty()) add(options.layout + "_comp");
  if (!options.invariants.empty()) add(options.invariants + "_invar");
  if (options.lowpass) add("lowpass(" + plain_number(*options.lowpass) + ")");
  if (options.highpass) add("highpass(" + plain_number(*options.highpass) + ")");
  if (options.empty) add("empty");
  if (options.mks) add("MKS");
  return text;
}

void use_options(const WriteOptions &options) {
  const std::string text = option_text(options);
  if (!text.empty()) setenv(kVariable, text.c_str(), 1);
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
