"""Three-dimensional scalar grids for molecular modelling and crystallography.

Lengths are in Å, angles in degrees, densities in electrons/Å³ or in units of a map's sigma. Arrays of values have the
shape (nz, ny, nx), arrays of points (n, 3).
"""

from ._core import (
    Attributes,
    Error,
    Grid,
    GridType,
    Molecule,
    MultiGrid,
    ScalarGrid,
    SkewGrid,
    SpaceGroup,
    Symmetry,
    UnitCell,
    read_grid,
    read_molecule,
    space_groups,
    write_grid,
)
from ._rows import Residue

__all__ = [
    "Attributes",
    "Error",
    "Grid",
    "GridType",
    "Molecule",
    "MultiGrid",
    "Residue",
    "ScalarGrid",
    "SkewGrid",
    "SpaceGroup",
    "Symmetry",
    "UnitCell",
    "read_grid",
    "read_molecule",
    "space_groups",
    "write_grid",
]
