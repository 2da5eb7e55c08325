#!/usr/bin/env python3
"""Writes sbrkit/_core.pyi from the built module: make_stubs.py BUILD-FOLDER/python. Needs mypy's stubgen."""

import pathlib
import subprocess
import sys
import tempfile

HEAD = '''"""The operations of the library over NumPy arrays (made by make_stubs.py)."""

from typing import Any, Dict, List, Tuple

from ._arrays import Flags, Integers, Reals, Singles

'''
WORDS = [("numpy.ndarray[numpy.float64]", "Reals"), ("numpy.ndarray[numpy.float32]", "Singles"),
         ("numpy.ndarray[numpy.int32]", "Integers"), ("numpy.ndarray[numpy.int64]", "Any"),
         ("(self, *args, **kwargs) -> None", "(self, *args: Any, **kwargs: Any) -> None"),
         ("def db_write_chars(arg0: int, arg1: str)", "def db_write_chars(arg0: int, arg1: bytes)"),
         ("numpy.ndarray", "Any"), ("-> object", "-> Any"), (": object", ": Any"), ("-> tuple", "-> Tuple[Any, ...]"),
         ("-> list", "-> List[Any]"), ("-> dict", "-> Dict[str, Any]")]


def stub(build):
    with tempfile.TemporaryDirectory() as scratch:
        subprocess.run([sys.executable, "-c", "from mypy.stubgen import main; main()", "-m", "sbrkit._core", "-o", scratch],
                       check=True, cwd=scratch, env={"PYTHONPATH": build, "PATH": "/usr/bin:/bin"}, stdout=subprocess.DEVNULL)
        text = (pathlib.Path(scratch) / "sbrkit" / "_core.pyi").read_text()
    lines = [line for line in text.splitlines() if not line.startswith(("from typing", "import numpy"))]
    body = "\n".join(lines).strip() + "\n"
    for word, name in WORDS:
        body = body.replace(word, name)
    return HEAD + body


if __name__ == "__main__":
    target = pathlib.Path(__file__).resolve().parent / "sbrkit" / "_core.pyi"
    target.write_text(stub(str(pathlib.Path(sys.argv[1]).resolve())))
