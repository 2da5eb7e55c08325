"""The solver's database, kept by the open store."""

import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest
from conftest import SOURCE

BUILD = os.environ.get("SBRKIT_BUILD_FOLDER", "")
STORE = pathlib.Path(BUILD) / "plugins"

SCRIPT = """
import numpy as np, sbrkit, sys
from sbrkit import database
sys.path.insert(0, sys.argv[1])
from test_accessors import random_body
_, body = random_body()
body.write_database("bodies.MASTER", "selabel='first',projno=1", orthonormal=False)
_, other = random_body(4)
other.write_database("bodies.MASTER", "selabel='second',projno=2", orthonormal=False)
assert database.check("bodies.MASTER") == 0
with database.reading():
    entries = database.bodies("bodies.MASTER")
    assert [e.index for e in entries] == [1, 2] and "first" in entries[0].qualifiers.lower(), entries
    block = database.DataBlock.open("bodies.MASTER", 2)
    start = block.position
    block.skip_record()
    assert block.position != start
    block.position = start
    first = block.read_integers(1)
    block.rewind(start)
    assert block.read_integers(1) == first
    block.close()
    scratch = database.DataBlock.scratch()
    scratch.write_integers([1, -2])
    scratch.write_reals([0.5, 2.5])
    scratch.write_characters(b"seven c")
    scratch.end_record()
    scratch.write_words([2**40])
    scratch.end_record()
    scratch.reopen()
    assert scratch.read_integers(2).tolist() == [1, -2]
    assert scratch.read_reals(1).tolist() == [0.5] and scratch.read_reals(1, mode=True).tolist() == [2.5]
    assert scratch.read_characters(7) == b"seven c"
    try:
        scratch.read_reals(5)
    except sbrkit.SbrError:
        pass
    else:
        raise AssertionError("a record gave more words than it has")
    scratch.close()
try:
    with database.reading():
        database.bodies("missing.MASTER")
except sbrkit.SbrError as error:
    assert "could not be found" in str(error), error
else:
    raise AssertionError("a missing database was listed")
print("done")
"""


@pytest.mark.skipif(not list(STORE.glob("*Qsrv_22_2*")), reason="the open store is not built")
def test_bodies_go_to_the_database_and_are_listed(tmp_path):
    environment = dict(os.environ, KTX_USER_PLUGIN_DIR=str(STORE), KTX_QSRVHOME_DIR=str(tmp_path))
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", SCRIPT, str(pathlib.Path(__file__).parent)], cwd=tmp_path,
                          env=environment, capture_output=True, text=True)
    assert done.returncode == 0 and done.stdout.strip() == "done", done.stderr
