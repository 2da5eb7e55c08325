"""The reader of `examples/python/read_record.py`, which knows nothing of the library, against the library."""

import pathlib
import sys

import numpy as np
import pytest
import sbrkit
from conftest import SOURCE
from test_accessors import NAMES, SINGLE, random_body

sys.path.insert(0, str(SOURCE / "examples" / "python"))
from read_record import NAMES as BLOCKS  # noqa: E402
from read_record import RecordError, node_order, read_record  # noqa: E402

LAYOUTS = {
    "0x13c": dict(), "0x33c": dict(single=True), "0x3c": dict(xdr=False), "0x23c": dict(single=True, xdr=False),
    "41": dict(stress="full"), "40": dict(stress="full", xdr=False), "51": dict(stress="full", single=True),
    "50": dict(stress="full", single=True, xdr=False), "20": dict(layout="82"), "10": dict(layout="81"),
}


def same(read, told):
    """Both have the same numbers: reals are those of the file, bit by bit."""
    np.testing.assert_array_equal(np.asarray(read, "f8"), np.asarray(told, "f8"))


def compare_geometry(record, body):
    order = node_order(record)
    same(record.coordinates["id"][order], body.nodes.ids)
    same(record.coordinates["xyz"][order], body.nodes.coordinates)
    if record.masses is not None:
        masses = dict(zip(record.masses["id"].tolist(), record.masses["mass"].mean(axis=1)))
        same([masses[node] for node in body.nodes.ids.tolist()], body.nodes.masses)
    inertias = np.zeros((len(order), 3, 3))
    for node, row, column, value in [] if record.inertias is None else record.inertias.tolist():
        place = body.nodes[node].index
        inertias[place, row - 4, column - 4] = inertias[place, column - 4, row - 4] = value
    same(inertias, body.nodes.inertias)
    # The faces of block 13 are places in the node table, those of block 4 are node IDs.
    faces = [] if record.faces is None else [body.nodes.ids[face].tolist() for face in record.faces]
    if record.old_faces is not None:
        faces = [face.tolist() for face in record.old_faces]
    assert faces == [face.tolist() for face in body.faces.as_ids()]
    same([] if record.interface is None else record.interface, body.interface.indices)


def compare_modes(record, body):
    same(record.shapes.values, body.modes.shapes(rotations=True))
    for read, told in ((record.stress, body.stress), (record.strain, body.strain)):
        assert (read is None) == (len(told) == 0)
        if read is not None:
            same(read.node_ids, told.ids)
            same(read.values, told.values())
    if record.shapes.numbers is not None:
        same(record.shapes.numbers, body.modes.numbers)
    if record.eigenvalues is not None:
        same(record.eigenvalues["mode"], body.modes.numbers)
        same(record.eigenvalues["eigenvalue"], body.modes.eigenvalues)
        same(record.eigenvalues["mass"], body.modes.generalized_masses)
    if record.pre_stress is not None:
        same(record.pre_stress, body.stress.pre)
    for read, told in ((record.stiffness, body.stiffness), (record.mass_matrix, body.mass_matrix),
                       (record.damping, body.damping)):
        if read is not None:
            entries = told.entries()
            same(np.transpose([read.row - 1, read.column - 1, read.value]),
                 np.transpose([entries.rows, entries.columns, entries.values]))
    if record.transformation is not None:
        same(record.transformation.matrix, body.modes.transformation)
    for number in body.invariants.stored:
        read = getattr(record, f"invariant{number}")
        # On their way through the units they are rounded.
        np.testing.assert_allclose(read[0] if number == 1 else read, body.invariants[number], rtol=1e-14)


def compare_loads(record, body):
    loads = record.loads or []
    assert [load.label for load in loads] == [load.label for load in body.loads.modal]
    for read, told in zip(loads, body.loads.modal):
        same(read.values, told.values)
        assert bool(read.on_principal_axes) == told.on_principal_axes
    if record.preload is not None:
        same(record.preload.values, body.loads.preload)
    for read, told in zip(record.nodal_loads or [], body.loads.nodal):
        same(np.transpose([read["node"], read["coordinate"], read["load"]]),
             np.transpose([told.nodes, told.coordinates, told.values]))
    assert len(record.operators or []) == len(body.operators)
    for read, told in zip(record.operators or [], body.operators):
        assert (read.name, read.labels) == (told.name, told.labels)
        for (tag, values), (told_tag, told_values) in zip(read.parts, told.blocks):
            assert tag == told_tag
            same(values, told_values)
    assert len(record.monitor_points or []) == len(body.monitor_points)
    for read, told in zip(record.monitor_points or [], body.monitor_points):
        assert (read.name, read.label, read.type, read.result_type, read.component) == (
            told.name, told.label, told.type, told.result_type, told.component)
        for values, told_values in zip(read.operators, told.operators):
            assert (values is None) == (told_values is None)
            if values is not None:
                same(values, told_values)


def compare(path, strict=True):
    record = read_record(path)
    with sbrkit.open(path, strict=strict) as body:
        assert record.code == body.version
        assert list(record.blocks) == [index for index in range(36) if body.exists(index)]
        assert record.single != body.modes.double_precision
        assert record.header["title"] == body.header.title
        assert [record.header[f"comment{i}"] for i in (1, 2, 3)] == list(body.header.comments)
        assert record.units is None or list(record.units) == list(body.units)
        compare_geometry(record, body)
        compare_modes(record, body)
        compare_loads(record, body)
        if strict:
            compare_sizes(record, body)
    return record


def compare_sizes(record, body):
    for block in body.blocks:
        size = record.blocks[block.index][1]
        # The rule of sizes counts words that the stress of these two layouts does not have, and of a monitor point the
        # load operators alone.
        words = 4 * len(body.modes) if block.index == 17 and record.code in (30, 31) else 0
        assert block.index == 35 or block.size == size + words, BLOCKS[block.index]


@pytest.mark.parametrize("name", NAMES)
def test_the_reader_of_the_format_reads_every_sample_as_the_library_does(name, samples):
    path = samples(name)
    record = compare(path)
    assert record.single == (name in SINGLE)
    assert sum(size for _, size in record.blocks.values()) == pathlib.Path(path).stat().st_size


def body_with_everything():
    rng = np.random.default_rng(11)
    data, body = random_body(5, nodes=14, modes=5)
    ids = body.nodes.ids
    body.faces.add([ids[[0, 1, 2]], ids[[2, 3, 4, 5]], ids[[5, 6, 7]]])
    body.interface.add(ids[[3, 0, 9]])
    for number in body.modes.numbers.tolist():
        body.stress.set(number, rng.normal(size=(6, 6)), ids[2:8])
        body.strain.set(number, rng.normal(size=(3, 6)), ids[[1, 4, 12]])
    body.stress.set_pre(rng.normal(size=(6, 6)), ids[2:8])
    body.strain.set_pre(rng.normal(size=(3, 6)), ids[[1, 4, 12]])
    body.damping.set(np.diag(rng.uniform(size=5)))
    body.loads.set_modal(0, body.modes.numbers, rng.normal(size=5), "gravity along x")
    body.loads.set_nodal(0, ids[[1, 5]], [3, 6], [7.0, 8.0])
    body.loads.set_preload(body.modes.numbers, rng.normal(size=5))
    for place, operators in enumerate([(1,), (1, 2, 3), (1, 4), ()]):
        body.monitor_points.add(f"P{place}", component=123, load_operators=2, label=f"point {place}")
        for kind in operators:
            body.monitor_points.set_operator(place, kind, rng.normal(size=(2, 3, 5) if kind == 4 else (3, 5)))
    operator = body.operators.add("GAUGE", ["first row", "second row"])
    for tag, columns in (("A", 4), ("B", 1)):
        body.operators.add_columns(operator, tag, rng.normal(size=(2, columns)))
    body.header = sbrkit.Header(title="everything", comments=("one", "", "three"))
    return body


@pytest.mark.parametrize("word", LAYOUTS)
def test_the_reader_of_the_format_reads_every_layout_that_is_written(word, tmp_path):
    path = tmp_path / "all.sbr"
    more = {} if word in ("10", "20") else dict(invariants="full")
    body_with_everything().write(path, **LAYOUTS[word], **more)
    # The size of monitor points counts one operator, so that the library complains of points with several and reads on.
    record = compare(str(path), strict=False)
    assert record.word == int(word, 0)
    if more:
        assert sorted(set(range(36)) - set(record.blocks)) == [4, 11, 12, 32]


def test_the_reader_of_the_format_reads_matrices_of_modes_that_are_not_orthonormal(tmp_path):
    path = tmp_path / "raw.sbr"
    body_with_everything().write(path, orthonormal=False)
    record = compare(str(path), strict=False)
    assert record.stiffness is not None and record.mass_matrix is not None


def test_the_reader_of_the_format_gives_all_operators_of_a_record_with_fewer_modes(tmp_path, samples):
    with sbrkit.open(samples("beam_13c")) as body:
        operators = body.monitor_points[0].operators[0]
        body.write(tmp_path / "low.sbr", lowpass=200.0)
        kept = len(sbrkit.open(tmp_path / "low.sbr").modes)
    record = read_record(tmp_path / "low.sbr")
    assert len(record.shapes.values) == kept < 10
    assert record.monitor_points[0].operators[0].shape == operators.shape


@pytest.mark.parametrize("word", ["0x13c", "0x23c", "10", "20"])
def test_the_reader_of_the_format_refuses_what_breaks_off(word, tmp_path):
    path = tmp_path / "all.sbr"
    body_with_everything().write(path, **LAYOUTS[word])
    content = path.read_bytes()
    first, size = max(read_record(path).blocks.values())  # what stands behind the last block of a layout is not read
    broken = tmp_path / "broken.sbr"
    for end in [*range(0, first + size, 37), first, first + size - 1]:
        broken.write_bytes(content[:end])
        with pytest.raises(RecordError):
            read_record(broken)


@pytest.mark.parametrize("word", ["0x13c", "0x23c", "10"])
def test_the_reader_of_the_format_reads_or_refuses_what_is_damaged(word, tmp_path):
    path, broken = tmp_path / "all.sbr", tmp_path / "broken.sbr"
    body_with_everything().write(path, **LAYOUTS[word])
    content = path.read_bytes()
    starts = [first for first, _ in read_record(path).blocks.values()]
    rng = np.random.default_rng(17)
    refused = 0
    for case in range(600):
        # Half of the damage is where counts stand: at the heads of blocks.
        at = rng.integers(0, len(content) - 4) if case % 2 else rng.choice(starts) + 4 * rng.integers(0, 4)
        value = rng.choice([-1, -2, 0, 1, 7, 2**31 - 1, rng.integers(-2**31, 2**31)])
        number = int(value).to_bytes(4, "little" if word != "0x13c" else "big", signed=True)
        broken.write_bytes(content[:at] + number + content[at + 4:])
        try:
            read_record(broken)
        except RecordError:
            refused += 1
    assert 50 < refused < 600


def test_the_reader_of_the_format_prints_what_a_record_holds(samples, capsys):
    import runpy

    script, path = str(SOURCE / "examples" / "python" / "read_record.py"), samples("beam_33c")
    before, sys.argv = sys.argv, [script, path]
    try:
        runpy.run_path(script, run_name="__main__")
    finally:
        sys.argv = before
    lines = capsys.readouterr().out.splitlines()
    assert "version 60, XDR, single precision" in lines[0]
    assert len(lines) == 1 + len(read_record(path).blocks)
