#!/usr/bin/env python3
"""What Python costs: calls with small arguments, looking at values, and interpolation beside scipy.

    PYTHONPATH=<build>/python python3 bench/python_bench.py

Each figure is the best of several rounds, in which ours and the peer take turns. The status is 1 when a figure misses
its limit.
"""

import sys
import time
import timeit
from collections.abc import Callable

import numpy as np
from scipy.ndimage import map_coordinates

import vxgrid

CALL_LIMIT = 2e-6  # s over the C++ call; what is measured is the whole call, whose C++ part takes some ns here
SPEED_LIMIT = 5.0  # times as fast as scipy
ROUNDS = 7
SHAPE, SPACING, POINTS = (180, 192, 200), 0.5, 1_000_000


def seconds(call: Callable[[], object], number: int) -> float:
    return min(timeit.repeat(call, number=number, repeat=ROUNDS)) / number


def calls() -> bool:
    small = vxgrid.ScalarGrid(np.arange(27).reshape(3, 3, 3))
    skew = vxgrid.SkewGrid(np.ones((3, 3, 3)), cell=(3, 3, 3, 90, 90, 100))
    large = vxgrid.ScalarGrid.zeros((400, 400, 400))
    cell = vxgrid.UnitCell(10, 20, 30, 90, 100, 90)
    point, double_point = np.zeros((1, 3), np.float32), np.zeros((1, 3))
    rows: list[tuple[str, Callable[[], object]]] = [
        ("grid.spacing", lambda: small.spacing),
        ("cell.volume", lambda: cell.volume),
        ("grid.has_nonzero()", small.has_nonzero),
        ("grid.clear_boundary()", small.clear_boundary),
        ("grid.interpolate(1 point, float32)", lambda: small.interpolate(point)),
        ("grid.interpolate(1 point, float64)", lambda: small.interpolate(double_point)),
        ("skew_grid.interpolate(1 point)", lambda: skew.interpolate(point)),
        ("cell.to_fractional(1 point)", lambda: cell.to_fractional(point)),
        ("grid.values, 27 samples", lambda: small.values),
        ("grid.values, 64 million samples", lambda: large.values),
    ]
    empty = seconds(lambda: None, 200_000)
    print(f"{'call':38} {'µs':>6}   limit {CALL_LIMIT * 1e6:g}")
    kept = np.shares_memory(large.values, large.values)
    for name, call in rows:
        taken = seconds(call, 20_000) - empty
        kept &= taken <= CALL_LIMIT
        print(f"{name:38} {taken * 1e6:6.2f}")
    return kept


def interpolation() -> bool:
    random = np.random.default_rng(1)
    values = random.random(SHAPE, dtype=np.float32)
    plain = vxgrid.ScalarGrid(values, spacing=SPACING)
    edges = [n * SPACING for n in reversed(SHAPE)]
    skew = vxgrid.SkewGrid(values, cell=[*edges, 90, 100, 90], intervals=SHAPE[::-1])
    periodic = skew.copy()
    periodic.periodic = True
    indices = random.random((POINTS, 3)) * (np.array(SHAPE) - 1)
    print(f"\n{POINTS} points at random in {SHAPE} samples, trilinear")
    print(f"{'grid, points':38} {'ms':>6} {'scipy':>7} {'times':>6}   limit {SPEED_LIMIT:g}")
    kept = True
    for name, grid, mode in (("scalar", plain, "constant"), ("skew", skew, "constant"), ("periodic", periodic, "grid-wrap")):
        for kind in (np.float32, np.float64):
            points = grid.to_positions(indices).astype(kind)
            coordinates = np.ascontiguousarray(indices.T.astype(kind))  # scipy gets the indices ready-made
            ours, theirs = [], []
            for _ in range(ROUNDS):
                start = time.perf_counter()
                result = grid.interpolate(points)
                middle = time.perf_counter()
                expected = map_coordinates(values, coordinates, order=1, mode=mode, output=np.float32)
                theirs.append(time.perf_counter() - middle)
                ours.append(middle - start)
            if mode == "constant" and not np.allclose(result, expected, atol=1e-3):
                print("the values differ")
                return False
            times = min(theirs) / min(ours)
            kept &= times >= SPEED_LIMIT
            print(f"{name + ', ' + np.dtype(kind).name:38} {min(ours) * 1e3:6.1f} {min(theirs) * 1e3:7.1f} {times:6.1f}")
    return kept


if __name__ == "__main__":
    results = [calls(), interpolation()]
    sys.exit(0 if all(results) else 1)
