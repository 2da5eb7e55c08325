"""Bodies from arrays, written and read again."""

import os

import numpy as np
import pytest
import sbrkit
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp
from test_accessors import random_body


def test_a_body_from_arrays_gives_them_back(tmp_path):
    rng = np.random.default_rng(2)
    n, m = 9, 3
    data = dict(nodes=rng.normal(size=(n, 3)), shapes=rng.normal(size=(m, n, 6)), ids=np.arange(100, 100 + n),
                masses=rng.uniform(1, 2, n), faces=[[100, 101, 102], [103, 104, 105, 106]], interface=[100, 108],
                stress=rng.normal(size=(m, 4, 6)), stress_ids=[101, 103, 105, 107],
                strain=rng.normal(size=(m, n, 6)), damping=[0.1, 0.2, 0.3], units="mm-t-s-N",
                header=sbrkit.Header(title="made by hand", comments=("a", "b", "c")))
    body = sbrkit.Body.build(**data, eigenvalues=[1.0, 4.0, 9.0])

    def compare(body, rtol):
        np.testing.assert_allclose(body.nodes.coordinates, data["nodes"], rtol=rtol)
        np.testing.assert_array_equal(body.nodes.ids, data["ids"])
        np.testing.assert_allclose(body.nodes.masses, data["masses"], rtol=rtol)
        np.testing.assert_allclose(body.modes.shapes(rotations=True), data["shapes"], rtol=rtol, atol=rtol)
        np.testing.assert_array_equal(body.stress.ids, data["stress_ids"])
        np.testing.assert_allclose(body.stress.values(), data["stress"], rtol=rtol, atol=rtol)
        np.testing.assert_allclose(body.strain.values(), data["strain"], rtol=rtol, atol=rtol)
        assert [f.tolist() for f in body.faces.as_ids()] == data["faces"]
        assert body.interface.ids.tolist() == [100, 108]
        np.testing.assert_allclose(body.modes.eigenvalues, [1, 4, 9], rtol=rtol)
        np.testing.assert_allclose(body.modes.frequencies, np.array([1, 2, 3]) / (2 * np.pi), rtol=max(rtol, 1e-9))
        np.testing.assert_allclose(np.diag(body.damping.full()), [0.1, 0.2, 0.3], rtol=rtol)
        assert body.header.title == "made by hand" and body.header.comments == ("a", "b", "c")
        assert body.units == sbrkit.SYSTEMS["mm-t-s-N"]

    compare(body, 0)
    body.write(tmp_path / "double.sbr")
    with sbrkit.open(tmp_path / "double.sbr") as again:
        compare(again, 1e-14)
        assert again.modes.double_precision
    body.write(tmp_path / "single.sbr", single=True, xdr=False)
    with sbrkit.open(tmp_path / "single.sbr") as again:
        compare(again, 1e-6)
        assert not again.modes.double_precision


def test_translations_alone_have_no_rotations():
    body = sbrkit.Body.build(np.eye(3), shapes=np.ones((2, 3, 3)))
    assert body.modes.shapes(rotations=True)[..., 3:].any() == False  # noqa: E712
    assert body.modes.shapes().all()


@settings(max_examples=25, deadline=None, suppress_health_check=[HealthCheck.function_scoped_fixture])
@given(st.data())
def test_any_finite_arrays_survive_a_round_trip(tmp_path, data):
    n = data.draw(st.integers(1, 6))
    m = data.draw(st.integers(1, 3))
    finite = st.floats(-1e100, 1e100, allow_subnormal=False)
    nodes = data.draw(hnp.arrays(np.float64, (n, 3), elements=finite))
    shapes = data.draw(hnp.arrays(np.float64, (m, n, 6), elements=finite))
    ids = data.draw(st.lists(st.integers(1, 2**31 - 1), min_size=n, max_size=n, unique=True))
    body = sbrkit.Body.build(nodes, shapes, ids=ids, eigenvalues=np.arange(1.0, m + 1), masses=np.ones(n))
    body.write(tmp_path / "any.sbr", orthonormal=False)
    with sbrkit.open(tmp_path / "any.sbr") as again:
        np.testing.assert_array_equal(again.nodes.ids, ids)
        np.testing.assert_array_equal(again.nodes.coordinates, nodes)
        np.testing.assert_array_equal(again.modes.shapes(rotations=True), shapes)


@settings(max_examples=40, deadline=None)
@given(st.lists(st.lists(st.integers(1, 8), min_size=3, max_size=7, unique=True), max_size=10))
def test_faces_of_any_lengths_come_back(faces):
    body = sbrkit.Body.build(np.arange(24.0).reshape(8, 3), faces=faces)
    assert [face.tolist() for face in body.faces.as_ids()] == faces
    assert len(body.faces.triangles()) == sum(len(face) - 2 for face in faces)


@settings(max_examples=25, deadline=None)
@given(st.floats(-180, 180), hnp.arrays(np.float64, 3, elements=st.floats(-1, 1)), st.integers(0, 100))
def test_a_rotation_turns_everything(angle, axis, seed):
    if np.linalg.norm(axis) < 1e-3:
        return
    data, body = random_body(seed)
    first = np.cross(axis / np.linalg.norm(axis), np.eye(3)).T
    a = np.radians(angle)
    rotation = np.eye(3) + np.sin(a) * first + (1 - np.cos(a)) * first @ first
    mass = body.mass
    body.rotate(axis, angle)
    np.testing.assert_allclose(body.nodes.coordinates, data["nodes"] @ rotation.T, atol=1e-9)
    np.testing.assert_allclose(body.modes.shapes(), data["shapes"][..., :3] @ rotation.T, atol=1e-9)
    np.testing.assert_allclose(np.linalg.eigvalsh(body.mass.inertia), mass.principal[0], rtol=1e-8, atol=1e-9)


def test_what_is_no_array_of_the_right_kind_is_refused():
    with pytest.raises(TypeError):
        sbrkit.Body.build(np.zeros((2, 3)), ids=[1.0, 2.0])
    with pytest.raises(OverflowError):
        sbrkit.Body.build(np.zeros((1, 3)), ids=[2**31])
    with pytest.raises(ValueError):
        sbrkit.Body.build(np.zeros((2, 3)), ids=[1, 1])
    with pytest.raises(ValueError):
        sbrkit.Body.build(np.zeros((2, 2)))
    with pytest.raises(TypeError):
        sbrkit.Body.build(np.zeros((2, 3)) * 1j)
    with pytest.raises(ValueError, match="none of the nodes"):
        sbrkit.Body.build(np.zeros((2, 3)), faces=[[1, 2, 3]])
    with pytest.raises(ValueError, match="symmetric"):
        sbrkit.Body.build(np.zeros((2, 3)), np.ones((2, 2, 3)), stiffness=[[1, 2], [3, 4]])


def test_setters_reach_what_getters_give():
    _, body = random_body()
    body.loads.set_modal(0, body.modes.numbers, [1.0, 2.0, 3.0, 4.0], "push")
    body.loads.set_modal(1, [2], [5.0])
    body.loads.set_nodal(0, [1, 2], [3, 6], [7.0, 8.0])
    body.loads.set_preload([1, 3], [9.0, 10.0])
    assert body.loads.modal[0].label == "push" and body.loads.modal[0].values.tolist() == [1, 2, 3, 4]
    assert body.loads.modal[1].values.tolist() == [0, 5, 0, 0]
    nodal = body.loads.nodal[0]
    assert (nodal.nodes.tolist(), nodal.coordinates.tolist(), nodal.values.tolist()) == ([0, 1], [3, 6], [7, 8])
    assert body.loads.preload.tolist() == [9, 0, 10, 0]
    place = body.monitor_points.add("TIP", component=12, location=(1, 2, 3), label="the tip")
    body.monitor_points.set_operator(place, 1, np.arange(8.0).reshape(2, 4))
    point = body.monitor_points[place]
    assert (point.name, point.label, point.location.tolist()) == ("TIP", "the tip", [1, 2, 3])
    np.testing.assert_array_equal(point.operators[0], np.arange(8.0).reshape(2, 4))
    assert point.operators[1] is None
    op = body.operators.add("OP", ["first", "second"])
    body.operators.add_columns(op, "T1", [[1.0, 2, 3], [4, 5, 6]])
    operator = body.operators[op]
    assert operator.name == "OP" and operator.labels == ["first", "second"]
    assert operator.blocks[0][0] == "T1" and operator.blocks[0][1].tolist() == [[1, 2, 3], [4, 5, 6]]
    body.stress.set_pre(np.ones((2, 6)), [1, 2])
    body.stress.set(1, np.full((2, 6), 2.0), [1, 2])
    assert body.stress.pre.tolist() == [[1.0] * 6] * 2
    body.nodes.set_masses([1], [10.0], add=True)
    assert body.nodes[1].mass > 10.0
    body.invariants.set(1, 5.0)
    assert body.invariants[1] == 5.0 and 1 in body.invariants.stored
    body.modes.add_transformation(2 * np.eye(4))
    assert body.modes.transformation.tolist() == (2 * np.eye(4)).tolist()


def test_orthonormal_modes_diagonalize_what_was_entered():
    rng = np.random.default_rng(8)
    n = 6
    root = rng.normal(size=(4, 4))
    stiffness = root @ root.T + np.eye(4)
    shapes = rng.normal(size=(4, n, 3))
    masses = rng.uniform(1, 2, n)
    mass = np.einsum("n,inc,jnc->ij", masses, shapes, shapes)
    body = sbrkit.Body.build(rng.normal(size=(n, 3)), shapes, masses=masses, stiffness=0.5 * (stiffness + stiffness.T),
                             mass_matrix=0.5 * (mass + mass.T))
    body.modes.orthonormalize()
    from scipy.linalg import eigh

    np.testing.assert_allclose(body.modes.eigenvalues, eigh(stiffness, mass)[0], rtol=1e-9)
    new = body.modes.shapes()
    np.testing.assert_allclose(np.einsum("n,inc,jnc->ij", masses, new, new), np.eye(4), atol=1e-9)


def test_a_mode_that_is_not_announced_is_refused():
    body = sbrkit.Body.create(2, 1)
    body.nodes.set_coordinates([1, 2], np.zeros((2, 3)))
    body.modes.set(1, np.ones((2, 3)))
    with pytest.raises(sbrkit.SbrError, match="Insufficient room for mode 2"):
        body.modes.set(2, np.ones((2, 3)))


def test_linear_algebra_agrees_with_numpy():
    rng = np.random.default_rng(4)
    a, b, x = rng.normal(size=(5, 5)), rng.normal(size=(5, 5)), rng.normal(size=5)
    decomposition = sbrkit.linalg.lu(a)
    np.testing.assert_allclose(decomposition.solve(x), np.linalg.solve(a, x), rtol=1e-10)
    np.testing.assert_allclose(decomposition.invert(), np.linalg.inv(a), rtol=1e-9)
    with pytest.raises(sbrkit.SbrError, match="singular"):
        sbrkit.linalg.lu(np.zeros((3, 3)))
    b = b @ b.T + np.eye(5)
    a = a + a.T
    from scipy.linalg import eigh

    solved = sbrkit.linalg.qz(a, b)
    order = np.argsort(solved.eigenvalues.real)
    np.testing.assert_allclose(solved.eigenvalues.real[order], eigh(a, b)[0], rtol=1e-9)
    for k in range(5):
        v = solved.vectors[:, k]
        np.testing.assert_allclose(a @ v, solved.eigenvalues[k].real * (b @ v), atol=1e-9)
    r = rng.normal(size=(3, 3))
    t = rng.normal(size=(3, 3))
    v, w = rng.normal(size=3), rng.normal(size=3)
    np.testing.assert_allclose(sbrkit.linalg.multiply(r, t), r @ t)
    np.testing.assert_allclose(sbrkit.linalg.transform_tensor(t, r), r.T @ t @ r)
    np.testing.assert_allclose(sbrkit.linalg.transform_vector(v, r, -1), -(v @ r))
    np.testing.assert_allclose(sbrkit.linalg.add_cross(v, 2.0, v, w), v + 2 * np.cross(v, w))
    assert sbrkit.linalg.unit_roundoff() == 2.0**-53
    assert sbrkit.linalg.selected_mode_index(7, [1, 7, 9]) == 1


def test_a_body_without_modes_is_written_and_read(tmp_path):
    body = sbrkit.Body.build(np.eye(3), masses=[1, 2, 3], faces=[[1, 2, 3]])
    with pytest.raises(sbrkit.SbrError, match="leave the option out"):
        body.write(tmp_path / "body.sbr", orthonormal=False)
    assert not list(tmp_path.iterdir())
    body.write(tmp_path / "body.sbr")
    with sbrkit.open(tmp_path / "body.sbr") as again:
        assert len(again.modes) == 0 and again.modes.shapes().shape == (0, 3, 3) and again.modes.frequencies.shape == (0,)
        np.testing.assert_array_equal(again.nodes.coordinates, np.eye(3))


def test_values_that_are_no_numbers_are_refused_in_generalized_matrices():
    with pytest.raises(ValueError, match="no numbers"):
        sbrkit.Body.build(np.eye(3), np.ones((2, 3, 3)), eigenvalues=[np.nan, 1.0])


def test_a_record_has_the_permissions_of_new_files_or_of_what_it_replaces(tmp_path):
    _, body = random_body()
    before = os.umask(0o027)
    try:
        body.write(tmp_path / "new.sbr")
        (tmp_path / "old.sbr").touch(0o604)
        os.chmod(tmp_path / "old.sbr", 0o604)
        body.write(tmp_path / "old.sbr")
    finally:
        os.umask(before)
    assert [(tmp_path / name).stat().st_mode & 0o777 for name in ("new.sbr", "old.sbr")] == [0o640, 0o604]
    assert sorted(path.name for path in tmp_path.iterdir()) == ["new.sbr", "old.sbr"]
