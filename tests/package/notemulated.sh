#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: notemulated.sh SOURCES: whether what packages for other processors are not tested with is still there,
# each with its reason. Such a build takes too long to find that out.
set -euo pipefail
cd "$1"
problems=0 count=0
while read -r name reason; do
    count=$((count + 1))
    # A program, or a file of scenarios that has one of its own.
    file=$(find tests/rest tests/device -name "${name%%::*}.cpp" -o -name "${name#tst_transport_}.txt")
    [ -n "$file" ] || { echo "there is no ${name%%::*}"; problems=1; continue; }
    if [ "$name" != "${name%%::*}" ] && ! grep -qE "void ${name#*::}\(\)" "$file"; then
        echo "there is no $name"
        problems=1
    fi
    [ -n "$reason" ] || { echo "no reason for $name"; problems=1; }
done < <(grep -v '^#' packaging/not-emulated.txt)
[ $count -gt 0 ] || { echo "nothing was read"; exit 1; }
exit $problems
