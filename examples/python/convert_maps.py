"""Converts every map in a folder to another format, on all cores.

    convert_maps.py FOLDER OUT [FORMAT]

FORMAT is an extension that is written: map (CCP4, the default), vxb, phi, grd, agd or json, each also as map.gz and
so on. A format that holds regular grids alone gets maps resampled. What fails is told, and the others go on.
"""

import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import vxgrid

READ = {f".{extension}" for each in vxgrid.grid_formats() for extension in each.extensions}


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
    names = {path: Path(path.name.removesuffix(".gz")) for path in sorted(Path(folder).iterdir())}
    sources = [path for path, name in names.items() if name.suffix.lower() in READ]
    targets = [Path(out) / f"{names[path].stem}.{extension}" for path in sources]
    if twice := {target.name for target in targets if targets.count(target) > 1}:
        sys.exit(f"more than one map would become {', '.join(sorted(twice))}")
    Path(out).mkdir(parents=True, exist_ok=True)
    with ThreadPoolExecutor() as threads:  # reading and writing release the GIL
        for told in threads.map(convert, sources, targets):
            print(told)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
