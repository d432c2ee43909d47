#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Runs in the fresh Debian of check-packages.sh: what an administrator and a developer do with the packages.
set -euo pipefail
cd /check/packages
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

add() { # PACKAGE...: with nothing but what they depend on
    apt-get install -y -qq --no-install-recommends -o Dpkg::Use-Pty=0 "$@" >/check/apt.log 2>&1 ||
        { cat /check/apt.log; exit 1; }
}
# A user without any right.
as_user() { setpriv --reuid=nobody --regid=nogroup --clear-groups env HOME=/nonexistent "$@"; }
kept() { # the files of /usr and /etc, but for what the system writes itself
    find /usr /etc ! -type d ! -name '*.cache' ! -path '/etc/ld.so.cache' | sort
}

kept >/check/before
echo "    client, library, plugin and emulator"
add ./kelaccount_*.deb ./libaccounts-kel1_*.deb ./signon-plugin-zorauth_*.deb ./kelaccount-emulator_*.deb \
    dconf-service
[ "$(kelaccount --version | grep -oE '[0-9.]+$')" = "$(dpkg-query -W -f='${Version}' kelaccount)" ]
as_user /check/tests/story

echo "    what programs are built with"
add ./libaccounts-kel-dev_*.deb ./libaccounts-kel-doc_*.deb cmake g++ make pkg-config qt5-qmake
as_user /check/tests/consumers

echo "    the QML module"
add ./qml-module-kel-accounts_*.deb qml qml-module-qtquick-window2 # which the program qml wants
as_user /check/tests/qml

echo "    without the plugin"
dpkg --remove --force-depends signon-plugin-zorauth >/dev/null
as_user kelaccount-emulator run -- true >/check/without.log 2>&1 &&
    grep -q 'libzorauthplugin.so is missing' /check/without.log ||
    { cat /check/without.log; exit 1; }

echo "    and without a trace"
dpkg --purge libaccounts-kel-dev libaccounts-kel-doc qml-module-kel-accounts kelaccount-emulator kelaccount \
    libaccounts-kel1 signon-plugin-zorauth >/dev/null
left=$(kept | comm -13 /check/before - | grep -iE 'kelaccount|accounts-?kel|zorauth|/zor\.|account\.example' || true)
[ -z "$left" ] || { echo "left behind: $left"; exit 1; }
