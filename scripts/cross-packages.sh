#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: cross-packages.sh ARCHITECTURE FOLDER [SOURCES]: builds the packages for another processor in a Debian
# made for that, runs the unit tests of rest and device there, and leaves the packages in the folder. SOURCES is
# a file that says where Debian's packages are taken from.
set -euo pipefail
architecture=$1
folder=$2
sources=${3-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. /etc/os-release

mkdir -p "$work/cross/sources" "$folder"
"$here/sources.sh" "$here/.." "$work/cross/sources"
echo "==> a fresh Debian $VERSION_ID that builds for $architecture"
mmdebstrap --quiet --variant=apt --format=null \
    --architectures="$(dpkg --print-architecture),$architecture" \
    --customize-hook="touch $work/made" \
    --customize-hook="copy-in $work/cross /" \
    --customize-hook='chroot "$1" bash -c "cd /cross/sources && scripts/cross-inside.sh '"$architecture"'"' \
    --customize-hook="sync-out /cross/packages $folder" \
    "$VERSION_CODENAME" /dev/null ${sources:+"$sources"} && exit 0
if [ -e "$work/made" ]; then
    echo "==> building for $architecture failed; the lines above say how" >&2
else
    echo "==> Debian's packages for $architecture cannot be fetched from here: try again later, or name another" \
        "source of them with --sources" >&2
fi
exit 1
