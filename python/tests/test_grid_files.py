"""Grids in files, documents, records and pickles."""

import copy
import json
import logging
import pickle
import resource
from collections.abc import Callable
from pathlib import Path

import numpy as np
import pytest
from conftest import real_data
from numpy.typing import NDArray

import vxgrid

CELL = (20.0, 24.0, 30.0, 80.0, 95.0, 110.0)
RANDOM = np.random.default_rng(7).normal(size=(4, 5, 6)).astype(np.float32)


def crystal(**options: object) -> vxgrid.SkewGrid:
    given = {"cell": CELL, "intervals": (40, 50, 60), "space_group": 1, **options}
    return vxgrid.SkewGrid(RANDOM, **given)  # type: ignore[arg-type]


def plain() -> vxgrid.ScalarGrid:
    return vxgrid.ScalarGrid(RANDOM, spacing=0.5, center=(1, -2, 3), title="plain")


@pytest.mark.parametrize(
    "name, atol", [("a.vxb", 0), ("b.grd", 0), ("c.AGD", 1e-6), ("d.json", 2e-8), ("é ü.json.gz", 2e-8)]
)
def test_plain_grids_come_back(tmp_path: Path, name: str, atol: float) -> None:
    vxgrid.write_grid(tmp_path / name, plain())
    for kind in (vxgrid.SkewGrid, vxgrid.ScalarGrid, vxgrid.MultiGrid):
        grid = vxgrid.read_grid(str(tmp_path / name), kind)
        assert type(grid) is kind
        np.testing.assert_allclose(grid.values, RANDOM, atol=atol, rtol=0)
        np.testing.assert_allclose(grid.positions(), plain().positions(), atol=2e-5)


@pytest.mark.parametrize("name", ["a.map", "b.ccp4.gz", "c.mrc", "d.vxb", "e.grd"])
@pytest.mark.parametrize("group", [1, None])
def test_crystals_keep_cell_and_lattice(tmp_path: Path, name: str, group: int | None) -> None:
    grid = crystal(space_group=group)
    vxgrid.write_grid(tmp_path / name, grid)
    back = vxgrid.read_grid(tmp_path / name)
    assert (back.values == RANDOM).all() and back.cell == grid.cell and back.intervals == (40, 50, 60)
    np.testing.assert_allclose(back.positions(), grid.positions(), atol=2e-5)


def test_maps_are_those_of_gemmi(tmp_path: Path) -> None:
    gemmi = pytest.importorskip("gemmi")
    vxgrid.write_grid(tmp_path / "ours.map", crystal(space_group=4, cell=(20, 24, 30, 90, 95, 90)))
    theirs = gemmi.read_ccp4_map(str(tmp_path / "ours.map"))
    np.testing.assert_array_equal(np.array(theirs.grid, copy=False).transpose(2, 1, 0)[:4, :5, :6], RANDOM)
    assert theirs.grid.spacegroup.number == 4 and theirs.grid.unit_cell.beta == 95

    grid = gemmi.FloatGrid(8, 9, 10)
    grid.set_unit_cell(gemmi.UnitCell(*CELL))
    grid.spacegroup = gemmi.SpaceGroup("P 1")
    array = np.array(grid, copy=False)
    array[:] = np.arange(720).reshape(8, 9, 10)
    map_file = gemmi.Ccp4Map()
    map_file.grid = grid
    map_file.update_ccp4_header()
    map_file.write_ccp4_map(str(tmp_path / "theirs.map"))
    ours = vxgrid.read_grid(tmp_path / "theirs.map")
    np.testing.assert_array_equal(ours.values[:10, :9, :8], array.transpose(2, 1, 0))
    point = grid.unit_cell.orthogonalize(gemmi.Fractional(3 / 8, 2 / 9, 7 / 10))
    np.testing.assert_allclose(ours.to_indices(point.tolist()), (7, 2, 3), atol=1e-5)


def test_headers_of_maps_have_statistics(tmp_path: Path) -> None:
    def header(grid: vxgrid.SkewGrid) -> NDArray[np.float32]:
        vxgrid.write_grid(tmp_path / "a.map", grid)
        words = np.fromfile(tmp_path / "a.map", np.float32, 256)
        return words[[19, 20, 21, 54]]  # AMIN, AMAX, AMEAN, ARMS

    grid = crystal()
    np.testing.assert_allclose(header(grid), [RANDOM.min(), RANDOM.max(), RANDOM.mean(), RANDOM.std()], rtol=1e-5)
    assert len(grid.attributes) == 0
    for name, value in (("AMIN", -8), ("AMAX", 8), ("AMEAN", 0.5), ("ARMS", 2)):
        grid.attributes[name] = np.float32(value)
    np.testing.assert_array_equal(header(grid), [-8, 8, 0.5, 2])


def test_fields_are_kept_where_there_are_fields(tmp_path: Path) -> None:
    grid = vxgrid.MultiGrid([RANDOM, RANDOM + 1, RANDOM + 2], integers=np.ones((2, 4, 5, 6), int), spacing=0.5)
    grid.current_field = 1
    for name in ("a.grd", "b.vxb"):
        vxgrid.write_grid(tmp_path / name, grid)
        back = vxgrid.read_grid(tmp_path / name, vxgrid.MultiGrid)
        assert (back.fields == grid.fields).all() and (back.integers == 1).all() and back.integers.shape[0] == 2
    vxgrid.write_grid(tmp_path / "c.json", grid)
    np.testing.assert_allclose(vxgrid.read_grid(tmp_path / "c.json").values, RANDOM + 1, atol=1e-8)


def test_documents_are_json() -> None:
    grid = plain()
    grid.attributes["level"] = 2.5
    document = json.loads(grid.to_json())
    np.testing.assert_allclose(np.reshape(document["values"], grid.shape), RANDOM, atol=1e-8)
    assert document["level"] == 2.5 and document["dimensions"] == [6, 5, 4]
    back = vxgrid.ScalarGrid.from_json(grid.to_json())
    assert back.title == "plain" and back.attributes["level"] == 2.5
    filled = vxgrid.SkewGrid(RANDOM, cell=(20, 24, 30, 90, 90, 90), center=(1, 2, 3))
    assert vxgrid.SkewGrid.from_json(filled.to_json()).cell == filled.cell
    assert vxgrid.SkewGrid.from_json(grid.to_json()).cell is None


def with_everything(kind: type[vxgrid.Grid]) -> vxgrid.Grid:
    if kind is vxgrid.ScalarGrid:
        grid: vxgrid.Grid = plain()
    elif kind is vxgrid.SkewGrid:
        grid = crystal(periodic=(True, False, True), title="λ")
    else:
        grid = vxgrid.MultiGrid([RANDOM, -RANDOM], cell=CELL, title="fields")
    grid.attributes.update(level=1.5, name="x", levels=[1.0, 2.0], flag=True)
    return grid


@pytest.mark.parametrize("kind", [vxgrid.ScalarGrid, vxgrid.SkewGrid, vxgrid.MultiGrid])
def test_pickles_hold_everything(kind: type[vxgrid.ScalarGrid]) -> None:
    grid = with_everything(kind)
    for back in (pickle.loads(pickle.dumps(grid)), copy.deepcopy(grid)):
        assert type(back) is kind and repr(back) == repr(grid) and dict(back.attributes) == dict(grid.attributes)
        np.testing.assert_array_equal(back.positions(), grid.positions())
        for part in ("values", "fields", "integers", "periodic", "orientation", "intervals"):
            np.testing.assert_array_equal(getattr(back, part, 0), getattr(grid, part, 0))
    data = kind.from_bytes(grid.to_bytes()).to_bytes()  # type: ignore[attr-defined]
    assert data == grid.to_bytes()  # type: ignore[attr-defined]
    for cut in (0, 1, 20, len(data) // 2, len(data) - 1):
        with pytest.raises(ValueError):
            kind.from_bytes(data[:cut])
    with pytest.raises(ValueError, match="was wanted"):
        kind.from_bytes(b"\0\5VXFoo\1x")
    short = pickle.dumps(grid)
    with pytest.raises((pickle.UnpicklingError, EOFError)):
        pickle.loads(short[: len(short) // 2])


def written(path: Path, grid: vxgrid.Grid) -> bytes:
    vxgrid.write_grid(path, grid)
    return path.read_bytes()


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda d: vxgrid.read_grid(d / "nowhere.map"), vxgrid.Error, "nowhere.map: cannot be opened: No such file"),
        (lambda d: vxgrid.read_grid(d, format="ccp4"), vxgrid.Error, "directory"),
        (lambda d: vxgrid.read_grid(d / "a.xyz"), ValueError, "ccp4, xplor, phi, grd, agd, json, vxb"),
        (lambda d: vxgrid.read_grid(d / "a.map", format="mtz"), ValueError, "'mtz' came"),
        (lambda d: vxgrid.read_grid(d / "a.map", format=3), TypeError, "format: str was wanted, int came"),  # type: ignore[call-overload]
        (lambda d: vxgrid.read_grid(d / "a.map", int), TypeError, "kind: "),  # type: ignore[type-var]
        (lambda d: vxgrid.read_grid(3), TypeError, ""),  # type: ignore[call-overload]
        (lambda d: vxgrid.read_grid(d / "empty.map"), vxgrid.Error, "the file is empty"),
        (lambda d: vxgrid.read_grid(d / "text.map"), vxgrid.Error, "1024 bytes"),
        (lambda d: vxgrid.read_grid(d / "cut.map"), vxgrid.Error, "cut off"),
        (lambda d: vxgrid.read_grid(d / "cut.vxb"), vxgrid.Error, "cut off"),
        (lambda d: vxgrid.read_grid(d / "text.json"), vxgrid.Error, "JSON"),
        (lambda d: vxgrid.read_grid(d / "text.phi"), vxgrid.Error, "not a GRASP map"),
        (lambda d: vxgrid.read_grid(d / "cut.map.gz"), vxgrid.Error, "cut short or damaged"),
        (lambda d: vxgrid.write_grid(d / "a.xplor", plain()), ValueError, "read only"),
        (lambda d: vxgrid.write_grid(d / "a.agd", crystal()), vxgrid.Error, "regular()"),
        (lambda d: vxgrid.write_grid(d / "no" / "a.agd", plain()), vxgrid.Error, "No such file"),
        (lambda d: vxgrid.write_grid("/dev/full", plain(), format="agd"), vxgrid.Error, "No space left"),
        (lambda d: vxgrid.write_grid(d / "a.agd", RANDOM), TypeError, "Grid"),  # type: ignore[arg-type]
        (lambda d: crystal(intervals=(7, 8, 9)).to_json(), vxgrid.Error, "lattice"),
        (lambda d: vxgrid.SkewGrid.from_json("[1]"), vxgrid.Error, "JSON"),
    ],
)
def test_refuses_and_says_why(
    tmp_path: Path, make: Callable[[Path], object], error: type[Exception], says: str
) -> None:
    whole = written(tmp_path / "whole.map", crystal())
    (tmp_path / "empty.map").touch()
    (tmp_path / "cut.map").write_bytes(whole[:-1])
    (tmp_path / "cut.map.gz").write_bytes(written(tmp_path / "whole.map.gz", crystal())[:-9])
    (tmp_path / "cut.vxb").write_bytes(written(tmp_path / "whole.vxb", crystal())[:-1])
    for name in ("text.map", "text.json", "text.phi"):
        (tmp_path / name).write_text("this is text")
    with pytest.raises(error) as raised:
        make(tmp_path)
    assert says in str(raised.value)


def test_what_the_library_remarks_is_logged(tmp_path: Path, caplog: pytest.LogCaptureFixture) -> None:
    with caplog.at_level(logging.INFO, "vxgrid"):
        vxgrid.write_grid(tmp_path / "a.map", crystal(space_group=None))
        vxgrid.write_grid(tmp_path / "b.map", plain())
        vxgrid.write_grid(tmp_path / "c.phi", vxgrid.SkewGrid(plain()))
        vxgrid.write_grid(tmp_path / "d.grd", plain())
    for says in ("a.map: has no space group; written as P 1", "b.map: interpolated onto", "c.phi: interpolated onto"):
        assert says in caplog.text
    assert len(caplog.records) == 3


def test_a_failed_write_leaves_the_old_file(tmp_path: Path) -> None:
    target = tmp_path / "a.agd"
    target.write_bytes(b"old")
    limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (1024, limits[1]))
    try:
        with pytest.raises(vxgrid.Error, match="a.agd: could not be written whole: File too large"):
            vxgrid.write_grid(target, plain())
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, limits)
    assert [path.read_bytes() for path in tmp_path.iterdir()] == [b"old"]


def test_formats_are_listed() -> None:
    formats = {row.name: row for row in vxgrid.grid_formats()}
    assert formats["ccp4"].extensions[0] == "map" and not formats["xplor"].is_written


def test_a_real_map() -> None:
    path = next(real_data("maps").glob("*.map*"), None)
    if path is None:
        pytest.skip("no real map")
    grid = vxgrid.read_grid(path)
    assert grid.cell is not None and np.isfinite(grid.values).all()
