"""How well does each residue of a model fit the map of its data?

    score_model.py MODEL DATA.mtz [COUNT]

Prints RSCC and RSR of the model and of the COUNT residues that fit worst (10).
"""

import sys

import vxgrid


def main(model_path: str, data_path: str, count: str = "10") -> None:
    model = vxgrid.read_molecule(model_path)
    observed = vxgrid.read_mtz(data_path)
    fit = vxgrid.score_model(model, observed)
    print(f"RSCC {fit.rscc:.3f}  RSR {fit.rsr:.3f}  radius {fit.radius:.3f} Å  residues {len(fit.residues)}")
    worst = sorted((row for row in fit.residues if row.rscc == row.rscc), key=lambda row: row.rscc)
    for row in worst[: int(count)]:
        residue = f"{row.chain} {row.number}{row.insert_code} {row.name}"
        print(f"{residue:12}  RSCC {row.rscc:6.3f}  RSR {row.rsr:.3f}")


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
