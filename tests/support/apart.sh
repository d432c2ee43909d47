#!/bin/sh
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: apart.sh COMMAND...: runs it in a network of its own, which has the loopback addresses. A tag server's name is
# everybody's in a network, and it would spare the tests beside this one their captchas.
set -eu
# Root needs no user namespace, and some machines give none.
kind=-rn
[ "$(id -u)" -ne 0 ] || kind=-n
unshare "$kind" ip link show >/dev/null || {
    echo "this test needs a network namespace of its own: the programs unshare (package util-linux) and ip (package" \
        "iproute2), and root or unprivileged user namespaces"
    exit 1
}
exec unshare "$kind" sh -c 'ip link set lo up && exec "$@"' apart "$@"
