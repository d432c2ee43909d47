#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Compiles one program with cmake/Hardening.cmake as a developer, a user and a packager would, and looks
# at what became of it.
# usage: hardeningflags.sh FOLDER-OF-THE-PROJECT C-COMPILER C++-COMPILER
set -euo pipefail
source=$1
compilers=(-DCMAKE_C_COMPILER="$2" -DCMAKE_CXX_COMPILER="$3")
folder=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Only what is said here.
unset CFLAGS CXXFLAGS CPPFLAGS LDFLAGS
[ -f "$source/cmake/Hardening.cmake" ]

fail() {
    echo "$*"
    exit 1
}

made() { # NAME CMAKE-ARGUMENTS...
    local name=$1
    shift
    cmake -S "$folder/hardening" -B "$work/$name" "${compilers[@]}" "$@" >"$work/$name.log" 2>&1 ||
        { cat "$work/$name.log"; fail "$name could not be configured"; }
}

built() { # NAME [BUILD-ARGUMENTS...]
    local name=$1
    shift
    cmake --build "$work/$name" "$@" >"$work/$name.log" 2>&1 ||
        { cat "$work/$name.log"; fail "$name could not be built"; }
}

checks() { # PROGRAM: the functions with a check that it calls
    nm --dynamic --undefined-only "$1" | sed -nE 's/.* (__[a-z_]+_chk|__stack_chk_fail)(@.*)?$/\1/p' |
        sort | tr '\n' ' '
}

is() { # WHAT GOT WANTED
    [ "$2" = "$3" ] || fail "$1: '$2' instead of '$3'"
}

made presets -G "Ninja Multi-Config" -DCMAKE_CONFIGURATION_TYPES="Debug;Release"
built presets --config Debug
built presets --config Release
is "a debug build" "$(checks "$work/presets/Debug/program")" "__stack_chk_fail "
is "an optimised build" "$(checks "$work/presets/Release/program")" "__stack_chk_fail __strcpy_chk "
if [ "$(uname -m)" = x86_64 ]; then
    object=$(find "$work/presets" -path '*Release*' -name program.cpp.o)
    # readelf is read to its end, or it would complain about the pipe.
    notes=$(readelf --notes "$object")
    grep -q 'x86 feature: IBT, SHSTK' <<<"$notes" || fail "no marks for indirect branches"
    code=$(objdump --disassemble "$object")
    grep -qE '\bor[lq]? +\$0x0,.*\(%[re]sp' <<<"$code" || fail "a large frame can jump over the guard page"
fi
"$folder/hardened.sh" <(printf '%s\n' "$work"/presets/{Debug,Release}/program) stack-protector

made packager -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O2 -D_FORTIFY_SOURCE=3"
built packager
is "a packager's build" "$(checks "$work/packager/program")" "__stack_chk_fail __strcpy_chk "
made optimised -G Ninja -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS="-O2"
built optimised
is "a build without a type" "$(checks "$work/optimised/program")" "__stack_chk_fail __strcpy_chk "
made sanitized -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELACCOUNT_SANITIZE=address
built sanitized
is "a sanitized build" "$(checks "$work/sanitized/program")" "__stack_chk_fail "
