#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: lint.sh QMLLINT SOURCES IMPORTS
# Every QML file of ours, with the types of the module as they were written for tools.
set -euo pipefail
lint=$1
source=$2
imports=$3
qt=$(qmake -query QT_INSTALL_QML)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

run_lint() { # FILE
    local inline
    # It knows no names of an attached type that stand in another, as Accessible's roles do, no lists of texts, palettes, nothing
    # of a property that may hold anything, and no components that a file has for itself.
    inline=$(sed -nE 's/^ *component ([A-Za-z]+):.*/\1/p' "$1" | paste -sd '|')
    "$lint" -U -I "$imports" -I "$qt" "$1" 2>&1 |
        awk -v inline="^warning: (${inline:-no component}) was not found" '
             /^Warning: Property ".*" not found on type "QQuickAccessibleAttached" at / { skip = 2; next }
             /^Warning: Type "(QStringList|QPalette|var)" of member ".*" not found at / { skip = 2; next }
             $0 ~ inline { next }
             skip > 0 { skip--; next } NF' || true
}

# What it is there for: a name that the types do not have.
printf 'import Kel.Accounts 1.0\nNameCheck {\n    id: check\n    property bool wrong: check.nosuch\n}\n' \
    >"$work/Wrong.qml"
run_lint "$work/Wrong.qml" | grep -q nosuch || { echo "qmllint does not know the module's types"; exit 1; }

# The first example of the documentation, as a file.
mkdir "$work/docs"
awk '/^```qml$/ { inside = 1; next } /^```$/ { if (inside) exit } inside' "$source/docs/qml.md" >"$work/docs/First.qml"
grep -q '^import Kel.Accounts' "$work/docs/First.qml"

count=0
failed=0
while IFS= read -r -d '' file; do
    count=$((count + 1))
    "$lint" "$file" || exit 1
    run_lint "$file" >"$work/said"
    [ ! -s "$work/said" ] || { echo "$file:"; cat "$work/said"; failed=1; }
done < <(find "$source/src" "$source/examples" "$work/docs" -name '*.qml' -print0)
[ "$count" -gt 0 ] || { echo "no QML files"; exit 1; }
[ "$failed" = 0 ] || exit 1
echo "$count files"
