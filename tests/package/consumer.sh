#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Installs the build into a folder of its own, builds the examples against it, once found by CMake
# and once by pkg-config, and runs one.
set -euo pipefail
source=$1
build=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >"$work/install.log" ||
    { cat "$work/install.log"; exit 1; }
headers=$(cd "$work/prefix/include" && find . -type f | sort)
expected=$(for folder in "$source/include" "$build/include"; do (cd "$folder" && find . -type f); done | sort)
[ "$headers" = "$expected" ] || { echo "installed headers differ:"; echo "$headers"; exit 1; }

sanitize=$(sed -n 's/^KELACCOUNT_SANITIZE:STRING=//p' "$build/CMakeCache.txt")
flags=${sanitize:+-fsanitize=$sanitize}
cmake -S "$source/examples" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_FLAGS="$flags" >"$work/configure.log" 2>&1 ||
    { cat "$work/configure.log"; exit 1; }
cmake --build "$work/cmake"

libdir=$(dirname "$(find "$work/prefix" -name libaccounts-kel.so)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046,SC2086
by_pkg_config() { # PROGRAM SOURCE
    g++ -std=c++17 -fPIC $flags -o "$work/$1" "$2" $(pkg-config --cflags --libs accounts-kel) \
        -Wl,-rpath,"$libdir"
}
by_pkg_config by-pkg-config "$source/examples/is-user-free.cpp"
by_pkg_config every-signal "$here/consumer/everysignal.cpp"
by_pkg_config edges "$here/consumer/edges.cpp"

# Without an argument it says how it is used; with one and no key, initialize refuses and so does
# the call.
"$work/cmake/is-user-free" && { echo "no argument was no misuse"; exit 1; }
for program in "$work/cmake/is-user-free" "$work/by-pkg-config"; do
    output=$(env -u KELACCOUNT_CONSUMER_KEY "$program" alice) && { echo "no failure: $output"; exit 1; }
    [ "$output" = "ZorKeLDefs::ErrorInitializationPending" ] || { echo "got: $output"; exit 1; }
done
# The other way, with a call's failure; and an awaited one, and then one that was taken back.
output=$(env -u KELACCOUNT_CONSUMER_KEY "$work/cmake/register" alice a@mail.example x) &&
    { echo "no failure: $output"; exit 1; }
[[ $output == *"(ZorKeLDefs::ErrorInitializationPending)" ]] || { echo "got: $output"; exit 1; }
output=$(env -u KELACCOUNT_CONSUMER_KEY "$work/cmake/coroutine" alice) &&
    { echo "no failure: $output"; exit 1; }
[ "$output" = "ZorKeLDefs::ErrorInitializationPending
ZorKeLDefs::ErrorOperationCanceled" ] || { echo "got: $output"; exit 1; }

# What stands in README.md is what was compiled here.
shown=$(awk '/^```cpp$/ { inside = 1; next } /^```$/ { exit } inside' "$source/README.md" | sed 1,2d)
compiled=$(awk '/README.md begins/ { inside = 1; next } /That is all/ { exit } inside' \
    "$source/examples/register.cpp" | sed 's/^    //')
[ "$shown" = "$compiled" ] || { diff <(echo "$shown") <(echo "$compiled"); exit 1; }

[ -e "$libdir/libaccounts-kel.so.1" ] || { echo "no libaccounts-kel.so.1"; exit 1; }
[ -e "$libdir/libaccounts-kel-1/picture.so" ] || { echo "no picture module"; exit 1; }
for language in en de fr fi; do
    [ -s "$libdir/libaccounts-kel-1/statustext_$language.qm" ] || { echo "no texts in $language"; exit 1; }
done

"$work/every-signal"

# An installation can be moved; its texts go along.
mv "$work/prefix" "$work/moved"
found=$(LD_LIBRARY_PATH=$work/moved${libdir#"$work/prefix"} "$work/edges")
expected='preAccountId username mobile country prepared
Rex
17
This account is locked.
Dieses Konto ist gesperrt.
Ce compte est bloqué.
Tämä tili on lukittu.
ZorKelDefs::Error512 userName 1'
[ "$found" = "$expected" ] || { echo "the edges of the headers:"; diff <(echo "$expected") - <<<"$found"; exit 1; }
