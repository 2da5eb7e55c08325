"""The nodes of a body."""

from __future__ import annotations

import dataclasses
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Sequence, Tuple, Union

import numpy as np

from ._arrays import Flags, Integers, Like, Reals, integers, reals, vector
from .tables import Table

if TYPE_CHECKING:
    from .body import Body


@dataclasses.dataclass(frozen=True)
class Node:
    """One node."""

    id: int
    index: int
    position: Tuple[float, float, float]
    mass: float


class Nodes(Table):
    """All nodes of a body, in the order of their indices.

    The arrays are made in one call each time they are asked for; keep those that are used often.
    """

    def __init__(self, body: "Body") -> None:
        self._body = body

    def __len__(self) -> int:
        return int(self._body._lib.node_count())

    @property
    def ids(self) -> Integers:
        """Node IDs, (n,)."""
        return self._body._lib.node_ids()

    @property
    def coordinates(self) -> Reals:
        """Places in length units, (n, 3)."""
        return self._body._lib.coordinates()

    @property
    def masses(self) -> Reals:
        """Masses, (n,); 0 where none was set."""
        return self._body._lib.masses()

    @property
    def inertias(self) -> Reals:
        """Inertia matrices about the nodes' own places, (n, 3, 3); zeros where there are none."""
        return self._body._lib.inertias()[0]

    @property
    def have_inertia(self) -> Flags:
        """Which nodes have an inertia, (n,)."""
        return self._body._lib.inertias()[1]

    def __getitem__(self, node_id: int) -> Node:
        index = self.indices(node_id)[0]
        mass, position = self._body._lib.node(int(index))
        return Node(int(node_id), int(index), position, mass)

    def __contains__(self, node_id: object) -> bool:
        if not isinstance(node_id, (int, np.integer)):
            return False
        return bool(self._body._lib.node_indices(integers(node_id))[0] >= 0)

    def __iter__(self) -> Iterator[Node]:
        rows = zip(self.ids.tolist(), self.coordinates.tolist(), self.masses.tolist())
        return (Node(node, index, (place[0], place[1], place[2]), mass) for index, (node, place, mass) in enumerate(rows))

    def indices(self, ids: Like) -> Integers:
        """The indices of node IDs, (k,). An unknown ID is a KeyError."""
        wanted = integers(ids, "node IDs")
        found = self._body._lib.node_indices(wanted)
        if (found < 0).any():
            raise KeyError(f"there is no node {int(wanted[found < 0][0])}")
        return found

    def positions(self, ids: Like) -> Reals:
        """The places of some nodes, (k, 3)."""
        return self._body._lib.places(self.indices(ids))

    # ---- search ----------------------------------------------------------------------------------------------------

    def closest(self, points: Like, *, interface_only: bool = False) -> Integers:
        """The ID of the node closest to each point; of equal distances the first in the table.

        ``points`` is (3,) or (k, 3); the result is (k,). With ``interface_only`` the interface nodes alone are looked
        at, if there are any.
        """
        found = self._body._lib.closest(_points(points), interface_only)
        if (found < 0).any():
            raise LookupError("the body has no nodes")
        return self.ids[found]

    def closest_several(self, points: Like, count: int, *, interface_only: bool = False) -> List[Integers]:
        """For each point the IDs of up to ``count`` closest nodes, nearest first."""
        if count < 0:
            raise ValueError("the number of nodes must not be negative")
        return self._parts(*self._body._lib.closest_several(_points(points), count, interface_only))

    def within(self, points: Like, radius: float, *, interface_only: bool = False) -> List[Integers]:
        """For each point the IDs of the nodes within a radius, nearest first; nodes at the radius count."""
        if np.isnan(radius):
            raise ValueError("the radius must be a number")
        return self._parts(*self._body._lib.within(_points(points), radius, interface_only))

    def _parts(self, indices: Integers, starts: Integers) -> List[Integers]:
        ids = self.ids[indices]
        return [ids[begin:end] for begin, end in zip(starts[:-1], starts[1:])]

    # ---- entering --------------------------------------------------------------------------------------------------

    def set_coordinates(self, ids: Like, coordinates: Like) -> None:
        """Places nodes, (k, 3); those that are not known are added."""
        numbers = integers(ids, "node IDs")
        self._body._changing().set_coordinates(numbers, reals(coordinates, "coordinates", (len(numbers), 3)))

    def set_masses(self, ids: Like, masses: Like, *, add: bool = False) -> None:
        """Gives nodes their masses, (k,) or one for all; with ``add`` on top of what they have."""
        numbers = integers(ids, "node IDs")
        values = reals(masses, "masses")
        if values.shape not in ((), numbers.shape):
            raise ValueError(f"masses have the shape {values.shape}, and {numbers.shape} or one for all is needed")
        values = np.broadcast_to(values, numbers.shape)
        self._body._changing().set_masses(numbers, np.ascontiguousarray(values), add)

    def set_inertias(self, ids: Like, inertias: Like) -> None:
        """Gives nodes their symmetric inertia matrices about their own places, (k, 3, 3)."""
        numbers = integers(ids, "node IDs")
        values = reals(inertias, "inertias", (len(numbers), 3, 3))
        if not np.array_equal(values, values.transpose(0, 2, 1), equal_nan=True):
            raise ValueError("an inertia matrix must be symmetric")
        self._body._changing().set_inertias(numbers, values)

    def set_inertia_entry(self, node_id: int, row: int, column: int, value: float) -> None:
        """Gives one entry of a node's inertia; row and column count from 1."""
        self._body._changing().set_inertia_entry(node_id, row, column, value)

    def add(self, node_id: int) -> int:
        """Appends a node, without asking whether its ID is known, and gives its index."""
        return int(self._body._changing().add_node(node_id))

    def look_up_or_add(self, ids: Like) -> Integers:
        """The indices of node IDs; those that are not known are added."""
        return self._body._changing().look_up_or_add_nodes(integers(ids, "node IDs"))

    def swap(self, a: int, b: int) -> None:
        """Exchanges the records of two nodes, as a reader does to match the order of mode data."""
        self._body._changing().swap_nodes(a, b)

    def renumber(self, offset: int) -> None:
        """Adds an offset to all node IDs."""
        self._body._changing().renumber_nodes(offset)

    # ---- what may go -----------------------------------------------------------------------------------------------

    def needed(self) -> Integers:
        """Indices of the nodes that faces, interface nodes and nodal loads need, ascending. The list is kept until
        `discard`."""
        found = self._body._lib.geometry_nodes()
        return np.zeros(0, np.int32) if found is None else found

    def discard(self) -> None:
        """Drops the nodes that nothing needs."""
        self._body._changing().discard_nodes()

    def _columns(self) -> Dict[str, Any]:
        xyz = self.coordinates
        return {"node": self.ids, "x": xyz[:, 0], "y": xyz[:, 1], "z": xyz[:, 2], "mass": self.masses}

    def _title(self) -> str:
        return f"{len(self)} nodes"


def _points(points: Like) -> Reals:
    array = np.asarray(points)
    rows = vector(array, "a point").reshape(1, 3) if array.ndim == 1 else reals(array, "points", (-1, 3))
    if not np.isfinite(rows).all():
        raise ValueError("points must be finite")
    return rows


class Faces:
    """The surface of a body: polygons over node indices."""

    def __init__(self, body: "Body") -> None:
        self._body = body

    def __len__(self) -> int:
        return len(self.lengths)

    @property
    def lengths(self) -> Integers:
        """How many vertices each face has, (f,)."""
        return self._body._lib.faces()[0]

    @property
    def indices(self) -> Integers:
        """The node indices of all faces, one behind the other."""
        return self._body._lib.faces()[1]

    def of(self, vertices: int) -> Integers:
        """The faces of that many vertices as node indices, (k, vertices)."""
        lengths, indices = self._body._lib.faces()
        starts = np.cumsum(lengths) - lengths
        return indices[starts[lengths == vertices][:, None] + np.arange(vertices)]

    def as_ids(self) -> List[Integers]:
        """Each face as an array of node IDs."""
        lengths, indices = self._body._lib.faces()
        ids = self._body.nodes.ids
        return list(np.split(ids[indices], np.cumsum(lengths)[:-1])) if len(lengths) else []

    def triangles(self) -> Integers:
        """All faces cut into triangles from their first vertex, (t, 3) node indices."""
        lengths, indices = self._body._lib.faces()
        starts = np.cumsum(lengths) - lengths
        count = np.maximum(lengths - 2, 0)
        face = np.repeat(np.arange(len(lengths)), count)
        step = np.arange(len(face)) - np.repeat(np.cumsum(count) - count, count)
        first = starts[face]
        return np.stack([indices[first], indices[first + step + 1], indices[first + step + 2]], 1)

    def add(self, faces: Union[Like, Sequence[Like]]) -> None:
        """Enters faces as lists of node IDs (or a (k, v) array); nodes that are not known are added."""
        from ._arrays import ragged

        self._body._changing().set_faces(*ragged(faces, "node IDs of faces"))

    @property
    def is_coarsened(self) -> bool:
        """Whether the faces count as coarsened."""
        return bool(self._body._lib.is_coarsened())

    def coarsen(self, resolution: float = 0.02, angle: float = 10.0, **more: Any) -> None:
        """Fuses small flat faces; the arguments are those of `Coarsening`."""
        from .options import Coarsening

        self._body._changing().coarsen(Coarsening(resolution, angle, **more).text())

    def strip(self) -> None:
        """Removes the faces that two elements share."""
        self._body._changing().strip_faces()

    def sketch(self, path: str) -> None:
        """Replaces the faces by those of a sketch file."""
        self._body._changing().sketch(str(path))

    def remove_internal(self) -> None:
        """Strips shared faces and discards the nodes that nothing needs then."""
        self._body._changing().remove_internal()

    def free_edges(self, *, afresh: bool = False) -> List[Integers]:
        """The rims of the surface as chains of node IDs; a closed one ends where it begins.

        Internal geometry is removed first, which changes the body. The chains are found once; ``afresh`` finds them
        again.
        """
        lengths, ids = self._body._changing().free_edges(afresh)
        return list(np.split(ids, np.cumsum(lengths)[:-1])) if len(lengths) else []

    def __repr__(self) -> str:
        lengths, count = np.unique(self.lengths, return_counts=True)
        kinds = ", ".join(f"{c} of {n} vertices" for n, c in zip(lengths, count))
        return f"Faces({kinds})" if kinds else "Faces()"


class Interface:
    """The nodes where a body is attached, in order of entry."""

    def __init__(self, body: "Body") -> None:
        self._body = body

    def __len__(self) -> int:
        return len(self.indices)

    @property
    def ids(self) -> Integers:
        """Node IDs."""
        return self._body._lib.interface_ids()

    @property
    def indices(self) -> Integers:
        """Node indices."""
        return self._body._lib.interface_indices()

    def add(self, ids: Like) -> None:
        """Marks nodes, which have to be known."""
        self._body._changing().set_interface(integers(ids, "node IDs"))

    def renumber(self, ids: Like) -> None:
        """Gives the interface nodes new IDs, in order."""
        self._body._changing().renumber_interface(integers(ids, "node IDs"))

    def __repr__(self) -> str:
        return f"Interface({self.ids.tolist()})"
