#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: program.sh WIZARD IMPORTS, inside the emulator: the wizard as a program
set -euo pipefail
wizard=$1
export QML2_IMPORT_PATH=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if env -u KELACCOUNT_CONSUMER_KEY "$wizard" 2>"$work/said"; then
    echo "it runs without a key"
    exit 1
fi
grep -q KELACCOUNT_CONSUMER_KEY "$work/said"
export KELACCOUNT_CONSUMER_KEY=demo-key KELACCOUNT_CONSUMER_SECRET=demo-secret
for scale in 1 2; do
    "$wizard" --font-scale "$scale" --picture "$work/$scale.png"
    file=$(head -c 4 "$work/$scale.png" | tail -c 3)
    [ "$file" = PNG ] || { echo "no picture at scale $scale"; exit 1; }
done
! cmp -s "$work/1.png" "$work/2.png" || { echo "the font's size makes no difference"; exit 1; }
