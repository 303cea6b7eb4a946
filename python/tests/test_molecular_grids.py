"""Grids from molecules, against sums and distances worked out by NumPy."""

from collections.abc import Callable
from typing import TypeAlias

import numpy as np
import pytest
from numpy.typing import NDArray

import vxgrid
from conftest import SAMPLES

Array: TypeAlias = NDArray[np.float64]


def two_atoms() -> vxgrid.Molecule:
    return vxgrid.Molecule([[0.1, 0.2, 0.3], [1.5, 0.0, 0.0]], ["C", "O"], radii=[1.7, 1.5])


def places(grid: vxgrid.ScalarGrid) -> Array:
    """x, y, z of the samples, shape (nz, ny, nx, 3)."""
    axes = [(np.arange(n) - (n - 1) / 2) * grid.spacing + mid for n, mid in zip(grid.shape[::-1], grid.center)]
    z, y, x = np.meshgrid(*axes[::-1], indexing="ij")
    return np.stack([x, y, z], -1)


def gaussians(mol: vxgrid.Molecule, grid: vxgrid.ScalarGrid) -> Array:
    """2.7 exp(-w r²) of each atom, of the volume of its sphere: w = π (2.7 · 3 / 4π)^(2/3) / radius²."""
    d2 = ((places(grid)[None] - mol.coordinates[:, None, None, None]) ** 2).sum(-1)
    width = np.pi * (2.7 * 3 / (4 * np.pi)) ** (2 / 3) / mol.radii**2
    values: Array = 2.7 * np.exp(-width[:, None, None, None] * d2)
    return values


def test_gaussian_grid() -> None:
    mol = two_atoms()
    grid = vxgrid.gaussian_grid(mol, spacing=0.4)
    assert grid.spacing == pytest.approx(0.4) and grid.center == pytest.approx(mol.center)
    each = gaussians(mol, grid)
    np.testing.assert_allclose(grid.values, each.sum(0), atol=0.0025)  # each ends where it falls to 0.001
    union = vxgrid.gaussian_grid(mol, spacing=0.4, product=True)
    np.testing.assert_allclose(union.values, 1 - (1 - each).prod(0), atol=0.01)

    lattice = vxgrid.ScalarGrid(np.ones((4, 5, 6)), spacing=0.7, center=(1, 0, 0))
    for product in [False, True]:
        grid = vxgrid.gaussian_grid(mol, like=lattice, product=product)
        assert (grid.shape, grid.spacing, grid.center) == (lattice.shape, lattice.spacing, lattice.center)
        each = gaussians(mol, lattice)
        np.testing.assert_allclose(grid.values, 1 - (1 - each).prod(0) if product else each.sum(0), atol=0.01)
    assert (lattice.values == 1).all()


def test_contact_grid() -> None:
    """2 v min(u, v) / (u + v) of the two densities; a molecule far away touches nothing."""
    first, second = (vxgrid.Molecule([[x, 0.0, 0.0]], ["C"], radii=1.7) for x in (0, 2.8))
    grid = vxgrid.contact_grid(first, second, spacing=0.4)
    v, u = gaussians(first, grid)[0], gaussians(second, grid)[0]
    inside = (places(grid)[..., 0] < 2.8) & (u > 0.05) & (v > 0.05)
    expected = 2 * v * np.minimum(u, v) / (u + v)
    np.testing.assert_allclose(grid.values[inside], expected[inside], atol=0.06)  # u is interpolated
    second.translate((50, 0, 0))
    for method in ("gaussian", "spheres"):
        assert not vxgrid.contact_grid(first, second, method=method).values.any()  # type: ignore[arg-type]

    # Four atoms in a chain that ends where it began: with all bonds near, nothing touches.
    corners = 1.5 * np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]])
    ring = vxgrid.Molecule(corners, 6, bonds=[[0, 1], [1, 2], [2, 3]])
    assert vxgrid.contact_grid(ring, bond_depth=3).values.max() == pytest.approx(0, abs=1e-3)
    assert vxgrid.contact_grid(ring, bond_depth=2).values.max() > 0.5
    model = vxgrid.read_molecule(SAMPLES / "4hg7.pdb").subset(np.arange(100))
    assert vxgrid.contact_grid(model, hydrogens=False).values.any()


def test_spheres() -> None:
    centers, radii = np.array([[0.0, 0, 0], [3, 1, 0.5]]), np.array([1.5, 0.8])
    grid = vxgrid.sphere_grid(centers, radii, probe=0.3, spacing=0.25, margin=1)
    distances = np.linalg.norm(places(grid)[..., None, :] - centers, axis=-1) - (radii + 0.3)
    sure = np.abs(distances).min(-1) > 1e-4
    np.testing.assert_array_equal(grid.values[sure], (distances < 0).any(-1)[sure])
    assert 0 < grid.values.sum() < grid.values.size and distances[0].min() > 0.9

    marked = vxgrid.ScalarGrid(np.full(grid.shape, -1.0), spacing=grid.spacing, center=grid.center)
    view = marked.values
    marked.mark_spheres(centers, radii, probe=0.3, value=5)
    np.testing.assert_array_equal(view[sure] == 5, grid.values[sure] == 1)


def test_proximity() -> None:
    rng = np.random.default_rng(5)
    points, places_asked = rng.uniform(-6, 6, (200, 3)), rng.uniform(-9, 9, (500, 3))
    near = vxgrid.ProximityGrid(points, 1.5, probe=0.5, spacing=0.5, margin=1)
    indices, starts = near.near(places_asked)
    assert len(near) == 200 and starts.shape == (501,) and starts[-1] == len(indices) > 0
    cells = np.array(near.cells.shape[::-1])
    low = np.array(near.center) - (cells - 1) / 2 * near.spacing
    for i, place in enumerate(places_asked):
        cell = np.trunc((place - low + near.spacing / 2) / near.spacing)
        distances = np.linalg.norm(low + cell * near.spacing - points, axis=1)
        found = indices[starts[i] : starts[i + 1]].tolist()
        assert found == sorted(found, reverse=True)
        if ((cell >= 0) & (cell < cells)).all():
            assert set(found) >= set(np.flatnonzero(distances < 1.999))
            assert set(found) <= set(np.flatnonzero(distances < 2.001))
        else:
            assert not found
    with pytest.raises(ValueError, match="read-only"):
        near.cells[0, 0, 0] = 1

    lattice = vxgrid.ScalarGrid(np.zeros((9, 10, 11)))
    masked = vxgrid.ProximityGrid(points, 1.5, like=lattice, mask_points=[[0, 0, 0]], mask_radii=3)
    assert masked.cells.shape == lattice.shape and masked.cells.any()
    assert not masked.cells[np.linalg.norm(places(lattice), axis=-1) < 2.99].any()


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda: vxgrid.gaussian_grid(two_atoms(), spacing=0), ValueError, "spacing: a number of Å above 0"),
        (lambda: vxgrid.gaussian_grid(two_atoms(), spacing=1e-4), ValueError, "2147483647"),
        (lambda: vxgrid.contact_grid(two_atoms(), two_atoms(), spacing=1e-4), ValueError, "2147483647"),
        (lambda: vxgrid.gaussian_grid(vxgrid.Molecule(np.zeros((0, 3)), [])), ValueError, "no atoms"),
        (lambda: vxgrid.gaussian_grid(None), TypeError, "incompatible function arguments"),  # type: ignore[arg-type]
        (lambda: vxgrid.contact_grid(two_atoms(), bond_depth=-1), ValueError, "bond_depth"),
        (lambda: vxgrid.contact_grid(two_atoms(), method="x"), ValueError, "method"),  # type: ignore[arg-type]
        (lambda: vxgrid.sphere_grid(np.zeros((0, 3)), []), ValueError, "one sphere at least"),
        (lambda: vxgrid.sphere_grid([[0, 0, 0]], [1, 2]), ValueError, "radii: an array of shape (1,)"),
        (lambda: vxgrid.sphere_grid([[0, 0, np.nan]], 1), ValueError, "centers: finite numbers"),
        (lambda: vxgrid.sphere_grid(np.diag([1e9, 0, 0]), 1), vxgrid.Error, "no grid can hold"),
        (lambda: vxgrid.ProximityGrid(np.diag([1e9, 0, 0]), 1), vxgrid.Error, "no room for a lattice"),
        (lambda: vxgrid.ProximityGrid([[0, 0, 0]], mask_points=[[0, 0, 0]]), ValueError, "like= is wanted"),
        (lambda: vxgrid.ProximityGrid([[0, 0, 0]], 1).near([0, 0, 0]), ValueError, "points: an array of shape (n, 3)"),
    ],
)
def test_refuses_and_says_why(make: Callable[[], object], error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        make()
    assert says in str(raised.value)
