"""Molecules: from arrays and back, from files, and what a user hands over by mistake."""

import copy
import gc
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import vxgrid

from conftest import SAMPLES

PER_ATOM: dict[str, Any] = {
    "formal_charges": [0, -1, 0],
    "radii": [1.7, 1.52, 1.2],
    "residue_names": ["ÅÄ", "MOL", "MOL"],
    "residue_numbers": [-1, 2, 2],
    "chain_ids": ["A", "long", ""],
    "insert_codes": ["", "A", "A"],
    "b_factors": [20.5, 0, 3],
    "occupancies": [1, 0.5, 0],
    "alternate_locations": ["", "B", ""],
    "serial_numbers": [7, 8, 2147483647],
}


def small(**more: Any) -> vxgrid.Molecule:
    coordinates = [[0.0, 0.0, 0.0], [1.2, 0.0, 0.0], [0.0, 0.0, 1.1]]
    return vxgrid.Molecule(coordinates, ["C", "O", "H"], bonds=[[0, 1, 2], [2, 0, 1]], **more)


def test_arrays_in_and_out() -> None:
    mol = small(title="λ", **PER_ATOM)
    for name, values in PER_ATOM.items():
        np.testing.assert_array_equal(getattr(mol, name), np.array(values, getattr(mol, name).dtype), name)
    assert mol.atomic_numbers.tolist() == [6, 8, 1] and mol.symbols.tolist() == ["C", "O", "H"]
    assert mol.bonds.tolist() == [[0, 1, 2], [2, 0, 1]] and mol.title == "λ"
    # The last two atoms differ in their chain alone.
    assert mol.residues == [("A", -1, "", "ÅÄ"), ("long", 2, "A", "MOL"), ("", 2, "A", "MOL")]
    assert mol.residues[0].insert_code == "" and mol.residue_indices.tolist() == [0, 1, 2]

    bare = small()
    assert not bare.has_residues and bare.residues == [] and bare.residue_indices.tolist() == [-1] * 3
    bare.b_factors = 12
    assert bare.has_residues and bare.occupancies.tolist() == [1] * 3 and bare.b_factors.tolist() == [12] * 3
    bare.chain_ids = np.array(["A", "B", "A"])
    assert bare.residue_indices.tolist() == [0, 1, 0]


def test_coordinates_are_a_view_and_the_rest_copies() -> None:
    mol = small()
    view, twin = mol.coordinates, copy.deepcopy(mol)
    view[1] += (0, 0, 5)
    assert mol.coordinates[1].tolist() == pytest.approx([1.2, 0, 5]) and twin.coordinates[1, 2] == 0
    mol.coordinates = np.ones((3, 3), order="F")
    mol.coordinates *= 2
    del mol
    gc.collect()
    assert (view == 2).all()
    for name in ["atomic_numbers", "radii", "bonds", "b_factors", "chain_ids"]:
        with pytest.raises(ValueError, match="read-only"):
            getattr(twin, name)[0] = 1


def test_a_molecule_without_atoms() -> None:
    empty = vxgrid.Molecule(np.zeros((0, 3)), [])
    assert len(empty) == 0 and empty.coordinates.shape == empty.bonds.shape == (0, 3)
    assert empty.symbols.shape == empty.radii.shape == (0,) and not empty.residues


@pytest.mark.parametrize(
    "make, error, says",
    [
        (lambda: vxgrid.Molecule(np.zeros((2, 2)), 6), ValueError, "coordinates: an array of shape (n, 3)"),
        (lambda: vxgrid.Molecule([[0, 0, np.nan]], 6), ValueError, "row 0 has nan"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), [6]), ValueError, "elements: an array of shape (2,) was wanted"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), ["C", "Qq"]), ValueError, "'Qq' came"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), 119), ValueError, "from 0 to 118"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), 6.5), TypeError, "elements: an array of whole numbers"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), None), TypeError, "elements: an array of whole numbers"),  # type: ignore[arg-type]
        (lambda: small(bonds=None), TypeError, "multiple values"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), 6, bonds=[[0, 2]]), ValueError, "row 0 is (0, 2, 1)"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), 6, bonds=[[1, 1]]), ValueError, "row 0 is (1, 1, 1)"),
        (lambda: vxgrid.Molecule(np.zeros((2, 3)), 6, bonds=[0, 1]), ValueError, "shape (m, 2)"),
        (lambda: small(formal_charges=2**40), ValueError, "formal_charges: whole numbers of 32 bits"),
        (lambda: small(radii=[1, -1, 1]), ValueError, "-1.000000 came for atom 1"),
        (lambda: small(b_factors=np.inf), ValueError, "b_factors: finite numbers"),
        (lambda: small(chain_ids=["A"]), ValueError, "one for each of 3 atoms was wanted, 1 came"),
        (lambda: small(chain_ids=[1, 2, 3]), TypeError, "chain_ids: str was wanted, int came"),
        (lambda: small(chain_ids="0123456789abcdef"), ValueError, "at most 15 characters"),
        (lambda: small(residue_names="a\0b"), ValueError, "at most 15 characters"),
        (lambda: small(insert_codes="AB"), ValueError, "one character or none"),
        (lambda: setattr(small(), "pdb_records", ["ab"]), ValueError, "pairs (tag, value)"),
        (lambda: setattr(small(), "coordinates", np.zeros((4, 3))), ValueError, "broadcast"),
        (lambda: vxgrid.read_molecule("a.pdb", alternates="A"), ValueError, "best"),  # type: ignore[arg-type]
        (lambda: vxgrid.read_molecule("no/such.pdb"), vxgrid.Error, "no/such.pdb: there is no such file"),
        (lambda: vxgrid.read_molecule(SAMPLES / "4hg7.mtz"), vxgrid.Error, "extension"),
        (lambda: vxgrid.read_molecule(3), TypeError, "incompatible function arguments"),  # type: ignore[arg-type]
    ],
)
def test_refuses_and_says_why(make: Callable[[], object], error: type[Exception], says: str) -> None:
    with pytest.raises(error) as raised:
        make()
    assert says in str(raised.value)


def test_read_pdb(tmp_path: Path) -> None:
    file = tmp_path / "ångström λ.pdb"
    file.write_bytes((SAMPLES / "4hg7.pdb").read_bytes())
    lines = [line for line in file.read_text().splitlines() if line.startswith(("ATOM", "HETATM"))]
    mol = vxgrid.read_molecule(file, alternates="all")
    assert len(mol) == len(lines) == 790 and mol.title == "4HG7"
    columns: list[tuple[Any, Callable[[str], Any]]] = [
        (mol.coordinates, lambda line: [float(line[30:38]), float(line[38:46]), float(line[46:54])]),
        (mol.b_factors, lambda line: float(line[60:66])),
        (mol.occupancies, lambda line: float(line[54:60])),
        (mol.residue_names, lambda line: line[17:20].strip()),
        (mol.residue_numbers, lambda line: int(line[22:26])),
        (mol.chain_ids, lambda line: line[21]),
        (mol.alternate_locations, lambda line: line[16].strip()),
        (mol.serial_numbers, lambda line: int(line[6:11])),
        (np.char.upper(mol.symbols), lambda line: line[76:78].strip()),
    ]
    for array, of in columns:
        np.testing.assert_array_equal(array, np.array([of(line) for line in lines], array.dtype))
    assert ("CRYST1", next(s[6:] for s in file.read_text().splitlines() if s.startswith("CRYST1"))) in mol.pdb_records
    assert len(vxgrid.read_molecule(str(file))) < 790
    mol.pdb_records = [("REMARK", " one"), ("REMARK", " two")]
    assert mol.pdb_records == (("REMARK", " one"), ("REMARK", " two"))
