"""Volumes and shapes of ligands, as a table for a spreadsheet or a data frame.

    ligand_shapes.py LIGANDS.sdf > table.csv

One row a molecule: the volume of its heavy atoms in Å³, the second moments along its principal axes in Å², the third
moments in that frame in Å³, and how alike its shape is to that of the first molecule where both stand (1 for equal).
"""

import csv
import sys

import vxgrid

THIRD = ["xxx", "yyy", "zzz", "xxy", "xxz", "xyy", "yyz", "xzz", "yzz", "xyz"]


def similarity(a: vxgrid.Gaussians, b: vxgrid.Gaussians) -> float:
    shared = a.overlap(b)
    return shared / (a.overlap(a) + b.overlap(b) - shared)


def main(path: str) -> None:
    table = csv.writer(sys.stdout)
    table.writerow(["title", "atoms", "volume", "m1", "m2", "m3", *THIRD, "similarity"])
    first = None
    for molecule in vxgrid.read_molecules(path):
        shape = vxgrid.shape_moments(molecule)
        heavy = vxgrid.Gaussians.from_molecule(molecule)[molecule.atomic_numbers != 1]
        first = first or heavy
        numbers = [shape.volume, *shape.second, *shape.third, similarity(first, heavy)]
        table.writerow([molecule.title, len(molecule), *(f"{number:.4f}" for number in numbers)])


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(*sys.argv[1:])
