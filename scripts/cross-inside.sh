#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: cross-inside.sh ARCHITECTURE, in the Debian of cross-packages.sh, in a copy of the sources: builds
# the packages for another processor, and runs the unit tests of rest and device as that processor would
set -euo pipefail
architecture=$1
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
case $architecture in
    arm64) machine=aarch64 ;;
    armhf) machine=arm ;;
    *) echo "no way known to run programs of $architecture"; exit 1 ;;
esac

add() {
    apt-get install -y -qq --no-install-recommends -o Dpkg::Use-Pty=0 "$@" >../apt.log 2>&1 ||
        { cat ../apt.log; exit 1; }
}
echo "    what is needed to build for $architecture"
apt-get update -qq
add "crossbuild-essential-$architecture" qemu-user
apt-get build-dep -y -qq --no-install-recommends --host-architecture="$architecture" ./ >../apt.log 2>&1 ||
    { cat ../apt.log; exit 1; }
# Oracles that the tests compare with, and what they try out.
add "liboauth-dev:$architecture" "libqt5networkauth5-dev:$architecture" tzdata iproute2 procps

echo "    building"
log() { "$@" >../build.log 2>&1 || { tail -n 40 ../build.log; exit 1; }; }
# As debian/rules has them, with the tests. Programs print their pages themselves.
settings=(-DKELACCOUNT_BUILD_TESTS=ON -DKELACCOUNT_INSTALL_RPATH=OFF
    -DKELACCOUNT_ZSH_FOLDER=share/zsh/vendor-completions -DCMAKE_CROSSCOMPILING_EMULATOR="/usr/bin/qemu-$machine")
log dpkg-architecture -a"$architecture" -c dh_auto_configure --buildsystem=cmake+ninja \
    --builddirectory=built -- "${settings[@]}"
tests=$(ninja -C built -t targets all | sed -nE 's/^(tests\/tst_[a-z0-9_]+): .*/\1/p')
unit=()
for test in $tests; do
    # By where its objects are. (A reader that stops early would fail the pipe.)
    if ninja -C built -t inputs "$test" 2>/dev/null | grep -E "^tests/(rest|device)/CMakeFiles/${test#tests/}\.dir/" >/dev/null; then
        unit+=("$test")
    fi
done
[ ${#unit[@]} -gt 20 ] || { echo "only ${#unit[@]} tests of rest and device"; exit 1; }
product=(accounts-kel kelaccountsqml kelaccount zorauthplugin kelaccount-emulator kelaccount-emulator-trust kelaccount-modem
    kelaccount-settings kelaccount-tag-server kelaccount_catalogues
    kelaccount_{accounts,picture,region}_module)
# Manual pages and completions, which each program prints itself.
while IFS= read -r texts; do product+=("$texts"); done < <(
    ninja -C built -t targets all | sed -nE 's/^(kelaccount[a-z-]*-texts): phony$/\1/p')
log ninja -C built "${product[@]}" "${unit[@]}"

echo "    packing"
# The folder is named as it is from here: what is built is not built again.
log env KELACCOUNT_BUILT="$PWD/built" dpkg-buildpackage --host-arch "$architecture" --no-check-builddeps \
    --unsigned-changes --build=any
mkdir -p ../packages
for package in ../*.deb; do
    [ "$(dpkg-deb --field "$package" Architecture)" = "$architecture" ] || { echo "$package"; exit 1; }
    mv "$package" ../packages
done

declare -A left_out=()
while read -r name reason; do
    left_out[$name]=$reason
done < <(grep -v '^#' packaging/not-emulated.txt)
# A server that the library starts is a program of that processor, too.
server=$PWD/built/bin/kelaccount-tag-server
mv "$server" "$server.emulated"
printf '#!/bin/sh\nexec qemu-%s "%s" "$@"\n' "$machine" "$server.emulated" >"$server"
chmod +x "$server"
unset LANGUAGE LANG # Qt would ask them, too

echo "    ${#unit[@]} test programs, run by an emulated $machine, without"
passed=0 failed=()
for test in "${unit[@]}"; do
    name=${test#tests/}
    emulated=("qemu-$machine" "built/$test")
    functions=()
    for left in $(printf '%s\n' "${!left_out[@]}" | grep -E "^$name(::|$)" | sort); do
        echo "        $left: ${left_out[$left]}"
        [ "$left" != "$name" ] || continue 2
        [ ${#functions[@]} -gt 0 ] ||
            mapfile -t functions < <(QT_QPA_PLATFORM=minimal "${emulated[@]}" -functions 2>/dev/null | sed -nE 's/^(\w+)\(\)$/\1/p')
        all=${#functions[@]}
        mapfile -t functions < <(printf '%s\n' "${functions[@]}" | grep -vx "${left#*::}")
        [ ${#functions[@]} -lt "$all" ] || { echo "there is no $left to leave out"; exit 1; }
    done
    # As ctest has it.
    IFS=';' read -ra surroundings < <(
        sed -nE "s/^set_tests_properties\\(\\[=\\[$name\\]=\\] .* ENVIRONMENT \"([^\"]*)\".*/\1/p" built/tests/*/CTestTestfile.cmake
        echo)
    if env QT_QPA_PLATFORM=minimal "${surroundings[@]}" timeout 600 "${emulated[@]}" "${functions[@]}" >../test.log 2>&1; then
        passed=$((passed + 1))
    else
        failed+=("$name")
        echo "$name failed:"
        grep -E -A3 '^FAIL|^QFATAL|Segmentation|qemu:' ../test.log | head -n 20 || tail -n 5 ../test.log
    fi
done
[ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}"; exit 1; }
echo "    $passed passed"
