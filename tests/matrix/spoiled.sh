#!/bin/sh
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: spoiled.sh PROGRAM PAGES: spoils a copy of the table in each way in which it can be wrong, and looks whether
# that is noticed.
set -eu
program=$1
pages=$2
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

# spoil WHAT-IS-SAID SED-SCRIPT FILE [page]: the page is made anew where the table is what is wrong.
spoil() {
    cp "$pages/reliability.csv" "$pages/reliability-runs.csv" "$pages/reliability-soak.csv" \
        "$pages/reliability-mutants.csv" "$pages/reliability-survivors.csv" "$pages/reliability.md" "$pages/statuses.md" "$copy"
    mkdir -p "$copy/images"
    cp "$pages/images/soak.svg" "$copy/images"
    sed -i "$2" "$copy/$3"
    ! cmp -s "$copy/$3" "$pages/$3" || { echo "nothing is spoiled by $2"; exit 1; }
    [ "${4-}" != page ] || "$program" --page "$copy" >"$copy/said" 2>&1 || true
    if "$program" --check "$copy" >"$copy/said" 2>&1; then
        echo "not noticed: $2"
        exit 1
    fi
    grep -q "$1" "$copy/said" || { echo "for $2 it says:"; cat "$copy/said"; exit 1; }
}

cell='^facade;isUserIdAvailable;Connection;refused'
spoil "has no cell" "/$cell;/d" reliability.csv page
spoil "nobody asks for" 's/^facade;isUserIdAvailable;Connection;refused;/facade;isUserIdFree;Connection;refused;/' reliability.csv page
spoil "twice" "/$cell;/p" reliability.csv
spoil "no cell:" "/$cell;/s/;[^;]*$//" reliability.csv
spoil "2 answers" "/$cell;/s/;401;1;/;401;2;/" reliability.csv page
spoil "0 answers" "/$cell;/s/;401;1;/;none;0;/" reliability.csv page
spoil "the next call said 404" "/$cell;/s/;401;1;yes;0;/;401;1;yes;404;/" reliability.csv page
spoil "answered after" "/$cell;/s/;401;1;yes;0;[0-9]*;/;401;1;yes;0;90000;/" reliability.csv page
spoil "the loop stood still" "/$cell;/s/;[0-9]*;\([0-9]*\)$/;900000;\1/" reliability.csv page
spoil "KiB" "/$cell;/s/;[0-9]*$/;70000/" reliability.csv page
spoil "reliability.md is not what" "/$cell;/s/;401;/;402;/" reliability.csv
spoil "reliability.md is not what" 's/refused/accepted/' reliability.md
spoil "the next call said 614 (0/0/401)" '/changePassword;.*;secrets-full;/s#(0/0/0)#(0/0/401)#' reliability.csv page
spoil "nothing says when refused was tried" '/^refused;/d' reliability-runs.csv page
spoil "there is no fault refusal" 's/^refused;/refusal;/' reliability-runs.csv
spoil "no run: refused" 's/^refused;.*/refused;yesterday;here/' reliability-runs.csv
spoil "reliability.md is not what" 's/^refused;[^;]*/refused;2001-01-01/' reliability-runs.csv
spoil "no point: service" '0,/^service;/s/^service;/service;x;/' reliability-soak.csv
spoil "too few points of session calls" '/^session;/d' reliability-soak.csv
spoil "each call leaves" '/^service;/s/^\(service;\)\([0-9]*\)\([^;]*;[0-9]*;[0-9]*;\)[0-9.]*;/\1\2\3\2.0;/' reliability-soak.csv
spoil "descriptors, and then" 's/^\(session;\)\([0-9]*\)\(\(;[^;]*\)\{4\}\);[0-9]*;/\1\2\3;\2;/' reliability-soak.csv
spoil "soak.svg is not what" 's/#b3261e/#000000/' images/soak.svg
spoil "no change of plugin was tried" '/^plugin;/d' reliability-mutants.csv page
spoil "there is no folder src/rust" 's/^src.rest;/src\/rust;/' reliability-mutants.csv page
spoil "changes are noticed" 's/^\(src.rest;[^;]*;[^;]*;[^;]*\);[^;]*/\1;1/' reliability-mutants.csv page
spoil "and something is said of 0" '/^src.rest/d' reliability-survivors.csv page
spoil "not 7 fields: plugin;" 's/^plugin;/plugin;;/' reliability-mutants.csv
