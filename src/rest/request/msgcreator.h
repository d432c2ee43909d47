// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/contactsinfo.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfo.h"
#include "rest/records/registrationinfodata.h"

#include <QByteArray>
#include <QString>

namespace KelRestHandler {

/// The documents that the operations send. Stateless.
///
/// Each function returns one complete document without white space between its elements. Element
/// names, their order and which of them may be missing are the contract with the service. Values
/// are escaped (see appendEscaped); passwords travel as Base64 of their UTF-8 bytes.
class MsgCreator
{
public:
    /// Sign-in: a digest over a fresh nonce, `created` and the password stands for the password.
    static QString xmlTokenCreation(const QString& userName, const QString& password,
                                    const QString& created);

    static QString xmlCaptchaCreation(int width, int height);

    static QString xmlDetectPreAccount(const QString& imei, const QString& mcc, const QString& mnc,
                                       const QByteArray& hashedMsin);

    /// The first argument is not written. The hashed MSIN is, without a further encoding: callers
    /// pass it printable.
    static QString xmlConsentQueryVariant(const QString& unused, const QString& imei,
                                          const QString& mcc, const QString& mnc,
                                          const QByteArray& hashedMsin);

    static QString xmlUpdateDeviceInfo(const QString& preAccountId, const QString& imei,
                                       const QString& mcc, const QString& mnc,
                                       const QByteArray& hashedMsin);

    /// Null for an empty address: there is nothing to ask then.
    static QString xmlEmailAvailability(const QString& emailAddress, const QByteArray& serviceTag);

    static QString xmlRegistration(const RegistrationInfoData& registration,
                                   const QString& captchaId, const QByteArray& serviceTag);

    static QString xmlPreRegistration(const QString& imei, const QString& mcc, const QString& mnc,
                                      const QByteArray& hashedMsin, const QString& captchaId,
                                      const RegistrationInfoData& registration,
                                      const QByteArray& serviceTag);

    static QString xmlUpdateProfile(const ProfileInfo& profile);
    static QString xmlUpdateSecurityQuestion(const ProfileInfo& profile);
    static QString xmlUpdateUserName(const QString& newUserName);

    /// Empty for an empty password.
    static QString xmlChangePassword(const QString& newPassword);

    /// For a user who answered the security question instead of signing in.
    static QString xmlChangePasswordRequest(const QString& securityToken,
                                            const QString& newPassword,
                                            const QString& securityAnswer);

    static QString xmlSimpleResetMessage(const QString& captchaId, const QString& imageText,
                                         bool sendMessage, const QString& messageBody,
                                         const QString& returnUrl, const QByteArray& serviceTag);

    /// Whether a contact is verified is the service's knowledge and is not sent.
    static QString xmlContactsInfoUpdate(const ContactsInfo& contacts);

    static QString xmlUpdateMarketingConsent(const MarketingConsentInfo& consent);
    static QString xmlTermsAcceptance(const TermsAcceptanceData& acceptance);

    /// The address with its domain in ASCII-compatible form (RFC 3490); the local part stays as it
    /// is, and so does everything that is not an address with a domain of two characters or more.
    /// A domain that has no ASCII form, or is far longer than a domain can be, leaves the local
    /// part and its at-sign alone.
    static QString getAsPunycode(const QString& address);

    /// Captcha answer, or else service tag. The answer wins, since it is what the user just gave.
    static void fillCaptchaOrServiceTagInfo(QString& xml, const RegistrationInfoData& registration,
                                            const QString& captchaId, const QByteArray& serviceTag);
    static void fillUserInfoForRegistration(QString& xml, const RegistrationInfoData& registration);
    static void fillMarketingUpdateInfo(QString& xml, const RegistrationInfoData& registration);
};

} // namespace KelRestHandler
