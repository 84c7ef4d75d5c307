# shellcheck shell=bash
# Shared by the scripts of this project: where the root is, and how packages, builds and their logs are handled. To be
# sourced behind "set -euo pipefail".

root="$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)"

say() { printf '%s\n' "$*" >&2; }
fail() {
  say "error: $*"
  exit 1
}

# Runs a command and keeps its output to itself, unless the command fails.
quietly() {
  local log status=0
  log="$(mktemp)"
  ("$@") >"$log" 2>&1 || status=$?
  if ((status != 0)); then
    cat -- "$log" >&2
    say "error: '$*' failed with status $status"
  fi
  rm -f -- "$log"
  return "$status"
}

is_installed() {
  [[ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

# Installs those of the given Debian packages that are missing; asks for no rights when none is.
need_packages() {
  local package missing=() rights=()
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    fail "this is no Debian system; please install what matches: $*"
  fi
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]} == 0)) && return
  if ((EUID != 0)); then
    command -v sudo >/dev/null || fail "missing packages; as root: apt-get install ${missing[*]}"
    rights=(sudo)
  fi
  say "Installing ${missing[*]}"
  quietly "${rights[@]}" apt-get update -q
  quietly "${rights[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# What the library, the program and the tests need.
need_build_packages() {
  need_packages g++ cmake ninja-build make pkg-config libcli11-dev libcpp-httplib-dev libxml2-dev nlohmann-json3-dev \
    zlib1g-dev libgtest-dev libgmock-dev parallel python3
}

# What the checks behind the tests need on top of that.
need_check_packages() {
  need_packages clang-format python3 mypy
}
# What making the Debian packages and using them needs.
need_package_tools() {
  need_packages dpkg-dev lintian man-db bash-completion fish
}
# What the tests of windows need: a browser with its driver, and a font for Chinese.
need_browser_packages() {
  need_packages chromium chromium-driver fonts-wqy-microhei python3
}
need_fuzz_packages() {
  need_packages clang libclang-rt-14-dev
}

# build PRESET [TARGET...]: configures and builds, with ccache where it is there.
build() {
  local preset="$1" targets=()
  shift
  (($# == 0)) || targets=(--target "$@")
  if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
  fi
  say "Building ($preset)"
  cd -- "$root" || exit
  quietly cmake --preset "$preset"
  quietly cmake --build --preset "$preset" -j "$(nproc)" "${targets[@]}"
}

# run_tests PRESET [OPTION...]
run_tests() {
  local preset="$1"
  shift
  cd -- "$root" || exit
  ctest --preset "$preset" -j "$(nproc)" "$@"
}
