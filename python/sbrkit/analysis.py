"""Comparing modes, and their share in rigid motion."""

from __future__ import annotations

import dataclasses
from typing import Any, Dict, List, Optional, Sequence, Tuple, Union

import numpy as np

from ._arrays import Integers, Like, Reals, reals
from .body import Body
from .errors import SbrError
from .modes import Modes
from .tables import Table

ModesLike = Union[Body, Modes, Like]


@dataclasses.dataclass(frozen=True, eq=False, repr=False)
class Mac(Table):
    """The modal assurance criterion of two sets of modes, (a, b) values from 0 to 1."""

    values: Reals
    numbers_a: Integers
    numbers_b: Integers

    def pairs(self) -> List[Tuple[int, int, float]]:
        """For each mode of the first set the mode of the second with the largest value: numbers and value."""
        best = self.values.argmax(1)
        return [(int(a), int(self.numbers_b[j]), float(self.values[i, j]))
                for i, (a, j) in enumerate(zip(self.numbers_a, best))]

    def _columns(self) -> Dict[str, Any]:
        columns: Dict[str, Any] = {"mode": self.numbers_a}
        columns.update({str(number): self.values[:, j] for j, number in enumerate(self.numbers_b)})
        return columns

    def _title(self) -> str:
        return "Modal assurance criterion"

    def plot(self, axes: Any = None) -> Any:
        """A map of the values with matplotlib; gives the axes."""
        from .plot import plot_mac

        return plot_mac(self, axes)


def _modes_of(source: ModesLike) -> Tuple[Optional[Integers], Integers, Reals]:
    """Node IDs (None for plain arrays), mode numbers and vectors (m, n, c)."""
    if isinstance(source, Body):
        source = source.modes
    if isinstance(source, Modes):
        return source._body.nodes.ids, source.numbers, source.shapes()
    values = reals(source, "modes")
    if values.ndim not in (2, 3):
        raise ValueError("modes are an array (m, n, 3) or (m, degrees of freedom)")
    vectors = values if values.ndim == 3 else values[:, :, None]
    return None, np.arange(1, len(values) + 1, dtype=np.int32), vectors


def mac(a: ModesLike, b: Optional[ModesLike] = None) -> Mac:
    """The modal assurance criterion (a . b)^2 / ((a . a) (b . b)) of the translations of two sets of modes.

    Bodies, their modes or arrays. Bodies are compared at the nodes that they have in common by ID, which have to be at
    the same places; without ``b`` the set is compared with itself. A mode of zeros gives 0, one with values that are no
    finite numbers gives NaN. (R. J. Allemang, The modal assurance criterion, Sound and Vibration 37, 2003.)

    >>> mac([[1.0, 0.0], [1.0, 1.0]]).values.round(3)
    array([[1. , 0.5],
           [0.5, 1. ]])
    """
    ids_a, numbers_a, first = _modes_of(a)
    ids_b, numbers_b, second = (ids_a, numbers_a, first) if b is None else _modes_of(b)
    if b is not None and ids_a is not None and ids_b is not None and not np.array_equal(ids_a, ids_b):
        common, at_a, at_b = np.intersect1d(ids_a, ids_b, return_indices=True)
        if not len(common):
            raise ValueError("the bodies have no node in common")
        first, second = first[:, at_a], second[:, at_b]
    if first.shape[1:] != second.shape[1:]:
        raise ValueError(f"modes of the shapes {first.shape[1:]} and {second.shape[1:]} cannot be compared")
    _require_same_places(a, b)
    return Mac((_unit_vectors(first) @ _unit_vectors(second).T) ** 2, numbers_a, numbers_b)


def _unit_vectors(modes: Reals) -> Reals:
    """The modes as rows of length 1; zeros stay zeros, and what is no number makes a row without numbers."""
    rows = modes.reshape(len(modes), modes.shape[1] * modes.shape[2])
    # By the largest value first: the squares of very large or small ones are no numbers.
    largest = np.abs(rows).max(1, initial=0.0, keepdims=True)
    rows = rows / np.where(largest == 0.0, 1.0, np.where(np.isfinite(largest), largest, np.nan))
    return rows / np.maximum(np.linalg.norm(rows, axis=1, keepdims=True), np.where(largest == 0.0, 1.0, 0.0))


def _require_same_places(a: ModesLike, b: Optional[ModesLike]) -> None:
    bodies = [s._body if isinstance(s, Modes) else s for s in (a, b)]
    first, second = bodies
    if not isinstance(first, Body) or not isinstance(second, Body) or first is second:
        return
    _, at_a, at_b = np.intersect1d(first.nodes.ids, second.nodes.ids, return_indices=True)
    # In meters, since the bodies may stand in different units.
    p = first.nodes.coordinates[at_a] * first.to_si("length")
    q = second.nodes.coordinates[at_b] * second.to_si("length")
    extent = max(np.ptp(p, axis=0).max(initial=0.0), np.ptp(q, axis=0).max(initial=0.0))
    apart = np.abs(p - q).max(initial=0.0)
    if apart > 1e-3 * extent:
        raise ValueError(f"nodes of the same ID are up to {apart:.3g} m apart: the bodies stand in different frames, or "
                         "are numbered differently; compare arrays of matched nodes instead")


@dataclasses.dataclass(frozen=True, eq=False, repr=False)
class EffectiveMass(Table):
    """The effective modal masses of the six rigid motions."""

    numbers: Integers
    frequencies: Reals  #: Hz
    participation: Reals  #: participation factors, (m, 6)
    values: Reals  #: effective masses (translations) and inertias (rotations), (m, 6)
    total: Reals  #: mass and inertias of the nodes, (6,)

    @property
    def fractions(self) -> Reals:
        """Shares of the total, (m, 6)."""
        return np.divide(self.values, self.total, out=np.zeros_like(self.values),
                         where=np.broadcast_to(self.total > 0.0, self.values.shape))

    def _columns(self) -> Dict[str, Any]:
        columns: Dict[str, Any] = {"mode": self.numbers, "Hz": self.frequencies}
        columns.update({name: self.values[:, i] for i, name in enumerate(("x", "y", "z", "rx", "ry", "rz"))})
        return columns

    def _title(self) -> str:
        return "Effective modal masses; in all " + ", ".join(f"{value:.6g}" for value in self.total)


def effective_mass(source: Union[Body, Modes], about: Optional[Like] = None) -> EffectiveMass:
    """The effective modal masses (phi^T M r)^2 / (phi^T M phi) of the rigid motions r, from nodal masses and inertias.

    Translations along x, y, z and rotations about them through ``about``, by default the center of mass. The modes have
    to be orthogonal with respect to mass, and the nodes have to hold the whole mass of the body; otherwise the figures
    would be wrong, and SbrError is raised. (NASA RP-1403, 2000, of the effective mass of modes.)
    """
    modes = source.modes if isinstance(source, Body) else source
    body = modes._body
    body._require_whole_nodes("effective masses")
    masses, inertias, places = body.nodes.masses, body.nodes.inertias, body.nodes.coordinates
    if not masses.any():
        raise SbrError("effective masses: the nodes have no masses")
    entries = body.mass_matrix.entries()
    if (entries.values[entries.rows != entries.columns] != 0.0).any():
        raise SbrError("effective masses: the modes are not orthogonal; body.modes.orthonormalize() makes them so")
    center = masses @ places / masses.sum() if about is None else reals(about, "about", (3,))
    motions = _rigid_motions(places - center)
    weighted = masses[None, :, None] * motions[..., :3]
    turned = np.einsum("nij,rnj->rni", inertias, motions[..., 3:])
    generalized = modes.generalized_masses
    factors = np.array([_participation(mode, weighted, turned) for mode in modes])
    if not len(factors):
        factors = np.zeros((0, 6))
    total = np.einsum("rni,rni->r", weighted, motions[..., :3]) + np.einsum("rni,rni->r", turned, motions[..., 3:])
    return EffectiveMass(modes.numbers, modes.frequencies, factors / generalized[:, None],
                         factors**2 / generalized[:, None], total)


def _rigid_motions(arms: Reals) -> Reals:
    """Translations and rotations of the nodes in the six rigid motions, (6, n, 6)."""
    motions = np.zeros((6, len(arms), 6))
    for axis in range(3):
        motions[axis, :, axis] = 1.0
        unit = np.eye(3)[axis]
        motions[3 + axis, :, :3] = np.cross(unit, arms)
        motions[3 + axis, :, 3:] = unit
    return motions


def _participation(mode: Any, weighted: Reals, turned: Reals) -> Reals:
    shape = mode.shape
    return np.einsum("rni,ni->r", weighted, shape[:, :3]) + np.einsum("rni,ni->r", turned, shape[:, 3:])
