"""Converts every map in a folder to another format, on all cores.

    convert_maps.py FOLDER OUT [FORMAT]

FORMAT is an extension that is written: map (CCP4, the default), vxb, phi, grd, agd or json, each also as map.gz and
so on. A format that holds regular grids alone gets maps resampled. What fails is told, and the others go on.
"""

import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import vxgrid

MAPS = {".map", ".ccp4", ".mrc", ".xplor", ".phi", ".vxb", ".grd", ".agd", ".json"}


def convert(source: Path, target: Path) -> str:
    try:
        grid = vxgrid.read_grid(source)
        try:
            vxgrid.write_grid(target, grid)
            return f"{target.name}: {grid!r}"
        except vxgrid.Error:
            regular = grid.regular()
            vxgrid.write_grid(target, regular)
            return f"{target.name}: {regular!r}, resampled"
    except vxgrid.Error as error:
        return f"{source.name} failed: {error}"


def main(folder: str, out: str, extension: str = "map") -> None:
    sources = sorted(path for path in Path(folder).iterdir() if MAPS & set(path.suffixes))
    Path(out).mkdir(parents=True, exist_ok=True)
    targets = [Path(out) / f"{path.name.split('.')[0]}.{extension}" for path in sources]
    with ThreadPoolExecutor() as threads:  # reading and writing release the GIL
        for told in threads.map(convert, sources, targets):
            print(told)


if __name__ == "__main__":
    main(*sys.argv[1:])
