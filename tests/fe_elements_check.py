#!/usr/bin/env python3
"""Imports the decks of tests/data/fe/elements and compares the records with the solver's own files and with integrals
over the mesh. It shares nothing with the program but its commands: decks, results, shape functions and quadrature are
read and worked out here, in plain Python.

    fe_elements_check.py SBR FOLDER [NAME...]
"""
import glob
import gzip
import json
import math
import os
import subprocess
import sys
import tempfile

FAILURES = []


def expect(ok, *words):
    if not ok:
        FAILURES.append(" ".join(str(w) for w in words))


def near(model, what, value, wanted, tolerance):
    """|value - wanted| within a tolerance that is absolute."""
    expect(abs(value - wanted) <= tolerance, model, what, value, "and not", wanted, "within", tolerance)


# ---- the deck


def deck_lines(path, folder=None):
    """The lines of a deck with those of the files that it includes, whose names count from the folder of the deck."""
    folder = folder or os.path.dirname(path)
    for line in open(path):
        if line.upper().startswith("*INCLUDE"):
            yield from deck_lines(os.path.join(folder, line.split("=")[1].strip()), folder)
        else:
            yield line


def read_deck(path):
    deck = {"nodes": {}, "elements": [], "sets": {}, "thickness": 0.0, "thicknesses": {}, "offset": 0.0, "density": 0.0, "card": "", "supports": False}
    pending, card, parameters = [], "", {}
    for line in deck_lines(path):
        line = line.strip()
        if line.startswith("*"):
            words = [w.strip() for w in line.split(",")]
            card = words[0].upper().replace(" ", "")
            parameters = {w.split("=")[0].upper(): w.split("=")[1].upper() for w in words[1:] if "=" in w}
            deck["supports"] = deck["supports"] or card == "*BOUNDARY"
            continue
        fields = [f.strip() for f in line.split(",") if f.strip()]
        if card == "*NODE":
            deck["nodes"][int(fields[0])] = tuple(float(f) for f in fields[1:4])
        elif card == "*ELEMENT":
            pending += [int(f) for f in fields]
            if not line.endswith(","):
                deck["elements"].append((pending[0], parameters["TYPE"], pending[1:]))
                pending = []
        elif card == "*NSET":
            deck["sets"].setdefault(parameters["NSET"], []).extend(int(f) for f in fields)
        elif card == "*DENSITY":
            deck["density"] = float(fields[0])
        elif card == "*SHELLSECTION":
            deck["thickness"] = float(fields[0])
            deck["offset"] = float(parameters.get("OFFSET", 0.0))
        elif card == "*NODALTHICKNESS":
            deck["thicknesses"][int(fields[0])] = float(fields[1])
    if deck["offset"] != 0.0:
        move_to_middle(deck)
    return deck


def thickness_of(deck, node):
    return deck["thicknesses"].get(node, deck["thickness"])


def move_to_middle(deck):
    """Puts the nodes of shells with an offset to the middle: against the mean normal of the elements around."""
    sums = {}
    for _, name, ids in deck["elements"]:
        kind, places = KINDS[name], [deck["nodes"][i] for i in ids]
        parents = [(a, b, 0.0) for a, b, _ in CORNERS[:4]]
        parents += [tuple((p + q) / 2 for p, q in zip(parents[e], parents[(e + 1) % 4])) for e in range(4)]
        for node, parent in zip(ids, parents):
            slopes = [[(a - b) / 1e-4 for a, b in zip(shapes(kind, [p + (k == j) * 5e-5 for j, p in enumerate(parent)]),
                                                      shapes(kind, [p - (k == j) * 5e-5 for j, p in enumerate(parent)]))]
                      for k in range(2)]
            normal = cross(*[[sum(f * p[c] for f, p in zip(s, places)) for c in range(3)] for s in slopes])
            size = math.sqrt(dot(normal, normal))
            sums[node] = [a + b / size for a, b in zip(sums.get(node, (0.0, 0.0, 0.0)), normal)]
    for node, normal in sums.items():
        height = deck["offset"] * thickness_of(deck, node) / math.sqrt(dot(normal, normal))
        deck["nodes"][node] = tuple(p - height * n for p, n in zip(deck["nodes"][node], normal))


# ---- the solver's results


def numbers(line):
    return [float(line[at:at + 12]) for at in range(13, len(line.rstrip("\n")), 12)]


def read_frd(path):
    nodes, elements, modes, state, values, mode = {}, {}, {}, "", None, 0
    with gzip.open(path, "rt") as lines:
        for line in lines:
            key = line[:3]
            if line[:6] == "    2C":
                state = "nodes"
            elif line[:6] == "    3C":
                state = "elements"
            elif line[:10] == "    1PMODE":
                mode = int(line.split()[1])
            elif key == " -4":
                values, state = modes.setdefault(mode, {}).setdefault(line[5:13].strip(), {}), "values"
            elif key == " -3":
                state = ""
            elif key == " -1" and state == "nodes":
                nodes[int(line[3:13])] = numbers(line)
            elif key == " -1" and state == "elements":
                element = elements.setdefault(int(line[3:13]), [])
            elif key == " -2" and state == "elements":
                element.extend(int(word) for word in line[3:].split())
            elif key == " -1" and state == "values":
                values[int(line[3:13])] = numbers(line)
    return nodes, elements, modes


def read_dat(path):
    """Eigenvalues, and the total effective mass in six directions."""
    eigenvalues, totals, table = [], None, ""
    for line in open(path):
        squeezed = line.replace(" ", "").strip()
        if squeezed in ("EIGENVALUEOUTPUT", "PARTICIPATIONFACTORS", "EFFECTIVEMODALMASS", "TOTALEFFECTIVEMASS"):
            table = squeezed
        words = line.split()
        if table == "EIGENVALUEOUTPUT" and len(words) == 5 and words[0].isdigit():
            eigenvalues.append((float(words[1]), float(words[3])))
        if table == "TOTALEFFECTIVEMASS" and len(words) == 6 and "E" in words[0] and "." in words[0]:
            totals = [float(w) for w in words]
    return eigenvalues, totals


# ---- integrals over the mesh


def gauss(n):
    """Points and weights of Gauss and Legendre on [-1, 1], by Newton's method on the recurrence."""
    points = []
    for i in range(n):
        x = math.cos(math.pi * (i + 0.75) / (n + 0.5))
        for _ in range(60):
            p, q = 1.0, 0.0
            for k in range(1, n + 1):
                p, q = ((2 * k - 1) * x * p - (k - 1) * q) / k, p
            slope = n * (x * p - q) / (x * x - 1)
            x -= p / slope
        points.append((x, 2 / ((1 - x * x) * slope * slope)))
    return points


LINE = gauss(6)
CORNERS = [(-1, -1, -1), (1, -1, -1), (1, 1, -1), (-1, 1, -1), (-1, -1, 1), (1, -1, 1), (1, 1, 1), (-1, 1, 1)]
BRICK_EDGES = [(0, 1), (1, 2), (2, 3), (3, 0), (4, 5), (5, 6), (6, 7), (7, 4), (0, 4), (1, 5), (2, 6), (3, 7)]
WEDGE_EDGES = [(0, 1), (1, 2), (2, 0), (3, 4), (4, 5), (5, 3), (0, 3), (1, 4), (2, 5)]
TET_EDGES = [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)]


def shapes(kind, p):
    """The shape functions at a point of the parent."""
    x, y, z = p
    if kind in ("tet4", "tet10"):
        l = (1 - x - y - z, x, y, z)
        return list(l) if kind == "tet4" else [a * (2 * a - 1) for a in l] + [4 * l[a] * l[b] for a, b in TET_EDGES]
    if kind in ("tri3", "tri6"):
        l = (1 - x - y, x, y)
        return list(l) if kind == "tri3" else \
            [a * (2 * a - 1) for a in l] + [4 * l[a] * l[b] for a, b in ((0, 1), (1, 2), (2, 0))]
    if kind in ("wedge6", "wedge15"):
        l = (1 - x - y, x, y)
        low = [l[i % 3] * (1 + (-z if i < 3 else z)) / 2 for i in range(6)]
        if kind == "wedge6":
            return low
        full = [l[i % 3] * (1 + s * z) * (2 * l[i % 3] - 2 + s * z) / 2 for i, s in zip(range(6), (-1,) * 3 + (1,) * 3)]
        for a, b in WEDGE_EDGES:
            full.append(l[a % 3] * (1 - z * z) if a % 3 == b % 3 else
                        2 * l[a % 3] * l[b % 3] * (1 + (-z if a < 3 else z)))
        return full
    if kind in ("quad4", "quad8"):
        c = [(a, b) for a, b, _ in CORNERS[:4]]
        if kind == "quad4":
            return [(1 + a * x) * (1 + b * y) / 4 for a, b in c]
        full = [(1 + a * x) * (1 + b * y) * (a * x + b * y - 1) / 4 for a, b in c]
        return full + [(1 - x * x) * (1 - y) / 2, (1 + x) * (1 - y * y) / 2, (1 - x * x) * (1 + y) / 2,
                       (1 - x) * (1 - y * y) / 2]
    if kind == "brick8":
        return [(1 + a * x) * (1 + b * y) * (1 + c * z) / 8 for a, b, c in CORNERS]
    full = [(1 + a * x) * (1 + b * y) * (1 + c * z) * (a * x + b * y + c * z - 2) / 8 for a, b, c in CORNERS]
    for i, j in BRICK_EDGES:
        value = 0.25
        for k in range(3):
            u, v = CORNERS[i][k], CORNERS[j][k]
            value *= 1 + u * p[k] if u == v else 1 - p[k] * p[k]
        full.append(value)
    return full


KINDS = {"C3D4": "tet4", "C3D10": "tet10", "C3D6": "wedge6", "C3D15": "wedge15", "C3D8": "brick8", "C3D8R": "brick8",
         "C3D8I": "brick8", "C3D20": "brick20", "C3D20R": "brick20", "S3": "tri3", "S6": "tri6", "S4": "quad4",
         "S8R": "quad8"}


def parent_points(kind):
    for x, a in LINE:
        for y, b in LINE:
            for z, c in LINE if kind[:3] not in ("tri", "qua") else [(0.0, 1.0)]:
                u, v, w = (x + 1) / 2, (y + 1) / 2, (z + 1) / 2
                if kind.startswith("tet"):
                    yield (u, (1 - u) * v, (1 - u) * (1 - v) * w), a * b * c / 8 * (1 - u) ** 2 * (1 - v)
                elif kind.startswith("wedge"):
                    yield (u, (1 - u) * v, z), a * b * c / 4 * (1 - u)
                elif kind.startswith("tri"):
                    yield (u, (1 - u) * v, 0.0), a * b / 4 * (1 - u)
                else:
                    yield (x, y, z), a * b * c


TABLES = {}


def table(kind):
    """Points with weights, shape functions, and their derivatives by central differences: exact for polynomials of
    degree 2 along each line but for rounding, by two steps for those of degree 4."""
    if kind not in TABLES:
        rows = []
        for p, weight in parent_points(kind):
            slopes = []
            for k in range(3):
                def at(h):
                    q = list(p)
                    q[k] += h
                    return shapes(kind, q)
                one, two = [[(a - b) / (2 * h) for a, b in zip(at(h), at(-h))] for h in (0.25, 0.5)]
                slopes.append([(4 * a - b) / 3 for a, b in zip(one, two)])
            rows.append((weight, shapes(kind, p), slopes))
        TABLES[kind] = rows
    return TABLES[kind]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def integrals(deck):
    """Mass, first moments and second moments (a full 3 x 3 list) of the mesh."""
    mass, first, second = 0.0, [0.0] * 3, [[0.0] * 3 for _ in range(3)]
    for _, name, ids in deck["elements"]:
        kind = KINDS[name]
        places = [deck["nodes"][i] for i in ids]
        for weight, n, slopes in table(kind):
            at = [sum(f * p[c] for f, p in zip(n, places)) for c in range(3)]
            columns = [[sum(f * p[c] for f, p in zip(s, places)) for c in range(3)] for s in slopes]
            normal = cross(columns[0], columns[1])
            shell = kind[:3] in ("tri", "qua")
            area = math.sqrt(dot(normal, normal))
            thickness = sum(f * thickness_of(deck, i) for f, i in zip(n, ids)) if shell else 1.0
            m = deck["density"] * weight * (area * thickness if shell else dot(normal, columns[2]))
            mass += m
            for a in range(3):
                first[a] += m * at[a]
                for b in range(3):
                    second[a][b] += m * at[a] * at[b]
                    if shell:
                        second[a][b] += m * thickness ** 2 / 12 * normal[a] * normal[b] / area ** 2
    return mass, first, second


def inertia(second):
    trace = sum(second[k][k] for k in range(3))
    return [[(trace if a == b else 0.0) - second[a][b] for b in range(3)] for a in range(3)]


def moved(tensor, mass, first):
    """An inertia tensor about the origin as one about the center of mass."""
    c = [f / mass for f in first]
    return [[tensor[a][b] - mass * ((dot(c, c) if a == b else 0.0) - c[a] * c[b]) for b in range(3)] for a in range(3)]


# ---- the record


class Record:
    def __init__(self, sbr, deck, folder, arguments=()):
        path = os.path.join(folder, "body.sbr")
        run = subprocess.run([sbr, "import", "ccx", deck, "-o", path, "--json", "--stress", "all"] + list(arguments), capture_output=True, text=True)
        if run.returncode != 0:
            sys.exit("%s: %s" % (deck, run.stderr))
        self.summary = json.loads(run.stdout)
        subprocess.run([sbr, "export", path, "--json", folder], check=True, capture_output=True)
        self.folder = folder

    def table(self, name):
        path = os.path.join(self.folder, name + ".json")
        return json.load(open(path))["rows"] if os.path.exists(path) else []


def check_mass(model, deck, record, tolerance=1e-6):
    mass, first, second = integrals(deck)
    exact = moved(inertia(second), mass, first)
    size = max(exact[k][k] for k in range(3))
    extent = max(max(n[k] for n in deck["nodes"].values()) - min(n[k] for n in deck["nodes"].values()) for k in range(3))
    # From the nodes of the record.
    nodal_mass, nodal_first, own = 0.0, [0.0] * 3, [[0.0] * 3 for _ in range(3)]
    for row in record.table("nodes"):
        at, m = row[1:4], row[4]
        expect(m > 0.0, model, "node", row[0], "has the mass", m)
        i = [value or 0.0 for value in row[5:11]] if len(row) > 5 else [0.0] * 6
        nodal_mass += m
        tensor = [[i[0], i[3], i[4]], [i[3], i[1], i[5]], [i[4], i[5], i[2]]]
        for a in range(3):
            nodal_first[a] += m * at[a]
            for b in range(3):
                own[a][b] += m * ((dot(at, at) if a == b else 0.0) - at[a] * at[b]) + tensor[a][b]
    # From the invariants of the record.
    seventh = record.table("invariant_7")[0]
    sources = [("nodes", nodal_mass, nodal_first, own),
               ("invariants", record.table("invariant_1")[0][0], record.table("invariant_2")[0],
                [seventh[0:3], seventh[3:6], seventh[6:9]])]
    for name, m, f, tensor in sources:
        near(model, "mass by " + name, m, mass, tolerance * mass)
        for k in range(3):
            near(model, "center by " + name, f[k] / m, first[k] / mass, tolerance * extent)
        about = moved(tensor, m, f)
        for a in range(3):
            # Each diagonal term within its own size; products of inertia within the sizes of both axes.
            for b in range(3):
                near(model, "inertia by " + name, about[a][b], exact[a][b],
                     tolerance * math.sqrt(exact[a][a] * exact[b][b]))
    return mass, first, second, size


# The solver integrates the mass of these with enough points for second moments of straight elements.
FULL = ("C3D8", "C3D10", "C3D15", "C3D20", "C3D20R")


def check_totals(model, deck, totals, mass, second):
    """The solver's total effective mass is that of the body: mass in three directions, inertia about the origin."""
    kinds = {name for _, name, _ in deck["elements"]}
    if kinds == {"S8R"} and (deck["offset"] != 0.0 or deck["thicknesses"]):
        # The solids of the solver have the volume between both sides. Those of S4 hang together by equations, which its
        # total masses count several times.
        for k in range(3):
            near(model, "mass by the solver", totals[k], mass, 2e-4 * mass)
            near(model, "inertia by the solver", totals[3 + k], inertia(second)[k][k], 1e-3 * inertia(second)[k][k])
    if deck["supports"] or not kinds <= set(KINDS) - {"C3D8I", "S3", "S4", "S6", "S8R"}:
        return
    # Elements with one point see less of a curved volume: 5e-5 here.
    for k in range(3):
        near(model, "mass by the solver", totals[k], mass, 1e-4 * mass)
    if kinds <= set(FULL):
        for k in range(3):
            near(model, "inertia by the solver", totals[3 + k], inertia(second)[k][k], 1e-3 * inertia(second)[k][k])


def check_frequencies(model, record, eigenvalues):
    modes = record.table("modes")
    expect(len(modes) == len(eigenvalues), model, "has", len(modes), "modes")
    for row, (eigenvalue, hz) in zip(modes, eigenvalues):
        expect(row[1] == eigenvalue, model, "eigenvalue", row[1], "and not", eigenvalue)
        if hz > 1.0:
            near(model, "frequency", row[2], hz, 2e-6 * hz)
        near(model, "generalized mass", row[4], 1.0, 0.0)


def check_solid_values(model, record, modes):
    for table_name, results, order in (("shapes", "DISP", (0, 1, 2)), ("stress", "STRESS", (0, 1, 2, 3, 5, 4))):
        seen = 0
        for row in record.table(table_name):
            wanted = modes[row[0]][results][row[1]]
            expect(list(row[2:2 + len(order)]) == [wanted[k] for k in order], model, results, row, wanted)
            seen += 1
        expect(seen == sum(len(m[results]) for m in modes.values()), model, "has", seen, "rows of", table_name)


# ---- shells


def solve(matrix, right):
    """Gauss with pivots."""
    n = len(right)
    rows = [list(matrix[i]) + [right[i]] for i in range(n)]
    for c in range(n):
        pivot = max(range(c, n), key=lambda r: abs(rows[r][c]))
        rows[c], rows[pivot] = rows[pivot], rows[c]
        for r in range(n):
            if r != c:
                factor = rows[r][c] / rows[c][c]
                rows[r] = [a - factor * b for a, b in zip(rows[r], rows[c])]
    return [rows[i][n] / rows[i][i] for i in range(n)]


def rigid_fit(places, moves):
    """Center, translation and rotation of the rigid motion that is nearest."""
    n = len(places)
    c = [sum(p[k] for p in places) / n for k in range(3)]
    v = [sum(u[k] for u in moves) / n for k in range(3)]
    a, s = [[0.0] * 3 for _ in range(3)], [0.0] * 3
    for p, u in zip(places, moves):
        d = [p[k] - c[k] for k in range(3)]
        t = cross(d, u)
        for i in range(3):
            s[i] += t[i]
            for j in range(3):
                a[i][j] += (dot(d, d) if i == j else 0.0) - d[i] * d[j]
    return c, v, solve(a, s)


def check_shells(model, deck, record, nodes, modes):
    """A rigid motion of all nodes of the solver's expansion is the motion of every node of the record, rotation and
    all. Six digits of displacements of both sides limit the rotation: a unit of the last digit over the thickness."""
    ids = sorted(nodes)
    rigid = 0
    for mode, results in modes.items():
        if mode > 6:
            continue
        c, v, w = rigid_fit([nodes[i] for i in ids], [results["DISP"][i] for i in ids])
        size = max(max(abs(x) for x in results["DISP"][i]) for i in ids)
        # Rotations come from differences of both sides; flat results from those of neighbours.
        digits = 1e-5 * size / min(thickness_of(deck, node) for node in deck["nodes"])
        turn = math.sqrt(dot(w, w))
        for row in record.table("shapes"):
            if row[0] != mode:
                continue
            r = deck["nodes"][row[1]]
            expected = [a + b for a, b in zip(v, cross(w, [r[k] - c[k] for k in range(3)]))]
            for k in range(3):
                near(model, "mode %d, translation of node %d" % (mode, row[1]), row[2 + k], expected[k], 1e-5 * size)
                near(model, "mode %d, rotation of node %d" % (mode, row[1]), row[5 + k], w[k], digits + 1e-5 * turn)
        rigid += 1
    expect(rigid == 6, model, "has", rigid, "rigid modes")


def pairs_of(deck, elements):
    """By node of a shell, the nodes on its lower and upper side: those of a brick or a wedge over the corners and
    mid-edges of the element."""
    pairs = {}
    for number, name, ids in deck["elements"]:
        solid = elements[number]
        if len(solid) == len(ids):
            continue
        corners = 4 if name in ("S4", "S8R") else 3
        for i, node in enumerate(ids):
            low, high = (i, i + corners) if i < corners else (i + corners, i + 3 * corners)
            pairs.setdefault(node, set()).add((solid[low], solid[high]))
    return pairs


def check_shell_values(model, deck, record, elements, modes):
    """Where one pair stands for a node, the node has the mean displacement; stress is the mean of the upper sides."""
    pairs = pairs_of(deck, elements)
    single = 0
    for row in record.table("shapes"):
        values, ends = modes[row[0]]["DISP"], pairs.get(row[1], ())
        if len(ends) == 1:
            single += 1
            (low, high), size = next(iter(ends)), max(max(abs(x) for x in v) for v in values.values())
            for k in range(3):
                near(model, "mode %d, translation of node %d" % (row[0], row[1]), row[2 + k],
                     0.5 * (values[low][k] + values[high][k]), 2e-6 * size)
    expect(not pairs or single > 0, model, "has no node with one pair")
    for row in record.table("stress"):
        values, ends = modes[row[0]]["STRESS"], pairs.get(row[1], ())
        size = max(max(abs(x) for x in v) for v in values.values())
        for k, at in enumerate((0, 1, 2, 3, 5, 4)):
            wanted = sum(values[high][at] for _, high in ends) / len(ends) if ends else values[row[1]][at]
            near(model, "mode %d, stress of node %d" % (row[0], row[1]), row[2 + k], wanted, 1e-12 * size)


def check_interface(model, deck, record, folder, sbr, path):
    if "IFACE" not in deck["sets"]:
        return
    other = os.path.join(folder, "interface")
    os.mkdir(other)
    with_set = Record(sbr, path, other, ["--interface", "IFACE"])
    expect(sorted(row[0] for row in with_set.table("interface_nodes")) == sorted(set(deck["sets"]["IFACE"])), model,
           "interface nodes")


def check(sbr, path):
    model = os.path.basename(path)[:-4]
    deck = read_deck(path)
    nodes, elements, modes = read_frd(path[:-4] + ".frd.gz")
    eigenvalues, totals = read_dat(path[:-4] + ".dat")
    with tempfile.TemporaryDirectory() as folder:
        record = Record(sbr, path, folder)
        mass, _, second, _ = check_mass(model, deck, record)
        check_totals(model, deck, totals, mass, second)
        check_frequencies(model, record, eigenvalues)
        if deck["thickness"] > 0.0:
            check_shells(model, deck, record, nodes, modes)
            check_shell_values(model, deck, record, elements, modes)
        else:
            check_solid_values(model, record, modes)
        check_interface(model, deck, record, folder, sbr, path)


def main():
    sbr, folder, names = sys.argv[1], sys.argv[2], sys.argv[3:]
    # Results in local axes are refused; another test looks at that.
    paths = [p for p in sorted(glob.glob(os.path.join(folder, "*.inp"))) if not p.endswith("_local.inp")]
    checked = 0
    for path in paths:
        if not names or os.path.basename(path)[:-4] in names:
            check(sbr, path)
            checked += 1
    print("%d models, %d differences" % (checked, len(FAILURES)))
    for failure in FAILURES[:40]:
        print(failure)
    sys.exit(1 if FAILURES or checked == 0 else 0)


main()
