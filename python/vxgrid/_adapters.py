"""Molecules out of the objects of other libraries, by what these can do: none of them is imported."""

import operator
from typing import Any, Literal

import numpy as np

from ._core import Molecule


def from_rdkit(mol: Any, *, conformer: int = -1) -> Molecule:
    """A molecule out of an RDKit molecule.

    Names of atoms are those of residue data or of a MOL2 file.
    Coordinates are those of a conformer, by its id; -1 is the first. Aromatic bonds have order 1, as from files.
    Residue data come along where atoms have them. Hydrogens are those that the molecule has as atoms.
    """
    if not hasattr(mol, "GetNumConformers"):  # None, say, which RDKit gives for what it cannot read
        raise TypeError(f"mol: an RDKit molecule was wanted, {type(mol).__name__} came")
    if mol.GetNumConformers() == 0:
        raise ValueError("mol: a molecule with a conformer was wanted; this one has no coordinates")
    atoms = list(mol.GetAtoms())
    bonds = [(b.GetBeginAtomIdx(), b.GetEndAtomIdx(), int(b.GetBondTypeAsDouble())) for b in mol.GetBonds()]
    residue_data: dict[str, Any] = {}
    infos = [atom.GetPDBResidueInfo() for atom in atoms]
    if any(info is not None for info in infos):
        residue_data = {
            "residue_names": [info.GetResidueName().strip() if info else "" for info in infos],
            "residue_numbers": [info.GetResidueNumber() if info else 0 for info in infos],
            "chain_ids": [info.GetChainId().strip() if info else "" for info in infos],
            "insert_codes": [info.GetInsertionCode().strip() if info else "" for info in infos],
            "b_factors": [info.GetTempFactor() if info else 0.0 for info in infos],
            "occupancies": [info.GetOccupancy() if info else 1.0 for info in infos],
            "alternate_locations": [info.GetAltLoc().strip() if info else "" for info in infos],
            "serial_numbers": [info.GetSerialNumber() if info else 0 for info in infos],
        }
    return Molecule(
        np.reshape(mol.GetConformer(conformer).GetPositions(), (-1, 3)),
        [atom.GetAtomicNum() for atom in atoms],
        bonds=bonds,
        atom_names=[_rdkit_name(atom, info) for atom, info in zip(atoms, infos, strict=True)],
        formal_charges=[atom.GetFormalCharge() for atom in atoms],
        title=mol.GetProp("_Name") if mol.HasProp("_Name") else "",
        **residue_data,
    )


def _rdkit_name(atom: Any, info: Any) -> str:
    if info:
        return str(info.GetName()).strip()
    return str(atom.GetProp("_TriposAtomName")) if atom.HasProp("_TriposAtomName") else ""


def from_gemmi(structure: Any, *, model: int = 0, alternates: Literal["best", "all"] = "best") -> Molecule:
    """A molecule out of a gemmi Structure, of which one model is taken, or out of a gemmi Model.

    model is its place in the Structure, from 0; IndexError where there is none.
    Of alternate conformations "best" keeps the one with the highest occupancy, "all" every atom, as in read_molecule.
    Covalent, disulphide and metal connections of a Structure within the asymmetric unit become bonds; its cell and
    group become a CRYST1 record, its remarks REMARK records.
    """
    if alternates not in ("best", "all"):
        raise ValueError(f'alternates: "best" or "all" was wanted, {alternates!r} came')
    is_structure = hasattr(structure, "connections")
    if not is_structure and not hasattr(structure, "find_cra"):
        raise TypeError(f"structure: a gemmi Structure or Model was wanted, {type(structure).__name__} came")
    if is_structure and not -len(structure) <= operator.index(model) < len(structure):
        raise IndexError(f"model: {model} came for a structure of {len(structure)} models")
    chains = structure[model] if is_structure else structure
    rows = [(chain, residue, atom) for chain in chains for residue in chain for atom in residue]
    if alternates == "best":
        rows = _best_alternates(rows)
    atoms = [atom for _, _, atom in rows]
    molecule = Molecule(
        np.reshape([atom.pos.tolist() for atom in atoms], (-1, 3)),
        [atom.element.atomic_number for atom in atoms],
        bonds=_connections(structure, rows) if is_structure else None,
        atom_names=[atom.name for atom in atoms],
        formal_charges=[atom.charge for atom in atoms],
        residue_names=[residue.name for _, residue, _ in rows],
        residue_numbers=[residue.seqid.num or 0 for _, residue, _ in rows],
        chain_ids=[chain.name for chain, _, _ in rows],
        insert_codes=[residue.seqid.icode.strip() for _, residue, _ in rows],
        b_factors=[atom.b_iso for atom in atoms],
        occupancies=[atom.occ for atom in atoms],
        alternate_locations=[_letter(atom) for atom in atoms],
        serial_numbers=[atom.serial for atom in atoms],
        title=structure.name if is_structure else "",
    )
    if is_structure:
        molecule.pdb_records = _records(structure)
    return molecule


def _letter(of: Any) -> str:
    return str(of.altloc).strip("\0 ")


def _best_alternates(rows: list[Any]) -> list[Any]:
    """Of the letters that share an atom name in a residue the one with the highest occupancy, the first on a tie."""
    places: dict[Any, dict[str, tuple[float, set[str]]]] = {}
    for chain, residue, atom in rows:
        if letter := _letter(atom):
            letters = places.setdefault((chain.name, residue.seqid.num, residue.seqid.icode), {})
            occupancy, names = letters.get(letter, (0.0, set()))
            letters[letter] = (max(occupancy, atom.occ), names | {atom.name})

    best: set[Any] = set()
    for place, letters in places.items():
        groups: list[tuple[set[str], set[str]]] = []  # letters, and the names that they have together
        for letter, (_, names) in letters.items():
            alike = [group for group in groups if group[1] & names]
            groups = [group for group in groups if not group[1] & names]
            groups.append(({letter}.union(*(g[0] for g in alike)), names.union(*(g[1] for g in alike))))
        best |= {(place, min(group, key=lambda each: (-letters[each][0], each))) for group, _ in groups}
    return [
        (chain, residue, atom)
        for chain, residue, atom in rows
        if not (letter := _letter(atom))
        or ((chain.name, residue.seqid.num, residue.seqid.icode), letter) in best
    ]


def _connections(structure: Any, rows: list[Any]) -> list[tuple[int, int]]:
    index: dict[Any, int] = {}
    for i, (chain, residue, atom) in enumerate(rows):
        index.setdefault((chain.name, residue.seqid.num, residue.seqid.icode, atom.name, _letter(atom)), i)

    def find(partner: Any) -> int | None:
        seqid = partner.res_id.seqid
        return index.get((partner.chain_name, seqid.num, seqid.icode, partner.atom_name, _letter(partner)))

    bonds = set()
    for connection in structure.connections:
        begin, end = find(connection.partner1), find(connection.partner2)
        within = connection.type.name in ("Covale", "Disulf", "MetalC") and connection.asu.name != "Different"
        if within and begin is not None and end is not None and begin != end:
            bonds.add((min(begin, end), max(begin, end)))
    return sorted(bonds)


def _records(structure: Any) -> list[tuple[str, str]]:
    records = [("REMARK", line.rstrip("\r\n")[6:]) for line in structure.raw_remarks]
    if structure.cell.is_crystal():
        a, b, c, *angles = structure.cell.parameters
        cell = f"{a:9.3f}{b:9.3f}{c:9.3f}" + "".join(f"{angle:7.2f}" for angle in angles)
        records.append(("CRYST1", f"{cell} {structure.spacegroup_hm:<11}"))
    return records
