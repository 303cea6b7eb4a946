"""Molecules: from arrays and back, from files, and what a user hands over by mistake."""

import copy
import gc
import pickle
from collections import Counter
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import vxgrid

from conftest import SAMPLES

PER_ATOM: dict[str, Any] = {
    "atom_names": ["CA", "a long name of \udcff", ""],
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

    # Columns of a table hold objects; text that is no UTF-8 comes out of files.
    table = vxgrid.Molecule(np.zeros((2, 3)), np.array(["C", "O"], object), chain_ids=np.array("A"), title="\udcff")
    assert table.atomic_numbers.tolist() == [6, 8] and table.chain_ids.tolist() == ["A", "A"] and table.title == "\udcff"

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
        (lambda: small(chain_ids="\u03bb" * 60), ValueError, "at most 15 bytes"),
        (lambda: small(residue_names="a\0b"), ValueError, "without zero characters"),
        (lambda: small(title="a\0b"), ValueError, "title: text without zero characters"),
        (lambda: small(insert_codes="AB"), ValueError, "one ASCII character or none"),
        (lambda: setattr(small(), "pdb_records", ["ab"]), ValueError, "pairs (tag, value)"),
        (lambda: setattr(small(), "coordinates", np.zeros((1, 3))), ValueError, "(3, 3) was wanted, (1, 3) came"),
        (lambda: vxgrid.atomic_number("Qq"), ValueError, "'Qq' came"),
        (lambda: vxgrid.atomic_symbol(119), ValueError, "119 came"),
        (lambda: vxgrid.bondi_radius(-1), ValueError, "-1 came"),
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
        (mol.atom_names, lambda line: line[12:16].strip()),
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


def same(a: vxgrid.Molecule, b: vxgrid.Molecule) -> bool:
    """Whether everything that arrays and records say is the same, bit for bit."""
    arrays = ["coordinates", "atomic_numbers", "bonds", "image_numbers", "has_residues", *PER_ATOM]
    texts = ["title", "pdb_records", "attributes", "symmetry"]
    return all(np.array_equal(getattr(a, name), getattr(b, name)) for name in arrays) and all(
        getattr(a, name) == getattr(b, name) for name in texts
    )


def test_pickle_keeps_everything() -> None:
    mol = small(title="λ", **PER_ATOM)
    mol.attributes["scores \udcff"] = [1.5, -2.0]  # names of attributes may come out of files, too
    mol.symmetry = vxgrid.Symmetry("P 21 21 21", (40, 50, 60, 90, 90, 90))
    model = vxgrid.read_molecule(SAMPLES / "4hg7.pdb")
    for one in [mol, model, small(), vxgrid.Molecule(np.zeros((0, 3)), [])]:
        assert same(pickle.loads(pickle.dumps(one)), one)
        assert same(vxgrid.Molecule.from_bytes(one.to_bytes()), one)
    whole = mol.to_bytes()
    for length in range(len(whole)):
        with pytest.raises(ValueError, match="VXGraphMol"):
            vxgrid.Molecule.from_bytes(whole[:length])


def test_parts_and_sums() -> None:
    mol = small(**PER_ATOM)
    selections: list[Any] = [[True, True, False], [1, 0], np.array([0, -2, 0])]
    for atoms in selections:
        part = mol.subset(atoms)
        assert part.symbols.tolist() == ["C", "O"] and part.bonds.tolist() == [[0, 1, 2]]
        assert part.residue_numbers.tolist() == [-1, 2] and part.atom_names.tolist() == PER_ATOM["atom_names"][:2]
    assert same(mol.without_hydrogens(), part) and len(mol.subset([])) == 0
    both = part + mol
    assert both.bonds.tolist() == [[0, 1, 2], [2, 3, 2], [4, 2, 1]]
    assert both.radii.tolist() == [1.7, 1.52, 1.7, 1.52, 1.2]
    for wrong in [[3], [-4]]:
        with pytest.raises(IndexError, match="a molecule of 3 atoms"):
            mol.subset(wrong)
    with pytest.raises(ValueError, match="shape"):
        mol.subset([True])


def test_places_and_elements() -> None:
    mol = small()
    assert mol.center == pytest.approx((0.6, 0, 0.55)) and np.ravel(mol.extents) == pytest.approx([0, 0, 0, 1.2, 0, 1.1])
    weights = [12.011, 15.999, 1.008]  # IUPAC 2021
    assert mol.weights.tolist() == weights
    assert mol.center_of_mass() == pytest.approx((1.2 * weights[1] / sum(weights), 0, 1.1 * weights[2] / sum(weights)))
    assert mol.center_of_mass(weighted=False) == pytest.approx((0.4, 0, 1.1 / 3))
    mol.rotate([[0, -1, 0], [1, 0, 0], [0, 0, 1]])  # x onto y
    mol.translate((0, 0, 1))
    np.testing.assert_allclose(mol.coordinates, [[0.0, 0.0, 1.0], [0.0, 1.2, 1.0], [0.0, 0.0, 2.1]], atol=1e-6)
    mol.assign_radii()
    assert mol.radii.tolist() == [1.7, 1.52, 1.2]  # Bondi 1964
    mol.assign_radii("gaussian")
    assert mol.radii[2] == 1
    assert [vxgrid.atomic_number(s) for s in ["H", "se", "D"]] == [1, 34, 1] and vxgrid.atomic_symbol(34) == "Se"
    assert vxgrid.atomic_weight(6) == 12.011 and vxgrid.bondi_radius(6) == 1.7


def test_molecules_of_a_file(tmp_path: Path, caplog: pytest.LogCaptureFixture) -> None:
    whole = (SAMPLES / "ligands.sdf").read_text()
    reader = vxgrid.read_molecules(SAMPLES / "ligands.sdf")
    mols = list(reader)
    assert len(mols) == reader.number == whole.count("$$$$") and reader.share_read == 1
    assert mols[0].title == whole.split("\n")[0] and same(mols[0], vxgrid.read_molecule(SAMPLES / "ligands.sdf"))

    records = whole.split("$$$$\n")[:3]
    file = tmp_path / "ligands.sdf"
    file.write_text("$$$$\n".join([records[0], "broken\n", records[2], ""]))
    reader = vxgrid.read_molecules(str(file))
    assert next(reader).title == mols[0].title
    with pytest.raises(vxgrid.Error, match="molecule 2"):
        next(reader)
    assert next(reader).title == mols[2].title
    with pytest.raises(StopIteration):
        next(reader)
    assert [mol.title for mol in vxgrid.read_molecules(file, skip_faults=True)] == [mols[0].title, mols[2].title]
    assert "molecule 2" in caplog.text

    # Threads may draw from one reader: each molecule comes once.
    file.write_text(whole * 50)
    shared = vxgrid.read_molecules(file)
    with ThreadPoolExecutor(4) as pool:
        titles = [title for part in pool.map(lambda _: [mol.title for mol in shared], range(4)) for title in part]
    assert Counter(titles) == {mol.title: 50 for mol in mols}


def test_symmetry_images() -> None:
    """Against distances between fractions, worked out here."""
    mol = vxgrid.read_molecule(SAMPLES / "4hg7.pdb")
    symmetry = mol.symmetry
    assert symmetry is not None and symmetry.group.number == 179 and symmetry.cell.a == pytest.approx(71.45)
    assert small().symmetry is None

    in_cell = mol.images_in_cell()
    assert [image.operator for image in in_cell] == list(range(12)) and in_cell[0].is_identity
    expanded = mol.expand_cell((0, 0, 1))
    assert Counter(expanded.image_numbers.tolist()) == {i: len(mol) for i in range(13)}
    for i, image in enumerate(mol.images_in_cell((0, 0, 1)), 1):
        moved = np.c_[mol.coordinates, np.ones(len(mol))] @ image.matrix.T
        np.testing.assert_allclose(expanded.coordinates[expanded.image_numbers == i], moved[:, :3], atol=1e-4)
        center = symmetry.cell.to_fractional(expanded.subset(expanded.image_numbers == i).center_of_mass())
        assert np.floor(center).tolist() == [0, 0, 1]

    # Every atom of the crystal within 10 Å of the molecule's center is in the expansion, each once.
    around = mol.expand_near(10)
    near = np.linalg.norm(around.coordinates - mol.center, axis=1) < 10
    found = np.unique(np.round(around.coordinates[near & (around.image_numbers > 0)], 1), axis=0)
    fractions = np.concatenate([symmetry.to_fractional(mol.coordinates, operator=op) for op in range(12)])
    shifts = np.stack(np.meshgrid(*[np.arange(-4, 5)] * 3), -1).reshape(-1, 1, 3)
    places = symmetry.cell.to_cartesian((fractions[None] + shifts).reshape(-1, 3))
    crystal = places[np.linalg.norm(places - mol.center, axis=1) < 10]
    assert len(found) == pytest.approx(len(np.unique(np.round(crystal, 1), axis=0)), abs=2)  # of rounding alone

    mol.symmetry = None
    assert mol.symmetry is None and not any(tag == "CRYST1" for tag, _ in mol.pdb_records)
    with pytest.raises(ValueError, match="no symmetry"):
        mol.images_near(5)
    mol.symmetry = symmetry
    assert mol.symmetry == symmetry and any(tag == "CRYST1" for tag, _ in mol.pdb_records)
    with pytest.raises(ValueError, match="radius"):
        mol.images_near(float("nan"))
    with pytest.raises(vxgrid.Error, match="new atoms"):
        mol.expand_near(1500)
    with pytest.raises(vxgrid.Error, match="images to try"):
        mol.images_near(1e5)
