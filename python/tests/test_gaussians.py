"""Gaussians: the container, fields, fits and overlaps; volumes and shapes of molecules."""

import pickle
from collections.abc import Callable
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from typing import Literal

import numpy as np
import pytest
from conftest import SAMPLES
from numpy.typing import NDArray

import vxgrid

RNG = np.random.default_rng(5)
TURN = np.linalg.qr(RNG.normal(size=(3, 3)))[0]
TURN *= np.sign(np.linalg.det(TURN))


def three() -> vxgrid.Gaussians:
    return vxgrid.Gaussians(
        [[0.0, 0, 0], [1, 0.5, -1], [-1.5, 1, 2]], prefactors=[1, 2, 0.5], widths=[0.6, 1.1, 0.8], colors=[0, 7, 2**32 - 1]
    )


def value(gaussians: vxgrid.Gaussians, points: NDArray[np.float64]) -> NDArray[np.float64]:
    squares = ((points[..., None, :] - gaussians.centers.astype(float)) ** 2).sum(-1)
    return np.asarray((gaussians.prefactors * np.exp(-gaussians.widths * squares)).sum(-1))


def ligand() -> vxgrid.Molecule:
    return vxgrid.read_molecule(SAMPLES / "ligands.sdf")


def test_prefactor_width_and_radius_go_together() -> None:
    radii = np.array([1.0, 1.7, 2.5])
    kappa = vxgrid.gaussian_kappa([[2.7], [1.0]])
    widths = vxgrid.gaussian_width(kappa, radii)
    assert widths.shape == (2, 3)
    volumes = np.array([[2.7], [1.0]]) * (np.pi / widths) ** 1.5  # the integral of p exp(-a r^2)
    assert volumes == pytest.approx(np.tile(4 / 3 * np.pi * radii**3, (2, 1)))
    assert vxgrid.gaussian_radius([[2.7], [1.0]], widths) == pytest.approx(np.tile(radii, (2, 1)))
    assert isinstance(vxgrid.gaussian_prefactor(2.0), float) and vxgrid.gaussian_prefactor(kappa) == pytest.approx(
        np.array([[2.7], [1.0]])
    )
    reach = vxgrid.gaussian_reach(2.7, 0.5, cutoff=0.01)
    assert 2.7 * np.exp(-0.5 * reach**2) == pytest.approx(0.01, rel=1e-5)
    assert vxgrid.gaussian_reach(0.001, 0.5, cutoff=0.01) == 0


def test_arrays_index_and_moves() -> None:
    set_of_3 = three()
    assert len(set_of_3) == 3 and "3, prefactor 0.5 to 2, width 0.6 to 1.1" in repr(set_of_3)
    with pytest.raises(ValueError, match="read-only"):
        set_of_3.centers[0] = 1
    set_of_3.widths = 2
    set_of_3.centers = set_of_3.centers + [0, 0, 1]
    assert (set_of_3.widths == 2).all() and set_of_3.centers[1].tolist() == [1, 0.5, 0]
    assert set_of_3.radii == pytest.approx(vxgrid.gaussian_radius([1, 2, 0.5], 2))
    assert set_of_3[set_of_3.prefactors < 2].colors.tolist() == [0, 2**32 - 1]
    assert set_of_3[::-1].prefactors.tolist() == [0.5, 2, 1] and set_of_3[-1].centers.tolist() == [[-1.5, 1, 3]]
    assert (set_of_3 + three()).widths.tolist() == pytest.approx([2, 2, 2, 0.6, 1.1, 0.8])
    moved = three()
    moved.rotate(TURN)
    moved.translate([1, 2, 3])
    assert moved.centers == pytest.approx(three().centers @ TURN.T + [1, 2, 3], abs=1e-6)
    assert len(vxgrid.Gaussians(np.empty((0, 3)), widths=1)) == 0


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda: vxgrid.Gaussians([0, 0, 0], widths=1), ValueError, "centers: an array of shape (n, 3)"),
        (lambda: vxgrid.Gaussians([[0, 0, np.nan]], widths=1), ValueError, "row 0 has nan"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]]), TypeError, "either widths or radii"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]], widths=1, radii=1), TypeError, "both came"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]], widths=[1, 2]), ValueError, "shape (1,) was wanted, (2,) came"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]], widths=0), ValueError, "widths: numbers of Å⁻² above 0"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]], widths=1, colors=-1), ValueError, "colors: whole numbers"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]], widths=1, colors=2**32), ValueError, "4294967296"),
        (lambda: vxgrid.Gaussians([[0, 0, 0]], radii=1e-30), ValueError, "widths above 0"),
        (lambda: three()[3], IndexError, "out of bounds"),
        (lambda: three().rotate(np.eye(4)), ValueError, "shape (3, 3) was wanted, (4, 4) came"),
        (lambda: three().to_grid(spacing=0), ValueError, "spacing"),
        (lambda: three()[:0].to_grid(), ValueError, "no Gaussians"),
        (lambda: three().to_grid(spacing=1e-6), vxgrid.Error, ""),
        (lambda: three().to_grid(like=vxgrid.ScalarGrid([[[1]]])), ValueError, "two samples"),
        (lambda: vxgrid.Gaussians.fit(np.zeros((3, 3, 3))), TypeError, "ndarray came"),  # type: ignore[arg-type]
        (lambda: vxgrid.Gaussians.fit(vxgrid.ScalarGrid(np.full((3, 3, 3), np.nan))), ValueError, "finite values"),
        (lambda: vxgrid.Gaussians.fit(three().to_grid(), levels=0), ValueError, "levels"),
        (lambda: vxgrid.gaussian_width("a", 1), TypeError, "kappa: an array of numbers"),
        (lambda: vxgrid.gaussian_width([1, 2], [1, 2, 3]), ValueError, "broadcast"),
        (
            lambda: vxgrid.molecular_volume(ligand(), level="all"),  # type: ignore[arg-type]
            ValueError,
            '"full" was wanted, "all" came',
        ),
        (lambda: vxgrid.molecular_volume(ligand(), vmin=0), ValueError, "vmin"),
        (lambda: vxgrid.molecular_volume(vxgrid.Molecule(np.empty((0, 3)), [])), vxgrid.Error, "no atom"),
        (lambda: vxgrid.shape_moments(vxgrid.Molecule([[0, 0, 0]], ["X"])), vxgrid.Error, "no atom"),
        (lambda: vxgrid.Gaussians.from_molecule(vxgrid.Molecule([[0, 0, 0]], ["X"])), ValueError, "atom 0 has 0.0"),
    ],
)
def test_refuses_and_says_why(make: Callable[[], object], error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        make()
    assert says in str(raised.value)


def test_pickles_and_what_is_left_of_them() -> None:
    given = three()
    given.attributes["name"] = "three"
    back = pickle.loads(pickle.dumps(given))
    for column in ["centers", "prefactors", "widths", "colors"]:
        assert (getattr(back, column) == getattr(given, column)).all()
    assert dict(back.attributes) == {"name": "three"}
    whole = given.to_bytes()
    for length in range(len(whole)):
        with pytest.raises(ValueError, match="data: "):
            vxgrid.Gaussians.from_bytes(whole[:length])
    for other in [whole + b"x", b"\0\x07VXOther\x01a"]:
        with pytest.raises(ValueError, match="data: "):
            vxgrid.Gaussians.from_bytes(other)


def test_field_is_the_sum() -> None:
    # Each Gaussian ends where it falls to 0.001, so three of them lack at most 0.003.
    points = np.stack(np.meshgrid(*[np.arange(-4, 4.5, 0.5)] * 3, indexing="ij")[::-1], -1)
    like = three().to_grid(like=vxgrid.ScalarGrid(np.ones((17, 17, 17)), spacing=0.5))
    assert np.abs(like.values - value(three(), points)).max() < 0.003
    grid = three().to_grid(spacing=0.4)
    integral = (three().prefactors * (np.pi / three().widths) ** 1.5).sum()
    assert grid.spacing == pytest.approx(0.4) and grid.values.sum() * 0.4**3 == pytest.approx(integral, rel=0.01)


def test_fit_finds_what_the_density_is_made_of() -> None:
    radii = np.array([3.2, 2.2])  # both are in the dictionary
    given = vxgrid.Gaussians([[0, 0, 0], [6, 0, 0]], radii=radii)
    told: list[tuple[int, int]] = []
    found = vxgrid.Gaussians.fit(
        given.to_grid(like=vxgrid.ScalarGrid(np.zeros((25, 25, 37)), spacing=0.5, center=(3, 0, 0))),
        max_gaussians=2,
        progress=lambda done, total: told.append((done, total)),
    )
    assert told == [(0, 2), (1, 2), (2, 2)]
    assert found.centers == pytest.approx(given.centers, abs=1e-5)
    assert found.widths == pytest.approx(given.widths, rel=1e-5)
    assert found.prefactors == pytest.approx(given.prefactors, rel=0.1)  # they overlap

    def stop(done: int, total: int) -> None:
        raise KeyError(total)

    with pytest.raises(KeyError, match="1000"):
        vxgrid.Gaussians.fit(three().to_grid(), progress=stop)
    assert len(vxgrid.Gaussians.fit(vxgrid.ScalarGrid(np.zeros((5, 5, 5))))) == 0
    whole = vxgrid.Gaussians.fit(ligand(), tolerance=1e-3)
    assert 5 < len(whole) < len(vxgrid.Gaussians.fit(ligand(), tolerance=1e-4))


def test_overlaps() -> None:
    a, b = three(), three()
    b.rotate(TURN)
    # The integral of a product of two is p q (pi / (a + b))^(3/2) exp(-a b / (a + b) d^2).
    total = a.widths[:, None] + b.widths.astype(float)
    squares = ((a.centers[:, None].astype(float) - b.centers) ** 2).sum(-1)
    pairs = np.outer(a.prefactors, b.prefactors) * (np.pi / total) ** 1.5
    assert a.overlap(b) == pytest.approx((pairs * np.exp(-np.outer(a.widths, b.widths) / total * squares)).sum(), rel=1e-5)
    step = np.zeros((3, 3))
    step[1, 2] = 0.05
    ahead, behind = three(), three()
    ahead.centers = a.centers + step
    behind.centers = a.centers - step
    assert a.overlap_gradient(b)[1, 2] == pytest.approx((ahead.overlap(b) - behind.overlap(b)) / 0.1, rel=5e-3)

    # Ligands by radii after Bondi; the value is of another program, a sum over pairs in double precision.
    heavy = []
    for molecule in vxgrid.read_molecules(SAMPLES / "ligands.sdf"):
        heavy.append(vxgrid.Gaussians.from_molecule(molecule)[molecule.atomic_numbers != 1])
    shared = heavy[0].overlap(heavy[1])
    assert shared == pytest.approx(654.5, abs=0.05)
    assert shared / (heavy[0].overlap(heavy[0]) + heavy[1].overlap(heavy[1]) - shared) == pytest.approx(0.892, abs=5e-4)


LEVELS: tuple[Literal["atoms", "bonds", "full"], ...] = ("atoms", "bonds", "full")


def test_volumes_by_level() -> None:
    spheres = 4 / 3 * np.pi * np.array([1.7, 1.5]) ** 3
    pair = vxgrid.Molecule([[0.0, 0, 0], [1.2, 0, 0]], [6, 8], bonds=[(0, 1)], radii=[1.7, 1.5])
    gaussians = vxgrid.Gaussians.from_molecule(pair)
    shared = gaussians[0].overlap(gaussians[1])
    assert vxgrid.molecular_volume(pair, level="atoms") == pytest.approx(spheres.sum(), rel=1e-5)
    assert vxgrid.molecular_volume(pair, level="bonds") == pytest.approx(spheres.sum() - shared, rel=1e-5)
    # The full level looks volumes up in tables of 1,000 steps from vmin to the largest sphere.
    assert vxgrid.molecular_volume(pair) == pytest.approx(spheres.sum() - shared, rel=5e-3)
    hydrogen = vxgrid.Molecule([[0, 0, 0], [9, 0, 0]], ["C", "H"], radii=[1.7, 1.0])
    assert vxgrid.molecular_volume(hydrogen) == pytest.approx(spheres[0], rel=2e-3)
    assert vxgrid.molecular_volume(hydrogen, hydrogens=True) == pytest.approx(spheres[0] + 4 / 3 * np.pi, rel=2e-3)

    for level in LEVELS:
        rows = vxgrid.gaussian_expansion(ligand(), level=level)
        signs = np.where(rows["order"] % 2, -1, 1)
        assert (signs * np.abs(rows["volume"].astype(float))).sum() == pytest.approx(
            vxgrid.molecular_volume(ligand(), level=level), rel=1e-5
        )
        molecule = ligand()
        atoms = rows[rows["order"] == 0]
        assert (atoms["center"] == molecule.coordinates[molecule.atomic_numbers != 1]).all()
    assert len(vxgrid.gaussian_expansion(ligand(), vmin=0.001)) > len(rows) > len(atoms)


def test_moments_follow_the_molecule() -> None:
    still = vxgrid.shape_moments(ligand(), level="bonds")
    turned = ligand()
    turned.coordinates = turned.coordinates @ TURN.T + [300, -200, 100]
    moved = vxgrid.shape_moments(turned, level="bonds")
    assert moved.volume == pytest.approx(still.volume, rel=1e-4) and moved.second == pytest.approx(still.second, rel=1e-3)
    assert moved.third == pytest.approx(still.third, abs=1e-2 * np.abs(still.third).max())
    assert moved.center == pytest.approx(TURN @ still.center + [300, -200, 100], abs=1e-3)
    assert moved.axes == pytest.approx(still.axes @ TURN.T, abs=2e-3)
    assert still.axes @ still.axes.T == pytest.approx(np.eye(3), abs=1e-5) and np.linalg.det(still.axes) > 0

    # The definition, by the rows of the expansion in the frame.
    rows = vxgrid.gaussian_expansion(ligand(), level="bonds")
    weights = np.where(rows["order"] % 2, -1, 1) * rows["volume"] / still.volume
    place = (rows["center"] - still.center) @ still.axes.T
    assert (weights[:, None] * (place**2 + 0.5 / rows["width"][:, None])).sum(0) == pytest.approx(still.second, rel=1e-3)
    xyz = (weights * place.prod(1)).sum()
    assert xyz == pytest.approx(still.third[9], abs=2e-3 * np.abs(still.third).max())
    irreducible = vxgrid.shape_moments(ligand(), level="bonds", irreducible=True).third
    assert irreducible[0] == pytest.approx(still.third[[0, 5, 7]].sum(), rel=1e-4)


def measure(molecule: vxgrid.Molecule) -> tuple[float, bytes]:
    return vxgrid.molecular_volume(molecule), vxgrid.shape_moments(molecule, hydrogens=True).third.tobytes()


def test_threads_and_processes_get_the_same_bits() -> None:
    molecules = [*vxgrid.read_molecules(SAMPLES / "ligands.sdf")] * 5
    expected = [measure(molecule) for molecule in molecules]
    with ThreadPoolExecutor(4) as threads, ProcessPoolExecutor(2) as processes:
        assert [*threads.map(measure, molecules)] == [*processes.map(measure, molecules)] == expected
