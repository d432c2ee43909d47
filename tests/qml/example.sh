#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: example.sh BUILD LIBRARY-FOLDER-OF-QML TEST-PROGRAM TEST-FILE
# Runs a test of an example with the module as it is installed, and moved afterwards.
set -euo pipefail
build=$1
imports=$2
program=$3
file=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for component in runtime qml; do
    cmake --install "$build" --prefix "$work/prefix" --component "$component" >"$work/install.log" 2>&1 ||
        { cat "$work/install.log"; exit 1; }
done
mv "$work/prefix" "$work/moved"
for name in libkelaccountsqml.so qmldir plugins.qmltypes CaptchaImage.qml; do
    [ -s "$work/moved/$imports/Kel/Accounts/$name" ] || { echo "$name is not installed"; exit 1; }
done
LD_DEBUG=files LD_DEBUG_OUTPUT=$work/loaded "$program" -import "$work/moved/$imports" -input "$file"
# It was the installed module with the installed library.
for name in libkelaccountsqml.so libaccounts-kel.so.1; do
    grep -q "calling init: $work/moved/.*/$name" "$work"/loaded.* || { echo "$name is another"; exit 1; }
done
