// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/operations/retrievetermsofservicerequest.h"
#include "rest/records/contactsinfo.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfo.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"

#include <QVector>

namespace operations {

using namespace KelRestHandler;

inline const auto consumerKey = "the key"_s;
inline const auto timeStamp = "1700000000"_s;
inline const auto password = "Secret 1!"_s;
inline const auto captchaId = "captcha-9"_s;
inline const auto imageText = "xk7Qp"_s;
inline const auto mobile = "+358401234567"_s;
inline const auto message = "Follow this link."_s;
inline const QString internationalAddress = "jörg@bücher.example"_s;

RegistrationInfoData fullRegistration();
ProfileInfo fullProfile();
ProfileInfo profileWithQuestion(const char* questionId, const char* answer);
ProfileInfo fullProfileWithQuestion();
ContactsInfo threeContacts();

/// The arguments of all operations, and what the outside says while a request is made.
struct Values
{
    QString token = "token-77"_s;
    QString userName = "somebody"_s;
    QString password = operations::password;
    QString accountId = "1000042"_s;
    QString captchaId = operations::captchaId;
    QString captchaText = imageText;
    QString userId = "somebody@mail.example"_s;
    QString messageBody = message;
    QString emailAddress = "somebody@mail.example"_s;
    QString securityToken = "reset-token-5"_s;
    QString newPassword = "Newer 2?"_s;
    QString securityAnswer = "Rex"_s;
    QString language = "fi"_s;
    QString country = "FI"_s;
    QString serviceId = "music"_s;
    QString termsId = "terms-7"_s;
    QString newUserName = "newname"_s;
    QByteArray serviceTag = "tag-0123";
    int width = 320;
    int height = 80;
    bool sendMessage = true;
    TermsFormat format = TermsFormatHtml;
    RegistrationInfoData registration = fullRegistration();
    ProfileInfo profile = fullProfileWithQuestion();
    ContactsInfo contacts = threeContacts();
    MarketingConsentInfo consent = {true, false};
    TermsAcceptanceData acceptance = {true, false, true};
    /// What the request finds out by itself; as the test has set up the modem.
    bool simPresent = false;
    DeviceFacts device;

    /// The arguments as the document names them.
    static Values placeholders();
    /// Every text the same.
    static Values filledWith(const QString& text);
    /// All that are texts.
    static QVector<QString Values::*> texts();
};

} // namespace operations
