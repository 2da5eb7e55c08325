"""Reads a Shape Body Record without sbrkit: written from docs/record-format.md, with NumPy alone.

    python3 read_record.py body.sbr                      prints what the record holds

    from read_record import read_record
    record = read_record("body.sbr")
    record.coordinates, record.shapes.values[6]          (nodes, 3), (nodes, 6): shape of the seventh mode

A block that the record does not have is None. Arrays look into the file: mode data is read when it is used. A record
that contradicts itself is a RecordError that names the block.
"""

import math
import sys
from functools import partial
from types import SimpleNamespace as Fields

import numpy as np

TEXTS = dict(title=128, date=32, input_file_name=128, input_file_type=16, comment1=80, comment2=80, comment3=80)
NAMES = ("version_word header content coordinates old_faces global_properties eigenvalues shapes masses inertias units "
         "stiffness mass_matrix faces damping transformation interface stress invariant1 invariant2 invariant3 "
         "invariant4 invariant5 invariant7 invariant8 invariant9 preload loads strain statistics pre_stress pre_strain "
         "old_monitor_points operators nodal_loads monitor_points").split()


class RecordError(ValueError):
    """The file is no record, or contradicts itself."""


class Cursor:
    """A place in the file, and how its numbers are encoded."""

    def __init__(self, path):
        with open(path, "rb") as file:
            first = file.read(4)
        little, big = int.from_bytes(first, "little"), int.from_bytes(first, "big")
        if len(first) == 4 and (little & 0xFF in (10, 20, 30, 40, 50) or little & 0xFF >= 60 and not little & 0x100):
            self.word, self.xdr = little, False
        elif len(first) == 4 and (big & 0xFF in (31, 41, 51) or big & 0xFF >= 60 and big & 0x100):
            self.word, self.xdr = big, True
        else:
            raise RecordError(f"{path} is not a record: its first word is neither a native nor an XDR version")
        self.bytes, self.at, self.block, self.modes = np.memmap(path, np.uint8, "r"), 4, "", 0
        self.code = self.word & 0xFF
        self.layout = self.code if self.word == self.code else 60  # with a flag it is the current one
        self.single = self.code in (50, 51) or bool(self.word & 0x200)
        order = ">" if self.xdr else "<"
        self.int, self.real = order + "i4", order + ("f4" if self.single else "f8")
        self.char = ">i4" if self.xdr else "u1"
        self.ints, self.reals = partial(self.array, self.int), partial(self.array, self.real)

    def array(self, kind, *shape):
        size = np.dtype(kind).itemsize * math.prod(map(int, shape))
        if min(shape) < 0 or self.at + size > len(self.bytes):
            raise RecordError(f"{shape} values at byte {self.at} do not fit into the file")
        self.at += size
        return np.ndarray(shape, kind, self.bytes, self.at - size)

    def count(self):
        return int(self.ints(1)[0])

    def texts(self, count, length):
        rows = (self.array(self.char, count, length) & 0xFF).astype(np.uint8)
        return [row.tobytes().split(b"\0")[0].rstrip(b" ").decode("latin-1") for row in rows]

    def rows(self, count, **fields):
        return self.array(np.dtype(list(fields.items())), count)


def node_rows(f, name):
    nodes, values = f.ints(2)
    return f.rows(nodes, id=f.int, **{name: (f.real, (values,))})


def element_topology(f):
    groups = f.ints(f.ints(2)[1], 3)  # group, faces of the group, nodes of a face
    return [face[2:] for _, size, nodes in groups for face in f.ints(size, 2 + nodes if nodes >= 0 else -1)]


def element_faces(f):
    start, (size, _, count, length) = f.at, map(int, f.ints(4))
    words, faces, at = f.ints(length), [], 0
    for _ in range(count):
        faces.append(words[at + 1:at + 1 + words[at]])
        at += 1 + len(faces[-1])
    if size != f.at - start or at != length or sum(map(len, faces)) + count != length:
        raise RecordError("the counts contradict each other")
    return faces


def vectors(f):
    f.modes, nodes = map(int, f.ints(2))
    ids = f.ints(nodes)
    word = {} if f.layout == 10 or (f.layout in (30, 31) and "shapes" not in f.block) else {"number": f.int}
    rows = f.rows(f.modes, **word, values=(f.real, (nodes, 6)))
    return Fields(node_ids=ids, numbers=rows["number"] if word and f.layout != 20 else None, values=rows["values"])


def sparse_matrix(f):
    entries, second = map(int, f.ints(2))
    rows = f.rows(entries, row=f.int, column=f.int, value=f.real, trailer=f.int)
    return Fields(second_word=second, **{name: rows[name] for name in ("row", "column", "value")})


def transformation(f):
    modes = f.count()
    return Fields(modes=f.ints(modes), matrix=f.reals(modes, modes))


def preload(f):
    modes, axes = map(int, f.ints(2))
    return Fields(on_principal_axes=axes, values=f.reals(modes))


def modal_loads(f):
    modes, loads = map(int, f.ints(2))
    return [Fields(label=f.texts(1, 256)[0], on_principal_axes=f.count(), values=f.reals(modes)) for _ in range(loads)]


def matrix_operator(f):
    rows, name = f.count(), f.texts(1, 8)[0]
    labels = f.texts(rows, 80)
    parts = ((f.count(), f.texts(1, 8)[0]) for _ in range(f.count()))
    return Fields(name=name, labels=labels, parts=[(tag, f.reals(rows, columns)) for columns, tag in parts])


def monitor_point(f, modes):
    kind, result, component = map(int, f.ints(3))
    name, label, (rows, loads, flags) = f.texts(1, 8)[0], f.texts(1, 56)[0], map(int, f.ints(3))
    shapes = [(rows, modes)] * 3 + [(loads, rows, modes)]
    operators = [f.reals(*shape) if flags >> bit & 1 else None for bit, shape in enumerate(shapes)]
    return Fields(type=kind, result_type=result, component=component, name=name, label=label, operators=operators)


def monitor_points(f):
    """The last block ends where the file ends, which tells its number of modes: the rest may have fewer."""
    start = f.at
    for modes in range(f.modes, f.modes + 1000):
        try:
            f.at = start
            points = [monitor_point(f, modes) for _ in range(f.count())]
            if f.at == len(f.bytes):
                return points
        except ValueError:
            pass
    raise RecordError("it does not end where the file ends")


READERS = dict(enumerate([
    lambda f: {name: f.texts(1, length)[0] for name, length in TEXTS.items()}, lambda f: f.array(f.char, 100),
    lambda f: node_rows(f, "xyz"), element_topology, lambda f: f.reals(13),
    lambda f: f.rows(f.count(), mode=f.int, **dict.fromkeys("eigenvalue hz omega mass stiffness".split(), f.real)),
    vectors, lambda f: node_rows(f, "mass"),
    lambda f: f.rows(f.count(), id=f.int, row=f.char, column=f.char, value=f.real), lambda f: f.texts(4, 16),
    sparse_matrix, sparse_matrix, element_faces, sparse_matrix, transformation, lambda f: f.ints(f.count()), vectors,
    lambda f: f.reals(1), lambda f: f.reals(3), lambda f: f.reals(3, f.count()), lambda f: f.reals(3, f.count()),
    lambda f: (lambda m: f.reals(m, 3, m))(f.count()), lambda f: f.reals(3, 3), lambda f: f.reals(f.count(), 3, 3),
    lambda f: (lambda m: f.reals(m, m, 3, 3))(f.count()), preload, modal_loads, vectors,
    lambda f: f.rows(f.count(), node_ids=(f.int, 13), values=(f.real, 13)),
    lambda f: f.reals(f.count(), 6), lambda f: f.reals(f.count(), 6),
    lambda f: [monitor_point(f, f.modes) for _ in range(f.count())],
    lambda f: [matrix_operator(f) for _ in range(f.count())],
    lambda f: [f.rows(f.count(), node=f.int, coordinate=f.int, load=f.real) for _ in range(f.count())],
    monitor_points], start=1))


def node_order(record):
    """Rows of the node table in the order that positions count in: that of the mode shapes where there are some."""
    ids = record.coordinates["id"].tolist()
    listed = record.shapes.node_ids.tolist() if record.shapes else ids
    if sorted(listed) != sorted(ids):
        raise RecordError("block 7 (shapes): it lists other nodes than block 3")
    row = {node: i for i, node in enumerate(ids)}
    return [row[node] for node in listed]


def read_record(path):
    """The record, a field for each block that it may have; `blocks` gives first byte and size of those it has."""
    f = Cursor(path)
    record = Fields(**dict.fromkeys(NAMES), word=f.word, code=f.code, xdr=f.xdr, single=f.single, blocks={0: (0, 4)})
    for index, read in READERS.items():
        byte = index - (3 if index < 10 else 2 if index < 13 else 1)
        if index < 3 or (record.content[byte] & 0xFF and (f.layout > 31 or byte < 17)):
            start, f.block = f.at, f"{index} ({NAMES[index]})"
            try:
                setattr(record, NAMES[index], read(f))
            except (ValueError, IndexError) as problem:
                raise RecordError(f"block {f.block}: {problem}") from None
            record.blocks[index] = (start, f.at - start)
    return record


if __name__ == "__main__":
    body = read_record(sys.argv[1])
    print(f"{body.header['title']}: version {body.code}, {'XDR' if body.xdr else 'native'}, "
          f"{'single' if body.single else 'double'} precision, units {body.units}")
    for number, (at, length) in body.blocks.items():
        print(f"{number:3} {NAMES[number]:20} at {at:10} {length:10} bytes")
