"""Generalized stiffness, mass and damping."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple, Optional

import numpy as np

from ._arrays import Integers, Like, Reals, integers, reals

if TYPE_CHECKING:
    from .body import Body

_NAMES = ("stiffness", "mass", "damping")


class Entries(NamedTuple):
    """A matrix by entries; one entry stands for (row, column) and (column, row). Rows and columns are mode indices."""

    values: Reals
    rows: Integers
    columns: Integers


class GeneralizedMatrix:
    """One of the three matrices in modal coordinates. What is missing of stiffness and mass follows from the eigenvalue
    table."""

    def __init__(self, body: "Body", which: int) -> None:
        self._body = body
        self._which = which

    def entries(self) -> Entries:
        """The entries in the order in which they came."""
        return Entries(*self._body._lib.matrix_entries(self._which))

    @property
    def order(self) -> int:
        """Rows of the full matrix: the number of modes; for damping on principal axes the six rigid coordinates and
        the elastic modes, if entries say so."""
        modes = len(self._body.modes)
        if self._which != 2:
            return modes
        entries = self.entries()
        highest = max([modes - 1, *entries.rows.tolist(), *entries.columns.tolist()])
        return int(highest) + 1

    def full(self) -> Reals:
        """The full symmetric matrix."""
        return self._body._lib.matrix_full(self._which, self.order)

    def selected(self, numbers: Like) -> Reals:
        """The matrix of some modes, by ascending mode numbers. Damping has the six rigid-body coordinates before them,
        and is carried to the principal axes for that."""
        wanted = integers(numbers, "mode numbers")
        if (np.diff(wanted) <= 0).any():
            raise ValueError("mode numbers must ascend")
        if self._which == 2:
            self._body._changing()
        return self._body._lib.matrix_selected(self._which, wanted)

    def add(self, rows: Like, columns: Like, values: Like) -> None:
        """Appends entries by mode numbers; modes that are not known are added."""
        self._body._changing().append_entries(self._which, integers(rows, "rows"), integers(columns, "columns"),
                                              reals(values, "values", (-1,)))

    def set(self, matrix: Like, numbers: Optional[Like] = None) -> None:
        """Appends a symmetric matrix over modes (all by default): its diagonal, and what is not zero above it. Later
        entries win over earlier ones of the same place."""
        modes = self._body.modes.numbers if numbers is None else integers(numbers, "mode numbers")
        full = reals(matrix, "the matrix", (len(modes), len(modes)))
        if np.isnan(full).any():
            raise ValueError("a generalized matrix must not hold values that are no numbers")
        if not np.array_equal(full, full.T):
            raise ValueError("a generalized matrix must be symmetric")
        rows, columns = np.nonzero(np.triu(full, 1))
        every = np.arange(len(modes))
        rows, columns = np.concatenate([every, rows]), np.concatenate([every, columns])
        self.add(modes[rows], modes[columns], full[rows, columns])

    def reread(self) -> None:
        """Reads the entries from the record again."""
        core = self._body._lib
        (core.reread_stiffness, core.reread_mass, core.reread_damping)[self._which]()

    def __repr__(self) -> str:
        return f"GeneralizedMatrix({_NAMES[self._which]}, {len(self.entries().values)} entries)"


class Damping(GeneralizedMatrix):
    """The generalized damping, which may stand on principal axes: six rigid-body coordinates, then the elastic modes."""

    def __init__(self, body: "Body") -> None:
        super().__init__(body, 2)

    def __bool__(self) -> bool:
        return bool(self._body._lib.has_damping())

    def to_principal_axes(self) -> None:
        """Carries the damping to the principal axes, once."""
        self._body._changing().damping_to_principal_axes()
