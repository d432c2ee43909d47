#!/bin/bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: release.sh SOURCES VERSION
# Build, changelogs and symbols file tell of the same release, or of the one that comes after it.
set -euo pipefail
sources=$1 version=$2
status=0
wrong() { echo "$1; docs/releasing.md has the steps" >&2; status=1; }
is_later() { [ "$1" != "$2" ] && [ "$(printf '%s\n' "$1" "$2" | sort -V | tail -n 1)" = "$1" ]; }

packaged=$(sed -nE '1s/^libaccounts-kel \(([^)]*)\).*/\1/p' "$sources/debian/changelog")
[ "${packaged%-*}" = "$version" ] || wrong "debian/changelog has version $packaged, CMakeLists.txt $version"

# "## [1.2.3] - 2026-01-31"
read -r released day < <(sed -nE 's/^## \[([0-9]+\.[0-9]+\.[0-9]+)\] - ([0-9]{4}-[0-9]{2}-[0-9]{2})$/\1 \2/p' \
    "$sources/CHANGELOG.md" | head -n 1) || true
[ "$(grep -E '^## ' "$sources/CHANGELOG.md" | head -n 1)" = '## [Unreleased]' ] ||
    wrong "CHANGELOG.md does not begin with \"## [Unreleased]\""
if [ -z "$released" ]; then
    wrong "CHANGELOG.md has no release, as in \"## [$version] - $(date -u +%F)\""
elif is_later "$released" "$version"; then
    wrong "CHANGELOG.md has $released, CMakeLists.txt only $version"
elif [ "$released" = "$version" ]; then
    packed=$(sed -nE 's/^ -- .*>  (.*)$/\1/p' "$sources/debian/changelog" | head -n 1)
    packed=$(LC_ALL=C date -u -d "$packed" +%F)
    [ "$packed" = "$day" ] || wrong "$version is of $day in CHANGELOG.md and of $packed in debian/changelog"
fi

while read -r since; do
    ! is_later "$since" "$version" || wrong "debian/libaccounts-kel1.symbols has symbols of $since, CMakeLists.txt $version"
done < <(sed -nE 's/^ .* ([0-9][0-9.]*)$/\1/p' "$sources/debian/libaccounts-kel1.symbols" | sort -u)
exit $status
