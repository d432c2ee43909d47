#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# The sign-on plugin is installed in the daemon's folder, read from that prefix, and a daemon that looks
# there signs a user in with it.
set -euo pipefail
build=$1
client=$2
emulator=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for component in runtime plugin emulator; do
    cmake --install "$build" --prefix "$work/prefix" --component "$component" >"$work/install.log" 2>&1 ||
        { cat "$work/install.log"; exit 1; }
done
# As the daemon's own description has it, below its prefix.
folder=$(pkg-config --variable=plugindir signon-plugins)
folder=$work/prefix/${folder#"$(pkg-config --variable=prefix signon-plugins)"/}
[ -f "$folder/libzorauthplugin.so" ] || { echo "no plugin in $folder"; exit 1; }

# Of its functions the daemon wants one, and none other is for anybody.
functions=$(nm --dynamic --defined-only "$folder/libzorauthplugin.so" | awk '$2 == "T" { print $3 }')
[ "$functions" = auth_plugin_instance ] || { echo "exported functions: $functions"; exit 1; }

# The emulator finds it there as well.
linked=$("$work/prefix/bin/kelaccount-emulator" run -- \
    sh -c 'readlink "$SSO_PLUGINS_DIR/libzorauthplugin.so"')
[ "$linked" = "$folder/libzorauthplugin.so" ] || { echo "the emulator has $linked"; exit 1; }

# signs_in FOLDER: with the daemon's plugins there.
signs_in() {
    KELACCOUNT_CONSUMER_KEY=demo-key KELACCOUNT_CONSUMER_SECRET=demo-secret \
        "$emulator" run -- sh -c 'dbus-update-activation-environment "SSO_PLUGINS_DIR=$1" &&
            echo secret | "$2" --password-fd 0 sign-in alice' sh "$1" "$client"
}
signs_in "$folder" >"$work/with.log" 2>&1 || { cat "$work/with.log"; exit 1; }
# The daemon looks nowhere else.
mkdir "$work/empty"
signs_in "$work/empty" >"$work/without.log" 2>&1 && { echo "signed in without a plugin"; exit 1; }

# An update puts another file in the plugin's place while the daemon and the plugin's process run, and a
# package that is taken away leaves none. Whoever has signed in is served all the same.
served=$(KELACCOUNT_CONSUMER_KEY=demo-key KELACCOUNT_CONSUMER_SECRET=demo-secret \
    "$emulator" run -- bash -c '
        set -e
        folder=$1 client=$2
        dbus-update-activation-environment "SSO_PLUGINS_DIR=$folder"
        "$client" --password-fd 0 sign-in alice <<<secret
        before=$(stat --format=%i "$folder/libzorauthplugin.so")
        cp "$folder/libzorauthplugin.so" "$folder/libzorauthplugin.so.dpkg-new"
        mv "$folder/libzorauthplugin.so.dpkg-new" "$folder/libzorauthplugin.so"
        [ "$before" != "$(stat --format=%i "$folder/libzorauthplugin.so")" ]
        "$client" profile
        rm "$folder/libzorauthplugin.so"
        "$client" profile' bash "$folder" "$client" 2>&1) ||
    { echo "an update under a running daemon:"; echo "$served"; exit 1; }
[ "$(grep -c '^downloadProfile' <<<"$served")" = 2 ] || { echo "$served"; exit 1; }
