#!/usr/bin/env bash
# Installs from Debian what is missing to build (and, with "test", to test) this project; does nothing, and
# at once, when nothing is missing. Called by quickstart.sh and test.sh:  scripts/setup.sh [build] [python] [test]
set -euo pipefail

# The one list of packages. CONTRIBUTING.md names what further work (fuzzing, benchmarks) wants beside it.
build=(g++ cmake ninja-build pkg-config zlib1g-dev fftw2 fftw-dev gemmi-dev tao-pegtl-dev libcli11-dev
  rapidjson-dev)
python=(pybind11-dev python3-dev python3-numpy python3-venv)
test=(libgtest-dev libgmock-dev libfftw3-dev clang-format mypy python3-gemmi python3-matplotlib python3-pip
  python3-pytest python3-rdkit python3-scipy)

wanted=("${build[@]}")
for what in "$@"; do
  case $what in
    build) ;;
    python) wanted+=("${python[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    *) echo "setup.sh: unknown set of packages '$what', known are build, python and test" >&2; exit 2 ;;
  esac
done

command -v dpkg-query >/dev/null || {
  echo "setup.sh: this is not a Debian system; provide what these packages hold: ${wanted[*]}" >&2
  exit 0
}

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) || true
  [[ $status == *installed* && $status != *not-installed* ]] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "setup.sh: missing: ${missing[*]}" >&2
    echo "setup.sh: run as root, or install sudo, or install these packages by hand" >&2
    exit 1
  }
  run=(sudo)
fi
echo "Installing from Debian: ${missing[*]}" >&2
"${run[@]}" apt-get update -qq >&2
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
