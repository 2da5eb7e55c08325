// The comparison of one block of two records: how many values differ, and where it is worst.
#ifndef SBRKIT_TOOLS_SBR_DIFFBLOCK_H
#define SBRKIT_TOOLS_SBR_DIFFBLOCK_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "session.h"

namespace sbrtool {

// What may differ: |a - b| <= absolute + relative x max(|a|, |b|, floor), the floor being the largest value of the
// kind. Exact comparisons know no floor.
class Tolerances {
 public:
  Tolerances(bool exact, bool single) : exact_(exact), single_(single) {}
  void set_all(double relative) { all_ = relative; }
  void set_absolute(double absolute) { absolute_ = absolute; }
  // Ends the command when there is no block of that name.
  void set_block(const std::string &name, double relative);

  [[nodiscard]] double relative(const std::string &block) const;
  [[nodiscard]] double absolute() const { return absolute_; }
  [[nodiscard]] bool exact() const { return exact_; }

 private:
  bool exact_;
  bool single_;
  double absolute_ = 0.0;
  std::optional<double> all_;
  std::map<std::string, double> blocks_;
};

class Block {
 public:
  Block(const std::string &name, const Tolerances &tolerances)
      : name_(name),
        relative_(tolerances.relative(name)),
        absolute_(tolerances.absolute()),
        exact_(tolerances.exact()) {}

  // The largest value of the kind: differences are measured by it where the values themselves are small.
  void set_floor(double largest) { floor_ = exact_ ? 0.0 : largest; }
  void value(double a, double b, const std::function<std::string()> &place);
  // Values of one kind, with their own floor.
  void values(const double *a, const double *b, std::size_t count,
              const std::function<std::string(std::size_t)> &place);
  // A number that has to be the same.
  void count(const std::string &what, double a, double b);
  void text(const std::string &what, const std::string &a, const std::string &b);
  void differs(const std::string &what);
  void only_in(const char *which) { only_ = which; }

  [[nodiscard]] bool same() const { return different_ == 0 && only_.empty(); }
  [[nodiscard]] bool empty() const { return compared_ == 0 && only_.empty(); }
  [[nodiscard]] const std::string &name() const { return name_; }
  [[nodiscard]] double tolerance() const { return relative_; }
  [[nodiscard]] double largest() const { return largest_; }
  [[nodiscard]] std::string verdict() const;
  [[nodiscard]] const std::string &worst() const { return worst_; }
  [[nodiscard]] Json json() const;

 private:
  void take(double weight, const std::function<std::string()> &text);

  std::string name_;
  double relative_;
  double absolute_;
  bool exact_;
  double floor_ = 0.0;
  long compared_ = 0;
  long different_ = 0;
  double worst_weight_ = 0.0;
  double largest_ = 0.0;  // difference, as a part of what it is measured by
  std::string worst_;
  std::string only_;
};

}  // namespace sbrtool

#endif
