#!/usr/bin/env bash
# Each installed header compiles by itself, with no option that a host would have to know, and every function that it
# declares is there for the linker. The compiler lists the declarations by the names that the linker has for them; what
# the headers define themselves is compiled beside the list.
# Usage: headers_test.sh INCLUDE_DIR LIBRARY FOLDER
set -euo pipefail
include_dir="$1" library="$2" folder="$3"
mkdir -p -- "$folder"
cd -- "$folder"

find "$include_dir/karst" -name '*.h' -print0 | sort -z >headers
xargs -0 -P 2 -n 1 g++ -Wall -Wextra -fsyntax-only -fdump-ada-spec-slim -I"$include_dir" -x c++ <headers >said.txt 2>&1
if grep -E '(warning|error):' said.txt | grep -vF '#pragma once in main file'; then
  exit 1
fi

# Left out: constants, which have no parameters; plain construction, copies and ends of objects, which a class may leave
# to the compiler or refuse.
sed -nE 's/.*(External_Name => |CPP_Constructor \(.*, )"(_Z[^"]*)".*/\2/p' ./*.ads | sort -u >names
paste names <(c++filt <names) | grep -F '(' | grep -vE '::~|\b(\w+)::(\1|operator=)\(((\w+::)*\1 const&)?\)' | cut -f 1 >functions
[[ "$(wc -l <functions)" -gt 300 ]] || { echo 'the compiler lists no functions' && exit 1; }

tr '\0' '\n' <headers | sed 's/.*/#include "&"/' >headers.cpp
{
  awk '{ print "void f" NR "(void) __asm__(\"" $1 "\");" }' functions
  awk 'BEGIN { print "void (*all[])(void) = {" } { print "f" NR "," } END { print "};" }' functions
} >functions.c
g++ -fPIC -fkeep-inline-functions -c -I"$include_dir" headers.cpp
gcc -fPIC -c functions.c
g++ -shared -Wl,-z,defs -o linked.so headers.o functions.o "$library"
