#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: findpackage.sh SOURCES BUILD
# What a project is told of an installation: which parts are there, that it has been moved, and where folders
# are that a packager gave as absolute paths.
set -euo pipefail
source=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/project"
cat >"$work/project/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(finder LANGUAGES CXX)
find_package(AccountsKel ${WANTED})
foreach(part runtime development plugin tools emulator doc qml)
  if(AccountsKel_${part}_FOUND)
    string(APPEND parts " ${part}")
  endif()
endforeach()
get_target_property(library AccountsKel::accounts-kel LOCATION)
foreach(target AccountsKel::kelaccount AccountsKel::kelaccount-emulator)
  if(TARGET ${target})
    get_target_property(program ${target} LOCATION)
    string(APPEND programs " ${program}")
  endif()
endforeach()
message(STATUS "has${parts}; ${library}${programs} ${AccountsKel_PLUGIN} ${AccountsKel_DOC_FOLDER} ${AccountsKel_QML_FOLDER}")
TEXT

install_parts() { # PREFIX COMPONENT...
    local prefix=$1 part
    shift
    for part in "$@"; do
        cmake --install "$build" --prefix "$prefix" --component "$part" >"$work/install.log" 2>&1 ||
            { cat "$work/install.log"; exit 1; }
    done
}
find_in() { # PREFIX WANTED: the result in the text "said"
    rm -rf "$work/found"
    cmake -S "$work/project" -B "$work/found" -G Ninja -DCMAKE_PREFIX_PATH="$1" -DWANTED="$2" \
        >"$work/find.log" 2>&1 && result=0 || result=$?
    # As CMake writes it, a message is broken into lines.
    said=$(tr -s ' \n' ' ' <"$work/find.log")
}
expect() { # RESULT TEXT
    [ "$result" = "$1" ] && grep -qF -- "$2" <<<"$said" || {
        echo "ended with $result instead of $1, or did not say: $2"
        cat "$work/find.log"
        exit 1
    }
}

install_parts "$work/prefix" runtime development
find_in "$work/prefix" REQUIRED
expect 0 "-- has runtime development; $work/prefix/lib"
find_in "$work/prefix" "REQUIRED;COMPONENTS;runtime;plugin"
expect 1 "AccountsKel's component \"plugin\" is not installed with the library."
find_in "$work/prefix" "REQUIRED;COMPONENTS;widgets"
expect 1 "AccountsKel has no component \"widgets\"; it has runtime, development, plugin, tools, emulator, doc, qml."
find_in "$work/prefix" "REQUIRED;OPTIONAL_COMPONENTS;plugin;widgets"
expect 0 "-- has runtime development;"

# What was installed can be moved, and says where it is now.
install_parts "$work/prefix" plugin tools emulator doc qml
mv "$work/prefix" "$work/moved"
find_in "$work/moved" "REQUIRED;COMPONENTS;plugin;tools;emulator;doc;qml"
expect 0 "-- has runtime development plugin tools emulator doc qml; $work/moved/lib"
expect 0 " $work/moved/bin/kelaccount $work/moved/bin/kelaccount-emulator $work/moved/"
expect 0 "/libzorauthplugin.so $work/moved/share/doc/libaccounts-kel $work/moved/lib"
! grep -qF "$work/prefix" <<<"$said" || { echo "names the old place: $said"; exit 1; }

# Absolute folders do not move.
configured() { # NAME CMAKE-ARGUMENT...
    local name=$1
    shift
    cmake -S "$source" -B "$work/$name" -G Ninja -DKELACCOUNT_BUILD_TESTS=OFF -DKELACCOUNT_BUILD_EMULATOR=ON \
        -DCMAKE_INSTALL_PREFIX=/opt/kel "$@" >"$work/$name.log" 2>&1 || { cat "$work/$name.log"; exit 1; }
    pc=$work/$name/packaging/accounts-kel.pc
}
is() { # VARIABLE VALUE
    local value
    value=$(pkg-config --variable="$1" "$pc")
    [ "$(realpath --canonicalize-missing "$value")" = "$2" ] || { echo "$1 is $value instead of $2"; exit 1; }
}
configured absolute -DCMAKE_INSTALL_LIBDIR=/usr/lib/kel -DCMAKE_INSTALL_INCLUDEDIR=/usr/include/kel
is libdir /usr/lib/kel
is includedir /usr/include/kel
is prefix /opt/kel
grep -qxF '_AccountsKel_look_for(_AccountsKel_tools "/opt/kel/bin" kelaccount)' \
    "$work/absolute/packaging/AccountsKelConfig.cmake"
grep -qF '"../../../' "$work/absolute/packaging/AccountsKelConfig.cmake" &&
    { echo "a way from an absolute folder"; exit 1; }
configured headers -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_INSTALL_INCLUDEDIR=/usr/include/kel
is libdir "$work/lib"
is includedir /usr/include/kel
