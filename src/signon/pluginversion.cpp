// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/pluginversion.h"

#include "common/logging.h"

#include <SignOn/SessionData>

#include <QRegularExpression>

namespace KelAccount {

void comparePluginVersion(const SignOn::SessionData& answer)
{
    // Of another process, so not taken into the log as it is.
    static const QRegularExpression version(QStringLiteral("\\A[0-9.]{1,20}\\z"));
    const QString said = answer.getProperty(QStringLiteral("PluginVersion")).toString();
    if (!version.match(said).hasMatch())
        qCWarning(logSignon, "The sign-on plugin does not say of which version it is; the library "
                             "is of version " KELACCOUNT_VERSION);
    else if (said != QLatin1String(KELACCOUNT_VERSION))
        qCWarning(logSignon,
                  "The sign-on plugin is of version %s, the library of version " KELACCOUNT_VERSION,
                  qPrintable(said));
}

} // namespace KelAccount
