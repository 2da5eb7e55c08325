"""Bodies: opened from records or built from arrays."""

from __future__ import annotations

import dataclasses
import os
import secrets
import tempfile
from typing import TYPE_CHECKING, Any, Callable, Dict, List, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from ._arrays import Like, Reals, integers, ragged, reals, vector
from .errors import SbrError
from .loads import Loads, MatrixOperators, MonitorPoints
from .mass import Invariants, MassProperties
from .matrices import Damping, GeneralizedMatrix
from .modes import Modes, NodalModes
from .nodes import Faces, Interface, Nodes
from .options import WriteOptions
from .units import Units, UnitsLike

if TYPE_CHECKING:
    from .plot import BodyPlots
    from .viewer import View

PathLike = Union[str, "os.PathLike[str]"]


@dataclasses.dataclass(frozen=True)
class Header:
    """The texts of a record. The date is that of the last change of the others."""

    title: str = ""
    date: str = ""
    input_file: str = ""
    input_file_type: str = ""
    comments: Tuple[str, str, str] = ("", "", "")


@dataclasses.dataclass(frozen=True)
class Block:
    """One block of a record."""

    index: int
    name: str
    size: int  #: bytes in the file that the body was read from, as the format tells them


class _UnitsOfBody:
    """The attribute ``units``: it gives `Units`, and takes whatever names a unit system."""

    def __get__(self, body: Any, owner: Any = None) -> Units:
        return self if body is None else Units(*body._lib.units())  # type: ignore[return-value]

    def __set__(self, body: Any, system: UnitsLike) -> None:
        body._changing().set_units(*Units.of(system))


class Body:
    """One flexible body.

    `sbrkit.open` opens a record, `Body.build` makes a body from arrays. Use it as a context manager, or `close` it. Mode
    data stays on disk until it is asked for.

    Several bodies may be used from several threads: the library runs one call at a time, without the interpreter lock.
    A body belongs to the process that opened it; to send it to another process, pickle it.
    """

    def __init__(self, core: _core.Body, path: Optional[str] = None, mark: Optional[Tuple[int, int]] = None) -> None:
        self._handle = core
        self._path = path
        self._mark = mark
        self._how = 0
        self._changed = path is None
        self._content: Optional[bytes] = None

    # ---- making ----------------------------------------------------------------------------------------------------

    @classmethod
    def create(cls, nodes: int = 0, modes: int = 0) -> "Body":
        """An empty body, to be filled by the setters of its parts.

        ``modes`` is the most modes that it takes; the node count is no limit, but announcing it saves work.
        """
        if nodes < 0 or modes < 0:
            raise ValueError("numbers of nodes and modes must not be negative")
        return cls(_core.create(nodes, modes))

    @classmethod
    def build(cls, nodes: Like, shapes: Optional[Like] = None, *, ids: Optional[Like] = None,
              numbers: Optional[Like] = None, eigenvalues: Optional[Like] = None, stiffness: Optional[Like] = None,
              mass_matrix: Optional[Like] = None, masses: Optional[Like] = None, inertias: Optional[Like] = None,
              faces: Optional[Union[Like, Sequence[Like]]] = None, interface: Optional[Like] = None,
              stress: Optional[Like] = None, stress_ids: Optional[Like] = None, strain: Optional[Like] = None,
              strain_ids: Optional[Like] = None, damping: Optional[Like] = None, units: Optional[UnitsLike] = None,
              header: Optional[Header] = None) -> "Body":
        """A body from arrays.

        :param nodes: coordinates, (n, 3)
        :param shapes: mode shapes, (m, n, 3) translations or (m, n, 6) with rotations
        :param ids: node IDs, 1 to n by default
        :param numbers: mode numbers, 1 to m by default
        :param eigenvalues: (m,), stiffness over mass of modes of unit generalized mass
        :param stiffness: generalized stiffness, (m, m) symmetric, in place of eigenvalues
        :param mass_matrix: generalized mass, (m, m) symmetric; ones by default where eigenvalues are given
        :param masses: nodal masses, (n,)
        :param inertias: nodal inertias, (n, 3, 3)
        :param faces: lists of node IDs, or an (f, v) array
        :param interface: node IDs
        :param stress: modal stress, (m, k, 6), at ``stress_ids`` (all nodes by default); likewise strain
        :param damping: generalized damping, (m, m) symmetric, or its diagonal
        :param units: the units that the arrays are in; kilogram, meter, second, newton by default

        >>> body = Body.build(nodes=[[0, 0, 0], [1, 0, 0]], shapes=[[[0, 0, 0], [0, 0, 1]]], eigenvalues=[4.0],
        ...                   masses=[1, 1])
        >>> round(body.modes[1].frequency, 6)
        0.31831
        """
        places = reals(nodes, "nodes", (-1, 3))
        node_ids = np.arange(1, len(places) + 1, dtype=np.int32) if ids is None else integers(ids, "node IDs")
        if len(np.unique(node_ids)) != len(node_ids):
            raise ValueError("a node ID is given twice")
        shape_data = np.zeros((0, len(places), 3)) if shapes is None else reals(shapes, "shapes", (-1, len(places), -1))
        count = len(shape_data)
        modes = np.arange(1, count + 1, dtype=np.int32) if numbers is None else integers(numbers, "mode numbers")
        if len(modes) != count or len(np.unique(modes)) != count:
            raise ValueError(f"{count} different mode numbers are needed")
        body = cls.create(len(places), count)
        body.units = "SI" if units is None else units
        body.nodes.set_coordinates(node_ids, places)
        body._build_nodes(node_ids, masses, inertias, faces, interface)
        for number, shape in zip(modes.tolist(), shape_data):
            body.modes.set(number, shape, node_ids)
        for kind, data, where in ((body.stress, stress, stress_ids), (body.strain, strain, strain_ids)):
            if data is not None:
                at = node_ids if where is None else integers(where, "node IDs")
                for number, values in zip(modes.tolist(), reals(data, "modal data", (count, len(at), 6))):
                    kind.set(number, values, at)
        body._build_matrices(modes, eigenvalues, stiffness, mass_matrix, damping)
        if header is not None:
            body.header = header
        return body

    def _build_nodes(self, ids: Any, masses: Optional[Like], inertias: Optional[Like], faces: Any,
                     interface: Optional[Like]) -> None:
        if masses is not None:
            self.nodes.set_masses(ids, masses)
        if inertias is not None:
            self.nodes.set_inertias(ids, inertias)
        if faces is not None:
            lengths, vertices = ragged(faces, "node IDs of faces")
            unknown = np.setdiff1d(vertices, ids)
            if len(unknown):
                raise ValueError(f"a face has node {unknown[0]}, which is none of the nodes")
            self._lib.set_faces(lengths, vertices)
        if interface is not None:
            self.interface.add(interface)

    def _build_matrices(self, modes: Any, eigenvalues: Optional[Like], stiffness: Optional[Like],
                        mass_matrix: Optional[Like], damping: Optional[Like]) -> None:
        if eigenvalues is not None:
            if stiffness is not None:
                raise TypeError("give eigenvalues or a stiffness, not both")
            stiffness = np.diag(reals(eigenvalues, "eigenvalues", (len(modes),)))
            if mass_matrix is None:
                mass_matrix = np.eye(len(modes))
        for target, matrix in ((self.stiffness, stiffness), (self.mass_matrix, mass_matrix), (self.damping, damping)):
            if matrix is not None:
                full = np.asarray(matrix)
                target.set(np.diag(full) if full.ndim == 1 else full, modes)

    # ---- life ------------------------------------------------------------------------------------------------------

    @property
    def _lib(self) -> _core.Body:
        return self._handle

    def _changing(self) -> _core.Body:
        """The body for a call that changes it: from now on it is not what its file says.

        Rewriting mode data frees what the cache holds, so that arrays which look into it stand in the way.
        """
        views = self._handle.views
        if views:
            raise BufferError(f"changing the body would take away the memory that {views} array(s) of mode data look "
                              "into; delete them first, or take copies of the modes (.copy()) instead")
        self._changed = True
        return self._handle

    def close(self) -> None:
        """Lets the body go. Arrays that look into its memory stay readable."""
        self._handle.close()

    @property
    def closed(self) -> bool:
        """Whether the body is closed."""
        return bool(self._handle.closed)

    @property
    def valid(self) -> bool:
        """Whether the library knows the body: false only when it was ended behind this object's back."""
        return not self.closed and self._handle.check() and self._handle.valid()

    @property
    def address(self) -> int:
        """The handle of the C interface, for `sbrkit.clib`."""
        return int(self._handle.address)

    def __enter__(self) -> "Body":
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    @property
    def path(self) -> Optional[str]:
        """The file that the body was read from."""
        return self._path

    def __repr__(self) -> str:
        name = repr(self._path) if self._path else "built"
        if self.closed:
            return f"<sbrkit.Body {name}, closed>"
        return f"<sbrkit.Body {name}: {len(self.nodes)} nodes, {len(self.modes)} modes>"

    def _repr_html_(self) -> str:
        import html

        facts = {"file": self._path or "built", "title": self.header.title, "units": ", ".join(self.units),
                 "nodes": len(self.nodes), "faces": len(self.faces), "modes": len(self.modes)}
        rows = "".join(f"<tr><th>{k}</th><td>{html.escape(str(v))}</td></tr>" for k, v in facts.items())
        return f"<table>{rows}</table>" + self.modes._repr_html_()

    # ---- pickling --------------------------------------------------------------------------------------------------

    def by_value(self) -> "Body":
        """The same body, which pickles with the content of its file instead of the file's name."""
        path = self._file_for_pickle()
        with open(path, "rb") as file:
            content = file.read()
        return _from_content(content)

    def _file_for_pickle(self) -> str:
        if self._path is None or self._changed:
            raise TypeError("the body is not what a file holds: write it, open what was written, and pickle that")
        if _mark_of(self._path) != self._mark:
            raise TypeError(f"{self._path} has been changed since the body was read from it")
        return self._path

    def __reduce__(self) -> Tuple[Callable[..., "Body"], Tuple[Any, ...]]:
        if self._content is not None and not self._changed:
            return _from_content, (self._content,)
        return _from_file, (os.path.abspath(self._file_for_pickle()), self._mark)

    # ---- parts -----------------------------------------------------------------------------------------------------

    @property
    def nodes(self) -> Nodes:
        """The nodes."""
        return Nodes(self)

    @property
    def faces(self) -> Faces:
        """The surface."""
        return Faces(self)

    @property
    def interface(self) -> Interface:
        """The nodes where the body is attached."""
        return Interface(self)

    @property
    def modes(self) -> Modes:
        """The modes."""
        return Modes(self)

    @property
    def stress(self) -> NodalModes:
        """Modal stress."""
        return NodalModes(self, 1)

    @property
    def strain(self) -> NodalModes:
        """Modal strain."""
        return NodalModes(self, 2)

    @property
    def stiffness(self) -> GeneralizedMatrix:
        """The generalized stiffness."""
        return GeneralizedMatrix(self, 0)

    @property
    def mass_matrix(self) -> GeneralizedMatrix:
        """The generalized mass."""
        return GeneralizedMatrix(self, 1)

    @property
    def damping(self) -> Damping:
        """The generalized damping."""
        return Damping(self)

    @property
    def invariants(self) -> Invariants:
        """The inertia invariants."""
        return Invariants(self)

    @property
    def loads(self) -> Loads:
        """Load cases and preload."""
        return Loads(self)

    @property
    def monitor_points(self) -> MonitorPoints:
        """The monitor points."""
        return MonitorPoints(self)

    @property
    def operators(self) -> MatrixOperators:
        """The matrix operators."""
        return MatrixOperators(self)

    @property
    def plot(self) -> "BodyPlots":
        """Plots with matplotlib."""
        from .plot import BodyPlots

        return BodyPlots(self)

    def view(self, other: "Optional[Body]" = None, *, height: int = 600, max_nodes: Optional[int] = None) -> "View":
        """The animated viewer, which a notebook shows; with another body the two side by side.

        It needs the program `sbr` with its viewer, and bodies that are what their files hold.
        """
        from .viewer import view

        return view(self, other, height=height, max_nodes=max_nodes)

    # ---- mass ------------------------------------------------------------------------------------------------------

    @property
    def mass(self) -> MassProperties:
        """Mass, center and inertia, from inertia invariants 1, 2 and 7."""
        mass, first = self._lib.invariant1(), self._lib.invariant2()
        return MassProperties(mass, first / mass if mass else np.zeros(3), self._lib.invariant7())

    def set_global_mass(self, mass: float, center: Like, inertia: Like) -> None:
        """Enters the global mass properties; ``inertia`` is the tensor about the origin.

        They are compared with the invariants; differences are warned about, and the values stored regardless.
        """
        tensor = reals(inertia, "the inertia", (3, 3))
        products = np.where(np.eye(3) > 0, tensor, -tensor)
        self._changing().set_global_mass(mass, vector(center, "the center"), products)

    def global_mass_from_nodes(self) -> None:
        """Replaces the global mass properties by those of the invariants."""
        self._changing().mass_from_nodes()

    def total_mass(self) -> MassProperties:
        """The global mass properties, after they were replaced by those of the invariants."""
        mass, center, products = self._changing().total_mass()
        return MassProperties(mass, center, np.where(np.eye(3) > 0, products, -products))

    # ---- header, content, report -----------------------------------------------------------------------------------

    @property
    def header(self) -> Header:
        """The texts of the record."""
        title, date, file, kind, *comments = self._lib.header()
        return Header(title, date, file, kind, (comments[0], comments[1], comments[2]))

    @header.setter
    def header(self, header: Header) -> None:
        texts = (header.title, header.input_file, header.input_file_type, *header.comments)
        if any("\0" in text for text in texts):
            raise ValueError("a text must not hold a zero character")
        self._changing().set_header(*texts)

    def exists(self, block: int) -> bool:
        """Whether the body has a block, by index 0 to 35."""
        return bool(self._lib.exists(block))

    @property
    def blocks(self) -> List[Block]:
        """The table of contents: the blocks that the body has."""
        return [Block(index, name, self._lib.block_size(index))
                for index, name in enumerate(_core.block_names()) if self._lib.exists(index)]

    def report(self, *blocks: int) -> str:
        """Blocks as text, by index 0 to 35; all that exist by default."""
        if any(not 0 <= block <= 35 for block in blocks):
            raise IndexError("blocks have the indices 0 to 35")
        chosen = blocks or tuple(block.index for block in self.blocks)
        return self._lib.report([block + 1 for block in chosen])

    def go_to_block(self, block: int) -> bool:
        """Moves the body's stream to the start of a block, for hosts that read on with the C interface; False without
        the block or a file."""
        return bool(self._lib.goto_block(block))

    @property
    def discrete_method(self) -> int:
        """Always 0: no body is discrete."""
        return int(self._lib.discrete_method())

    @property
    def flex_type(self) -> int:
        """Always 0: there is one type of flexible body."""
        return int(self._lib.flex_type())

    @property
    def version(self) -> int:
        """The version code: 60 for a current record, 31 for a body that was built."""
        return int(self._lib.version())

    @version.setter
    def version(self, code: int) -> None:
        self._changing().set_version(code)

    @property
    def size(self) -> float:
        """The diagonal of the box around the nodes of the faces, found once."""
        return float(self._lib.size())

    # ---- units -----------------------------------------------------------------------------------------------------

    #: The unit system. Set it by name ("mm-t-s-N"), or by four labels; what the body holds is converted then. The first
    #: units that a body gets are those that its numbers stand in: nothing is converted.
    units = _UnitsOfBody()

    def scale_again(self) -> None:
        """Applies the ratios of the last change of units once more to what lives in memory. A change of units has done
        it already: for hosts that know why."""
        self._changing().scale_database()

    def set_units_by_multiplier(self, mass: float, length: float, time: float, force: float) -> None:
        """Sets units by their multipliers on kilogram, meter, second and newton."""
        self._changing().set_units_by_multiplier(mass, length, time, force)

    @property
    def consistency_factor(self) -> float:
        """f t^2 / (l m) of the units; 1 for a consistent system."""
        return float(self._lib.consistency_factor())

    def to_si(self, quantity: str, value: float = 1.0) -> float:
        """A "mass", "length", "time" or "force" in kilogram, meter, second or newton."""
        if quantity not in ("mass", "length", "time", "force"):
            raise ValueError(f"the quantities are mass, length, time and force, not {quantity!r}")
        return float(self._lib.to_si(quantity, value))

    # ---- frame -----------------------------------------------------------------------------------------------------

    def _share_of_nodes(self) -> float:
        """The share of the stored mass that the nodes hold; 1 without a stored mass."""
        if not self.exists(18):
            return 1.0
        stored = self._lib.invariant1()
        return float(self.nodes.masses.sum() / stored) if stored > 0.0 else 1.0

    def _require_whole_nodes(self, what: str) -> None:
        share = self._share_of_nodes()
        if abs(share - 1.0) > 1e-5:
            raise SbrError(f"{what}: the nodes hold {100.0 * share:.4g} % of the body's mass, the rest is in its stored "
                           "invariants, which cannot be worked out from the nodes; start from the record with all its "
                           "nodes, or use sbrkit.transform")

    def _move(self, what: str, *arguments: Any) -> "Body":
        if self.exists(8):
            self._require_whole_nodes(what)
        getattr(self._changing(), what)(*arguments)
        return self

    def translate(self, direction: Like, distance: Optional[float] = None) -> "Body":
        """Moves the body along a direction by a distance, or without one by the vector itself."""
        way = vector(direction, "the direction")
        return self._move("translate", way, float(np.linalg.norm(way)) if distance is None else distance)

    def rotate(self, axis: Like, angle: float, point: Like = (0.0, 0.0, 0.0)) -> "Body":
        """Turns the body right-handed about an axis through a point, by an angle in degrees."""
        return self._move("rotate", vector(axis, "the axis"), vector(point, "the point"), angle)

    def rotate_frame(self, axis: Like, angle: float) -> Reals:
        """Turns the frame about an axis through the origin, by an angle in degrees, and gives the matrix applied to row
        vectors."""
        if self.exists(8):
            self._require_whole_nodes("rotate_frame")
        return self._changing().rotate_frame(vector(axis, "the axis"), angle)

    def mirror(self, normal: Like, point: Optional[Like] = None) -> "Body":
        """Reflects the body in a plane through a point, the origin by default."""
        if point is None:
            return self._move("mirror_origin", vector(normal, "the normal"))
        return self._move("mirror", vector(normal, "the normal"), vector(point, "the point"))

    def shift_to_mass_center(self) -> "Body":
        """Moves the frame to the center of mass of the nodes. Stored invariants would not follow: with them it is
        refused."""
        if self.invariants.stored:
            raise SbrError("shift_to_mass_center: the record stores inertia invariants, which would not be moved; "
                           "use translate")
        self._changing().shift_to_mass_center()
        return self

    def permute(self, origin: Like, rotation: Like, *, modes: Optional[int] = None, mass_scale: float = 1.0,
                transformation: Optional[Like] = None) -> "Body":
        """Expresses the body in another frame and mode basis: x becomes R (x - origin).

        Invariants, global inertia and generalized matrices stay as they are: `drop_stale` drops them.
        """
        matrix = None if transformation is None else reals(transformation, "the transformation")
        count = len(self.modes) if modes is None else modes
        self._changing().permute(vector(origin, "the origin"), count, mass_scale, matrix,
                                 reals(rotation, "the rotation", (3, 3)))
        return self

    def drop_stale(self) -> "Body":
        """Drops what `permute` leaves out of date: eigenvalues, generalized matrices, transformation, the block of
        nodal masses."""
        self._changing().drop_stale()
        return self

    # ---- writing ---------------------------------------------------------------------------------------------------

    def write(self, path: PathLike, **options: Any) -> "Body":
        """Writes the body as a record, and gives the body.

        The keywords are those of `WriteOptions`; the environment variable of the options plays no part. The file
        appears when it is whole: a write that fails leaves what was there. The steps of the options change the body for
        good, as does orthonormalization. Arrays that look into the cache of modes stand in the way (BufferError).
        """
        chosen = WriteOptions(**options)
        target = os.fspath(path)
        self._check_write(chosen, target)
        directory = os.path.dirname(os.path.abspath(target))
        second = self._lib.to_si("time", 1.0)
        scratch = _new_file(directory)
        try:
            self._changing().write_record(scratch, chosen.text(second))
            self._read_back(scratch, target)
            if os.path.exists(target):
                os.chmod(scratch, os.stat(target).st_mode & 0o777)
            os.replace(scratch, target)
        except BaseException:
            if os.path.exists(scratch):
                os.unlink(scratch)
            raise
        return self

    @staticmethod
    def _read_back(scratch: str, target: str) -> None:
        try:
            _core.open_record(scratch, 0, False).close()
        except SbrError as error:
            raise SbrError(f"{target} was not written: the record could not be read back", error.reports) from error

    def _check_range(self, options: WriteOptions) -> None:
        """The range as the library takes it: from the first mode above the one bound up to the first above the other."""
        if (options.lowpass is None and options.highpass is None) or options.empty:
            return
        frequencies, masses = self.modes.frequencies, self.modes.generalized_masses
        if np.isnan(masses).any():
            return  # not known before the modes are orthonormal
        low = -np.inf if options.highpass is None else options.highpass
        high = np.inf if options.lowpass is None else options.lowpass
        begins, ends = np.flatnonzero(frequencies > low), np.flatnonzero((masses == 0.0) | (frequencies > high))
        end = ends[0] if len(ends) else len(frequencies)
        if not len(begins) or begins[0] >= end:
            span = f"from {frequencies.min():.6g} to {frequencies.max():.6g} Hz" if len(frequencies) else "nowhere"
            raise SbrError(f"no mode lies in the frequency range ({low}, {high}] Hz: the modes lie {span}")

    def _check_write(self, options: WriteOptions, target: str) -> None:
        if os.path.isdir(target):
            raise IsADirectoryError(f"{target} is a directory")
        if self._path is not None and os.path.exists(target) and os.path.exists(self._path) and \
                os.path.samefile(self._path, target):
            raise SbrError(f"{target} is the record that the body was read from; write to another file")
        self._check_range(options)
        if not options.orthonormal and not (len(self.stiffness.entries().values) and len(self.mass_matrix.entries().values)):
            raise SbrError("orthonormal=False writes the generalized stiffness and mass of the modes, and the body has "
                           "none: leave the option out")
        if options.shift_to_cm and self.invariants.stored:
            raise SbrError("shift_to_cm: the record stores inertia invariants, which would not be moved")
        if options.layout is not None and self.exists(20):
            self._require_whole_nodes(f"layout {options.layout}, which holds no invariants")
        if options.invariants is not None:
            wanted = {1, 2, 3, 4, 7, 8} | ({5, 9} if options.invariants == "full" else set())
            if wanted - set(self.invariants.stored):
                self._require_whole_nodes(f"invariants {options.invariants}")

    def write_database(self, path: PathLike, qualifiers: str = "", **options: Any) -> "Body":
        """Writes the body to the solver's database (a ".MASTER" file) as a new data block."""
        chosen = WriteOptions(**options)
        self._check_write(chosen, os.fspath(path))
        text = chosen.text(self._lib.to_si("time", 1.0))
        self._changing().write_database(os.fspath(path), qualifiers, text)
        return self

    # ---- other forms -----------------------------------------------------------------------------------------------

    def to_meshio(self, modes: bool = True) -> Any:
        """The surface as a ``meshio.Mesh`` with node IDs, masses and mode shapes as point data; meshio is needed."""
        import meshio

        names = {3: "triangle", 4: "quad"}
        lengths = set(self.faces.lengths.tolist()) - {2}
        cells = [(names.get(n, "polygon"), self.faces.of(n)) for n in sorted(lengths)]
        data: Dict[str, Any] = {"node_id": self.nodes.ids, "mass": self.nodes.masses}
        if modes:
            data.update({f"mode_{mode.number}": np.array(mode.translations) for mode in self.modes})
        return meshio.Mesh(self.nodes.coordinates, cells, point_data=data)

    def to_vtk(self, modes: bool = True) -> Any:
        """The surface as a ``vtkPolyData`` with the same point data as `to_meshio`; VTK's Python package is needed."""
        from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray
        from vtkmodules.vtkCommonCore import vtkPoints
        from vtkmodules.vtkCommonDataModel import vtkCellArray, vtkPolyData

        lengths, indices = self._lib.faces()
        offsets = np.concatenate([[0], np.cumsum(lengths)]).astype(np.int64)
        cells, points, surface = vtkCellArray(), vtkPoints(), vtkPolyData()
        cells.SetData(numpy_to_vtkIdTypeArray(offsets, deep=True),
                      numpy_to_vtkIdTypeArray(indices.astype(np.int64), deep=True))
        points.SetData(numpy_to_vtk(self.nodes.coordinates, deep=True))
        surface.SetPoints(points)
        surface.SetPolys(cells)
        data: Dict[str, Any] = {"node_id": self.nodes.ids, "mass": self.nodes.masses}
        if modes:
            data.update({f"mode_{mode.number}": mode.translations for mode in self.modes})
        for name, values in data.items():
            array = numpy_to_vtk(np.ascontiguousarray(values), deep=True)
            array.SetName(name)
            surface.GetPointData().AddArray(array)
        return surface


def _new_file(directory: str) -> str:
    """The name of a fresh file, with the permissions that the process gives to new files."""
    while True:
        name = os.path.join(directory, f".sbrkit-{secrets.token_hex(8)}.part")
        try:
            os.close(os.open(name, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o666))
            return name
        except FileExistsError:
            continue


def _mark_of(path: str) -> Tuple[int, int]:
    facts = os.stat(path)
    return facts.st_size, facts.st_mtime_ns


def open_record(path: PathLike, *, shared: bool = False, surface_mesh: bool = False, strict: bool = True) -> Body:
    """Opens a record. Mode data and invariants stay in the file until they are asked for; the file has to stay as it is.

    :param shared: bodies that are opened so under the same name are one body of the library: a change of one is seen
        by all. By default each opening is a body of its own.
    :param surface_mesh: without internal geometry; such bodies are shared by name among themselves
    :param strict: whether errors that the reader reports and reads on from are raised; else they become warnings
    """
    name = os.fspath(path)
    if isinstance(name, bytes) or "\0" in name:
        raise ValueError("the path must be a text without zero characters")
    if os.path.isdir(name):
        raise IsADirectoryError(f"{name} is a directory, not a record")
    mark = _mark_of(name)
    how = 2 if surface_mesh else 1 if shared else 0
    body = Body(_core.open_record(name, how, strict), name, mark)
    # What others may change, or what is not all that the file holds, is not pickled by name.
    body._changed = how != 0
    return body


def _from_file(path: str, mark: Tuple[int, int]) -> Body:
    if _mark_of(path) != mark:
        raise SbrError(f"{path} has been changed since the body was pickled")
    return open_record(path)


def _from_content(content: bytes) -> Body:
    handle, name = tempfile.mkstemp(prefix="sbrkit-", suffix=".sbr")
    try:
        with os.fdopen(handle, "wb") as file:
            file.write(content)
        body = open_record(name)
    finally:
        os.unlink(name)  # the open stream keeps the content
    body._path = None
    body._changed = False
    body._content = content
    return body
