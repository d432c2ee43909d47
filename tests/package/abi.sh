#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: abi.sh [--store] DUMP LIBRARY EXPORTS COMPILER OBJECT[:OBJECT...]
# Compares the library's binary interface with that of the last release, in DUMP: what is new is welcome, what
# an application linked against that release would trip over is named. With --store, writes DUMP.
#
# The objects are those of the public classes, linked apart: the reader takes a class from the first unit in
# which it finds it, and what the rest of the library knows of Qt would be ten times as much.
set -euo pipefail
store=
[ "$1" != --store ] || { store=1; shift; }
dump=$1 library=$2 exports=$3 compiler=$4
IFS=: read -ra objects <<<"$5"
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
for program in abidw abidiff; do
    command -v $program >/dev/null || { echo "$program is missing: package abigail-tools"; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

functions() {
    nm --dynamic --defined-only --demangle --without-symbol-versions "$1" | cut -d' ' -f3- | grep '(' | sort -u
}

"$compiler" -shared -nostdlib "-Wl,-soname,libaccounts-kel.so.1,--version-script=$exports" -o "$work/interface.so" "${objects[@]}"
missing=$(comm -13 <(functions "$work/interface.so") <(functions "$library"))
[ -z "$missing" ] || { echo "exported, but by none of the sources that are looked at here:"; echo "$missing"; exit 1; }

abidw --no-corpus-path --no-comp-dir-path --no-parameter-names --type-id-style hash \
    --drop-undefined-syms --suppressions "$here/abi.suppressions" --out-file "$work/full.abi" "$work/interface.so"
# Where a declaration stands is no part of the interface, and a path of this machine. A unit keeps its own name.
sed -E "s/ filepath='[^']*'//; s/ line='[0-9]+'//; s/ column='[0-9]+'//; s/ path='[^']*\/([^']*)'/ path='\1'/" \
    "$work/full.abi" >"$work/now.abi"
! grep -E "path='/" "$work/now.abi" || { echo "names a folder of this machine"; exit 1; }

# A function that is not described could change what it returns, and nobody would be told.
described=$(grep -oE "elf-symbol-id='[^@']*" "$work/now.abi" | cut -d"'" -f2 | c++filt | sort -u)
left_out=$(functions "$library" | comm -23 - <(echo "$described"))
[ -z "$left_out" ] || { echo "exported, but not described:"; echo "$left_out"; exit 1; }

if [ -n "$store" ]; then
    cp "$work/now.abi" "$dump"
    exit 0
fi
# Nothing is said of what was added.
abidiff --no-added-syms "$dump" "$work/now.abi" >"$work/difference" && result=0 || result=$?
[ $result -eq 0 ] || {
    cat "$work/difference"
    echo "An application that was linked against the last release would break. Bring back what it uses; or, if"
    echo "that cannot be, it is another major version: raise it, and store its interface (target abi-dump)."
    exit 1
}
