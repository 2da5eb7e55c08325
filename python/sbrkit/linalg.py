"""The dense solvers of the library, and its small helpers of vectors and tensors.

NumPy and SciPy solve the same problems, and faster; these give the library's results bit for bit.
"""

from __future__ import annotations

from typing import NamedTuple

import numpy as np

from . import _core
from ._arrays import Integers, Like, Reals, integers, reals, vector


class LU(NamedTuple):
    """A decomposition with row pivoting: L below the diagonal, U on and above it."""

    matrix: Reals
    permutation: Integers

    def solve(self, right: Like) -> Reals:
        """The solution for one right-hand side, (n,)."""
        return _core.lu_solve(self.matrix, self.permutation, reals(right, "the right-hand side", (-1,)))

    def invert(self) -> Reals:
        """The inverse of the matrix."""
        return _core.lu_invert(self.matrix, self.permutation)


def lu(matrix: Like) -> LU:
    """Decomposes a square matrix; a pivot of exactly 0 is an SbrError.

    >>> lu([[2.0, 1.0], [1.0, 3.0]]).solve([3.0, 4.0])
    array([1., 1.])
    """
    return LU(*_core.lu(reals(matrix, "the matrix", (-1, -1))))


class QZ(NamedTuple):
    """The eigenvalues (alpha / beta) and vectors of a x = lambda b x."""

    alpha: np.ndarray  # type: ignore[type-arg]
    beta: Reals
    vectors: Reals  #: by columns; complex pairs in two columns, real part first

    @property
    def eigenvalues(self) -> np.ndarray:  # type: ignore[type-arg]
        """alpha / beta, complex; infinite where beta is 0."""
        with np.errstate(divide="ignore", invalid="ignore"):
            return self.alpha / self.beta


def qz(a: Like, b: Like, tolerance: float = 0.0) -> QZ:
    """Solves a x = lambda b x for real square matrices by the QZ algorithm.

    >>> sorted(qz([[2.0, 0.0], [0.0, 3.0]], [[1.0, 0.0], [0.0, 1.0]]).eigenvalues.real.tolist())
    [2.0, 3.0]
    """
    first, second = reals(a, "a", (-1, -1)), reals(b, "b", (-1, -1))
    real, imaginary, beta, vectors, failed = _core.qz(np.ascontiguousarray(first.T), np.ascontiguousarray(second.T),
                                                      tolerance)
    if failed:
        raise np.linalg.LinAlgError(f"the QZ steps were used up at eigenvalue {failed}")
    return QZ(real + 1j * imaginary, beta, vectors.T)


def unit_roundoff(start: float = 1.0) -> float:
    """Halves a number until 1 plus it is 1: 2^-53 from 1."""
    return float(_core.unit_roundoff(start))


def multiply(a: Like, b: Like) -> Reals:
    """a b, of (3, 3) matrices."""
    return _core.multiply(reals(a), reals(b))


def transform_tensor(tensor: Like, rotation: Like, sign: int = 1) -> Reals:
    """R^T T R, negated for a sign of -1."""
    return _core.transform_tensor(reals(tensor), reals(rotation), sign)


def transform_vector(values: Like, rotation: Like, sign: int = 1) -> Reals:
    """sign (v R)."""
    return _core.transform_vector(vector(values, "the vector"), reals(rotation), sign)


def add_vectors(a: Like, b: Like) -> Reals:
    """a + b, of vectors."""
    return _core.add_vectors(vector(a, "a"), vector(b, "b"))


def add_tilde_tilde(matrix: Like, factor: float, a: Like, b: Like) -> Reals:
    """The matrix plus factor ~a ~b."""
    return _core.tilde_tilde(reals(matrix), factor, vector(a, "a"), vector(b, "b"))


def add_cross(values: Like, factor: float, a: Like, b: Like) -> Reals:
    """The vector plus factor a x b."""
    return _core.tilde_vector(vector(values, "the vector"), factor, vector(a, "a"), vector(b, "b"))


def selected_mode_index(number: int, numbers: Like) -> int:
    """Where a mode number stands in an ascending list, or -1."""
    return int(_core.selected_index(number, integers(numbers)))
