"""What the tests share: the sample data and the real data, where they are."""

import os
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
SAMPLES = SOURCE / "examples" / "data"


def real_data(name: str) -> Path:
    """A file of the real data; the test is skipped, and says so, where they are not."""
    folder = os.environ.get("VXGRID_TEST_DATA")
    path = (Path(folder) if folder else SOURCE.parent / "shared" / "data") / name
    if not path.exists():
        pytest.skip(f"real data file {name} is not here (VXGRID_TEST_DATA)")
    return path
