"""What does a model lack, and what has it too much? The peaks of the difference map.

    difference_peaks.py MODEL DATA.mtz [SIGMAS]

Lists what is above SIGMAS (4) and below -SIGMAS: the height, the place nearest to the model, and the residue there.
Peaks that the space group turns into each other are listed once.
"""

import itertools
import sys

import numpy as np
from numpy.typing import NDArray

import vxgrid


def local_maxima(values: NDArray[np.float32], level: float) -> NDArray[np.int64]:
    """Indices (n, 3) of what is above a level and no neighbour passes, on a lattice that repeats."""
    found = values > level
    for step in itertools.product((-1, 0, 1), repeat=3):
        found &= values >= np.roll(values, step, axis=(0, 1, 2))
    return np.argwhere(found)


def nearest_to_model(
    place: NDArray[np.float64], atoms: NDArray[np.float32], symmetry: vxgrid.Symmetry
) -> tuple[float, NDArray[np.float32], int]:
    """The distance in Å to an atom, the symmetry mate of the place that is nearest to the model, and the atom."""
    cell = symmetry.cell
    mates = (symmetry.group.operators @ [*cell.to_fractional(place), 1.0])[:, :3]
    steps = mates[:, None] - cell.to_fractional(atoms)
    distances = np.linalg.norm(cell.to_cartesian(steps - np.round(steps)), axis=-1)
    mate, atom = np.unravel_index(distances.argmin(), distances.shape)
    step = cell.to_cartesian(steps[mate, atom] - np.round(steps[mate, atom]))
    return float(distances.min()), atoms[atom] + step, int(atom)


def main(model_path: str, data_path: str, sigmas: str = "4") -> None:
    model = vxgrid.read_molecule(model_path)
    difference = vxgrid.read_mtz(data_path, "Fdelwt")  # over the whole cell, in units of its sigma
    symmetry, intervals = difference.symmetry, difference.intervals
    assert symmetry and intervals
    x, y, z = intervals  # the samples behind them repeat the first ones
    values = difference.values[:z, :y, :x]

    indices = np.concatenate([local_maxima(values, float(sigmas)), local_maxima(-values, float(sigmas))])
    heights = values[tuple(indices.T)]
    highest_first = np.argsort(-np.abs(heights))
    listed = np.empty((0, 3))
    print("height       x       y       z  distance  residue")
    for height, index in zip(heights[highest_first], indices[highest_first]):
        distance, place, atom = nearest_to_model(difference.to_positions(index), model.coordinates, symmetry)
        if (np.linalg.norm(listed - place, axis=-1) < 1.0).any():
            continue  # a mate of one that is listed, or its shoulder
        listed = np.vstack([listed, place])
        residue = model.residues[model.residue_indices[atom]]
        print(
            f"{height:6.2f} {place[0]:7.2f} {place[1]:7.2f} {place[2]:7.2f} {distance:9.2f}"
            f"  {residue.chain} {residue.number}{residue.insert_code} {residue.name}"
        )


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
