"""Three-dimensional scalar grids for molecular modelling and crystallography.

Lengths are in Å, angles in degrees, densities in electrons/Å³ or in units of a map's sigma. Arrays of values have the
shape (nz, ny, nx), arrays of points (n, 3).
"""

from ._adapters import from_gemmi, from_rdkit
from ._core import (
    Attributes,
    Error,
    Grid,
    GridType,
    Molecule,
    MoleculeReader,
    MultiGrid,
    ProximityGrid,
    ScalarGrid,
    SkewGrid,
    SpaceGroup,
    Symmetry,
    UnitCell,
    atomic_number,
    atomic_symbol,
    atomic_weight,
    bondi_radius,
    contact_grid,
    gaussian_grid,
    read_grid,
    read_molecule,
    read_molecules,
    space_groups,
    sphere_grid,
    write_grid,
)
from ._rows import Residue, SymmetryImage

__all__ = [
    "Attributes",
    "Error",
    "Grid",
    "GridType",
    "Molecule",
    "MoleculeReader",
    "MultiGrid",
    "ProximityGrid",
    "Residue",
    "ScalarGrid",
    "SkewGrid",
    "SpaceGroup",
    "Symmetry",
    "SymmetryImage",
    "UnitCell",
    "atomic_number",
    "atomic_symbol",
    "atomic_weight",
    "bondi_radius",
    "contact_grid",
    "from_gemmi",
    "from_rdkit",
    "gaussian_grid",
    "read_grid",
    "read_molecule",
    "read_molecules",
    "space_groups",
    "sphere_grid",
    "write_grid",
]
