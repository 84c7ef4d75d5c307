#!/usr/bin/env bash
# Installs the build into a folder and uses it from there: headers, program, hosts in three languages.
# Usage: installed_test.sh SOURCE_DIR BUILD_DIR VERSION
set -euo pipefail
source_dir="$1" build_dir="$2" version="$3"
folder="$build_dir/installed-test" prefix="$build_dir/installed-test/prefix"
fail() {
  printf '%s\n' "$*"
  exit 1
}

rm -rf -- "$folder"
cmake --install "$build_dir" --prefix "$folder/first" >/dev/null
mv -- "$folder/first" "$prefix" # an installed tree may be moved

library="$(find "$prefix/lib"* -name "libkarst.so.$version")"
"$source_dir/tests/installed/headers_test.sh" "$prefix/include" "$library" "$folder/headers" ||
  fail 'the headers promise what a host does not get'
cd -- "$prefix/include"
echo '#include <karst/karst.h>' | gcc -std=c99 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I. -x c -

[[ "$("$prefix/bin/karst" --version)" == "karst $version" ]] || fail 'the program does not run'
"$source_dir/tests/installed/window_test.sh" "$prefix/bin/karst"
readelf -d "$library" | grep -qF 'soname: [libkarst.so.0]' || fail 'the library has another soname'
# The C functions that the library shows are those that the header declares; every symbol has its version.
shown="$(nm -D --defined-only "$library" | awk '$2 == "T" { print $3 }')"
functions="$(sed -n 's/^\(karst_.*\)@@KARST_0$/\1/p' <<<"$shown" | sort)"
declared="$(sed -n 's/^KARST_EXPORT .*\(karst_[a-z0-9_]*\)(.*/\1/p' karst/karst.h | sort)"
diff <(echo "$declared") <(echo "$functions") || fail 'declared functions (<) and those in the library (>) differ'
! grep -vE '@@KARST_(CXX_)?0$' <<<"$shown" || fail 'these symbols have no version'
[[ -s "$prefix/share/man/man1/karst.1" ]] || fail 'there is no manual page'

library_dir="$(dirname -- "$library")"
export CMAKE_PREFIX_PATH="$prefix" PKG_CONFIG_PATH="$library_dir/pkgconfig" LD_LIBRARY_PATH="$library_dir"
[[ "$(pkg-config --modversion karst)" == "$version" ]] || fail 'pkg-config tells another version'
"$source_dir/tests/installed/build_hosts.sh" "$source_dir" "$folder/work" >"$folder/log.txt" 2>&1 ||
  fail "$(cat -- "$folder/log.txt")"
