#!/usr/bin/env python3
"""Imports the models of tests/data/fe/models with the program sbr and compares with the solver's own figures, which this
script reads by itself from the solver's files, and with figures that follow from the geometry.

    fe_models_check.py SBR MODELS
"""
import gzip
import json
import math
import os
import subprocess
import sys
import tempfile

SBR, MODELS = sys.argv[1], sys.argv[2]
DENSITY, YOUNG = 7.85e-9, 210000.0
failures = []
checks = 0


def check(condition, text):
    global checks
    checks += 1
    if not condition:
        failures.append(text)
        print("FAILED:", text)


def near(value, expected, tolerance, text):
    check(abs(value - expected) <= tolerance, "%s: %.9g, expected %.9g within %.3g" % (text, value, expected, tolerance))


def sbr(*arguments):
    return subprocess.run([SBR, *arguments], capture_output=True, text=True)


def model(name):
    return os.path.join(MODELS, name)


class Record:
    """A job that was imported, with the tables of its record."""

    def __init__(self, folder, name, *options):
        path = os.path.join(folder, name + ".sbr")
        done = sbr("import", "ccx", model(name + ".inp"), "-o", path, "--json", *options)
        check(done.returncode == 0, "import of %s %s: %s" % (name, " ".join(options), done.stderr))
        self.summary = json.loads(done.stdout)
        self.path = path

    def values(self, mode, kind="shape"):
        done = sbr("mode", self.path, str(mode), "--kind", kind, "--json")
        return {row["id"]: row["values"] for row in json.loads(done.stdout)["nodes"]}

    def table(self, name):
        folder = self.path + ".tables"
        if not os.path.exists(folder):
            check(sbr("export", self.path, "--json", folder).returncode == 0, "export of " + self.path)
        with open(os.path.join(folder, name + ".json"), encoding="utf-8") as file:
            return json.load(file)


def eigenvalues(name):
    """The tables of frequencies in a .dat file."""
    tables, inside = [], False
    for line in open(model(name + ".dat"), encoding="ascii"):
        words = line.split()
        if "E I G E N V A L U E   O U T P U T" in line:
            tables.append([])
            inside = True
        elif inside and len(words) == 5 and words[0].isdigit():
            tables[-1].append(float(words[3]))
        elif inside and tables[-1] and not words:
            inside = False
    return tables


def printed(name):
    """Printed displacements of a .dat file: mode by mode a table by node."""
    modes = []
    for line in open(model(name + ".dat"), encoding="ascii"):
        words = line.split()
        if "displacements (vx,vy,vz) for set REF" in line:
            modes.append({})
        elif modes and len(words) == 4 and words[0].isdigit():
            modes[-1][int(words[0])] = [float(w) for w in words[1:]]
    return modes


def results(name):
    """The sets of an .frd file: step, mode (0 for a static state), name, values by node; and the nodes."""
    sets, nodes, current, mode, step = [], {}, None, 0, 0
    with gzip.open(model(name + ".frd.gz"), "rt", encoding="ascii") as file:
        for line in file:
            if line.startswith("    2C"):
                current = nodes
            elif line.startswith("    1PSTEP"):
                mode, step = 0, int(line.split()[3])
            elif line.startswith("    1PMODE"):
                mode = int(line.split()[1])
            elif line.startswith(" -4"):
                current = {}
                sets.append((step, mode, line[5:13].strip(), current))
            elif line.startswith(" -3"):
                current = None
            elif line.startswith(" -1") and current is not None:
                text = line.rstrip("\n")
                current[int(text[3:13])] = [float(text[i:i + 12]) for i in range(13, len(text) - 11, 12)]
    return sets, nodes


def check_frequencies(record, expected, text):
    for mode, hz in zip(record.summary["modes"], expected):
        if hz > 1.0:
            near(mode["hz"], hz, 2e-6 * hz, "%s: frequency of mode %d" % (text, mode["number"]))


def check_box(record, masses, text):
    """Mass, center and inertia of the box beam with point masses."""
    a, b, c = 200.0, 20.0, 30.0
    whole = DENSITY * a * b * c
    parts = [(whole, (100.0, 0.0, 0.0))] + masses
    mass = sum(m for m, _ in parts)
    center = [sum(m * r[k] for m, r in parts) / mass for k in range(3)]
    own = [whole * (b * b + c * c) / 12, whole * (a * a + c * c) / 12, whole * (a * a + b * b) / 12]
    near(record.summary["mass"], mass, 1e-9 * mass, text + ": mass")
    for k in range(3):
        near(record.summary["center_of_mass"][k], center[k], 1e-6, text + ": center")
        inertia = own[k] + sum(m * sum((r[j] - center[j]) ** 2 for j in range(3) if j != k) for m, r in parts)
        near(record.summary["inertia"][4 * k], inertia, 1e-6 * inertia, text + ": inertia")


def check_references(record, name, rotations):
    """The motion of reference nodes against what the solver has printed of them."""
    modes = printed(name)
    worst = 0.0
    for number, mode in enumerate(modes, 1):
        if number > len(record.summary["modes"]):
            break
        values = record.values(number)
        size = max(max(abs(x) for x in row[:3]) for row in values.values())
        for node, rotation_node in rotations.items():
            lever = size / 20.0
            for k in range(3):
                worst = max(worst, abs(values[node][k] - mode[node][k]) / size)
                worst = max(worst, abs(values[node][3 + k] - mode[rotation_node][k]) / lever)
    check(modes and worst < 2e-5, "%s: reference nodes are off by %.3g of the largest motion" % (name, worst))


def check_reference_nodes(folder):
    rotations = {5001: 5003, 5002: 5004}
    hz = eigenvalues("rigid")[0]
    rigid = Record(folder, "rigid", "--interface", "REF")
    check(rigid.summary["interface_nodes"] == 2, "rigid: two interface nodes")
    check_box(rigid, [], "rigid")
    check_frequencies(rigid, hz, "rigid")
    check_references(rigid, "rigid", rotations)
    for names in ("CSA,CSB", "5001,5002"):
        kinematic = Record(folder, "kinematic", "--interface", names, "--frd", model("rigid.frd.gz"))
        check_references(kinematic, "rigid", rotations)
    weighted = Record(folder, "weighted", "--interface", "REF")
    check_box(weighted, [(2e-4, (-20.0, 3.0, 4.0))], "weighted")
    check_frequencies(weighted, eigenvalues("weighted")[0], "weighted")
    check_references(weighted, "weighted", rotations)


def matrices(name):
    return "--matrices", ",".join(model(name + suffix) for suffix in (".mas.gz", ".sti.gz", ".dof.gz"))


def check_reduction(folder, name, files, interface, hz, constraint_modes):
    """A reduction to reference nodes: the free body of its full matrices has the solver's frequencies, the reduced one is
    stiffer, by little at first, and its modes are those."""
    record = Record(folder, name, *matrices(files), "--normal", "12", "--mac", "6", "--interface", interface)
    text = name + " by the matrices of " + files
    check(record.summary["constraint_modes"] == constraint_modes, text + ": constraint modes")
    reduction = record.summary["reduction"]
    check(reduction["rigid_residual"] < 1e-9, text + ": rigid motions meet forces")
    for i in range(6):
        near(reduction["free_hz"][i], hz[6 + i], 3e-6 * hz[6 + i], "%s: free mode %d" % (text, i + 1))
    for i in range(3):
        near(reduction["reduced_hz"][i] / hz[6 + i], 1.005, 0.00501, "%s: reduced mode %d" % (text, i + 1))
        check(reduction["mac"][i][i] > 0.999, text + ": MAC")
    share = [sum(row[j] for row in reduction["effective_mass"]) / reduction["total_mass"][j] for j in range(6)]
    check(all(0.0 < s < 1.0 for s in share), text + ": effective masses")
    near(reduction["total_mass"][0], DENSITY * 120000.0, 1e-5 * DENSITY * 120000.0, text + ": mass of the matrices")
    full = Record(folder, name, *matrices(files), "--normal", "12", "--mac", "6", "--interface", interface,
                  "--residual-inertia", "--interface-modes", str(min(constraint_modes, 10)))
    check(full.summary["reduction"]["residual_modes"] == 6, text + ": residual inertia modes")
    check(len(full.summary["reduction"]["interface_hz"]) == min(constraint_modes, 10), text + ": interface modes")
    more = full.summary["reduction"]["effective_mass"]
    check(all(sum(row[j] for row in more) >= sum(row[j] for row in reduction["effective_mass"]) * (1 - 1e-9)
              for j in range(6)), text + ": residual inertia modes add effective mass")


def check_matrices(folder):
    hz = eigenvalues("rigid")[0]
    check_reduction(folder, "rigid", "rigid", "REF", hz, 12)
    check_reduction(folder, "rigid", "plain", "REF", hz, 12)  # coupled by the import itself
    check_reduction(folder, "kinematic", "plain", "CSA,CSB", hz, 12)
    check_reduction(folder, "mean", "plain", "CSA,CSB", eigenvalues("mean")[0], 12)
    done = sbr("import", "ccx", model("springs.inp"), *matrices("rigid"), "--normal", "2", "--interface", "IA", "-o",
               os.path.join(folder, "no.sbr"))
    check(done.returncode != 0, "matrices of another deck are refused")


def check_mean_motion(folder):
    """Distributing couplings: the mean motion of the surface with the areas of its nodes as weights. For the rigid modes
    that is the motion of any three nodes."""
    record = Record(folder, "mean", "--interface", "REF")
    check_frequencies(record, eigenvalues("mean")[0], "mean")
    values = record.values(1)
    sets, nodes = results("mean")
    ends = {5001: [n for n, x in nodes.items() if abs(x[0]) < 1e-6]}
    for node, members in ends.items():
        u, turn, place = values[node][:3], values[node][3:], (-20.0, 3.0, 4.0)
        size = max(abs(x) for row in values.values() for x in row[:3])
        for member in members:
            arm = [nodes[member][k] - place[k] for k in range(3)]
            moved = [u[0] + turn[1] * arm[2] - turn[2] * arm[1], u[1] + turn[2] * arm[0] - turn[0] * arm[2],
                     u[2] + turn[0] * arm[1] - turn[1] * arm[0]]
            for k in range(3):
                near(values[member][k], moved[k], 1e-4 * size, "mean: rigid mode at node %d" % member)


def check_steps(folder):
    tables = eigenvalues("steps")
    check(sbr("import", "ccx", model("steps.inp"), "-o", os.path.join(folder, "no.sbr")).returncode == 3,
          "steps: several frequency steps without a choice are refused")
    check(sbr("import", "ccx", model("steps.inp"), "--step", "1", "-o", os.path.join(folder, "no.sbr")).returncode == 3,
          "steps: a static step is refused")
    sets, _ = results("steps")
    forces = next(values for step, mode, name, values in sets if name == "FORC")
    stress = next(values for step, mode, name, values in sets if (step, mode, name) == (1, 0, "STRESS"))
    for step, table, has_state in ((2, tables[0], True), (3, tables[1], False)):
        record = Record(folder, "steps", "--step", str(step))
        text = "step %d" % step
        check_frequencies(record, table, text)
        check(record.summary["pre_stress"] == has_state and record.summary["preload"] == has_state, text + ": state")
        check(record.summary["load_cases"] == 1, text + ": load cases")
        work = [sum(f * u for node in forces for f, u in zip(forces[node], shape[node]))
                for _, mode, name, shape in sets if name == "DISP" and mode and _ == step]
        report = sbr("report", record.path, "28").stdout
        loads = [float(line.split()[1]) for line in report.splitlines()
                 if len(line.split()) == 2 and line.split()[0].isdigit()]
        size = max(abs(w) for w in work)
        check(len(loads) == len(work), text + ": modal loads")
        for i, (load, expected) in enumerate(zip(loads, work), 1):
            near(load, expected, 2e-5 * size, "%s: load on mode %d against the solver's nodal forces" % (text, i))
        if has_state:
            values = record.values(0, "stress")
            largest = max(abs(x) for row in stress.values() for x in row)
            for node, row in values.items():
                xx, yy, zz, xy, yz, zx = stress[node]
                for got, expected in zip(row, (xx, yy, zz, xy, zx, yz)):
                    near(got, expected, 1e-6 * largest, "%s: pre-stress at node %d" % (text, node))
    total = sum(DENSITY * 120000.0 * 9810.0 for _ in (0,))
    record = Record(folder, "steps", "--step", "2")
    report = sbr("report", record.path, "35").stdout
    rows = [line.split() for line in report.splitlines() if len(line.split()) == 3 and line.split()[0].isdigit()]
    down = sum(float(value) for node, direction, value in rows if direction == "3")
    near(down, -total, 1e-6 * total, "steps: weight by nodal loads")


def check_loaded_matrices(folder):
    """Matrices about a loaded state: its stiffness, and its forces on the modes as the preload. The solver's nodal forces
    tell what they do."""
    hz = eigenvalues("loaded")[0]
    record = Record(folder, "loaded", *matrices("loaded"), "--normal", "12", "--mac", "3", "--interface", "IB")
    reduction = record.summary["reduction"]
    for i in range(3):
        near(reduction["free_hz"][i], hz[i], 3e-6 * hz[i], "loaded: mode %d of the matrices" % (i + 1))
        near(reduction["reduced_hz"][i] / hz[i], 1.0025, 0.00251, "loaded: reduced mode %d" % (i + 1))
    check(record.summary["preload"] and not record.summary["pre_stress"], "loaded: preload and no pre-stress")
    check(any("no pre-stress" in text for text in record.summary["warnings"]), "loaded: the missing pre-stress is told")
    forces = next(values for step, mode, name, values in results("steps")[0] if name == "FORC")
    rows = [line.split() for line in sbr("report", record.path, "27").stdout.splitlines()]
    preload = [float(row[1]) for row in rows if len(row) == 2 and row[0].isdigit()]
    check(len(preload) == len(record.summary["modes"]), "loaded: a preload for each mode")
    work = []
    for mode in range(1, len(preload) + 1):
        shape = record.values(mode)
        work.append(sum(f * u for node in forces for f, u in zip(forces[node], shape[node])))
    size = max(abs(w) for w in work)
    for mode, (load, expected) in enumerate(zip(preload, work), 1):
        near(load, expected, 2e-5 * size, "loaded: preload of mode %d" % mode)


def check_springs(folder):
    record = Record(folder, "springs")
    places = results("springs")[1]
    check_box(record, [(2e-4, places[140]), (2e-4, places[138])], "springs")
    check_frequencies(record, eigenvalues("springs")[0], "springs")
    done = sbr("faces", record.path, "--json")
    check(done.returncode == 0, "springs: faces")


def check_pipe(folder):
    record = Record(folder, "pipe", "--interface", "ENDS")
    length, outer, inner = 300.0, 8.0, 6.0
    area = math.pi * (outer ** 2 - inner ** 2)
    polar = math.pi / 2 * (outer ** 4 - inner ** 4)
    mass = DENSITY * area * length
    near(record.summary["mass"], mass, 1e-6 * mass, "pipe: mass")
    near(record.summary["inertia"][0], DENSITY * length * polar, 1e-6 * DENSITY * length * polar, "pipe: inertia about it")
    across = mass * length ** 2 / 12 + DENSITY * length * polar / 2
    near(record.summary["inertia"][4], across, 1e-6 * across, "pipe: inertia across it")
    check_frequencies(record, eigenvalues("pipe")[0], "pipe")
    bending = 22.3733 / (2 * math.pi * length ** 2) * math.sqrt(YOUNG * polar / 2 / (DENSITY * area))
    near(record.summary["modes"][6]["hz"] / bending, 0.985, 0.015, "pipe: first bending by Euler and Bernoulli")
    # The middle of the section moves as its nodes do in the mean; it turns by the slope of the deflection.
    sets, nodes = results("pipe")
    shape = next(values for step, mode, name, values in sets if (mode, name) == (7, "DISP"))
    values = record.values(7)
    size = max(abs(x) for row in values.values() for x in row[:3])
    for node in range(1, 14):
        x = length * (node - 1) / 12
        members = [n for n, at in nodes.items() if abs(at[0] - x) < 1e-3]
        for k in range(3):
            mean = sum(shape[n][k] for n in members) / len(members)
            near(values[node][k], mean, 1e-5 * size, "pipe: node %d" % node)
    step = length / 12
    for node in (4, 7, 10):
        slope = (values[node + 1][1] - values[node - 1][1]) / (2 * step)
        near(values[node][5], slope, 0.05 * size / length * 4, "pipe: rotation at node %d" % node)


def check_beams(folder):
    """Linear beams of rectangular section: mass and inertia of the box, the solver's frequencies, and the mean motion of
    the section."""
    record = Record(folder, "beams")
    length, first, second = 300.0, 8.0, 12.0
    mass = DENSITY * first * second * length
    near(record.summary["mass"], mass, 1e-9 * mass, "beams: mass")
    near(record.summary["center_of_mass"][0], length / 2, 1e-6, "beams: center")
    for k, square in enumerate((first ** 2 + second ** 2, length ** 2 + second ** 2, length ** 2 + first ** 2)):
        near(record.summary["inertia"][4 * k], mass * square / 12, 1e-6 * mass * square / 12, "beams: inertia")
    check_frequencies(record, eigenvalues("beams")[0], "beams")
    sets, nodes = results("beams")
    shape = next(values for step, mode, name, values in sets if (mode, name) == (7, "DISP"))
    values = record.values(7)
    size = max(abs(x) for row in values.values() for x in row[:3])
    for node in range(1, 14):
        members = [n for n, at in nodes.items() if abs(at[0] - length * (node - 1) / 12) < 1e-3]
        for k in range(3):
            mean = sum(shape[n][k] for n in members) / len(members)
            near(values[node][k], mean, 1e-5 * size, "beams: node %d" % node)


def check_refusals(folder):
    """What cannot be done right ends with file, line and words."""
    with open(model("pipe.inp"), encoding="ascii") as file:
        deck = file.read()
    with open(model("rigid.inp"), encoding="ascii") as file:
        rigid = file.read()
    with open(model("steps.inp"), encoding="ascii") as file:
        steps = file.read()
    cases = (
        (deck.replace("SECTION=PIPE", "SECTION=BOX"), "pipe", "the section BOX"),
        (deck.replace("SECTION=PIPE", "SECTION=PIPE, OFFSET1=0.5"), "pipe", "OFFSET1 is not supported"),
        (deck.replace("0., 1., 0.\n", "1., 0., 0.\n"), "pipe", "is not across it"),
        (deck.replace("*BEAM SECTION, ELSET=EALL", "*BEAM SECTION, ELSET=EMISS"), "pipe", "no element set 'EMISS'"),
        (deck + "*ELEMENT, TYPE=MASS, ELSET=EM\n99, 1\n", "pipe", "element 99 has no *MASS"),
        (deck + "*ELEMENT, TYPE=MASS, ELSET=EM\n99, 1\n*MASS, ELSET=EM\n-1.\n", "pipe", "a mass above zero"),
        (deck + "*ELEMENT, TYPE=SPRINGA, ELSET=EM\n99, 1, 777\n", "pipe", "names node 777"),
        (rigid.replace("NSET=IA, REF", "NSET=IX, REF"), "rigid", "no node set 'IX'"),
        (rigid.replace("REF NODE=5001", "REF NODE=6001"), "rigid", "node 6001 is not in the deck"),
        (rigid.replace("*RIGID BODY, NSET=IA", "*NSET, NSET=IA\n60\n*RIGID BODY, NSET=IA"), "rigid",
         "do not move as a rigid body"),
        (steps.replace("EALL, GRAV", "EALL, CENTRIF"), "steps", "the load 'CENTRIF'"),
        (steps.replace("*CLOAD", "*CLOAD, AMPLITUDE=A1"), "steps", "AMPLITUDE"),
        (steps.replace("140, 2, 1000.", "140, 5, 1000."), "steps", "a moment on a node"),
        (steps.replace("140, 2, 1000.", "140, 2, much"), "steps", "a force expected"),
    )
    with open(model("truss.inp"), encoding="ascii") as file:
        cases += ((file.read(), "truss", "moves in ways that nodes do not show"),)
    with open(model("reduced.inp"), encoding="ascii") as file:
        cases += ((file.read(), "reduced", "the solver gives beams B31R no inertia about themselves; take B31"),)
    for number, (text, frd, words) in enumerate(cases):
        path = os.path.join(folder, "bad%d.inp" % number)
        with open(path, "w", encoding="ascii") as file:
            file.write(text)
        options = ["--interface", "REF"] if frd == "rigid" else ["--step", "2"] if frd == "steps" else []
        done = sbr("import", "ccx", path, "--frd", model(frd + ".frd.gz"), "--dat", model(frd + ".dat"), *options, "-o",
                   os.path.join(folder, "bad.sbr"))
        check(done.returncode == 3 and words in done.stderr, "refusal '%s': %d %s" % (words, done.returncode, done.stderr))
        check(not os.path.exists(os.path.join(folder, "bad.sbr")), "a refused import leaves nothing: " + words)


def main():
    with tempfile.TemporaryDirectory() as folder:
        for part in (check_reference_nodes, check_mean_motion, check_matrices, check_steps, check_loaded_matrices, check_springs, check_pipe, check_beams,
                     check_refusals):
            part(folder)
    print("%d checks, %d failures" % (checks, len(failures)))
    return 1 if failures or checks < 1000 else 0


if __name__ == "__main__":
    sys.exit(main())
