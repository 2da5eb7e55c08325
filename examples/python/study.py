#!/usr/bin/env python3
"""A study on a Dask cluster: converts, checks and compares many records, and survives the loss of a worker.

    study.py FOLDER [--count 1000] [--workers 4] [--serial]

Makes COUNT records of a strip whose thickness varies (in FOLDER/in), has each converted to other units and single
precision (in FOLDER/out), checks the result and compares it with its origin by the modal assurance criterion. The
figures are written to FOLDER/study.csv: the same bytes with --serial, in one process, as on the cluster.
"""

import argparse
import os
import pathlib
import sys

import numpy as np
import sbrkit


def strip(thickness, nodes=21, modes=6):
    """The bending modes of a hinged strip in closed form: length 1 m, width 0.05 m, steel."""
    young, density, width = 2.1e11, 7850.0, 0.05
    x = np.linspace(0.0, 1.0, nodes)
    mass = np.full(nodes, density * width * thickness / (nodes - 1))
    mass[[0, -1]] /= 2
    inertia, area = width * thickness**3 / 12, width * thickness
    order = np.arange(1, modes + 1)
    eigenvalues = young * inertia / (density * area) * (order * np.pi) ** 4
    shapes = np.zeros((modes, nodes, 3))
    shapes[:, :, 2] = np.sin(np.pi * order[:, None] * x[None]) * np.sqrt(2.0 / (density * area))
    places = np.stack([x, np.zeros(nodes), np.zeros(nodes)], 1)
    return sbrkit.Body.build(places, shapes, eigenvalues=eigenvalues, masses=mass, units="SI",
                             header=sbrkit.Header(title=f"strip {thickness:.6f} m"))


def make(path, thickness):
    """One record of the study."""
    strip(thickness).write(path, orthonormal=False)
    return str(path)


def study(source, target):
    """Converts, checks and compares one record: its line of the table. Safe to be done twice."""
    with sbrkit.open(source) as body:
        before = body.modes.shapes()
        frequencies = body.modes.frequencies
        body.units = "mm-t-s-N"
        body.write(target, single=True, orthonormal=False)
    with sbrkit.open(target) as body:
        body.report()  # every block can be read
        likeness = np.diag(sbrkit.mac(before, body.modes.shapes()).values).min()
        drift = np.abs(body.modes.frequencies / frequencies - 1.0).max()
        sound = likeness > 1.0 - 1e-6 and drift < 1e-6 and body.units == sbrkit.Units.of("mm-t-s-N")
    name = pathlib.Path(source).name
    return f"{name},{frequencies[0]:.9g},{likeness:.9f},{drift:.1e},{'sound' if sound else 'NOT SOUND'}"


def write_table(lines, path):
    """The table, in the order of the names; whole or not at all."""
    part = pathlib.Path(str(path) + ".part")
    part.write_text("record,first_hz,mac,drift,verdict\n" + "\n".join(sorted(lines)) + "\n")
    os.replace(part, path)


def run_serial(pairs):
    return [study(*pair) for pair in pairs]


def run_cluster(pairs, workers, on_progress=None, interfere=None):
    """All records on a cluster of worker processes; a worker that dies is replaced, and its work done again."""
    from distributed import Client, LocalCluster, as_completed

    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None,
                      silence_logs="ERROR") as cluster, Client(cluster) as client:
        futures = client.map(study, *zip(*pairs), retries=3, batch_size=100)
        lines = []
        for done in as_completed(futures):
            lines.append(done.result())
            if on_progress is not None:
                on_progress(len(lines), len(pairs))
            if interfere is not None:
                interfere(len(lines), client)
    return lines


def show_progress(done, count):
    if done % max(1, count // 20) == 0 or done == count:
        print(f"\r{done:6d} of {count}", end="\n" if done == count else "", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--workers", type=int, default=4)
    parser.add_argument("--serial", action="store_true", help="in one process")
    options = parser.parse_args()
    sources, targets = options.folder / "in", options.folder / "out"
    for folder in (sources, targets):
        folder.mkdir(parents=True, exist_ok=True)
    thicknesses = np.linspace(0.001, 0.010, options.count)
    pairs = [(make(sources / f"strip{i:05d}.sbr", thickness), str(targets / f"strip{i:05d}.sbr"))
             for i, thickness in enumerate(thicknesses)]
    lines = run_serial(pairs) if options.serial else run_cluster(pairs, options.workers, show_progress)
    write_table(lines, options.folder / "study.csv")
    bad = sum("NOT" in line for line in lines)
    print(f"{len(lines)} records, {bad} not sound")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
