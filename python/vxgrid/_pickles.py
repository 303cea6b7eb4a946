"""Functions and methods of the compiled part pickle by name, so that pools of processes take them as they are.

Each hangs on a capsule of pybind11, which pickle then finds to be what the function is an attribute of.
"""

import copyreg
from pkgutil import resolve_name
from typing import Any

from . import _core

_names = {"": _core} | {name: each for name, each in vars(_core).items() if isinstance(each, type)}
_name_of = {  # of the module or the class that has a function, by the function's capsule
    id(function.__self__): f"{_core.__name__}:{name}"
    for name, owner in _names.items()
    for function in (getattr(each, "__func__", each) for each in vars(owner).values())
    if hasattr(function, "__self__")
}


def _reduce(kind: Any, capsule: Any, attribute: str = "") -> tuple[Any, tuple[str]]:
    if id(capsule) not in _name_of:
        raise TypeError(f"cannot pickle {kind.__name__!r} object")
    return resolve_name, (_name_of[id(capsule)] + attribute,)


_Capsule: Any = type(_core.read_grid.__self__)  # type: ignore[attr-defined]
_Method: Any = type(vars(_core.Grid)["copy"])
copyreg.pickle(_Capsule, lambda capsule: _reduce(_Capsule, capsule))
copyreg.pickle(_Method, lambda method: _reduce(_Method, getattr(method.__func__, "__self__", None), "." + method.__name__))
