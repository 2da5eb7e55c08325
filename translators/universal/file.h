// A universal file: blocks between lines of -1, each with the number of its dataset. Read are 15 and 2411 (nodes), 2412
// (elements), 2467, 2452 and 2477 (groups, as node sets), 151 (title), 164 (units), and modes of 55 and 2414 (data at
// nodes). What else the file holds is passed over, save local axes of nodes, which are refused.
#ifndef SBRKIT_TRANSLATORS_UNIVERSAL_FILE_H
#define SBRKIT_TRANSLATORS_UNIVERSAL_FILE_H

#include <complex>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "common/mesh.h"
#include "common/report.h"

namespace sbrtranslate {

// The factors of dataset 164: a value of the file divided by its factor is in SI units.
struct UniversalUnits {
  int code = 0;
  double length = 1.0;
  double force = 1.0;
  Place place;
};

// One mode with its values at nodes. The values of all its nodes are held, in the order of the file.
struct UniversalMode {
  int number = 0;
  Place place;
  std::complex<double> eigenvalue;  // of complex modes: decay and circular frequency
  double hz = 0.0;                  // of real modes
  std::complex<double> modal_mass = std::numeric_limits<double>::quiet_NaN();  // of complex modes: modal A
  bool is_complex = false;
  int components = 0;  // 3 or 6; 6 of a stress tensor too
  std::vector<int> nodes;
  std::vector<double> values;  // components a node; of complex modes real and imaginary part by turns
};

struct UniversalFile {
  Mesh mesh;
  std::optional<UniversalUnits> units;
  std::vector<UniversalMode> shapes;    // by the order of the file
  std::vector<UniversalMode> stresses;  // xx, xy, yy, xz, yz, zz
  std::vector<std::string> warnings;
};

// Reads a file, plain or gzip-packed. Throws InputError with file and line.
UniversalFile read_universal(const std::string &path);

// A complex shape turned in the complex plane so that the sum of its squared real parts is as large as it can be, and
// the real part of that. With s the sum of the squared (complex) values, the angle is -arg(s) / 2. `collinearity` is
// |s|^2 / (sum of the squared moduli)^2: 1 for a shape that is real but for a factor. `turn` is the factor.
struct RealizedShape {
  std::vector<double> values;
  std::complex<double> turn = 1.0;
  double collinearity = 1.0;
};
RealizedShape realize_shape(const std::vector<std::complex<double>> &shape);

}  // namespace sbrtranslate

#endif
