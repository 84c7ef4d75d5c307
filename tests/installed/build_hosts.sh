#!/usr/bin/env bash
# Builds the hosts of examples/embed in an empty folder, with CMake and with make, and compares what they print. The
# environment says where the library is, as it does for users (CMAKE_PREFIX_PATH, PKG_CONFIG_PATH, LD_LIBRARY_PATH).
# Usage: build_hosts.sh SOURCE_DIR FOLDER
set -euo pipefail
source_dir="$1" folder="$2"
hosts="$folder/hosts"
export LC_ALL=C.UTF-8

# The examples must stand alone, away from the sources.
rm -rf -- "$folder"
mkdir -p -- "$folder"
cp -r -- "$source_dir/examples/embed" "$hosts"
cp -- "$source_dir/examples/books.iso" "$source_dir/examples/faulty.iso" "$folder"
cp -r -- "$source_dir/bindings/python/karst" "$folder/karst"

# check STATUS RECORDS COMMAND...: runs a host over records, and compares what it prints and its exit status.
check() {
  local status="$1" records="$2" got=0
  shift 2
  "$@" "$hosts/title.flt" "$folder/$records.iso" >"$folder/got.txt" 2>"$folder/errors.txt" || got=$?
  if ((got != status)) || ! cmp -- "$source_dir/tests/installed/$records.txt" "$folder/got.txt"; then
    printf '%s on %s: exit status %s, not %s\n' "$*" "$records" "$got" "$status"
    cat -- "$folder/got.txt" "$folder/errors.txt"
    exit 1
  fi
}

cmake -S "$hosts" -B "$folder/by-cmake" -D CMAKE_BUILD_TYPE=Release
cmake --build "$folder/by-cmake"
make -C "$hosts" CFLAGS='-std=c11 -Wall -Wextra -Wpedantic -Werror' CXXFLAGS='-Wall -Wextra -Werror'
for host in "$folder/by-cmake/c_host" "$folder/by-cmake/cpp_host" "$hosts/c_host" "$hosts/cpp_host"; do
  check 0 books "$host"
done
PYTHONPATH="$folder" check 0 books python3 "$hosts/host.py"
