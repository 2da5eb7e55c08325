// What the parts of `sbr check` share: findings with their levels, and the record under examination.
#ifndef SBRKIT_TOOLS_SBR_CHECK_H
#define SBRKIT_TOOLS_SBR_CHECK_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "session.h"

namespace sbrtool {

// An error makes a record unsound; a warning does so with --strict; a note is a figure to look at.
enum class Level { good, note, warning, error };

struct Finding {
  Level level;
  std::string subject;
  std::string what;  // what the figure is
  double figure;
  std::string place;    // the node, face or mode where it is worst; may be empty
  std::string meaning;  // a sentence; empty for what is good
};

class CheckRun {
 public:
  CheckRun(SBR body, std::string path, double tolerance);

  [[nodiscard]] SBR body() const { return body_; }
  [[nodiscard]] const std::string &path() const { return path_; }
  // Relative; what comes out of sums over nodes may be ten times as far off.
  [[nodiscard]] double tolerance() const { return tolerance_; }
  [[nodiscard]] int nodes() const { return nodes_; }
  [[nodiscard]] int modes() const { return modes_; }
  [[nodiscard]] bool has(int block) const { return SBR_Exists(body_, block) != 0; }
  // One part of a mode shape, three values per node; empty when there is none. Kept where that takes little memory.
  const std::vector<double> &shape(int mode, int part);
  [[nodiscard]] std::string mode_name(int mode) const { return "mode " + std::to_string(SBR_ModeNumber(body_, mode)); }
  [[nodiscard]] std::string node_name(int node) const { return "node " + std::to_string(SBR_NodeID(body_, node)); }

  // Nodes that no face, interface or load refers to. There are none where the writer has dropped nodes.
  [[nodiscard]] int unreferenced() const { return unreferenced_; }
  void set_unreferenced(int count) { unreferenced_ = count; }

  // Adds the finding with its level, or as good when it is.
  void expect(bool good, Finding finding);
  void note(const std::string &subject, const std::string &what, double figure, const std::string &meaning);
  [[nodiscard]] const std::vector<Finding> &findings() const { return findings_; }

 private:
  SBR body_;
  std::string path_;
  double tolerance_;
  int nodes_;
  int modes_;
  int unreferenced_ = 0;
  bool keeps_shapes_;
  std::map<std::pair<int, int>, std::vector<double>> shapes_;
  std::vector<Finding> findings_;
};

// The findings of all parts, in their order. Without a tolerance that of the record's precision is taken.
std::vector<Finding> findings_of(SBR body, const std::string &file, std::optional<double> tolerance);
// "ok", "note", "warning" or "error".
const char *word_of(Level level);

void check_structure(CheckRun &run);   // sizes, nodes, faces, interface nodes, references
void check_units(CheckRun &run);       // labels, and whether size, density and frequencies make sense
void check_numbers(CheckRun &run);     // values that are no numbers
void check_modes(CheckRun &run);       // eigenvalues, frequencies, generalized masses, shapes that stand twice
void check_masses(CheckRun &run);      // nodal masses, global properties, invariants 1, 2 and 7
void check_invariants(CheckRun &run);  // stored invariants against sums over nodes and modes
void check_scales(CheckRun &run);      // the scale of each mode against its generalized mass
void check_rigid_modes(CheckRun &run);

// Whether the nodes of the record hold the mass that its invariants tell, so that sums over them give the invariants.
bool nodes_hold_the_mass(CheckRun &run);

}  // namespace sbrtool

#endif
