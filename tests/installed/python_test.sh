#!/usr/bin/env bash
# Runs the tests of the Python module in a folder that has nothing of the sources but the module, its tests and example
# files. Usage: python_test.sh SOURCE_DIR LIBRARY
set -euo pipefail
source_dir="$1"
export KARST_LIBRARY="$2" PYTHONDONTWRITEBYTECODE=1 PYTHONWARNINGS=error
folder="$(mktemp -d)"
trap 'rm -rf -- "$folder"' EXIT
cp -r -- "$source_dir"/bindings/python/{karst,tests,README.md} "$folder"
cp -- "$source_dir"/examples/{books,faulty}.iso "$source_dir"/examples/embed/title.flt "$folder"
cd -- "$folder"
python3 -m unittest discover -s tests -t .
