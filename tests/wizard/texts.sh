#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: texts.sh FOLDER-OF-THE-WIZARD LRELEASE: every text of the pages has its translation, and none is left over
set -euo pipefail
folder=$1
lupdate=$(dirname "$(readlink -f "$2")")/lupdate
[ -x "$lupdate" ] || lupdate=$(dirname "$2")/lupdate
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$folder" "$work/wizard"
cd "$work/wizard"
for catalogue in i18n/wizard_*.ts; do
    grep -q '<translation>' "$catalogue" || { echo "$catalogue is empty"; exit 1; }
    cp "$catalogue" "$work/before.ts"
    "$lupdate" -silent -locations none -no-ui-lines -no-obsolete ./*.qml -ts "$catalogue"
    sources() { grep -o '<source>.*</source>' "$1" | sort; }
    diff <(sources "$work/before.ts") <(sources "$catalogue") ||
        { echo "$catalogue does not have the texts of the pages; lupdate brings them"; exit 1; }
    ! grep -n 'type="unfinished"' "$catalogue" || { echo "$catalogue: not translated"; exit 1; }
done
