#!/usr/bin/env python3
"""Writes the decks of this folder, and with --run has the solver (CalculiX ccx 2.20, one thread) solve them:

    python3 make_elements.py          # the decks alone
    python3 make_elements.py --run    # decks, NAME.dat and NAME.frd.gz, matrices

Units: t, mm, s, N. The decks are small on purpose: a few hundred nodes, six rigid modes and one or two elastic ones.

  solid_TYPE       a bent bar of solids of one type, free
  layer_TYPE       a bar with one layer of linear solids: all of its nodes lie on its outside
  fold_TYPE        two plates of shells that meet at an edge, at 50 degrees; tee_TYPE: three at one edge;
                   corner_TYPE: three that are square to each other. None lies along an axis.
  offset_TYPE      a plate of shells whose nodes lie above its middle; arc_S8R: a curved one; taper_TYPE: a plate with
                   thicknesses by node
  flat2d           a plate whose results are in two dimensions (OUTPUT=2D)
  local_*          displacement or stress in local axes, and the same in global axes
  tied_*           two blocks that hang together by *EQUATION or *TIE, with the solver's matrices
  bar_C3D8I        incompatible modes, with matrices
  clamped          a bar with supports
  included         a bar whose deck is in several files: data lines alone, and one file that includes another
"""
import gzip
import math
import os
import shutil
import subprocess
import sys
import tempfile

STEEL = ["*MATERIAL, NAME=STEEL", "*ELASTIC", "210000, 0.3", "*DENSITY", "7.85e-9"]
BRICK = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0, 0, 1), (1, 0, 1), (1, 1, 1), (0, 1, 1)]
# A brick as two wedges and as six tetrahedra along its diagonal: corners of the brick.
WEDGES = [(0, 1, 2, 4, 5, 6), (0, 2, 3, 4, 6, 7)]
TETS = [(0, 1, 2, 6), (0, 2, 3, 6), (0, 3, 7, 6), (0, 7, 4, 6), (0, 4, 5, 6), (0, 5, 1, 6)]
EDGES = {4: [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)],
         6: [(0, 1), (1, 2), (2, 0), (3, 4), (4, 5), (5, 3), (0, 3), (1, 4), (2, 5)],
         8: [(0, 1), (1, 2), (2, 3), (3, 0), (4, 5), (5, 6), (6, 7), (7, 4), (0, 4), (1, 5), (2, 6), (3, 7)]}
PARTS = {"C3D4": TETS, "C3D10": TETS, "C3D6": WEDGES, "C3D15": WEDGES}


class Mesh:
    """Nodes by a key, placed by a map of their parent coordinates; elements by type."""

    def __init__(self, place):
        self.place, self.ids, self.nodes, self.elements = place, {}, [], []

    def node(self, key):
        key = tuple(round(k, 6) for k in key)
        if key not in self.ids:
            self.ids[key] = len(self.nodes) + 1
            self.nodes.append(self.place(*key))
        return self.ids[key]

    def element(self, corners, edges=()):
        middle = [tuple(0.5 * (p + q) for p, q in zip(corners[a], corners[b])) for a, b in edges]
        self.elements.append([self.node(c) for c in list(corners) + middle])

    def set_of(self, test):
        return [n for key, n in sorted(self.ids.items(), key=lambda item: item[1]) if test(*key)]

    def lines(self, kind, name="BODY"):
        out = ["*NODE, NSET=NALL"]
        out += ["%d, %.9g, %.9g, %.9g" % ((i + 1,) + tuple(p)) for i, p in enumerate(self.nodes)]
        out.append("*ELEMENT, TYPE=%s, ELSET=%s" % (kind, name))
        for i, nodes in enumerate(self.elements):
            out += wrap([i + 1] + nodes)
        return out


def wrap(ids, per=15):
    return [", ".join(map(str, ids[a:a + per])) + ("," if a + per < len(ids) else "") for a in range(0, len(ids), per)]


def nset(name, ids):
    lines = wrap(ids)
    return ["*NSET, NSET=" + name] + [line.rstrip(",") for line in lines]


def solids(kind, counts, place):
    """A box of counts of bricks, each of unit size before the map."""
    mesh = Mesh(place)
    quadratic = kind.rstrip("R") in ("C3D10", "C3D15", "C3D20")
    for i in range(counts[0]):
        for j in range(counts[1]):
            for k in range(counts[2]):
                brick = [(i + a, j + b, k + c) for a, b, c in BRICK]
                for part in PARTS.get(kind, [range(8)]):
                    corners = [brick[c] for c in part]
                    mesh.element(corners, EDGES[len(corners)] if quadratic else ())
    return mesh


def bent(x, y, z):
    """A bar of 60 x 18 x 12, bent, twisted and off the origin."""
    u, v, w = 20.0 * x, 9.0 * (y - 1), 6.0 * (z - 1)
    a = 0.004 * u
    v, w = v * math.cos(a) - w * math.sin(a), v * math.sin(a) + w * math.cos(a)
    return u + 5.0 - 0.002 * u * w, v + 0.0015 * u * u - 3.0, w + 11.0


def step(modes, files):
    return ["*STEP", "*FREQUENCY", str(modes)] + files + ["*END STEP"]


ALL = ["*NODE FILE", "U", "*EL FILE", "S"]


def solid_deck(kind, counts=(3, 2, 2), place=bent, modes=8, extra=(), files=ALL):
    mesh = solids(kind, counts, place)
    out = ["*HEADING", "Free body of " + kind] + mesh.lines(kind)
    out += nset("IFACE", mesh.set_of(lambda x, y, z: x == 0))
    out += STEEL + list(extra) + ["*SOLID SECTION, ELSET=BODY, MATERIAL=STEEL"]
    return out + step(modes, files)


def turned(x, y, z):
    """A frame that lies along no axis."""
    for (a, b, angle) in ((0, 1, 0.4), (1, 2, 0.7), (0, 2, -0.5)):
        p = [x, y, z]
        p[a], p[b] = (p[a] * math.cos(angle) - p[b] * math.sin(angle), p[a] * math.sin(angle) + p[b] * math.cos(angle))
        x, y, z = p
    return x + 20.0, y - 7.0, z + 4.0


def shells(kind, plates, counts):
    """Plates as (corner, first side, second side) in the local frame."""
    mesh = Mesh(lambda x, y, z: turned(x, y, z))
    for corner, first, second in plates:
        def at(i, j):
            s, t = i / counts[0], j / counts[1]
            return tuple(c + s * a + t * b for c, a, b in zip(corner, first, second))
        for i in range(counts[0]):
            for j in range(counts[1]):
                quad = [at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)]
                parts = [quad] if kind in ("S4", "S8R") else [[quad[0], quad[1], quad[2]], [quad[0], quad[2], quad[3]]]
                for corners in parts:
                    n = len(corners)
                    mesh.element(corners, [(e, (e + 1) % n) for e in range(n)] if kind in ("S6", "S8R") else ())
    return mesh


A = math.radians(50.0)
PLATES = {"fold": [((0, 0, 0), (40, 0, 0), (0, 30, 0)), ((0, 0, 0), (0, 30, 0), (30 * math.cos(A), 0, 30 * math.sin(A)))],
          "tee": [((0, 0, 0), (30, 0, 0), (0, 30, 0)), ((0, 0, 0), (0, 30, 0), (-30, 0, 0)),
                  ((0, 0, 0), (0, 30, 0), (0, 0, 30))],
          "corner": [((0, 0, 0), (30, 0, 0), (0, 30, 0)), ((0, 0, 0), (0, 30, 0), (0, 0, 30)),
                     ((0, 0, 0), (0, 0, 30), (30, 0, 0))]}


def shell_deck(kind, shape, modes=8, files=ALL, counts=(3, 3)):
    mesh = shells(kind, PLATES[shape], counts)
    out = ["*HEADING", "Free shells, %s of %s" % (shape, kind)] + mesh.lines(kind)
    out += STEEL + ["*SHELL SECTION, ELSET=BODY, MATERIAL=STEEL", "1.5"]
    return out + step(modes, files)


def plate_deck(kind, section, thickness=None, place=turned, counts=(4, 3)):
    """A plate of 48 x 30 in its frame, thickness by place or the same everywhere."""
    mesh = shells(kind, [((0, 0, 0), (48, 0, 0), (0, 30, 0))], counts)
    mesh.nodes = [place(*key) for key, _ in sorted(mesh.ids.items(), key=lambda item: item[1])]
    out = ["*HEADING", "A plate of %s, %s" % (kind, section)] + mesh.lines(kind)
    out += STEEL + ["*SHELL SECTION, ELSET=BODY, MATERIAL=STEEL, " + section, "1.5"]
    if thickness:
        out += ["*NODAL THICKNESS"] + ["%d, %.9g" % (n, thickness(*key)) for key, n in mesh.ids.items()]
    return out + step(8, ALL)


def arched(x, y, z):
    """On a cylinder of radius 60, in the turned frame."""
    return turned(60 * math.sin(x / 60), y, 60 * math.cos(x / 60))


def tied_deck(how, storage):
    """Two blocks of C3D8 whose nodes at x = 2 lie together, two nodes at each place."""
    mesh = Mesh(lambda x, y, z, part: (15.0 * x, 8.0 * y, 7.0 * z))
    for i in range(4):
        for j in range(2):
            for k in range(2):
                mesh.element([(i + a, j + b, k + c, i // 2) for a, b, c in BRICK])
    out = ["*HEADING", "Two blocks with " + how] + mesh.lines("C3D8")
    out += nset("IFACE", mesh.set_of(lambda x, y, z, part: x == 0))
    left = mesh.set_of(lambda x, y, z, part: x == 2 and part == 0)
    right = mesh.set_of(lambda x, y, z, part: x == 2 and part == 1)
    if how == "EQUATION":
        for a, b in zip(right, left):
            for d in (1, 2, 3):
                out += ["*EQUATION", "2", "%d, %d, 1.0, %d, %d, -1.0" % (a, d, b, d)]
    else:
        left_elements = [i + 1 for i in range(len(mesh.elements)) if 4 <= i < 8]
        right_elements = [i + 1 for i in range(len(mesh.elements)) if 8 <= i < 12]
        out += ["*ELSET, ELSET=LEFT"] + wrap(left_elements) + ["*ELSET, ELSET=RIGHT"] + wrap(right_elements)
        out += ["*SURFACE, NAME=SLEFT", "LEFT, S4", "*SURFACE, NAME=SRIGHT", "RIGHT, S6"]
        out += ["*TIE, NAME=JOINT, POSITION TOLERANCE=0.1", "SRIGHT, SLEFT"]
    out += STEEL + ["*SOLID SECTION, ELSET=BODY, MATERIAL=STEEL"]
    return out + ["*STEP", "*FREQUENCY" + (", SOLVER=MATRIXSTORAGE" if storage else ""), "10"] + ALL + ["*END STEP"]


def bar_deck(kind, storage, counts=(6, 2, 2)):
    out = solid_deck(kind, counts, lambda x, y, z: (10.0 * x, 5.0 * y, 6.0 * z), 10)
    return [line if line != "*FREQUENCY" or not storage else "*FREQUENCY, SOLVER=MATRIXSTORAGE" for line in out]


def local_deck(what, glob):
    extra = ["*ORIENTATION, NAME=SKEW, SYSTEM=RECTANGULAR", "1, 1, 0, -1, 1, 0.5"]
    if what == "displacement":
        extra += ["*TRANSFORM, NSET=IFACE, TYPE=R", "1, 1, 0, -1, 1, 0.5"]
    files = ["*NODE FILE" + (", GLOBAL=NO" if what == "displacement" and not glob else ""), "U",
             "*EL FILE" + (", GLOBAL=NO" if what == "stress" and not glob else ""), "S"]
    out = solid_deck("C3D8", (3, 2, 2), bent, 7, extra, files)
    return [line + ", ORIENTATION=SKEW" if line.startswith("*SOLID SECTION") else line for line in out]


def decks():
    for kind in ("C3D4", "C3D10", "C3D6", "C3D15", "C3D8", "C3D8R", "C3D8I", "C3D20", "C3D20R"):
        yield "solid_" + kind, solid_deck(kind)
    for kind in ("C3D4", "C3D6", "C3D8"):
        yield "layer_" + kind, solid_deck(kind, (4, 1, 1), lambda x, y, z: bent(0.75 * x, 2 * y, 2 * z))
    for kind in ("S3", "S4", "S6", "S8R"):
        yield "fold_" + kind, shell_deck(kind, "fold")
    for kind in ("S4", "S8R"):
        yield "tee_" + kind, shell_deck(kind, "tee")
        yield "corner_" + kind, shell_deck(kind, "corner")
    for kind in ("S4", "S8R"):
        yield "offset_" + kind, plate_deck(kind, "OFFSET=0.5")
        yield "taper_" + kind, plate_deck(kind, "NODAL THICKNESS", lambda x, y, z: 1.0 + 0.03 * x + 0.01 * y)
    yield "arc_S8R", plate_deck("S8R", "OFFSET=0.5", None, arched)
    yield "flat2d", shell_deck("S4", "fold", 7, ["*NODE FILE, OUTPUT=2D", "U", "*EL FILE, OUTPUT=2D", "S"])
    for what in ("displacement", "stress"):
        for glob in (True, False):
            yield "local_%s_%s" % (what, "global" if glob else "local"), local_deck(what, glob)
    for how in ("EQUATION", "TIE"):
        yield "tied_" + how, tied_deck(how, False)
    yield "bar_C3D8I", bar_deck("C3D8I", False)
    clamped = solid_deck("C3D20R", modes=4)
    clamped.insert(clamped.index("*STEP"), "*BOUNDARY\nIFACE, 1, 3")
    yield "clamped", clamped


def included_files():
    """The deck of solid_C3D8 in four files, by name."""
    deck = solid_deck("C3D8")
    element, section = deck.index("*ELEMENT, TYPE=C3D8, ELSET=BODY"), deck.index("*MATERIAL, NAME=STEEL")
    nodes = deck.index("*NODE, NSET=NALL") + 1
    return {"included.inp": deck[:nodes + 5] + ["*INCLUDE, INPUT=included_nodes.inc"] + deck[element - 1:section] +
            ["*INCLUDE, INPUT=included_steel.inc"] + deck[deck.index("*STEP"):],
            "included_nodes.inc": deck[nodes + 5:element - 1],
            "included_steel.inc": ["*INCLUDE, INPUT=included_material.inc", "*SOLID SECTION, ELSET=BODY, MATERIAL=STEEL"],
            "included_material.inc": STEEL}


MATRICES = {"tied_EQUATION": lambda: tied_deck("EQUATION", True), "tied_TIE": lambda: tied_deck("TIE", True),
            "bar_C3D8I": lambda: bar_deck("C3D8I", True)}


def write(path, lines):
    with open(path, "w") as out:
        out.write("\n".join(lines) + "\n")


def pack(source, target):
    with open(source, "rb") as plain, open(target, "wb") as out, \
            gzip.GzipFile("", "wb", mtime=0, fileobj=out) as packed:
        packed.write(plain.read())


def solve(name, lines, folder, keep, others=()):
    with tempfile.TemporaryDirectory() as work:
        for other in others:
            shutil.copy(os.path.join(folder, other), work)
        write(os.path.join(work, name + ".inp"), lines)
        environment = dict(os.environ, OMP_NUM_THREADS="1")
        run = subprocess.run(["ccx", "-i", name], cwd=work, env=environment, capture_output=True, text=True)
        for suffix in keep:
            source = os.path.join(work, name + suffix)
            if not os.path.exists(source):
                sys.exit("%s: the solver made no %s\n%s" % (name, suffix, run.stdout[-2000:]))
            if suffix == ".dat":
                shutil.copy(source, os.path.join(folder, name + suffix))
            else:
                pack(source, os.path.join(folder, name + suffix + ".gz"))


def main():
    folder = os.path.dirname(os.path.abspath(__file__))
    names = [a for a in sys.argv[1:] if a != "--run"]
    for name, lines in decks():
        if names and name not in names:
            continue
        write(os.path.join(folder, name + ".inp"), lines)
        if "--run" in sys.argv:
            solve(name, lines, folder, [".dat", ".frd"])
            if name in MATRICES:
                solve(name, MATRICES[name](), folder, [".sti", ".mas", ".dof"])
    files = included_files()
    if not names or "included" in names:
        for name, lines in files.items():
            write(os.path.join(folder, name), lines)
        if "--run" in sys.argv:
            solve("included", files["included.inp"], folder, [".dat", ".frd"], [n for n in files if n.endswith(".inc")])


main()
