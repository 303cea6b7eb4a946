"""Builds the wheel of vxgrid with CMake: the hooks that pip calls (PEP 517), on the standard library alone."""

import base64
import hashlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import zipfile
from pathlib import Path

if sys.version_info < (3, 11):
    sys.exit(f"vxgrid needs Python 3.11 or later; {sys.executable} is {sys.version.split()[0]}")
import tomllib

SOURCE = Path(__file__).resolve().parents[2]
PROJECT = tomllib.loads((SOURCE / "pyproject.toml").read_text(encoding="utf-8"))["project"]
VERSION = re.search(r"^project\(vxgrid VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8"), re.M)[1]
INFO = f"vxgrid-{VERSION}.dist-info"
PYTHON = f"cp{sys.version_info.major}{sys.version_info.minor}"
TAG = f"{PYTHON}-{PYTHON}-{re.sub('[-.]', '_', sysconfig.get_platform())}"
METADATA = [
    "Metadata-Version: 2.1",
    f"Name: {PROJECT['name']}",
    f"Version: {VERSION}",
    f"Summary: {PROJECT['description']}",
    f"Requires-Python: {PROJECT['requires-python']}",
    *(f"Requires-Dist: {each}" for each in PROJECT["dependencies"]),
]
WHEEL = ["Wheel-Version: 1.0", "Generator: vxgrid", "Root-Is-Purelib: false", f"Tag: {TAG}"]
HELP = "scripts/setup.sh build python installs what is missing on Debian"


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    """Without this hook pip compiles everything to learn the name."""
    info = Path(metadata_directory) / INFO
    info.mkdir()
    (info / "METADATA").write_bytes(lines(METADATA))
    (info / "WHEEL").write_bytes(lines(WHEEL))
    return INFO


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    build = SOURCE / "build" / f"wheel-{sys.implementation.cache_tag}"
    run("cmake", "-S", SOURCE, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DVXGRID_TESTS=OFF",
        f"-DPython_EXECUTABLE={sys.executable}")
    run("cmake", "--build", build, "--target", "vxgrid_python")
    with tempfile.TemporaryDirectory() as stage:
        run("cmake", "--install", build, "--component", "python", "--prefix", stage, "--strip")
        return write_wheel(Path(wheel_directory), Path(stage))


def run(*command):
    if not shutil.which(command[0]):
        sys.exit(f"vxgrid needs {command[0]} to build; {HELP}")
    if subprocess.run(command).returncode:
        sys.exit(f"vxgrid cannot be built: {command[0]} failed and says above why; {HELP}")


def write_wheel(directory, stage):
    name = f"vxgrid-{VERSION}-{TAG}.whl"
    record = []
    with zipfile.ZipFile(directory / name, "w", zipfile.ZIP_DEFLATED) as out:
        for path, arcname in staged_files(stage):
            add(out, record, arcname, path.read_bytes())
        add(out, record, f"{INFO}/METADATA", lines(METADATA))
        add(out, record, f"{INFO}/WHEEL", lines(WHEEL))
        out.writestr(f"{INFO}/RECORD", lines([*record, f"{INFO}/RECORD,,"]))
    return name


def lines(texts):
    return "".join(f"{text}\n" for text in texts).encode()


def staged_files(stage):
    """Files with their names in the wheel. A wheel has no links: a library goes under the name that is loaded."""
    files = [path for path in sorted(stage.rglob("*")) if path.is_file()]
    linked = {path.resolve() for path in files if path.is_symlink()}
    return [(path, str(path.relative_to(stage))) for path in files if path.is_symlink() or path.resolve() not in linked]


def add(out, record, arcname, content):
    out.writestr(arcname, content)
    digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
    record.append(f"{arcname},sha256={digest},{len(content)}")


def build_sdist(sdist_directory, config_settings=None):
    name = f"vxgrid-{VERSION}"
    archive = Path(sdist_directory) / f"{name}.tar.gz"
    run("git", "-C", SOURCE, "archive", f"--prefix={name}/", "-o", archive, "HEAD")
    return archive.name
