#!/usr/bin/env python3
"""Writes the decks of this folder, runs CalculiX (ccx 2.20) on them and packs its results.

rigid       a box beam whose ends belong to rigid bodies; also the solver's matrices, without the ends
kinematic   the same with kinematic couplings: the solver's results are those of `rigid`
mean        the same with distributing couplings; also the matrices of the plain body
weighted    `rigid` with a point mass on a reference node
steps       the beam clamped at one end: a static step with forces, pressure and gravity, a frequency step about its
            state, and one without it; the static step also has the nodal forces (RF)
loaded      the first two steps of `steps`, with the matrices of the second
springs     the free beam with point masses and springs
pipe        a straight pipe of quadratic beam elements
beams       the straight beam of linear elements, of rectangular section
reduced     the same with B31R, which has no inertia about itself
truss       a tetrahedron of trusses: the solver makes solids of them, whose motion the nodes do not show
"""
import gzip
import os
import shutil
import subprocess
import sys
import tempfile

LENGTH, WIDTH, HEIGHT = 200.0, 20.0, 30.0
CORNERS = [(0, 0, 0), (2, 0, 0), (2, 2, 0), (0, 2, 0), (0, 0, 2), (2, 0, 2), (2, 2, 2), (0, 2, 2)]
MIDDLES = [(1, 0, 0), (2, 1, 0), (1, 2, 0), (0, 1, 0), (1, 0, 2), (2, 1, 2), (1, 2, 2), (0, 1, 2),
           (0, 0, 1), (2, 0, 1), (2, 2, 1), (0, 2, 1)]
STEEL = "*MATERIAL, NAME=STEEL\n*ELASTIC\n210000, 0.3\n*DENSITY\n7.85e-9\n"


def lines_of(numbers):
    return "".join(", ".join(map(str, numbers[i:i + 10])) + ",\n" for i in range(0, len(numbers), 10))


def box(nx=4, ny=2, nz=2):
    """Mesh of C3D20R, sets of both ends, surfaces of both ends, material."""
    ids, nodes, elements = {}, {}, []

    def node(key):
        if key not in ids:
            ids[key] = len(ids) + 1
            i, j, k = key
            nodes[ids[key]] = (LENGTH * i / (2 * nx), WIDTH * j / (2 * ny) - WIDTH / 2, HEIGHT * k / (2 * nz) - HEIGHT / 2)
        return ids[key]

    for a in range(nx):
        for b in range(ny):
            for c in range(nz):
                elements.append([node((2 * a + i, 2 * b + j, 2 * c + k)) for i, j, k in CORNERS + MIDDLES])
    text = "*NODE, NSET=NALL\n" + "".join("%d, %.6f, %.6f, %.6f\n" % (n, *x) for n, x in nodes.items())
    text += "*ELEMENT, TYPE=C3D20R, ELSET=EALL\n"
    for number, element in enumerate(elements, 1):
        text += "%d, %s,\n%s\n" % (number, ", ".join(map(str, element[:12])), ", ".join(map(str, element[12:])))
    for name, x in (("IA", 0.0), ("IB", LENGTH)):
        text += "*NSET, NSET=%s\n" % name + lines_of([n for n, at in nodes.items() if abs(at[0] - x) < 1e-9])
    for name, corner, face in (("SA", 0, "S6"), ("SB", 1, "S4")):
        end = 0.0 if name == "SA" else LENGTH
        text += "*SURFACE, NAME=%s, TYPE=ELEMENT\n" % name
        text += "".join("%d, %s\n" % (i, face) for i, e in enumerate(elements, 1) if abs(nodes[e[corner]][0] - end) < 1e-9)
    return text + STEEL + "*SOLID SECTION, ELSET=EALL, MATERIAL=STEEL\n"


REFERENCES = "*NODE, NSET=REF\n5001, -20., 3., 4.\n5002, 220., 0., 0.\n"
ROTATIONS = "*NODE, NSET=ROT\n5003, -20., 3., 4.\n5004, 220., 0., 0.\n"
RIGID = REFERENCES + ROTATIONS + ("*RIGID BODY, NSET=IA, REF NODE=5001, ROT NODE=5003\n"
                                  "*RIGID BODY, NSET=IB, REF NODE=5002, ROT NODE=5004\n")


def couplings(kind):
    return REFERENCES + "".join("*COUPLING, REF NODE=%d, SURFACE=%s, CONSTRAINT NAME=C%s\n%s\n" % (n, s, s, kind)
                                for n, s in ((5001, "SA"), (5002, "SB")))


def frequency(count, more=""):
    return "*STEP\n*FREQUENCY, STORAGE=YES\n%d\n*NODE FILE\nU\n%s*END STEP\n" % (count, more)


MATRICES = "*STEP\n*FREQUENCY, SOLVER=MATRIXSTORAGE\n10\n*END STEP\n"
PRINT = "*NODE PRINT, NSET=REF\nU\n*NODE PRINT, NSET=ROT\nU\n"
STEPS = """*STEP
*STATIC
*BOUNDARY
IA, 1, 3
*CLOAD
140, 2, 1000.
IB, 1, 10.
*DLOAD
EALL, GRAV, 9810., 0., 0., -1.
4, P4, 2.5
*NODE FILE
U, RF
*EL FILE
S
*END STEP
*STEP, PERTURBATION
*FREQUENCY
4
*NODE FILE
U
*EL FILE
S
*END STEP
*STEP
*FREQUENCY
3
*NODE FILE
U
*END STEP
"""
LOADED = STEPS[:STEPS.index("*STEP\n*FREQUENCY")]
SPRINGS = """*ELEMENT, TYPE=MASS, ELSET=EM
9001, 140
9002, 138
*MASS, ELSET=EM
2e-4
*ELEMENT, TYPE=SPRINGA, ELSET=ES
9101, 1, 141
*SPRING, ELSET=ES

500.
*ELEMENT, TYPE=SPRING1, ELSET=E1
9102, 5
*SPRING, ELSET=E1
2
10.
*ELEMENT, TYPE=SPRING2, ELSET=E2
9103, 6, 130
*SPRING, ELSET=E2
1, 1
20.
*ELEMENT, TYPE=DASHPOTA, ELSET=ED
9104, 2, 139
*DASHPOT, ELSET=ED

0.5
"""
WEIGHT = "*ELEMENT, TYPE=MASS, ELSET=EM\n9001, 5001\n*MASS, ELSET=EM\n2e-4\n"


def pipe(elements=6, length=300.0):
    count = 2 * elements + 1
    text = "*NODE, NSET=NALL\n" + "".join("%d, %g, 0., 0.\n" % (i + 1, length * i / (count - 1)) for i in range(count))
    text += "*ELEMENT, TYPE=B32R, ELSET=EALL\n"
    text += "".join("%d, %d, %d, %d\n" % (e + 1, 2 * e + 1, 2 * e + 2, 2 * e + 3) for e in range(elements))
    text += "*NSET, NSET=ENDS\n1, %d\n" % count + STEEL
    return text + "*BEAM SECTION, ELSET=EALL, MATERIAL=STEEL, SECTION=PIPE\n8., 2.\n0., 1., 0.\n"


def beams(kind, elements=12, length=300.0):
    text = "*NODE, NSET=NALL\n" + "".join("%d, %g, 0., 0.\n" % (i + 1, length * i / elements) for i in range(elements + 1))
    text += "*ELEMENT, TYPE=%s, ELSET=EALL\n" % kind
    text += "".join("%d, %d, %d\n" % (e + 1, e + 1, e + 2) for e in range(elements)) + STEEL
    return text + "*BEAM SECTION, ELSET=EALL, MATERIAL=STEEL, SECTION=RECT\n8., 12.\n0., 1., 0.\n"


def truss():
    text = "*NODE\n1, 0., 0., 0.\n2, 100., 0., 0.\n3, 50., 80., 0.\n4, 50., 30., 70.\n"
    text += "*ELEMENT, TYPE=T3D2, ELSET=EALL\n1, 1, 2\n2, 2, 3\n3, 3, 1\n4, 1, 4\n5, 2, 4\n6, 3, 4\n" + STEEL
    return text + "*SOLID SECTION, ELSET=EALL, MATERIAL=STEEL\n12.\n"


DECKS = {
    "rigid": box() + RIGID + frequency(14, PRINT),
    "kinematic": box() + couplings("*KINEMATIC\n1, 3") + frequency(14),
    "mean": box() + couplings("*DISTRIBUTING\n1, 6") + frequency(14),
    "weighted": box() + RIGID + WEIGHT + frequency(10, PRINT),
    "steps": box() + STEPS,
    "loaded": box() + LOADED,
    "springs": box() + SPRINGS + frequency(12),
    "pipe": pipe() + frequency(12),
    "beams": beams("B31") + frequency(10),
    "reduced": beams("B31R") + frequency(10),
    "truss": truss() + frequency(8),
}


def run(folder, name, text):
    with open(os.path.join(folder, name + ".inp"), "w", encoding="ascii") as deck:
        deck.write(text)
    subprocess.run(["ccx", "-i", name], cwd=folder, check=True, stdout=subprocess.DEVNULL,
                   env={**os.environ, "OMP_NUM_THREADS": "1"})


def pack(source, target):
    with open(source, "rb") as read, open(target, "wb") as file:
        with gzip.GzipFile("", "wb", 9, file, 0) as write:
            shutil.copyfileobj(read, write)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    with tempfile.TemporaryDirectory() as folder:
        for name, text in DECKS.items():
            with open(os.path.join(here, name + ".inp"), "w", encoding="ascii") as deck:
                deck.write(text)
            run(folder, name, text)
            shutil.copy(os.path.join(folder, name + ".dat"), here)
            if name not in ("kinematic", "loaded"):
                pack(os.path.join(folder, name + ".frd"), os.path.join(here, name + ".frd.gz"))
        state = box() + LOADED.split("*STEP, PERTURBATION")[0]
        for name, text in (("rigid", box() + RIGID + MATRICES), ("plain", box() + MATRICES),
                           ("loaded", state + MATRICES.replace("*STEP", "*STEP, PERTURBATION", 1))):
            run(folder, name + "_matrices", text)
            for suffix in ("sti", "mas", "dof"):
                pack(os.path.join(folder, name + "_matrices." + suffix), os.path.join(here, "%s.%s.gz" % (name, suffix)))


if __name__ == "__main__":
    sys.exit(main())
