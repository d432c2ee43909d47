#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Reads back from programs, libraries and modules whether they came out hardened.
# usage: hardened.sh LIST [stack-protector]: a file with a path a line; whether the compiler has one
set -euo pipefail
protector=${2-}
failures=0
count=0

wrong() { # FILE TEXT
    echo "$1: $2"
    failures=$((failures + 1))
}

inspect() { # FILE
    local file=$1 headers dynamic path element
    [ -e "$file" ] || { wrong "$file" "was not built"; return; }
    headers=$(readelf --wide --file-header --program-headers "$file")
    dynamic=$(readelf --wide --dynamic "$file")
    grep -qE '^ *Type: +DYN ' <<<"$headers" || wrong "$file" "runs at a fixed address"
    # A program has an interpreter.
    ! grep -qE '^ *INTERP ' <<<"$headers" || grep -qE '\(FLAGS_1\).*\bPIE\b' <<<"$dynamic" ||
        wrong "$file" "is no PIE"
    grep -qE '^ *GNU_RELRO ' <<<"$headers" || wrong "$file" "has no part that is made read-only"
    grep -qE '\(FLAGS(_1)?\).*\b(BIND_)?NOW\b|\(BIND_NOW\)' <<<"$dynamic" ||
        wrong "$file" "is bound lazily, so its table of functions stays writable"
    grep -qE '^ *GNU_STACK .* RW +0x' <<<"$headers" || wrong "$file" "has an executable stack"
    [ -z "$protector" ] ||
        grep -q ' __stack_chk_fail' <<<"$(nm --dynamic --undefined-only "$file")" ||
        wrong "$file" "does not look after its stack"
    path=$(sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/\2:/p' <<<"$dynamic")
    while [ -n "$path" ]; do
        element=${path%%:*}
        path=${path#*:}
        # An empty one, or one without a slash in front, is a folder below the current one.
        case $element in
            /*|\$ORIGIN|\$ORIGIN/*) ;;
            *) wrong "$file" "looks for libraries in '$element' of the current folder" ;;
        esac
    done
}

while IFS= read -r file; do
    [ -n "$file" ] || continue
    count=$((count + 1))
    inspect "$file"
done <"$1"
[ $count -gt 0 ] || { echo "nothing to look at"; exit 1; }
[ $failures -eq 0 ] || { echo "$failures complaints about $count files"; exit 1; }
echo "$count files are hardened"
