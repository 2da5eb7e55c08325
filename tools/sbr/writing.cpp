#include "writing.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "output.h"
#include "rawrecord.h"

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

// Of two values for one option the library takes the first, which is that of the variable.
void check_variable(const std::string &variable, const WriteOptions &options) {
  const struct {
    const char *keyword;
    bool given;
    const char *flag;
  } both[] = {{"lowpass(", options.lowpass.has_value(), "--lowpass"},
              {"highpass(", options.highpass.has_value(), "--highpass"},
              {"coarsen(", !options.coarsen.empty(), "--coarsen"},
              {"sketch(", !options.sketch.empty(), "--sketch"},
              {"invar", !options.invariants.empty(), "--invariants"}};
  for (const auto &one : both)
    if (one.given && variable.find(one.keyword) != std::string::npos)
      throw Failure(kUsage, std::string(one.flag) + " is given while " + kVariable + " holds '" + one.keyword +
                                "' too, which would win; unset the variable");
}

}  // namespace

void add_write_options(CLI::App &command, WriteOptions &options) {
  const char *group = "Write options";
  command.add_flag("--single", options.single, "Single-precision reals")->group(group);
  command.add_flag("--no-xdr", options.no_xdr, "Native instead of XDR encoding")->group(group);
  command.add_option("--lowpass", options.lowpass, "Drop modes above this frequency")->type_name("HZ")->group(group);
  command.add_option("--highpass", options.highpass, "Drop modes up to this frequency")->type_name("HZ")->group(group);
  command
      .add_option("--invariants", options.invariants,
                  "Compute and store inertia invariants: all, or without 5 and 9 (fast)")
      ->check(CLI::IsMember({"full", "fast"}))
      ->group(group);
  command
      .add_option(
          "--coarsen", options.coarsen,
          "Fuse small flat faces: RES a fraction of the extent, ANGLE in degrees, COLINEAR 1 to remove vertices "
          "on straight edges; the nodes of the IDs stay, with preserve_str those with stress too")
      ->type_name("RES,ANGLE[,COLINEAR[,ID,...][,preserve_str]]")
      ->group(group);
  command.add_option("--sketch", options.sketch, "Replace the faces by those of a sketch file")
      ->check(CLI::ExistingFile)
      ->type_name("SKETCH")
      ->group(group);
  command.add_flag("--strip-faces", options.strip_faces, "Remove faces that two elements share")->group(group);
  command.add_flag("--sparse-stress", options.sparse_stress, "Keep only nodes with stress or strain other than zero")
      ->group(group);
  command.add_flag("--full-stress", options.full_stress, "Stress and strain at all nodes (layout 4.1)")->group(group);
  command.add_option("--layout", options.layout, "An old layout, of version 8.1 or 8.2")
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
  check_variable(text, options);
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

// ---- what cannot be written rightly
// ----------------------------------------------------------------------------------

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

void check_names(const std::string &input, const std::string &output) {
  std::error_code code;
  if (std::filesystem::is_directory(output, code)) throw Failure(kUsage, output + ": is a directory");
  if (!input.empty() && std::filesystem::equivalent(input, output, code))
    throw Failure(kUsage, output + ": is the input itself; write to another file");
}

}  // namespace

void write_record(SBR body, const std::string &input, const std::string &output, const WriteOptions &options,
                  Errors errors) {
  check_names(input, output);
  check_options(options);
  const bool range_known = check_frequency_range(body, options);
  require_whole_nodes(body, options);
  use_options(options);
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
  }
  file.commit();
}

}  // namespace sbrtool
