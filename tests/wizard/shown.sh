#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: shown.sh SOURCES BUILD: the wizard as ./demo --gui shows it where there is no display
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
said=$(env -u DISPLAY -u WAYLAND_DISPLAY "$1/scripts/show-wizard" "$2" "$work") || { echo "$said"; exit 1; }
grep -q 'wizard.png' <<<"$said"
[ "$(head -c 4 "$work/wizard.png" | tail -c 3)" = PNG ] || { echo "no picture"; exit 1; }
