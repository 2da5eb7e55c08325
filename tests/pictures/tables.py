"""The tables of a body as `sbr export --json` writes them: what its pictures are compared with."""

import json
import pathlib

import numpy


class Tables:
    def __init__(self, directory):
        self.directory = pathlib.Path(directory)

    def __contains__(self, name):
        return (self.directory / f"{name}.json").exists()

    def _read(self, name):
        return json.loads((self.directory / f"{name}.json").read_text())

    def columns(self, name):
        """The columns of a table by their names; null becomes no number."""
        table = self._read(name)
        rows = [[numpy.nan if value is None else value for value in row] for row in table["rows"]]
        values = numpy.array(rows, dtype=float).reshape(len(rows), len(table["columns"]))
        return {column["name"]: values[:, i] for i, column in enumerate(table["columns"])}

    def unit(self, name, column):
        return next(each["unit"] for each in self._read(name)["columns"] if each["name"] == column)

    def ids(self):
        return self.columns("nodes")["id"].astype(int)

    def places(self):
        nodes = self.columns("nodes")
        return numpy.stack([nodes[axis] for axis in "xyz"], axis=1)

    def faces(self):
        """Node indices, face after face."""
        place = {id_: i for i, id_ in enumerate(self.ids())}
        table = self.columns("faces")
        faces = {}
        for face, node in zip(table["face"].astype(int), table["node"].astype(int)):
            faces.setdefault(face, []).append(place[node])
        return [faces[face] for face in sorted(faces)]

    def loose(self):
        used = {corner for face in self.faces() for corner in face}
        return [i for i in range(len(self.ids())) if i not in used]

    def modes(self):
        return self.columns("modes")

    def vectors(self, name, mode, columns):
        """The columns of a mode at all nodes; no number where the table has none."""
        table = self.columns(name)
        ids = self.ids()
        values = numpy.full((len(ids), len(columns)), numpy.nan)
        rows = table["mode"] == mode
        place = {id_: i for i, id_ in enumerate(ids)}
        where = [place[node] for node in table["node"][rows].astype(int)]
        for c, column in enumerate(columns):
            values[where, c] = table[column][rows]
        return values


def von_mises(tensor):
    """From columns xx, yy, zz, xy, xz, yz."""
    xx, yy, zz, xy, xz, yz = tensor.T
    return numpy.sqrt(0.5 * ((xx - yy) ** 2 + (yy - zz) ** 2 + (zz - xx) ** 2) + 3 * (xy**2 + xz**2 + yz**2))


TENSOR = ["xx", "yy", "zz", "xy", "xz", "yz"]


def same(got, want, what, rtol=0.0, atol=0.0):
    got = numpy.asarray(got, dtype=float)
    want = numpy.asarray(want, dtype=float)
    assert got.shape == want.shape, f"{what}: {got.shape} instead of {want.shape}"
    good = numpy.isclose(got, want, rtol=rtol, atol=atol, equal_nan=True)
    if not good.all():
        worst = numpy.argwhere(~good)[0]
        raise AssertionError(f"{what}: {got[tuple(worst)]} instead of {want[tuple(worst)]} at {worst}")
