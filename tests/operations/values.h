// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/operations/retrievetermsofservicerequest.h"
#include "rest/records/contactsinfo.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfo.h"
#include "rest/records/registrationinfodata.h"

#include <QVector>

namespace operations {

using namespace KelRestHandler;

inline const auto consumerKey = QStringLiteral("the key");
inline const auto timeStamp = QStringLiteral("1700000000");
inline const auto password = QStringLiteral("Secret 1!");
inline const auto captchaId = QStringLiteral("captcha-9");
inline const auto imageText = QStringLiteral("xk7Qp");
inline const auto mobile = QStringLiteral("+358401234567");
inline const auto message = QStringLiteral("Follow this link.");
inline const QString internationalAddress = QString::fromUtf8("jörg@bücher.example");

RegistrationInfoData fullRegistration();
ProfileInfo fullProfile();
ProfileInfo profileWithQuestion(const char* questionId, const char* answer);
ProfileInfo fullProfileWithQuestion();
ContactsInfo threeContacts();

/// The arguments of all operations, and what the outside says while a request is made.
struct Values
{
    QString token = QStringLiteral("token-77");
    QString userName = QStringLiteral("somebody");
    QString password = operations::password;
    QString accountId = QStringLiteral("1000042");
    QString captchaId = operations::captchaId;
    QString captchaText = imageText;
    QString userId = QStringLiteral("somebody@mail.example");
    QString messageBody = message;
    QString emailAddress = QStringLiteral("somebody@mail.example");
    QString securityToken = QStringLiteral("reset-token-5");
    QString newPassword = QStringLiteral("Newer 2?");
    QString securityAnswer = QStringLiteral("Rex");
    QString language = QStringLiteral("fi");
    QString country = QStringLiteral("FI");
    QString serviceId = QStringLiteral("music");
    QString termsId = QStringLiteral("terms-7");
    QString newUserName = QStringLiteral("newname");
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
