"""compare_glb.py TABLES FILE METERS: VTK's reader of glTF finds the surface of the tables, in meters with z upwards, and
each animation moves it along its mode. METERS is the unit of length. VTK moves triangles alone: what moves lines and points
is read from the bytes of the file by NumPy."""

import json
import struct
import sys

import numpy
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOGeometry import vtkGLTFReader

from tables import Tables, same


class Glb:
    """The two chunks of a binary file."""

    def __init__(self, name):
        with open(name, "rb") as file:
            magic, version, length, size, kind = struct.unpack("<4sIII4s", file.read(20))
            assert (magic, version, kind) == (b"glTF", 2, b"JSON")
            self.json = json.loads(file.read(size))
            size, kind = struct.unpack("<I4s", file.read(8))
            assert kind == b"BIN\0"
            self.bytes = file.read(size)

    def floats(self, accessor):
        about = self.json["accessors"][accessor]
        view = self.json["bufferViews"][about["bufferView"]]
        assert about["componentType"] == 5126
        width = {"SCALAR": 1, "VEC3": 3}[about["type"]]
        begin = view.get("byteOffset", 0) + about.get("byteOffset", 0)
        return numpy.frombuffer(self.bytes, "<f4", about["count"] * width, begin).reshape(-1, width)


def moved_places(tables, mode):
    """Where the nodes of the record are at weight 1."""
    shape = tables.vectors("shapes", mode["number"], ["dx", "dy", "dz"])
    return tables.places() + mode["scale_of_weight_1"] * numpy.nan_to_num(shape)


def compare_targets(glb, tables, modes, scale):
    """Every primitive, of triangles, lines or points, has a morph target for each mode."""
    for primitive in glb.json["meshes"][0]["primitives"]:
        targets = primitive.get("targets", [])
        assert len(targets) == len(modes)
        for target, mode in zip(targets, modes):
            got = glb.floats(primitive["attributes"]["POSITION"]).astype(float) + glb.floats(target["POSITION"])
            same(got, moved_places(tables, mode), f"target of mode {mode['number']}", 1e-5, 2e-6 * scale)


def compare_animations(glb, count):
    """A quarter of the period after its beginning an animation has its own mode at weight 1 and the others at 0."""
    animations = glb.json.get("animations", [])
    assert len(animations) == count
    for i, animation in enumerate(animations):
        [sampler] = animation["samplers"]
        assert animation["channels"][0]["target"] == {"node": 1, "path": "weights"}
        times = glb.floats(sampler["input"]).ravel()
        weights = glb.floats(sampler["output"]).reshape(len(times), count)
        same(weights[list(times).index(0.5)], numpy.eye(count)[i], "weights", atol=1e-6)


def in_scene(places, meters):
    """z goes up where glTF has y."""
    return meters * numpy.stack([places[:, 0], places[:, 2], -places[:, 1]], axis=1)


def leaves(data):
    if data is None:
        return []
    if hasattr(data, "GetNumberOfBlocks"):
        return [leaf for i in range(data.GetNumberOfBlocks()) for leaf in leaves(data.GetBlock(i))]
    return [data]


def points(reader):
    """The places of the first primitive, and all of them. Each has all vertices; VTK moves the triangles alone."""
    found = leaves(reader.GetOutput())
    assert found
    return vtk_to_numpy(found[0].GetPoints().GetData()), found


def area(places, triangles):
    a, b, c = (places[triangles[:, k]] for k in range(3))
    return 0.5 * numpy.cross(b - a, c - a).sum(axis=0)


def compare_surface(found, tables, places):
    """The triangles cover each face once: sum of their area vectors and of their areas."""
    cells = [[leaf.GetCell(i).GetPointId(k) for k in range(leaf.GetCell(i).GetNumberOfPoints())]
             for leaf in found for i in range(leaf.GetNumberOfCells())]
    triangles = numpy.array([cell for cell in cells if len(cell) == 3], dtype=int).reshape(-1, 3)
    faces = [face for face in tables.faces() if len(face) > 2]
    fan = numpy.array([[face[0], face[k], face[k + 1]] for face in faces for k in range(1, len(face) - 1)],
                      dtype=int).reshape(-1, 3)
    assert len(triangles) == len(fan)
    size = numpy.abs(places).max() ** 2 * max(len(fan), 1)
    same(area(places, triangles), area(places, fan), "the area vector", 0.0, 1e-6 * size)
    alone = [cell[0] for cell in cells if len(cell) == 1]
    assert sorted(alone) == sorted(tables.loose() + [face[0] for face in tables.faces() if len(face) == 1])


def main(directory, name, meters):
    tables = Tables(directory)
    meters = float(meters)
    glb = Glb(name)
    extras = glb.json["asset"]["extras"]
    assert extras["units"]["length"] == tables.unit("nodes", "x")
    modes = extras["modes"] or []
    reader = vtkGLTFReader()
    reader.SetFileName(name)
    reader.ApplyDeformationsToGeometryOn()
    reader.Update()
    rest = in_scene(tables.places(), meters)
    scale = numpy.abs(rest).max()
    got, found = points(reader)
    for leaf in found:
        same(vtk_to_numpy(leaf.GetPoints().GetData()), rest, "places", 1e-6, 1e-6 * scale)
    compare_surface(found, tables, got)
    frequencies = tables.modes()
    table_numbers = list(frequencies["number"].astype(int))
    compare_targets(glb, tables, modes, scale / meters)
    compare_animations(glb, len(modes))
    moving = any(leaf.GetNumberOfCells() and leaf.GetCell(0).GetNumberOfPoints() == 3 for leaf in found[:1])
    for i, mode in enumerate(modes):
        where = table_numbers.index(mode["number"])
        same(mode["frequency_hz"], frequencies["frequency"][where], "frequency")
        if not moving:
            continue
        for other in range(len(modes)):
            reader.DisableAnimation(other)
        reader.EnableAnimation(i)
        reader.UpdateInformation()
        reader.UpdateTimeStep(0.5)  # a quarter of the period: the weight is 1
        moved = in_scene(moved_places(tables, mode), meters)
        same(points(reader)[0], moved, f"mode {mode['number']}", 1e-5, 2e-6 * scale)
    print(f"the same: {len(got)} nodes, {len(modes)} of {len(table_numbers)} modes")


main(*sys.argv[1:])
