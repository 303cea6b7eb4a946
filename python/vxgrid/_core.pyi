"""The compiled part of vxgrid. Import vxgrid, not this."""

import enum
from collections.abc import Iterable, Iterator, MutableMapping, Sequence
from os import PathLike
from typing import Any, Literal, Self, TypeAlias, TypeVar, overload

import numpy as np
from numpy.typing import ArrayLike, DTypeLike, NDArray

from ._rows import Residue
from ._types import Settable

Floats: TypeAlias = NDArray[np.float32]
Doubles: TypeAlias = NDArray[np.float64]
Ints: TypeAlias = NDArray[np.int32]
Texts: TypeAlias = NDArray[np.str_]

class Error(RuntimeError): ...

class Attributes(MutableMapping[str, Any]):
    def __len__(self) -> int: ...
    def __iter__(self) -> Iterator[str]: ...
    def __contains__(self, name: object) -> bool: ...
    def __getitem__(self, name: str) -> Any: ...
    def __setitem__(self, name: str, value: Any) -> None: ...
    def __delitem__(self, name: str) -> None: ...

# --- grids ---

class GridType(enum.IntEnum):
    GENERIC = 0
    ELECTROSTATIC = 1
    BREK = 2
    REGULAR_MAP = 3
    DIFFERENCE_MAP = 4
    QK = 5

class Grid:
    @property
    def shape(self) -> tuple[int, int, int]: ...
    values: Settable[Floats, ArrayLike]
    def __array__(self, dtype: DTypeLike = None, copy: bool | None = None) -> NDArray[Any]: ...
    spacing: float
    center: Settable[tuple[float, float, float], ArrayLike]
    @property
    def extents(self) -> tuple[tuple[float, float, float], tuple[float, float, float]]: ...
    def positions(self) -> Floats: ...
    def to_positions(self, indices: ArrayLike) -> Doubles: ...
    def to_indices(self, points: ArrayLike) -> Doubles: ...
    title: str
    type: Settable[GridType | int, int]
    @property
    def attributes(self) -> Attributes: ...
    def copy(self) -> Self: ...
    def __copy__(self) -> Self: ...
    def __deepcopy__(self, memo: object) -> Self: ...

class ScalarGrid(Grid):
    def __init__(
        self,
        values: ArrayLike | Grid,
        *,
        spacing: float | None = None,
        center: ArrayLike | None = None,
        title: str | None = None,
    ) -> None: ...
    @staticmethod
    def zeros(
        shape: Sequence[int],
        *,
        spacing: float | None = None,
        center: ArrayLike | None = None,
        title: str | None = None,
    ) -> ScalarGrid: ...
    @staticmethod
    def around(lower: ArrayLike, upper: ArrayLike, spacing: float, *, title: str = "") -> ScalarGrid: ...

class SkewGrid(Grid):
    def __init__(
        self,
        values: ArrayLike | Grid,
        *,
        cell: CellLike | None = None,
        intervals: ArrayLike | None = None,
        space_group: GroupLike | None = None,
        periodic: bool | Sequence[bool] | None = None,
        spacing: float | None = None,
        center: ArrayLike | None = None,
        title: str | None = None,
    ) -> None: ...
    @staticmethod
    def zeros(
        shape: Sequence[int],
        *,
        cell: CellLike | None = None,
        intervals: ArrayLike | None = None,
        space_group: GroupLike | None = None,
        periodic: bool | Sequence[bool] | None = None,
        spacing: float | None = None,
        center: ArrayLike | None = None,
        title: str | None = None,
    ) -> SkewGrid: ...
    @property
    def cell(self) -> UnitCell | None: ...
    @property
    def intervals(self) -> tuple[int, int, int] | None: ...
    def set_cell(self, cell: CellLike | None, intervals: ArrayLike | None = None) -> None: ...
    space_group: Settable[SpaceGroup | None, GroupLike | None]
    @property
    def symmetry(self) -> Symmetry | None: ...
    periodic: Settable[tuple[bool, bool, bool], bool | Sequence[bool]]
    orientation: Settable[Floats, ArrayLike]

class MultiGrid(Grid):
    def __init__(
        self,
        fields: ArrayLike | Grid,
        integers: ArrayLike | None = None,
        *,
        cell: CellLike | None = None,
        intervals: ArrayLike | None = None,
        space_group: GroupLike | None = None,
        periodic: bool | Sequence[bool] | None = None,
        spacing: float | None = None,
        center: ArrayLike | None = None,
        title: str | None = None,
    ) -> None: ...
    @staticmethod
    def zeros(
        shape: Sequence[int],
        fields: int = 1,
        integers: int = 1,
        *,
        cell: CellLike | None = None,
        intervals: ArrayLike | None = None,
        space_group: GroupLike | None = None,
        periodic: bool | Sequence[bool] | None = None,
        spacing: float | None = None,
        center: ArrayLike | None = None,
        title: str | None = None,
    ) -> MultiGrid: ...
    fields: Settable[Floats, ArrayLike]
    integers: Settable[Ints, ArrayLike]
    current_field: int
    current_integers: int
    field_titles: list[str]
    @property
    def cell(self) -> UnitCell | None: ...
    @property
    def intervals(self) -> tuple[int, int, int] | None: ...
    def set_cell(self, cell: CellLike | None, intervals: ArrayLike | None = None) -> None: ...
    space_group: Settable[SpaceGroup | None, GroupLike | None]
    @property
    def symmetry(self) -> Symmetry | None: ...
    periodic: Settable[tuple[bool, bool, bool], bool | Sequence[bool]]
    orientation: Settable[Floats, ArrayLike]

# --- grid files ---

AnyGrid = TypeVar("AnyGrid", ScalarGrid, SkewGrid, MultiGrid)

@overload
def read_grid(path: str | PathLike[str], *, format: str | None = None) -> SkewGrid: ...
@overload
def read_grid(path: str | PathLike[str], kind: type[AnyGrid], *, format: str | None = None) -> AnyGrid: ...
def write_grid(path: str | PathLike[str], grid: Grid, *, format: str | None = None) -> None: ...

# --- crystals ---

class UnitCell:
    def __init__(
        self, a: float, b: float, c: float, alpha: float = 90.0, beta: float = 90.0, gamma: float = 90.0
    ) -> None: ...
    @property
    def a(self) -> float: ...
    @property
    def b(self) -> float: ...
    @property
    def c(self) -> float: ...
    @property
    def alpha(self) -> float: ...
    @property
    def beta(self) -> float: ...
    @property
    def gamma(self) -> float: ...
    @property
    def parameters(self) -> tuple[float, float, float, float, float, float]: ...
    @property
    def volume(self) -> float: ...
    @property
    def frac2cart(self) -> Floats: ...
    @property
    def cart2frac(self) -> Floats: ...
    def to_cartesian(self, fractions: ArrayLike) -> Floats: ...
    def to_fractional(self, points: ArrayLike) -> Floats: ...
    def is_close(self, other: CellLike, *, tolerance: float = 0.01) -> bool: ...
    def __iter__(self) -> Iterator[float]: ...
    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

CellLike: TypeAlias = UnitCell | ArrayLike

class SpaceGroup:
    def __init__(self, group: GroupLike) -> None: ...
    @property
    def number(self) -> int: ...
    @property
    def short_name(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def system(self) -> str: ...
    @property
    def operators(self) -> Floats: ...
    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

GroupLike: TypeAlias = SpaceGroup | int | str

def space_groups() -> list[SpaceGroup]: ...

class Symmetry:
    def __init__(self, group: GroupLike, cell: CellLike) -> None: ...
    @property
    def group(self) -> SpaceGroup: ...
    @property
    def cell(self) -> UnitCell: ...
    @property
    def warning(self) -> str: ...
    enabled: list[bool]
    def to_fractional(self, points: ArrayLike, *, operator: int = 0, wrap: bool = False) -> Floats: ...
    def image(
        self, operator: int, shift: tuple[int, int, int] = (0, 0, 0), *, center: ArrayLike | None = None
    ) -> Floats: ...
    def __eq__(self, other: object) -> bool: ...

# --- molecules ---

class Molecule:
    def __init__(
        self,
        coordinates: ArrayLike,
        elements: ArrayLike,
        *,
        bonds: ArrayLike | None = None,
        formal_charges: ArrayLike | None = None,
        radii: ArrayLike | None = None,
        residue_names: ArrayLike | None = None,
        residue_numbers: ArrayLike | None = None,
        chain_ids: ArrayLike | None = None,
        insert_codes: ArrayLike | None = None,
        b_factors: ArrayLike | None = None,
        occupancies: ArrayLike | None = None,
        alternate_locations: ArrayLike | None = None,
        serial_numbers: ArrayLike | None = None,
        title: str = "",
    ) -> None: ...
    def __len__(self) -> int: ...
    title: str
    coordinates: Settable[Floats, ArrayLike]
    atomic_numbers: Settable[Ints, ArrayLike]
    @property
    def symbols(self) -> Texts: ...
    @property
    def weights(self) -> Doubles: ...
    formal_charges: Settable[Ints, ArrayLike]
    radii: Settable[Doubles, ArrayLike]
    @property
    def bonds(self) -> Ints: ...
    residue_names: Settable[Texts, ArrayLike]
    residue_numbers: Settable[Ints, ArrayLike]
    chain_ids: Settable[Texts, ArrayLike]
    insert_codes: Settable[Texts, ArrayLike]
    b_factors: Settable[Floats, ArrayLike]
    occupancies: Settable[Floats, ArrayLike]
    alternate_locations: Settable[Texts, ArrayLike]
    serial_numbers: Settable[Ints, ArrayLike]
    images: Settable[Ints, ArrayLike]
    @property
    def has_residues(self) -> bool: ...
    @property
    def residues(self) -> list[Residue]: ...
    @property
    def residue_indices(self) -> Ints: ...
    pdb_records: Settable[tuple[tuple[str, str], ...], Iterable[Sequence[str]]]
    @property
    def attributes(self) -> Attributes: ...
    def copy(self) -> Self: ...
    def __copy__(self) -> Self: ...
    def __deepcopy__(self, memo: object) -> Self: ...

def read_molecule(path: str | PathLike[str], *, alternates: Literal["best", "all"] = "best") -> Molecule: ...
