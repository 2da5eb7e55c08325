"""What goes wrong, and what is odd."""

import logging
import os
import pickle
import struct
import warnings

import numpy as np
import pytest
import sbrkit
from test_accessors import random_body


def test_an_error_has_all_reports_of_the_call(tmp_path):
    path = tmp_path / "no.sbr"
    path.write_bytes(b"\x7fELF and no record at all")
    with pytest.raises(sbrkit.SbrError, match="not a readable Shape Body Record") as caught:
        sbrkit.open(path)
    assert sbrkit.Report("error", "Not a valid SBR format.") in caught.value.reports
    again = pickle.loads(pickle.dumps(caught.value))
    assert str(again) == str(caught.value) and again.reports == caught.value.reports


def test_files_that_cannot_be_opened_are_errors_of_the_system(tmp_path):
    with pytest.raises(FileNotFoundError):
        sbrkit.open(tmp_path / "missing.sbr")
    with pytest.raises(IsADirectoryError):
        sbrkit.open(tmp_path)
    with pytest.raises(ValueError):
        sbrkit.open("a\0b")


def test_a_record_that_breaks_off_is_refused_each_time(samples, tmp_path):
    whole = open(samples("beam_13c"), "rb").read()
    with sbrkit.open(samples("beam_13c")) as body:
        shape = next(block for block in body.blocks if block.name == "Mode_shapes")
        before = sum(block.size for block in body.blocks if block.index < shape.index)
    cut = tmp_path / "cut.sbr"
    # The end of the mode shapes and all behind them become another file: modes cannot be read to their ends.
    cut.write_bytes(whole[: before + shape.size // 2])
    with pytest.raises(sbrkit.SbrError):
        sbrkit.open(cut)
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            body = sbrkit.open(cut, strict=False)
        except sbrkit.SbrError:
            return  # nothing could be made of it
    assert any(issubclass(w.category, sbrkit.SbrWarning) for w in caught)
    for _ in range(2):
        with pytest.raises(sbrkit.SbrError):
            body.modes[10].shape
        with pytest.raises(sbrkit.SbrError):
            body.modes[10].translations


def test_a_file_that_shrinks_never_gives_wrong_numbers(samples, tmp_path):
    path = tmp_path / "shrinks.sbr"
    path.write_bytes(open(samples("conrod_13c"), "rb").read())
    body = sbrkit.open(path)
    os.truncate(path, 400_000)
    last = int(body.modes.numbers[-1])
    for _ in range(3):
        with pytest.raises(sbrkit.SbrError):
            body.modes[last].shape
        with pytest.raises(sbrkit.SbrError):
            body.modes[last].translations
        with pytest.raises(sbrkit.SbrError):
            body.modes.max_displacements()
        with pytest.raises(sbrkit.SbrError):
            body.invariants[3], body.invariants[9]
    with pytest.raises(sbrkit.SbrError):
        body.write(tmp_path / "out.sbr")
    assert not (tmp_path / "out.sbr").exists()


def test_random_damage_never_crashes(samples, tmp_path):
    whole = bytearray(open(samples("beam_33c"), "rb").read())
    rng = np.random.default_rng(7)
    path = tmp_path / "damaged.sbr"
    for _ in range(60):
        bad = bytearray(whole)
        for place in rng.integers(0, 8000, 5):
            bad[place] = rng.integers(0, 256)
        path.write_bytes(bad)
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            try:
                with sbrkit.open(path, strict=False) as body:
                    body.modes.shapes(), body.faces.lengths, body.nodes.coordinates, body.report()
            except (sbrkit.SbrError, MemoryError):
                pass


def test_warnings_are_python_warnings_and_point_at_the_caller():
    _, body = random_body()
    with pytest.warns(sbrkit.SbrWarning, match="Global mass is inconsistent") as caught:
        body.set_global_mass(1.0, [0, 0, 0], np.eye(3))
    assert caught[0].filename == __file__
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(sbrkit.SbrWarning):
            body.set_global_mass(1.0, [0, 0, 0], np.eye(3))


def test_a_warning_with_a_list_is_one(tmp_path):
    body = sbrkit.Body.build(np.zeros((3, 3)), ids=[7, 8, 9])
    with pytest.warns(sbrkit.SbrWarning) as caught:
        body.write(tmp_path / "origin.sbr")
    assert [str(w.message) for w in caught if "coordinates" in str(w.message)] == [
        "Found 3 node(s) with coordinates (0,0,0).  They are: 7 8 9"]
    assert not any(str(w.message).isdigit() for w in caught)


def test_information_goes_to_the_logger(caplog):
    _, body = random_body()
    with caplog.at_level(logging.INFO, logger="sbrkit"):
        body.header = sbrkit.Header(title="told")
    assert "Title: told" in caplog.text


def test_reports_of_the_host_go_the_same_way(caplog):
    with pytest.raises(sbrkit.SbrError, match="100 % sure"):
        sbrkit.system.report("error", "100 % sure")
    with pytest.warns(sbrkit.SbrWarning, match="odd"):
        sbrkit.system.report("warning", "odd")
    with pytest.raises(ValueError):
        sbrkit.system.report("loud", "x")


def test_write_options_are_checked_before_anything_changes(tmp_path):
    _, body = random_body()
    target = tmp_path / "out.sbr"
    for wrong in (dict(stress="some"), dict(invariants=True), dict(layout="83"), dict(layout="81", single=True),
                  dict(layout="82", invariants="fast"), dict(lowpass=float("nan")), dict(lowpass=5, highpass=5),
                  dict(coarsen=(0.7, 10)), dict(orthonormal=False, lowpass=3.0)):
        with pytest.raises(ValueError):
            body.write(target, **wrong)
    with pytest.raises(TypeError):
        body.write(target, singel=True)
    with pytest.raises(FileNotFoundError):
        body.write(target, sketch=tmp_path / "missing.txt")
    assert list(tmp_path.iterdir()) == []


def test_every_write_option_of_the_library_has_a_keyword():
    from sbrkit import _core

    sketch = __file__
    texts = [sbrkit.WriteOptions(**options).text() for options in (
        dict(shift_to_cm=True, strip_faces=True, coarsen=(0.02, 10), stress="sparse", lowpass=2e3, highpass=0.5,
             invariants="full", empty=True, mks=True, single=True, xdr=False, drop_load_nodes=True, sketch=sketch),
        dict(stress="full", orthonormal=False), dict(invariants="fast"), dict(layout="81"), dict(layout="82"))]
    for keyword, _, _ in _core.write_option_table():
        assert any(keyword in text for text in texts), keyword


def test_the_options_of_the_environment_play_no_part(tmp_path, monkeypatch):
    monkeypatch.setenv("KTX_SBRWRITE_OPTIONS", "single")
    _, body = random_body()
    body.write(tmp_path / "out.sbr")
    assert os.environ["KTX_SBRWRITE_OPTIONS"] == "single"
    assert struct.unpack(">I", (tmp_path / "out.sbr").read_bytes()[:4])[0] == 0x13C


def test_a_failed_write_leaves_what_was_there(tmp_path, samples):
    target = tmp_path / "out.sbr"
    target.write_text("precious")
    with sbrkit.open(samples("beam_13c")) as body:
        with pytest.raises(sbrkit.SbrError, match="frequency range"):
            body.write(target, lowpass=-5.0)
        assert target.read_text() == "precious" and len(list(tmp_path.iterdir())) == 1
        with pytest.raises(sbrkit.SbrError, match="was read from"):
            body.write(samples("beam_13c"))


def test_nodes_that_hold_a_part_of_the_mass_are_not_summed(tmp_path, samples):
    with sbrkit.open(samples("beam_13c")) as body:
        body.write(tmp_path / "shell.sbr", invariants="full")
    with sbrkit.open(tmp_path / "shell.sbr") as body:
        assert len(body.nodes) < 1221
        for call in (lambda: sbrkit.effective_mass(body), lambda: body.rotate([0, 0, 1], 10),
                     lambda: body.write(tmp_path / "x.sbr", layout="82")):
            with pytest.raises(sbrkit.SbrError, match="% of the body's mass"):
                call()


def test_unknown_units_are_refused():
    _, body = random_body()
    before = body.nodes.coordinates
    for wrong in ("furlong-stone", ("KILOGRAM", "METER", "SECOND", "POUND"), ("a", "b"), "A,B,C,D"):
        with pytest.raises(ValueError):
            body.units = wrong
    np.testing.assert_array_equal(body.nodes.coordinates, before)


def test_a_frequency_range_is_in_hertz_whatever_the_unit_of_time(tmp_path, samples):
    for system in ("SI", "mm-kg-ms-kN"):
        with sbrkit.open(samples("beam_13c")) as body:
            body.units = system
            body.write(tmp_path / "range.sbr", highpass=1.0, lowpass=200.0)
        with sbrkit.open(tmp_path / "range.sbr") as body:
            np.testing.assert_allclose(body.modes.frequencies, [106.182, 158.987], rtol=1e-5)


def test_what_cannot_be_meant_is_refused_with_what_is_needed():
    _, body = random_body()
    with pytest.raises(ValueError, match="set_pre"):
        body.stress.set(0, np.zeros((1, 6)), body.nodes.ids[:1])
    with pytest.raises(ValueError, match="one for all"):
        body.nodes.set_masses(body.nodes.ids, [1.0, 2.0])
    for call in (body.nodes.closest, lambda points: body.nodes.within(points, 1.0),
                 lambda points: body.nodes.closest_several(points, 1)):
        with pytest.raises(ValueError, match="finite"):
            call([np.nan, 0.0, 0.0])
    with pytest.raises(ValueError, match="radius"):
        body.nodes.within([0.0, 0.0, 0.0], np.nan)
    with pytest.raises(sbrkit.SbrError, match="not turned\n.*axis"):
        body.rotate([0, 0, 0], 10)
