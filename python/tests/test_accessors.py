"""Every accessor against what the samples are known to hold, against the program, and against NumPy."""

import warnings

import numpy as np
import pytest
import sbrkit

NAMES = ["beam_010", "beam_020", "beam_030", "beam_031", "beam_040", "beam_041", "beam_050", "beam_051", "beam_03c",
         "beam_13c", "beam_23c", "beam_33c", "conrod_13c", "conrod_33c"]
SINGLE = {"beam_050", "beam_051", "beam_23c", "beam_33c", "conrod_33c"}


def close(name):
    return dict(rtol=2e-6 if name in SINGLE else 1e-12, atol=1e-6 if name in SINGLE else 1e-12)


@pytest.mark.parametrize("name", NAMES)
def test_a_sample_holds_what_its_makers_wrote_down(name, samples, expected):
    want = expected[name]
    with sbrkit.open(samples(name)) as body:
        assert len(body.nodes) == want["node_count"]
        assert len(body.modes) == want["mode_count"]
        assert len(body.stress) == want["stress_node_count"]
        # The old layouts have no place for strain.
        assert len(body.strain) == (want["strain_node_count"] if "28" in want["blocks"] else 0)
        assert len(body.faces) == want["face_count"]
        assert list(body.units) == want["units"]
        assert body.interface.ids.tolist() == want["interface_node_ids"]
        assert body.version == want["version_code"]
        assert body.mass.mass == pytest.approx(want["mass"], rel=1e-6)
        np.testing.assert_allclose(body.mass.center, want["center"], **close(name))
        # The oldest sample holds no number as the frequency of its negative eigenvalue.
        told = np.array(want["frequency_hz"]) if name != "beam_010" else np.array([np.nan, *want["frequency_hz"][1:]])
        np.testing.assert_allclose(body.modes.frequencies, told, rtol=1e-5, atol=1e-9)
        np.testing.assert_allclose(body.modes.eigenvalues, want["eigenvalue"], rtol=1e-5, atol=1e-9)
        for node in want["nodes"]:
            assert body.nodes[node["id"]].index == node["index"]
            np.testing.assert_allclose(body.nodes[node["id"]].position, node["xyz"], **close(name))
            for mode, values in node["shape"].items():
                np.testing.assert_allclose(body.modes[int(mode)].shape[node["index"]], values, **close(name))
        for node in want["stress_nodes"]:
            place = body.stress.indices(node["id"])[0]
            for mode, values in node["stress"].items():
                np.testing.assert_allclose(body.stress[int(mode)][place], values, **close(name))


@pytest.mark.parametrize("name", ["beam_13c", "beam_33c", "conrod_13c"])
def test_the_program_says_the_same(name, samples, sbr):
    path = samples(name)
    info, mass, modes = sbr("info", path), sbr("mass", path), sbr("modes", path)
    with sbrkit.open(path) as body:
        assert info["counts"]["nodes"] == len(body.nodes)
        assert info["counts"]["rigid_body_modes"] == body.modes.rigid_count
        assert info["counts"]["modal_load_cases"] == len(body.loads.modal)
        assert info["counts"]["monitor_points"] == len(body.monitor_points)
        assert info["counts"]["matrix_operators"] == len(body.operators)
        header = body.header
        assert [header.title, header.date, header.input_file] == [
            info["header"][key] for key in ("title", "date", "input_file")]
        assert list(header.comments) == info["header"]["comments"]
        assert mass["mass"] == body.mass.mass
        assert mass["center"] == body.mass.center.tolist()
        np.testing.assert_allclose(mass["inertia_about_center"], body.mass.inertia.reshape(-1), rtol=1e-12, atol=1e-12)
        np.testing.assert_allclose(mass["principal_moments"], body.mass.principal[0], rtol=1e-12)
        assert [m["hz"] for m in modes] == body.modes.frequencies.tolist()
        assert [m["eigenvalue"] for m in modes] == body.modes.eigenvalues.tolist()
        assert [m["generalized_mass"] for m in modes] == body.modes.generalized_masses.tolist()
        for kind, get in (("shape", lambda: body.modes[7].shape), ("stress", lambda: body.stress[7])):
            told = sbr("mode", path, 7, "--kind", kind)
            assert [node["values"] for node in told["nodes"]] == get().tolist()
        nodes = sbr("nodes", path)
        rows = nodes["nodes"] if isinstance(nodes, dict) else nodes
        assert sorted(row["id"] for row in rows) == sorted(body.nodes.ids.tolist())


@pytest.mark.parametrize("name", ["beam_010", "beam_13c", "beam_33c"])
def test_every_way_to_mode_data_gives_the_same_bits(name, samples):
    with sbrkit.open(samples(name)) as body:
        shapes = body.modes.shapes(rotations=True)
        assert shapes.shape == (10, len(body.nodes), 6)
        some = body.nodes.ids[[0, 5, 100]]
        parts = body.modes.at_nodes(some)
        np.testing.assert_array_equal(parts, body.modes.at_nodes(some, through_cache=True))
        for place, mode in enumerate(body.modes):
            np.testing.assert_array_equal(mode.shape, shapes[place])
            np.testing.assert_array_equal(mode.translations, shapes[place, :, :3])
            np.testing.assert_array_equal(mode.rotations, shapes[place, :, 3:])
            np.testing.assert_array_equal(parts[place], shapes[place][[0, 5, 100]])
        np.testing.assert_array_equal(body.modes.shapes(), shapes[:, :, :3])
        np.testing.assert_array_equal(body.modes.rotations(), shapes[:, :, 3:])
        singles = body.modes.shapes("f4")
        assert singles.dtype == np.float32
        np.testing.assert_array_equal(singles, shapes[:, :, :3].astype("f4"))
        if len(body.stress):
            stress = body.stress.values()
            np.testing.assert_array_equal(stress[6], body.stress[7])
            np.testing.assert_array_equal(stress[6, :, :3], body.stress.normal(7))
            np.testing.assert_array_equal(stress[6, :, 3:], body.stress.shear(7))


@pytest.mark.parametrize("name", ["beam_13c", "beam_33c"])
def test_every_way_to_mode_data_gives_the_same_bits_in_other_units(name, samples):
    with sbrkit.open(samples(name)) as body:
        before = body.modes.shapes(), body.stress.values(), body.modes.rotations()
        body.units = "in-slinch-s-lbf"
        shapes = body.modes.shapes()
        for place, mode in enumerate(body.modes):
            np.testing.assert_array_equal(mode.translations, shapes[place])
            np.testing.assert_array_equal(mode.shape[:, :3], shapes[place])
        np.testing.assert_allclose(shapes, before[0] / 25.4, rtol=1e-12)
        np.testing.assert_allclose(body.stress.values(), before[1] * (25.4**2 / 4.4482216152605), rtol=1e-6)
        np.testing.assert_array_equal(body.modes.rotations(), before[2])


def test_modes_are_chosen_by_number(beam):
    assert beam.modes[7:9].numbers.tolist() == [7, 8]
    assert beam.modes[:3].numbers.tolist() == [1, 2]
    assert beam.modes[[9, 7]].numbers.tolist() == [9, 7]
    assert beam.modes.at(-1).number == 10
    assert beam.modes.elastic.numbers.tolist() == [7, 8, 9, 10]
    np.testing.assert_array_equal(beam.modes[[9, 7]].shapes()[1], beam.modes[7].translations)
    assert 7 in beam.modes and 11 not in beam.modes
    for wrong in (11, 0, [7, 11]):
        with pytest.raises(KeyError):
            beam.modes[wrong]
    with pytest.raises(ValueError):
        beam.modes[1:9:2]


def skew(v):
    z = np.zeros(v.shape[:-1])
    return np.stack([np.stack([z, -v[..., 2], v[..., 1]], -1), np.stack([v[..., 2], z, -v[..., 0]], -1),
                     np.stack([-v[..., 1], v[..., 0], z], -1)], -2)


def random_body(seed=3, nodes=12, modes=4):
    rng = np.random.default_rng(seed)
    root = rng.normal(size=(nodes, 3, 3))
    inertias = root @ root.transpose(0, 2, 1)
    inertias = 0.5 * (inertias + inertias.transpose(0, 2, 1))
    data = dict(nodes=rng.normal(size=(nodes, 3)), shapes=rng.normal(size=(modes, nodes, 6)),
                masses=rng.uniform(0.5, 2.0, nodes), inertias=inertias)
    return data, sbrkit.Body.build(**data, eigenvalues=rng.uniform(1, 9, modes))


def test_the_nine_invariants_are_their_sums():
    data, body = random_body()
    r, m, inertia = data["nodes"], data["masses"], data["inertias"]
    phi, theta = data["shapes"][..., :3], data["shapes"][..., 3:]
    i = body.invariants
    tilde_r, tilde_phi = skew(r), skew(phi)
    want = {
        1: m.sum(),
        2: m @ r,
        3: np.einsum("n,jnc->cj", m, phi),
        4: np.einsum("n,jnc->cj", m, np.cross(r[None], phi)) + np.einsum("nab,jnb->aj", inertia, theta),
        5: np.einsum("n,jknc->jck", m, np.cross(phi[:, None], phi[None])),
        6: np.eye(4),
        7: -np.einsum("n,nab,nbc->ac", m, tilde_r, tilde_r) + inertia.sum(0),
        8: np.einsum("n,nab,jnbc->jac", m, tilde_r, tilde_phi),
        9: np.einsum("n,jnab,knbc->jkac", m, tilde_phi, tilde_phi),
    }
    for number, value in want.items():
        np.testing.assert_allclose(i[number], value, rtol=1e-12, atol=1e-12, err_msg=f"invariant {number}")
    mass = body.mass
    np.testing.assert_allclose(mass.center, m @ r / m.sum(), rtol=1e-12)
    arm = r - mass.center
    np.testing.assert_allclose(mass.inertia, -np.einsum("n,nab,nbc->ac", m, skew(arm), skew(arm)) + inertia.sum(0),
                               rtol=1e-10, atol=1e-12)
    with pytest.raises(KeyError):
        i[10]


def test_nodes_are_found_as_by_looking_at_all(samples):
    with sbrkit.open(samples("conrod_13c")) as body:
        rng = np.random.default_rng(5)
        places, ids = body.nodes.coordinates, body.nodes.ids
        points = rng.uniform(places.min(0), places.max(0), (50, 3))
        distances = np.linalg.norm(points[:, None] - places[None], axis=2)
        np.testing.assert_array_equal(body.nodes.closest(points), ids[distances.argmin(1)])
        several = body.nodes.closest_several(points, 4)
        for found, row in zip(several, distances):
            np.testing.assert_array_equal(np.sort(row)[:4], row[body.nodes.indices(found)])
        for found, row in zip(body.nodes.within(points, 5.0), distances):
            assert set(found.tolist()) == set(ids[row <= 5.0].tolist())
        assert body.nodes.closest(points[0]).shape == (1,)
        assert set(body.nodes.closest(points, interface_only=True).tolist()) <= set(body.interface.ids.tolist())


def test_faces_come_as_arrays(beam):
    quads = beam.faces.of(4)
    assert quads.shape == (960, 4)
    np.testing.assert_array_equal(quads.reshape(-1), beam.faces.indices)
    np.testing.assert_array_equal(beam.nodes.ids[quads[5]], beam.faces.as_ids()[5])
    triangles = beam.faces.triangles()
    assert triangles.shape == (1920, 3)
    np.testing.assert_array_equal(triangles[:2], [quads[0][[0, 1, 2]], quads[0][[0, 2, 3]]])
    assert beam.faces.free_edges() == []


def test_statistics_are_the_largest_lengths(beam):
    shapes = beam.modes.shapes()
    lengths = np.linalg.norm(shapes, axis=2)
    peaks = beam.modes.max_displacements()
    np.testing.assert_allclose(peaks.values, lengths.max(1), rtol=1e-14)
    s = beam.stress.values()
    mises = np.sqrt(s[..., 0]**2 + s[..., 1]**2 + s[..., 2]**2 - s[..., 0] * s[..., 1] - s[..., 1] * s[..., 2]
                    - s[..., 0] * s[..., 2] + 3 * (s[..., 3:]**2).sum(-1))
    np.testing.assert_allclose(beam.stress.max_von_mises().values, mises.max(1), rtol=1e-10)


def test_loads_monitor_points_and_report_are_there(beam, sbr):
    case = beam.loads.modal[0]
    assert case.label == "GRAVITY_X" and case.values.shape == (10,)
    point = beam.monitor_points[0]
    assert len(beam.monitor_points) == 1 and point.operators[0] is None or point.operators[0].shape[1] == 10
    assert beam.loads.preload is None and beam.loads.nodal == []
    assert "Header" in beam.report(1) and "beam" in beam.report(1).lower()
    assert len(beam.report()) > 10000
    with pytest.raises(IndexError):
        beam.report(36)
    names = {block.name for block in beam.blocks}
    assert {"Header", "Nodal_coords", "Mode_shapes"} <= names


def test_blocks_have_the_sizes_of_the_file(beam, expected):
    for block in beam.blocks:
        if block.name == "Monitor Points":
            continue  # the size that the format tells is not the one that the block takes
        assert block.size == expected["beam_13c"]["blocks"][str(block.index)]["size"], block


def test_arrays_go_on_through_buffers_and_dlpack(beam):
    shapes = beam.modes.shapes("f4")
    assert memoryview(shapes).shape == shapes.shape
    np.testing.assert_array_equal(np.from_dlpack(shapes), shapes)
    view = beam.modes[7].translations
    assert memoryview(view).readonly


def test_frequencies_are_in_hertz_whatever_the_unit_of_time(beam):
    before = beam.modes.frequencies
    beam.units = "mm-kg-ms-kN"
    np.testing.assert_allclose(beam.modes.frequencies, before, rtol=1e-9)
    np.testing.assert_allclose(beam.modes.omegas, before * 2 * np.pi / 1000.0, rtol=1e-9)


def test_systems_of_units_have_the_labels_of_the_program(samples, sbr, tmp_path):
    import subprocess

    for name, units in sbrkit.SYSTEMS.items():
        out = tmp_path / f"{name}.sbr"
        subprocess.run([sbrkit.program(), "units", samples("beam_031"), out, "--to", name, "--empty"], check=True,
                       capture_output=True)
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            with sbrkit.open(out) as body:
                assert body.units == units


@pytest.mark.parametrize("name", ["beam_13c", "beam_33c", "conrod_13c"])
def test_every_table_of_the_program_is_that_of_the_accessors(name, samples, tmp_path):
    import json
    import subprocess

    subprocess.run([sbrkit.program(), "export", samples(name), "--json", tmp_path], check=True, capture_output=True)
    tables = {path.stem: json.loads(path.read_text()) for path in tmp_path.glob("*.json")}

    def table(stem):
        """The rows of a table as an array, by the order of its columns."""
        told = tables.pop(stem)
        rows = told["rows"] if isinstance(told, dict) else told
        rows = [list(row.values()) if isinstance(row, dict) else row for row in rows]
        return np.array(rows, dtype=float)

    with sbrkit.open(samples(name)) as body:
        m, n = len(body.modes), len(body.nodes)
        numbers, ids = body.modes.numbers, body.nodes.ids

        def by_mode(values, nodes):
            return np.column_stack([np.repeat(numbers, len(nodes)), np.tile(nodes, m), values.reshape(m * len(nodes), 6)])

        def by_pair(values):
            return np.column_stack([np.repeat(numbers, m), np.tile(numbers, m), values.reshape(m * m, -1)])

        modes = np.column_stack([numbers, body.modes.eigenvalues, body.modes.frequencies, body.modes.omegas,
                                 body.modes.generalized_masses, body.modes.generalized_stiffnesses])
        want = {"nodes": np.column_stack([ids, body.nodes.coordinates, body.nodes.masses]), "modes": modes,
                "interface_nodes": body.interface.ids[:, None],
                "shapes": by_mode(body.modes.shapes(rotations=True), ids)}
        for kind in ("stress", "strain"):
            if getattr(body, kind):
                want[kind] = by_mode(getattr(body, kind).values(), getattr(body, kind).ids)
        for number in (n for n in range(1, 10) if f"invariant_{n}" in tables):
            value = body.invariants[number]
            want[f"invariant_{number}"] = (
                np.column_stack([numbers, value.T]) if number in (3, 4)
                else by_pair(value.transpose(0, 2, 1)) if number == 5
                else np.column_stack([numbers, value.reshape(m, 9)]) if number == 8
                else by_pair(value) if number == 9
                else np.reshape(value, (1, -1)))
        if body.loads.modal:
            want["modal_loads"] = np.column_stack([
                np.repeat(np.arange(len(body.loads.modal)), m), np.tile(numbers, len(body.loads.modal)),
                np.concatenate([case.values for case in body.loads.modal])])
        for stem, rows in want.items():
            told = table(stem)
            if stem == "modal_loads" and told[0, 0] == 1:
                rows[:, 0] += 1  # the program counts the cases from 1
            np.testing.assert_array_equal(told, rows, err_msg=stem)
        faces = table("faces")
        np.testing.assert_array_equal(faces[:, 2], np.concatenate(body.faces.as_ids()))
        for stem, matrix in (("stiffness", body.stiffness), ("mass", body.mass_matrix), ("damping", body.damping)):
            if f"generalized_{stem}" in tables:
                np.testing.assert_array_equal(table(f"generalized_{stem}")[:, 2], matrix.entries().values)
        assert not tables, f"tables that were not compared: {sorted(tables)}"
