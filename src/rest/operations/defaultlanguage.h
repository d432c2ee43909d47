// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// "Accept-Language" of the operations whose answers are not shown to anybody, or whose caller
/// gives no language.
inline QString defaultLanguage()
{
    return QStringLiteral("en");
}

} // namespace KelRestHandler
