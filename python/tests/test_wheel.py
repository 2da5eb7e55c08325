"""The wheel, in a clean virtual environment."""

import os
import subprocess
import sys

import pytest
from conftest import SOURCE

BUILD = os.environ.get("SBRKIT_BUILD_FOLDER")


@pytest.mark.skipif(not BUILD, reason="SBRKIT_BUILD_FOLDER does not name the build folder")
def test_the_wheel_works_in_a_clean_environment(tmp_path, samples):
    clean = {key: value for key, value in os.environ.items() if key not in ("PYTHONPATH", "SBRKIT_PROGRAM")}
    program = "ON" if os.path.exists(os.path.join(BUILD, "tools", "sbr", "sbr")) else "OFF"
    venv = tmp_path / "venv"
    # NumPy comes from the system; the package only from the wheel.
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", venv], check=True)
    python = venv / "bin" / "python"
    subprocess.run([python, "-m", "pip", "install", "--no-index", "--config-settings", f"build-dir={BUILD}",
                    "--config-settings", f"program={program}", SOURCE], check=True, env=clean, cwd=tmp_path)
    script = """
import os, sys, sbrkit
assert sbrkit.__file__.startswith(sys.prefix), sbrkit.__file__
inside = os.path.dirname(sbrkit.__file__)
assert os.path.dirname(sbrkit.system.library_path()) == inside, sbrkit.system.library_path()
assert os.path.exists(os.path.join(inside, "py.typed"))
with sbrkit.open(sys.argv[1]) as body:
    assert body.modes.shapes().shape == (10, 1221, 3)
    body.write("again.sbr")
if sys.argv[2] == "ON":
    assert sbrkit.program().startswith(inside)
    assert sbrkit.check("again.sbr")
"""
    subprocess.run([python, "-c", script, samples("beam_13c"), program], check=True, env=clean, cwd=tmp_path)
    show = subprocess.run([python, "-m", "pip", "show", "-f", "sbrkit"], check=True, env=clean, capture_output=True,
                          text=True, cwd=tmp_path).stdout
    assert "sbrkit/libsbrkit.so.1" in show and "Version: 1.0.0" in show
    subprocess.run([python, "-m", "pip", "uninstall", "-y", "sbrkit"], check=True, env=clean, cwd=tmp_path)
    assert subprocess.run([python, "-c", "import sbrkit"], env=clean, cwd=tmp_path, capture_output=True).returncode != 0
