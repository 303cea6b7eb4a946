"""The stub names what the compiled module has, with the same arguments, and everything public is documented."""

import ast
import re
from collections.abc import Iterator, MutableMapping
from pathlib import Path

import vxgrid
from vxgrid import _core

# Written in Python's own base classes, or of no interest to a caller.
INHERITED = set(dir(object)) | set(dir(_core.Attributes.__mro__[1])) | {"__module__", "__weakref__", "__members__", "__entries", "__setstate__", "__slotnames__"}
Stub = dict[str, ast.AST]


def children(node: ast.AST) -> Stub:
    names: Stub = {}
    for each in ast.iter_child_nodes(node):
        if isinstance(each, ast.ClassDef | ast.FunctionDef):
            names[each.name] = each
        elif isinstance(each, ast.AnnAssign) and isinstance(each.target, ast.Name):
            names[each.target.id] = each
        elif isinstance(each, ast.Assign) and isinstance(target := each.targets[0], ast.Name):
            names[target.id] = each  # of an enumeration
    return names


STUB = children(ast.parse((Path(vxgrid.__file__).parent / "_core.pyi").read_text()))
CLASSES = {name: node for name, node in STUB.items() if isinstance(node, ast.ClassDef)}


def is_public(name: str) -> bool:
    return not name.startswith("_") or (name.startswith("__") and name not in INHERITED)


def functions() -> Iterator[tuple[str, ast.FunctionDef, object]]:
    """Every function and method of the stub with what stands behind it."""
    for name, node in STUB.items():
        if isinstance(node, ast.FunctionDef):
            yield name, node, getattr(_core, name)
    for name, node in CLASSES.items():
        for method, inside in children(node).items():
            if isinstance(inside, ast.FunctionDef) and not isinstance(vars(getattr(_core, name)).get(method), property):
                yield f"{name}.{method}", inside, getattr(getattr(_core, name), method, None)


def test_names_agree() -> None:
    public = {name for name in vars(_core) if is_public(name)} - {"__file__", "__loader__", "__name__", "__spec__"}
    aliases = {name for name, node in STUB.items() if isinstance(node, ast.AnnAssign | ast.Assign) and not hasattr(_core, name)}
    assert set(STUB) - aliases == public - {"__doc__", "__package__"}
    for name, node in CLASSES.items():
        runtime = vars(getattr(_core, name))
        own = {each for each in runtime if is_public(each) and each not in INHERITED}
        stub = {each for each in children(node) if each not in INHERITED}
        if not issubclass(getattr(_core, name), MutableMapping):  # has the rest of a mapping from MutableMapping
            assert stub == own, name


def test_arguments_agree() -> None:
    for name, node, behind in functions():
        signature = re.match(r"\w+\((.*)\)", (getattr(behind, "__doc__", None) or "").split("\n")[0])
        if signature is None or signature[1] == "*args, **kwargs":
            continue
        stub = [each.arg for each in [*node.args.posonlyargs, *node.args.args, *node.args.kwonlyargs]]
        runtime = re.findall(r"(?:^|, )(\w+): ", re.sub(r"\[[^\]]*\]", "", signature[1]))
        assert len(stub) == len(runtime), name
        for ours, theirs in zip(stub, runtime):
            assert ours == theirs or re.fullmatch(r"arg\d|self", theirs), name  # operators have no names


def test_everything_public_is_documented() -> None:
    bare = [name for name in vxgrid.__all__ if not getattr(vxgrid, name).__doc__]
    for name in vxgrid.__all__:
        if isinstance(kind := getattr(vxgrid, name), type):
            for each, what in vars(kind).items():
                text = getattr(what, "__doc__", None) or ""
                if not each.startswith("_") and not re.sub(r"^\w+\(.*\).*", "", text).strip():
                    bare.append(f"{name}.{each}")
    assert not bare
