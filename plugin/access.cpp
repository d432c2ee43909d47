// SPDX-License-Identifier: LGPL-2.1-or-later
#include "access.h"

#include <QStringList>

#include <algorithm>

namespace ZorAuth {

bool isTrustedClient(const QVariant& tokens)
{
    const bool isList = tokens.userType() == QMetaType::QStringList;
    const QStringList found = isList ? tokens.toStringList() : QStringList();
    // The identity has no list: whoever made it keeps nobody out.
    if (tokens.isNull() || (isList && found.isEmpty()))
        return true;
    static const QStringList served =
        QStringLiteral(KELACCOUNT_CLIENT_ACCESS_TOKENS).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return std::any_of(found.cbegin(), found.cend(),
                       [](const QString& token) { return served.contains(token); });
}

} // namespace ZorAuth
