#include "diffblock.h"

#include <algorithm>
#include <cmath>

#include "commandline.h"

namespace sbrtool {
namespace {

// A second run of a model agrees in its input data to the digits of the deck, in frequencies to about seven digits, in
// shapes to the root of that, in stress to somewhat less.
const std::vector<std::pair<std::string, double>> kBlocks = {{"header", 0.0},
                                                             {"units", 0.0},
                                                             {"nodal coordinates", 1e-9},
                                                             {"nodal masses", 1e-9},
                                                             {"nodal inertias", 1e-9},
                                                             {"element faces", 0.0},
                                                             {"global properties", 1e-6},
                                                             {"eigenvalues", 1e-6},
                                                             {"modes", 0.0},
                                                             {"mode shapes", 1e-4},
                                                             {"modal stress", 1e-3},
                                                             {"modal strain", 1e-3},
                                                             {"generalized stiffness", 1e-6},
                                                             {"generalized mass", 1e-6},
                                                             {"generalized damping", 1e-4},
                                                             {"mode shape transformation", 1e-4},
                                                             {"interface nodes", 0.0},
                                                             {"invariant 1", 1e-6},
                                                             {"invariant 2", 1e-6},
                                                             {"invariant 3", 1e-4},
                                                             {"invariant 4", 1e-4},
                                                             {"invariant 5", 1e-4},
                                                             {"invariant 7", 1e-6},
                                                             {"invariant 8", 1e-4},
                                                             {"invariant 9", 1e-4},
                                                             {"modal preload", 1e-4},
                                                             {"modal loads", 1e-4},
                                                             {"nodal loads", 1e-6},
                                                             {"modal statistics", 1e-3},
                                                             {"pre-stress", 1e-3},
                                                             {"pre-strain", 1e-3},
                                                             {"monitor points", 1e-4},
                                                             {"matrix operators", 1e-6}};
constexpr double kExact = 1e-12;
constexpr double kSingle = 1e-6;

}  // namespace

void Tolerances::set_block(const std::string &name, double relative) {
  std::vector<std::string> names;
  names.reserve(kBlocks.size());
  for (const auto &[known, usual] : kBlocks) names.push_back(known);
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    const std::string near = nearest(name, names);
    throw Failure(kUsage,
                  "--tolerance: no block '" + name + "'" + (near.empty() ? "" : "; did you mean '" + near + "'?"));
  }
  blocks_[name] = relative;
}

double Tolerances::relative(const std::string &block) const {
  if (const auto place = blocks_.find(block); place != blocks_.end()) return place->second;
  if (all_) return *all_;
  double usual = kExact;
  for (const auto &[known, value] : kBlocks)
    if (!exact_ && known == block) usual = std::max(usual, value);
  return single_ ? std::max(usual, kSingle) : usual;
}

void Block::take(double weight, const std::function<std::string()> &text) {
  ++different_;
  if (different_ > 1 && !(weight > worst_weight_)) return;
  worst_weight_ = weight;
  worst_ = text();
}

void Block::value(double a, double b, const std::function<std::string()> &place) {
  ++compared_;
  if ((std::isnan(a) && std::isnan(b)) || a == b) return;
  const double difference = std::fabs(a - b);
  const double measure = std::max({std::fabs(a), std::fabs(b), floor_});
  const double part = std::isfinite(difference) && measure > 0.0 ? difference / measure : HUGE_VAL;
  largest_ = std::max(largest_, part);
  const double allowed = absolute_ + relative_ * measure;
  if (difference <= allowed) return;
  take(std::isfinite(difference) ? difference / std::max(allowed, 1e-300) : HUGE_VAL,
       [&] { return place() + ": " + number(a) + " and " + number(b); });
}

void Block::values(const double *a, const double *b, std::size_t count,
                   const std::function<std::string(std::size_t)> &place) {
  double largest = 0.0;
  for (std::size_t i = 0; i < count; ++i)
    for (const double one : {a[i], b[i]})
      if (std::isfinite(one)) largest = std::max(largest, std::fabs(one));
  set_floor(largest);
  for (std::size_t i = 0; i < count; ++i) value(a[i], b[i], [&] { return place(i); });
  set_floor(0.0);
}

void Block::count(const std::string &what, double a, double b) {
  ++compared_;
  if (a != b) take(HUGE_VAL, [&] { return what + ": " + number(a) + " and " + number(b); });
}

void Block::text(const std::string &what, const std::string &a, const std::string &b) {
  ++compared_;
  if (a != b) take(HUGE_VAL, [&] { return what + ": '" + clean(a) + "' and '" + clean(b) + "'"; });
}

void Block::differs(const std::string &what) {
  ++compared_;
  take(HUGE_VAL, [&] { return what; });
}

std::string Block::verdict() const {
  if (!only_.empty()) return "only in " + only_;
  return different_ == 0 ? "same" : std::to_string(different_) + " of " + std::to_string(compared_) + " differ";
}

Json Block::json() const {
  Json entry = {{"block", name_},          {"same", same()},         {"compared", compared_},
                {"different", different_}, {"tolerance", relative_}, {"largest_difference", finite(largest_)}};
  if (!only_.empty()) entry["only_in"] = only_;
  if (!worst_.empty()) entry["worst"] = worst_;
  return entry;
}

}  // namespace sbrtool
