// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// What a user may receive marketing messages on.
struct MarketingConsentInfo
{
    bool email = false;
    bool mobile = false;
};

/// Which texts a user accepts, as sent to the service.
struct TermsAcceptanceData
{
    bool hasAcceptedTos = false;
    bool hasAcceptedServiceSpecificTos = false;
    bool hasAcceptedPrivacyPolicy = false;
};

/// In which form terms are wanted.
enum TermsFormat : int { TermsFormatText = 0, TermsFormatHtml = 1 };

/// Outcome of classifying a reply.
struct RequestInfoData
{
    int statusCode = 0; ///< a KelAccount::ErrorStatus or one of the statuses without a name
    QString errorText;  ///< the service's own words
    int reserved = 0;   ///< nothing here fills or reads it
};

} // namespace KelRestHandler
