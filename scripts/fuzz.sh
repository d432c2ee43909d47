#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Builds the fuzz targets and runs each of them for a while.
set -uo pipefail
KEL_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
. "$KEL_ROOT/scripts/build.sh"

usage() {
    cat <<'TEXT'
usage: scripts/fuzz.sh SECONDS [TARGET...]

Builds the preset "fuzz" and runs every target (or those named) for SECONDS each, starting from
fuzz/corpus/TARGET. New inputs are kept in build/fuzz/corpus/TARGET, the output in
build/fuzz/TARGET.log, and an input that breaks something in build/fuzz/findings/.
TEXT
}

case ${1:-} in
    --help|-h) usage; exit 0 ;;
    ''|*[!0-9]*|0) usage >&2; exit 2 ;;
esac
seconds=$1
shift

build="$KEL_ROOT/build/fuzz"
kel_build fuzz fuzzers || exit 1

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in "$KEL_ROOT"/fuzz/fuzz_*.cpp; do
        name=$(basename "$source" .cpp)
        targets+=("${name#fuzz_}")
    done
fi

mkdir -p "$build/findings"
number=0
failed=0
for target in "${targets[@]}"; do
    number=$((number + 1))
    program="$build/fuzzers/fuzz_$target"
    log="$build/$target.log"
    [ -x "$program" ] || { echo "scripts/fuzz.sh: there is no target '$target'" >&2; exit 2; }
    echo "==> fuzzing $target for $seconds s ($number of ${#targets[@]})"
    mkdir -p "$build/corpus/$target"
    corpora=("$build/corpus/$target")
    [ -d "$KEL_ROOT/fuzz/corpus/$target" ] && corpora+=("$KEL_ROOT/fuzz/corpus/$target")
    options=(-max_total_time="$seconds" -max_len=16384 -timeout=10 -rss_limit_mb=1024
             -print_final_stats=1 -artifact_prefix="$build/findings/$target-")
    if [ -f "$KEL_ROOT/fuzz/$target.dict" ]; then
        # With the roots of replies, which the operations name.
        grep -hoE '"[A-Za-z]+Response"' "$KEL_ROOT"/src/rest/operations/*.h | sort -u |
            cat "$KEL_ROOT/fuzz/$target.dict" - > "$build/$target.dict"
        options+=(-dict="$build/$target.dict")
    fi

    "$program" "${options[@]}" "${corpora[@]}" >"$log" 2>&1 &
    fuzzer=$!
    trap 'kill "$fuzzer" 2>/dev/null; exit 130' INT TERM
    started=$SECONDS
    while kill -0 "$fuzzer" 2>/dev/null; do
        for _ in 1 2 3 4 5 6 7 8 9 10; do
            sleep 1
            kill -0 "$fuzzer" 2>/dev/null || break
        done
        # "#1234 NEW cov: 56 ..."
        printf '    %3d s, %s inputs\n' $((SECONDS - started)) \
            "$(grep -ao '^#[0-9][0-9]*' "$log" | tail -n 1 | tr -d '#')"
    done
    if wait "$fuzzer"; then
        sed -n 's/^stat::number_of_executed_units: */    inputs tried: /p
                s/^stat::peak_rss_mb: */    memory at most, MB: /p' "$log"
    else
        tail -n 40 "$log" >&2
        echo "==> $target found something; the input is in build/fuzz/findings/" >&2
        failed=1
    fi
done
trap - INT TERM
[ $failed -eq 0 ] && echo "==> no target found anything"
exit $failed
