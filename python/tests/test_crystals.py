"""Cells, space groups and symmetry against gemmi and closed formulas."""

import pickle
from collections.abc import Callable

import numpy as np
import pytest

import vxgrid

TRICLINIC = (20.0, 31.0, 42.0, 71.0, 82.0, 103.0)
POINTS = np.random.default_rng(7).uniform(-50, 50, (100, 3))


def test_cell_as_gemmi_has_it() -> None:
    gemmi = pytest.importorskip("gemmi")
    ours, theirs = vxgrid.UnitCell(*TRICLINIC), gemmi.UnitCell(*TRICLINIC)
    assert ours.volume == pytest.approx(theirs.volume, rel=1e-6)
    assert np.allclose(ours.frac2cart, theirs.orthogonalization_matrix.tolist(), rtol=0, atol=1e-4)
    expected = np.array([theirs.fractionalize(gemmi.Position(*p)).tolist() for p in POINTS])
    assert np.allclose(ours.to_fractional(POINTS), expected, atol=1e-5)
    assert np.allclose(ours.to_cartesian(ours.to_fractional(POINTS[::-2])), POINTS[::-2], atol=1e-4)
    assert ours.is_close(theirs.parameters, tolerance=1e-5) and ours.to_fractional(POINTS[0]).shape == (3,)


def test_groups_as_gemmi_has_them() -> None:
    gemmi = pytest.importorskip("gemmi")
    groups = vxgrid.space_groups()
    assert {each.number % 1000 for each in groups} == set(range(1, 231)) and len(set(groups)) == len(groups)
    for each in groups:
        operators = [gemmi.Op() for _ in each.operators]
        for op, matrix in zip(operators, np.round(each.operators * 24).astype(int)):
            op.rot, op.tran = matrix[:3, :3].tolist(), matrix[:3, 3].tolist()
        theirs = gemmi.find_spacegroup_by_ops(gemmi.GroupOps(operators))
        if each.name == "A 2 1 1":  # a setting that gemmi does not list
            continue
        # I 1 21 1 is numbered after its name; by its operators it is a setting of number 5.
        assert theirs.number == (5 if each.name == "I 1 21 1" else each.number % 1000), each
        assert theirs.crystal_system_str() == each.system and vxgrid.SpaceGroup(each.number).number == each.number


@pytest.mark.parametrize("name, number", [("P21/c", 14), ("p 1 21/c 1", 14), ("H 3 2", 155), ("R32", 1155)])
def test_names(name: str, number: int) -> None:
    assert vxgrid.SpaceGroup(name).number == number and vxgrid.SpaceGroup(name) == vxgrid.SpaceGroup(number)


def test_images_map_the_crystal_on_itself() -> None:
    symmetry = vxgrid.Symmetry("P 21 21 21", (30, 40, 50, 90, 90, 90))
    for op in range(4):
        image = symmetry.image(op, (1, 0, -2))
        moved = POINTS @ image[:3, :3].T + image[:3, 3]
        expected = symmetry.to_fractional(POINTS, operator=op) + (1, 0, -2)
        assert np.allclose(symmetry.cell.to_fractional(moved), expected, atol=1e-4)
        home = symmetry.image(op, center=POINTS[0]) @ [*POINTS[0], 1]
        fraction = symmetry.cell.to_fractional(home[:3])
        assert np.all((fraction > -1e-5) & (fraction < 1 + 1e-5))
        assert np.allclose(fraction, symmetry.to_fractional(POINTS[0], operator=op, wrap=True), atol=1e-5)
    with pytest.raises(IndexError, match="0 to 3 was wanted, 4 came"):
        symmetry.image(4)


def test_a_cell_that_does_not_fit_is_logged(caplog: pytest.LogCaptureFixture) -> None:
    symmetry = vxgrid.Symmetry(96, (30, 40, 50, 90, 90, 90))
    assert "does not meet the constraints" in symmetry.warning and symmetry.warning in caplog.text


def test_pickles() -> None:
    symmetry = vxgrid.Symmetry("C 1 2 1", vxgrid.UnitCell(30, 40, 50, beta=101))
    symmetry.enabled = [True, False, True, False]
    for each in (symmetry, symmetry.cell, *vxgrid.space_groups()):
        assert pickle.loads(pickle.dumps(each)) == each


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda: vxgrid.UnitCell(0, 1, 1), ValueError, "edges above 0"),
        (lambda: vxgrid.UnitCell(1, 1, 1, 20, 20, 60), ValueError, "meet in a corner"),
        (lambda: vxgrid.UnitCell(1, 1, float("nan")), ValueError, "edges above 0"),
        (lambda: vxgrid.UnitCell(1, 1, 1).to_cartesian(np.zeros((3, 2))), ValueError, "(n, 3) were wanted, (3, 2) came"),
        (lambda: vxgrid.Symmetry(1, (1, 2, 3)), ValueError, "cell: an array of shape (6,) was wanted, (3,) came"),
        (lambda: vxgrid.Symmetry(1, None), TypeError, "cell: an array of numbers"),  # type: ignore[arg-type]
        (lambda: vxgrid.SpaceGroup("P 99"), ValueError, "'P 99' came"),
        (lambda: vxgrid.SpaceGroup(-(2**70)), ValueError, "space group was wanted"),
        (lambda: vxgrid.SpaceGroup(1.5), TypeError, "float came"),  # type: ignore[arg-type]
        (lambda: setattr(vxgrid.Symmetry(4, (1, 1, 1, 90, 90, 90)), "enabled", [True]), ValueError, "2 operators"),
    ],
)
def test_refuses_and_says_why(make: Callable[[], object], error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        make()
    assert says in str(raised.value)
