"""What runs the program: check, diff, import, transform."""

import pickle
import shutil

import numpy as np
import pytest
import sbrkit
from conftest import SOURCE

try:
    sbrkit.program()
except FileNotFoundError:
    pytest.skip("the program sbr is not built", allow_module_level=True)

CONROD = SOURCE / "examples" / "data" / "conrod"


def test_a_check_gives_the_findings(beam, tmp_path, sbr):
    result = sbrkit.check(beam)
    told = sbr("check", beam.path)
    told = told[0] if isinstance(told, list) else told
    assert result and result.sound and (result.errors, result.notes) == (told["errors"], told["notes"])
    assert [f.what for f in result.findings] == [f["what"] for f in told["findings"]]
    assert "sound" in repr(result) and result.of("note") and len(result.to_pandas()) == len(result.findings)
    assert pickle.loads(pickle.dumps(result)) == result
    (tmp_path / "no.sbr").write_text("no record")
    with pytest.raises(sbrkit.ProgramError) as caught:
        sbrkit.check(tmp_path / "no.sbr")
    assert caught.value.exit_code == 3
    assert pickle.loads(pickle.dumps(caught.value)).exit_code == 3


def test_a_check_fails_on_what_is_no_number(tmp_path, beam):
    beam.nodes.set_coordinates(beam.nodes.ids[:1], [[np.nan, 0.0, 0.0]])
    beam.write(tmp_path / "nan.sbr", orthonormal=False)
    result = sbrkit.check(tmp_path / "nan.sbr")
    assert not result and any("coordinates" in finding.what for finding in result.of("error"))


def test_a_diff_tells_the_blocks(beam, samples, tmp_path):
    assert sbrkit.diff(beam, samples("beam_13c"))
    shutil.copy(samples("beam_13c"), tmp_path / "copy.sbr")
    with sbrkit.open(tmp_path / "copy.sbr") as body:
        body.nodes.set_coordinates(body.nodes.ids[:1], [[1.0, 2.0, 3.0]])
        body.write(tmp_path / "moved.sbr")
    result = sbrkit.diff(samples("beam_13c"), tmp_path / "moved.sbr", rtol=1e-9)
    assert not result and "nodal coordinates" in [b.block for b in result.blocks if not b.same]
    assert {partner.mode for partner in result.modes} == set(range(1, 11))
    with pytest.raises(ValueError, match="write it"):
        beam.units = "SI"
        sbrkit.diff(beam, samples("beam_13c"))


def test_importers_are_listed_and_run(tmp_path):
    assert "ccx" in sbrkit.importers()
    result = sbrkit.import_ccx(CONROD / "conrod.inp", tmp_path / "conrod.sbr", frd=CONROD / "conrod.frd.gz",
                               units="mm-t-s-N", interface=["IFACE_A", "IFACE_B"], modes=8)
    with result.open() as body:
        assert len(body.modes) == 8 and body.units == sbrkit.SYSTEMS["mm-t-s-N"]
        assert body.modes[7].frequency == pytest.approx(1083.858, rel=1e-5)
    assert "Imported" in repr(result) and isinstance(result.summary, dict)
    with pytest.raises(ValueError, match="no importer"):
        sbrkit.import_model("nothing", "x", tmp_path / "y.sbr")
    with pytest.raises(sbrkit.ProgramError):
        sbrkit.import_ccx(tmp_path / "missing.inp", tmp_path / "y.sbr")
    with pytest.raises(sbrkit.ProgramError) as caught:
        sbrkit.import_ccx(CONROD / "conrod.inp", tmp_path / "y.sbr", frobnicate=True)
    assert caught.value.exit_code == 2


def test_transform_moves_records(tmp_path, samples):
    body = sbrkit.transform(samples("beam_13c"), tmp_path / "moved.sbr", translate=[10, 0, 0])
    with sbrkit.open(samples("beam_13c")) as before:
        np.testing.assert_allclose(body.mass.center, before.mass.center + [10, 0, 0], atol=1e-9)


def test_a_body_is_viewed_in_a_frame(beam, samples, tmp_path):
    try:
        shown = beam.view(height=400)
    except sbrkit.ProgramError as error:
        assert "built without the viewer" in str(error)
        pytest.skip("the program is built without the viewer")
    text = shown._repr_html_()
    assert text.startswith("<iframe srcdoc=") and 'height="400"' in text and "<html" not in text
    shown.save(tmp_path / "page.html")
    page = (tmp_path / "page.html").read_text(encoding="utf-8")
    assert "<html" in page.lower() and len(page) > 10000
    with sbrkit.open(samples("beam_33c")) as other:
        assert len(beam.view(other).page) > len(page)
    beam.units = "SI"
    with pytest.raises(ValueError, match="write it"):
        beam.view()
