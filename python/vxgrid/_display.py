"""Grids as pictures: three central sections for notebooks, and one section for matplotlib."""

import base64
import html
import operator
import struct
import zlib
from typing import TYPE_CHECKING, Any, Literal

import numpy as np
from numpy.typing import NDArray

from ._core import Grid

if TYPE_CHECKING:
    from matplotlib.axes import Axes

AXES: tuple[Literal["z", "y", "x"], ...] = ("z", "y", "x")  # in the order of an array of values
PIXELS = 180  # the longer side of a section in a notebook

# Low, middle and high of values of both signs; below, low and high of the others.
BLUE_WHITE_RED = np.array([(33, 102, 172), (247, 247, 247), (178, 24, 43)], dtype=float)
BLACK_WHITE = np.array([(0, 0, 0), (255, 255, 255)], dtype=float)


def limits(values: NDArray[np.float32]) -> tuple[float, float]:
    """The range of colours: all but the outermost values, symmetric about 0 when there are values of both signs."""
    finite = values[np.isfinite(values)].astype(float)
    if finite.size == 0:
        return 0.0, 1.0
    low, high = np.percentile(finite, [0.5, 99.5])
    if low == high:
        low, high = finite.min(), finite.max()
    if low < 0 < high:
        high = max(-low, high)
        return -high, high
    return float(low), float(high)


def colored(section: NDArray[np.float32], low: float, high: float) -> NDArray[np.uint8]:
    """Pixels (rows, columns, 3) of values; what is not a number is grey."""
    colors = BLUE_WHITE_RED if low < 0 < high else BLACK_WHITE
    place = np.clip((section.astype(float) - low) / ((high - low) or 1.0), 0, 1) * (len(colors) - 1)
    known = np.isfinite(place)
    steps = range(len(colors))
    pixels = [np.where(known, np.interp(place, steps, channel), 127) for channel in colors.T]
    rounded: NDArray[np.uint8] = np.stack(pixels, axis=-1).round().astype(np.uint8)
    return rounded


def png(pixels: NDArray[np.uint8]) -> bytes:
    """A PNG file of pixels (rows, columns, 3)."""

    def chunk(kind: bytes, content: bytes) -> bytes:
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

    rows, columns, _ = pixels.shape
    lines = b"".join(b"\0" + row.tobytes() for row in pixels)  # each behind its filter type, none
    head = struct.pack(">IIBBBBB", columns, rows, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(lines)) + chunk(b"IEND", b"")


def section_of(values: NDArray[np.float32], axis: int, index: int) -> NDArray[np.float32]:
    """The samples of one index along an axis."""
    return np.moveaxis(values, axis, 0)[index, :, :]


def picture(section: NDArray[np.float32], low: float, high: float) -> str:
    """A section as an HTML image: some PIXELS wide or high, its second axis upward."""
    sides = np.maximum(np.array(section.shape) * PIXELS // max(section.shape), 1)
    rows, columns = (np.arange(side) * n // side for side, n in zip(sides, section.shape))
    content = png(colored(section[rows[::-1, None], columns], low, high))
    return f'<img src="data:image/png;base64,{base64.b64encode(content).decode()}">'


def _repr_html_(self: Grid) -> str:
    """The three central sections of the grid as a picture, under its repr."""
    values = self.values
    if 0 in values.shape:
        return f"<code>{html.escape(repr(self))}</code>"
    sections = [section_of(values, axis, n // 2) for axis, n in enumerate(values.shape)]
    low, high = limits(np.concatenate([section.ravel() for section in sections]))
    cells = ""
    for axis, section in zip(AXES, sections):
        across, up = (name for name in reversed(AXES) if name != axis)
        n = values.shape[AXES.index(axis)]
        caption = f"{axis} = {n // 2} of {n}, {across} to the right, {up} up"
        cells += f'<td style="text-align:center">{picture(section, low, high)}<br><small>{caption}</small></td>'
    scale = f"{low:.4g} to {high:.4g}"
    return f"<code>{html.escape(repr(self))}</code><table><tr>{cells}</tr></table><small>{scale}</small>"


def plot_section(
    self: Grid,
    axis: Literal["z", "y", "x"] = "z",
    index: int | None = None,
    *,
    ax: "Axes | None" = None,
    colorbar: bool = True,
    **options: Any,
) -> "Axes":
    """Draws the samples of one index along an axis with matplotlib, true to scale in Å, and gives the Axes.

    index None is the central one. Oblique axes stand at their angle. The contours that the grid carries are drawn
    as lines; options go to Axes.imshow(), such as cmap, vmin and vmax.
    """
    try:
        import matplotlib.pyplot as plt
        from matplotlib.transforms import Affine2D
    except ImportError as error:
        raise ImportError("plot_section() draws with matplotlib, which is not installed") from error

    if axis not in AXES:
        raise ValueError(f'axis: "x", "y" or "z" was wanted, {axis!r} came')
    values = self.values
    along = AXES.index(axis)
    count = values.shape[along]
    index = count // 2 if index is None else operator.index(index)
    if not -count <= index < count:
        raise IndexError(f"index: {-count} to {count - 1} was wanted, {index} came")
    section = section_of(values, along, index)
    low, high = limits(section)
    options = {"cmap": "RdBu_r" if low < 0 < high else "gray", **options}
    if "norm" not in options:
        options = {"vmin": low, "vmax": high, **options}

    # The steps of the two axes of the section, in the plane that they span; the first lies along the picture's x.
    start = np.zeros(3)
    start[along] = index % count
    up_axis, across_axis = (i for i in range(3) if i != along)
    corner, across, up = self.to_positions([start, start + np.eye(3)[across_axis], start + np.eye(3)[up_axis]])
    across, up = across - corner, up - corner
    width = float(np.linalg.norm(across))
    shear = float(up @ across) / width
    height = float(np.sqrt(max(up @ up - shear**2, 0.0)))
    names = [AXES[across_axis], AXES[up_axis]]
    is_plain = all(np.count_nonzero(np.abs(step) > 1e-4 * width) == 1 for step in (across, up)) and min(*across, *up) >= 0
    first = [corner[2 - across_axis], corner[2 - up_axis]] if is_plain else [0.0, 0.0]
    to_plane = Affine2D(np.array([[width, shear, first[0]], [0, height, first[1]], [0, 0, 1]]))

    ax = plt.gca() if ax is None else ax
    rows, columns = section.shape
    edges = (-0.5, columns - 0.5, -0.5, rows - 0.5)
    image = ax.imshow(section, origin="lower", extent=edges, transform=to_plane + ax.transData, **options)
    corners = to_plane.transform([(x, y) for x in edges[:2] for y in edges[2:]])
    ax.set(xlim=(corners[:, 0].min(), corners[:, 0].max()), ylim=(corners[:, 1].min(), corners[:, 1].max()), aspect="equal")
    lines = [line for line in sorted(dict(self.contours).items()) if (section < line[0]).any() and (section > line[0]).any()]
    if lines and min(section.shape) > 1:
        grid_x, grid_y = np.meshgrid(np.arange(columns), np.arange(rows))
        places = to_plane.transform(np.stack([grid_x.ravel(), grid_y.ravel()], axis=-1))
        ax.contour(
            *places.T.reshape(2, rows, columns),
            section,
            levels=[level for level, _ in lines],
            colors=[tuple(channel / 255 for channel in color) for _, color in lines],
        )
    unit = "Å" if is_plain else "Å from the first sample"
    ax.set(xlabel=f"{names[0]} / {unit}", ylabel=f"{names[1]} / {unit}")
    ax.set_title(f"{self.title}  {axis} = {index % count} of {count}".strip())
    if colorbar:
        ax.figure.colorbar(image, ax=ax)
    return ax


# What the class has besides what is compiled.
Grid._repr_html_ = _repr_html_  # type: ignore[attr-defined]
Grid.plot_section = plot_section  # type: ignore[assignment]
