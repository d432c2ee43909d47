// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QString>

namespace KelRestHandler {

/// What a service tag can be asked for.
namespace ServiceTagOperation {
inline const QLatin1String registration(":SSO_REGISTRATION");
inline const QLatin1String passwordRecovery(":SSO_PASSWORD_RECOVERY");
inline const QLatin1String emailAvailabilityCheck(":SSO_EMAIL_AVAILABILITY_CHECK");
} // namespace ServiceTagOperation

/// Service tags from the device's tag server. A tag spares its owner the captcha.
///
/// An exchange blocks the calling thread: half a second when the server has to be started, and ten
/// seconds at most when it does not answer.
class ObcMgrWrapper
{
public:
    /// One exchange. On success `tag` holds the tag's bytes in Base64, otherwise nothing.
    bool serviceTag(QByteArray& tag, const QString& key);

    /// Asks for the tag of the operation at the service's present time; `tag` as in serviceTag().
    void loadServiceTag(QByteArray& tag, const QString& operation);

    /// Whether the last load succeeded. Only when there has been none, it loads the tag of
    /// registration.
    bool isServiceTagAvailable();

private:
    enum State : qint32 { NeverLoaded = 0, Loaded = 1, LoadFailed = 2 };

    qint32 state = NeverLoaded;
};

} // namespace KelRestHandler
