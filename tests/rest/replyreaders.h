// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/reply/msgparser.h"

#include <kelaccount/errorstatus.h>

#include <QMap>

/// Says what a parse function reads out of a response element, one field per line; the form of the
/// .expect files in data/.
namespace replyreaders {

using namespace KelRestHandler;

inline QString line(const char* field, const QString& value)
{
    return QLatin1String(field) + QLatin1Char(':') +
           (value.isEmpty() ? QString() : QLatin1Char(' ') + value);
}

inline QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

inline QString timeText(const QDateTime& time)
{
    return time.isValid() ? time.toString(Qt::ISODateWithMs) : QString();
}

inline QStringList tokenLines(const TokenInfoData& token)
{
    return {line("token", token.token),
            line("token secret", token.tokenSecret),
            line("ttl", QString::number(token.ttl)),
            line("level", token.level),
            line("expires", timeText(token.expires)),
            line("time", timeText(token.time))};
}

inline QStringList accountLines(const AccountInfoFields& account)
{
    return {line("account id", account.accountId), line("mobile", account.mobile),
            line("e-mail", account.email), line("e-mail verified", yesNo(account.emailVerified)),
            line("mobile verified", yesNo(account.mobileVerified))};
}

inline QStringList termsLines(const TermsInfoData& terms)
{
    return {line("terms present", yesNo(terms.present)), line("terms", yesNo(terms.hasAcceptedTos)),
            line("privacy policy", yesNo(terms.hasAcceptedPrivacyPolicy)),
            line("service terms", yesNo(terms.hasAcceptedServiceSpecificTos))};
}

inline QStringList readToken(const QDomNode& node)
{
    QString userName;
    TokenInfoData token;
    AccountInfoData account;
    TermsInfoData terms;
    MsgParser::parseTokenResponseInfoNode(userName, token, account, terms, node);
    return QStringList(line("user name", userName)) + tokenLines(token) + accountLines(account) +
           termsLines(terms);
}

inline QStringList readRegistration(const QDomNode& node)
{
    QString userName;
    TokenInfoData token;
    AccountInfoData account;
    MsgParser::parseRegistrationResponseInfoNode(userName, account, token, node);
    return QStringList(line("user name", userName)) + tokenLines(token) + accountLines(account);
}

inline QStringList profileLines(const QString& userName, const ProfileInfoData& profile)
{
    return QStringList{line("user name", userName), line("record's user name", profile.userName)} +
           accountLines(profile.account) +
           QStringList{
               line("question", profile.securityQuestion),
               line("question id", profile.securityQuestionId),
               line("answer", profile.securityAnswer),
               line("language", profile.languageAsString + QLatin1String(", ") +
                                    QLocale::languageToString(profile.language)),
               line("country", profile.countryAsString + QLatin1String(", ") +
                                   QLocale::countryToString(profile.country)),
               line("born", profile.dateOfBirth.toString(Qt::ISODate)),
               line("first name", profile.firstName),
               line("last name", profile.lastName),
               line("gender", QString::number(profile.gender)),
               line("services", profile.services.join(QLatin1String(", "))),
           };
}

inline QStringList readDownloadedProfile(const QDomNode& node)
{
    QString userName;
    ProfileInfoData profile;
    MsgParser::parseProfileQueryResponseNode(userName, profile, node);
    return profileLines(userName, profile);
}

inline QStringList readUpdatedProfile(const QDomNode& node)
{
    QString userName;
    ProfileInfoData profile;
    MsgParser::parseProfileUpdateResponseNode(userName, profile, node);
    return profileLines(userName, profile);
}

inline QStringList readCaptcha(const QDomNode& node)
{
    QString captchaId;
    QString imageType;
    QByteArray image;
    MsgParser::parseCaptchaCreationResponse(captchaId, imageType, image, node);
    return {line("captcha id", captchaId), line("image type", imageType),
            line("image", QString::fromLatin1(image.toHex()))};
}

inline QStringList questionsLines(const QVariantMap& questions)
{
    QStringList lines;
    for (auto question = questions.cbegin(); question != questions.cend(); ++question)
        lines.append(line(qPrintable(question.key()), question->toString()));
    return lines;
}

inline QStringList readQuestions(const QDomNode& node)
{
    QVariantMap questions;
    MsgParser::parseSecurityQuestionsResponse(questions, node);
    return questionsLines(questions);
}

inline QStringList questionLines(const SecurityQuestionData& question)
{
    return {line("user name", question.username), line("question id", question.passwordQuestionId),
            line("question", question.passwordQuestionText)};
}

inline QStringList readQuestionOfUser(const QDomNode& node)
{
    SecurityQuestionData question;
    MsgParser::parseSecurityQuestionResponse(question, node);
    return questionLines(question);
}

inline QStringList readSuggestions(const QDomNode& node)
{
    QStringList suggestions;
    MsgParser::parseUserNameSuggestionsResponseNode(suggestions, node);
    return suggestions;
}

inline QStringList serviceLines(QVariantMap service)
{
    const QVariantMap extensions = service.take(QStringLiteral("extensions")).toMap();
    for (auto extension = extensions.cbegin(); extension != extensions.cend(); ++extension)
        service.insert(QLatin1String("extensions/") + extension.key(), *extension);
    QStringList lines;
    for (auto entry = service.cbegin(); entry != service.cend(); ++entry)
        lines.append(line(qPrintable(entry.key()), QString(QLatin1String(entry->typeName()) +
                                                           QLatin1Char(' ') + entry->toString())
                                                       .trimmed()));
    return lines;
}

inline QStringList readServiceQuery(const QDomNode& node)
{
    QVariantMap service;
    MsgParser::parseServiceQueryResponse(service, node);
    return serviceLines(service);
}

inline QStringList readTerms(const QDomNode& node)
{
    TermsInfoData terms;
    MsgParser::parseTermsInfoNode(terms, node);
    return termsLines(terms);
}

inline QStringList readGuardianToken(const QDomNode& node)
{
    QString token;
    MsgParser::parseGuardianTokenResponse(token, node);
    return {line("token", token)};
}

inline QStringList readMarketingConsent(const QDomNode& node)
{
    MarketingConsentInfo consent;
    MsgParser::parseMarketingConsentResponse(consent, node);
    return {line("e-mail", yesNo(consent.email)), line("mobile", yesNo(consent.mobile))};
}

inline QStringList readConsentVariant(const QDomNode& node)
{
    ConsentQueryVariant variant{};
    MsgParser::parseConsentQueryVariantResponseNode(variant, node);
    return {line("variant", QString::number(variant))};
}

inline QStringList preAccountLines(const PreAccountInfo& account)
{
    return {line("pre-account id", account.preAccountId), line("user name", account.username),
            line("mobile", account.mobile),
            line("country", QLocale::countryToString(account.country))};
}

inline QStringList readPreAccount(const QDomNode& node)
{
    PreAccountInfo account;
    MsgParser::parseDetectPreAccount(account, node);
    return preAccountLines(account);
}

inline QStringList readContacts(const QDomNode& node)
{
    ContactsInfo contacts;
    MsgParser::parseContactInfoUpdateResponse(contacts, node);
    QStringList lines;
    const auto add = [&](const char* kind, const QList<Contact>& list) {
        for (const Contact& contact : list) {
            lines.append(line(
                kind, QStringLiteral("%1, preferred %2, verified %3")
                          .arg(contact.value, yesNo(contact.preferred), yesNo(contact.verified))));
        }
    };
    add("mobile", contacts.mobileContacts);
    add("e-mail", contacts.emailContacts);
    return lines;
}

inline QStringList readError(const QDomNode& node)
{
    RequestInfoData info;
    info.statusCode = KelAccount::ErrorUndefined;
    MsgParser::parseErrorxml(info, node);
    return {line("status", QString::number(info.statusCode)), line("text", info.errorText)};
}

/// By the operation's folder in data/.
inline const QMap<QString, QStringList (*)(const QDomNode&)>& all()
{
    static const QMap<QString, QStringList (*)(const QDomNode&)> readers = {
        {QStringLiteral("captcha"), readCaptcha},
        {QStringLiteral("consentvariant"), readConsentVariant},
        {QStringLiteral("contactsupdate"), readContacts},
        {QStringLiteral("error"), readError},
        {QStringLiteral("guardiantoken"), readGuardianToken},
        {QStringLiteral("marketingconsent"), readMarketingConsent},
        {QStringLiteral("phoneactivation"), readRegistration},
        {QStringLiteral("preaccount"), readPreAccount},
        {QStringLiteral("profiledownload"), readDownloadedProfile},
        {QStringLiteral("registration"), readRegistration},
        {QStringLiteral("securityquestion"), readQuestionOfUser},
        {QStringLiteral("securityquestions"), readQuestions},
        {QStringLiteral("signin"), readToken},
        {QStringLiteral("termsacceptance"), readTerms},
        {QStringLiteral("termsurls"), readServiceQuery},
        {QStringLiteral("tokenrefresh"), readToken},
        {QStringLiteral("usernameavailability"), readSuggestions},
        {QStringLiteral("usernameupdate"), readUpdatedProfile},
    };
    return readers;
}

} // namespace replyreaders
