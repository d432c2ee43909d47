// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/registrationinfodata.h"
#include "support/literals.h"

#include <kelaccount/registrationinfo.h>

#include <QVariantMap>

namespace KelTest {

/// Sets a record's properties; false when it has not all of these.
inline bool fill(KelAccount::RegistrationInfo& record, const QVariantMap& fields)
{
    bool isFilled = true;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        isFilled = record.setProperty(it.key().toLatin1(), it.value()) && isFilled;
    return isFilled;
}

/// The texts of a record as it was sent, by the names of its properties.
inline QVariantMap fieldsOfRegistration(const QVariant& bytes)
{
    const auto sent = KelRestHandler::readRegistration(bytes.toByteArray());
    return {{"userName"_s, sent.userName},
            {"captchaText"_s, sent.captchaText},
            {"captchaId"_s, sent.captchaId},
            {"password"_s, sent.password},
            {"mobilePhoneNumber"_s, sent.mobilePhoneNumber},
            {"emailAddress"_s, sent.emailAddress},
            {"securityQuestion"_s, sent.securityQuestion},
            {"securityAnswer"_s, sent.securityAnswer},
            {"firstName"_s, sent.firstName},
            {"lastName"_s, sent.lastName},
            {"countryAsString"_s, sent.countryAsString},
            {"languageAsString"_s, sent.languageAsString},
            {"serviceTag"_s, QString::fromLatin1(sent.serviceTag)}};
}

} // namespace KelTest
