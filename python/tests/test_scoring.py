"""Densities of models and scores in maps: the figures of the command, in threads and processes alike."""

import json
import logging
import math
import multiprocessing
import subprocess
from concurrent.futures import Executor, ProcessPoolExecutor, ThreadPoolExecutor
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import vxgrid
from conftest import SAMPLES, real_data

MODEL, MTZ = SAMPLES / "4hg7.pdb", SAMPLES / "4hg7.mtz"
COMMAND = Path(vxgrid.__file__).parents[2] / "tools" / "vxgrid"
CRYSTALS = ["4hg7", "hewl", "5uui"]


def paths_of(crystal: str) -> tuple[Path, Path]:
    if crystal == "4hg7":
        return MODEL, MTZ
    return real_data(f"crystals/{crystal}.pdb"), real_data(f"crystals/{crystal}.mtz")


def score(paths: tuple[Path, Path]) -> vxgrid.ModelFit:
    return vxgrid.score_model(vxgrid.read_molecule(paths[0]), vxgrid.read_mtz(paths[1]))


def score_objects(objects: tuple[vxgrid.Molecule, vxgrid.SkewGrid]) -> vxgrid.ModelFit:
    return vxgrid.score_model(*objects)


@pytest.fixture(scope="module")
def model() -> vxgrid.Molecule:
    return vxgrid.read_molecule(MODEL)


@pytest.fixture(scope="module")
def density(model: vxgrid.Molecule) -> vxgrid.ScalarGrid:
    return vxgrid.model_density(model, spacing=0.5)


def or_none(number: float) -> float | None:
    return None if math.isnan(number) else number


@pytest.mark.parametrize("files", [*CRYSTALS, "maps/1mru.map"])
def test_the_figures_of_the_command(files: str) -> None:
    if not COMMAND.exists():
        pytest.skip("the command is not built beside the package")
    if files in CRYSTALS:
        pdb, data = paths_of(files)
        ours = score((pdb, data))
    else:
        pdb, data = real_data(files).with_suffix(".pdb"), real_data(files)
        ours = vxgrid.score_model(vxgrid.read_molecule(pdb), vxgrid.read_grid(data), radius=1.5)
    radius = [] if files in CRYSTALS else ["--radius", "1.5"]
    run = subprocess.run([COMMAND, "fit", "--json", *radius, pdb, data], capture_output=True, check=True)
    theirs = json.loads(run.stdout)
    assert [ours.rscc, ours.rsr, ours.radius] == [theirs[each] for each in ("rscc", "rsr", "radius")]
    keys = ("chain", "number", "insert", "name", "rscc", "rsr")
    assert [(*row[:4], or_none(row.rscc), or_none(row.rsr)) for row in ours.residues] == [
        tuple(row[key] for key in keys) for row in theirs["residues"]
    ]


def bits(fit: vxgrid.ModelFit) -> list[Any]:
    return [np.array(fit[:3]).tobytes(), *((*row[:4], np.array(row[4:]).tobytes()) for row in fit.residues)]


@pytest.mark.parametrize("in_processes", [True, False])
def test_pools_give_the_same_rows(in_processes: bool) -> None:
    jobs = [paths_of(crystal) for crystal in CRYSTALS]
    objects = [(vxgrid.read_molecule(pdb), vxgrid.read_mtz(mtz)) for pdb, mtz in jobs]
    here = [bits(score(job)) for job in jobs]
    assert all(len(rows) > 80 for rows in here)
    pool: Executor = (
        ProcessPoolExecutor(2, mp_context=multiprocessing.get_context("spawn"))
        if in_processes
        else ThreadPoolExecutor(3)
    )
    with pool:
        assert [bits(fit) for fit in pool.map(score, jobs)] == here
        assert [bits(fit) for fit in pool.map(score_objects, objects)] == here


def test_a_model_fits_its_own_density(model: vxgrid.Molecule, density: vxgrid.ScalarGrid) -> None:
    assert vxgrid.rscc(model, density) > 0.999 and vxgrid.rsr(model, density) < 0.01
    assert vxgrid.rscc(model, model) == pytest.approx(1) and vxgrid.rsr(model, model) == 0
    assert vxgrid.rscc(model, density, calculated=density) == pytest.approx(1)
    rows = vxgrid.score_residues(model, density, calculated=density, radius=1.5)
    assert [row[:4] for row in rows] == [tuple(residue) for residue in model.residues]
    assert min(row.rscc for row in rows) > 0.999 and isinstance(rows[0], vxgrid.ResidueFit)


def test_maps_behind_a_score(model: vxgrid.Molecule) -> None:
    maps = vxgrid.rscc_maps(model, vxgrid.read_mtz(MTZ), radius=1.0)
    assert maps.rscc == vxgrid.rscc(model, vxgrid.read_mtz(MTZ), radius=1.0)
    inside = maps.mask.values > 0
    observed, calculated = maps.observed.values[inside], maps.calculated.values[inside]
    assert np.corrcoef(observed, calculated)[0, 1] == pytest.approx(maps.rscc, abs=1e-6)
    assert not maps.calculated.values[~inside].any()


def test_density_is_linear_in_occupancies(density: vxgrid.ScalarGrid, model: vxgrid.Molecule) -> None:
    half = model.copy()
    half.occupancies = model.occupancies / 2
    np.testing.assert_allclose(vxgrid.model_density(half, density).values, density.values / 2, rtol=1e-4, atol=1e-5)
    bare = vxgrid.Molecule([[0, 0, 0]], [6], b_factors=[0], occupancies=[0])
    vxgrid.set_scatter_defaults(bare, b_factor=30)
    assert (bare.b_factors[0], bare.occupancies[0]) == (30, 1)
    vxgrid.set_scatter_defaults(bare)
    assert bare.b_factors[0] == 30
    vxgrid.set_scatter_defaults(bare, overwrite=True)
    assert bare.b_factors[0] == 20


def test_resolutions(model: vxgrid.Molecule) -> None:
    grid = vxgrid.read_mtz(MTZ)
    resolution = vxgrid.resolution_of(grid)
    assert resolution is not None and resolution == pytest.approx(1.6, abs=0.005)
    assert vxgrid.resolution_of(model) == 1.6 and vxgrid.mask_radius(1.6) == pytest.approx(1.7 / 3)
    atoms = vxgrid.crystal_atoms(model, grid)
    assert len(atoms) > 12 * len(model) * 0.9
    assert not vxgrid.is_difference_map(grid) and vxgrid.is_difference_map(vxgrid.read_mtz(MTZ, "Fdelwt"))


def test_map_of_a_crystal_around_a_model(model: vxgrid.Molecule) -> None:
    whole = vxgrid.read_mtz(MTZ)
    part = vxgrid.SkewGrid(  # an asymmetric unit, and more
        whole.values[:50], cell=whole.cell, intervals=whole.intervals, space_group=whole.space_group
    )
    box = vxgrid.crystal_map(model, part, margin=3)
    lower, upper = box.extents
    assert (model.coordinates.min(0) - 3 >= lower).all() and (model.coordinates.max(0) + 3 <= upper).all()
    np.testing.assert_allclose(box.values, whole.interpolate(box.positions()), atol=0.01)


def test_what_is_assumed_is_logged(caplog: pytest.LogCaptureFixture, model: vxgrid.Molecule) -> None:
    some = model.copy()
    b_factors = some.b_factors.copy()
    b_factors[:3] = 0
    some.b_factors = b_factors
    with caplog.at_level(logging.WARNING, "vxgrid"):
        vxgrid.score_model(some, vxgrid.read_mtz(MTZ), radius=0.6)
    assert "3 atoms have a B factor of 0; taken as 20" in caplog.text and some.b_factors[0] == 0


def test_refuses_and_says_why(model: vxgrid.Molecule) -> None:
    grid = vxgrid.read_mtz(MTZ)
    plain = vxgrid.ScalarGrid(np.ones((3, 3, 3)))
    lone = vxgrid.Molecule([[0, 0, 0]], [6], b_factors=[20], occupancies=[1])
    torn = vxgrid.Molecule([[0.0, 0.0, 0.0], [1e9, 0.0, 0.0]], [6, 6], b_factors=[20, 20], occupancies=[1, 1])

    def stop(done: int, total: int) -> None:
        raise ZeroDivisionError

    rows: list[tuple[Any, type[Exception], str]] = [
        (lambda: vxgrid.score_model(model, plain), TypeError, "SkewGrid"),  # type: ignore[arg-type]
        (lambda: vxgrid.score_model(lone, vxgrid.SkewGrid(np.ones((3, 3, 3)))), ValueError, "radius"),
        (lambda: vxgrid.score_model(lone, grid, radius=-1), ValueError, "above 0 was wanted, -1"),
        (lambda: vxgrid.score_model(lone, grid, radius="x"), TypeError, "radius"),  # type: ignore[arg-type]
        (lambda: vxgrid.score_model(vxgrid.Molecule([[0, 0, 0]], [6]), grid), vxgrid.Error, "no residue data"),
        (lambda: vxgrid.score_model(torn, grid, radius=1), vxgrid.Error, "too far"),
        (lambda: vxgrid.score_model(model, grid, progress=stop), ZeroDivisionError, ""),
        (lambda: vxgrid.rscc(model, None), TypeError, "NoneType came"),  # type: ignore[arg-type]
        (lambda: vxgrid.rscc(model, grid, calculated=plain), TypeError, "kind of observed"),
        (lambda: vxgrid.rscc(lone, plain, radius=1e-3), vxgrid.Error, ""),
        (lambda: vxgrid.rsr(model, plain, radius=float("nan")), ValueError, "nan came"),
        (lambda: vxgrid.crystal_map(model, vxgrid.SkewGrid(np.ones((3, 3, 3)))), ValueError, "space group"),
        (lambda: vxgrid.crystal_map(torn, grid), vxgrid.Error, "too far"),
        (lambda: vxgrid.model_density(model, spacing=0), ValueError, "above 0"),
        (lambda: vxgrid.mask_radius(-1), ValueError, "above 0 was wanted, -1"),
        (lambda: vxgrid.set_scatter_defaults(model, b_factor=math.nan), ValueError, "b_factor: .* nan came"),
        (lambda: vxgrid.model_density(model, np.ones(3)), TypeError, "ndarray came"),  # type: ignore[call-overload]
        (lambda: vxgrid.model_density(vxgrid.Molecule([[0, 0, 0]], [6])), vxgrid.Error, "residues"),
        (lambda: vxgrid.model_density(vxgrid.Molecule([[0, 0, 0]], [6]), plain), vxgrid.Error, "residue data"),
    ]
    for make, error, says in rows:
        with pytest.raises(error, match=says):
            make()
