#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# What the scripts write where other users can write, too, has a name that nobody can foresee: a planted
# link of that name would have them overwrite the user's own files.
# usage: sharedfolders.sh FOLDER-OF-THE-PROJECT
set -euo pipefail
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Every script, whatever its name ends with.
scripts=$(cd "$source" && find . \( -path ./build -o -path ./.git -o -path ./fuzz/corpus \) -prune -o \
    -type f -print | sort)
looked_at=0
while IFS= read -r script; do
    IFS= read -r first <"$source/$script" || true
    case $script:$first in
        ./tests/package/sharedfolders.sh:*) continue ;;
        *.sh:*|*.py:*|*:'#!'*) ;;
        *) continue ;;
    esac
    looked_at=$((looked_at + 1))
    # The folder of such a file is asked for by mktemp, or by a program's own way.
    if grep -nE '(^|[^A-Za-z])(/tmp|/var/tmp|/dev/shm|\$\{?TMPDIR)' "$source/$script" | grep -v mktemp; then
        echo "$script names a file in a shared folder"
        exit 1
    fi
done <<<"$scripts"
[ $looked_at -gt 0 ] || { echo "no script found"; exit 1; }

# Installing packages, with an apt that only talks, in a folder with links in all likely places.
mkdir "$work/bin" "$work/tmp"
cat >"$work/bin/apt-get" <<'SCRIPT'
#!/bin/sh
# What it was given to write to, as seen by somebody who looks at the right moment.
ls -l "/proc/$$/fd/1" "$TMPDIR" >>"$SEEN"
echo "apt speaks"
exit "${APT_STATUS:-0}"
SCRIPT
printf '#!/bin/sh\nexec "$@"\n' >"$work/bin/sudo"
printf '#!/bin/sh\nexit 1\n' >"$work/bin/dpkg-query"
chmod +x "$work"/bin/*
for status in 0 1; do
    echo precious >"$work/victim"
    : >"$work/seen"
    # exec keeps the process number, so the links stand where a name made of it would be.
    PATH="$work/bin:$PATH" TMPDIR="$work/tmp" SEEN="$work/seen" APT_STATUS=$status \
        KEL_ROOT="$source" VICTIM="$work/victim" bash -c '
            for name in kelaccount-apt.$$.log kelaccount-apt.log apt.log; do
                ln -s "$VICTIM" "$TMPDIR/$name"
            done
            . "$KEL_ROOT/scripts/packages.sh"
            kel_install_packages build' >"$work/output" 2>&1 && result=0 || result=$?
    [ "$(cat "$work/victim")" = precious ] || { echo "a planted link was followed"; exit 1; }
    [ $result -eq $status ] || { cat "$work/output"; echo "ended with $result"; exit 1; }
    grep -q "apt" "$work/seen" || { echo "apt was not run"; exit 1; }
    rm -f "$work"/tmp/*.log
    left=$(ls "$work/tmp")
    [ -z "$left" ] || { echo "left behind: $left"; exit 1; }
done
