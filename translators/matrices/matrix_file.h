// Symmetric matrices from files: Matrix Market (coordinate), NumPy .npy (dense) and .npz (sparse, as SciPy saves it).
#ifndef SBRKIT_TRANSLATORS_MATRICES_MATRIX_FILE_H
#define SBRKIT_TRANSLATORS_MATRICES_MATRIX_FILE_H

#include <string>
#include <vector>

#include "common/reduction.h"

namespace sbrtranslate {

struct SymmetricMatrix {
  std::size_t rows = 0;
  std::vector<MatrixEntry> upper;  // by row, then by column; no entry twice
};

// Reads a matrix; the form is told by the first bytes of the file. A file with both halves has to be symmetric within
// 1e-9 of its largest entry, and the mean of both halves is taken. Throws InputError with file and, where there are
// lines, the line.
SymmetricMatrix read_symmetric_matrix(const std::string &path);

}  // namespace sbrtranslate

#endif
