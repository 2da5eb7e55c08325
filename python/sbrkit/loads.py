"""Loads, monitor points and matrix operators."""

from __future__ import annotations

import dataclasses
from typing import TYPE_CHECKING, Iterator, List, Optional, Sequence, Tuple

import numpy as np

from ._arrays import Integers, Like, Reals, integers, reals, vector

if TYPE_CHECKING:
    from .body import Body


@dataclasses.dataclass(frozen=True, eq=False)
class ModalLoad:
    """A load case in modal coordinates."""

    label: str
    values: Reals  #: by mode index, (m,)
    on_principal_axes: bool


@dataclasses.dataclass(frozen=True, eq=False)
class NodalLoad:
    """A load case of forces and moments at nodes."""

    nodes: Integers  #: node indices
    coordinates: Integers  #: 1 to 3 forces, 4 to 6 moments
    values: Reals


class Loads:
    """The load cases of a body, and its preload."""

    def __init__(self, body: "Body") -> None:
        self._body = body

    @property
    def modal(self) -> List[ModalLoad]:
        """The cases in modal coordinates."""
        core = self._body._lib
        return [ModalLoad(core.modal_label(case), core.modal_load(case), core.modal_processed(case))
                for case in range(core.modal_cases())]

    @property
    def nodal(self) -> List[NodalLoad]:
        """The cases at nodes."""
        core = self._body._lib
        cases = (core.nodal_load(case) for case in range(core.nodal_cases()))
        none = np.zeros(0, np.int32)
        return [NodalLoad(*(none if part is None else part for part in case)) for case in cases]

    @property
    def preload(self) -> Optional[Reals]:
        """The preload by mode index, (m,), or None."""
        return self._body._lib.preload() if self._body._lib.has_preload() else None

    @property
    def preload_on_principal_axes(self) -> bool:
        """Whether the preload stands on the principal axes."""
        return bool(self._body._lib.preload_processed())

    @preload_on_principal_axes.setter
    def preload_on_principal_axes(self, flag: bool) -> None:
        self._body._changing().set_preload_processed(bool(flag))

    def set_modal(self, case: int, numbers: Like, values: Like, label: Optional[str] = None) -> None:
        """Gives a modal case (counted from 0) its loads on modes, by mode number."""
        core = self._body._changing()
        core.set_modal_load(case, integers(numbers, "mode numbers"), reals(values, "loads", (-1,)))
        if label is not None:
            core.set_modal_label(case, label)

    def mark_modal(self, case: int, on_principal_axes: bool) -> None:
        """Marks a modal case as standing on the principal axes, or not; the values stay."""
        self._body._changing().set_modal_processed(case, on_principal_axes)

    def set_nodal(self, case: int, ids: Like, coordinates: Like, values: Like) -> None:
        """Appends loads at nodes to a nodal case; coordinates 1 to 3 are forces, 4 to 6 moments."""
        self._body._changing().set_nodal_load(case, integers(ids, "node IDs"), integers(coordinates, "coordinates"),
                                              reals(values, "loads", (-1,)))

    def set_preload(self, numbers: Like, values: Like) -> None:
        """Gives the preload on modes, by mode number."""
        self._body._changing().set_preload(integers(numbers, "mode numbers"), reals(values, "the preload", (-1,)))

    def keep_nodes(self, indices: Like) -> None:
        """Drops the nodal loads on nodes that a keep list does not hold, and renumbers the others to their place in it:
        one step of `Nodes.discard`."""
        self._body._changing().compact_loads(integers(indices, "node indices"))

    def to_principal_axes(self) -> None:
        """Carries preload and modal loads to the principal axes, once."""
        self._body._changing().forces_to_principal_axes()

    def __repr__(self) -> str:
        core = self._body._lib
        return f"Loads({core.modal_cases()} modal, {core.nodal_cases()} nodal, preload {bool(core.has_preload())})"


@dataclasses.dataclass(frozen=True, eq=False)
class MonitorPoint:
    """A monitor point. Its operators map modes to results: rows are components, columns modes."""

    name: str
    label: str
    type: int  #: 1 MONPNT1, 2 MONPNT2, 3 MONPNT3, 4 MONDSP1
    result_type: int  #: 1 DISP, 2 STRESS, 3 STRAIN, 4 FORCE, 5 GENERAL
    component: int  #: one digit per component
    location: Reals
    operators: Tuple[Optional[Reals], ...]  #: types 1 to 4; those of type 4 are (loads, rows, modes)


class MonitorPoints(Sequence[MonitorPoint]):
    """The monitor points of a body, in order of entry."""

    def __init__(self, body: "Body") -> None:
        self._body = body

    def __len__(self) -> int:
        return int(self._body._lib.monitor_point_count())

    def __getitem__(self, place):  # type: ignore[no-untyped-def]
        if isinstance(place, slice):
            return [self[i] for i in range(*place.indices(len(self)))]
        index = range(len(self))[place]
        core = self._body._lib
        kind, result, component, _, location, name, label = core.monitor_point(index)
        operators = tuple(core.monitor_operator(index, t) for t in (1, 2, 3, 4))
        return MonitorPoint(name, label, kind, result, component, location, operators)

    def add(self, name: str, *, type: int = 1, result_type: int = 1, component: int = 123, load_operators: int = 0,
            location: Like = (0.0, 0.0, 0.0), label: str = "") -> int:
        """Adds a point without operators, and gives its place."""
        return int(self._body._changing().add_monitor_point(type, result_type, component, load_operators,
                                                            vector(location, "the location"), name, label))

    def set_operator(self, place: int, type: int, values: Like) -> None:
        """Enters an operator of type 1 to 4, (rows, modes); of type 4 (loads, rows, modes)."""
        self._body._changing().set_monitor_operator(place, type, reals(values, "the operator"))

    def transform(self, matrix: Like) -> None:
        """Multiplies the rows of all operators by a (modes, modes) matrix from the right."""
        self._body._changing().transform_monitor_points(reals(matrix, "the matrix"))


@dataclasses.dataclass(frozen=True, eq=False)
class MatrixOperator:
    """A named matrix in column blocks, with one label per row."""

    name: str
    labels: List[str]
    blocks: List[Tuple[str, Reals]]  #: tag and values, (rows, columns)


class MatrixOperators(Sequence[MatrixOperator]):
    """The matrix operators of a body, in order of entry."""

    def __init__(self, body: "Body") -> None:
        self._body = body

    def __len__(self) -> int:
        return int(self._body._lib.matrix_operator_count())

    def __getitem__(self, place):  # type: ignore[no-untyped-def]
        if isinstance(place, slice):
            return [self[i] for i in range(*place.indices(len(self)))]
        return MatrixOperator(*self._body._lib.matrix_operator(range(len(self))[place]))

    def __iter__(self) -> Iterator[MatrixOperator]:
        return (self[i] for i in range(len(self)))

    def add(self, name: str, labels: Sequence[str]) -> int:
        """Adds an operator without columns, one label per row, and gives its place."""
        return int(self._body._changing().add_matrix_operator(name, list(labels)))

    def add_columns(self, place: int, tag: str, values: Like) -> int:
        """Appends a column block, (rows, columns), to an operator, and gives its place in it."""
        return int(self._body._changing().add_operator_columns(place, tag, reals(values, "the columns", (-1, -1))))
