// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/findings.h"

#include <algorithm>

namespace Doctor {

Level Findings::worst() const
{
    Level worst = Level::Good;
    for (const Finding& finding : mAll)
        worst = std::max(worst, finding.level);
    return worst;
}

QString levelName(Level level)
{
    switch (level) {
    case Level::Good:
        return QStringLiteral("good");
    case Level::Note:
        return QStringLiteral("note");
    case Level::Warning:
        return QStringLiteral("warning");
    case Level::Error:
        return QStringLiteral("error");
    }
    return {};
}

} // namespace Doctor
