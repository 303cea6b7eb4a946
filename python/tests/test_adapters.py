"""Objects of RDKit and gemmi as molecules: what reading the same file gives."""

from pathlib import Path
from typing import Any

import numpy as np
import pytest

import vxgrid
from conftest import SAMPLES, real_data

ARRAYS = """coordinates atomic_numbers atom_names formal_charges residue_names residue_numbers chain_ids insert_codes
alternate_locations serial_numbers b_factors occupancies""".split()


def assert_alike(made: vxgrid.Molecule, read: vxgrid.Molecule) -> None:
    for name in ARRAYS:
        ours, theirs = getattr(made, name), getattr(read, name)
        if ours.dtype.kind == "f":
            np.testing.assert_allclose(ours, theirs, rtol=1e-6, err_msg=name)
        else:
            np.testing.assert_array_equal(ours, theirs, name)


def bonds(mol: vxgrid.Molecule) -> list[list[int]]:
    return sorted([min(a, b), max(a, b), order] for a, b, order in mol.bonds.tolist())


def test_rdkit_ligands() -> None:
    chem: Any = pytest.importorskip("rdkit.Chem")
    supplier = chem.SDMolSupplier(str(SAMPLES / "ligands.sdf"), removeHs=False, sanitize=False)
    for theirs, read in zip(supplier, vxgrid.read_molecules(SAMPLES / "ligands.sdf"), strict=True):
        made = vxgrid.from_rdkit(theirs)
        assert_alike(made, read)
        assert made.title == read.title and bonds(made) == bonds(read) and not made.has_residues

    mol = chem.MolFromSmiles("[2H]c1ccccc1[N+](=O)[O-]")
    with pytest.raises(ValueError, match="conformer"):
        vxgrid.from_rdkit(mol)
    mol.AddConformer(chem.Conformer(mol.GetNumAtoms()))
    made = vxgrid.from_rdkit(mol)
    assert made.formal_charges.sum() == 0 and made.formal_charges.max() == 1 and made.atomic_numbers[0] == 1
    assert sorted(made.bonds[:, 2]) == [1] * 9 + [2]  # aromatic ones count once


def test_rdkit_model() -> None:
    chem: Any = pytest.importorskip("rdkit.Chem")
    file = SAMPLES / "4hg7.pdb"
    theirs = chem.MolFromPDBFile(str(file), removeHs=False, sanitize=False, proximityBonding=False)
    assert_alike(vxgrid.from_rdkit(theirs), vxgrid.read_molecule(file))


@pytest.mark.parametrize("name", ["4hg7", "hewl", "7n2l"])
def test_gemmi(name: str, tmp_path: Path) -> None:
    gemmi: Any = pytest.importorskip("gemmi")
    file = SAMPLES / "4hg7.pdb" if name == "4hg7" else real_data(f"crystals/{name}.pdb")
    structure = gemmi.read_structure(str(file))
    structure.setup_entities()
    structure.make_mmcif_document().write_file(str(tmp_path / "model.cif"))
    for alternates in ["best", "all"]:
        made = vxgrid.from_gemmi(structure, alternates=alternates)  # type: ignore[arg-type]
        assert_alike(made, vxgrid.read_molecule(file, alternates=alternates))  # type: ignore[arg-type]
        read = vxgrid.read_molecule(tmp_path / "model.cif", alternates=alternates)  # type: ignore[arg-type]
        assert bonds(made) == bonds(read)
        assert made.symmetry is not None and made.symmetry.group == read.symmetry.group  # type: ignore[union-attr]
    remarks = [
        [text.rstrip() for tag, text in mol.pdb_records if tag == "REMARK"] for mol in (made, vxgrid.read_molecule(file))
    ]
    assert remarks[0] == remarks[1]
    assert_alike(vxgrid.from_gemmi(structure[0], alternates="all"), made)
    assert name != "hewl" or len(bonds(made)) >= 4  # lysozyme has four disulphides


def test_gemmi_chooses_alternates_as_files_do(tmp_path: Path) -> None:
    """Letters that share names are alternatives; letters that share none both stay."""
    gemmi: Any = pytest.importorskip("gemmi")
    rows = ["CA A 0.30", "CA B 0.70", "CB A 0.30", "CB B 0.70", "CG C 0.20", "CD D 0.50", "CD E 0.50", "CE   1.00"]
    names = [row.split() for row in rows]
    text = "".join(
        f"ATOM  {i:5d}  {row[0]:<3}{row[1] if len(row) > 2 else ' '}ALA A   1    {i:8.3f}{0:8.3f}{0:8.3f}"
        f"{float(row[-1]):6.2f}{10:6.2f}           C  \n"
        for i, row in enumerate(names, 1)
    )
    file = tmp_path / "alternates.pdb"
    file.write_text(text)
    made = vxgrid.from_gemmi(gemmi.read_structure(str(file)))
    assert made.serial_numbers.tolist() == [2, 4, 5, 6, 8]
    assert_alike(made, vxgrid.read_molecule(file))


def test_what_is_no_model() -> None:
    gemmi: Any = pytest.importorskip("gemmi")
    for wrong in [None, "4hg7.pdb", gemmi.Chain("A")]:
        with pytest.raises(TypeError, match="an RDKit molecule was wanted, .* came"):
            vxgrid.from_rdkit(wrong)
        with pytest.raises(TypeError, match="a gemmi Structure or Model was wanted, .* came"):
            vxgrid.from_gemmi(wrong)
    structure = gemmi.Structure()
    with pytest.raises(IndexError, match="0 came for a structure of 0 models"):
        vxgrid.from_gemmi(structure)
    residue, chain, model = gemmi.Residue(), gemmi.Chain("A"), gemmi.Model("1")
    residue.add_atom(gemmi.Atom())  # without a number, as from mmCIF rows that have none
    chain.add_residue(residue)
    model.add_chain(chain)
    assert vxgrid.from_gemmi(model).residue_numbers.tolist() == [0]
