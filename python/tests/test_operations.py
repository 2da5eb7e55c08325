"""Every exported operation of the library is reached from Python, and where."""

import ctypes
import functools
import inspect
import pathlib
import subprocess

import pytest
import sbrkit
from conftest import SOURCE
from sbrkit import _core

EXPORTED = (SOURCE / "src" / "sbrkit" / "api" / "exported_names.txt").read_text().split()
REACHED = dict(line.split() for line in (pathlib.Path(__file__).parent / "operations.txt").read_text().splitlines())


@functools.lru_cache(None)
def called_by_the_module():
    listing = subprocess.run(["nm", "-D", "--undefined-only", _core.__file__], capture_output=True, text=True, check=True)
    return {line.split()[-1].partition("@")[0] for line in listing.stdout.splitlines()}


def test_the_list_names_each_operation_once():
    assert sorted(REACHED) == sorted(set(EXPORTED))


@pytest.mark.parametrize("operation", EXPORTED)
def test_an_operation_is_reached(operation):
    name = REACHED[operation]
    found = sbrkit
    for part in name.split("."):
        if inspect.ismodule(found) and not hasattr(found, part):
            found = __import__(f"{found.__name__}.{part}", fromlist=[part])
        else:
            found = inspect.getattr_static(found, part)
    if name == "clib":
        assert ctypes.cast(getattr(sbrkit.clib(), operation), ctypes.c_void_p).value
    else:
        assert operation in called_by_the_module(), f"{name} cannot reach {operation}: the module does not call it"
