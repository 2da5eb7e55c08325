"""Samples, the program and quick bodies for the tests."""

import gzip
import json
import os
import pathlib
import shutil
import subprocess

import numpy as np
import pytest
import sbrkit

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
SAMPLES = SOURCE / "tests" / "data" / "samples"
os.environ.setdefault("MPLBACKEND", "Agg")


@pytest.fixture(scope="session")
def samples(tmp_path_factory):
    """The sample records, unpacked: a path by name."""
    folder = tmp_path_factory.mktemp("samples")

    def unpack(name):
        path = folder / f"{name}.sbr"
        if not path.exists():
            with gzip.open(SAMPLES / f"{name}.sbr.gz") as packed, open(path, "wb") as file:
                shutil.copyfileobj(packed, file)
        return str(path)

    return unpack


@pytest.fixture(scope="session")
def expected():
    """What the samples hold, as their makers wrote it down."""
    return json.loads((SAMPLES / "expected.json").read_text())


@pytest.fixture
def beam(samples):
    with sbrkit.open(samples("beam_13c")) as body:
        yield body


@pytest.fixture(scope="session")
def sbr():
    """Runs the program; gives what it prints as JSON."""
    try:
        path = sbrkit.program()
    except FileNotFoundError:
        pytest.skip("the program sbr is not built")

    def run(*arguments):
        done = subprocess.run([path, *map(str, arguments), "--json"], capture_output=True, text=True, check=True)
        return json.loads(done.stdout)

    return run


def chain(n=5, seed=1):
    """Arrays of a small free body: a row of masses with modes from a dense eigenproblem."""
    rng = np.random.default_rng(seed)
    places = np.zeros((n, 3))
    places[:, 0] = np.arange(n)
    places[:, 1:] = rng.normal(size=(n, 2))
    masses = rng.uniform(1.0, 2.0, n)
    return places, masses
