#!/usr/bin/env bash
# missing_backend.sh LIBVXGRID PROGRAM: without the FFTW object beside the library a map is an Error and false,
# no crash. PROGRAM is fftw3_first, which then exits with 1.
set -u
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp "$1" "$folder/"
out=$(LD_LIBRARY_PATH=$folder "$2" 2>&1)
status=$?
echo "$out"
[ $status = 1 ] && [[ $out == *"Error: FFTW 2.1.5 is not available: "*"vxgrid_fftw2.so"* ]]
