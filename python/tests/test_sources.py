"""The package as source: examples of the docstrings, types, stubs."""

import doctest
import importlib
import pathlib
import pkgutil
import subprocess
import sys

import pytest
import sbrkit
from conftest import SOURCE

MODULES = sorted(m.name for m in pkgutil.iter_modules(sbrkit.__path__, "sbrkit.") if m.name != "sbrkit._core")


@pytest.mark.parametrize("name", ["sbrkit", *MODULES])
def test_the_examples_of_the_docstrings_are_true(name):
    assert doctest.testmod(importlib.import_module(name), optionflags=doctest.NORMALIZE_WHITESPACE).failed == 0


@pytest.mark.parametrize("name", ["sbrkit", *MODULES])
def test_what_is_public_is_documented(name):
    module = importlib.import_module(name)
    assert module.__doc__
    for key, value in vars(module).items():
        if key.startswith("_") or getattr(value, "__module__", "").split(".")[0] != "sbrkit":
            continue
        if isinstance(value, type):
            assert value.__doc__, f"{name}.{key}"
            for member, function in vars(value).items():
                target = function.fget if isinstance(function, property) else getattr(function, "__func__", function)
                if not member.startswith("_") and callable(target) and hasattr(target, "__code__"):
                    inherited = any(getattr(base, member, None) for base in value.__mro__[1:])
                    assert target.__doc__ or inherited, f"{name}.{key}.{member}"
        elif callable(value) and hasattr(value, "__code__"):
            assert value.__doc__, f"{name}.{key}"


def test_the_types_are_right(tmp_path):
    pytest.importorskip("mypy")
    user = tmp_path / "user.py"
    user.write_text("import sbrkit\nbody = sbrkit.open('x')\nbody.units = 'SI'\nname: str = body.units.mass\n"
                    "count: int = len(body.nodes)\nbody.rotate((0, 0, 1), 5.0).write('y', single=True)\n")
    done = subprocess.run([sys.executable, "-m", "mypy", "--config-file", SOURCE / "python" / "mypy.ini", "--cache-dir",
                           tmp_path / "cache", SOURCE / "python" / "sbrkit", user], capture_output=True, text=True,
                          cwd=SOURCE / "python")
    assert done.returncode == 0, done.stdout


def test_the_stubs_are_those_of_the_module():
    pytest.importorskip("mypy")
    sys.path.insert(0, str(SOURCE / "python"))
    try:
        import make_stubs
    finally:
        sys.path.pop(0)
    built = pathlib.Path(sbrkit.__file__).resolve().parent.parent
    assert make_stubs.stub(str(built)) == (SOURCE / "python" / "sbrkit" / "_core.pyi").read_text()
