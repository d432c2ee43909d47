#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: qt6rooms.sh SOURCES: whether the page about Qt 6 says of every folder with code what becomes of it, and
# calls built what the build for Qt 6 has, and nothing else
set -euo pipefail
cd "$1"
page=docs/porting.md
problems=0
# The first table, whose rows end with what becomes of their folders.
table=$(sed -n '/^| Room/,/^$/p' "$page")
built=$(grep '| built;' <<<"$table" || true)
for folder in src/*/ plugin/ tools/ emulator/ examples/ benchmarks/ fuzz/; do
    folder=${folder%/}
    grep -qF "\`$folder\`" <<<"$table" || { echo "$page says nothing of $folder"; problems=1; }
done
# What src/CMakeLists.txt adds before it returns, with Qt 6.
with_qt6=$(sed -nE '/^ *return\(\)/q; s/^ *add_subdirectory\((.*)\)/src\/\1/p' src/CMakeLists.txt | sort)
said=$(grep -oE '`src/[a-z/]+`' <<<"$built" | tr -d '`' | sort)
[ -n "$with_qt6" ] || { echo "nothing is built with Qt 6"; problems=1; }
diff <(echo "$with_qt6") <(echo "$said") || { echo "$page calls other folders built"; problems=1; }
exit $problems
