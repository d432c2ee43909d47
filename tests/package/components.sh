#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Who installs without saying what gets the product; what stands in for the service and the device has
# to be asked for.
# usage: components.sh BUILD-FOLDER
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

installed() { # NAME CMAKE-INSTALL-ARGUMENTS...: the files, below the prefix
    local name=$1
    shift
    mkdir -p "$work/$name"
    cmake --install "$build" --prefix "$work/$name" "$@" >"$work/install.log" ||
        { cat "$work/install.log" >&2; return 1; }
    (cd "$work/$name" && find . ! -type d | sort)
}

everything=$(installed default)
product=
for component in runtime development plugin tools doc; do
    product+=$(installed "$component" --component "$component")$'\n'
done
[ "$(sort <<<"$product" | sed '/^$/d')" = "$everything" ] || {
    echo "installed by default, or as a component of the product, but not both and once:"
    diff <(sort <<<"$product" | sed '/^$/d') - <<<"$everything"
    exit 1
}
nameless=$(installed nameless --component Unspecified)
[ -z "$nameless" ] || { echo "belongs to no component: $nameless"; exit 1; }

programs=$(grep '^\./bin/' <<<"$everything")
[ "$programs" = ./bin/kelaccount ] || { echo "installed by default: $programs"; exit 1; }
emulator=$(installed emulator --component emulator)
if [ -e "$build/bin/kelaccount-emulator" ]; then
    for program in "$build"/bin/kelaccount-*; do
        [ -f "$program" ] || continue
        grep -qx "./bin/${program##*/}" <<<"$emulator" ||
            { echo "${program##*/} is not installed with the emulator"; exit 1; }
    done
    both=$(comm -12 <(echo "$emulator") <(echo "$everything"))
    [ -z "$both" ] || { echo "of the emulator, but installed by default: $both"; exit 1; }
fi

# What is installed finds no library by a path of the build tree, nor by the current folder.
libraries=$(find "$work/default" -name 'libaccounts-kel.so*' -printf '%h\n' | head -n 1)
dynamic=$(readelf --wide --dynamic "$work/default/bin/kelaccount")
! grep -qE 'RUNPATH|RPATH' <<<"$dynamic" || { echo "the client has a path: $dynamic"; exit 1; }
LD_LIBRARY_PATH="$libraries" "$work/default/bin/kelaccount" --version >/dev/null
