"""Modes: their frequencies, shapes, stresses and strains. Mode data stays on disk until it is asked for."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Dict, Iterator, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._arrays import Integers, Like, Reals, integers, real_type, reals
from .tables import Table

if TYPE_CHECKING:
    from .body import Body

_KINDS = ("shape", "stress", "strain")


class Peaks(NamedTuple):
    """The largest value of each mode, and the node where it occurs (0 for a mode of zeros)."""

    nodes: Integers
    values: Reals


def _data(body: "Body", numbers: Integers, kind: int, first: int, components: int, dtype: npt.DTypeLike) -> Any:
    read = body._lib.mode_data_single if real_type(dtype) is np.float32 else body._lib.mode_data_double
    return read(numbers, kind, first, components)


class Mode:
    """One mode."""

    def __init__(self, body: "Body", number: int) -> None:
        self._body = body
        self.number = number

    def _eigen(self, column: int) -> float:
        return float(self._body._lib.eigenvalues(integers(self.number))[0, column])

    @property
    def eigenvalue(self) -> float:
        """Generalized stiffness over generalized mass; NaN where the matrices are not diagonal."""
        return self._eigen(0)

    @property
    def frequency(self) -> float:
        """Hz, whatever the body's unit of time; negative for a negative eigenvalue."""
        return self._eigen(1) / self._body._lib.to_si("time", 1.0)

    @property
    def omega(self) -> float:
        """Radians per time unit of the body."""
        return self._eigen(2)

    @property
    def generalized_mass(self) -> float:
        """In mass times length squared."""
        return self._eigen(3)

    @property
    def generalized_stiffness(self) -> float:
        """In force times length."""
        return self._eigen(4)

    @property
    def shape(self) -> Reals:
        """Translations and rotations at all nodes, (n, 6), a copy."""
        return _data(self._body, integers(self.number), 0, 0, 6, "f8")[0]

    @property
    def translations(self) -> Reals:
        """Translations, (n, 3), read-only: the library's own memory where its cache holds the mode.

        As long as such an array lives, calls that change or write the body or clean its cache raise BufferError, since
        they would end the array's memory.
        """
        return self._body._lib.part_view(self.number, 0, 0)

    @property
    def rotations(self) -> Reals:
        """Rotations, (n, 3), read-only, as `translations`."""
        return self._body._lib.part_view(self.number, 0, 1)

    @property
    def stress(self) -> Reals:
        """Modal stress xx, yy, zz, xy, xz, yz at the nodes of ``body.stress.ids``, (k, 6), a copy."""
        return self._body.stress[self.number]

    @property
    def strain(self) -> Reals:
        """Modal strain at the nodes of ``body.strain.ids``, (k, 6), a copy."""
        return self._body.strain[self.number]

    def __repr__(self) -> str:
        return f"Mode({self.number}, {self.frequency:.6g} Hz)"


class Modes(Table):
    """Modes of a body, all or some, by their numbers.

    ``modes[7]`` is the mode with the number 7, and ``modes[7:10]`` those with the numbers 7, 8 and 9; ``modes[[7, 9]]``
    picks. ``modes.at(0)`` goes by place.
    """

    def __init__(self, body: "Body", numbers: Optional[Integers] = None) -> None:
        self._body = body
        self._chosen = numbers

    @property
    def numbers(self) -> Integers:
        """Mode numbers, (m,)."""
        return self._body._lib.mode_numbers() if self._chosen is None else self._chosen.copy()

    def __len__(self) -> int:
        return int(self._body._lib.mode_count()) if self._chosen is None else len(self._chosen)

    def __contains__(self, number: object) -> bool:
        return number in self.numbers

    def __iter__(self) -> Iterator[Mode]:
        return (Mode(self._body, number) for number in self.numbers.tolist())

    def __getitem__(self, key: Any) -> Any:
        numbers = self.numbers
        if isinstance(key, slice):
            if key.step is not None:
                raise ValueError("modes are sliced by their numbers, without a step")
            low = -np.inf if key.start is None else key.start
            high = np.inf if key.stop is None else key.stop
            return Modes(self._body, numbers[(numbers >= low) & (numbers < high)])
        if isinstance(key, (int, np.integer)):
            if key not in numbers:
                raise KeyError(f"there is no mode {key}")
            return Mode(self._body, int(key))
        wanted = integers(key, "mode numbers")
        missing = np.setdiff1d(wanted, numbers)
        if len(missing):
            raise KeyError(f"there is no mode {missing[0]}")
        return Modes(self._body, wanted)

    def at(self, index: int) -> Mode:
        """The mode at a place, counted from 0; negative places count from the end."""
        return Mode(self._body, int(self.numbers[index]))

    # ---- the table -------------------------------------------------------------------------------------------------

    def _eigen(self, column: int) -> Reals:
        return self._body._lib.eigenvalues(self.numbers)[:, column]

    @property
    def eigenvalues(self) -> Reals:
        """Generalized stiffness over generalized mass, (m,); NaN where the matrices are not diagonal."""
        return self._eigen(0)

    @property
    def frequencies(self) -> Reals:
        """Hz, whatever the body's unit of time, (m,); negative for negative eigenvalues."""
        return self._eigen(1) / self._body._lib.to_si("time", 1.0)

    @property
    def omegas(self) -> Reals:
        """Radians per time unit of the body, (m,)."""
        return self._eigen(2)

    @property
    def generalized_masses(self) -> Reals:
        """(m,), in mass times length squared."""
        return self._eigen(3)

    @property
    def generalized_stiffnesses(self) -> Reals:
        """(m,), in force times length."""
        return self._eigen(4)

    @property
    def rigid_count(self) -> int:
        """How many modes of the body are rigid-body modes, 0 to 6."""
        return int(self._body._lib.rigid_mode_count())

    @property
    def elastic(self) -> "Modes":
        """The modes behind the rigid-body modes."""
        rigid = set(self._body._lib.mode_numbers()[: self.rigid_count].tolist())
        return Modes(self._body, np.array([n for n in self.numbers.tolist() if n not in rigid], np.int32))

    @property
    def double_precision(self) -> bool:
        """Whether mode shapes are stored with doubles."""
        return bool(self._body._lib.double_precision())

    # ---- data ------------------------------------------------------------------------------------------------------

    def shapes(self, dtype: npt.DTypeLike = "f8", *, rotations: bool = False) -> Any:
        """All shapes in one array: translations (m, n, 3), or with ``rotations`` all six values (m, n, 6).

        The array takes m x n x 3 (or 6) values of 8 bytes, or 4 with ``dtype="f4"``; besides it only one mode is in
        memory.
        """
        return _data(self._body, self.numbers, 0, 0, 6 if rotations else 3, dtype)

    def rotations(self, dtype: npt.DTypeLike = "f8") -> Any:
        """The rotations of all shapes, (m, n, 3)."""
        return _data(self._body, self.numbers, 0, 3, 3, dtype)

    def at_nodes(self, ids: Like, *, through_cache: bool = False) -> Reals:
        """Six values of each mode at some nodes, (m, k, 6).

        Reads these values alone from the disk; ``through_cache`` loads whole modes instead, which pays for many nodes.
        """
        wanted = integers(ids, "node IDs")
        self._body.nodes.indices(wanted)
        return self._body._lib.at_nodes(self.numbers, 0, wanted, 1 if through_cache else 0)

    # ---- figures ---------------------------------------------------------------------------------------------------

    def _peaks(self, figure: int) -> Peaks:
        return Peaks(*self._body._lib.statistics(self.numbers, figure))

    def max_displacements(self) -> Peaks:
        """The largest length of a translation in each mode."""
        return self._peaks(0)

    def max_rotations(self) -> Peaks:
        """The largest length of a rotation in each mode."""
        return self._peaks(1)

    @property
    def has_statistics(self) -> bool:
        """Whether the table of such figures has been made."""
        return bool(self._body._lib.has_statistics())

    def participation(self) -> Reals:
        """The participation of the modes in the six rigid motions about the origin, (6, m)."""
        every = self._body._lib.mode_numbers()
        table = self._body._lib.participation(len(every))
        return table[:, [int(np.flatnonzero(every == number)[0]) for number in self.numbers]]

    # ---- changing --------------------------------------------------------------------------------------------------

    def _as_whole(self) -> Any:
        if self._chosen is not None:
            raise ValueError("only all modes of a body together can be changed")
        return self._body._changing()

    def set(self, number: int, values: Like, ids: Optional[Like] = None) -> None:
        """Enters a mode shape, (k, 3) or (k, 6), at nodes (all of the body by default)."""
        _set_mode(self._body, number, 0, values, ids)

    def set_entry(self, number: int, node_id: int, position: int, value: float) -> None:
        """Enters one of the six values (position 0 to 5) of a node in a mode."""
        self._body._changing().set_mode_entry(number, node_id, 0, position, value)

    def add(self, number: int) -> int:
        """Appends a mode without data, and gives its index."""
        return int(self._as_whole().add_mode(number))

    def look_up_or_add(self, number: int) -> int:
        """The index of a mode, which is appended when it is not known."""
        return int(self._as_whole().look_up_or_add_mode(number))

    def index(self, number: int) -> int:
        """The place of a mode number in the table of the body."""
        found = int(self._body._lib.mode_index(number))
        if found < 0:
            raise KeyError(f"there is no mode {number}")
        return found

    def orthonormalize(self) -> None:
        """Brings the modes to unit generalized mass and diagonal stiffness, with all that depends on them."""
        self._as_whole().orthonormalize()

    def normalize_masses(self, flag: bool) -> None:
        """Says whether `orthonormalize` has to scale to unit generalized mass."""
        self._as_whole().set_mass_normalize(flag)

    def ensure_eigenvalues(self) -> None:
        """Makes the eigenvalue table from diagonal generalized matrices; numbers the modes from 1."""
        self._as_whole().ensure_eigenvalues()

    def normalization_scales(self) -> Reals:
        """The factors that modes have to be divided by for unit generalized mass, (m,); the table then says 1."""
        return self._as_whole().normalization_scales()

    @property
    def transformation(self) -> Optional[Reals]:
        """The change of basis that the body carries, (m, m), row old mode, column new mode; None without one."""
        return self._body._lib.transformation()

    def add_transformation(self, matrix: Like) -> None:
        """Multiplies the transformation by a matrix from the right; the mode data stays."""
        self._as_whole().set_transformation(reals(matrix, "the transformation"))

    def transform(self, matrix: Like, *, kind: str = "shape", count: Optional[int] = None) -> None:
        """Rewrites one kind of mode data in another basis: new mode j is the sum over i of matrix[i, j] x mode i."""
        new = len(self) if count is None else count
        self._as_whole().transform_modes(_KINDS.index(kind), new, reals(matrix, "the matrix"))

    def shorten(self, indices: Like, *, kind: str = "shape") -> None:
        """Rewrites one kind of mode data for the nodes of a keep list (indices): one step of `Nodes.discard`; the node
        table stays, so that it is not an operation for itself."""
        self._as_whole().shorten_modes(integers(indices, "node indices"), _KINDS.index(kind))

    def add_generalized_masses(self, first: int, extra: int) -> None:
        """Enters the generalized masses between modes 1 to ``first`` and the ``extra`` ones after them."""
        self._as_whole().add_generalized_masses(first, extra)

    def _columns(self) -> Dict[str, Any]:
        table = self._body._lib.eigenvalues(self.numbers)
        return {"mode": self.numbers, "Hz": self.frequencies, "eigenvalue": table[:, 0],
                "generalized mass": table[:, 3], "generalized stiffness": table[:, 4]}

    def _title(self) -> str:
        return f"{len(self)} modes"

    @property
    def cache(self) -> "ModeCache":
        """The cache of mode data."""
        return ModeCache(self._body)


def _set_mode(body: "Body", number: int, kind: int, values: Like, ids: Optional[Like]) -> None:
    if kind != 0 and number == 0:
        raise ValueError("number 0 stands for the pre-stress or pre-strain: enter it by set_pre")
    array = reals(values, "mode data")
    nodes = body.nodes.ids if ids is None else integers(ids, "node IDs")
    if kind == 0 and array.shape == (len(nodes), 3):
        body._changing().set_mode_translations(number, nodes, kind, array)
    else:
        body._changing().set_mode(number, nodes, kind, reals(array, "mode data", (len(nodes), 6)))


class NodalModes:
    """Modal stress or strain: six values (xx, yy, zz, xy, xz, yz) at a list of nodes of its own.

    ``body.stress[7]`` is that of mode 7, (k, 6), at the nodes ``body.stress.ids``.
    """

    def __init__(self, body: "Body", kind: int) -> None:
        self._body = body
        self._kind = kind

    def __len__(self) -> int:
        return int(self._body._lib.kind_count(self._kind))

    def __bool__(self) -> bool:
        return len(self) > 0

    @property
    def exists(self) -> bool:
        """Whether the body has the block."""
        return bool(self._body._lib.kind_exists(self._kind))

    @property
    def ids(self) -> Integers:
        """The IDs of the nodes, (k,)."""
        return self._body._lib.kind_ids(self._kind)

    def indices(self, ids: Like) -> Integers:
        """The places of node IDs in the list; an unknown ID is a KeyError."""
        wanted = integers(ids, "node IDs")
        found = self._body._lib.kind_positions(self._kind, wanted)
        if (found < 0).any():
            raise KeyError(f"node {int(wanted[found < 0][0])} has no modal {_KINDS[self._kind]}")
        return found

    def __getitem__(self, number: int) -> Reals:
        if number not in self._body.modes:
            raise KeyError(f"there is no mode {number}")
        return _data(self._body, integers(number), self._kind, 0, 6, "f8")[0]

    def values(self, dtype: npt.DTypeLike = "f8", numbers: Optional[Like] = None) -> Any:
        """All modes, or those of the numbers, in one array, (m, k, 6)."""
        chosen = self._body.modes if numbers is None else self._body.modes[integers(numbers, "mode numbers")]
        return _data(self._body, chosen.numbers, self._kind, 0, 6, dtype)

    def normal(self, number: int) -> Reals:
        """Components xx, yy, zz of a mode, (k, 3), read-only, without a copy where the cache holds them."""
        return self._body._lib.part_view(number, self._kind, 0)

    def shear(self, number: int) -> Reals:
        """Components xy, xz, yz of a mode, (k, 3), read-only, without a copy where the cache holds them."""
        return self._body._lib.part_view(number, self._kind, 1)

    def at_nodes(self, ids: Like, *, through_cache: bool = False) -> Reals:
        """Six values of each mode at some nodes of the list, (m, k, 6)."""
        wanted = integers(ids, "node IDs")
        self.indices(wanted)
        return self._body._lib.at_nodes(self._body.modes.numbers, self._kind, wanted, 1 if through_cache else 0)

    @property
    def pre(self) -> Optional[Reals]:
        """The pre-stress or pre-strain, (k, 6), or None."""
        if not self._body.exists(29 + self._kind):
            return None
        return np.hstack([self._body._lib.part_view(0, self._kind, part) for part in (0, 1)])

    def max_von_mises(self) -> Peaks:
        """The largest von Mises value of each mode."""
        if not len(self):
            raise LookupError(f"the body has no modal {_KINDS[self._kind]}")
        return Peaks(*self._body._lib.statistics(self._body.modes.numbers, 1 + self._kind))

    def set(self, number: int, values: Like, ids: Like) -> None:
        """Enters a mode, (k, 6), at nodes."""
        _set_mode(self._body, number, self._kind, values, ids)

    def set_pre(self, values: Like, ids: Like) -> None:
        """Enters the pre-stress or pre-strain, (k, 6), at nodes."""
        nodes = integers(ids, "node IDs")
        self._body._changing().set_pre(self._kind, nodes, reals(values, "the values", (len(nodes), 6)))

    def __repr__(self) -> str:
        return f"NodalModes({_KINDS[self._kind]}, {len(self._body.modes)} modes at {len(self)} nodes)"


class ModeCache:
    """What a body keeps of the mode data that was read: parts of modes, 24 bytes per node each.

    At most 200 MiB of a body are kept, or the MiB of the environment variable ``SBR_MAX_MODE_MEMORY``.
    """

    def __init__(self, body: "Body") -> None:
        self._body = body

    @property
    def enabled(self) -> bool:
        """Whether what is read is kept."""
        return bool(self._body._lib.keeps_modes())

    @enabled.setter
    def enabled(self, flag: bool) -> None:
        self._body._lib.keep_modes(bool(flag))

    @property
    def views(self) -> int:
        """How many arrays look into the cache."""
        return int(self._body._lib.views)

    def clear(self) -> None:
        """Forgets what is kept; BufferError while arrays look into it."""
        self._body._lib.clean_modes()

    def resize(self) -> None:
        """Works out afresh how much may be kept."""
        self._body._lib.size_mode_memory()

    def part(self, number: int, kind: str = "shape", part: int = 0) -> Optional[Reals]:
        """A copy of what is kept of a mode, (n, 3), or None; part 0 or 1."""
        return self._body._lib.cached_part(number, _KINDS.index(kind), part)

    def at_nodes(self, numbers: Like, ids: Like, kind: str = "shape") -> Reals:
        """What is kept of modes at nodes, (m, k, 6); NaN for what is not."""
        return self._body._lib.at_nodes(integers(numbers), _KINDS.index(kind), integers(ids), 2)

    def store(self, number: int, values: Like, kind: str = "shape", part: int = 0) -> bool:
        """Stores a part of a mode, (n, 3), that is taken for what the disk holds; False when there is no room."""
        self._body._changing()
        array = reals(values, "the values", (-1, 3))
        return bool(self._body._lib.store_part(number, _KINDS.index(kind), array, part))
