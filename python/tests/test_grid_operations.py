"""Operations on grids: values between samples, other lattices, masks, contours, skeletons, pictures."""

import re
import struct
import warnings
import zlib
from base64 import b64decode
from collections.abc import Callable
from typing import Literal

import numpy as np
import pytest
from numpy.typing import NDArray

import vxgrid
from vxgrid import _display

RANDOM = np.random.default_rng(3)
CELL = (12.0, 14.0, 18.0, 75.0, 98.0, 110.0)


def scalar(shape: tuple[int, int, int] = (9, 8, 7), spacing: float = 0.5) -> vxgrid.ScalarGrid:
    return vxgrid.ScalarGrid(RANDOM.normal(size=shape), spacing=spacing, center=(1, 2, 3), title="noise")


def oblique(periodic: bool = False) -> vxgrid.SkewGrid:
    values = RANDOM.normal(size=(19, 15, 13))
    values[-1], values[:, -1], values[:, :, -1] = values[0], values[:, 0], values[:, :, 0]
    return vxgrid.SkewGrid(values, cell=CELL, intervals=(12, 14, 18), space_group=1, periodic=periodic)


def inside(grid: vxgrid.Grid, n: int, margin: float = 0.0) -> NDArray[np.float64]:
    """Random places, as fractional indices (z, y, x)."""
    return RANDOM.uniform(margin, np.array(grid.shape) - 1 - margin, size=(n, 3))


@pytest.mark.parametrize("make", [scalar, oblique, lambda: vxgrid.MultiGrid(oblique())])
def test_interpolates_as_scipy_does(make: Callable[[], vxgrid.Grid]) -> None:
    ndimage = pytest.importorskip("scipy.ndimage")
    grid = make()
    rows: list[tuple[Literal["linear", "nearest"], int, float]] = [("linear", 1, 0), ("nearest", 0, 0.01)]
    for method, order, margin in rows:
        indices = inside(grid, 2000, margin)
        indices = indices[np.all(np.abs(indices % 1 - 0.5) > 1e-3, axis=1)]  # a tie between samples is nobody's
        expected = ndimage.map_coordinates(grid.values, indices.T, order=order)
        for kind in (np.float32, np.float64):
            points = grid.to_positions(indices).astype(kind)
            assert np.allclose(grid.interpolate(points, method), expected, atol=1e-4)
    # The quadratic kind is a B-spline whose coefficients are the values themselves.
    indices = inside(grid, 2000, 0.5)
    expected = ndimage.map_coordinates(grid.values, indices.T, order=2, prefilter=False)
    assert np.allclose(grid.interpolate(grid.to_positions(indices), "quadratic"), expected, atol=1e-4)


def test_periodic_maps_repeat() -> None:
    grid = oblique(periodic=True)
    points = grid.to_positions(inside(grid, 500))
    assert grid.cell is not None
    moved = points + np.array([2, -1, 1]) @ grid.cell.frac2cart.T
    methods: list[Literal["linear", "quadratic"]] = ["linear", "quadratic"]
    for method in methods:
        assert np.allclose(grid.interpolate(moved, method), grid.interpolate(points, method), atol=2e-3)
    assert np.isnan(grid.interpolate([np.nan, 0, 0]))
    closed = np.pad(grid.values[:-1, :-1, :-1], (0, 1), "wrap")
    assert vxgrid.SkewGrid(closed, cell=CELL, periodic=True).intervals == grid.intervals


def test_points_of_any_shape_and_type() -> None:
    grid = scalar()
    points = grid.positions()
    assert np.allclose(grid.interpolate(points), grid.values, atol=1e-5)
    for given in (points[::-1, ::2], points.astype(np.float16), points.astype(">f8"), points.tolist()):
        assert np.allclose(grid.interpolate(given), grid.interpolate(np.array(given, dtype=np.float32)), equal_nan=True)
    assert grid.interpolate(np.zeros((0, 3))).shape == (0,) and grid.interpolate([1, 2, 3]).shape == ()
    assert np.isnan(grid.interpolate([99, 0, 0])) and grid.interpolate([99, 0, 0], outside=-1) == -1


def test_gradients_of_a_quadratic_field() -> None:
    grid = vxgrid.ScalarGrid.zeros((20, 20, 20), spacing=0.5, center=(1, 2, 3))
    x, y, z = np.moveaxis(grid.positions(), -1, 0)
    grid.values = x * y + 2 * z
    points = RANDOM.uniform((-3, -2, -1), (5, 6, 7), size=(200, 3))
    expected = np.stack([points[:, 1], points[:, 0], np.full(200, 2)], axis=-1)
    methods: list[tuple[Literal["linear", "quadratic"], float]] = [("quadratic", 1e-3), ("linear", 0.3)]
    for method, within in methods:
        values, gradients = grid.interpolate_with_gradients(points, method)
        assert np.allclose(values, points[:, 0] * points[:, 1] + 2 * points[:, 2], atol=0.1)
        assert np.allclose(gradients, expected, atol=within)


def test_other_lattices_hold_the_interpolated_values() -> None:
    grids: list[vxgrid.ScalarGrid | vxgrid.SkewGrid] = [scalar(), oblique(), oblique(periodic=True)]
    for grid in grids:
        lower, upper = np.array(grid.extents) * 0.6 + np.mean(grid.extents, axis=0) * 0.4
        box = grid.subgrid(lower, upper, 0.7)
        values = grid.interpolate(box.positions(), outside=0)
        assert box.spacing == np.float32(0.7) and np.allclose(box.values, values, atol=2e-3)
        assert np.all(np.abs(np.array(box.extents) - (lower, upper)) < 0.36)
    coarse = scalar()
    finer = coarse.regular(0.2)
    assert np.allclose(finer.values, coarse.interpolate(finer.positions()), atol=1e-3) and finer.title == "noise"
    assert np.array_equal(coarse.regular().values, coarse.values)
    regular = oblique(periodic=True).regular(0.5)
    assert isinstance(regular, vxgrid.ScalarGrid) and regular.spacing == 0.5 and regular.values.std() > 0.3


def test_fill_from_leaves_what_lies_outside() -> None:
    source, target = scalar(), vxgrid.ScalarGrid(np.full((12, 12, 12), 7), spacing=0.55, center=(1, 2, 3))
    target.fill_from(source)
    expected = source.interpolate(target.positions(), outside=7)
    assert np.allclose(target.values, expected, atol=1e-3) and 7 in target.values
    target.values = 7
    target.fill_from(source, region="faces")
    assert np.all(target.values == 7)


def test_grids_of_different_boxes_merge() -> None:
    big = vxgrid.ScalarGrid(np.ones((10, 10, 10)), spacing=0.5)
    small = vxgrid.ScalarGrid(np.full((4, 4, 4), 3), spacing=0.5, center=(2, 0, 0))
    big.add(small)
    assert np.all(big.values[3:7, 3:7, 7:] == 4) and big.values.sum() == 1000 + 3 * 4 * 4 * 3
    big.subtract(small)
    assert np.all(big.values == 1)
    big.put(small)
    assert np.all(big.values[3:7, 3:7, 7:] == 3)
    with pytest.raises(vxgrid.Error, match="spacings"):
        big.add(scalar(spacing=0.4))


@pytest.mark.parametrize("kind", [vxgrid.SkewGrid, vxgrid.MultiGrid])
def test_moves_turn_places_and_keep_views(kind: type[vxgrid.SkewGrid]) -> None:
    grid = kind(oblique())
    view, places = grid.values, grid.positions()
    before = view.copy()
    turn = np.array([[0, -1, 0], [0, 0, 1], [-1, 0, 0]])
    grid.translate((1, -2, 3))
    grid.rotate(turn)
    assert np.allclose(grid.positions(), (places + (1, -2, 3)) @ turn.T, atol=1e-4)
    assert grid.space_group is None and np.shares_memory(grid.values, view) and np.array_equal(view, before)
    grid.orient_by_inertia()


def test_values_in_place() -> None:
    grid = scalar()
    values = grid.values.copy()
    sigma = grid.normalize()
    assert sigma == pytest.approx(values.std(ddof=1), rel=1e-5) and np.allclose(grid.values * sigma, values)
    assert grid.attributes["vx_no_norm"] is True
    modes: list[tuple[Literal["gaussian", "gaussian_smooth"], float]] = [("gaussian", 0), ("gaussian_smooth", np.exp(-1))]
    for mode, factor in modes:
        grid.values = values
        grid.mask(np.where(values > 0, 2.0, 0.0), mode)
        assert np.allclose(grid.values, np.where(values > 0, values * factor, values))
    grid.values = values
    grid.mask_by_spheres([[1, 2, 3]], [1.0], "gaussian-")
    distance = np.linalg.norm(grid.positions() - (1, 2, 3), axis=-1)
    assert np.all(grid.values[distance > 1] == 0) and np.any(grid.values[distance < 0.6] != 0)
    grid.values = 1
    grid.mask_by_molecule(vxgrid.Molecule([[1, 2, 3]], [6]), level=0.3)
    assert np.all(grid.values[distance > 2.5] == 1) and np.all(grid.values[distance < 0.6] == 0)
    grid.clear_boundary()
    assert grid.values[1:-1, 1:-1, 1:-1].any() == grid.has_nonzero() and not grid.values[0].any()


def test_contours_are_carried() -> None:
    grid = scalar()
    grid.contours = [(1.5, "#0000ff"), (-1.5, (255, 0, 0, 128))]
    assert grid.contours == [(1.5, (0, 0, 255, 255)), (-1.5, (255, 0, 0, 128))] == grid.copy().contours
    grid.contours = []
    assert grid.contours == []
    levels = grid.contour_levels(5)
    assert len(levels) == 5 and np.all(np.diff(levels) > 0) and np.isin(levels, grid.values).all()


def test_skeletons_and_blobs() -> None:
    ndimage = pytest.importorskip("scipy.ndimage")
    grid = vxgrid.ScalarGrid.zeros((20, 20, 20))
    grid.values[4:9, 4:9, 3:17] = 2
    grid.values[13:16, 13:16, 13:16] = 3
    everywhere = np.ones((3, 3, 3))
    seeds: list[int | tuple[int, int, int]] = [(6, 6, 6), int(np.ravel_multi_index((6, 6, 6), grid.shape))]
    for seed in seeds:
        blob = grid.blob(seed, level=1)
        labels, _ = ndimage.label(grid.values > 0, everywhere)
        assert np.array_equal(blob.values > 0, labels == labels[6, 6, 6]) and blob.values.max() == 2
    skeleton = grid.skeleton(1)
    assert set(np.unique(skeleton.values)) == {0, 1} and grid.values.max() == 3
    assert np.all(grid.values[skeleton.values > 0] > 0) and 10 <= skeleton.values.sum() < 100
    _, parts = ndimage.label(skeleton.values, everywhere)
    assert parts <= 2
    assert grid.thin() >= 1 and np.array_equal(grid.values, skeleton.values)


def pixels(png: bytes) -> NDArray[np.uint8]:
    """What a PNG file of one kind shows; checks the sums of its chunks."""
    content, at, width, height = b"", 8, 0, 0
    while at < len(png):
        (length,) = struct.unpack_from(">I", png, at)
        kind, body = png[at + 4 : at + 8], png[at + 8 : at + 8 + length]
        assert struct.unpack_from(">I", png, at + 8 + length)[0] == zlib.crc32(kind + body)
        if kind == b"IHDR":
            width, height = struct.unpack_from(">II", body)
        content += body if kind == b"IDAT" else b""
        at += length + 12
    return np.frombuffer(zlib.decompress(content), np.uint8).reshape(height, 1 + 3 * width)[:, 1:].reshape(height, width, 3)


def test_html_shows_three_sections() -> None:
    grid = vxgrid.ScalarGrid.zeros((5, 10, 20), title="<b>")
    grid.values[2] = -1
    grid.values[3] = grid.values[2, 9, 19] = 1  # the sample is at the upper right of the section along z
    text = _display._repr_html_(grid)
    shown = [pixels(b64decode(each)) for each in re.findall(r'base64,([^"]+)"', text)]
    assert [each.shape[:2] for each in shown] == [(90, 180), (45, 180), (90, 180)] and "<b>" not in text
    assert tuple(shown[0][0, -1]) == (178, 24, 43) and tuple(shown[0][-1, 0]) == (33, 102, 172)
    grid.values = np.nan
    assert (pixels(b64decode(re.findall(r'base64,([^"]+)"', _display._repr_html_(grid))[0])) == 127).all()


def test_sections_are_drawn_true_to_scale() -> None:
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    grid = scalar()
    grid.contours = [(1.0, "#0000ff")]
    axes = grid.plot_section("y", 2, ax=plt.figure().gca())
    assert axes.get_xlim() == pytest.approx((1 - 3.5 * 0.5, 1 + 3.5 * 0.5)) and axes.get_xlabel() == "x / Å"
    axes = oblique().plot_section(ax=plt.figure().gca(), colorbar=False, cmap="gray")
    width = 13 + 15 * abs(np.cos(np.radians(CELL[5])))  # steps of 1 Å; gamma between the two axes
    assert np.ptp(axes.get_xlim()) == pytest.approx(width, rel=1e-4)
    axes.figure.canvas.draw()
    grid.contours = [(1e6, "#0000ff")]  # a level that the section does not reach
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        grid.plot_section(norm=matplotlib.colors.CenteredNorm(), ax=plt.figure().gca())
    with pytest.raises(IndexError, match="-7 to 6 was wanted, 7 came"):
        grid.plot_section("x", 7)


@pytest.mark.parametrize(
    "call, error, says",
    [
        (lambda g: g.interpolate([[1, 2]]), ValueError, "positions of shape (n, 3) were wanted, (1, 2) came"),
        (lambda g: g.interpolate(None), TypeError, "points: an array of numbers was wanted"),
        (lambda g: g.interpolate([1, 2, 3], "cubic"), ValueError, '"nearest" was wanted, "cubic" came'),
        (lambda g: g.subgrid((0, 0, 0), (1, 1, -1)), ValueError, "must not lie below"),
        (lambda g: g.subgrid((0, 0, 0), (1, 1, 1), 1e-12), ValueError, "at most 2147483647"),
        (lambda g: g.regular(-1), ValueError, "above 0"),
        (lambda g: g.regular("fine"), TypeError, "incompatible function arguments"),
        (lambda g: setattr(g, "contours", [1, 2]), TypeError, "pairs of a level and a color"),
        (lambda g: g.regular(1e-9), ValueError, "at most 2147483647"),
        (lambda g: g.skeleton(1, spacing=1e-9), ValueError, "at most 2147483647"),
        (lambda g: g.blob((0, 0, 7)), IndexError, "came"),
        (lambda g: g.blob(-1), IndexError, "below 504 was wanted, -1 came"),
        (lambda g: g.blob("top"), IndexError, "came"),
        (lambda g: g.mask(np.zeros((2, 2, 2))), ValueError, "(9, 8, 7) was wanted, (2, 2, 2) came"),
        (lambda g: g.mask(g, "square"), ValueError, '"square" came'),
        (lambda g: g.mask_by_spheres([[0, 0, 0]], [1, 2]), ValueError, "radii: an array of shape (1,)"),
        (lambda g: g.contour_levels(1), ValueError, "2 to 1000000"),
        (lambda g: setattr(g, "contours", [(1, "blue")]), ValueError, "color"),
        (lambda g: vxgrid.ScalarGrid.zeros((1, 5, 5)).subgrid((0, 0, 0), (1, 1, 1)), vxgrid.Error, "two samples"),
        (lambda g: oblique().rotate(np.zeros((3, 3))), ValueError, "span space"),
    ],
)
def test_refuses_and_says_why(call: Callable[[vxgrid.ScalarGrid], object], error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        call(scalar())
    assert says in str(raised.value)
