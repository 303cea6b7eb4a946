"""The examples run and find what is there, and so does the code of docs/python.md."""

import csv
import re
import runpy
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from conftest import SAMPLES, SOURCE

import vxgrid

MODEL, DATA, LIGANDS = SAMPLES / "4hg7.pdb", SAMPLES / "4hg7.mtz", SAMPLES / "ligands.sdf"


def run(name: str, *arguments: object) -> str:
    command = [sys.executable, str(SOURCE / "examples" / "python" / name), *map(str, arguments)]
    return subprocess.run(command, check=True, capture_output=True, encoding="utf-8").stdout


def test_score_model() -> None:
    lines = run("score_model.py", MODEL, DATA, 3).splitlines()
    assert lines[0] == "RSCC 0.879  RSR 0.081  radius 0.567 Å  residues 91"  # as the README has it
    assert [line.split()[:3] for line in lines[1:]] == [["A", "43", "ALA"], ["A", "78", "SER"], ["A", "41", "VAL"]]


def test_difference_peaks() -> None:
    table = run("difference_peaks.py", MODEL, DATA).splitlines()[1:]
    rows = np.array([[float(each) for each in line.split()[:5]] for line in table])
    difference = vxgrid.read_mtz(DATA, "Fdelwt")
    assert rows[0, 0] == pytest.approx(difference.values.max(), abs=0.01) and (np.abs(rows[:, 0]) >= 4).all()
    assert (np.diff(np.abs(rows[:, 0])) <= 0.01).all() and (rows[:, 0] < 0).any()
    # A mate is as high as the peak: the height at the place, between samples, is near it.
    assert np.abs(difference.interpolate(rows[:, 1:4]) / rows[:, 0] - 1).max() < 0.2
    atoms = vxgrid.read_molecule(MODEL).coordinates
    distances = np.linalg.norm(rows[:, None, 1:4] - atoms, axis=-1).min(1)
    assert distances == pytest.approx(rows[:, 4], abs=0.02)


def test_ligand_shapes() -> None:
    rows = list(csv.DictReader(run("ligand_shapes.py", LIGANDS).splitlines()))
    assert [row["title"] for row in rows] == ["ZINC03814457", "ZINC03814458", "ZINC00023543"]
    assert [float(row["volume"]) for row in rows] == pytest.approx([179.35, 190.19, 191.74], abs=0.01)  # `vxgrid shape`
    # The similarity of a sum over pairs in double precision, by another program.
    assert [float(row["similarity"]) for row in rows[:2]] == pytest.approx([1, 0.892], abs=5e-4)


def test_convert_maps(tmp_path: Path) -> None:
    source = tmp_path / "maps"
    source.mkdir()
    values = np.random.default_rng(3).normal(size=(7, 6, 5)).astype(np.float32)
    vxgrid.write_grid(source / "plain.vxb", vxgrid.ScalarGrid(values, spacing=0.5))
    oblique = vxgrid.SkewGrid(values, cell=(3, 4, 5, 90, 110, 90), space_group=1)
    vxgrid.write_grid(source / "run.1.vxb.gz", oblique)
    (source / "damaged.map").write_bytes(b"no map")
    (source / "run.1.map.old").write_bytes(b"no map, and not one by its name")
    told = run("convert_maps.py", source, tmp_path / "out", "agd").splitlines()
    assert ["damaged.map failed" in told[0], "resampled" in told[1], "resampled" in told[2]] == [True, False, True]
    assert vxgrid.read_grid(tmp_path / "out" / "plain.agd").values == pytest.approx(values, rel=1e-5)
    assert sorted(path.name for path in (tmp_path / "out").iterdir()) == ["plain.agd", "run.1.agd"]

    vxgrid.write_grid(source / "plain.agd", vxgrid.read_grid(source / "plain.vxb"))
    with pytest.raises(subprocess.CalledProcessError) as failure:
        run("convert_maps.py", source, tmp_path / "other")
    assert failure.value.stderr == "more than one map would become plain.map\n" and not (tmp_path / "other").exists()


def test_page(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    """Every block of Python in docs/python.md, one after another where the sample data are."""
    pytest.importorskip("matplotlib")
    blocks = re.findall(r"^```python\n(.*?)^```", (SOURCE / "docs" / "python.md").read_text(encoding="utf-8"), re.S | re.M)
    assert len(list(filter(None, blocks[0].splitlines()))) <= 10
    for path in SAMPLES.iterdir():
        (tmp_path / path.name).symlink_to(path)
    script = tmp_path / "page.py"
    script.write_text("\n".join(blocks), encoding="utf-8")
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "Agg")
    names = runpy.run_path(str(script))
    assert (tmp_path / "section.png").stat().st_size > 1000 and len(names["volumes"]) == 3
