#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Builds the fuzz targets and runs each of them for a while, several at once.
set -uo pipefail
KEL_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
. "$KEL_ROOT/scripts/build.sh"

usage() {
    cat <<'TEXT'
usage: scripts/fuzz.sh [-j NUMBER] [SECONDS] [TARGET...]
       scripts/fuzz.sh --keep [TARGET...]

Builds the preset "fuzz" and runs every target (or those named) for SECONDS each (600), NUMBER of them at once
(as many as there are processors), starting from fuzz/corpus/TARGET. New inputs are kept in
build/fuzz/corpus/TARGET, the output in build/fuzz/TARGET.log, and an input that breaks something in
build/fuzz/findings/.
With --keep, what reaches more than fuzz/corpus/TARGET does is added to it, no more than is needed, and small.
TEXT
}

at_once=$(nproc)
seconds=600
keep=
case ${1-} in
    --help|-h) usage; exit 0 ;;
    --keep) keep=1; shift ;;
    -j)
        case ${2-} in ''|*[!0-9]*|0) usage >&2; exit 2 ;; esac
        at_once=$2
        shift 2 ;;
    -*) usage >&2; exit 2 ;;
esac
case ${1-} in [1-9]*) seconds=$1; shift ;; esac
case $seconds in *[!0-9]*) usage >&2; exit 2 ;; esac

build="$KEL_ROOT/build/fuzz"
kel_build fuzz fuzzers || exit 1
mkdir -p "$build/findings"

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for program in "$build"/fuzzers/fuzz_*; do
        targets+=("$(basename "$program" | sed 's/^fuzz_//')")
    done
fi
for target in "${targets[@]}"; do
    [ -x "$build/fuzzers/fuzz_$target" ] ||
        { echo "scripts/fuzz.sh: there is no target '$target'" >&2; exit 2; }
done

if [ -n "$keep" ]; then
    # Large ones are slow, and seldom text.
    longest=1024
    for target in "${targets[@]}"; do
        mkdir -p "$build/corpus/$target"
        before=$(find "$KEL_ROOT/fuzz/corpus/$target" -type f | wc -l)
        # By what is reached, not by how often.
        "$build/fuzzers/fuzz_$target" -merge=1 -use_counters=0 -max_len=$longest \
            "$KEL_ROOT/fuzz/corpus/$target" "$build/corpus/$target" >"$build/$target.log" 2>&1 ||
            { tail -n 20 "$build/$target.log" >&2; exit 1; }
        after=$(find "$KEL_ROOT/fuzz/corpus/$target" -type f | wc -l)
        echo "==> $target: $before inputs before, $after now"
    done
    exit 0
fi

start_one() { # TARGET
    local target=$1 options corpora
    mkdir -p "$build/corpus/$target"
    corpora=("$build/corpus/$target")
    [ -d "$KEL_ROOT/fuzz/corpus/$target" ] && corpora+=("$KEL_ROOT/fuzz/corpus/$target")
    options=(-max_total_time="$seconds" -max_len=16384 -timeout=20 -rss_limit_mb=1536 -malloc_limit_mb=256
             -print_final_stats=1 -artifact_prefix="$build/findings/$target-")
    if [ -f "$KEL_ROOT/fuzz/$target.dict" ]; then
        # With the roots of replies, which the operations name.
        grep -hoE '"[A-Za-z]+Response"' "$KEL_ROOT"/src/rest/operations/*.h | sort -u |
            cat "$KEL_ROOT/fuzz/$target.dict" - > "$build/$target.dict"
        options+=(-dict="$build/$target.dict")
    fi
    # The emulator says of each request why it is refused.
    [ "$target" = wirerequest ] && options+=(-close_fd_mask=2)
    "$build/fuzzers/fuzz_$target" "${options[@]}" "${corpora[@]}" >"$build/$target.log" 2>&1 &
    running[$!]=$target
    begun[$!]=$SECONDS
}

# What to do about it, for somebody who has not done it before.
tell_finding() { # TARGET
    local target=$1 file
    tail -n 40 "$build/$target.log" >&2
    file=$(sed -n 's/.*Test unit written to //p' "$build/$target.log" | tail -n 1)
    cat >&2 <<TEXT
==> $target found something: $file
    see it again    $build/fuzzers/fuzz_$target $file
    make it smaller $build/fuzzers/fuzz_$target -minimize_crash=1 -runs=20000 $file
    when mended     keep it as fuzz/corpus/$target/NAME, which ./test replays from then on, and write a test
                    of what was wrong
TEXT
}

end_one() { # PID
    local target=${running[$1]}
    unset "running[$1]" "begun[$1]"
    if wait "$1"; then
        echo "==> $target: nothing in $(sed -n 's/^stat::number_of_executed_units: *//p' "$build/$target.log") inputs," \
            "$(sed -n 's/^stat::peak_rss_mb: *//p' "$build/$target.log") MB of memory at most"
    else
        tell_finding "$target"
        failed=1
    fi
}

declare -A running=() begun=() # set -u takes an empty one that was not assigned for none
failed=0
next=0
trap 'kill "${!running[@]}" 2>/dev/null; exit 130' INT TERM
looked=$SECONDS
while [ $next -lt ${#targets[@]} ] || [ ${#running[@]} -gt 0 ]; do
    while [ $next -lt ${#targets[@]} ] && [ ${#running[@]} -lt "$at_once" ]; do
        echo "==> fuzzing ${targets[$next]} for $seconds s ($((next + 1)) of ${#targets[@]})"
        start_one "${targets[$next]}"
        next=$((next + 1))
    done
    sleep 1
    for pid in "${!running[@]}"; do
        kill -0 "$pid" 2>/dev/null || end_one "$pid"
    done
    [ $((SECONDS - looked)) -lt 15 ] && continue
    looked=$SECONDS
    for pid in "${!running[@]}"; do
        # "#1234 NEW cov: 56 ..."
        printf '    %-12s %4d s, %s inputs\n' "${running[$pid]}" $((SECONDS - begun[$pid])) \
            "$(grep -ao '^#[0-9][0-9]*' "$build/${running[$pid]}.log" | tail -n 1 | tr -d '#')"
    done
done
trap - INT TERM
[ $failed -eq 0 ] && echo "==> no target found anything"
exit $failed
