"""Component mode synthesis on SciPy sparse matrices."""

from __future__ import annotations

import dataclasses
from typing import TYPE_CHECKING, Any, Dict, Optional, Sequence, Tuple

import numpy as np

from ._arrays import Like, Reals, integers, reals
from .tables import Table

if TYPE_CHECKING:
    from .body import Body


@dataclasses.dataclass(frozen=True, eq=False, repr=False)
class Reduction(Table):
    """A model reduced to its constraint modes and fixed-interface normal modes.

    ``basis`` (n, m) maps the reduced coordinates to all degrees of freedom: first the interface's own, then the normal
    modes.
    """

    basis: Reals
    stiffness: Reals  #: reduced, (m, m)
    mass: Reals  #: reduced, (m, m)
    interface: np.ndarray  # type: ignore[type-arg]
    normal_frequencies: Reals  #: Hz, of the fixed-interface normal modes

    def modes(self) -> Tuple[Reals, Reals]:
        """Eigenvalues, ascending, and mass-normalized vectors (n, m) of the reduced model."""
        from scipy.linalg import eigh

        values, vectors = eigh(self.stiffness, self.mass)
        return values, self.basis @ vectors

    @property
    def frequencies(self) -> Reals:
        """Hz, of the reduced model; negative for negative eigenvalues."""
        values = self.modes()[0]
        return np.sign(values) * np.sqrt(np.abs(values)) / (2.0 * np.pi)

    def to_body(self, coordinates: Like, dofs_per_node: int = 3, **more: Any) -> "Body":
        """A body with the modes of the reduced model as orthonormal mode shapes.

        The degrees of freedom are node by node, 3 translations or 6 with rotations; the units have to be consistent.
        Other arguments are those of `Body.build`.
        """
        from .body import Body

        if dofs_per_node not in (3, 6):
            raise ValueError("a node has 3 or 6 degrees of freedom")
        places = reals(coordinates, "coordinates", (-1, 3))
        if len(places) * dofs_per_node != len(self.basis):
            raise ValueError(f"{len(places)} nodes have {len(places) * dofs_per_node} degrees of freedom, and the model "
                             f"{len(self.basis)}")
        values, vectors = self.modes()
        shapes = vectors.T.reshape(len(values), len(places), dofs_per_node)
        return Body.build(places, np.ascontiguousarray(shapes), eigenvalues=values, **more)

    def _columns(self) -> Dict[str, Any]:
        frequencies = self.frequencies
        return {"mode": range(1, len(frequencies) + 1), "Hz": frequencies}

    def _title(self) -> str:
        constraint = len(self.interface)
        return f"Reduction to {constraint} constraint and {len(self.mass) - constraint} normal modes"


def craig_bampton(stiffness: Any, mass: Any, interface: Like, normal: int = 0, max_hz: Optional[float] = None) -> Reduction:
    """Reduces K and M to the interface degrees of freedom and some fixed-interface normal modes.

    :param stiffness: K, (n, n), symmetric, dense or SciPy sparse
    :param mass: M, likewise
    :param interface: the degrees of freedom that are kept, counted from 0
    :param normal: how many normal modes, the lowest ones
    :param max_hz: only those up to this frequency

    (R. R. Craig and M. C. C. Bampton, Coupling of substructures for dynamic analyses, AIAA J. 6, 1968.)

    >>> import numpy as np
    >>> k = np.array([[1.0, -1, 0], [-1, 2, -1], [0, -1, 1]])
    >>> craig_bampton(k, np.eye(3), [0, 2]).stiffness
    array([[ 0.5, -0.5],
           [-0.5,  0.5]])
    """
    from scipy import sparse
    from scipy.sparse.linalg import splu

    k, m = (_symmetric(matrix, name) for matrix, name in ((stiffness, "the stiffness"), (mass, "the mass")))
    n = k.shape[0]
    if m.shape != k.shape:
        raise ValueError(f"stiffness and mass have the shapes {k.shape} and {m.shape}")
    kept = integers(interface, "interface degrees of freedom")
    if len(np.unique(kept)) != len(kept) or (kept < 0).any() or (kept >= n).any():
        raise ValueError(f"the interface has to be different degrees of freedom from 0 to {n - 1}")
    inner = np.setdiff1d(np.arange(n), kept)
    if not 0 <= normal <= len(inner):
        raise ValueError(f"there are 0 to {len(inner)} normal modes, not {normal}")
    basis = np.zeros((n, len(kept)))
    basis[kept, np.arange(len(kept))] = 1.0
    frequencies = np.zeros(0)
    if len(inner):
        k_inner = sparse.csc_matrix(k[inner][:, inner])
        try:
            factor = splu(k_inner)
        except RuntimeError as error:
            raise np.linalg.LinAlgError("the inner stiffness is singular: the interface does not hold the body") from error
        if len(kept):
            basis[inner] = -factor.solve(k[inner][:, kept].toarray())
        frequencies, vectors = _normal_modes(k_inner, sparse.csc_matrix(m[inner][:, inner]), factor, normal)
        chosen = frequencies <= (np.inf if max_hz is None else max_hz)
        full = np.zeros((n, int(chosen.sum())))
        full[inner] = vectors[:, chosen]
        basis, frequencies = np.hstack([basis, full]), frequencies[chosen]
    reduced = [0.5 * (r + r.T) for r in (basis.T @ (k @ basis), basis.T @ (m @ basis))]
    return Reduction(basis, reduced[0], reduced[1], kept, frequencies)


def _symmetric(matrix: Any, name: str) -> Any:
    from scipy import sparse

    result = sparse.csr_matrix(matrix)
    if result.shape[0] != result.shape[1]:
        raise ValueError(f"{name} must be square")
    if result.dtype.kind not in "fiu":
        raise TypeError(f"{name} must be real")
    result = result.astype(np.float64)
    if not np.isfinite(result.data).all():
        raise ValueError(f"{name} has entries that are no finite numbers")
    size = np.abs(result.data).max(initial=0.0)
    apart = abs(result - result.T)
    if apart.nnz and apart.max() > 1e-8 * size:
        raise ValueError(f"{name} must be symmetric")
    return result


def _normal_modes(k: Any, m: Any, factor: Any, count: int) -> Tuple[Reals, Reals]:
    """The lowest fixed-interface modes, mass-normalized: Hz and vectors by columns."""
    from scipy.linalg import eigh
    from scipy.sparse.linalg import LinearOperator, eigsh

    n = k.shape[0]
    if count == 0:
        return np.zeros(0), np.zeros((n, 0))
    if n <= 200 or count >= n - 1:
        values, vectors = eigh(k.toarray(), m.toarray(), subset_by_index=(0, count - 1))
    else:
        # The factors of the stiffness serve the constraint modes and the inverse of the shift at 0.
        start = np.random.default_rng(1).standard_normal(n)
        inverse = LinearOperator((n, n), matvec=factor.solve, dtype=np.float64)
        values, vectors = eigsh(k, count, M=m, sigma=0.0, OPinv=inverse, v0=start)
        order = np.argsort(values)
        values, vectors = values[order], vectors[:, order]
    return np.sqrt(np.maximum(values, 0.0)) / (2.0 * np.pi), vectors
