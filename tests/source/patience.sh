#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Qt Test's own macros that try again look every 50 ms, which is most of the time that a test takes, and give up after
# five seconds, which a busy machine needs. tests/support/patience.h has them look after each event. Finds the files
# that use one without it.
#
#   patience.sh ROOT FOLDER...     fails when there is one in a folder of the root
set -euo pipefail
root=$1
shift

# grep's 1 says that there is none.
matching() { grep -rlE --include='*.cpp' --include='*.h' -- "$@" || [ $? -eq 1 ]; }

# Files with patience: by themselves, or by a header of the folders that has it.
patient()
{
    local header=support/patience.h more
    local known=$header
    while :; do
        more=$(matching "^#include \"([^\"]*/)?(${known//$'\n'/|})\"" "$@")
        more=$(printf '%s\n%s\n' "$known" "$(sed -nE 's,.*/([^/]+\.h)$,\1,p' <<<"$more")" | sed '/^$/d' | sort -u)
        [ "$more" != "$known" ] || break
        known=$more
    done
    matching "^#include \"([^\"]*/)?(${known//$'\n'/|})\"" "$@"
}

impatient()
{
    local own
    own=$(patient "$@")
    matching '\bQTRY_[A-Z]+' "$@" | grep -vE '(^|/)support/patience\.h$' | grep -vxF -- "$own" || [ $? -eq 1 ]
}

sample=$(mktemp -d)
trap 'rm -rf "$sample"' EXIT
echo '#include "support/patience.h"' >"$sample/some.h"
printf '#include "%s"\nQTRY_VERIFY(true);\n' some.h >"$sample/by-a-header.cpp"
printf '#include "%s"\nQTRY_VERIFY(true);\n' other.h >"$sample/without.cpp"
found=$(impatient "$sample")
[ "$found" = "$sample/without.cpp" ] || { echo "does not find what it is for: '$found'"; exit 1; }

cd "$root"
hits=$(impatient "$@")
[ -n "$hits" ] || exit 0
echo "$hits"
echo '    tries again with the macros of Qt Test alone: #include "support/patience.h"'
exit 1
