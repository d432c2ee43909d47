#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# An application's source compiles with the public types as they are, and does not with a second
# Q_DECLARE_METATYPE of one.
#
#   declaredonce.sh SOURCE COMPILER
set -euo pipefail
source=$1
compiler=$2
# shellcheck disable=SC2207
flags=($(pkg-config --cflags Qt5Core))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

compiles()
{
    {
        echo '#include <kelaccount/kelaccounts.h>'
        echo '#include <QVariant>'
        echo "$1"
        echo 'QVariant status() { return QVariant::fromValue(KelAccount::ErrorNone); }'
        echo 'QVariant consent() { return QVariant::fromValue(KelAccount::ConsentVariantUnknown); }'
    } >"$work/host.cpp"
    "$compiler" -std=c++17 -fPIC -fsyntax-only "-I$source/include" "${flags[@]}" "$work/host.cpp" \
        2>"$work/errors"
}

compiles '' || { echo "the headers alone do not compile:"; cat "$work/errors"; exit 1; }
for type in ErrorStatus ConsentQueryVariant PreAccountInfo; do
    compiles "Q_DECLARE_METATYPE(KelAccount::$type)" && { echo "$type can be declared again"; exit 1; }
    grep -q "redefinition.*QMetaTypeId<.*$type" "$work/errors" ||
        { echo "$type fails for another reason:"; cat "$work/errors"; exit 1; }
done
