#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# What goes to the service, to scripts and to files, and what comes from there, must not depend on the
# user's language and time zone. The usual functions of QDate and QDateTime do: in Persian and Arabic
# they write local digits, and an hour that the zone leaves out in spring is no time to them. This
# finds their uses and others of the kind, and says what to do instead.
#
#   localeuse.sh ROOT FOLDER...     fails when there is one in a folder of the root
set -euo pipefail
root=$1
shift

# Where the locale is what is asked for.
allowed='src/platform/qsysteminfo\.cpp|src/common/wantedlanguage\.h|src/account/texts/statustext\.cpp|src/qml/captchapicture\.cpp|src/qml/failurevalue\.cpp'

# Three lines for each kind: what to look for, what to do instead, and a use that must be found.
kinds=(
    '\b(QDate|QTime|QDateTime)::fromString\((?!.*Qt::(ISODate|RFC2822Date))'
    'reads what the locale writes: use src/rest/request/wiretime.h, or QLocale::c()'
    'QDate::fromString(text, QStringLiteral("yyyy-MM-dd"))'

    '\.toString\((QStringLiteral|QLatin1String)?\(?u?"[^"]*(y|M|d|h|H|m|s|z)'
    'writes digits of the locale: use src/rest/request/wiretime.h, or QLocale::c()'
    'date.toString(QStringLiteral("yyyy-MM-dd"))'

    '\.to(Date|Time|DateTime)\((?=.*HH?:?mm.*yy|.*yy.*HH?:?mm|.*yy.*hh?:?mm)'
    'makes a local time, which is none when the zone leaves it out: read date and time apart'
    'QLocale::c().toDateTime(text, QStringLiteral("yyyy-MM-ddTHH:mm:ss"))'

    '\bsetTimeSpec\('
    'makes UTC of a local time, which is none when the zone leaves it out: see src/rest/request/wiretime.h'
    'time.setTimeSpec(Qt::UTC)'

    '\bQLocale(\(\)|::system\(\)|\{\})'
    'is the locale of the user: use QLocale::c()'
    'QLocale().toString(5)'

    '"[^"]*%L[0-9]'
    'writes a number as the locale does: use %1'
    'QStringLiteral("%L1").arg(5)'

    '\b(setlocale|strftime|strptime|strtod|atof)\s*\(|\bstd::(locale|stod|stof)\b'
    'follows the locale of the C library'
    'std::stod(text)'
)

# grep's 1 says that there is none.
uses()
{
    grep -rnP --include='*.cpp' --include='*.h' -- "$1" "${@:2}" | grep -vE ':[0-9]+: *//' || [ $? -eq 1 ]
}

sample=$(mktemp -d)
trap 'rm -rf "$sample"' EXIT
cd "$root"
found=0
for ((i = 0; i < ${#kinds[@]}; i += 3)); do
    echo "${kinds[i + 2]};" >"$sample/use.cpp"
    [ -n "$(uses "${kinds[i]}" "$sample")" ] || { echo "not found any more: ${kinds[i + 2]}"; exit 1; }
    hits=$(uses "${kinds[i]}" "$@" | grep -vE "^($allowed):" || true)
    [ -z "$hits" ] || { echo "$hits"; echo "    ${kinds[i + 1]}"; found=1; }
done
exit $found
