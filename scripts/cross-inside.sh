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
triplet=$(dpkg-architecture -a"$architecture" -qDEB_HOST_GNU_TYPE)

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
    # By where its objects are.
    if ninja -C built -t inputs "$test" 2>/dev/null | grep -qE "^tests/(rest|device)/CMakeFiles/${test#tests/}\.dir/"; then
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

echo "    ${#unit[@]} test programs, run by an emulated $machine ($triplet)"
# Those that an emulated process cannot pass, whatever the processor: they start the tag server or the client,
# which are programs of that processor, or want a bus with dconf, a network of their own, or to know how much
# memory a process takes.
left_out=' obcservicetag tagserverlaunch devicecommands devicecountrypicker interfaceaddresses transportmemory '
echo "    but for:$left_out"
failed=()
for test in "${unit[@]}"; do
    case $left_out in *" ${test#tests/tst_} "*) continue ;; esac
    language=$LC_ALL
    [ "$test" != tests/tst_deviceinfoutil ] || language=fi_FI
    LC_ALL=$language QT_QPA_PLATFORM=minimal "qemu-$machine" "built/$test" >../test.log 2>&1 || {
        failed+=("${test#tests/}")
        echo "${test#tests/}:"
        grep -E -A3 '^FAIL|^QFATAL|Segmentation|qemu:' ../test.log | head -n 20
    }
done
[ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}"; exit 1; }
