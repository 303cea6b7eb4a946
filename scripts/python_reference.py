#!/usr/bin/python3
"""The API reference of the Python package, docs/python-reference.md, from docstrings and type stubs.

    scripts/python_reference.py           prints it
    scripts/python_reference.py --write   brings the file up to date

The package is the one that imports or, when none does, that of the newest build under build/.
"""

import ast
import inspect
import re
import sys
from collections import Counter
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType

SOURCE = Path(__file__).resolve().parents[1]
PAGE = SOURCE / "docs" / "python-reference.md"
PACKAGE = SOURCE / "python" / "vxgrid"
HEAD = """# Python: reference

Made from the docstrings by `scripts/python_reference.py --write`. [python.md](python.md) shows the package at work.

"""


def import_package() -> ModuleType:
    try:
        import vxgrid
    except ImportError:
        builds = sorted(SOURCE.glob("build/*/python/vxgrid/_core*.so"), key=lambda path: path.stat().st_mtime)
        if not builds:
            sys.exit("no built package: cmake --build BUILD --target vxgrid_python, or PYTHONPATH=BUILD/python")
        sys.path.insert(0, str(builds[-1].parents[1]))
        import vxgrid
    return vxgrid


def text_of(what: object) -> str:
    """A docstring without the signatures that pybind11 puts into it, and without what NamedTuple says of fields."""
    text = inspect.getdoc(what) or ""
    if text.startswith("Alias for field number"):
        return ""
    name = getattr(what, "__name__", "")
    if "Overloaded function." in text:
        parts = re.split(rf"^\d+\. {re.escape(name)}\(.*\n*", text, flags=re.M)[1:]
        return "\n\n".join(dict.fromkeys(part.strip() for part in parts if part.strip()))
    return re.sub(rf"\A{re.escape(name)}\(.*\) -> .*\n*", "", text).strip() if name else text.strip()


def markdown(text: str) -> str:
    """Paragraphs with columns stay as they stand."""
    parts = text.split("\n\n")
    columns = [bool(re.search(r"\S {2,}\S|^ {2,}", part, re.M)) for part in parts]
    return "\n\n".join(f"```text\n{part}\n```" if fixed else part for part, fixed in zip(parts, columns))


def signature(node: ast.FunctionDef, name: str) -> str:
    """As the stub has it, without self."""
    arguments = ast.unparse(node.args)
    arguments = re.sub(r"\A(self|cls)(, (/, )?|\Z)", "", arguments)
    arguments = re.sub(r"(: [^=]*?)=", r"\1 = ", arguments)
    result = f" -> {ast.unparse(node.returns)}" if node.returns and node.name != "__init__" else ""
    return f"{name}({arguments}){result}"


def type_of(annotation: ast.expr | None) -> str:
    """What a property gives, without what else it takes."""
    if isinstance(annotation, ast.Subscript) and ast.unparse(annotation.value) == "Settable":
        annotation = annotation.slice.elts[0]
    return ast.unparse(annotation) if annotation else "Any"


def item(head: str, text: str) -> str:
    first, *rest = markdown(text).split("\n")
    return "\n".join([f"- `{head}`" + (f": {first}" if first else ""), *(f"  {line}".rstrip() for line in rest)]) + "\n"


def documented(nodes: list[ast.stmt]) -> dict[str, str]:
    """The strings that stand behind fields."""
    texts = {}
    for field, behind in zip(nodes, nodes[1:]):
        if isinstance(field, ast.AnnAssign) and isinstance(field.target, ast.Name) and isinstance(behind, ast.Expr):
            texts[field.target.id] = inspect.cleandoc(ast.literal_eval(behind.value))
    return texts


def members(node: ast.ClassDef, kind: type) -> Iterator[str]:
    """Constructor, properties, methods: in that order, each as the stub has them."""
    fields, methods, texts = [], [], documented(node.body)
    for each in node.body:
        if isinstance(each, ast.AnnAssign) and isinstance(each.target, ast.Name):
            name = each.target.id
            fields.append(item(f"{name}: {type_of(each.annotation)}", texts.get(name) or text_of(vars(kind).get(name))))
        elif isinstance(each, ast.Assign):
            fields.append(f"- `{ast.unparse(each)}`\n")
        elif isinstance(each, ast.FunctionDef):
            behind = inspect.getattr_static(kind, each.name, None)
            if isinstance(behind, property):
                if any("setter" in ast.unparse(decorator) for decorator in each.decorator_list):
                    continue
                fields.append(item(f"{each.name}: {type_of(each.returns)}", text_of(behind)))
            elif each.name == "__init__":
                yield item(signature(each, kind.__name__), text_of(kind.__init__))
            elif not each.name.startswith("_"):
                decorators = [ast.unparse(decorator) for decorator in each.decorator_list]
                owner = f"{kind.__name__}." if "staticmethod" in decorators or "classmethod" in decorators else ""
                methods.append(item(signature(each, owner + each.name), text_of(getattr(kind, each.name))))
    yield from fields
    yield from methods


def sections(package: ModuleType) -> Iterator[tuple[str, list[str], dict[str, str]]]:
    """Title, then name to text of what the package makes public, in the order of the files."""
    for path in [PACKAGE / "_core.pyi", *sorted(PACKAGE.glob("_*.py"))]:
        if path.name == "__init__.py":
            continue
        source = path.read_text()
        tree = ast.parse(source)
        title = "General" if path.suffix == ".pyi" else ast.get_docstring(tree) or path.stem
        title = re.split(r"[.,:\n]", title)[0]
        heads = [(n, m[1]) for n, line in enumerate(source.split("\n"), 1) if (m := re.fullmatch(r"# --- (.*) ---", line))]
        found: dict[str, dict[str, str]] = {title: {}}
        for node in tree.body:
            title = next((text for n, text in reversed(heads) if n < node.lineno), title)
            name = getattr(node, "name", "")
            if name not in package.__all__ or not isinstance(node, ast.ClassDef | ast.FunctionDef):
                continue
            what = getattr(package, name)
            if isinstance(node, ast.FunctionDef):
                text = f"```python\n{signature(node, name)}\n```\n\n{markdown(text_of(what))}\n"
                before = found.setdefault(title, {}).get(name)
                if before:  # overloads: the signatures above the one text
                    text = before.replace("\n```\n", f"\n{signature(node, name)}\n```\n", 1)
            else:
                bases = [base for base in map(ast.unparse, node.bases) if base in package.__all__]
                text = "\n".join([f"{markdown(text_of(what))}{f' A {bases[0]}.' if bases else ''}\n", *members(node, what)])
            found.setdefault(title, {})[name] = text
        for title, names in found.items():
            if names:
                yield title[0].upper() + title[1:], list(names), names


def page(package: ModuleType) -> str:
    parts, index, used = [], [], Counter({"python-reference": 1})

    def anchor(heading: str) -> str:
        plain = re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-")
        used[plain] += 1
        return plain if used[plain] == 1 else f"{plain}-{used[plain] - 1}"

    for title, names, texts in sections(package):
        parts.append(f"## {title}\n")
        index.append([f"[{title}](#{anchor(title)})", ""])
        links = []
        for name in names:
            links.append(f"[`{name}`](#{anchor(name)})")
            parts.append(f"### {name}\n\n{texts[name]}")
        index[-1][1] = " ".join(links)
    table = "| | |\n|---|---|\n" + "".join(f"| {title} | {names} |\n" for title, names in index)
    return HEAD + table + "\n" + "\n".join(parts)


if __name__ == "__main__":
    if sys.argv[1:] not in ([], ["--write"]):
        sys.exit(__doc__)
    reference = page(import_package())
    if sys.argv[1:]:
        PAGE.write_text(reference)
    else:
        print(reference, end="")
