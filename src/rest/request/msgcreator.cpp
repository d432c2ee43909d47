// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/msgcreator.h"

#include "common/logging.h"
#include "common/wipe.h"
#include "device/localeutils.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/wiretime.h"
#include "rest/request/xmltext.h"

#include <QUrl>

#include <algorithm>

namespace KelRestHandler {

namespace {

// Room for a full registration, so that a document grows in one piece.
constexpr int usualDocumentLength = 2048;

QString startDocument(const char* root)
{
    QString xml;
    xml.reserve(usualDocumentLength);
    xml += QLatin1String(R"(<?xml version="1.0" encoding="UTF-8"?><)");
    xml += QLatin1String(root);
    xml += QLatin1String(" xmlns=\"");
    xml += QLatin1String(RestSchemaNamespace);
    xml += QLatin1String("\">");
    return xml;
}

/// As base64 of its UTF-8, leaving none of the forms on the way behind.
void appendPassword(QString& xml, const char* name, const QString& password)
{
    QByteArray utf8 = password.toUtf8();
    QByteArray base64 = utf8.toBase64();
    QString value = QString::fromLatin1(base64);
    appendElement(xml, name, value);
    KelAccount::wipe(utf8);
    KelAccount::wipe(base64);
    KelAccount::wipe(value);
}

void appendDeviceInfo(QString& xml, const QString& imei, const QString& mcc, const QString& mnc,
                      const QByteArray& writtenMsin)
{
    appendElement(xml, "mobilePhoneSerialNumber", imei);
    appendElement(xml, "mcc", mcc);
    appendElement(xml, "mnc", mnc);
    appendElement(xml, "hashedMSIN", QString::fromLatin1(writtenMsin));
}

void appendLanguage(QString& xml, const QString& code, QLocale::Language language)
{
    if (!code.isEmpty())
        appendElement(xml, "language", code);
    else if (language != QLocale::C)
        appendElement(xml, "language", LocaleUtils::languageToCode(language));
}

QString genderText(Gender gender)
{
    switch (gender) {
    case GenderMale:
        return QStringLiteral("male");
    case GenderFemale:
        return QStringLiteral("female");
    case GenderNotGiven:
        break;
    }
    return QStringLiteral("unknown");
}

void appendContacts(QString& xml, const QList<Contact>& contacts, const char* list,
                    const char* entry, const char* value)
{
    appendStartTag(xml, list);
    for (const Contact& contact : contacts) {
        appendStartTag(xml, entry);
        appendElement(xml, value, contact.value);
        appendElement(xml, "preferred", contact.preferred);
        appendEndTag(xml, entry);
    }
    appendEndTag(xml, list);
}

} // namespace

QString MsgCreator::xmlTokenCreation(const QString& userName, const QString& password,
                                     const QString& created)
{
    const QString nonce = CryptographicUtils::getNOnce();
    const QString digest = CryptographicUtils::getDigest(password, created, nonce);

    QString xml = startDocument("tokenCreationRequest");
    appendStartTag(xml, "digestAuth");
    appendElement(xml, "username", getAsPunycode(userName));
    appendElement(xml, "nonce", nonce);
    appendElement(xml, "created", created);
    appendElement(xml, "digest", digest);
    appendEndTag(xml, "digestAuth");
    appendElement(xml, "checkTerms", true);
    appendEndTag(xml, "tokenCreationRequest");
    return xml;
}

QString MsgCreator::xmlCaptchaCreation(int width, int height)
{
    QString xml = startDocument("captchaCreationRequest");
    appendElement(xml, "width", QString::number(width));
    appendElement(xml, "height", QString::number(height));
    appendEndTag(xml, "captchaCreationRequest");
    return xml;
}

QString MsgCreator::xmlDetectPreAccount(const QString& imei, const QString& mcc, const QString& mnc,
                                        const QByteArray& hashedMsin)
{
    QString xml = startDocument("autoDetectionRequest");
    appendDeviceInfo(xml, imei, mcc, mnc, hashedMsin.toBase64());
    appendEndTag(xml, "autoDetectionRequest");
    return xml;
}

QString MsgCreator::xmlConsentQueryVariant(const QString& unused, const QString& imei,
                                           const QString& mcc, const QString& mnc,
                                           const QByteArray& hashedMsin)
{
    Q_UNUSED(unused)
    QString xml = startDocument("consentQueryVariantRequest");
    appendDeviceInfo(xml, imei, mcc, mnc, hashedMsin);
    appendEndTag(xml, "consentQueryVariantRequest");
    return xml;
}

QString MsgCreator::xmlUpdateDeviceInfo(const QString& preAccountId, const QString& imei,
                                        const QString& mcc, const QString& mnc,
                                        const QByteArray& hashedMsin)
{
    QString xml = startDocument("devicesUpdateRequest");
    appendIfNonEmpty(xml, "preAccountId", preAccountId);
    appendStartTag(xml, "deviceInformation");
    appendDeviceInfo(xml, imei, mcc, mnc, hashedMsin.toBase64());
    appendEndTag(xml, "deviceInformation");
    appendEndTag(xml, "devicesUpdateRequest");
    return xml;
}

QString MsgCreator::xmlEmailAvailability(const QString& emailAddress, const QByteArray& serviceTag)
{
    if (emailAddress.isEmpty()) {
        qCCritical(logRest, "Email Id is empty - Cannot query for Email Availability");
        return {};
    }
    QString xml = startDocument("emailAvailabilityRequest");
    appendElement(xml, "email", getAsPunycode(emailAddress));
    if (serviceTag.isEmpty())
        qCCritical(logRest, "serviceTag should be present for Email Availability Check use case");
    appendElement(xml, "serviceTag", QString::fromLatin1(serviceTag));
    appendEndTag(xml, "emailAvailabilityRequest");
    return xml;
}

QString MsgCreator::xmlRegistration(const RegistrationInfoData& registration,
                                    const QString& captchaId, const QByteArray& serviceTag)
{
    QString xml = startDocument("registrationRequest");
    fillCaptchaOrServiceTagInfo(xml, registration, captchaId, serviceTag);
    fillUserInfoForRegistration(xml, registration);
    fillMarketingUpdateInfo(xml, registration);
    appendEndTag(xml, "registrationRequest");
    return xml;
}

QString MsgCreator::xmlPreRegistration(const QString& imei, const QString& mcc, const QString& mnc,
                                       const QByteArray& hashedMsin, const QString& captchaId,
                                       const RegistrationInfoData& registration,
                                       const QByteArray& serviceTag)
{
    QString xml = startDocument("phoneActivationRegistrationRequest");
    fillCaptchaOrServiceTagInfo(xml, registration, captchaId, serviceTag);
    appendDeviceInfo(xml, imei, mcc, mnc, hashedMsin.toBase64());
    fillUserInfoForRegistration(xml, registration);
    fillMarketingUpdateInfo(xml, registration);
    appendEndTag(xml, "phoneActivationRegistrationRequest");
    return xml;
}

QString MsgCreator::xmlUpdateProfile(const ProfileInfo& profile)
{
    QString xml = startDocument("profileUpdateRequest");
    appendStartTag(xml, "userData");
    appendElement(xml, "mobile", profile.mobilePhoneNumber());
    // The service converts the domain of a profile's address itself.
    appendElement(xml, "email", profile.emailAddress());
    appendLanguage(xml, profile.languageAsString(), profile.language());
    if (!profile.countryAsString().isEmpty())
        appendElement(xml, "country", profile.countryAsString());
    else if (profile.country() != QLocale::AnyCountry)
        appendElement(xml, "country", LocaleUtils::countryToCode(profile.country()));
    appendIfNonEmpty(xml, "dateOfBirth", wireDate(profile.dateOfBirth()));
    appendElement(xml, "firstName", profile.firstName());
    appendElement(xml, "lastName", profile.lastName());
    if (profile.gender() != GenderNotGiven)
        appendElement(xml, "gender", genderText(profile.gender()));
    appendEndTag(xml, "userData");
    appendEndTag(xml, "profileUpdateRequest");
    return xml;
}

QString MsgCreator::xmlUpdateSecurityQuestion(const ProfileInfo& profile)
{
    QString xml = startDocument("profileUpdateRequest");
    appendStartTag(xml, "userData");
    appendIfNonEmpty(xml, "passwordQuestion", profile.securityQuestionId());
    appendIfNonEmpty(xml, "passwordAnswer", profile.securityAnswer());
    appendEndTag(xml, "userData");
    appendEndTag(xml, "profileUpdateRequest");
    return xml;
}

QString MsgCreator::xmlUpdateUserName(const QString& newUserName)
{
    QString xml = startDocument("profileUpdateRequest");
    appendElement(xml, "username", newUserName);
    // The service wants the element although there is nothing to say in it.
    appendElement(xml, "userData", QString());
    appendEndTag(xml, "profileUpdateRequest");
    return xml;
}

QString MsgCreator::xmlChangePassword(const QString& newPassword)
{
    if (newPassword.isEmpty())
        return {};
    QString xml = startDocument("profileUpdateRequest");
    appendStartTag(xml, "userData");
    appendPassword(xml, "password", newPassword);
    appendEndTag(xml, "userData");
    appendEndTag(xml, "profileUpdateRequest");
    return xml;
}

QString MsgCreator::xmlChangePasswordRequest(const QString& securityToken,
                                             const QString& newPassword,
                                             const QString& securityAnswer)
{
    QString xml = startDocument("simplifiedChangePasswordRequest");
    appendIfNonEmpty(xml, "securityToken", securityToken);
    if (!newPassword.isEmpty())
        appendPassword(xml, "newPassword", newPassword);
    appendIfNonEmpty(xml, "passwordQuestionAnswer", securityAnswer);
    appendEndTag(xml, "simplifiedChangePasswordRequest");
    return xml;
}

QString MsgCreator::xmlSimpleResetMessage(const QString& captchaId, const QString& imageText,
                                          bool sendMessage, const QString& messageBody,
                                          const QString& returnUrl, const QByteArray& serviceTag)
{
    QString xml = startDocument("simplifiedSendRecoveryMessageRequest");
    if (!imageText.isEmpty()) {
        appendElement(xml, "captchaId", captchaId);
        appendElement(xml, "imageText", imageText);
    } else {
        appendIfNonEmpty(xml, "serviceTag", QString::fromLatin1(serviceTag));
    }
    if (!sendMessage) {
        appendElement(xml, "sendPlainToken", QString());
    } else {
        appendElement(xml, "messageBody", messageBody);
        if (!messageBody.isEmpty())
            appendIfNonEmpty(xml, "returnUrl", returnUrl);
    }
    appendEndTag(xml, "simplifiedSendRecoveryMessageRequest");
    return xml;
}

QString MsgCreator::xmlContactsInfoUpdate(const ContactsInfo& contacts)
{
    QString xml = startDocument("contactsUpdateRequest");
    appendContacts(xml, contacts.mobileContacts, "mobileContacts", "mobileContact", "mobileNumber");
    appendContacts(xml, contacts.emailContacts, "emailContacts", "emailContact", "emailAddress");
    appendEndTag(xml, "contactsUpdateRequest");
    return xml;
}

QString MsgCreator::xmlUpdateMarketingConsent(const MarketingConsentInfo& consent)
{
    QString xml = startDocument("marketingConsentUpdateRequest");
    appendStartTag(xml, "marketingConsent");
    appendElement(xml, "email", consent.email);
    appendElement(xml, "mobile", consent.mobile);
    appendEndTag(xml, "marketingConsent");
    appendEndTag(xml, "marketingConsentUpdateRequest");
    return xml;
}

QString MsgCreator::xmlTermsAcceptance(const TermsAcceptanceData& acceptance)
{
    QString xml = startDocument("termsUpdateRequest");
    appendElement(xml, "hasAcceptedTos", acceptance.hasAcceptedTos);
    appendElement(xml, "hasAcceptedServiceSpecificTos", acceptance.hasAcceptedServiceSpecificTos);
    appendElement(xml, "hasAcceptedPrivacyPolicy", acceptance.hasAcceptedPrivacyPolicy);
    appendEndTag(xml, "termsUpdateRequest");
    return xml;
}

QString MsgCreator::getAsPunycode(const QString& address)
{
    const auto isNoAtSign = [](QChar character) { return character != QLatin1Char('@'); };

    const int firstAtSign = address.indexOf(QLatin1Char('@'));
    if (firstAtSign < 0)
        return address;
    const auto domain = std::find_if(address.cbegin() + firstAtSign, address.cend(), isNoAtSign);
    if (address.cend() - domain < 2)
        return address;
    // With more than one at-sign the local part reaches to the last and the domain begins after the
    // first; the service has always received such addresses so.
    const int lastAtSign = address.lastIndexOf(QLatin1Char('@'));
    if (lastAtSign == 0)
        return address;
    // A name in the DNS has 253 characters at most. The time of the conversion grows with the
    // square of the length, so that of a name which cannot exist anyway would be seconds.
    constexpr int longestDomain = 2048;
    const auto domainStart = static_cast<int>(domain - address.cbegin());
    if (address.size() - domainStart > longestDomain)
        return address.left(lastAtSign + 1);
    return address.left(lastAtSign + 1) +
           QString::fromLatin1(QUrl::toAce(address.mid(domainStart)));
}

void MsgCreator::fillCaptchaOrServiceTagInfo(QString& xml, const RegistrationInfoData& registration,
                                             const QString& captchaId, const QByteArray& serviceTag)
{
    if (!registration.captchaText.isEmpty()) {
        appendElement(xml, "captchaId", captchaId);
        appendElement(xml, "imageText", registration.captchaText);
    } else if (!serviceTag.isEmpty()) {
        appendElement(xml, "serviceTag", QString::fromLatin1(serviceTag));
    } else {
        // The spelling is the one that log readers look for.
        qCCritical(logRest, "Niether the service tag nor the captcha is present");
    }
}

void MsgCreator::fillUserInfoForRegistration(QString& xml, const RegistrationInfoData& registration)
{
    appendIfNonEmpty(xml, "username", registration.userName);
    appendStartTag(xml, "userData");
    appendIfNonEmpty(xml, "mobile", registration.mobilePhoneNumber);
    appendIfNonEmpty(xml, "email", getAsPunycode(registration.emailAddress));
    appendPassword(xml, "password", registration.password);
    appendIfNonEmpty(xml, "passwordQuestion", registration.securityQuestion);
    appendIfNonEmpty(xml, "passwordAnswer", registration.securityAnswer);
    appendLanguage(xml, registration.languageAsString, registration.language);
    // Unlike a profile update, a registration always says a country, even an empty one.
    appendElement(xml, "country",
                  registration.countryAsString.isEmpty()
                      ? LocaleUtils::countryToCode(registration.country)
                      : registration.countryAsString);
    if (!registration.dateOfBirth.isNull())
        appendElement(xml, "dateOfBirth", wireDate(registration.dateOfBirth));
    appendIfNonEmpty(xml, "firstName", registration.firstName);
    appendIfNonEmpty(xml, "lastName", registration.lastName);
    appendEndTag(xml, "userData");
}

void MsgCreator::fillMarketingUpdateInfo(QString& xml, const RegistrationInfoData& registration)
{
    appendStartTag(xml, "marketingConsent");
    appendElement(xml, "email", registration.marketingInfoOnEmail);
    appendElement(xml, "mobile", registration.marketingInfoOnMobile);
    appendElement(xml, "serviceId", QStringLiteral("OneConsent"));
    appendEndTag(xml, "marketingConsent");
}

} // namespace KelRestHandler
