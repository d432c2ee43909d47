#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: licences.sh SOURCES: every file of the project, none that was built there, says whose it is and under
# which licence
set -euo pipefail
source=$1
command -v reuse >/dev/null || { echo "reuse is missing: package reuse"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/copy"
"$source/scripts/sources.sh" "$source" "$work/copy"
reuse --root "$work/copy" lint >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
