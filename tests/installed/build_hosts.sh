#!/usr/bin/env bash
# Builds the hosts of examples/embed in an empty folder, with CMake and with make, and compares what they print. The
# environment says where the library is, as it does for users (CMAKE_PREFIX_PATH, PKG_CONFIG_PATH, LD_LIBRARY_PATH).
# Usage: build_hosts.sh SOURCE_DIR FOLDER
set -euo pipefail
source_dir="$1" folder="$2"
hosts="$folder/hosts"
export LC_ALL=C.UTF-8 PYTHONPATH="$folder" PYTHONDONTWRITEBYTECODE=1

# The examples must stand alone, away from the sources.
rm -rf -- "$folder"
mkdir -p -- "$folder"
cp -r -- "$source_dir/examples/embed" "$hosts"
cp -r -- "$source_dir/bindings/python/karst" "$folder/karst"
books="$source_dir/examples/books.iso"
{ printf rubbish && cat -- "$books"; } >"$folder/damaged.iso"
# What examples/embed/title.flt makes of the books, read from the text that they were made of.
sed -nE 's/^200 ..\$a([^$]*).*\$f([^$]*).*/\1 \/ \2/p' "$source_dir/examples/books.txt" >"$folder/titles.txt"
printf 'Record\r\n{\r\n\tsoutput = nothing\r\n}\r\n' >"$folder/failing.flt"

# check STATUS EXPECTED COMMAND...: compares what a host prints, and its exit status.
check() {
  local status="$1" expected="$2" got=0
  shift 2
  "$@" >"$folder/got.txt" 2>"$folder/errors.txt" || got=$?
  if ((got != status)) || ! cmp -- "$expected" "$folder/got.txt"; then
    printf '%s: exit status %s, not %s\n' "$*" "$got" "$status"
    cat -- "$folder/got.txt" "$folder/errors.txt"
    exit 1
  fi
}

check_host() {
  check 0 "$folder/titles.txt" "$@" "$hosts/title.flt" "$books"
  check 1 "$folder/titles.txt" "$@" "$hosts/title.flt" "$folder/damaged.iso"
  check 1 /dev/null "$@" "$folder/failing.flt" "$books"
  # A file that opens and cannot be read; that is no end of the records.
  check 1 /dev/null "$@" "$hosts/title.flt" /proc/self/mem
  [[ -s "$folder/errors.txt" ]]
}

cmake -S "$hosts" -B "$folder/by-cmake" -D CMAKE_BUILD_TYPE=Release
cmake --build "$folder/by-cmake"
make -C "$hosts" CFLAGS='-std=c11 -Wall -Wextra -Wpedantic -Werror' CXXFLAGS='-Wall -Wextra -Werror'
for host in "$folder/by-cmake/c_host" "$folder/by-cmake/cpp_host" "$hosts/c_host" "$hosts/cpp_host"; do
  check_host "$host"
done
check_host python3 "$hosts/host.py"
