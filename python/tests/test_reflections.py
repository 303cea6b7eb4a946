"""Reflections: columns beside gemmi's, maps in closed form, files, pickles, and sets in use while they change."""

import copy
import gc
import pickle
import threading
from collections.abc import Callable
from pathlib import Path

import gemmi
import numpy as np
import pytest

import vxgrid
from conftest import SAMPLES

MTZ = SAMPLES / "4hg7.mtz"
CELL = (10.0, 12.0, 14.0, 80.0, 95.0, 105.0)


@pytest.fixture(scope="module")
def crystal() -> vxgrid.Reflections:
    return vxgrid.read_reflections(MTZ)


def one_reflection() -> vxgrid.Reflections:
    return vxgrid.Reflections(
        [[1, -2, 3]], {"fobs": [50], "phase": [30]}, symmetry=vxgrid.Symmetry(1, CELL), title="one"
    )


def test_columns_are_those_of_the_file(crystal: vxgrid.Reflections) -> None:
    theirs = gemmi.read_mtz_file(str(MTZ))
    mtz = vxgrid.MtzFile(MTZ)
    assert mtz.column_types == {column.label: column.type for column in theirs.columns}
    assert list(mtz) == list(mtz.column_types) and len(mtz) == len(theirs.columns)
    assert "FP" in mtz and "fp" not in mtz and 1 not in mtz
    for column in theirs.columns:
        np.testing.assert_array_equal(mtz[column.label], np.array(column, copy=False))
    columns = crystal.columns
    for name, label in {"fobs": "FP", "sigma": "SIGFP", "fcalc": "FC", "phiwt": "PHWT", "fdelwt": "DELFWT"}.items():
        np.testing.assert_array_equal(columns[name], mtz[label])
        assert columns[name].dtype == np.float32
    np.testing.assert_array_equal(crystal.hkl, theirs.make_miller_array())
    np.testing.assert_allclose(crystal.calculate_resolution(), theirs.make_d_array(), rtol=2e-6)
    named = vxgrid.read_reflections(MTZ, labels={"fcalc": "FC_ALL_LS"})
    np.testing.assert_array_equal(named.columns["fcalc"], mtz["FC_ALL_LS"])
    assert crystal.symmetry is not None and crystal.symmetry.group.number == 179
    assert mtz.map_types[:2] == ["Fwt", "Fdelwt"] and mtz.flags == ["FREE"]


def test_labels_and_names_of_files_may_be_no_utf8(tmp_path: Path) -> None:
    file = tmp_path / "\udce8.mtz"
    file.write_bytes(MTZ.read_bytes().replace(b"COLUMN FP ", b"COLUMN F\xe9 "))
    mtz = vxgrid.MtzFile(file)
    assert "F\udce9" in mtz and mtz.amplitudes[0] == "F\udce9"
    observed = mtz["F\udce9"]
    np.testing.assert_array_equal(vxgrid.read_reflections(file, labels={"fobs": "F\udce9"}).columns["fobs"], observed)
    whole = vxgrid.read_mtz(MTZ, "Fo", amplitude="FP")
    np.testing.assert_array_equal(vxgrid.read_mtz(file, "Fo", amplitude="F\udce9").values, whole.values)
    with pytest.raises(ValueError, match="\udce8.mtz: no column FP; there are .* F\udce9:F "):
        mtz.make_map("Fo", amplitude="FP")
    with pytest.raises(KeyError, match="udcea"):
        mtz["\udcea"]


def test_views_stay_as_they_are_while_the_set_changes() -> None:
    reflections = one_reflection()
    view = reflections.columns["fobs"]
    twin = copy.copy(reflections)
    with pytest.raises(ValueError, match="read-only"):
        view[0] = 1
    reflections.columns["fobs"] = 2 * view
    reflections.columns["rfree"] = [True]
    reflections.abcd = np.ones((1, 4))
    reflections.hkl = [[4, 5, 6]]
    del reflections.columns["phase"]
    assert view[0] == twin.columns["fobs"][0] == 50 and twin.hkl.tolist() == [[1, -2, 3]] and twin.abcd is None
    assert reflections.columns.pop("phase", None) is None
    assert set(reflections.columns) == {"fobs", "rfree"} and reflections.columns["rfree"].dtype == np.int32
    del reflections, twin
    gc.collect()
    assert view.sum() == 50


def test_the_map_of_one_reflection_is_a_wave() -> None:
    grid = one_reflection().make_map("Fo")
    nz, ny, nx = grid.shape
    z, y, x = np.meshgrid(*(np.arange(n) / (n - 1) for n in (nz, ny, nx)), indexing="ij")
    volume = vxgrid.UnitCell(*CELL).volume
    wave = 2 * 50 / volume * np.cos(2 * np.pi * (x - 2 * y + 3 * z) - np.radians(30))
    np.testing.assert_allclose(grid.values, wave, atol=1e-6 * 100 / volume)
    amplitudes, phases = one_reflection().map_coefficients("Fo*Fo")
    assert (amplitudes[0], phases[0]) == (2500, 30)


def test_rows(crystal: vxgrid.Reflections) -> None:
    backwards = crystal[::-1]
    np.testing.assert_array_equal(backwards.hkl, crystal.hkl[::-1])
    hkl = backwards.sorted().hkl
    np.testing.assert_array_equal(hkl, crystal.hkl[np.lexsort(crystal.hkl.T[::-1])])
    strong = crystal[crystal.columns["fwt"] > 100]
    assert 0 < len(strong) == (crystal.columns["fwt"] > 100).sum() and strong.symmetry == crystal.symmetry
    assert strong.columns["fwt"].min() > 100 and strong.resolution_range == crystal.resolution_range
    assert len(crystal[[]]) == 0


def test_structure_factors_follow_the_symmetry(crystal: vxgrid.Reflections) -> None:
    """Mates get by expansion what the sum gives at their own indices; the table comes close to the sum."""
    model = vxgrid.read_molecule(SAMPLES / "4hg7.pdb", alternates="all")
    some = crystal[::200]
    calls: list[tuple[int, ...]] = []
    assert some.calculate_structure_factors(model, progress=lambda *at: calls.append(at)) == 0
    assert [done for done, _ in calls] == sorted({done for done, _ in calls}) and calls[0] == (0, len(some))
    mates = some.expanded()
    again = mates.copy()
    again.calculate_structure_factors(model)
    f, g = (
        r.columns["fcalc"] * np.exp(1j * np.radians(r.columns["phase_calc"].astype(float))) for r in (mates, again)
    )
    assert len(mates) > 8 * len(some)
    assert np.abs(f - g).max() < 1e-4 * np.abs(g).max()
    some.calculate_structure_factors(model, method="table")
    assert np.corrcoef(some.columns["fcalc"], f[: len(some)].__abs__())[0, 1] > 0.999


def test_what_progress_raises_stops_the_work(crystal: vxgrid.Reflections) -> None:
    model = vxgrid.read_molecule(SAMPLES / "4hg7.pdb")
    some = crystal[:100]
    before = some.columns["fcalc"]

    def stop(done: int, total: int) -> None:
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        some.calculate_structure_factors(model, progress=stop)
    np.testing.assert_array_equal(some.columns["fcalc"], before)


@pytest.mark.parametrize("extension", ["vxx", "phs", "fob"])
def test_files_give_back_what_they_hold(tmp_path: Path, crystal: vxgrid.Reflections, extension: str) -> None:
    some = crystal[np.isfinite(crystal.columns["fobs"])][:50]
    some.columns["phase"] = some.columns["phase_calc"]
    path = tmp_path / f"réflexions.{extension}"
    vxgrid.write_reflections(path, some)
    back = vxgrid.read_reflections(str(path))
    np.testing.assert_array_equal(back.hkl, some.hkl)
    np.testing.assert_allclose(back.columns["fobs"], some.columns["fobs"], rtol=1e-3)
    if extension == "vxx":
        assert set(back.columns) == set(some.columns) and back.symmetry == some.symmetry and back.title == some.title


def test_pickles(crystal: vxgrid.Reflections) -> None:
    crystal = crystal.copy()
    crystal.attributes["note"] = "ours"
    back = pickle.loads(pickle.dumps(crystal))
    assert dict(back.attributes) == dict(crystal.attributes) and back.attributes["note"] == "ours"
    assert back.symmetry == crystal.symmetry and set(back.columns) == set(crystal.columns)
    for name, column in crystal.columns.items():
        np.testing.assert_array_equal(back.columns[name], column)
    data = crystal.to_bytes()
    for cut in (0, 1, 30, len(data) // 2, len(data) - 1):
        with pytest.raises(ValueError, match="record"):
            vxgrid.Reflections.from_bytes(data[:cut])


def test_one_set_in_several_threads(crystal: vxgrid.Reflections) -> None:
    shared = crystal[:4000]
    first = shared.make_map("Fwt").values.tobytes()
    maps: list[bytes] = []
    workers = [threading.Thread(target=lambda: maps.append(shared.make_map("Fwt").values.tobytes())) for _ in range(4)]
    for worker in workers:
        worker.start()
    for i in range(50):
        shared.columns["fobs"] = np.full(4000, i)
    for worker in workers:
        worker.join()
    assert maps == [first] * 4


def test_shown(crystal: vxgrid.Reflections) -> None:
    assert repr(crystal).startswith("<Reflections: 21397 reflections, P 65 2 2, cell 71.45 71.45 104.204 90 90 120, 30.9")
    table = crystal._repr_html_()  # type: ignore[attr-defined]
    assert table.count("<tr>") == 12 and "<th>phiwt</th>" in table and "<td>…</td>" in table
    one = one_reflection()
    one.title = "\udce9"  # of a file that is not UTF-8
    assert one.copy().title == "\udce9"
    one.title = "<b>"
    assert "&lt;b&gt;" in one._repr_html_()  # type: ignore[attr-defined]


def write(folder: Path, name: str, data: bytes) -> Path:
    (folder / name).write_bytes(data)
    return folder / name


REFUSED: list[tuple[Callable[[Path], object], type[Exception], str]] = [
    (lambda _: vxgrid.Reflections([[1, 2]]), ValueError, r"hkl: .* \(n, 3\) was wanted"),
    (lambda _: vxgrid.Reflections([[1, 2, 3.5]]), TypeError, "whole numbers"),
    (lambda _: vxgrid.Reflections([[1, 2, 2**40]]), ValueError, "32 bits"),
    (lambda _: vxgrid.Reflections([[1, 2, 3]], {"f": [1]}), ValueError, "fobs, sigma.* was wanted, f came"),
    (lambda _: vxgrid.Reflections([[1, 2, 3]], {"fobs": [1, 2]}), ValueError, r"\(1,\) was wanted, \(2,\) came"),
    (lambda _: one_reflection().columns["fom"], KeyError, "fom"),
    (lambda _: one_reflection()[0], TypeError, "0 came"),
    (lambda _: one_reflection()[[5]], IndexError, "5"),
    (lambda _: one_reflection().make_map("Fwt"), ValueError, "there are fobs phase"),
    (lambda _: one_reflection().make_map("x"), ValueError, "Fwt, .* came"),  # type: ignore[arg-type]
    (lambda _: one_reflection()[:0].make_map("Fo"), vxgrid.Error, "a map takes reflections"),
    (lambda _: vxgrid.Reflections([[1, 2, 3]], {"fobs": [np.inf], "phase": [0]},
                                  symmetry=vxgrid.Symmetry(19, CELL)).make_map("Fo"), vxgrid.Error, "infinite"),
    (lambda _: vxgrid.Reflections([[1, 2, 3]]).expanded(), vxgrid.Error, "space group"),
    (lambda _: vxgrid.Reflections([[2**31 - 1] * 3], {"fobs": [1], "phase": [0]},
                                  symmetry=vxgrid.Symmetry(1, CELL)).make_map("Fo"), vxgrid.Error, "2147483647"),
    (lambda _: one_reflection().calculate_structure_factors(vxgrid.Molecule([[0, 0, 0]], [6])), vxgrid.Error,
     "no residue data"),
    (lambda d: vxgrid.read_reflections(d / "none.mtz"), vxgrid.Error, "none.mtz: the file cannot be opened"),
    (lambda d: vxgrid.read_reflections(d), ValueError, "extension"),
    (lambda d: vxgrid.read_reflections(write(d, "x.hkl", b"")), vxgrid.Error, "no reflections in this file"),
    (lambda d: vxgrid.read_reflections(write(d, "x.cif", b"data_x")), vxgrid.Error, "F_meas_sigma"),
    (lambda d: vxgrid.MtzFile(write(d, "x.mtz", b"data_x" * 80)), vxgrid.Error, "not an MTZ file"),
    (lambda d: vxgrid.read_mtz(write(d, "y.mtz", MTZ.read_bytes()[:100000])), vxgrid.Error, "cut off"),
    (lambda _: vxgrid.read_mtz(MTZ, amplitude="PHIC"), ValueError, "PHIC holds phases"),
    (lambda _: vxgrid.read_mtz(MTZ, phase="FP"), ValueError, "FP holds no phases"),
    (lambda _: vxgrid.read_mtz(MTZ, amplitude="FX"), ValueError, "no column FX; there are .* FP:F"),
    (lambda _: vxgrid.read_reflections(MTZ, labels={"free": "FREE"}), ValueError, "free is no column"),
    (lambda _: vxgrid.read_reflections(MTZ, labels=["FP"]), TypeError, "labels: a dict .* came"),  # type: ignore[arg-type]
    (lambda d: vxgrid.write_reflections(d / "x.mtz", one_reflection()), ValueError, "phs"),
    (lambda d: vxgrid.write_reflections(d / "x.phs", one_reflection()), vxgrid.Error, "fom"),
    (lambda d: vxgrid.write_reflections(d / "none" / "x.vxx", one_reflection()), vxgrid.Error, "cannot be written"),
    (lambda _: vxgrid.set_fft_backend("fftw"), ValueError, "pocketfft"),  # type: ignore[arg-type]
]


@pytest.mark.parametrize("make, error, says", REFUSED)
def test_refuses_and_says_why(
    tmp_path: Path, make: Callable[[Path], object], error: type[Exception], says: str
) -> None:
    with pytest.raises(error, match=says):
        make(tmp_path)


def test_both_transforms_agree() -> None:
    assert vxgrid.fft_backend() == "pocketfft"
    fast = vxgrid.read_mtz(MTZ).values
    try:
        vxgrid.set_fft_backend("fftw2")
        np.testing.assert_allclose(vxgrid.read_mtz(MTZ).values, fast, atol=2e-6)
    finally:
        vxgrid.set_fft_backend("pocketfft")
