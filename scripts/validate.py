#!/usr/bin/python3
"""Runs the command on every crystal and map of the real data and writes docs/validation.md, with the figures of
other programs (gemmi above all) beside ours.

    scripts/validate.py [build/ci/tools/vxgrid]

The data are in the folder that VXGRID_TEST_DATA names, by default ../shared/data. Needs the Debian packages
python3-gemmi, python3-mrcfile, python3-cctbx, python3-pymol and python3-numpy.
"""

import json
import os
import struct
import pathlib
import subprocess
import sys
import tempfile

import gemmi
import iotbx.ccp4_map
import iotbx.cns.reflection_reader
import iotbx.xplor.map
import mrcfile
import numpy as np
import pymol2

SOURCE = pathlib.Path(__file__).resolve().parent.parent
DATA = pathlib.Path(os.environ.get("VXGRID_TEST_DATA", SOURCE.parent / "shared" / "data"))
COMMAND = sys.argv[1] if len(sys.argv) > 1 else SOURCE / "build" / "ci" / "tools" / "vxgrid"
LABELS = {
    "Fwt": [("FWT", "PHWT"), ("2FOFCWT", "PH2FOFCWT")],
    "Fdelwt": [("DELFWT", "PHDELWT"), ("FOFCWT", "PHFOFCWT")],
}
BOX_MODELS = ["3pqr.ccp4", "1mru.map", "thaumatin.map", "origin_100.ccp4"]


def vxgrid(*arguments):
    done = subprocess.run([str(COMMAND), *map(str, arguments)], capture_output=True, text=True)
    if done.returncode:
        raise SystemExit(f"vxgrid {' '.join(map(str, arguments))}: {done.stderr}")
    return done.stdout


def vxgrid_json(verb, *arguments):
    return json.loads(vxgrid(verb, "--json", *arguments))


def read_ccp4(path):
    """Samples in file order x, y, z with the number of the first one on each axis, and the header."""
    map_ = gemmi.read_ccp4_map(str(path))
    on_axis = [map_.header_i32(i) - 1 for i in (17, 18, 19)]
    start = [0, 0, 0]
    for axis, word in zip(on_axis, (5, 6, 7)):
        start[axis] = map_.header_i32(word)
    values = np.array(map_.grid, copy=True)  # columns, rows, sections
    return np.transpose(values, np.argsort(on_axis)), start, map_


def one_cell(values, map_):
    """The samples without the planes that repeat the first ones."""
    nx, ny, nz = (map_.header_i32(i) for i in (8, 9, 10))
    return values[:nx, :ny, :nz]


def correlation(a, b):
    return np.corrcoef(a.ravel().astype(float), b.ravel().astype(float))[0, 1]


def columns_of(mtz, kind):
    return next(pair for pair in LABELS[kind] if pair[0] in mtz.column_labels())


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    lines += ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def synthesis(mtz, labels, shape):
    """The map on any grid: numpy's transform of the reflections, expanded with gemmi's operators."""
    hkl = mtz.make_miller_array()
    f, phi = (np.array(mtz.column_with_label(label), dtype=float) for label in labels)
    there = np.isfinite(f) & np.isfinite(phi)
    coefficients = np.zeros(shape, dtype=complex)
    for index, amplitude, phase in zip(hkl[there], f[there], np.radians(phi[there])):
        for op in mtz.spacegroup.operations():
            mate = op.apply_to_hkl([int(i) for i in index])
            value = amplitude * np.exp(1j * (phase + op.phase_shift([int(i) for i in index])))
            coefficients[tuple(i % n for i, n in zip(mate, shape))] = value
            coefficients[tuple(-i % n for i, n in zip(mate, shape))] = value.conjugate()
    return np.fft.fftn(coefficients).real / mtz.cell.volume


def crystal_map(name, kind, scratch):
    """Our map and gemmi's of the same coefficients: on gemmi's own grid, and on ours for the correlation."""
    mtz_file = DATA / "crystals" / f"{name}.mtz"
    ours_file = scratch / f"{name}_{kind}.map"
    vxgrid("map", mtz_file, "-o", ours_file, "--type", kind)
    values, _, map_ = read_ccp4(ours_file)
    ours = one_cell(values, map_)

    mtz = gemmi.read_mtz_file(str(mtz_file))
    labels = columns_of(mtz, kind)
    theirs = np.array(mtz.transform_f_phi_to_map(*labels, sample_rate=3), copy=True)
    same = synthesis(mtz, labels, ours.shape)
    row = [name, kind, ", ".join(labels), "x".join(map(str, ours.shape))]
    for value in (np.std, np.min, np.max):
        row += [f"{value(ours):.4f}", f"{value(theirs):.4f}"]
    row += [f"{correlation(ours, same):.7f}", f"{np.max(np.abs(ours - same)):.1e}"]
    return row, ours_file


def atom_rows(maps):
    """Densities at atom centres by direct summation (another program's), and in our map by tricubic interpolation."""
    found = {}
    for line in (DATA / "reference" / "atom_density.tsv").read_text().splitlines()[1:]:
        crystal, _, x, y, z, full, difference, _ = line.split("\t")
        if crystal not in maps:
            continue
        position = gemmi.Position(float(x), float(y), float(z))
        for kind, direct in (("Fwt", full), ("Fdelwt", difference)):
            map_ = maps[crystal][kind]
            grid = map_.grid
            ours = grid.tricubic_interpolation(position)
            found.setdefault(crystal, {}).setdefault(kind, []).append((ours, float(direct)))
    rows = []
    for crystal, kinds in found.items():
        row = [crystal]
        for kind in ("Fwt", "Fdelwt"):
            ours, direct = np.array(kinds[kind]).T
            row += [len(ours), f"{np.max(np.abs(direct)):.3f}", f"{np.max(np.abs(ours - direct)):.3f}"]
        rows.append(row)
    return rows


def cut_at(density, cell, d_min):
    """A density without its Fourier coefficients beyond d_min."""
    r = cell.reciprocal()
    h, k, l = np.meshgrid(*(np.fft.fftfreq(n, 1 / n) for n in density.shape), indexing="ij")
    cosines = np.cos(np.radians([r.alpha, r.beta, r.gamma]))
    inv_d2 = ((h * r.a) ** 2 + (k * r.b) ** 2 + (l * r.c) ** 2 + 2 * k * l * r.b * r.c * cosines[0]
              + 2 * h * l * r.a * r.c * cosines[1] + 2 * h * k * r.a * r.b * cosines[2])
    coefficients = np.fft.fftn(density)
    coefficients[inv_d2 > 1 / d_min**2] = 0
    return np.fft.ifftn(coefficients).real


def gemmi_mask_correlation(model_file, grid, d_min, radius=1.5, cut=True):
    """Correlation of gemmi's map with gemmi's density of the model, within a radius of atoms other than hydrogen."""
    structure = gemmi.read_structure(str(model_file))
    calculator = gemmi.DensityCalculatorX()
    calculator.d_min = d_min
    calculator.grid.copy_metadata_from(grid)
    calculator.grid.set_size(grid.nu, grid.nv, grid.nw)
    calculator.add_model_density_to_grid(structure[0])
    calculator.grid.symmetrize_sum()
    structure.remove_hydrogens()
    mask = gemmi.Int8Grid()
    mask.copy_metadata_from(grid)
    mask.set_size(grid.nu, grid.nv, grid.nw)
    masker = gemmi.SolventMasker(gemmi.AtomicRadiiSet.Constant, radius)
    masker.rprobe, masker.rshrink = 0.0, 0.0
    masker.put_mask_on_int8_grid(mask, structure[0])
    calculated = np.array(calculator.grid, copy=False)
    if cut:
        calculated = cut_at(calculated, grid.unit_cell, d_min)
    values = np.array(grid, copy=False)
    inside = (np.array(mask, copy=False) == 0) & np.isfinite(values)
    return correlation(values[inside], calculated[inside])


def check_round_trip(path, scratch):
    """map -> CCP4 -> map: the samples and their places in the cell."""
    first, second = scratch / "first.ccp4", scratch / "second.map"
    vxgrid("convert", path, first)
    vxgrid("convert", first, second)
    values, start, _ = read_ccp4(path)
    once, once_start, _ = read_ccp4(first)
    twice, twice_start, _ = read_ccp4(second)
    same = once_start == start and np.array_equal(once[tuple(map(slice, values.shape))], values)
    again = twice_start == once_start and np.array_equal(once, twice)
    return same, again, once, once_start


def probe_rows():
    probes = {}
    for line in (DATA / "reference" / "map_probes.tsv").read_text().splitlines()[1:]:
        name, x, y, z, value = line.split("\t")
        probes.setdefault(name, []).append(((int(x), int(y), int(z)), float(value)))
    return probes


def read_phi(path):
    """A GRASP map by its layout: records of Fortran, all numbers big-endian."""
    data, at, records = path.read_bytes(), 0, []
    for length in (20, 70, 4 * 65**3, 16, 16):
        records.append(data[at + 4:at + 4 + length])
        at += length + 8
    scale, *middle = struct.unpack(">4f", records[4])
    return np.frombuffer(records[2], ">f4").reshape(65, 65, 65).transpose(), 1 / scale, middle


def read_grid(path, scratch):
    """Samples of any map by x, y, z, its midpoint and spacing, by way of a JSON document and Python's reader."""
    document = json.loads(vxgrid_text_of(path, scratch))
    dims = document["dimensions"]
    return np.array(document["values"], dtype=float).reshape(dims[::-1]).transpose(), document


def vxgrid_text_of(path, scratch):
    vxgrid("convert", path, scratch / "grid.json", "-q")
    return (scratch / "grid.json").read_text()


def xplor_rows(name, mtz_name, shape, first, scratch):
    """A map by way of CCP4, against what cctbx reads from it, if it is a text, and against gemmi's map of the
    coefficients it was made from."""
    out = scratch / "xplor.ccp4"
    vxgrid("convert", DATA / "maps" / name, out, "-q")
    ours, start, _ = read_ccp4(out)
    rows = []
    if name.endswith(".xplor"):
        read = iotbx.xplor.map.reader(file_name=str(DATA / "maps" / name))
        theirs = read.data.as_numpy_array().astype(np.float32)
        largest = np.max(np.abs(ours[tuple(map(slice, theirs.shape))] - theirs))
        same = start == list(read.data.origin()) == first and largest == 0
        rows.append([f"`{name}` read", "cctbx", theirs.size, "yes" if same else "NO", f"{largest:.1e}"])
    mtz = gemmi.read_mtz_file(str(DATA / "crystals" / mtz_name))
    theirs = np.array(mtz.transform_f_phi_to_map("FWT", "PHWT", exact_size=shape), copy=True)
    places = [(np.arange(n) + f) % m for n, f, m in zip(ours.shape, first, shape)]
    largest = np.max(np.abs(ours - theirs[np.ix_(*places)]))
    rows.append([f"`{name}` read", "gemmi", ours.size, "yes" if start == first and largest < 1e-5 else "NO",
                 f"{largest:.1e}"])
    return rows


def cctbx_row(files, scratch):
    """CCP4 maps of ours: what cctbx reads from them beside what gemmi reads from the files they were made from."""
    points, largest, same = 0, 0.0, True
    for path in files:
        out = scratch / "cctbx.map"
        vxgrid("convert", path, out, "-q")
        read = iotbx.ccp4_map.map_reader(file_name=str(out))
        theirs, origin = read.map_data().as_numpy_array(), list(read.map_data().origin())
        ours, start, map_ = read_ccp4(path)
        same = (same and origin == start and np.allclose(read.unit_cell().parameters(), map_.grid.unit_cell.parameters)
                and read.space_group_number == max(1, map_.header_i32(23))
                and list(read.unit_cell_grid) == [map_.header_i32(i) for i in (8, 9, 10)])
        points += ours.size
        largest = max(largest, np.max(np.abs(theirs[tuple(map(slice, ours.shape))] - ours)))
    return [f"{len(files)} CCP4 maps written", "cctbx", points, "yes" if same and largest == 0 else "NO",
            f"{largest:.1e}"]


def mrcfile_row(files, scratch):
    points, largest = 0, 0.0
    for path in files:
        out = scratch / "mrcfile.map"
        vxgrid("convert", path, out, "-q")
        with mrcfile.open(str(out), permissive=True) as mrc:
            theirs = np.array(mrc.data)
        ours = np.array(gemmi.read_ccp4_map(str(out)).grid, copy=True)
        points += theirs.size
        largest = max(largest, np.max(np.abs(theirs.transpose() - ours)))
    return [f"{len(files)} CCP4 maps written", f"mrcfile {mrcfile.__version__}, gemmi", points,
            "yes" if largest == 0 else "NO", f"{largest:.1e}"]


def phi_rows(scratch):
    theirs, spacing, middle = read_phi(DATA / "maps" / "1crn.phi")
    ours, document = read_grid(DATA / "maps" / "1crn.phi", scratch)
    same = np.allclose(document["center"], middle, atol=1e-5) and abs(document["resolution"] - spacing) < 2e-5
    largest = np.max(np.abs(ours - theirs))
    rows = [["`1crn.phi` read", "the layout, Python's json", ours.size, "yes" if same and largest < 1e-5 else "NO",
             f"{largest:.1e}"]]
    vxgrid("convert", DATA / "maps" / "1crn.phi", scratch / "again.phi", "-q")
    again, spacing_again, middle_again = read_phi(scratch / "again.phi")
    inside = np.max(np.abs(again - theirs)[:64, :64, :64])
    same = np.allclose(middle, middle_again) and abs(spacing - spacing_again) < 1e-6
    rows.append(["`1crn.phi` written again", "the layout", again.size, "yes" if same and inside < 2e-4 * np.ptp(theirs) else "NO",
                 f"{inside:.1e}"])
    with pymol2.PyMOL() as viewer:
        viewer.cmd.load(str(scratch / "again.phi"), "again", quiet=1)
        shown = np.array(viewer.cmd.get_volume_field("again"))
        low, high = np.array(viewer.cmd.get_extent("again"))
    same = np.allclose((low + high) / 2, middle, atol=1e-5) and np.allclose((high - low) / 64, spacing)
    largest = np.max(np.abs(shown - again))
    rows.append(["`1crn.phi` written again", "PyMOL", shown.size, "yes" if same and largest == 0 else "NO",
                 f"{largest:.1e}"])
    return rows


def json_row(scratch):
    """A document that Python's json wrote, by way of a native file, back into one that it reads."""
    values = np.round(np.random.default_rng(1).normal(size=(7, 6, 5)), 8).astype(np.float32)
    document = {"type": "grid", "version": "0.91", "title": "caf\u00e9 \"x\"", "center": [1.5, -2.25, 3.0],
                "dimensions": [5, 6, 7], "resolution": 0.5, "values": [float(v) for v in values.ravel()]}
    (scratch / "python.json").write_text(json.dumps(document))
    vxgrid("convert", scratch / "python.json", scratch / "python.vxb", "-q")
    ours, read = read_grid(scratch / "python.vxb", scratch)
    largest = np.max(np.abs(ours.transpose() - values))
    same = read["title"] == document["title"] and read["center"] == document["center"] and largest <= 1e-8
    return ["a document of Python's json, and back", "Python's json", values.size, "yes" if same else "NO",
            f"{largest:.1e}"]


# Where a column stands in a reflection of an XPLOR file: behind which word, and how far.
FOB_PLACES = {"F_meas_sigma_au": ("SIGMa=", 1), "F_calc_au": ("FCALC=", 1), "phase_calc": ("FCALC=", 2), "fom": ("FOM=", 1),
              "FP": ("FOBS=", 1), "SIGFP": ("SIGMa=", 1), "FC": ("FCALC=", 1), "PHIC": ("FCALC=", 2), "FOM": ("FOM=", 1),
              "FOBS": ("FOBS=", 1), "SIGMA": ("SIGMa=", 1), "TEST": ("TEST=", 1)}


def reflection_row(source, hkl, columns, how, scratch, other="gemmi"):
    """A file by way of XPLOR, with five decimals, beside the columns that another program reads from it, by index."""
    vxgrid("reflections", source, "-o", scratch / "out.fob", "-q")
    ours = {}
    for line in (scratch / "out.fob").read_text().splitlines():
        words = line.split()
        ours[tuple(map(int, words[1:4]))] = [float(words[words.index(FOB_PLACES[name][0]) + FOB_PLACES[name][1]])
                                             for name in columns]
    values = np.array(list(columns.values())).T
    theirs = {tuple(index): row for index, row in zip(hkl.tolist(), values) if np.isfinite(row).all()}
    same = ours.keys() == theirs.keys()
    largest = max(np.max(np.abs(theirs[index] - ours[index])) for index in ours) if same else np.inf
    return [f"`{source.name}` {how}: {', '.join(columns)}", other, len(ours),
            "yes" if same and largest < 1e-4 else "NO", f"{largest:.1e}"]


def reflection_rows(scratch):
    rows = []
    for name in ("1dur-sf.cif", "5uui-sf.cif", "5wkd-sf.cif", "6mw0-sf.cif"):
        path = DATA / "reflections" / name
        block = gemmi.as_refln_blocks(gemmi.cif.read(str(path)))[0]
        columns = {tag: np.array(block.make_float_array(tag)) for tag in ("F_meas_sigma_au", "F_calc_au", "phase_calc", "fom")
                   if tag in block.column_labels()}
        rows.append(reflection_row(path, block.make_miller_array(), columns, "read", scratch))
    for name in ("1dur.fob", "gere-nat-part.cv"):
        path = DATA / "reflections" / name
        with open(path) as file:
            read = iotbx.cns.reflection_reader.cns_reflection_file(file).reciprocal_space_objects
        columns = {item: np.abs(np.array(list(values.data))) for item, values in read.items()}
        rows.append(reflection_row(path, np.array(list(read["FOBS"].indices)), columns, "read", scratch, "cctbx"))
    path = DATA / "crystals" / "1dur.mtz"
    mtz = gemmi.read_mtz_file(str(path))
    columns = {label: np.array(mtz.column_with_label(label)) for label in ("FP", "SIGFP", "FC", "PHIC", "FOM")}
    rows.append(reflection_row(path, mtz.make_miller_array(), columns, "written as `fob`", scratch))

    vxgrid("reflections", DATA / "crystals" / "1dur.mtz", "-o", scratch / "1dur.phs", "-q")
    ours = np.loadtxt(scratch / "1dur.phs")
    theirs = np.loadtxt(DATA / "reflections" / "1dur.phs")[:, :6]
    ours, theirs = (table_[np.lexsort(table_[:, :3].T)] for table_ in (ours, theirs))
    largest = np.max(np.abs(ours - theirs)) if ours.shape == theirs.shape else np.inf
    rows.append(["`1dur.mtz` written as `phs`", "Clipper's file", len(ours), "yes" if largest < 2e-3 else "NO",
                 f"{largest:.1e}"])
    return rows


def d_min_of(model_file, spacing):
    resolution = gemmi.read_structure(str(model_file)).resolution
    return resolution if resolution > 0 else 3 * spacing


def main():
    crystals = sorted(path.stem for path in (DATA / "crystals").glob("*.mtz"))
    map_files = sorted(path for path in (DATA / "maps").iterdir() if path.suffix in (".map", ".ccp4"))
    out = [f"""# Validation

Every crystal and every CCP4 map of the real data, our figure beside that of another program. The page is the output
of one run:

    scripts/validate.py build/ci/tools/vxgrid

The other program is gemmi {gemmi.__version__} (python3-gemmi), run in the same process on the same files, unless a
column says otherwise. Commands: `vxgrid map X.mtz -o X.map --type T`, `vxgrid info`, `vxgrid fit X.pdb X.mtz`,
`vxgrid convert X.map Y.ccp4`.
"""]
    with tempfile.TemporaryDirectory() as folder:
        scratch = pathlib.Path(folder)
        rows, maps = [], {}
        for name in crystals:
            for kind in ("Fwt", "Fdelwt"):
                row, file = crystal_map(name, kind, scratch)
                rows.append(row)
                map_ = gemmi.read_ccp4_map(str(file))
                map_.setup(float("nan"))
                maps.setdefault(name, {})[kind] = map_
        out.append(f"""## Reflections to a map

R.m.s. about the mean and extremes in e/Å³ over one cell, no point counted twice; ours on the library's grid, gemmi's
on its own (spacing at most d/3), which is why extremes differ a little. Correlation and largest difference: our map
file against numpy's transform of the same columns, expanded with gemmi's operators, on our grid. (hewl: 164
centric phases of its 2FOFCWT are not quite those that symmetry allows, so mates disagree; we keep the first, numpy the
last.)

{table(["crystal", "type", "columns", "grid", "rms", "gemmi", "min", "gemmi", "max", "gemmi", "correlation",
        "largest difference"], rows)}""")

        out.append(f"""## Density at atoms

Largest deviation of our map (tricubic interpolation) from the direct Fourier summation at ten atoms of each crystal
(`reference/atom_density.tsv`), in e/Å³; what is left is interpolation.

{table(["crystal", "atoms", "2Fo-Fc, largest", "deviation", "atoms", "Fo-Fc, largest", "deviation"], atom_rows(maps))}""")

        rows = []
        for name in crystals:
            model = DATA / "crystals" / f"{name}.pdb"
            if not model.exists():
                continue
            fit = vxgrid_json("fit", model, DATA / "crystals" / f"{name}.mtz")
            mtz = gemmi.read_mtz_file(str(DATA / "crystals" / f"{name}.mtz"))
            grid = mtz.transform_f_phi_to_map(*columns_of(mtz, "Fwt"), sample_rate=3)
            theirs = gemmi_mask_correlation(model, grid, mtz.resolution_high())
            fine = mtz.transform_f_phi_to_map(*columns_of(mtz, "Fwt"), sample_rate=8)
            like_ours = gemmi_mask_correlation(model, fine, mtz.resolution_high(), fit["radius"], cut=False)
            scored = [each for each in fit["residues"] if each["rscc"] is not None]
            scores = [each["rscc"] for each in scored if each["name"] != "HOH"]
            rows.append([name, f"{fit['radius']:.3f}", f"{fit['rscc']:.3f}", f"{like_ours:.3f}", f"{theirs:.3f}",
                         f"{fit['rsr']:.3f}", len(fit["residues"]), len(scored), f"{np.median(scores):.3f}", f"{min(scores):.3f}"])
        head = ["crystal", "radius", "RSCC", "gemmi, same radius", "gemmi, 1.5 Å", "RSR", "residues", "scored",
                "median but waters", "lowest but waters"]
        out.append(f"""## Model against map

RSCC and RSR of the whole model with the default mask radius. gemmi's figures are correlations of its map of the same
coefficients with its own density of the model, at all grid points within a radius of atoms other than hydrogen: "same
radius" with ours, the density of the atoms as it is, on a grid of spacing d/8 (ours samples at 0.5 Å and cuts the
density of an atom off at its widest Gaussian's 1/e, so small models differ most); "1.5 Å" with the density cut at the
resolution of the data, which is the usual figure.

{table(head, rows)}""")

        rows = []
        for name in BOX_MODELS:
            path = DATA / "maps" / name
            fit = vxgrid_json("fit", path.with_suffix(".pdb"), path, "--radius", "1.0")
            map_ = gemmi.read_ccp4_map(str(path))
            map_.setup(float("nan"))
            theirs = gemmi_mask_correlation(path.with_suffix(".pdb"), map_.grid,
                                            d_min_of(path.with_suffix(".pdb"), map_.grid.spacing[0]))
            rows.append([name, f"{fit['rscc']:.3f}", f"{fit['rsr']:.3f}", f"{theirs:.3f}", len(fit["residues"])])
        out.append(f"""The same on finished maps that hold a part of the cell, with `--radius 1.0`:

{table(["map", "RSCC", "RSR", "gemmi, 1.5 Å", "residues"], rows)}""")

        rows, probes = [], probe_rows()
        for path in map_files + [maps_file for maps_file in sorted(scratch.glob("*_Fwt.map"))]:
            info = vxgrid_json("info", path)[0]
            values, start, map_ = read_ccp4(path)
            same, again, once, once_start = check_round_trip(path, scratch)
            hits = "-"
            if path.name in probes:
                at = [once[tuple(i - s for i, s in zip(index, once_start))] for index, _ in probes[path.name]]
                expected = [value for _, value in probes[path.name]]
                hits = f"{sum(abs(a - b) <= 1e-5 * max(1, abs(b)) for a, b in zip(at, expected))} of {len(at)}"
            row = [path.name, "x".join(map(str, info["dimensions"])), "yes" if info["start"] == start else "NO"]
            for key, theirs in (("min", values.min()), ("max", values.max()), ("mean", values.mean(dtype=float)),
                                ("rms", values.std(dtype=float))):
                row += [f"{info[key]:.4f}", f"{theirs:.4f}"]
            rows.append(row + ["yes" if same else "NO", "yes" if again else "NO", hits])
        out.append(f"""## Maps: what they hold, and the round trip map -> CCP4 -> map

Statistics over the stored samples. "start": the start numbers are those that gemmi reads. "kept": all samples and
start numbers of the converted file are those of the first (an axis of exactly one period gains its closing plane);
"again": a second conversion changes nothing. "probes": samples of the converted file that equal the stored ones of
`reference/map_probes.tsv`, by their place in the cell. Bytes of mode 0 are read as 0 to 255 and scaled with AMIN and
AMAX of the header, gemmi takes them as signed whole numbers: those rows differ by intent. Maps without a space group
(number 0) are written as P 1.

{table(["map", "size", "start", "min", "gemmi", "max", "gemmi", "mean", "gemmi", "rms", "gemmi", "kept", "again",
        "probes"], rows)}""")
        rows = [*xplor_rows("1dur_2fofc_cell.xplor", "1dur.mtz", [32, 40, 40], [0, 0, 0], scratch),
                *xplor_rows("5wkd_2fofc_box.xplor", "5wkd.mtz", [90, 8, 30], [-10, -3, -5], scratch),
                *xplor_rows("5wkd_2fofc_box_bin.xplmap", "5wkd.mtz", [90, 8, 30], [-10, -3, -5], scratch),
                cctbx_row([path for path in map_files if "mode0" not in path.name], scratch),
                mrcfile_row([path for path in map_files if path.name != "iota_yzx.ccp4"], scratch),
                *phi_rows(scratch), json_row(scratch), *reflection_rows(scratch)]
        out.append(f"""## Other formats

Files of and for other programs. "agrees": indices, places and values, within the digits of the text; of a GRASP map
written again, to 2e-4 of the range, as it is interpolated at places in single precision, and the last points of
each axis aside, which are sampled 1e-5 of the span inside. The XPLOR texts are cctbx's, the unformatted map is
gfortran's, and gemmi's side of them is its map of the coefficients they were made from; that of CCP4 maps written is what
gemmi reads from the files they were made from. In files of structure
factors the amplitudes are read from the column of the sigmas where that stands behind them (docs/formats.md), so sigmas
are compared.

{table(["file", "other program", "values", "agrees", "largest difference"], rows)}""")
    (SOURCE / "docs" / "validation.md").write_text("\n".join(out))


main()
