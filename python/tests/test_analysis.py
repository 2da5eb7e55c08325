"""MAC, effective masses and reduction against NumPy, SciPy and closed forms."""

import numpy as np
import pytest
import sbrkit
import scipy.sparse as sparse
from scipy.linalg import eigh
from test_accessors import random_body


def test_mac_is_its_definition(samples):
    rng = np.random.default_rng(1)
    a, b = rng.normal(size=(3, 7, 3)), rng.normal(size=(4, 7, 3))
    result = sbrkit.mac(a, b)
    for i in range(3):
        for j in range(4):
            want = (a[i] * b[j]).sum() ** 2 / ((a[i] ** 2).sum() * (b[j] ** 2).sum())
            assert result.values[i, j] == pytest.approx(want, rel=1e-12)
    with sbrkit.open(samples("beam_13c")) as double, sbrkit.open(samples("beam_33c")) as single:
        same = sbrkit.mac(double, single)
        np.testing.assert_allclose(np.diag(same.values), 1.0, atol=1e-9)
        assert [(p[0], p[1]) for p in same.pairs()] == [(n, n) for n in range(1, 11)]
        assert sbrkit.mac(double.modes[7:9]).values.shape == (2, 2)
        single.units = "SI"
        np.testing.assert_allclose(sbrkit.mac(double, single).values, same.values, atol=1e-9)
        single.rotate([0, 0, 1], 90)
        with pytest.raises(ValueError, match="apart"):
            sbrkit.mac(double, single)


def test_mac_takes_the_nodes_in_common():
    data, body = random_body(nodes=6)
    part = sbrkit.Body.build(data["nodes"][2:], data["shapes"][:, 2:], ids=[3, 4, 5, 6])
    np.testing.assert_allclose(np.diag(sbrkit.mac(body, part).values), 1.0)
    other = sbrkit.Body.build(np.zeros((1, 3)), np.ones((1, 1, 3)), ids=[99])
    with pytest.raises(ValueError, match="no node in common"):
        sbrkit.mac(body, other)


def orthonormal_free_body(n=8, seed=0):
    """A spring lattice of point masses with all its modes."""
    rng = np.random.default_rng(seed)
    places = rng.normal(size=(n, 3))
    masses = rng.uniform(1, 2, n)
    stiffness = np.zeros((3 * n, 3 * n))
    for i in range(n):
        for j in range(i):
            d = places[i] - places[j]
            k = np.outer(d, d) / (d @ d)
            for p, q, sign in ((i, i, 1), (j, j, 1), (i, j, -1), (j, i, -1)):
                stiffness[3 * p: 3 * p + 3, 3 * q: 3 * q + 3] += sign * k
    mass = np.repeat(masses, 3)
    values, vectors = eigh(stiffness, np.diag(mass))
    return places, masses, stiffness, np.diag(mass), values, vectors


def test_effective_masses_of_all_modes_add_up_to_the_body():
    places, masses, _, _, values, vectors = orthonormal_free_body()
    body = sbrkit.Body.build(places, vectors.T.reshape(-1, len(places), 3), eigenvalues=np.maximum(values, 0), masses=masses)
    result = sbrkit.effective_mass(body)
    np.testing.assert_allclose(result.values.sum(0), result.total, rtol=1e-9)
    np.testing.assert_allclose(result.total[:3], masses.sum(), rtol=1e-12)
    inertia = body.mass.inertia
    np.testing.assert_allclose(result.total[3:], np.diag(inertia), rtol=1e-9)
    np.testing.assert_allclose(result.fractions[6:], 0.0, atol=1e-9)
    some = sbrkit.effective_mass(body.modes[:4], about=[0, 0, 0])
    assert some.values.shape == (3, 6)


def test_effective_masses_refuse_what_would_be_wrong():
    data, _ = random_body()
    skewed = sbrkit.Body.build(**data, stiffness=np.eye(4), mass_matrix=np.eye(4) + 0.1)
    with pytest.raises(sbrkit.SbrError, match="not orthogonal"):
        sbrkit.effective_mass(skewed)
    light = sbrkit.Body.build(data["nodes"], data["shapes"], eigenvalues=np.ones(4))
    with pytest.raises(sbrkit.SbrError, match="no masses"):
        sbrkit.effective_mass(light)


def spring_chain(n):
    k = sparse.diags([-np.ones(n - 1), np.r_[1.0, 2 * np.ones(n - 2), 1.0], -np.ones(n - 1)], [-1, 0, 1])
    return k.tocsr(), sparse.identity(n).tocsr()


def test_all_normal_modes_keep_the_model_whole():
    k, m = spring_chain(30)
    reduction = sbrkit.craig_bampton(k, m, [0, 29], normal=28)
    np.testing.assert_allclose(reduction.modes()[0], eigh(k.toarray(), m.toarray())[0], atol=1e-10)


@pytest.mark.parametrize("n", [60, 600])
def test_a_reduction_is_that_of_the_closed_form(n):
    k, m = spring_chain(n)
    reduction = sbrkit.craig_bampton(k, m, [0, n - 1], normal=5)
    # Fixed at both ends, a chain of n - 2 masses has these frequencies.
    want = 2 * np.sin(np.arange(1, 6) * np.pi / (2 * (n - 1))) / (2 * np.pi)
    np.testing.assert_allclose(reduction.normal_frequencies, want, rtol=1e-9)
    np.testing.assert_allclose(reduction.stiffness[:2, :2], np.array([[1, -1], [-1, 1]]) / (n - 1), atol=1e-10)
    np.testing.assert_allclose(reduction.stiffness[:2, 2:], 0, atol=1e-9)
    np.testing.assert_allclose(reduction.mass[2:, 2:], np.eye(5), atol=1e-9)
    free = 2 * np.sin(np.arange(3) * np.pi / (2 * n)) / (2 * np.pi)
    np.testing.assert_allclose(np.abs(reduction.frequencies[:3]), free, rtol=5e-3, atol=1e-5)
    fewer = sbrkit.craig_bampton(k, m, [0, n - 1], normal=5, max_hz=want[2])
    assert len(fewer.normal_frequencies) in (2, 3) and "normal modes" in repr(fewer)


def test_a_reduction_refuses_what_it_cannot_do():
    k, m = spring_chain(10)
    with pytest.raises(np.linalg.LinAlgError, match="singular"):
        sbrkit.craig_bampton(k, m, [])
    for bad in ([0, 0], [10], [-1]):
        with pytest.raises(ValueError):
            sbrkit.craig_bampton(k, m, bad)
    with pytest.raises(ValueError, match="symmetric"):
        sbrkit.craig_bampton(np.triu(np.ones((3, 3))), np.eye(3), [0])
    with pytest.raises(ValueError, match="finite"):
        sbrkit.craig_bampton(np.diag([1.0, np.nan]), np.eye(2), [0])
    with pytest.raises(ValueError, match="normal modes"):
        sbrkit.craig_bampton(k, m, [0], normal=10)


def test_from_matrices_to_a_record(tmp_path):
    places, masses, k, m, values, _ = orthonormal_free_body()
    reduction = sbrkit.craig_bampton(k, m, range(6), normal=18)
    body = reduction.to_body(places, masses=masses, interface=[1, 2])
    body.write(tmp_path / "lattice.sbr", invariants="full")
    with sbrkit.open(tmp_path / "lattice.sbr") as again:
        np.testing.assert_allclose(again.modes.eigenvalues[6:], values[6:], rtol=1e-8)
        assert again.modes.rigid_count == 6
        assert again.mass.mass == pytest.approx(masses.sum())


def test_results_are_tables(samples):
    pandas = pytest.importorskip("pandas")
    with sbrkit.open(samples("beam_13c")) as body:
        for result in (sbrkit.mac(body), sbrkit.effective_mass(body), body.modes, body.nodes, body.mass):
            frame = result.to_pandas()
            assert isinstance(frame, pandas.DataFrame) and len(frame)
            assert "<table>" in result._repr_html_() and len(repr(result).splitlines()) > 3
        assert body.modes.to_pandas()["Hz"].tolist() == body.modes.frequencies.tolist()
        assert "beam" in body._repr_html_()
        mesh = pytest.importorskip("meshio")
        made = body.to_meshio()
        assert isinstance(made, mesh.Mesh) and len(made.cells_dict["quad"]) == 960
        np.testing.assert_array_equal(made.point_data["mode_7"], body.modes[7].translations)


def test_the_surface_goes_to_vtk(samples):
    vtk_to_numpy = pytest.importorskip("vtkmodules.util.numpy_support").vtk_to_numpy
    with sbrkit.open(samples("beam_13c")) as body:
        surface = body.to_vtk()
        assert surface.GetNumberOfPoints() == 1221 and surface.GetNumberOfPolys() == 960
        np.testing.assert_array_equal(vtk_to_numpy(surface.GetPoints().GetData()), body.nodes.coordinates)
        faces = body.faces.as_ids()
        for f in (0, 500, 959):
            points = surface.GetCell(f).GetPointIds()
            corners = [points.GetId(k) for k in range(points.GetNumberOfIds())]
            assert body.nodes.ids[corners].tolist() == faces[f].tolist()
        data = surface.GetPointData()
        assert data.GetNumberOfArrays() == 2 + len(body.modes)
        for name, wanted in (("node_id", body.nodes.ids), ("mass", body.nodes.masses),
                             ("mode_10", body.modes[10].translations)):
            np.testing.assert_array_equal(vtk_to_numpy(data.GetArray(name)), wanted)
        assert body.to_vtk(modes=False).GetPointData().GetNumberOfArrays() == 2


def test_plots_show_the_figures(samples):
    pytest.importorskip("matplotlib")
    with sbrkit.open(samples("beam_13c")) as body:
        bars = body.plot.frequencies().patches
        np.testing.assert_allclose([bar.get_height() for bar in bars], body.modes.frequencies)
        image = body.plot.mac().images[0]
        np.testing.assert_allclose(image.get_array(), sbrkit.mac(body).values)
        axes = body.plot.effective_mass()
        assert len(axes.lines) == 6 and axes.lines[0].get_ydata()[-1] == pytest.approx(1.0, abs=0.01)


def test_a_title_with_dollar_signs_is_no_formula():
    pytest.importorskip("matplotlib")
    _, body = random_body()
    for title in (r"a $\nope$ b", "5 $"):
        body.header = sbrkit.Header(title=title)
        axes = body.plot.frequencies()
        axes.figure.canvas.draw()
        assert axes.get_title().replace(r"\$", "$") == title


def test_mac_takes_values_of_any_size_and_tells_those_that_are_no_numbers():
    base = np.array([[1.0, 2.0, 0.0], [0.0, 1.0, -1.0]])
    want = sbrkit.mac(base).values
    np.testing.assert_allclose(want, [[1.0, 4 / 10], [4 / 10, 1.0]], rtol=1e-12)
    for scale in (1e200, 1e-200, 5e-324 * 2**52, 1e308 / 2):
        np.testing.assert_allclose(sbrkit.mac(base, base * scale).values, want, rtol=1e-6)
    odd = np.array([[1.0, np.nan, 0.0], [np.inf, 1.0, 0.0], [0.0, 0.0, 0.0], [1.0, 2.0, 0.0]])
    with np.errstate(all="raise"):
        values = sbrkit.mac(base, odd).values
    assert np.isnan(values[:, :2]).all()
    np.testing.assert_allclose(values[:, 2:], [[0.0, 1.0], [0.0, 0.4]], rtol=1e-12)
    assert sbrkit.mac(sbrkit.Body.build(np.eye(3))).values.shape == (0, 0)
