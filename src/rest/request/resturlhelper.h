// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// Addresses of the service's resources below a base address.
/// Nothing is encoded or checked here; what follows a closing "/" is appended by the operation.
class RestUrlHelper
{
public:
    static QString signInUrl(QString const& base) { return base + QLatin1String("tokens"); }
    static QString tokenUrl(QString const& base) { return base + QLatin1String("tokens/"); }
    static QString availabilityUrl(QString const& base)
    {
        return base + QLatin1String("availability/");
    }
    static QString emailAvailabilityUrl(QString const& base)
    {
        return base + QLatin1String("emailavailability/");
    }
    static QString retrieveCaptchaUrl(QString const& base)
    {
        return base + QLatin1String("captchas");
    }
    static QString securityQuestionsUrl(QString const& base)
    {
        return base + QLatin1String("securityquestions");
    }
    static QString detectPreAccountUrl(QString const& base)
    {
        return base + QLatin1String("autodetection");
    }
    static QString consentQueryVariantUrl(QString const& base)
    {
        return base + QLatin1String("consentqueryvariant");
    }
    static QString newPreAccountRegistrationUrl(QString const& base)
    {
        return base + QLatin1String("phoneactivationregistration");
    }
    static QString newRegistrationUrl(QString const& base)
    {
        return base + QLatin1String("accounts");
    }
    static QString registrationUrl(QString const& base)
    {
        return base + QLatin1String("accounts/");
    }
    static QString termsUrl(QString const& base) { return base + QLatin1String("terms/"); }
    static QString passwordRecoveryUrl(QString const& base)
    {
        return base + QLatin1String("simplifiedpasswordrecovery/");
    }
    static QString serviceInfoUrl(QString const& base) { return base + QLatin1String("services/"); }
    /// Part of the service's interface that no operation uses today.
    static QString guardianTokenUrl(QString const& base)
    {
        return base + QLatin1String("guardiantokens");
    }
};

} // namespace KelRestHandler
