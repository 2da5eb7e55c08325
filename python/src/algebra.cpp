// The dense solvers, and the small helpers of vectors and tensors.
#include "handle.h"

namespace sbrpy {
namespace {

// A matrix with pointers to its rows, as the LU routines take it: they exchange pointers' contents, not places.
class Square {
 public:
  explicit Square(const Doubles &matrix) {
    if (matrix.ndim() != 2 || matrix.shape(0) != matrix.shape(1)) throw py::value_error("the matrix must be square");
    values_.assign(matrix.data(), matrix.data() + matrix.size());
    order_ = static_cast<int>(matrix.shape(0));
    for (int i = 0; i < order_; ++i) rows_.push_back(values_.data() + static_cast<std::ptrdiff_t>(i) * order_);
  }
  double **rows() { return rows_.data(); }
  int order() const { return order_; }
  Doubles array() const { return Doubles(std::vector<py::ssize_t>{order_, order_}, values_.data()); }

 private:
  std::vector<double> values_;
  std::vector<double *> rows_;
  int order_ = 0;
};

py::tuple lu(const Doubles &matrix) {
  Square square(matrix);
  Ints permutation(square.order());
  int *out = permutation.mutable_data();
  require_library("the matrix is singular", [&] { return SBR_LUPDecomposition(square.rows(), square.order(), out); });
  return py::make_tuple(square.array(), permutation);
}

Doubles lu_solve(const Doubles &decomposition, const Ints &permutation, const Doubles &right) {
  Square square(decomposition);
  require_shape(permutation, {square.order()}, "the permutation");
  require_shape(right, {square.order()}, "the right-hand side");
  Doubles result(std::vector<py::ssize_t>{square.order()}, right.data());
  double *out = result.mutable_data();
  const int *p = permutation.data();
  require_library("the system cannot be solved", [&] { return SBR_LUPSolve(square.rows(), square.order(), p, out); });
  return result;
}

Doubles lu_invert(const Doubles &decomposition, const Ints &permutation) {
  Square square(decomposition);
  require_shape(permutation, {square.order()}, "the permutation");
  const int *p = permutation.data();
  require_library("the matrix cannot be inverted", [&] { return SBR_LUPInvert(square.rows(), square.order(), p); });
  return square.array();
}

// All four stages of QZ on copies of a and b (columns in memory): alpha real and imaginary, beta, vectors by columns,
// and the index of the eigenvalue at which the steps were used up, or 0.
py::tuple qz(const Doubles &a, const Doubles &b, double eps) {
  if (a.ndim() != 2 || a.shape(0) != a.shape(1)) throw py::value_error("a must be square");
  require_shape(b, {a.shape(0), a.shape(0)}, "b");
  const int n = static_cast<int>(a.shape(0));
  // The transposes of the columns' layout: row-major copies of a^T are a by columns.
  std::vector<double> columns_a(a.data(), a.data() + a.size());
  std::vector<double> columns_b(b.data(), b.data() + b.size());
  Doubles real(n);
  Doubles imaginary(n);
  Doubles beta(n);
  Doubles vectors({n, n});
  std::fill_n(vectors.mutable_data(), vectors.size(), 0.0);
  double *re = real.mutable_data();
  double *im = imaginary.mutable_data();
  double *be = beta.mutable_data();
  double *z = vectors.mutable_data();
  int failed = 0;
  call_library([&] {
    const int with_vectors = 1;
    SBR_QZHESS(&n, &n, columns_a.data(), columns_b.data(), &with_vectors, z);
    SBR_QZITT(&n, &n, columns_a.data(), columns_b.data(), &eps, &with_vectors, z, &failed);
    if (failed != 0) return 0;
    SBR_QZVALL(&n, &n, columns_a.data(), columns_b.data(), re, im, be, &with_vectors, z);
    SBR_QZVECC(&n, &n, columns_a.data(), columns_b.data(), re, im, be, z);
    return 0;
  });
  return py::make_tuple(real, imaginary, beta, vectors, failed);
}

double unit_roundoff(double start) {
  return call_library([&] { return EIGPSN(&start); });
}

// ---- vectors and tensors -------------------------------------------------------------------------------------------

Doubles copy_of(const Doubles &values, std::initializer_list<py::ssize_t> shape, const char *name) {
  require_shape(values, shape, name);
  return Doubles(std::vector<py::ssize_t>(shape), values.data());
}

Doubles multiply(const Doubles &a, const Doubles &b) {
  const Doubles second = copy_of(b, {3, 3}, "b");
  Doubles result = copy_of(a, {3, 3}, "a");
  Matrix_Multiply(result.data(), second.data(), result.mutable_data());
  return result;
}

Doubles transform_tensor(const Doubles &tensor, const Doubles &rotation, int sign) {
  const Doubles r = copy_of(rotation, {3, 3}, "the rotation");
  Doubles result = copy_of(tensor, {3, 3}, "the tensor");
  Tensor_Transform(result.mutable_data(), r.data(), sign);
  return result;
}

Doubles transform_vector(const Doubles &vector, const Doubles &rotation, int sign) {
  const Doubles r = copy_of(rotation, {3, 3}, "the rotation");
  Doubles result = copy_of(vector, {3}, "the vector");
  Vector_Transform(result.mutable_data(), r.data(), sign);
  return result;
}

Doubles add_vectors(const Doubles &a, const Doubles &b) {
  const Doubles second = copy_of(b, {3}, "b");
  Doubles result = copy_of(a, {3}, "a");
  Move_Vector(result.mutable_data(), second.data());
  return result;
}

Doubles tilde_tilde(const Doubles &matrix, double factor, const Doubles &a, const Doubles &b) {
  const Doubles first = copy_of(a, {3}, "a");
  const Doubles second = copy_of(b, {3}, "b");
  Doubles result = copy_of(matrix, {3, 3}, "the matrix");
  incr_scalar_tilde_tilde(result.mutable_data(), factor, first.data(), second.data());
  return result;
}

Doubles tilde_vector(const Doubles &vector, double factor, const Doubles &a, const Doubles &b) {
  const Doubles first = copy_of(a, {3}, "a");
  const Doubles second = copy_of(b, {3}, "b");
  Doubles result = copy_of(vector, {3}, "the vector");
  incr_scalar_tilde_vec(result.mutable_data(), factor, first.data(), second.data());
  return result;
}

}  // namespace

void bind_algebra(py::module_ &module) {
  module.def("lu", lu);
  module.def("lu_solve", lu_solve);
  module.def("lu_invert", lu_invert);
  module.def("qz", qz, "The arguments are the transposes, and so is the array of vectors.");
  module.def("unit_roundoff", unit_roundoff);
  module.def("multiply", multiply);
  module.def("transform_tensor", transform_tensor);
  module.def("transform_vector", transform_vector);
  module.def("add_vectors", add_vectors);
  module.def("tilde_tilde", tilde_tilde);
  module.def("tilde_vector", tilde_vector);
}

}  // namespace sbrpy
