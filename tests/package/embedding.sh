#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: embedding.sh SOURCES WORK-FOLDER [CMAKE-ARGUMENT...]
# Takes the library into somebody's project, which checks itself that its settings stay; its own source
# is compiled by the same command as without us. Builds a program of that project and runs it. The
# folder is kept, so that only the first time builds the library.
set -euo pipefail
source=$1
work=$2
shift 2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

configure() { # WAY SETTINGS FOLDER [CMAKE-ARGUMENT...]
    local way=$1 settings=$2 folder=$3
    shift 3
    mkdir -p "$folder"
    cmake -S "$here/embedding" -B "$folder/build" -G Ninja -DWAY="$way" -DSETTINGS="$settings" \
        -DLIBRARY_SOURCE="$source" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "$@" \
        >"$folder/configure.log" 2>&1 ||
        { echo "taken in by \"$way\", own settings $settings:"; cat "$folder/configure.log"; exit 1; }
}

for settings in ON OFF; do
    for way in none subdirectory fetch; do
        folder=$work/$way-$settings
        configure $way $settings "$folder" "$@"
        # The command that compiles own.cpp, without the folder's name.
        grep -h '"command":.*/own\.cpp' "$folder/build/compile_commands.json" |
            sed "s|$folder|.|g" >"$folder/command"
        [ -s "$folder/command" ] || { echo "own.cpp is not compiled"; exit 1; }
        diff "$work/none-$settings/command" "$folder/command" ||
            { echo "own.cpp is compiled differently with the library ($way)"; exit 1; }
    done
done

# A compiler cache, where there is one, knows the objects already, but for the folder that they are
# compiled in.
export CCACHE_NOHASHDIR=1
cmake --build "$work/subdirectory-OFF/build" >"$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
library=$(find "$work/subdirectory-OFF/build" -name libaccounts-kel.so)
[ -e "$(dirname "$library")/libaccounts-kel-1/picture.so" ] ||
    { echo "the modules do not lie beside $library"; exit 1; }
output=$("$work/subdirectory-OFF/build/embedded")
[ "$output" = "ZorKeLDefs::ErrorTimeout" ] || { echo "got: $output"; exit 1; }
