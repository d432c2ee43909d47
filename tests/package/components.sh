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
for component in runtime development qml plugin tools doc; do
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

# The client finds the library beside it, by no path of the build tree nor of the current folder.
ways=$(readelf --wide --dynamic "$work/default/bin/kelaccount" |
    sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/\2/p' | tr ':' '\n')
! grep -qvE '^\$ORIGIN/\.\./lib(/|$)' <<<"$ways" || { echo "the client looks in: $ways"; exit 1; }
env -u LD_LIBRARY_PATH "$work/default/bin/kelaccount" --version >/dev/null

# Signing in needs more than these files. What it is, is said, and not to a packager.
cmake --install "$build" --prefix "$work/moved" --component plugin >"$work/moved.log" 2>&1
folder=$(find "$work/moved" -name libzorauthplugin.so -printf '%h\n')
for text in "ln -s $folder/libzorauthplugin.so" "add $work/moved/share there"; do
    grep -qF "$text" "$work/moved.log" || { echo "not said: $text"; cat "$work/moved.log"; exit 1; }
done
DESTDIR="$work/collected" cmake --install "$build" --prefix /usr --component plugin >"$work/quiet.log" 2>&1
! grep -q 'signing in' "$work/quiet.log" || { cat "$work/quiet.log"; exit 1; }
