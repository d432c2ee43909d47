#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Every symbol that the shared library defines belongs to a class under include/kelaccount.
set -euo pipefail
library=$1
# The version's own name is a symbol too.
defined=$(nm --dynamic --defined-only --demangle --without-symbol-versions "$library" |
    cut -d' ' -f3- | grep -v '^KELACCOUNT_1$' | sort -u)
allowed='(KelAccount::(KelAccounts|RegistrationInfo|ProfileInfo)|CommonUtils)::'
# vtables, type information and the like name the class behind them
allowed="^((vtable for|typeinfo for|typeinfo name for|non-virtual thunk to) )?(${allowed}|KelAccount::(KelAccounts|RegistrationInfo|ProfileInfo)\$)"
# The undefined behaviour sanitizer has the type information of Qt's classes at hand everywhere.
wanted=$(nm --dynamic --undefined-only "$library")
if grep -q ' __ubsan_' <<<"$wanted"; then
    allowed="$allowed|^typeinfo (name )?for Q[A-Za-z]+\$"
fi
others=$(grep -vE "$allowed" <<<"$defined" || true)
[ -z "$others" ] || { echo "exported, but no public class's:"; echo "$others"; exit 1; }
for class in KelAccounts RegistrationInfo ProfileInfo; do
    grep -q "^KelAccount::${class}::staticMetaObject" <<<"$defined" ||
        { echo "$class is not exported"; exit 1; }
done
grep -q '^CommonUtils::ConvertErrorCodeToString' <<<"$defined" ||
    { echo "CommonUtils is not exported"; exit 1; }
