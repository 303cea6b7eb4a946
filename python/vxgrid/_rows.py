"""Rows of tables: what the library says of one residue, one peak and the like."""

from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray


class Residue(NamedTuple):
    """A residue of a molecule, as its file names it."""

    chain: str
    number: int
    insert_code: str
    name: str


class SymmetryImage(NamedTuple):
    """A symmetry image of a molecule: Cartesian (x, y, z, 1) in Å times a matrix of shape (4, 4)."""

    operator: int
    is_identity: bool
    matrix: NDArray[np.float32]
