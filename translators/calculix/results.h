// The results of a CalculiX job: the .frd file, one set of nodal values at a time, and the eigenvalues of the .dat
// file.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_RESULTS_H
#define SBRKIT_TRANSLATORS_CALCULIX_RESULTS_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/elements.h"
#include "common/text_input.h"

namespace sbrtranslate {

enum class ResultKind { displacement, stress, strain };

// The head of one set of nodal values of a mode.
struct ResultSet {
  int mode = 0;
  ResultKind kind = ResultKind::displacement;
  double eigenvalue = 0.0;
  double generalized_mass = 1.0;
  double hz = 0.0;
};

// What a reading of an .frd file tells, in the order of the file. `place` is the line that was read.
class ResultHandler {
 public:
  virtual ~ResultHandler() = default;
  // Whether nodes and elements are wanted; what is not wanted is passed over.
  [[nodiscard]] virtual bool wants_mesh() const { return true; }
  virtual void node(int id, const Vec3 &xyz, const Place &place) = 0;
  // Type as in the file: 1 to 6 bricks, wedges and tetrahedra; 7 to 10 shells.
  virtual void element(int id, int type, std::span<const int> nodes, const Place &place) = 0;
  virtual void mesh_done(const Place &place) = 0;
  // Whether the values of a set are wanted; what is not wanted is passed over.
  virtual bool begin_set(const ResultSet &set, const Place &place) = 0;
  // Three values of a displacement; six of stress and strain in the order xx, yy, zz, xy, yz, zx.
  virtual void value(int node, std::span<const double> values, const Place &place) = 0;
  virtual void end_set(const Place &place) = 0;
};

// Reads an ASCII .frd file, plain or gzip-packed, from its start to its end. Sets that belong to no mode, or hold other
// quantities, are passed over. Throws InputError for everything that the format does not allow, a missing end included.
// In a plain file a block of values is found by its length and read in large pieces (value_block.h); what is passed
// over costs nothing there. While values are read, the progress goes to the time monitor of the program.
void read_results(const std::string &path, ResultHandler &handler);

struct EigenRow {
  int mode = 0;
  double eigenvalue = 0.0;
  double hz = 0.0;
  long line = 0;
};

// The eigenvalue table of a .dat file; empty when the file has none. Throws InputError for a table that is not whole.
std::vector<EigenRow> read_eigenvalues(const std::string &path);

}  // namespace sbrtranslate

#endif
