"""The wheel that pip makes works in an environment of its own, and leaves nothing behind."""

import os
import subprocess
import sys
import venv
import zipfile
from pathlib import Path

import pytest
from conftest import SAMPLES, SOURCE

import vxgrid

BUILD = Path(vxgrid.__file__).parents[2]
SCORES = f"""
import vxgrid
fit = vxgrid.score_model(vxgrid.read_molecule({str(SAMPLES / "4hg7.pdb")!r}), vxgrid.read_mtz({str(SAMPLES / "4hg7.mtz")!r}))
vxgrid.set_fft_backend("fftw2")
print(vxgrid.__version__, f"{{fit.rscc:.3f}}", vxgrid.read_mtz({str(SAMPLES / "4hg7.mtz")!r}).shape, vxgrid.__file__)
"""


@pytest.mark.skipif(not (BUILD / "CMakeCache.txt").exists(), reason="the package is not that of a build tree")
@pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="pip and cmake are not for a sanitizer")
def test_wheel(tmp_path: Path) -> None:
    sys.path.insert(0, str(SOURCE / "python" / "build_backend"))
    import vxgrid_build

    stage, home = tmp_path / "stage", tmp_path / "environment"
    install = ["cmake", "--install", str(BUILD), "--component", "python", "--prefix", str(stage)]
    subprocess.run(install, check=True, capture_output=True)
    wheel = tmp_path / vxgrid_build.write_wheel(tmp_path, stage)
    names = {name.split("/", 1)[1] for name in zipfile.ZipFile(wheel).namelist() if name.startswith("vxgrid/")}
    ours = {path.name for path in (SOURCE / "python" / "vxgrid").iterdir() if path.suffix in (".py", ".pyi", ".typed")}
    libraries = {name for name in names if ".so" in name}
    assert names - libraries == ours | {"py.typed"} and len(libraries) == 4

    venv.create(home, system_site_packages=True)  # with the pip of the system
    clean = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}

    def run(*arguments: str) -> str:
        command = [str(home / "bin" / "python"), *arguments]
        return subprocess.run(command, check=True, capture_output=True, encoding="utf-8", cwd=tmp_path, env=clean).stdout

    run("-m", "pip", "install", "--no-index", "--quiet", str(wheel))
    version, rscc, shape, path = run("-c", SCORES).strip().replace(", ", ",").split(" ")
    assert (version, rscc, shape) == (vxgrid.__version__, "0.879", "(167,113,113)") and path.startswith(str(home))
    run("-m", "pip", "uninstall", "--quiet", "--yes", "vxgrid")
    assert not list(home.rglob("*vxgrid*"))
