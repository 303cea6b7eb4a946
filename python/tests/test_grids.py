"""Grids: values as views, lattices and cells, attributes, other kinds, and what a user hands over by mistake."""

import gc
import math
from collections.abc import Callable

import numpy as np
import pytest
from numpy.typing import NDArray

import vxgrid

KINDS = [vxgrid.ScalarGrid, vxgrid.SkewGrid, vxgrid.MultiGrid]
CELL = (20.0, 24.0, 30.0, 80.0, 95.0, 110.0)


def numbered(kind: type[vxgrid.Grid]) -> vxgrid.Grid:
    values = np.arange(24).reshape(2, 3, 4)
    plain = vxgrid.ScalarGrid(values, spacing=0.5, center=(1, 2, 3), title="numbered")
    return kind(plain)  # type: ignore[call-arg]


def oblique() -> vxgrid.SkewGrid:
    values = np.arange(4 * 5 * 6).reshape(4, 5, 6)
    return vxgrid.SkewGrid(values, cell=CELL, intervals=(40, 50, 60), space_group="P 1", center=(3, -2, 5))


@pytest.mark.parametrize("kind", KINDS)
def test_values_are_a_view_that_keeps_the_grid(kind: type[vxgrid.Grid]) -> None:
    grid = numbered(kind)
    view = grid.values
    assert view.shape == grid.shape == (2, 3, 4) and view.flags.writeable and view.base is grid
    view[1, 2, 3] = 99
    assert grid.values[1, 2, 3] == 99
    copy = grid.copy()
    assert type(copy) is kind
    copy.values = np.full((2, 3, 4), 7)
    grid.spacing, grid.center, grid.title = 2, (0, 0, 0), "changed"
    del grid
    gc.collect()
    assert view.sum() == 24 * 23 / 2 + 99 - 23
    assert np.asarray(copy).sum() == 7 * 24 and copy.spacing == 0.5


@pytest.mark.parametrize("kind", KINDS)
def test_a_grid_of_one_sample_has_values(kind: type[vxgrid.ScalarGrid]) -> None:
    grid = kind.zeros((1, 1, 1))
    grid.values[0, 0, 0] = 5
    assert grid.values.sum() == 5 and grid.copy().values[0, 0, 0] == 5


def test_places_of_samples_are_fractions_of_the_cell() -> None:
    grid = vxgrid.SkewGrid.zeros((4, 5, 6), cell=CELL, intervals=(40, 50, 60))
    z, y, x = np.indices(grid.shape)
    fractions = np.stack([x / 40, y / 50, z / 60], axis=-1)
    places = vxgrid.UnitCell(*CELL).to_cartesian(fractions)
    np.testing.assert_allclose(grid.positions(), places, atol=2e-6)
    assert grid.spacing == pytest.approx(24 / 50) and grid.intervals == (40, 50, 60)
    low, high = grid.extents
    np.testing.assert_allclose([low, high], [places.min((0, 1, 2)), places.max((0, 1, 2))], atol=2e-6)
    with pytest.raises(ValueError, match="follows from the cell"):
        grid.spacing = 1
    grid.set_cell(None)
    assert grid.cell is None and grid.intervals is None and (grid.orientation == np.eye(3)).all()


@pytest.mark.parametrize("grid", [*(numbered(kind) for kind in KINDS), oblique()], ids=lambda grid: type(grid).__name__)
def test_indices_and_places_are_inverse(grid: vxgrid.Grid) -> None:
    indices = np.random.default_rng(1).uniform(-3, 9, (2, 50, 3))
    np.testing.assert_allclose(grid.to_indices(grid.to_positions(indices)), indices, atol=1e-9)
    whole = np.moveaxis(np.indices(grid.shape), 0, -1)
    np.testing.assert_allclose(grid.to_positions(whole), grid.positions(), atol=2e-6)
    middle = (np.array(grid.shape) - 1) / 2
    np.testing.assert_allclose(grid.to_positions(middle), grid.center, atol=1e-9)


def test_crystals_know_cell_group_and_wraps() -> None:
    grid = oblique()
    assert grid.cell == vxgrid.UnitCell(*CELL) and grid.space_group == vxgrid.SpaceGroup(1)
    assert grid.symmetry == vxgrid.Symmetry(1, CELL) and grid.periodic == (False, False, False)
    grid.periodic = (True, False, True)
    grid.space_group = 19  # which this cell cannot have
    assert grid.periodic == (True, False, True) and grid.symmetry is None
    grid.periodic = False
    assert "P 21 21 21" in repr(grid) and "20 24 30 80 95 110" in repr(grid) and "(4, 5, 6)" in repr(grid)
    turned = np.array([[0, -1, 0], [1, 0, 0], [0, 0, 1]], np.float32) @ grid.orientation
    grid.orientation = turned
    np.testing.assert_array_equal(grid.orientation, turned)


def test_fields_are_views_and_one_is_current() -> None:
    fields = np.arange(3 * 24).reshape(3, 2, 3, 4)
    grid = vxgrid.MultiGrid(fields, integers=fields[:2] + 7, spacing=0.5)
    assert grid.fields.dtype == np.float32 and grid.integers.dtype == np.int32
    assert (grid.fields == fields).all() and (grid.integers == fields[:2] + 7).all()
    kept = grid.fields
    grid.current_field, grid.current_integers = 2, 1
    grid.values[0, 0, 0] = -1
    grid.field_titles = ["a", "b", "λ"]
    assert kept[2, 0, 0, 0] == -1 and grid.field_titles == ["a", "b", "λ"]
    one = vxgrid.SkewGrid(grid)
    assert (one.values == grid.values).all() and (vxgrid.MultiGrid(one).integers[0] == grid.integers[1]).all()
    assert (vxgrid.ScalarGrid(grid).values == grid.fields[2]).all()
    for wrong in (3, -1):
        with pytest.raises(IndexError, match="0 to 2"):
            grid.current_field = wrong


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("source", KINDS)
def test_another_kind_takes_everything_over(kind: type[vxgrid.Grid], source: type[vxgrid.Grid]) -> None:
    given = numbered(source)
    given.attributes.update(level=1.5, name="x")
    given.type = vxgrid.GridType.DIFFERENCE_MAP
    grid = kind(given)  # type: ignore[call-arg]
    assert (grid.values == given.values).all() and not np.shares_memory(grid.values, given.values)
    assert (grid.spacing, grid.center, grid.title) == (0.5, (1, 2, 3), "numbered")
    assert dict(grid.attributes) == {"level": 1.5, "name": "x"} and grid.type is vxgrid.GridType.DIFFERENCE_MAP
    with pytest.raises(TypeError, match="no options"):
        kind(given, spacing=1)  # type: ignore[call-arg]


def test_a_box_has_samples_on_both_faces() -> None:
    grid = vxgrid.ScalarGrid.around((-1, 0, 2), (1, 0.3, 7.25), 0.1)
    assert grid.shape == (53, 4, 21)  # 5.25 is no whole number of steps
    np.testing.assert_allclose(grid.extents, [(-1, 0, 2.025), (1, 0.3, 7.225)], atol=1e-6)


def zeros(shape: tuple[int, ...]) -> NDArray[np.float32]:
    return np.broadcast_to(np.float32(0), shape)


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda: vxgrid.ScalarGrid([1, 2]), ValueError, "shape (n, n, n) was wanted, (2,) came"),
        (lambda: vxgrid.ScalarGrid(np.zeros((2, 0, 2))), ValueError, "0 samples on an axis"),
        (lambda: vxgrid.SkewGrid([[["a"]]]), TypeError, "values: an array of numbers was wanted, one of <U1 came"),
        (lambda: vxgrid.SkewGrid(object()), TypeError, "values: an array of numbers"),  # type: ignore[arg-type]
        (lambda: vxgrid.ScalarGrid(zeros((2, 2, 2)), spacing=0), ValueError, "above 0"),
        (lambda: vxgrid.ScalarGrid(zeros((2, 2, 2)), spacing=math.nan), ValueError, "above 0"),
        (lambda: vxgrid.ScalarGrid(zeros((2, 2, 2)), center=(0, 0)), ValueError, "center"),
        (lambda: vxgrid.ScalarGrid(zeros((2, 2, 2)), center=(0, 0, np.inf)), ValueError, "finite"),
        (lambda: vxgrid.ScalarGrid(oblique()), ValueError, "along x, y and z"),
        (lambda: vxgrid.ScalarGrid.zeros((1 << 16, 1 << 16, 1)), ValueError, "2147483647"),
        (lambda: vxgrid.ScalarGrid.zeros((1 << 40, 1 << 40, 1 << 40)), ValueError, "2147483647"),
        (lambda: vxgrid.MultiGrid.zeros((1 << 10, 1 << 10, 1 << 10), 4), ValueError, "1 to 3 were wanted"),
        (lambda: vxgrid.MultiGrid.zeros((2, 2, 2), 0), ValueError, "fields: 0"),
        (lambda: vxgrid.MultiGrid(zeros((1, 2, 2, 2)), zeros((1, 2, 2, 2))), TypeError, "whole numbers"),
        (lambda: vxgrid.MultiGrid(zeros((1, 2, 2, 2)), np.zeros((1, 2, 2, 3), int)), ValueError, "(n, 2, 2, 2)"),
        (lambda: vxgrid.SkewGrid(zeros((2, 2, 2)), cell=CELL, spacing=1), ValueError, "follows from the cell"),
        (lambda: vxgrid.SkewGrid(zeros((2, 2, 2)), intervals=(1, 2, 3)), ValueError, "none came"),
        (lambda: vxgrid.SkewGrid(zeros((2, 2, 2)), cell=CELL, intervals=(1, 0, 3)), ValueError, "above 0"),
        (lambda: vxgrid.SkewGrid(zeros((2, 2, 2)), periodic="xyz"), TypeError, "periodic"),  # type: ignore[arg-type]
        (lambda: vxgrid.SkewGrid(np.eye(3)[None].repeat(2, 0), cell=CELL, periodic=True), ValueError, "along x"),
        (lambda: vxgrid.ScalarGrid(zeros((2, 2, 2)), title=3), TypeError, "title: str was wanted, int came"),  # type: ignore[arg-type]
        (lambda: setattr(oblique(), "values", None), TypeError, "values: an array of numbers"),
        (lambda: vxgrid.SkewGrid(zeros((2, 2, 2)), space_group=999), ValueError, "space group"),
        (lambda: vxgrid.ScalarGrid.around((0, 0, 0), (1, -1, 1), 0.5), ValueError, "below lower"),
        (lambda: vxgrid.ScalarGrid.around((-3e38, 0, 0), (3e38, 1, 1), 0.5), ValueError, "2147483647"),
        (lambda: setattr(oblique(), "orientation", np.zeros((3, 3))), ValueError, "span space"),
        (lambda: oblique().to_positions([1, 2]), ValueError, "(..., 3)"),
        (lambda: setattr(oblique(), "values", np.zeros(7)), ValueError, "broadcast"),
        (lambda: vxgrid.ScalarGrid.__new__(vxgrid.ScalarGrid).values, TypeError, "never initialised"),
        (lambda: vxgrid.Grid(), TypeError, "No constructor"),
    ],
)
def test_refuses_and_says_why(make: Callable[[], object], error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        make()
    assert says in str(raised.value)


def test_attributes_are_a_mapping_that_keeps_types() -> None:
    attributes = numbered(vxgrid.SkewGrid).attributes
    given = {"flag": True, "count": 3, "b": 2.5, "name": "λ", "many": [1.5, 2.5], "texts": ["a", "b"]}
    attributes.update(given)
    assert dict(attributes) == given and sorted(attributes) == sorted(given)
    attributes["b"] = np.float64(4)
    with pytest.raises(TypeError, match="it is int now"):
        attributes["count"] = "three"
    with pytest.raises(TypeError, match="came"):
        attributes["new"] = object()
    del attributes["b"]
    assert attributes.get("b") is None and "b" not in attributes and attributes["count"] == 3
    assert attributes.pop("count") == 3 and attributes.pop("count", 7) == 7
    with pytest.raises(KeyError, match="count"):
        attributes.pop("count")
    attributes["mixed"] = [1, 2.5]
    attributes["\udce9"] = "\udce8"  # bytes of a file that are no UTF-8
    assert dict(attributes)["\udce9"] == "\udce8" and attributes["mixed"] == [1, 2.5]
    with pytest.raises(ValueError, match="zero characters"):
        attributes["a\0b"] = 1
