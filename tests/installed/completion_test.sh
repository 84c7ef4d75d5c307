#!/usr/bin/env bash
# What the completion offers, for typical lines and against the program's help.
# Usage: completion_test.sh PROGRAM COMPLETION, both with their full paths.
set -euo pipefail
program="$1" completion="$2" faults=0
folder="$(mktemp -d)"
trap 'rm -rf -- "$folder"' EXIT
cd -- "$folder"
mkdir more.flt
touch a.pro titles.flt books.iso 'two words.flt'
PATH="$(dirname -- "$program"):$PATH"

expect() {
  local what="$1" expected="$2" given="$3"
  [[ $given == "$expected" ]] && return
  printf '%s:\n  expected [%s]\n  given    [%s]\n' "$what" "$expected" "$given"
  faults=$((faults + 1))
}

# Lines in one, in order of the alphabet.
joined() { LC_ALL=C sort | paste -sd' '; }

# What is offered for the words of a line.
offered() { bash "$completion" karst "$@" | joined; }

# Line (words with "|" between them) and offers, by tabs.
while IFS=$'\t' read -r line expected; do
  IFS='|' read -ra words <<<"$line|."
  unset 'words[-1]'
  expect "karst $line" "$expected" "$(offered "${words[@]}")"
done <<'END'
fi	filter
ru	run
x	
nonsense|	
run|	a.pro more.flt/
tree|	more.flt/ titles.flt two words.flt
tree|t	titles.flt two words.flt
filter|t	titles.flt two words.flt
filter|titles.flt|bo	books.iso
filter|titles.flt|books.iso|a.	a.pro
--encoding|gbk|tree|ti	titles.flt
filter|-q|ti	titles.flt
filter|--|ti	titles.flt
filter|titles.flt|--prog	--progress
filter|--progress|a	always auto
filter|--progress|always|ti	titles.flt
filter|--progress=ne	--progress=never
filter|--messages|st	stderr stdout
filter|--messages|bo	books.iso
filter|--rejects=bo	--rejects=books.iso
filter|--database|au	
filter|--database|au=bo	au=books.iso
filter|--database=au=bo	--database=au=books.iso
END

# As bash itself asks: it has parted the words at "=", and takes what stands behind it.
# shellcheck source=/dev/null
source "$completion"
# shellcheck disable=SC2317
compopt() { :; }
replies() {
  COMP_LINE="$1"
  COMP_POINT=${#COMP_LINE}
  shift
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  _karst
  printf '%s\n' "${COMPREPLY[@]}" | joined
}
COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
expect 'parted' 'always auto' "$(replies 'karst filter --progress=a' karst filter --progress = a)"
expect 'parted, nothing typed' 'always auto never' "$(replies 'karst filter --progress=' karst filter --progress =)"
expect 'parted twice' 'books.iso' "$(replies 'karst run --database=au=bo' karst run --database = au = bo)"
expect 'words behind it' 'titles.flt' "$(replies 'karst filter --progress=auto  ti' karst filter --progress = auto ti)"
COMP_WORDBREAKS=$' \t\n'
expect 'not parted' '--progress=never' "$(replies 'karst filter --progress=n' karst filter --progress=n)"

# Every verb and every long option that the help has, read from it in another way.
verbs="$(karst --help | sed -n '/^\(Verbs\|Subcommands\):/,/^$/s/^  \([a-z]\+\) .*/\1/p' | joined)"
expect 'all verbs' "$verbs" "$(offered '')"
for verb in $verbs; do
  options="$(karst "$verb" --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -oE -e '--.*' | joined)"
  expect "options of $verb" "$options" "$(offered "$verb" --)"
done
exit $((faults > 0))
