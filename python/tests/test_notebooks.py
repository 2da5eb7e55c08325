"""The notebooks run from the first cell to the last."""

import os

import pytest
import sbrkit
from conftest import SOURCE

nbformat = pytest.importorskip("nbformat")
nbclient = pytest.importorskip("nbclient")
pytest.importorskip("ipykernel")
FOLDER = SOURCE / "examples" / "python" / "notebooks"


def imports_a_model(notebook):
    return any("import_ccx" in cell.source for cell in notebook.cells)


@pytest.mark.parametrize("path", sorted(FOLDER.glob("*.ipynb")), ids=lambda path: path.stem)
def test_a_notebook_runs(path, tmp_path, monkeypatch):
    notebook = nbformat.read(path, as_version=4)
    assert all(not cell.get("outputs") for cell in notebook.cells), "notebooks are kept without outputs"
    if imports_a_model(notebook):
        try:
            sbrkit.program()
        except FileNotFoundError:
            pytest.skip("the program sbr is not built")
    monkeypatch.setenv("IPYTHONDIR", str(tmp_path))
    monkeypatch.setenv("JUPYTER_RUNTIME_DIR", str(tmp_path))
    nbclient.NotebookClient(notebook, timeout=600, kernel_name="python3",
                            resources={"metadata": {"path": str(FOLDER)}}).execute()
