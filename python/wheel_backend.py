"""Makes the wheel: configures, builds and packs what CMake installs as the component "python".

A build backend by PEP 517 that needs the standard library alone, so that `pip install .` works without a network. With
`--config-settings build-dir=FOLDER` an existing build folder is used, and with `--config-settings program=OFF` the
program `sbr` is left out (what runs it, such as `sbrkit.check`, then looks for it on the PATH). With
`--config-settings viewer=ON` the program has the viewer that `body.view()` shows; npm then fetches its packages.
"""

import base64
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent


def _version():
    text = (ROOT / "python" / "sbrkit" / "__init__.py").read_text()
    return re.search(r'^__version__ = "([^"]+)"', text, re.MULTILINE).group(1)


def _metadata():
    extras = {"reduction": "scipy", "plot": "matplotlib", "tables": "pandas", "mesh": "meshio"}
    lines = ["Metadata-Version: 2.1", "Name: sbrkit", f"Version: {_version()}",
             "Summary: Shape Body Records as NumPy arrays", "License: MIT", "Requires-Python: >=3.9",
             "Requires-Dist: numpy>=1.20"]
    for extra, package in extras.items():
        lines += [f"Provides-Extra: {extra}", f'Requires-Dist: {package}; extra == "{extra}"']
    lines += ["Description-Content-Type: text/markdown", "", (ROOT / "docs" / "python.md").read_text()]
    return "\n".join(lines)


def _tag():
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    return f"{python}-{python}-{re.sub(r'[-.]', '_', sysconfig.get_platform())}"


def _wheel_facts():
    return f"Wheel-Version: 1.0\nGenerator: sbrkit\nRoot-Is-Purelib: false\nTag: {_tag()}\n"


def _run(*command):
    subprocess.run([str(part) for part in command], check=True)


def _install(prefix, settings):
    """Builds what the wheel needs, and installs it below the prefix."""
    with tempfile.TemporaryDirectory() as scratch:
        build = pathlib.Path(settings.get("build-dir") or scratch)
        program, viewer = settings.get("program", "ON"), settings.get("viewer", "OFF")
        if not (build / "CMakeCache.txt").exists():
            _run("cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                 f"-DSBRKIT_BUILD_TOOLS={program}", "-DSBRKIT_BUILD_TESTS=OFF", "-DSBRKIT_BUILD_DOCS=OFF",
                 f"-DSBRKIT_BUILD_VIEWER={viewer}", "-DSBRKIT_BUILD_PYTHON=ON",
                 f"-DPython_EXECUTABLE={sys.executable}")
        targets = ["sbrkit_python"] + (["sbr"] if program == "ON" else [])
        _run("cmake", "--build", build, "--target", *targets)
        for component in ["python"] + (["python_program"] if program == "ON" else []):
            _run("cmake", "--install", build, "--component", component, "--prefix", prefix, "--strip")


def _record_line(name, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}"


def _pack(wheel, files):
    """Writes the archive: each file with its mode, and the list of all."""
    info = f"sbrkit-{_version()}.dist-info"
    lines = []
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, (data, mode) in sorted(files.items()):
            entry = zipfile.ZipInfo(name, (2020, 1, 1, 0, 0, 0))
            entry.external_attr = (0o100000 | mode) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, data)
            lines.append(_record_line(name, data))
        archive.writestr(f"{info}/RECORD", "\n".join([*lines, f"{info}/RECORD,,", ""]))


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    """The hook of PEP 517: the facts of the wheel, without building it."""
    folder = pathlib.Path(metadata_directory) / f"sbrkit-{_version()}.dist-info"
    folder.mkdir(parents=True)
    (folder / "METADATA").write_text(_metadata())
    (folder / "WHEEL").write_text(_wheel_facts())
    return folder.name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    """The hook of PEP 517: the name of the wheel that was made."""
    info = f"sbrkit-{_version()}.dist-info"
    files = {f"{info}/METADATA": (_metadata().encode(), 0o644), f"{info}/WHEEL": (_wheel_facts().encode(), 0o644),
             f"{info}/LICENSE": ((ROOT / "LICENSE").read_bytes(), 0o644)}
    with tempfile.TemporaryDirectory() as prefix:
        _install(prefix, config_settings or {})
        for path in pathlib.Path(prefix).rglob("*"):
            if path.is_file() and "__pycache__" not in path.parts:
                name = path.relative_to(prefix).as_posix()
                files[name] = (path.read_bytes(), 0o755 if os.access(path, os.X_OK) else 0o644)
    wheel = f"sbrkit-{_version()}-{_tag()}.whl"
    _pack(os.path.join(wheel_directory, wheel), files)
    return wheel


def build_sdist(sdist_directory, config_settings=None):
    """The hook of PEP 517: the name of the archive of the sources under version control."""
    listed = subprocess.run(["git", "-C", str(ROOT), "ls-files", "-z"], check=True, capture_output=True).stdout
    base = f"sbrkit-{_version()}"
    with tarfile.open(os.path.join(sdist_directory, f"{base}.tar.gz"), "w:gz", format=tarfile.PAX_FORMAT) as archive:
        for name in listed.decode().split("\0"):
            if name and (ROOT / name).is_file():
                archive.add(ROOT / name, f"{base}/{name}")
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as facts:
            facts.write(_metadata())
            facts.flush()
            archive.add(facts.name, f"{base}/PKG-INFO")
    return f"{base}.tar.gz"
