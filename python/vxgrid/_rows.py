"""Rows of tables: what the library says of one residue, one peak and the like."""

from typing import TYPE_CHECKING, NamedTuple

import numpy as np
from numpy.typing import NDArray

if TYPE_CHECKING:
    from ._core import ScalarGrid


class GridFormat(NamedTuple):
    """A format of grid files."""

    name: str
    """For format= of read_grid and write_grid."""
    title: str
    extensions: list[str]
    """Of its files, without the dot; each may have .gz behind it."""
    is_written: bool
    """Whether write_grid writes it, too."""


class Residue(NamedTuple):
    """A residue of a molecule, as its file names it."""

    chain: str
    number: int
    insert_code: str
    name: str


class SymmetryImage(NamedTuple):
    """A symmetry image of a molecule."""

    operator: int
    """The index of the operator in the group's."""
    is_identity: bool
    """Whether the image lies on the molecule itself."""
    matrix: NDArray[np.float32]
    """Shape (4, 4): matrix @ (x, y, z, 1) is the image of a place in Å."""


class ShapeMoments(NamedTuple):
    """The shape of a molecule in numbers; moments are about the centre, in the frame, divided by the volume."""

    volume: float
    """In Å³."""
    second: NDArray[np.float32]
    """Along the principal axes, the largest first: shape (3,), in Å²."""
    third: NDArray[np.float32]
    """xxx, yyy, zzz, xxy, xxz, xyy, yyz, xzz, yzz, xyz: shape (10,), in Å³."""
    center: NDArray[np.float32]
    """The centre of volume: shape (3,), in Å."""
    axes: NDArray[np.float32]
    """The principal axes as rows, a right-handed frame: shape (3, 3)."""


class ResidueFit(NamedTuple):
    """How well a residue fits a map: RSCC and RSR, not-a-number where they cannot be had."""

    chain: str
    number: int
    insert_code: str
    name: str
    rscc: float
    rsr: float


class ModelFit(NamedTuple):
    """How well a model fits a map, as a whole and by residue, within a mask radius in Å."""

    rscc: float
    rsr: float
    radius: float
    residues: list[ResidueFit]


class RsccMaps(NamedTuple):
    """RSCC with the maps that it compares, on one lattice, and their mask."""

    rscc: float
    observed: "ScalarGrid"
    calculated: "ScalarGrid"
    mask: "ScalarGrid"
