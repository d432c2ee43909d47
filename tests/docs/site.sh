#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: site.sh SOURCES BUILD: builds the site, follows its links, and looks whether its pictures are of their sources.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1/scripts/site" --output "$work"
"$1/tests/docs/checksite.py" "$work/site"
"$1/scripts/diagrams" --check

# Every page has a place in the site.
while read -r page; do
    name=${page#"$1/"}
    grep -q ": $name\$" "$1/mkdocs.yml" || { echo "$name has no place in mkdocs.yml"; exit 1; }
    [ "$name" != README.md ] || name=index
    grep -qF "\"location\":\"${name%.md}.html" "$work/site/search/search_index.json" ||
        { echo "$name is not found by the site's search"; exit 1; }
done < <(find "$1/docs" "$1" -maxdepth 1 -name '*.md')

# What the public headers declare is in the reference: a header for each lies in the build.
for name in "$2"/include/kelaccount/*; do
    name=${name##*/}
    grep -qiE "(class|struct|namespace)[A-Za-z_0-9]*$name\.html|>$name<" \
        "$work/site/reference/annotated.html" "$work/site/reference/namespaceKelAccount.html" ||
        { echo "$name is not in the reference"; exit 1; }
done
