"""The example study: on a cluster, with a worker that is killed, the same bytes as in one process."""

import hashlib
import importlib.util
import os
import signal
import warnings

import joblib
import numpy as np
import pytest
import sbrkit
from conftest import SOURCE

distributed = pytest.importorskip("distributed")
COUNT = int(os.environ.get("SBRKIT_STUDY_COUNT", "1000"))


def load():
    spec = importlib.util.spec_from_file_location("study", SOURCE / "examples" / "python" / "study.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def digest_of(folder):
    """Names and contents of the records; the text of their date apart, which is that of the writing."""
    digest = hashlib.sha256()
    for path in sorted(folder.iterdir()):
        with sbrkit.open(path) as body:
            date = body.header.date.encode()
        digest.update(path.name.encode() + path.read_bytes().replace(date, b""))
    return digest.hexdigest()


@pytest.mark.filterwarnings("ignore")
def test_a_cluster_that_loses_a_worker_gives_the_bytes_of_one_process(tmp_path, monkeypatch):
    study = load()
    # The workers find the example by its name.
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join([str(SOURCE / "examples" / "python"), os.environ["PYTHONPATH"]]))
    monkeypatch.syspath_prepend(str(SOURCE / "examples" / "python"))
    import study as study_by_name

    (tmp_path / "in").mkdir()
    sources = [study.make(tmp_path / "in" / f"strip{i:05d}.sbr", t)
               for i, t in enumerate(np.linspace(0.001, 0.01, COUNT))]
    tables, digests, progress, killed = [], [], [], []

    def kill_one(done, client):
        if done > COUNT // 10 and not killed:
            pid = next(iter(client.run(os.getpid).values()))
            killed.append(pid)
            os.kill(pid, signal.SIGKILL)

    for name in ("serial", "cluster"):
        out = tmp_path / name
        out.mkdir()
        pairs = [(source, str(out / os.path.basename(source))) for source in sources]
        if name == "serial":
            lines = study_by_name.run_serial(pairs)
        else:
            lines = study_by_name.run_cluster(pairs, 3, lambda done, count: progress.append((done, count)), kill_one)
        study.write_table(lines, tmp_path / f"{name}.csv")
        tables.append((tmp_path / f"{name}.csv").read_bytes())
        digests.append(digest_of(out))
    assert killed and progress[-1] == (COUNT, COUNT)
    assert tables[0] == tables[1] and b"NOT" not in tables[0]
    assert digests[0] == digests[1]


def frequency_of(body):
    return float(body.modes.frequencies[0])


@pytest.mark.filterwarnings("ignore")
def test_bodies_go_to_joblib_workers(tmp_path):
    study = load()
    bodies = [sbrkit.open(study.make(tmp_path / f"{i}.sbr", 0.001 * (i + 1))) for i in range(3)]
    with joblib.parallel_backend("loky", n_jobs=2):
        found = joblib.Parallel()(joblib.delayed(frequency_of)(body) for body in bodies)
    assert found == [frequency_of(body) for body in bodies]
    # The first frequency of a hinged strip goes with its thickness.
    np.testing.assert_allclose(np.array(found) / found[0], [1, 2, 3], rtol=1e-12)
    assert found[0] == pytest.approx(np.pi / 2 * np.sqrt(2.1e11 * 0.001**2 / 12 / 7850), rel=1e-9)
