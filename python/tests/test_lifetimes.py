"""Memory, threads and processes."""

import concurrent.futures
import gc
import multiprocessing
import os
import pickle
import sys
import threading
import time

import numpy as np
import pytest
import sbrkit
from test_accessors import random_body


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def test_a_view_outlives_the_name_of_its_body(beam):
    view = beam.modes[7].translations
    copy = view.copy()
    beam.close()
    gc.collect()
    np.testing.assert_array_equal(view, copy)
    with pytest.raises(ValueError):
        view[0, 0] = 1.0


def test_a_view_is_the_library_s_own_memory(beam):
    first, second = beam.modes[7].translations, beam.modes[7].translations
    assert np.shares_memory(first, second) and beam.modes.cache.views == 2
    part = first[3:5]
    del first, second
    assert beam.modes.cache.views == 1 and part.shape == (2, 3)


def test_what_would_take_the_memory_of_a_view_away_is_refused(beam, tmp_path):
    view = beam.modes[7].translations
    before = view.copy()
    for call in (beam.modes.cache.clear, lambda: setattr(beam.modes.cache, "enabled", False),
                 lambda: setattr(beam, "units", "SI"), lambda: beam.rotate([0, 0, 1], 90), lambda: beam.write(tmp_path / "out.sbr")):
        with pytest.raises(BufferError, match="1 array"):
            call()
    np.testing.assert_array_equal(view, before)
    del view
    gc.collect()
    beam.rotate([0, 0, 1], 90)
    assert not np.array_equal(beam.modes[7].translations, before)
    beam.modes.cache.clear()
    beam.write(tmp_path / "out.sbr")


def test_without_room_in_the_cache_views_are_copies(beam):
    beam.modes.cache.enabled = False
    first, second = beam.modes[7].translations, beam.modes[8].translations
    assert beam.modes.cache.views == 0 and not np.array_equal(first, second)
    assert not first.flags.writeable


def test_a_closed_body_says_so(beam):
    beam.close()
    assert beam.closed and "closed" in repr(beam)
    for call in (lambda: len(beam.nodes), lambda: beam.modes[7].shape, lambda: beam.address):
        with pytest.raises(ValueError, match="closed"):
            call()
    beam.close()


def test_openings_of_one_file_are_bodies_of_their_own(samples):
    with sbrkit.open(samples("beam_13c")) as a, sbrkit.open(samples("beam_13c")) as b:
        a.units = "SI"
        assert b.units == sbrkit.SYSTEMS["mm-t-s-N"]
    with sbrkit.open(samples("beam_13c"), shared=True) as a, sbrkit.open(samples("beam_13c"), shared=True) as b:
        assert a.address == b.address


def test_ten_thousand_openings_leave_nothing_behind(samples, tmp_path):
    _, small = random_body(nodes=6, modes=2)
    path = tmp_path / "small.sbr"
    small.write(path)
    gc.collect()
    files = len(os.listdir("/proc/self/fd"))

    def run(count):
        for _ in range(count):
            with sbrkit.open(path) as body:
                body.nodes.coordinates, body.modes.shapes(), body.modes[1].translations, body.invariants[7]

    run(500)
    gc.collect()
    before, objects = resident(), len(gc.get_objects())
    run(10_000)
    gc.collect()
    assert resident() - before < 2_000_000
    assert len(gc.get_objects()) - objects < 200
    assert len(os.listdir("/proc/self/fd")) == files


def test_references_of_arrays_and_errors_are_counted(beam):
    def run(count):
        for _ in range(count):
            beam.nodes.ids, beam.modes.frequencies, beam.stress[7], beam.faces.lengths, beam.header
            try:
                beam.modes.cache.part(7, "stress", 5)
            except sbrkit.SbrError:
                pass
            try:
                sbrkit.system.report("error", "x" * 500)
            except sbrkit.SbrError:
                pass

    run(200)
    gc.collect()
    before = resident()
    run(5000)
    gc.collect()
    assert resident() - before < 4_000_000
    ids, fresh = beam.nodes.ids, np.zeros(1)
    assert sys.getrefcount(ids) == sys.getrefcount(fresh)


def test_several_bodies_in_several_threads(samples):
    names = ["beam_13c", "beam_33c", "conrod_13c", "conrod_33c"]
    paths = {name: samples(name) for name in names}
    with sbrkit.open(samples("beam_13c")) as body:
        want = body.modes.shapes()
    failures = []

    def work(name):
        try:
            for _ in range(10):
                with sbrkit.open(paths[name]) as body:
                    shapes = body.modes.shapes()
                    if name == "beam_13c":
                        np.testing.assert_array_equal(shapes, want)
                    body.invariants[3]
                with pytest.raises(sbrkit.SbrError, match=f"by {name}$"):
                    sbrkit.system.report("error", f"by {name}")
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=work, args=(name,)) for name in names * 2]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_long_calls_let_other_threads_work():
    rng = np.random.default_rng(1)
    _, body = random_body(nodes=3000, modes=200)
    ticks = []
    stop = threading.Event()

    def tick():
        while not stop.is_set():
            ticks.append(time.perf_counter())
            time.sleep(0.001)

    thread = threading.Thread(target=tick)
    thread.start()
    begin = time.perf_counter()
    body.invariants.compute("full")
    end = time.perf_counter()
    stop.set()
    thread.join()
    during = sum(begin < t < end for t in ticks)
    assert end - begin > 0.02, "the call was too short to tell"
    assert during >= 3


def frequencies_of(body):
    return body.modes.frequencies


def test_bodies_pickle_by_name_and_by_value(samples, tmp_path):
    path = tmp_path / "body.sbr"
    path.write_bytes(open(samples("beam_13c"), "rb").read())
    body = sbrkit.open(path)
    want = body.modes.shapes()
    named, valued = pickle.dumps(body), pickle.dumps(body.by_value())
    assert len(named) < 2000 < len(valued)
    np.testing.assert_array_equal(pickle.loads(named).modes.shapes(), want)
    with concurrent.futures.ProcessPoolExecutor(2, mp_context=multiprocessing.get_context("spawn")) as pool:
        np.testing.assert_array_equal(list(pool.map(frequencies_of, [body, body]))[1], body.modes.frequencies)
    path.unlink()
    again = pickle.loads(valued)
    np.testing.assert_array_equal(again.modes.shapes(), want)
    np.testing.assert_array_equal(pickle.loads(pickle.dumps(again)).modes.shapes(), want)
    with pytest.raises(FileNotFoundError):
        pickle.loads(named)


def test_what_no_file_holds_does_not_pickle(samples, tmp_path):
    _, built = random_body()
    with pytest.raises(TypeError, match="write it"):
        pickle.dumps(built)
    with sbrkit.open(samples("beam_13c")) as body:
        body.units = "SI"
        with pytest.raises(TypeError, match="write it"):
            pickle.dumps(body)
    path = tmp_path / "changes.sbr"
    path.write_bytes(open(samples("beam_13c"), "rb").read())
    body = sbrkit.open(path)
    stream = pickle.dumps(body)
    os.utime(path, (1, 1))
    with pytest.raises(TypeError, match="has been changed"):
        pickle.dumps(body)
    with pytest.raises(sbrkit.SbrError, match="has been changed"):
        pickle.loads(stream)


def test_a_forked_process_is_told_to_open_for_itself(beam):
    here, there = multiprocessing.get_context("fork").Pipe()

    def child():
        try:
            beam.modes[7].shape
            there.send("read")
        except sbrkit.SbrError as error:
            there.send(str(error))

    process = multiprocessing.get_context("fork").Process(target=child)
    process.start()
    assert "another process" in here.recv()
    process.join()
    assert process.exitcode == 0
    assert beam.modes[7].shape.shape == (1221, 6)


def test_the_c_interface_takes_the_handle(beam):
    import ctypes

    count = sbrkit.clib().SBR_NodeCount
    count.argtypes = [ctypes.c_void_p]
    assert count(beam.address) == len(beam.nodes)
