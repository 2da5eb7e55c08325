#!/usr/bin/env python3
"""Speed of the Python package against bounds that it cannot beat by much.

    PYTHONPATH=build/release/python python3 bench/python_bench.py [--nodes N] [--modes M] [--repeat R] [--directory DIR]

reading   all modes into one array (m, n, 6), against NumPy's fromfile and byteswap of as many bytes of the same file
building  nodes, masses and modes from arrays, against the same calls of the C setters in a loop of C (compiled here)
opening   small records, opened, looked at and closed

Times are processor times, so that neither other work on the machine nor its disk is measured; the wall time stands behind
them in brackets.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time
from typing import NamedTuple

import numpy as np
import sbrkit

LOOP = r"""
#include <sbrkit/sbrkit.h>
int fill(int nodes, int modes, const double *xyz, const double *mass, const double *shapes) {
  SBR body = SBR_Create(nodes, modes);
  SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON");
  for (int i = 0; i < nodes; ++i) SBR_SetNodeCoordinates(body, i + 1, xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]);
  for (int i = 0; i < nodes; ++i) SBR_SetNodalMass(body, i + 1, mass[i]);
  for (int j = 0; j < modes; ++j)
    for (int i = 0; i < nodes; ++i, shapes += 6) SBR_SetModeVec(body, j + 1, i + 1, 0, shapes);
  const int count = SBR_NodeCount(body);
  SBR_DeReference(body);
  return count;
}
"""


class Time(NamedTuple):
    """Seconds of the processor, and on the wall."""

    processor: float
    wall: float

    def __str__(self):
        return f"{self.processor:.3f} s [{self.wall:.3f} s]"


def best(repeat, *functions):
    """The shortest times of each function; they take turns, so that a busy machine is fair to all."""
    times = [Time(float("inf"), float("inf"))] * len(functions)
    for _ in range(repeat):
        for place, function in enumerate(functions):
            begin = Time(time.process_time(), time.perf_counter())
            function()
            spent = Time(time.process_time() - begin.processor, time.perf_counter() - begin.wall)
            times[place] = Time(*map(min, times[place], spent))
    return times


def ratio(ours, bound):
    return f"ratio {bound.processor / ours.processor:.2f} [{bound.wall / ours.wall:.2f}]"


def make(nodes, modes):
    rng = np.random.default_rng(1)
    return rng.normal(size=(nodes, 3)), rng.uniform(1, 2, nodes), rng.normal(size=(modes, nodes, 6))


def reading(path, nodes, modes, repeat):
    with sbrkit.open(path) as body:
        before = sum(block.size for block in body.blocks if block.index < 7)

    def package():
        with sbrkit.open(path) as body:
            body.modes.shapes(rotations=True)

    def numpy():
        np.fromfile(path, ">f8", modes * nodes * 6, offset=before).byteswap(inplace=True).view("f8").reshape(modes, nodes, 6)

    ours, bound = best(repeat, package, numpy)
    print(f"reading   {modes * nodes * 48 / 1e6:.0f} MB: package {ours}, fromfile + byteswap {bound}, {ratio(ours, bound)}")


def c_loop(directory):
    """The C loop as a function, or None without a compiler."""
    import ctypes

    source = pathlib.Path(directory) / "fill.c"
    source.write_text(LOOP)
    library = sbrkit.system.library_path()
    include = pathlib.Path(__file__).resolve().parent.parent / "include"
    target = pathlib.Path(directory) / "fill.so"
    subprocess.run(["cc", "-O2", "-shared", "-fPIC", f"-I{include}", source, "-o", target, library,
                    f"-Wl,-rpath,{os.path.dirname(library)}"], check=True)
    fill = ctypes.CDLL(str(target)).fill
    doubles = np.ctypeslib.ndpointer(np.float64, flags="C_CONTIGUOUS")
    fill.argtypes = [ctypes.c_int, ctypes.c_int, doubles, doubles, doubles]
    return fill


def building(directory, nodes, modes, repeat):
    xyz, masses, shapes = make(nodes, modes)
    fill = c_loop(directory)

    def package():
        sbrkit.Body.build(xyz, shapes, masses=masses).close()

    def setters():
        assert fill(nodes, modes, xyz, masses, shapes) == nodes

    ours, bound = best(repeat, package, setters)
    print(f"building  {nodes} nodes, {modes} modes: package {ours}, C setters {bound}, {ratio(ours, bound)}")


def opening(directory, repeat):
    xyz, masses, shapes = make(20, 5)
    path = os.path.join(directory, "small.sbr")
    sbrkit.Body.build(xyz, shapes, masses=masses, eigenvalues=np.arange(1.0, 6)).write(path)

    def thousand():
        for _ in range(1000):
            with sbrkit.open(path) as body:
                body.modes.frequencies

    spent = best(repeat, thousand)[0]
    print(f"opening   {1000 / spent.processor:.0f} small records per second [{1000 / spent.wall:.0f}]")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--nodes", type=int, default=100_000)
    parser.add_argument("--modes", type=int, default=100)
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--directory", help="where the records are made; by default a temporary one")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=options.directory) as directory:
        opening(directory, options.repeat)
        building(directory, options.nodes, min(options.modes, 10), options.repeat)
        path = os.path.join(directory, "large.sbr")
        rng = np.random.default_rng(1)
        body = sbrkit.Body.create(options.nodes, options.modes)
        body.units = "SI"
        ids = np.arange(1, options.nodes + 1)
        body.nodes.set_coordinates(ids, rng.normal(size=(options.nodes, 3)))
        for number in range(1, options.modes + 1):
            body.modes.set(number, rng.normal(size=(options.nodes, 6)), ids)
        body.stiffness.add(range(1, options.modes + 1), range(1, options.modes + 1), np.arange(1.0, options.modes + 1))
        body.write(path, orthonormal=False)
        del body
        reading(path, options.nodes, options.modes, options.repeat)


if __name__ == "__main__":
    sys.exit(main())
