// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/readers.h"

#include "rest/reply/msgparser.h"
#include "support/literals.h"

#include <kelaccount/errorstatus.h>

namespace readers {

QString line(const char* field, const QString& value)
{
    return QLatin1String(field) + QLatin1Char(':') +
           (value.isEmpty() ? QString() : QLatin1Char(' ') + value);
}

QString yesNo(bool value)
{
    return value ? "yes"_s : "no"_s;
}

QString timeText(const QDateTime& time)
{
    return time.isValid() ? time.toString(Qt::ISODateWithMs) : QString();
}

QStringList tokenLines(const TokenInfoData& token)
{
    return {line("token", token.token),
            line("token secret", token.tokenSecret),
            line("ttl", QString::number(token.ttl)),
            line("level", token.level),
            line("expires", timeText(token.expires)),
            line("time", timeText(token.time))};
}

QStringList accountLines(const AccountInfoFields& account)
{
    return {line("account id", account.accountId), line("mobile", account.mobile),
            line("e-mail", account.email), line("e-mail verified", yesNo(account.emailVerified)),
            line("mobile verified", yesNo(account.mobileVerified))};
}

QStringList termsLines(const TermsInfoData& terms)
{
    return {line("terms present", yesNo(terms.present)), line("terms", yesNo(terms.hasAcceptedTos)),
            line("privacy policy", yesNo(terms.hasAcceptedPrivacyPolicy)),
            line("service terms", yesNo(terms.hasAcceptedServiceSpecificTos))};
}

QStringList readToken(const QDomNode& node)
{
    QString userName;
    TokenInfoData token;
    AccountInfoData account;
    TermsInfoData terms;
    MsgParser::parseTokenResponseInfoNode(userName, token, account, terms, node);
    return QStringList(line("user name", userName)) + tokenLines(token) + accountLines(account) +
           termsLines(terms);
}

QStringList readRegistration(const QDomNode& node)
{
    QString userName;
    TokenInfoData token;
    AccountInfoData account;
    MsgParser::parseRegistrationResponseInfoNode(userName, account, token, node);
    return QStringList(line("user name", userName)) + tokenLines(token) + accountLines(account);
}

QStringList profileLines(const QString& userName, const ProfileInfoData& profile)
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

QStringList readDownloadedProfile(const QDomNode& node)
{
    QString userName;
    ProfileInfoData profile;
    MsgParser::parseProfileQueryResponseNode(userName, profile, node);
    return profileLines(userName, profile);
}

QStringList readUpdatedProfile(const QDomNode& node)
{
    QString userName;
    ProfileInfoData profile;
    MsgParser::parseProfileUpdateResponseNode(userName, profile, node);
    return profileLines(userName, profile);
}

QStringList readCaptcha(const QDomNode& node)
{
    QString captchaId;
    QString imageType;
    QByteArray image;
    MsgParser::parseCaptchaCreationResponse(captchaId, imageType, image, node);
    return {line("captcha id", captchaId), line("image type", imageType),
            line("image", QString::fromLatin1(image.toHex()))};
}

QStringList questionsLines(const QVariantMap& questions)
{
    QStringList lines;
    for (auto question = questions.cbegin(); question != questions.cend(); ++question)
        lines.append(line(qPrintable(question.key()), question->toString()));
    return lines;
}

QStringList questionLines(const SecurityQuestionData& question)
{
    return {line("user name", question.username), line("question id", question.passwordQuestionId),
            line("question", question.passwordQuestionText)};
}

QStringList serviceLines(const QVariantMap& given)
{
    QVariantMap service = given;
    const QVariantMap extensions = service.take("extensions"_s).toMap();
    for (auto extension = extensions.cbegin(); extension != extensions.cend(); ++extension)
        service.insert(QLatin1String("extensions/") + extension.key(), *extension);
    QStringList lines;
    for (auto entry = service.cbegin(); entry != service.cend(); ++entry)
        lines.append(line(qPrintable(entry.key()), QString(QLatin1String(entry->typeName()) +
                                                           QLatin1Char(' ') + entry->toString())
                                                       .trimmed()));
    return lines;
}

QStringList preAccountLines(const PreAccountInfo& account)
{
    return {line("pre-account id", account.preAccountId), line("user name", account.username),
            line("mobile", account.mobile),
            line("country", QLocale::countryToString(account.country))};
}

QStringList answerTermsLines(const TermsAcceptanceData& terms)
{
    return {line("terms", yesNo(terms.hasAcceptedTos)),
            line("service terms", yesNo(terms.hasAcceptedServiceSpecificTos)),
            line("privacy policy", yesNo(terms.hasAcceptedPrivacyPolicy))};
}

QStringList variantLines(const ConsentQueryVariant& variant)
{
    return {line("variant", QString::number(variant))};
}

QStringList captchaLines(const QString& captchaId, const QSize& picture)
{
    const QString size = "%1 by %2"_s.arg(picture.width()).arg(picture.height());
    return {line("captcha id", captchaId), line("picture", size)};
}

static QStringList suggestionLines(const QStringList& suggestions)
{
    return suggestions;
}

static QStringList guardianLines(const QString& token)
{
    return {line("token", token)};
}

static QStringList consentLines(const MarketingConsentInfo& consent)
{
    return {line("e-mail", yesNo(consent.email)), line("mobile", yesNo(consent.mobile))};
}

static QStringList contactsLines(const ContactsInfo& contacts)
{
    QStringList lines;
    const auto add = [&](const char* kind, const QList<Contact>& list) {
        const auto format = "%1, preferred %2, verified %3"_s;
        for (const Contact& contact : list)
            lines.append(line(kind, format.arg(contact.value, yesNo(contact.preferred),
                                               yesNo(contact.verified))));
    };
    add("mobile", contacts.mobileContacts);
    add("e-mail", contacts.emailContacts);
    return lines;
}

/// For what is read into one record.
template <class Record, void (*parse)(Record&, const QDomNode&),
          QStringList (*lines)(const Record&)>
QStringList read(const QDomNode& node)
{
    Record record{};
    parse(record, node);
    return lines(record);
}

QStringList readError(const QDomNode& node)
{
    RequestInfoData info;
    info.statusCode = KelAccount::ErrorUndefined;
    MsgParser::parseErrorxml(info, node);
    return {line("status", QString::number(info.statusCode)), line("text", info.errorText)};
}

/// By the operation's folder in data/.
const QMap<QString, QStringList (*)(const QDomNode&)>& all()
{
    using P = MsgParser;
    static const QMap<QString, QStringList (*)(const QDomNode&)> readers = {
        {"captcha"_s, readCaptcha},
        {"consentvariant"_s,
         read<ConsentQueryVariant, &P::parseConsentQueryVariantResponseNode, &variantLines>},
        {"contactsupdate"_s,
         read<ContactsInfo, &P::parseContactInfoUpdateResponse, &contactsLines>},
        {"error"_s, readError},
        {"guardiantoken"_s, read<QString, &P::parseGuardianTokenResponse, &guardianLines>},
        {"marketingconsent"_s,
         read<MarketingConsentInfo, &P::parseMarketingConsentResponse, &consentLines>},
        {"phoneactivation"_s, readRegistration},
        {"preaccount"_s, read<PreAccountInfo, &P::parseDetectPreAccount, &preAccountLines>},
        {"profiledownload"_s, readDownloadedProfile},
        {"registration"_s, readRegistration},
        {"securityquestion"_s,
         read<SecurityQuestionData, &P::parseSecurityQuestionResponse, &questionLines>},
        {"securityquestions"_s,
         read<QVariantMap, &P::parseSecurityQuestionsResponse, &questionsLines>},
        {"signin"_s, readToken},
        {"termsacceptance"_s, read<TermsInfoData, &P::parseTermsInfoNode, &termsLines>},
        {"termsurls"_s, read<QVariantMap, &P::parseServiceQueryResponse, &serviceLines>},
        {"tokenrefresh"_s, readToken},
        {"usernameavailability"_s,
         read<QStringList, &P::parseUserNameSuggestionsResponseNode, &suggestionLines>},
        {"usernameupdate"_s, readUpdatedProfile},
    };
    return readers;
}

} // namespace readers
