#!/usr/bin/env bash
# An installed program shows a window: it finds the server of pages. Usage: window_test.sh PROGRAM
set -euo pipefail
folder="$(mktemp -d)"
trap 'rm -rf -- "$folder"' EXIT
cd -- "$folder"
printf '<p>page</p>\r\n' >page.htm
printf 'printf("%%d", OpenWindow("page.htm"))\r\n' >window.pro
told="$(env -u DISPLAY -u WAYLAND_DISPLAY "$1" run window.pro 2>&1)"
[[ "$told" == *'window at http://127.0.0.1:'* ]] || {
  printf 'no window was shown:\n%s\n' "$told"
  exit 1
}
