"""What holds for calls of every kind: progress, pickles of all protocols, and threads that run beside long ones."""

import pickle
import sys
import threading
import time
from collections.abc import Callable
from typing import Any

import numpy as np
import pytest

import vxgrid
from conftest import SAMPLES

SYMMETRY = vxgrid.Symmetry(19, (50, 60, 70, 90, 90, 90))
MODEL = vxgrid.read_molecule(SAMPLES / "4hg7.pdb")
DENSITY = vxgrid.model_density(MODEL)
MAP = vxgrid.read_mtz(SAMPLES / "4hg7.mtz")
DATA = vxgrid.read_reflections(SAMPLES / "4hg7.mtz")[::40]

LONG: dict[str, Callable[[Any], object]] = {
    "score_model": lambda p: vxgrid.score_model(MODEL, MAP, progress=p),
    "score_residues": lambda p: vxgrid.score_residues(MODEL, DENSITY, radius=1, progress=p),
    "exact": lambda p: DATA.calculate_structure_factors(MODEL, progress=p),
    "table": lambda p: DATA.calculate_structure_factors(MODEL, method="table", progress=p),
    "fit": lambda p: vxgrid.Gaussians.fit(MODEL.subset(range(10)), max_gaussians=3, progress=p),
}


@pytest.mark.parametrize("call", LONG.values(), ids=LONG)
def test_progress(call: Callable[[Any], object]) -> None:
    told: list[tuple[int, int]] = []
    call(lambda *at: told.append(at))
    done, totals = zip(*told)
    assert list(done) == sorted(done) and done[0] == 0 and set(totals) == {done[-1]}
    with pytest.raises(TypeError, match="progress: a callable .* was wanted, int came"):
        call(5)

    def stop(done: int, total: int) -> None:
        calls.append(done)
        if len(calls) == last:
            raise ZeroDivisionError

    for last in (1, len(told)):
        calls: list[int] = []
        with pytest.raises(ZeroDivisionError):
            call(stop)
        assert len(calls) == last


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_pickles_of_all_protocols(protocol: int) -> None:
    things = [
        DENSITY,
        MODEL,
        DATA,
        vxgrid.Gaussians([[1, 2, 3]], widths=1),
        SYMMETRY,
        SYMMETRY.cell,
        SYMMETRY.group,
        vxgrid.MtzFile(SAMPLES / "4hg7.mtz"),
    ]
    assert [repr(pickle.loads(pickle.dumps(thing, protocol))) for thing in things] == [repr(thing) for thing in things]
    for function in (vxgrid.rscc, vxgrid.resolution_of, vxgrid.SkewGrid.from_json, vxgrid.Molecule.subset):
        assert pickle.loads(pickle.dumps(function, protocol)) == function
    for thing in (DENSITY.attributes, DATA.columns):
        with pytest.raises(TypeError, match="cannot pickle"):
            pickle.dumps(thing, protocol)


def test_the_base_of_all_classes_has_no_instances() -> None:
    with pytest.raises(TypeError, match="no instances"):
        vxgrid.Grid.__mro__[-2]()


BIG = vxgrid.ScalarGrid.zeros((300, 300, 300))
MANY = vxgrid.Reflections(np.random.default_rng(0).integers(-40, 40, (400000, 3)), symmetry=SYMMETRY)
ATOMS = vxgrid.Molecule(np.zeros((300000, 3)), 6, chain_ids="A")


@pytest.mark.parametrize(
    "call",
    [
        BIG.to_bytes,
        BIG.copy,
        MANY.sorted,
        MANY.to_bytes,
        lambda: vxgrid.Reflections(MANY.hkl),
        lambda: ATOMS.chain_ids,
        lambda: setattr(ATOMS, "b_factors", 20),
        lambda: vxgrid.rscc_maps(MODEL, MAP),
    ],
)
def test_others_run_meanwhile(call: Callable[[], object]) -> None:
    """With no time slices a thread runs when another lets it, and at no other time."""
    turns = 0
    is_over = False

    def count() -> None:
        nonlocal turns
        while not is_over:
            turns += 1
            time.sleep(0.0001)

    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    counter = threading.Thread(target=count)
    try:
        counter.start()
        for _ in range(20):
            before = turns
            call()
            if turns > before:
                break
        else:
            pytest.fail("the GIL was held")
    finally:
        is_over = True
        sys.setswitchinterval(interval)
        counter.join()
