"""compare_exodus.py TABLES FILE: the format's own library reads the file, and finds in it what the tables hold; VTK's
reader animates its modes."""

import ctypes
import ctypes.util
import sys

import numpy
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOExodus import vtkExodusIIReader

from tables import TENSOR, Tables, same, von_mises

GLOBAL, NODAL, ELEMENT_BLOCK, NODE_SET, ELEMENT_MAP, NODE_MAP = 13, 14, 1, 2, 4, 5
library = ctypes.CDLL("libexoIIv2c.so.5")


class Exodus:
    def __init__(self, file):
        version = ctypes.c_float()
        words = ctypes.c_int(8), ctypes.c_int(0)
        api = 602
        self.id = library.ex_open_int(file.encode(), 0, ctypes.byref(words[0]), ctypes.byref(words[1]),
                                      ctypes.byref(version), api)
        assert self.id >= 0, "the library cannot open the file"
        assert words[1].value == 8, "the file holds doubles"
        title = ctypes.create_string_buffer(81)
        counts = [ctypes.c_int() for _ in range(6)]
        self.require(library.ex_get_init(self.id, title, *[ctypes.byref(count) for count in counts]))
        self.title = title.value.decode()
        self.axes, self.nodes, self.elements, self.blocks, self.node_sets, _ = [count.value for count in counts]
        library.ex_inquire_int.restype = ctypes.c_int64
        self.steps = library.ex_inquire_int(self.id, 16)  # EX_INQ_TIME

    @staticmethod
    def require(code):
        assert code >= 0, f"the library says {code}"

    def places(self):
        axes = [numpy.zeros(self.nodes) for _ in range(3)]
        self.require(library.ex_get_coord(self.id, *[axis.ctypes.data_as(ctypes.c_void_p) for axis in axes]))
        return numpy.stack(axes, axis=1)

    def map(self, kind, count):
        values = numpy.zeros(count, dtype=numpy.int32)
        self.require(library.ex_get_id_map(self.id, kind, values.ctypes.data_as(ctypes.c_void_p)))
        return values

    def names(self, kind):
        count = ctypes.c_int()
        self.require(library.ex_get_variable_param(self.id, kind, ctypes.byref(count)))
        buffers = [ctypes.create_string_buffer(257) for _ in range(count.value)]
        pointers = (ctypes.c_char_p * count.value)(*[ctypes.addressof(buffer) for buffer in buffers])
        if count.value:
            self.require(library.ex_get_variable_names(self.id, kind, count, pointers))
        return [buffer.value.decode() for buffer in buffers]

    def variable(self, step, kind, index, count):
        values = numpy.zeros(count)
        self.require(library.ex_get_var(self.id, ctypes.c_int(step), ctypes.c_int(kind), ctypes.c_int(index),
                                        ctypes.c_int64(1), ctypes.c_int64(count),
                                        values.ctypes.data_as(ctypes.c_void_p)))
        return values

    def time(self, step):
        value = ctypes.c_double()
        self.require(library.ex_get_time(self.id, step, ctypes.byref(value)))
        return value.value

    def elements_of(self, block):
        kind = ctypes.create_string_buffer(33)
        numbers = [ctypes.c_int() for _ in range(5)]
        self.require(library.ex_get_block(self.id, ELEMENT_BLOCK, ctypes.c_int64(block), kind,
                                          *[ctypes.byref(number) for number in numbers]))
        entries, corners = numbers[0].value, numbers[1].value
        polygons = kind.value == b"nsided"
        nodes = numpy.zeros(corners if polygons else entries * corners, dtype=numpy.int32)
        self.require(library.ex_get_conn(self.id, ELEMENT_BLOCK, ctypes.c_int64(block),
                                         nodes.ctypes.data_as(ctypes.c_void_p), None, None))
        counts = numpy.full(entries, corners, dtype=numpy.int32)
        if polygons:
            self.require(library.ex_get_entity_count_per_polyhedra(self.id, ELEMENT_BLOCK, ctypes.c_int64(block),
                                                                   counts.ctypes.data_as(ctypes.c_void_p)))
        return [list(part) for part in numpy.split(nodes - 1, numpy.cumsum(counts)[:-1])]

    def information(self):
        count = library.ex_inquire_int(self.id, 15)  # EX_INQ_INFO
        buffers = [ctypes.create_string_buffer(81) for _ in range(count)]
        pointers = (ctypes.c_char_p * count)(*[ctypes.addressof(buffer) for buffer in buffers])
        self.require(library.ex_get_info(self.id, pointers))
        return [buffer.value.decode() for buffer in buffers]

    def node_set(self, count):
        nodes = numpy.zeros(count, dtype=numpy.int32)
        self.require(library.ex_get_set(self.id, NODE_SET, ctypes.c_int64(1), nodes.ctypes.data_as(ctypes.c_void_p),
                                        None))
        return nodes


def compare_mesh(file, tables):
    ids = tables.ids()
    same(file.places(), tables.places(), "places")
    assert list(file.map(NODE_MAP, file.nodes)) == list(ids)
    wanted = tables.faces() + [[node] for node in tables.loose()]
    assert file.elements == len(wanted)
    numbers = file.map(ELEMENT_MAP, file.elements)
    elements = [element for block in range(1, file.blocks + 1) for element in file.elements_of(block)]
    assert sorted(numbers) == list(range(1, len(wanted) + 1))
    for number, element in zip(numbers, elements):
        assert element == wanted[number - 1], f"element {number}"
    interfaces = tables.columns("interface_nodes")["id"]
    assert file.node_sets == (1 if len(interfaces) else 0)
    if len(interfaces):
        assert list(ids[file.node_set(len(interfaces)) - 1]) == list(interfaces)


def compare_modes(file, tables):
    modes = tables.modes()
    numbers = modes["number"].astype(int)
    assert file.steps == len(numbers), file.steps
    if not len(numbers):
        return
    ascending = all(a < b for a, b in zip(numbers, numbers[1:]))
    names = file.names(NODAL)
    wanted = {"shapes": [("disp_" + a, "d" + a) for a in "xyz"] + [("rot_" + a, "a" + a) for a in "xyz"],
              "stress": [("stress_" + name, name) for name in TENSOR],
              "strain": [("strain_" + name, name) for name in TENSOR]}
    assert names == [name for kind in wanted if kind in tables for name, _ in wanted[kind] +
                     ([("von_mises", "")] if kind == "stress" else [])], names
    for step, number in enumerate(numbers, 1):
        assert file.time(step) == (number if ascending else step)
        same(file.variable(step, GLOBAL, 1, 5),
             [number] + [modes[name][step - 1] for name in ("eigenvalue", "frequency", "generalized_mass",
                                                            "generalized_stiffness")], f"figures of mode {number}")
        for kind, columns in wanted.items():
            if kind not in tables:
                continue
            values = tables.vectors(kind, number, [column for _, column in columns])
            for c, (name, _) in enumerate(columns):
                same(file.variable(step, NODAL, names.index(name) + 1, file.nodes), values[:, c], f"{name} {number}")
            if kind == "stress":
                scale = numpy.nanmax(von_mises(values)) if len(values) else 0.0
                same(file.variable(step, NODAL, names.index("von_mises") + 1, file.nodes), von_mises(values),
                     "von Mises", 1e-12, 1e-9 * scale)


def points_of(blocks):
    """The points of all element blocks by their node IDs."""
    places = {}
    for i in range(blocks.GetNumberOfBlocks()):
        block = blocks.GetBlock(i)
        if block is None:
            continue
        ids = vtk_to_numpy(block.GetPointData().GetGlobalIds() or block.GetPointData().GetArray("GlobalNodeId"))
        places.update(zip(ids, vtk_to_numpy(block.GetPoints().GetData())))
    return places


def compare_animation(name, tables):
    """With mode shapes on, VTK moves the points by the field that it takes for displacements."""
    numbers = tables.modes()["number"].astype(int)
    if not len(numbers) or "shapes" not in tables:
        return
    reader = vtkExodusIIReader()
    reader.SetFileName(name)
    reader.UpdateInformation()
    reader.GenerateGlobalNodeIdArrayOn()
    reader.SetAllArrayStatus(vtkExodusIIReader.NODAL, 1)
    reader.SetAllArrayStatus(vtkExodusIIReader.ELEM_BLOCK, 1)
    for i in range(reader.GetNumberOfElementBlockArrays()):
        reader.SetElementBlockArrayStatus(reader.GetElementBlockArrayName(i), 1)
    reader.HasModeShapesOn()
    reader.SetModeShape(len(numbers))
    reader.SetModeShapeTime(0.0)  # the full displacement: the motion goes as a cosine
    reader.ApplyDisplacementsOn()
    reader.SetDisplacementMagnitude(2.0)
    reader.Update()
    got = points_of(reader.GetOutput().GetBlock(0))
    want = tables.places() + 2.0 * tables.vectors("shapes", numbers[-1], ["dx", "dy", "dz"])
    ids = list(tables.ids())
    assert len(got) == len(ids), (len(got), len(ids))
    same([got[id_] for id_ in ids], want, "the animated mode", 1e-6, 1e-6 * numpy.abs(want).max())
    names = [reader.GetPointResultArrayName(i) for i in range(reader.GetNumberOfPointResultArrays())]
    assert any(name.startswith("disp") for name in names), names


def main(directory, name):
    tables = Tables(directory)
    file = Exodus(name)
    compare_mesh(file, tables)
    compare_modes(file, tables)
    assert f"unit of length: {tables.unit('nodes', 'x')}" in file.information(), file.information()
    compare_animation(name, tables)
    print(f"the same: {file.nodes} nodes, {file.elements} elements, {file.steps} steps")


main(*sys.argv[1:])
