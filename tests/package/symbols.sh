#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: symbols.sh LIBRARY CLASS=object|functions|gadget... FUNCTION=itself...
# Every symbol that the shared library defines belongs to one of these classes or is one of these
# functions, and each of them is there.
set -euo pipefail
library=$1
shift
[ $# -gt 0 ] || { echo "no classes to look for"; exit 1; }
# The version's own name is a symbol too.
defined=$(nm --dynamic --defined-only --demangle --without-symbol-versions "$library" |
    cut -d' ' -f3- | grep -v '^KELACCOUNT_1$' | sort -u)
members= objects=
for row in "$@"; do
    class=${row%%=*}
    case ${row##*=} in
    itself) members+="${members:+|}$class\\(" ;;
    *) members+="${members:+|}${class}::" ;;
    esac
    [ "${row##*=}" != object ] || objects+="${objects:+|}$class"
done
# virtual tables, type information and the like name the class behind them
about='(vtable|typeinfo|typeinfo name) for'
allowed="^(non-virtual thunk to )?($members)|^$about ($objects)\$"
# The undefined behaviour sanitizer has the type information of Qt's classes at hand everywhere.
wanted=$(nm --dynamic --undefined-only "$library")
if grep -q ' __ubsan_' <<<"$wanted"; then
    allowed="$allowed|^typeinfo (name )?for Q[A-Za-z]+\$"
fi
# By this one the loader refuses a Qt that is older than the one the library was compiled with, where Qt has it.
core=$(ldd "$library" | awk '$1 ~ /^libQt[0-9]+Core[.]/ { print $3 }')
offered=$(nm --dynamic --defined-only "$core")
if grep -q ' qt_version_tag@' <<<"$offered" && ! grep -q ' qt_version_tag@' <<<"$wanted"; then
    echo "the library does not say which Qt it was compiled with"
    exit 1
fi
others=$(grep -vE "$allowed" <<<"$defined" || true)
[ -z "$others" ] || { echo "exported, but no public class's:"; echo "$others"; exit 1; }
for row in "$@"; do
    class=${row%%=*}
    case ${row##*=} in
    object)
        for symbol in "${class}::staticMetaObject" "vtable for $class" "typeinfo for $class"; do
            grep -qxF "$symbol" <<<"$defined" || { echo "$symbol is not exported"; exit 1; }
        done ;;
    functions)
        grep -q "^${class}::[A-Za-z]*(" <<<"$defined" || { echo "$class is not exported"; exit 1; } ;;
    gadget)
        grep -qxF "${class}::staticMetaObject" <<<"$defined" || { echo "$class is not exported"; exit 1; } ;;
    itself)
        grep -q "^${class}(" <<<"$defined" || { echo "$class is not exported"; exit 1; } ;;
    *)
        echo "\"$row\": say what is exported"; exit 1 ;;
    esac
done
