#!/usr/bin/env python3
"""Draws the pictures of docs/command.md from the sample crystal, with maps that the command makes.

    docs/pictures/draw.py [--command build/release/tools/vxgrid] [--out docs/pictures]

Debian packages: python3-matplotlib python3-skimage.
"""

import argparse
import json
import pathlib
import subprocess
import tempfile

import matplotlib
import numpy
from skimage.measure import marching_cubes

matplotlib.use("Agg")
from matplotlib import pyplot
from mpl_toolkits.mplot3d.art3d import Line3DCollection, Poly3DCollection

DATA = pathlib.Path(__file__).resolve().parent.parent.parent / "examples" / "data"
HELIX = range(50, 65)  # residues
LIGAND = "-23.9,7.2,-14.4"  # beside the model, in its cleft


class Map:
    """A CCP4 map whose axes stand in the order x, y, z, as the command writes them."""

    def __init__(self, name):
        words = numpy.fromfile(name, "<i4", 256)
        cell = words.view("<f4")[10:16]
        self.start, self.steps = words[4:7], words[7:10]
        a, b, c = cell[:3]
        alpha, beta, gamma = numpy.radians(cell[3:].astype(float))
        x = (numpy.cos(alpha) - numpy.cos(beta) * numpy.cos(gamma)) / numpy.sin(gamma)
        edges = numpy.array([[a, 0, 0], [b * numpy.cos(gamma), b * numpy.sin(gamma), 0],
                             [c * numpy.cos(beta), c * x, c * (1 - numpy.cos(beta) ** 2 - x**2) ** 0.5]])
        self.step = edges / self.steps[:, None]  # Å, a row an axis
        self.values = numpy.fromfile(name, "<f4", offset=1024 + int(words[23])).reshape(words[2::-1]).T

    def box(self, low, high):
        """The values around a box in Å and the number of the first sample; whole cells go on beyond their borders."""
        corners = numpy.array([[(low, high)[i >> k & 1][k] for k in range(3)] for i in range(8)])
        index = corners @ numpy.linalg.inv(self.step)
        first, last = numpy.floor(index.min(0)).astype(int), numpy.ceil(index.max(0)).astype(int)
        axes = [(numpy.arange(first[k], last[k] + 1) - self.start[k]) % self.steps[k] for k in range(3)]
        inside = [axis < self.values.shape[k] for k, axis in enumerate(axes)]
        values = self.values[numpy.ix_(*(numpy.where(ok, axis, 0) for ok, axis in zip(inside, axes)))].copy()
        values[~(inside[0][:, None, None] & inside[1][:, None] & inside[2])] = 0
        return values, first

    def places(self, index, first):
        return (index + first) @ self.step


def atoms(residues=None):
    """Name and place of the atoms of the model."""
    lines = [line for line in (DATA / "4hg7.pdb").read_text().splitlines() if line.startswith("ATOM")]
    kept = [line for line in lines if line[16] in " A" and (residues is None or int(line[22:26]) in residues)]
    return [line[12:16].strip() for line in kept], numpy.array([[float(line[30 + 8 * k:38 + 8 * k]) for k in range(3)]
                                                               for line in kept])


def near(places, others, reach):
    return (numpy.linalg.norm(places[:, None] - others, axis=2) < reach).any(1)


def sticks(places):
    pairs = numpy.argwhere(numpy.triu(numpy.linalg.norm(places[:, None] - places, axis=2) < 1.7, 1))
    return places[pairs]


def surface(axes, grid, level, low, high, colour, shown=None):
    """The contour of a map in a box, or the part of it that `shown` keeps of the places of its corners."""
    values, first = grid.box(low, high)
    corners, faces, _, _ = marching_cubes(values, level)
    triangles = grid.places(corners, first)[faces]
    keep = ((triangles > low) & (triangles < high)).all((1, 2))
    if shown is not None:
        keep &= shown(triangles[:, 0])
    normals = numpy.cross(*(triangles[:, i] - triangles[:, 0] for i in (1, 2)))
    light = abs(normals @ [0.4, -0.7, 0.6]) / numpy.maximum(numpy.linalg.norm(normals, axis=1), 1e-9)
    rgb = numpy.array(matplotlib.colors.to_rgb(colour))
    shades = numpy.clip(rgb * (0.55 + 0.45 * light[:, None]), 0, 1)
    alpha = 0.2 if shown is not None else 0.55
    colours = numpy.c_[shades, numpy.full(len(shades), alpha)]
    axes.add_collection3d(Poly3DCollection(triangles[keep], facecolors=colours[keep]))


def frame(axes, low, high, title, zoom):
    axes.set(xlim=(low[0], high[0]), ylim=(low[1], high[1]), zlim=(low[2], high[2]), title=title)
    axes.set_box_aspect(high - low, zoom=zoom)
    axes.computed_zorder = False
    for name in "xyz":
        getattr(axes, f"set_{name}label")(f"{name} (Å)")
        getattr(axes, f"{name}axis").set_major_locator(matplotlib.ticker.MaxNLocator(4, integer=True))
        getattr(axes, f"{name}axis").set_pane_color((0.97, 0.97, 0.97))


def draw_skeleton(run, scratch, out):
    density, lines = scratch / "2fofc.map", scratch / "lines.map"
    run("map", DATA / "4hg7.mtz", "-o", density)
    made = run("skeleton", density, "-o", lines, "--level", "1.5", "--sigma", "--spacing", "0.3")
    names, places = atoms(HELIX)
    density, lines = Map(density), Map(lines)
    up = density.step[2] * density.steps[2]  # the model lies one cell below the map
    places = places + up
    low, high = places.min(0) - 2, places.max(0) + 2
    shown = lambda at: near(at, places, 1.9)

    figure = pyplot.figure(figsize=(8, 6.4))
    axes = figure.add_subplot(projection="3d")
    surface(axes, density, made["level"], low, high, "steelblue", shown)
    values, first = lines.box(low, high)
    index = numpy.argwhere(values == 1)
    index = index[shown(lines.places(index, first))]
    apart = abs(index[:, None] - index).max(2)
    pairs = numpy.argwhere(numpy.triu(apart == 1))
    skeleton = lines.places(index[pairs], first)
    axes.add_collection3d(Line3DCollection(skeleton, colors="firebrick", linewidths=1.8, zorder=3))
    axes.add_collection3d(Line3DCollection(sticks(places), colors="0.35", linewidths=0.8, zorder=2))
    title = "Residues 50 to 64 of 4HG7, 2Fo-Fc at 1.5 sigma:\ndensity, its skeleton (red), the model (grey)"
    frame(axes, low, high, title, 1.15)
    along = numpy.linalg.svd(places - places.mean(0))[2][0]  # the helix; seen from the side
    axes.view_init(8, numpy.degrees(numpy.arctan2(-along[0], along[1])))
    figure.savefig(out / "skeleton.png", dpi=90, bbox_inches="tight", pad_inches=0.3)


def draw_blob(run, scratch, out):
    difference, ligand = scratch / "difference.map", scratch / "ligand.map"
    run("map", DATA / "4hg7.mtz", "-o", difference, "--type", "Fdelwt")
    made = run("blob", difference, "-o", ligand, "--at", LIGAND)
    centre = numpy.array([float(number) for number in LIGAND.split(",")])
    difference, ligand = Map(difference), Map(ligand)
    low, high = centre - 11, centre + 11
    values, first = ligand.box(low, high)
    filled = ligand.places(numpy.argwhere(values > 0), first)
    low, high = filled.min(0) - 5, filled.max(0) + 5
    _, places = atoms()
    bonds = sticks(places[((places > low) & (places < high)).all(1)])

    figure = pyplot.figure(figsize=(11, 5.6))
    titles = ["Fo-Fc at 3 sigma, all of it", f"the blob in the cleft, {made['blobs'][0]['volume']:.0f} Å³"]
    for i, grid in enumerate((difference, ligand)):
        axes = figure.add_subplot(1, 2, i + 1, projection="3d")
        surface(axes, grid, made["level"], low, high, "seagreen")
        axes.add_collection3d(Line3DCollection(bonds, colors="0.35", linewidths=0.9, zorder=2 * i))
        frame(axes, low, high, titles[i], 1.0)
        axes.view_init(18, -50)
    figure.savefig(out / "blob.png", dpi=72, bbox_inches="tight", pad_inches=0.3)


def main():
    here = pathlib.Path(__file__).resolve().parent
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--command", type=pathlib.Path, default=here.parent.parent / "build/release/tools/vxgrid")
    parser.add_argument("--out", type=pathlib.Path, default=here)
    options = parser.parse_args()

    def run(*arguments):
        done = subprocess.run([options.command, *arguments, "--json", "--quiet"], check=True, stdout=subprocess.PIPE)
        return json.loads(done.stdout)

    with tempfile.TemporaryDirectory() as scratch:
        draw_skeleton(run, pathlib.Path(scratch), options.out)
        draw_blob(run, pathlib.Path(scratch), options.out)


if __name__ == "__main__":
    main()
