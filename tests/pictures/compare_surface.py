"""compare_surface.py TABLES FILE: VTK's readers of STL and OBJ find the surface of the tables."""

import sys

import numpy
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOGeometry import vtkOBJReader, vtkSTLReader

from tables import Tables, same


def area_vector(places, face):
    corners = places[face]
    return 0.5 * numpy.cross(corners, numpy.roll(corners, -1, axis=0)).sum(axis=0)


def cells_of(data):
    cells = []
    for i in range(data.GetNumberOfCells()):
        points = data.GetCell(i).GetPointIds()
        cells.append([points.GetId(k) for k in range(points.GetNumberOfIds())])
    return cells


def compare_stl(data, tables):
    faces = [face for face in tables.faces() if len(face) > 2]
    places = tables.places().astype(numpy.float32).astype(float)
    got = vtk_to_numpy(data.GetPoints().GetData()).astype(float)
    cells = cells_of(data)
    assert len(cells) == sum(len(face) - 2 for face in faces), len(cells)
    known = {tuple(place) for place in places}
    assert all(tuple(place) in known for place in got), "every corner is a node"
    # The triangles of a face come one after the other, and sum up to its area vector.
    at = 0
    for i, face in enumerate(faces):
        parts = [area_vector(got, cell) for cell in cells[at:at + len(face) - 2]]
        at += len(face) - 2
        want = area_vector(places, face)
        size = numpy.abs(places[face] - places[face[0]]).max() ** 2
        same(sum(parts), want, f"face {i + 1}", 0.0, 1e-5 * size)
        # Triangles of a flat face that do not overlap have its area together.
        normal = want / (numpy.linalg.norm(want) or 1.0)
        if numpy.abs((places[face] - places[face[0]]) @ normal).max() <= 1e-6 * numpy.sqrt(size):
            together = sum(numpy.linalg.norm(part) for part in parts)
            same(together, numpy.linalg.norm(want), f"the area of face {i + 1}", 1e-5, 1e-5 * size)


def compare_obj(data, tables):
    same(vtk_to_numpy(data.GetPoints().GetData()), tables.places().astype(numpy.float32), "places")
    wanted = tables.faces() + [[node] for node in tables.loose()]
    assert sorted(cells_of(data)) == sorted(wanted)


def main(directory, name):
    tables = Tables(directory)
    reader = vtkSTLReader() if name.endswith(".stl") else vtkOBJReader()
    reader.SetFileName(name)
    if name.endswith(".stl"):
        reader.MergingOff()
    reader.Update()
    data = reader.GetOutput()
    (compare_stl if name.endswith(".stl") else compare_obj)(data, tables)
    print(f"the same: {data.GetNumberOfCells()} cells")


main(*sys.argv[1:])
