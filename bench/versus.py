#!/usr/bin/env python3
"""Runs this library and the best other programs on the same input, in turn, and prints the ratios.

    bench/versus.py [--build build/release] [--rounds 3] [--repetitions 5] [--only GLOB] [--json FILE]

Every program of BUILD/bench is run. Its benchmarks are named "<path>/vxgrid" and "<path>/<peer>", arguments
and options behind that name apart; each peer of a path makes a row. Where both report items processed, times
are per item. These peers live here: scipy for the trilinear path, for the first correlation of the fit of
Gaussians (on as many points as ours reports items) and for the labels of blobs, scikit-image for thinning,
mrcfile for the CCP4 paths (on as many bytes as ours reports), RDKit for the molecular grid and the molecular
volume, Python's json, and density-fitness for the whole `fit` command.

Times are processor time, medians over all repetitions of all rounds, everything pinned to one processor, so
each side has one thread. The exit status is 1 when a ratio misses its target or a program fails.

Debian packages of the peers: python3-numpy python3-scipy python3-skimage python3-mrcfile python3-gemmi
python3-rdkit density-fitness. What is not there is named and left out; run this with the python3 that sees them.
"""

import argparse
import fnmatch
import json
import os
import pathlib
import random
import re
import statistics
import subprocess
import sys
import tempfile
import time

# Path, peer, the ratio of times (ours / theirs) to reach. The first match counts.
TARGETS = [
    ("mtz_to_map*/small*", "fftw2*", 1.35),  # about 100 x 122 x 148, 63,000 reflections; the bare transform
    ("mtz_to_map*/large*", "fftw2*", 1.2),  # about 322 x 322 x 262, 460,000 reflections
    ("mtz_to_map*", "gemmi", 1.2),
    ("expand*", "plain", 0.3),
    ("reorder*", "plain", 0.5),
    ("ccp4_read*/xyz*", "fread", 1.4),
    ("ccp4_read*/xyz*", "gemmi", 0.4),
    ("ccp4_read*", "fread", 3.0),
    ("ccp4_read*", "gemmi", 0.25),
    ("ccp4_write*/cached*", "fwrite", 1.1),
    ("ccp4_write*", "fwrite", 1.5),
    ("grasp_read*", "fread", 2.0),
    ("grasp_write*", "fwrite", 2.0),  # "grid" interpolates all samples first
    ("xplor_read*", "from_chars", 1.3),
    ("records_write*", "fwrite", 1.6),
    ("grd_read*", "fread", 1.5),
    ("grd_write*", "fwrite", 1.6),
    ("records_read*", "fread", 1.5),
    ("trilinear*", "gemmi", 0.8),
    ("trilinear*", "scipy", 0.3),
    ("skew_to_regular*", "gemmi", 0.55),
    ("density*", "plain", 0.45),
    ("density*", "gemmi", 0.55),
    ("sfcalc", "plain", 0.5),  # 0.85 without AVX2
    ("sfcalc", "gemmi", 0.05),
    ("gaussian_volume*", "rdkit", 0.005),
    ("fit*", "density-fitness", 0.3),
    ("molecular_grid*", "plain", 1 / 7),
    ("molecular_grid*", "rdkit", 1.0),
    ("gaussian_fit/first", "scipy", 1.0),
    ("gaussian_fit/further", "first", 0.01),
    ("shape_sdf*", "reading", 1.5),
    ("proximity*", "plain", 0.5),
    ("contact*", "plain", 0.5),
    ("structure_factors", "gemmi", 0.3),
    ("thinning*", "plain", 0.1),
    ("thinning/10", "scikit-image", 0.3),  # 128^3 points, that part of them filled, in percent
    ("thinning/29", "scikit-image", 0.6),
    ("contour_levels*", "sort", 0.5),
    ("reflections_read*", "gemmi", 0.5),
    ("blob*", "scipy*", 1.0),
    ("json_write", "rapidjson", 1.15),
    ("json_write", "python", 0.3),
    ("json_read", "rapidjson", 1.1),
    ("json_read", "python", 0.35),
]

OURS = "vxgrid"
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
OPTION = re.compile(r"(min_time|min_warmup_time|iterations|repeats|threads):.*|real_time|process_time|manual_time")


class Timings:
    """Repetitions of one side of one path: nanoseconds, and what one run processes."""

    def __init__(self):
        self.ns = []
        self.items = 0.0
        self.size = 0.0  # bytes

    def median(self):
        return statistics.median(self.ns)


class Results:
    """Timings by path and side."""

    def __init__(self):
        self.paths = {}

    def of(self, path, side):
        return self.paths.setdefault(path, {}).setdefault(side, Timings())

    def add_report(self, report):
        """Takes the JSON report of one benchmark program."""
        for run in report["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                print(f"{run['name']}: {run['error_message']}", file=sys.stderr)
                continue
            name, arguments = run["run_name"].split("/"), []
            while len(name) > 1 and (OPTION.fullmatch(name[-1]) or name[-1].isdigit()):
                last = name.pop()
                if last.isdigit():
                    arguments.insert(0, last)
            timings = self.of("/".join(name[:-1] + arguments), name[-1])
            clock = "real_time" if "manual_time" in run["run_name"] else "cpu_time"
            ns = run[clock] * NANOSECONDS[run["time_unit"]]
            timings.ns.append(ns)
            timings.items = run.get("items_per_second", 0.0) * ns * 1e-9
            timings.size = run.get("bytes_per_second", 0.0) * ns * 1e-9

    def rows(self):
        """One row a path and peer: path, ours, peer, theirs, ratio, target or None."""
        for path, sides in sorted(self.paths.items()):
            ours = sides.get(OURS)
            for peer, theirs in sorted(sides.items()):
                if peer == OURS or not ours or not ours.ns or not theirs.ns:
                    continue
                ratio = ours.median() / theirs.median()
                if ours.items and theirs.items:
                    ratio *= theirs.items / ours.items
                yield path, ours.median(), peer, theirs.median(), ratio, target_of(path, peer)


def target_of(path, peer):
    for path_glob, peer_glob, ratio in TARGETS:
        if fnmatch.fnmatch(path, path_glob) and fnmatch.fnmatch(peer, peer_glob):
            return ratio
    return None


def benchmark_programs(build):
    return sorted(p for p in (build / "bench").glob("*") if p.is_file() and os.access(p, os.X_OK) and not p.suffix)


def run_program(program, repetitions, only, scratch):
    """The program's report, ours and the others interleaved at random."""
    out = scratch / "report.json"
    out.unlink(missing_ok=True)
    command = [program, f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
               "--benchmark_format=json", f"--benchmark_out={out}", "--benchmark_out_format=json"]
    if only:
        command.append("--benchmark_filter=^" + only.replace("*", ".*"))
    done = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0 or not out.exists() or out.stat().st_size == 0:
        if "Failed to match any benchmarks" in done.stderr:
            return {"benchmarks": []}
        raise RuntimeError(f"{program}: status {done.returncode}: {done.stderr.strip()[-400:]}")
    return json.loads(out.read_text())


def processor_ns(work):
    start = time.process_time_ns()
    work()
    return time.process_time_ns() - start


class ScipyTrilinear:
    """map_coordinates(order=1) on points spread evenly over a periodic map of 128^3 floats."""

    paths, side, counts = "trilinear*", "scipy", "items"

    def __init__(self, ours, _):
        import numpy
        from scipy import ndimage

        self.items = round(ours.items)
        shape = (128, 128, 128)
        values = numpy.random.default_rng(1).random(shape, dtype=numpy.float32)
        # Multiples of powers of 1 / 1.2207440846, modulo 1: even, and not in rows (Roberts's R3 sequence).
        steps = numpy.array([0.8191725134, 0.6710436067, 0.5497004779])
        points = numpy.arange(self.items)[:, None] * steps % 1.0 * (numpy.array(shape) - 1)
        points = numpy.ascontiguousarray(points.T)
        out = numpy.empty(self.items, numpy.float32)
        self.work = lambda: ndimage.map_coordinates(values, points, out, order=1, mode="grid-wrap")


class ScipyCorrelation:
    """correlate1d along x, y and z with three Gaussians, cut off at 1 %, at 0.5 Å."""

    paths, side, counts = "gaussian_fit/first", "scipy", "items"

    def __init__(self, ours, _):
        import numpy
        from scipy import ndimage

        values = cube(4 * ours.items)
        self.items = values.size
        kernels = []
        for radius in (3.2, 2.2, 1.2):
            width, spacing = 2.344229 / radius**2, 0.5
            reach = int((-numpy.log(0.01) / width) ** 0.5 / spacing)
            kernels.append(spacing * numpy.exp(-width * (numpy.arange(-reach, reach + 1) * spacing) ** 2))

        def correlate():
            for kernel in kernels:
                level = values
                for axis in (2, 1, 0):
                    level = ndimage.correlate1d(level, kernel, axis, mode="constant")

        self.work = correlate


class ScipyLabel:
    """label of the thresholded map of the bench, made here too, by the neighbours across faces: the quicker of its
    structures (with all 26 neighbours as ours it takes half as long again)."""

    paths, side, counts = "blob", "scipy", "size"

    def __init__(self, *_):
        import numpy
        from scipy import ndimage

        self.items = 0
        x = numpy.arange(256, dtype=numpy.float32)
        ripple = numpy.sin(numpy.float32(0.53) * x)
        hump = numpy.exp(-((x - 128) ** 2) / numpy.float32(2 * 48 * 48))
        product = lambda row: row[:, None, None] * row[:, None] * row
        above = numpy.float32(0.6) * product(ripple) + numpy.float32(1.2) * product(hump) >= numpy.float32(0.5)
        self.work = lambda: ndimage.label(above)


class MrcfileRead:
    """mrcfile.read of a float map as large as ours."""

    paths, side, counts = "ccp4_read*", "mrcfile", "size"

    def __init__(self, ours, scratch):
        import mrcfile

        self.items = 0
        name = scratch / f"read_{round(ours.size)}.map"
        mrcfile.write(name, cube(ours.size), overwrite=True)
        self.work = lambda: mrcfile.read(name)


class MrcfileWrite:
    """mrcfile.write of a float map as large as ours, statistics included."""

    paths, side, counts = "ccp4_write*", "mrcfile", "size"

    def __init__(self, ours, scratch):
        import mrcfile

        self.items = 0
        name, values = scratch / "write.map", cube(ours.size)
        self.work = lambda: mrcfile.write(name, values, overwrite=True)


class RdkitShape:
    """EncodeShape of the first 68 atoms of 4HG7 onto a grid that is there, of RDKit's spacing and size: the
    lattice of ours. Its atoms come without bonds, which the shape does not use."""

    paths, side, counts = "molecular_grid/rdkit_size", "rdkit", "size"

    def __init__(self, ours, _):
        from rdkit import Chem
        from rdkit.Chem import rdShapeHelpers
        from rdkit.DataStructs import DiscreteValueType
        from rdkit.Geometry import rdGeometry

        self.items = 0
        lines = (pathlib.Path(__file__).resolve().parent.parent / "examples/data/4hg7.pdb").read_text().splitlines()
        atoms = [line for line in lines if line.startswith("ATOM  ")][:68]
        mol = Chem.RWMol()
        conformer = Chem.Conformer(len(atoms))
        for i, line in enumerate(atoms):
            mol.AddAtom(Chem.Atom(line[76:78].strip()))
            conformer.SetAtomPosition(i, rdGeometry.Point3D(*(float(line[30 + 8 * a:38 + 8 * a]) for a in range(3))))
        mol.AddConformer(conformer)
        low, high = rdShapeHelpers.ComputeConfBox(mol.GetConformer())
        grid = rdGeometry.UniformGrid3D(*(high[a] - low[a] for a in range(3)), 0.5,
                                        DiscreteValueType.TWOBITVALUE, low)
        assert 4 * grid.GetNumX() * grid.GetNumY() * grid.GetNumZ() == round(ours.size), "another lattice than ours"
        self.work = lambda: rdShapeHelpers.EncodeShape(mol, grid, ignoreHs=False)


class RdkitVolume:
    """ComputeMolVolume of the same molecule on a grid of 0.5 Å."""

    paths, side, counts = "gaussian_volume*", "rdkit", "items"

    def __init__(self, *_):
        from rdkit import Chem
        from rdkit.Chem import AllChem

        self.items = 1
        mol = Chem.MolFromMolFile(str(pathlib.Path(__file__).with_name("imatinib.sdf")))
        self.work = lambda: AllChem.ComputeMolVolume(mol, gridSpacing=0.5)


class RdkitReading:
    """SDMolSupplier over the same ligands as ours repeats, hydrogens kept; as many as ours reports items."""

    paths, side, counts = "shape_sdf*", "rdkit_reading", "items"

    def __init__(self, ours, scratch):
        from rdkit import Chem

        root = pathlib.Path(__file__).resolve().parent.parent
        data = pathlib.Path(os.environ.get("VXGRID_TEST_DATA", root.parent / "shared" / "data")) / "ligands"
        files = sorted(data.glob("*.sdf")) or [root / "examples/data/ligands.sdf"]
        records = [record for file in files for record in re.findall(r"(?s).*?^\$\$\$\$\n", file.read_text(), re.M)]
        self.items = round(ours.items)
        name = scratch / "ligands.sdf"
        name.write_text("".join(records[i % len(records)] for i in range(self.items)))
        self.work = lambda: sum(mol is None for mol in Chem.SDMolSupplier(str(name), removeHs=False))


class ScikitImageThinning:
    """skeletonize_3d of the object that bench/thinning_bench.cpp makes: its own recipe, in the same whole numbers.
    Another algorithm, which leaves other points."""

    paths, side, counts = "thinning/*", "scikit-image", "items"

    def __init__(self, ours, _):
        import numpy
        from skimage.morphology import skeletonize_3d

        self.items = round(ours.items)
        bits = numpy.arange(128**3, dtype=numpy.uint32) * numpy.uint32(2654435761)
        bits = (bits ^ bits >> 15) * numpy.uint32(2246822519)
        bits = (bits ^ bits >> 13) * numpy.uint32(3266489917)
        noise = (bits >> 16).astype(numpy.uint64).reshape(128, 128, 128)
        for axis in 3 * (2, 1, 0):
            noise = sum(numpy.roll(noise, shift, axis) for shift in range(-4, 5))
        limit = numpy.partition(noise, -self.items, axis=None)[-self.items]
        volume = (noise >= limit).astype(numpy.uint8)
        assert volume.sum() == self.items, "another object than ours"
        self.work = lambda: skeletonize_3d(volume)


class PythonJSON:
    """json.dumps of a list of floats with eight decimals, as many as ours reports items."""

    paths, side, counts = "json_write", "python", "items"

    def __init__(self, ours, _):
        self.items = round(ours.items)
        source = random.Random(1)
        self.values = [int(source.gauss(0, 1) * 1e8) / 1e8 for _ in range(self.items)]
        self.work = lambda: json.dumps(self.values)


class PythonJSONRead(PythonJSON):
    """json.loads of the text."""

    paths = "json_read"

    def __init__(self, ours, scratch):
        super().__init__(ours, scratch)
        text = json.dumps(self.values)
        self.work = lambda: json.loads(text)


def cube(size):
    import numpy

    edge = round((size / 4) ** (1 / 3))
    return numpy.random.default_rng(1).random((edge, edge, edge), dtype=numpy.float32)


PYTHON_PEERS = [ScipyTrilinear, ScipyCorrelation, ScipyLabel, ScikitImageThinning, MrcfileRead, MrcfileWrite,
                RdkitShape, RdkitVolume, RdkitReading, PythonJSON, PythonJSONRead]


def python_peers(results, scratch, missing):
    """The peers that run here, set up for the paths that have been measured: (path, peer) pairs."""
    for kind in PYTHON_PEERS:
        for path, sides in list(results.paths.items()):
            ours = sides.get(OURS)
            if not fnmatch.fnmatch(path, kind.paths) or not ours:
                continue
            if not getattr(ours, kind.counts):
                missing.add(f"{kind.side} for {path}: ours reports no size")
                continue
            try:
                yield path, kind(ours, scratch)
            except ImportError as error:
                missing.add(f"{kind.side}: {error}")


# Labels of the largest crystal, by the names that density-fitness looks for.
LABELS = {"2FOFCWT": "FWT", "PH2FOFCWT": "PHWT", "FOFCWT": "DELFWT", "PHFOFCWT": "PHDELWT",
          "F-obs-filtered(+)": "FP", "SIGF-obs-filtered(+)": "SIGFP", "F-model(+)": "FC_ALL",
          "PHIF-model(+)": "PHIC_ALL", "R-free-flags": "FREE"}


def crystal_for_both(source, scratch):
    """Copies a crystal so that both commands read it: labels as above, types to match, a column of figures of
    merit, and a model in standard order. Returns the model and the reflections."""
    import gemmi
    import numpy

    mtz = gemmi.read_mtz_file(str(source.with_suffix(".mtz")))
    present = set(mtz.column_labels())
    for column in mtz.columns:
        if LABELS.get(column.label, "") not in present | {""}:
            column.label = LABELS[column.label]
            column.type = {"G": "F", "L": "Q"}.get(column.type, column.type)
    if "FOM" not in present:
        values = numpy.array(mtz, copy=True)
        mtz.add_column("FOM", "W")
        mtz.set_data(numpy.column_stack([values, numpy.ones(len(values))]).astype(numpy.float32))
    model, reflections = scratch / "crystal.pdb", scratch / "crystal.mtz"
    mtz.write_to_file(str(reflections))
    text = source.with_suffix(".pdb").read_text()
    if not text.startswith("HEADER"):  # density-fitness insists on it, and on ANISOU behind each atom
        structure = gemmi.read_structure(str(source.with_suffix(".pdb")))
        structure.write_pdb(str(model))
        text = "HEADER    MODEL\n" + model.read_text()
    model.write_text(text)
    return model, reflections


def command_ns(command):
    """Processor time of a command, which must succeed."""
    with open(os.devnull, "w") as null:
        child = subprocess.Popen(command, stdout=null, stderr=null)
        _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))}: status {child.returncode}")
    return (usage.ru_utime + usage.ru_stime) * 1e9


def fit_commands(build, scratch, missing):
    """The two fit commands on one crystal, by path and side; empty when one of them is not there."""
    root = pathlib.Path(__file__).resolve().parent.parent
    data = pathlib.Path(os.environ.get("VXGRID_TEST_DATA", root.parent / "shared" / "data"))
    source = data / "crystals" / "hewl.pdb"  # 2,306 atoms
    if not source.exists():
        source = root / "examples" / "data" / "4hg7.pdb"
    ours = (build / "tools" / "vxgrid").resolve()
    if not ours.exists():
        missing.add(f"fit: {ours} is not built")
        return {}
    try:
        model, reflections = crystal_for_both(source, scratch)
    except ImportError as error:
        missing.add(f"fit: {error}")
        return {}
    commands = {
        OURS: [ours, "fit", model, reflections, "--quiet"],
        "density-fitness": ["density-fitness", "--no-edia", reflections, model],
    }
    path = f"fit/{source.stem}"
    for side, command in commands.items():
        try:
            command_ns(command)
        except (OSError, RuntimeError) as error:
            missing.add(f"fit, {side}: {error}")
            return {}
    return {(path, side): command for side, command in commands.items()}


def time_text(ns):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if ns >= scale:
            return f"{ns / scale:.3g} {unit}"
    return f"{ns:.3g} ns"


def print_table(rows):
    head = ("path", "ours", "other", "its time", "ratio", "to reach", "ok?")
    cells = [head]
    for path, ours, peer, theirs, ratio, target in rows:
        verdict = "" if target is None else "yes" if ratio <= target else "NO"
        cells.append((path, time_text(ours), peer, time_text(theirs), f"{ratio:.3f}",
                      "" if target is None else f"{target:g}", verdict))
    widths = [max(len(row[i]) for row in cells) for i in range(len(head))]
    cells.insert(1, tuple("-" * width for width in widths))
    for row in cells:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")


def measure(options, results, scratch, missing):
    programs = benchmark_programs(options.build)
    if not programs:
        raise RuntimeError(f"no benchmark programs in {options.build / 'bench'}; build with -DVXGRID_BENCH=ON")
    peers, commands = [], {}
    for round_number in range(options.rounds):
        for program in programs:
            print(f"round {round_number + 1}: {program.name}", file=sys.stderr)
            results.add_report(run_program(program, options.repetitions, options.only, scratch))
        if round_number == 0:
            peers = list(python_peers(results, scratch, missing))
            if fnmatch.fnmatch("fit", options.only or "*"):
                commands = fit_commands(options.build, scratch, missing)
        for path, peer in peers:
            timings = results.of(path, peer.side)
            timings.items = peer.items
            timings.ns += [processor_ns(peer.work) for _ in range(options.repetitions)]
        for _ in range(options.repetitions):
            for (path, side), command in commands.items():
                results.of(path, side).ns.append(command_ns(command))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/release"))
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--only", help="paths to measure, such as 'trilinear*'")
    parser.add_argument("--json", type=pathlib.Path, help="writes the rows here too")
    options = parser.parse_args()

    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    results, missing = Results(), set()
    with tempfile.TemporaryDirectory() as scratch:
        try:
            measure(options, results, pathlib.Path(scratch), missing)
        except RuntimeError as error:
            print(f"versus.py: {error}", file=sys.stderr)
            return 1
    rows = list(results.rows())
    print_table(rows)
    for text in sorted(missing):
        print(f"left out: {text}", file=sys.stderr)
    if options.json:
        keys = ("path", "ours_ns", "other", "other_ns", "ratio", "target")
        options.json.write_text(json.dumps([dict(zip(keys, row)) for row in rows], indent=1) + "\n")
    return int(any(target is not None and ratio > target for *_, ratio, target in rows))


if __name__ == "__main__":
    sys.exit(main())
