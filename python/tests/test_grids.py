"""Grids: values as views, geometry, attributes, and what a user hands over by mistake."""

import gc

import numpy as np
import pytest

import vxgrid


def numbered(kind: type[vxgrid.ScalarGrid] | type[vxgrid.SkewGrid]) -> vxgrid.ScalarGrid | vxgrid.SkewGrid:
    return kind(np.arange(24).reshape(2, 3, 4), spacing=0.5, center=(1, 2, 3), title="numbered")


@pytest.mark.parametrize("kind", [vxgrid.ScalarGrid, vxgrid.SkewGrid])
def test_values_are_a_view_that_keeps_the_grid(kind: type[vxgrid.ScalarGrid]) -> None:
    grid = numbered(kind)
    view = grid.values
    assert view.shape == grid.shape == (2, 3, 4) and view.flags.writeable and view.base is grid
    view[1, 2, 3] = 99
    assert grid.values[1, 2, 3] == 99
    copy = grid.copy()
    copy.values = np.full((2, 3, 4), 7)
    del grid
    gc.collect()
    assert view.sum() == 24 * 23 / 2 + 99 - 23
    assert np.asarray(copy).sum() == 7 * 24


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda: vxgrid.ScalarGrid([1, 2]), ValueError, "shape (n, n, n) was wanted, (2,) came"),
        (lambda: vxgrid.ScalarGrid(np.zeros((2, 0, 2))), ValueError, "0 samples on an axis"),
        (lambda: vxgrid.SkewGrid([[["a"]]]), TypeError, "values: an array of numbers was wanted, one of <U1 came"),
        (lambda: vxgrid.SkewGrid(object()), TypeError, "values: an array of numbers"),  # type: ignore[arg-type]
        (lambda: vxgrid.ScalarGrid(np.zeros((2, 2, 2)), spacing=0), ValueError, "above 0"),
        (lambda: vxgrid.ScalarGrid(np.zeros((2, 2, 2)), spacing=float("nan")), ValueError, "above 0"),
        (lambda: vxgrid.ScalarGrid(np.zeros((2, 2, 2)), center=(0, 0)), ValueError, "center"),
        (lambda: vxgrid.ScalarGrid(np.zeros((2, 2, 2)), center=(0, 0, np.inf)), ValueError, "finite"),
    ],
)
def test_refuses_and_says_why(make: object, error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        make()  # type: ignore[operator]
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
