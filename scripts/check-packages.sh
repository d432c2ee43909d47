#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: check-packages.sh FOLDER: installs the packages of the folder into a fresh minimal Debian, where
# nothing of the sources is, and runs debian/tests there
set -euo pipefail
packages=$1
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. /etc/os-release

mkdir -p "$work/check/packages"
cp "$packages"/*.deb "$work/check/packages"
rm -f "$work"/check/packages/*-dbgsym_*
cp -r "$here/../debian/tests" "$work/check/tests"
cp "$here/check-inside.sh" "$work/check"

echo "==> a fresh Debian $VERSION_ID, and the packages in it"
# "null": the tree is there for the hooks, and is not kept.
mmdebstrap --quiet --variant=apt --format=null \
    --customize-hook="copy-in $work/check /" \
    --customize-hook='chroot "$1" bash /check/check-inside.sh' \
    "$VERSION_CODENAME" /dev/null || { echo "==> the packages failed there; the lines above say how" >&2; exit 1; }
