"""compare_vtu.py TABLES FILE: VTK reads the grid, and finds in it what the tables hold."""

import sys

from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkDataArray
from vtkmodules.vtkIOXML import vtkXMLUnstructuredGridReader

from tables import TENSOR, Tables, same, von_mises

CELLS = {1: 1, 2: 3, 3: 5, 4: 9}  # vertex, line, triangle, quadrilateral; all others are polygons


def unit(array):
    return array.GetInformation().Get(vtkDataArray.UNITS_LABEL())


def compare_cells(grid, tables):
    faces = tables.faces()
    loose = tables.loose()
    numbers = vtk_to_numpy(grid.GetCellData().GetArray("face"))
    assert grid.GetNumberOfCells() == len(faces) + len(loose)
    for i, face in enumerate(faces + [[node] for node in loose]):
        points = grid.GetCell(i).GetPointIds()
        assert [points.GetId(k) for k in range(points.GetNumberOfIds())] == face, f"cell {i}"
        assert grid.GetCellType(i) == CELLS.get(len(face), 7), f"cell {i}"
        assert numbers[i] == (i + 1 if i < len(faces) else 0), f"cell {i}"


def compare_mode(grid, tables, number):
    data = grid.GetPointData()
    if "shapes" in tables:
        for name, columns in (("shape", ["dx", "dy", "dz"]), ("rotation", ["ax", "ay", "az"])):
            array = data.GetArray(f"{name}_{number}")
            same(vtk_to_numpy(array), tables.vectors("shapes", number, columns), array.GetName())
            assert unit(array) == tables.unit("shapes", columns[0]), unit(array)
    for kind in ("stress", "strain"):
        if kind not in tables:
            assert data.GetArray(f"{kind}_{number}") is None
            continue
        array = data.GetArray(f"{kind}_{number}")
        names = [array.GetComponentName(c) for c in range(6)]
        assert names == ["XX", "YY", "ZZ", "XY", "YZ", "XZ"], names
        same(vtk_to_numpy(array), tables.vectors(kind, number, [name.lower() for name in names]), array.GetName())
        assert (unit(array) or "") == tables.unit(kind, "xx")
        if kind == "stress":
            want = von_mises(tables.vectors(kind, number, TENSOR))
            scale = max([abs(value) for value in want if value == value], default=0.0)
            same(vtk_to_numpy(data.GetArray(f"von_mises_{number}")), want, "von Mises", 1e-12, 1e-9 * scale)


def main(directory, file):
    tables = Tables(directory)
    reader = vtkXMLUnstructuredGridReader()
    reader.SetFileName(file)
    reader.Update()
    assert reader.GetErrorCode() == 0
    grid = reader.GetOutput()
    same(vtk_to_numpy(grid.GetPoints().GetData()), tables.places(), "places")
    assert list(vtk_to_numpy(grid.GetPointData().GetArray("node_id"))) == list(tables.ids())
    if grid.GetPointData().GetArray("mass"):
        same(vtk_to_numpy(grid.GetPointData().GetArray("mass")), tables.columns("nodes")["mass"], "mass")
    marked = vtk_to_numpy(grid.GetPointData().GetArray("interface_node")).nonzero()[0]
    assert sorted(tables.ids()[marked]) == sorted(tables.columns("interface_nodes")["id"])
    compare_cells(grid, tables)
    fields = grid.GetFieldData()
    length = fields.GetAbstractArray("unit_of_length").GetValue(0)
    assert length == tables.unit("nodes", "x"), length
    modes = tables.modes()
    for name in ("eigenvalue", "frequency", "generalized_mass", "generalized_stiffness"):
        if len(modes["number"]):
            same(vtk_to_numpy(fields.GetArray(name)), modes[name], name)
            assert unit(fields.GetArray(name)) == tables.unit("modes", name)
    for number in modes["number"].astype(int):
        compare_mode(grid, tables, number)
    print(f"the same: {len(tables.ids())} nodes, {len(tables.faces())} faces, {len(modes['number'])} modes")


main(*sys.argv[1:])
