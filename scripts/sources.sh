#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: sources.sh PROJECT FOLDER: copies what belongs to the project, and nothing that was built there
set -euo pipefail
project=$1
folder=$2
cd "$project"
if [ -e .git ]; then
    git ls-files -z --cached --others --exclude-standard |
        while IFS= read -r -d '' file; do [ -e "$file" ] || [ -L "$file" ] && printf '%s\0' "$file"; done
else
    find . -path ./build -prune -o ! -type d -print0
fi | sort -z | tar --create --null --files-from=- | tar --extract --directory="$folder"
