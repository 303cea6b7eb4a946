"""docs/python-reference.md is what the docstrings make it, and has every public name."""

import importlib.util

from conftest import SOURCE

import vxgrid


def test_reference_is_up_to_date() -> None:
    path = SOURCE / "scripts" / "python_reference.py"
    spec = importlib.util.spec_from_file_location("python_reference", path)
    assert spec and spec.loader
    script = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(script)
    page = script.page(vxgrid)
    assert page == script.PAGE.read_text(encoding="utf-8"), "run scripts/python_reference.py --write"
    for name in vxgrid.__all__:
        assert f"### {name}\n" in page, name
