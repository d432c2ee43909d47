// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/consentqueryvariant.h>

#include <QByteArray>
#include <QDate>
#include <QLocale>
#include <QMap>
#include <QMetaType>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

#include <chrono>
#include <memory>

/// What the calls of KelAccount::Client give and take. All are plain values: they may be copied,
/// kept, and used on any one thread at a time.
///
/// The fields are what the service has had for long. What later versions add stands behind `later`,
/// and is read by functions of its own, so that no result ever changes its size.
namespace KelAccount {

class LaterFields;

/// Why a call failed.
struct Failure
{
    /// An ErrorStatus, or one that has no member: 413, 512, 807, or below 400 what the sign-on
    /// daemon reported.
    int status = 0;
    QString name; ///< of the status, for logs
    QString text; ///< a sentence for the user, in the user's language
    /// The argument that the service did not like, where the status says it: "password", say.
    QString field;
    /// Whether the same call may succeed later, without anything having been changed.
    bool isRetryable = false;
    /// How long to leave the service alone: what it asked for and up to half as long again, drawn
    /// for each failure, so that those who have to wait do not come back together; 0 when it did
    /// not say.
    std::chrono::seconds retryAfter{0};
    std::shared_ptr<const LaterFields> later;
};

/// Of a call that has nothing to say but that it succeeded.
struct Done
{
    std::shared_ptr<const LaterFields> later;
};

/// Whether a user name or an e-mail address is free.
struct Availability
{
    bool available = false;
    QStringList suggestions; ///< of a taken user name: free ones like it, in the service's order
    std::shared_ptr<const LaterFields> later;
};

/// A captcha as the service sent it: encoded, since pictures are made on the thread of the user
/// interface, for instance by `QPixmap::loadFromData(captcha.bytes)`.
struct Captcha
{
    QByteArray bytes;  ///< empty when the service's reply had no picture
    QByteArray format; ///< "png", "jpeg", "gif" or "bmp"; empty when it is none of these
    QSize size;        ///< in pixels, as the picture itself says; invalid when it does not
    QString id;        ///< to register with
    std::shared_ptr<const LaterFields> later;
};

/// An account that was registered or signed in to.
struct SetUp
{
    quint32 credentialsId = 0; ///< of the device's sign-on daemon
    QString serviceAccountId;
    QString loginId;
    QString userId;
    QString emailAddress;
    std::shared_ptr<const LaterFields> later;
};

/// The profile of the user who is signed in.
struct Profile
{
    QString userName;
    QString mobilePhoneNumber;
    QString emailAddress;
    bool emailVerified = false;
    bool mobilePhoneVerified = false;
    QString securityQuestion;
    QString securityQuestionId;
    QString securityAnswer; ///< a secret: keep it out of logs
    QDate dateOfBirth;      ///< null when not known
    QString firstName;
    QString lastName;
    QString language; ///< the service's code text, for instance "en"
    QString country;  ///< ISO 3166-1, for instance "FI"
    QStringList services;
    bool marketingInfo = false;
    std::shared_ptr<const LaterFields> later;
};

/// Where a service's terms are.
struct Terms
{
    /// By kind: ResultKey::serviceUrl, tosUrl, privacyPolicyUrl and serviceSpecificTosUrl, as far
    /// as the service told them.
    QMap<QString, QString> addresses;
    std::shared_ptr<const LaterFields> later;
};

/// One question to choose from.
struct SecurityQuestion
{
    QString id;
    QString text;
};

/// The questions to choose from, in the service's order.
struct SecurityQuestions
{
    QVector<SecurityQuestion> questions;
    std::shared_ptr<const LaterFields> later;
};

/// The question of a user who forgot the password.
struct RecoveryQuestion
{
    QString userId;
    QString id;
    QString text;
    std::shared_ptr<const LaterFields> later;
};

/// An account that the service holds ready for the device's SIM; empty when there is none.
struct PreAccount
{
    QString id;
    QString userName;
    QString mobilePhoneNumber;
    QLocale::Country country = QLocale::AnyCountry; ///< AnyCountry when not known
    std::shared_ptr<const LaterFields> later;
};

/// The country of the device.
struct Country
{
    QString code; ///< ISO 3166-1, two letters
    std::shared_ptr<const LaterFields> later;
};

/// How the user is to be asked for consent to marketing.
struct MarketingConsent
{
    ConsentQueryVariant variant = ConsentVariantUnknown;
    std::shared_ptr<const LaterFields> later;
};

/// Whether a registration has to solve a captcha.
struct CaptchaRequirement
{
    bool isRequired = false;
    std::shared_ptr<const LaterFields> later;
};

/// Whether the device has an account of the service, enabled or not.
struct DeviceAccountState
{
    bool isConfigured = false;
    std::shared_ptr<const LaterFields> later;
};

/// The servers of the service.
enum class Server : int {
    TestA = 0,
    TestB = 1,
    Production = 2,
    Staging = 3,
    TestC = 4,
    TestD = 5,
};

enum class TermsFormat : int { Text = 0, Html = 1 };

/// Whether a set-up makes an account on the device, or leaves it at stored credentials.
enum class DeviceAccount : int { Leave = 0, Create = 1 };

/// How a user who forgot the password is helped.
enum class RecoveryBy : int {
    Token = 0,   ///< the plain recovery token
    Message = 1, ///< a message with a text
};

/// What a user fills in to register. The e-mail address or else the user name and the mobile
/// number, and the password have to be given; the captcha's text and id where one is required.
struct Registration
{
    QString userName;
    QString password;
    QString emailAddress;
    QString mobilePhoneNumber;
    QString captchaText;
    QString captchaId; ///< Captcha::id; empty means the one fetched last by this client
    QString firstName;
    QString lastName;
    QDate dateOfBirth;
    QString language; ///< two-letter code (ISO 639-1)
    QString country;  ///< two-letter code (ISO 3166-1)
    QString securityQuestionId;
    QString securityAnswer;
    bool marketingInfo = false; ///< consent on both of the channels below
    bool marketingInfoOnMobile = false;
    bool marketingInfoOnEmail = false;
};

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::Failure)
