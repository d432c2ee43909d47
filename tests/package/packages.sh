#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: packages.sh SOURCES BUILD
# Makes the Debian packages from what is built, unpacks them into a folder, and has that build programs and
# tell the demo's story. ./package --check does the same with optimised ones in a Debian of its own.
set -euo pipefail
source=$1
build=$2
for program in dh dpkg-buildpackage; do
    command -v "$program" >/dev/null || { echo "$program is missing: packages debhelper and dpkg-dev"; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# What dh needs of the sources; it builds nothing.
mkdir "$work/sources"
cp -r "$source/debian" "$source/examples" "$work/sources"
(cd "$work/sources" && KELACCOUNT_BUILT=$build DEB_BUILD_OPTIONS=noautodbgsym DPKG_DEB_COMPRESSOR_TYPE=none \
    dpkg-buildpackage --no-check-builddeps --unsigned-changes --build=binary) >"$work/packages.log" 2>&1 ||
    { cat "$work/packages.log"; exit 1; }

long=$(grep -E '^.{81}' "$source/debian/control" || true)
[ -z "$long" ] || { echo "too long for lintian: $long"; exit 1; }
described=$(sed -n 's/^Package: //p' "$source/debian/control" | sort)
made=$(cd "$work" && printf '%s\n' *.deb | sed 's/_.*//' | sort)
[ "$described" = "$made" ] || { echo "packages made: $made"; exit 1; }
for package in "$work"/*.deb; do
    files=$(dpkg-deb --contents "$package" | grep -v '^d' | grep -vE '/(changelog|NEWS)\.gz$|/copyright$')
    [ -n "$files" ] || { echo "${package##*/} is empty"; exit 1; }
    dpkg-deb --extract "$package" "$work/tree"
    # Two packages with the same file are not to be installed together.
    dpkg-deb --fsys-tarfile "$package" | tar --list | grep -v '/$' >>"$work/files"
done
twice=$(sort "$work/files" | uniq --repeated)
[ -z "$twice" ] || { echo "in two packages: $twice"; exit 1; }

# One version everywhere.
version=$(sed -nE 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
packaged=$(dpkg-parsechangelog --file "$source/debian/changelog" --show-field Version)
[ "$version" = "$packaged" ] || { echo "debian/changelog has version $packaged, the build $version"; exit 1; }

"$source/debian/tests/story" "$work/tree/usr"
"$source/debian/tests/consumers" "$work/tree/usr"
"$source/debian/tests/qml" "$work/tree/usr"

# The examples, used like their users do.
emulator=$work/tree/usr/bin/kelaccount-emulator
libraries=$(dirname "$(find "$work/tree" -name libaccounts-kel.so)")
export LD_LIBRARY_PATH="$libraries"
{ cmake -S "$source/tests/examples" -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$work/tree/usr" \
    -DKELACCOUNT_EXAMPLES="$work/tree/usr/share/doc/libaccounts-kel/examples" &&
    cmake --build "$work/examples"; } >"$work/examples.log" 2>&1 || { cat "$work/examples.log"; exit 1; }
"$source/tests/examples/recover.sh" "$emulator" "$work/examples/recover-password"
KELACCOUNT_CONSUMER_KEY=demo-key KELACCOUNT_CONSUMER_SECRET=demo-secret QT_QPA_PLATFORM=offscreen \
    KELACCOUNT_TEST_EMULATOR=$emulator "$emulator" run -- "$work/examples/tst_widgetssignup" >"$work/signup.log" 2>&1 ||
    { cat "$work/signup.log"; exit 1; }

# Those of Qt Quick: the sign-up screen is used by its own test, which looks for it two folders above itself.
examples=$work/tree/usr/share/doc/libaccounts-kel/examples
imports=$libraries/qt5/qml
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software QT_QUICK_CONTROLS_STYLE=Default
mkdir -p "$work/screen/tests/qml"
ln -s "$examples" "$work/screen/examples"
cp "$source/tests/qml/tst_signup.qml" "$work/screen/tests/qml"
"$emulator" run -- "$build/tests/kelaccount-quick-test" -import "$imports" \
    -input "$work/screen/tests/qml/tst_signup.qml" >"$work/screen.log" 2>&1 || { cat "$work/screen.log"; exit 1; }
grep -q "^PASS .*SignUp" "$work/screen.log" || { cat "$work/screen.log"; exit 1; }
{ cmake -S "$examples/setup-wizard" -B "$work/wizard" -G Ninja && cmake --build "$work/wizard"; } \
    >"$work/wizard.log" 2>&1 || { cat "$work/wizard.log"; exit 1; }
"$emulator" run -- "$source/tests/wizard/program.sh" "$work/wizard/setup-wizard" "$imports" >"$work/wizard.log" 2>&1 ||
    { cat "$work/wizard.log"; exit 1; }
echo "the examples do what they say"
