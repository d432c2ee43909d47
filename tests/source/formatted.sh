#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: formatted.sh SOURCE-FOLDER
# Every source file is formatted as .clang-format says: those that git knows or would add, and in a tree
# without git those on disk. Names what is not, and the command that mends it.
set -euo pipefail
cd "$1"
command -v clang-format >/dev/null || { echo "needs the package clang-format"; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The sources may lie in a repository of somebody else's.
if [ "$(git rev-parse --show-toplevel 2>/dev/null)" = "$(pwd -P)" ]; then
    git ls-files --cached --others --exclude-standard -z -- '*.cpp' '*.h' >"$work/files"
else
    find . \( -path ./build -o -name '.?*' \) -prune -o \( -name '*.cpp' -o -name '*.h' \) -type f -print0 \
        >"$work/files"
fi
[ -s "$work/files" ] || { echo "no source files in $1"; exit 1; }

# An ill-formatted line, so that a clang-format that finds nothing is no success.
printf 'int  main( ){return 0 ;}\n' >"$work/sample.cpp"
cp .clang-format "$work"
if clang-format --dry-run -Werror "$work/sample.cpp" 2>/dev/null; then
    echo "clang-format finds nothing wrong with $(cat "$work/sample.cpp")"
    exit 1
fi

# A file that is removed but still known to git is none.
while IFS= read -r -d '' file; do
    [ ! -f "$file" ] || printf '%s\0' "$file"
done <"$work/files" >"$work/there"
if xargs -0 clang-format --dry-run -Werror <"$work/there" >"$work/output" 2>&1; then
    exit 0
fi
sed -nE 's/^([^: ]+):[0-9]+:[0-9]+: error: code should be clang-formatted.*/\1/p' "$work/output" |
    sort -u >"$work/names"
[ -s "$work/names" ] || { cat "$work/output"; exit 1; }
echo "not formatted as .clang-format says ($(clang-format --version)):"
cat "$work/names"
echo "clang-format -i $(tr '\n' ' ' <"$work/names")"
exit 1
