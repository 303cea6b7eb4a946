"""Builds the wheel of vxgrid with CMake: the hooks that pip calls (PEP 517), on the standard library alone."""

import base64
import hashlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import tomllib
import zipfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]


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
        sys.exit(f"vxgrid needs {command[0]} to build; scripts/setup.sh build python installs what is missing")
    subprocess.run(command, check=True)


def write_wheel(directory, stage):
    project = tomllib.loads((SOURCE / "pyproject.toml").read_text())["project"]
    version = re.search(r"^project\(vxgrid VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text(), re.M)[1]
    info = f"vxgrid-{version}.dist-info"
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    tag = f"{python}-{python}-{re.sub('[-.]', '_', sysconfig.get_platform())}"
    metadata = [
        "Metadata-Version: 2.1",
        f"Name: {project['name']}",
        f"Version: {version}",
        f"Summary: {project['description']}",
        f"Requires-Python: {project['requires-python']}",
        *(f"Requires-Dist: {each}" for each in project["dependencies"]),
    ]
    wheel = ["Wheel-Version: 1.0", "Generator: vxgrid", "Root-Is-Purelib: false", f"Tag: {tag}"]

    name = f"vxgrid-{version}-{tag}.whl"
    record = []
    with zipfile.ZipFile(directory / name, "w", zipfile.ZIP_DEFLATED) as out:
        for path, arcname in staged_files(stage):
            add(out, record, arcname, path.read_bytes())
        add(out, record, f"{info}/METADATA", "\n".join(metadata).encode() + b"\n")
        add(out, record, f"{info}/WHEEL", "\n".join(wheel).encode() + b"\n")
        out.writestr(f"{info}/RECORD", "\n".join([*record, f"{info}/RECORD,,"]) + "\n")
    return name


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
    version = re.search(r"^project\(vxgrid VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text(), re.M)[1]
    name = f"vxgrid-{version}"
    archive = Path(sdist_directory) / f"{name}.tar.gz"
    run("git", "-C", SOURCE, "archive", f"--prefix={name}/", "-o", archive, "HEAD")
    return archive.name
