// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/msgparser.h"

#include "rest/reply/elementreading.h"
#include "rest/reply/elementvalues.h"

#include <kelaccount/resultkeys.h>

#include <iterator>

// The half of the parser that fills records: a table of child elements for each of them.

namespace KelRestHandler {

using KelAccount::ResultKey;

namespace {

void parseContact(QList<Contact>& contacts, const QDomNode& node)
{
    Contact contact;
    MsgParser::parseMobileNumberOrEmailAddress(contact, node);
    contacts.append(contact);
}

// What a table with several outputs writes to.
struct TokenReply
{
    QString& userName;
    TokenInfoData& token;
    AccountInfoData& account;
};

struct UserReply
{
    QString& userName;
    AccountInfoData& account;
};

struct ProfileReply
{
    QString& userName;
    ProfileInfoData& profile;
};

struct CaptchaReply
{
    QString& captchaId;
    QString& imageType;
    QByteArray& imageData;
};

struct Question
{
    QString id;
    QString text;
};

struct QuestionList
{
    QVariantMap& questions;
    // Where the next question belongs if they come in order, which spares the map its search.
    QVariantMap::const_iterator behindLast;
    QStringList order;
};

using Node = const QDomNode&;

constexpr ChildReader<TokenReply> tokenReply[] = {
    {"tokenInfo",
     [](TokenReply& to, Node child) { MsgParser::parseTokenInfoNode(to.token, child); }},
    {"userInfo", [](TokenReply& to,
                    Node child) { MsgParser::parseUserInfoNode(to.userName, to.account, child); }},
};

// The service has used both spellings.
constexpr ChildReader<TermsInfoData> tokenReplyTerms[] = {
    {"termsInfo", MsgParser::parseTermsInfoNode},
    {"termsinfo", MsgParser::parseTermsInfoNode},
};

constexpr ChildReader<TokenInfoData> tokenInfo[] = {
    {"token", [](TokenInfoData& to, Node child) { to.token = elementText(child); }},
    {"tokenSecret", [](TokenInfoData& to, Node child) { to.tokenSecret = elementText(child); }},
    {"conditions", MsgParser::parseConditionsNode},
    {"authenticationInfo", MsgParser::parseAuthNode},
};

constexpr ChildReader<TokenInfoData> tokenConditions[] = {
    {"ttl", [](TokenInfoData& to, Node child) { to.ttl = elementText(child).toLong(); }},
    {"expires", [](TokenInfoData& to, Node child) { to.expires = elementTime(child); }},
};

constexpr ChildReader<TokenInfoData> authenticationInfo[] = {
    {"level", [](TokenInfoData& to, Node child) { to.level = elementText(child); }},
    {"time", [](TokenInfoData& to, Node child) { to.time = elementTime(child); }},
};

constexpr ChildReader<UserReply> userInfo[] = {
    {"username", [](UserReply& to, Node child) { to.userName = elementText(child); }},
    {"accountId", [](UserReply& to, Node child) { to.account.accountId = elementText(child); }},
    {"mobile", [](UserReply& to, Node child) { to.account.mobile = elementText(child); }},
    {"email", [](UserReply& to, Node child) { to.account.email = elementText(child); }},
    {"emailVerified",
     [](UserReply& to, Node child) { to.account.emailVerified = elementBool(child); }},
    {"mobileVerified",
     [](UserReply& to, Node child) { to.account.mobileVerified = elementBool(child); }},
};

constexpr ChildReader<TermsInfoData> termsInfo[] = {
    {"hasAcceptedTos",
     [](TermsInfoData& to, Node child) { to.hasAcceptedTos = elementBool(child); }},
    {"hasAcceptedPrivacyPolicy",
     [](TermsInfoData& to, Node child) { to.hasAcceptedPrivacyPolicy = elementBool(child); }},
    {"hasAcceptedServiceSpecificTos",
     [](TermsInfoData& to, Node child) { to.hasAcceptedServiceSpecificTos = elementBool(child); }},
};

constexpr ChildReader<ProfileReply> profileQueryReply[] = {
    {"profile", [](ProfileReply& to,
                   Node child) { MsgParser::parseProfileNode(to.userName, to.profile, child); }},
    {"services",
     [](ProfileReply& to, Node child) { MsgParser::parseServicesNode(to.profile, child); }},
};

constexpr ChildReader<ProfileReply> profileUpdateReply[] = {
    {"userProfile",
     [](ProfileReply& to, Node child) {
         MsgParser::parseProfileNode(to.userName, to.profile, child);
     }},
};

constexpr ChildReader<ProfileReply> profileElements[] = {
    {"username",
     [](ProfileReply& to, Node child) {
         to.userName = elementText(child);
         to.profile.userName = to.userName;
     }},
    {"accountId",
     [](ProfileReply& to, Node child) { to.profile.account.accountId = elementText(child); }},
    {"mobile",
     [](ProfileReply& to, Node child) { to.profile.account.mobile = elementText(child); }},
    {"email", [](ProfileReply& to, Node child) { to.profile.account.email = elementText(child); }},
    {"mobileVerified",
     [](ProfileReply& to, Node child) { to.profile.account.mobileVerified = elementBool(child); }},
    {"emailVerified",
     [](ProfileReply& to, Node child) { to.profile.account.emailVerified = elementBool(child); }},
    {"passwordQuestion",
     [](ProfileReply& to, Node child) { to.profile.securityQuestionId = elementText(child); }},
    {"language",
     [](ProfileReply& to, Node child) {
         to.profile.languageAsString = elementText(child);
         to.profile.language = languageOf(to.profile.languageAsString);
     }},
    {"country",
     [](ProfileReply& to, Node child) {
         to.profile.countryAsString = elementText(child);
         to.profile.country = countryOf(to.profile.countryAsString);
     }},
    {"dateOfBirth",
     [](ProfileReply& to, Node child) { to.profile.dateOfBirth = elementDate(child); }},
    {"firstName", [](ProfileReply& to, Node child) { to.profile.firstName = elementText(child); }},
    {"lastName", [](ProfileReply& to, Node child) { to.profile.lastName = elementText(child); }},
    {"gender",
     [](ProfileReply& to, Node child) { setGender(to.profile.gender, elementText(child)); }},
};

constexpr ChildReader<ProfileInfoData> serviceNames[] = {
    {"service", [](ProfileInfoData& to, Node child) { to.services.append(elementText(child)); }},
};

constexpr ChildReader<CaptchaReply> captcha[] = {
    {"captchaId", [](CaptchaReply& to, Node child) { to.captchaId = elementText(child); }},
    {"imageType", [](CaptchaReply& to, Node child) { to.imageType = elementText(child); }},
    {"imageData",
     [](CaptchaReply& to, Node child) {
         to.imageData = QByteArray::fromBase64(elementText(child).toLatin1());
     }},
};

constexpr ChildReader<Question> oneQuestion[] = {
    {"securityQuestionId", [](Question& to, Node child) { to.id = elementText(child); }},
    {"securityQuestionText", [](Question& to, Node child) { to.text = elementText(child); }},
};

constexpr ChildReader<QuestionList> questionList[] = {
    {"securityQuestion",
     [](QuestionList& to, Node child) {
         Question one;
         readChildren(child, oneQuestion, one);
         const auto inserted = to.questions.insert(to.behindLast, one.id, one.text);
         to.behindLast = std::next(inserted); // clazy:exclude=strict-iterators
         to.order.append(one.id);
     }},
};

constexpr ChildReader<SecurityQuestionData> questionOfUser[] = {
    {"username", [](SecurityQuestionData& to, Node child) { to.username = elementText(child); }},
    {"passwordQuestionId",
     [](SecurityQuestionData& to, Node child) { to.passwordQuestionId = elementText(child); }},
    {"passwordQuestionText",
     [](SecurityQuestionData& to, Node child) { to.passwordQuestionText = elementText(child); }},
};

constexpr ChildReader<QStringList> suggestionList[] = {
    {"userNameSuggestion", [](QStringList& to, Node child) { to.append(elementText(child)); }},
};

constexpr ChildReader<QStringList> suggestionLists[] = {
    {"userNameSuggestions",
     [](QStringList& to, Node child) { readChildren(child, suggestionList, to); }},
};

void insertText(QVariantMap& to, Node child)
{
    to.insert(child.nodeName(), elementText(child));
}

constexpr ChildReader<QVariantMap> serviceQuery[] = {
    {ResultKey::serviceUrl, insertText},
    {ResultKey::tosUrl, insertText},
    {ResultKey::privacyPolicyUrl, insertText},
    {ResultKey::serviceSpecificTosUrl, insertText},
    {ResultKey::emailVerified,
     [](QVariantMap& to, Node child) { to.insert(child.nodeName(), elementBool(child)); }},
    {ResultKey::extensions,
     [](QVariantMap& to, Node child) {
         QVariantMap extensions;
         forEachChild(child,
                      [&](Node extension, const QString&) { insertText(extensions, extension); });
         to.insert(child.nodeName(), extensions);
     }},
};

constexpr ChildReader<QString> guardianTokenReply[] = {
    {"guardianToken", [](QString& to, Node child) { to = elementText(child); }},
};

constexpr ChildReader<MarketingConsentInfo> consentChannels[] = {
    {"email", [](MarketingConsentInfo& to, Node child) { to.email = elementBool(child); }},
    {"mobile", [](MarketingConsentInfo& to, Node child) { to.mobile = elementBool(child); }},
};

constexpr ChildReader<MarketingConsentInfo> consentReply[] = {
    {"marketingConsent",
     [](MarketingConsentInfo& to, Node child) { readChildren(child, consentChannels, to); }},
};

struct VariantRow
{
    const char* text;
    ConsentQueryVariant variant;
};

constexpr VariantRow consentVariants[] = {
    {"implicit", KelAccount::ConsentVariantImplicit},
    {"pre-ticked", KelAccount::ConsentVariantPreTicked},
    {"un-ticked", KelAccount::ConsentVariantUnTicked},
    {"un-tickedWithCopyText", KelAccount::ConsentVariantUnTickedWithCopyText},
};

constexpr ChildReader<ConsentQueryVariant> consentVariantReply[] = {
    {"consentQueryVariant",
     [](ConsentQueryVariant& to, Node child) {
         const QString text = elementText(child);
         for (const VariantRow& row : consentVariants) {
             if (text == QLatin1String(row.text))
                 to = row.variant;
         }
     }},
};

constexpr ChildReader<PreAccountInfo> preAccount[] = {
    {"preAccountId", [](PreAccountInfo& to, Node child) { to.preAccountId = elementText(child); }},
    {"username", [](PreAccountInfo& to, Node child) { to.username = elementText(child); }},
    {"mobile", [](PreAccountInfo& to, Node child) { to.mobile = elementText(child); }},
    {"country", [](PreAccountInfo& to, Node child) { setCountry(to.country, elementText(child)); }},
};

constexpr ChildReader<ContactsInfo> contactsReply[] = {
    {"contacts", MsgParser::parseContactNode},
};

constexpr ChildReader<ContactsInfo> contactLists[] = {
    {"mobileContactOutput",
     [](ContactsInfo& to, Node child) { parseContact(to.mobileContacts, child); }},
    {"emailContactOutput",
     [](ContactsInfo& to, Node child) { parseContact(to.emailContacts, child); }},
};

constexpr ChildReader<Contact> contactElements[] = {
    {"mobileNumber", [](Contact& to, Node child) { to.value = elementText(child); }},
    {"emailAddress", [](Contact& to, Node child) { to.value = elementText(child); }},
    {"preferred", [](Contact& to, Node child) { to.preferred = elementBool(child); }},
    {"verified", [](Contact& to, Node child) { to.verified = elementBool(child); }},
};

} // namespace

void MsgParser::parseTokenResponseInfoNode(QString& userName, TokenInfoData& token,
                                           AccountInfoData& account, TermsInfoData& terms,
                                           const QDomNode& node)
{
    parseRegistrationResponseInfoNode(userName, account, token, node);
    readChildren(node, tokenReplyTerms, terms);
}

void MsgParser::parseRegistrationResponseInfoNode(QString& userName, AccountInfoData& account,
                                                  TokenInfoData& token, const QDomNode& node)
{
    TokenReply reply{userName, token, account};
    readChildren(node, tokenReply, reply);
}

void MsgParser::parseTokenInfoNode(TokenInfoData& token, const QDomNode& node)
{
    readChildren(node, tokenInfo, token);
}

void MsgParser::parseConditionsNode(TokenInfoData& token, const QDomNode& node)
{
    readChildren(node, tokenConditions, token);
}

void MsgParser::parseAuthNode(TokenInfoData& token, const QDomNode& node)
{
    readChildren(node, authenticationInfo, token);
}

void MsgParser::parseUserInfoNode(QString& userName, AccountInfoData& account, const QDomNode& node)
{
    UserReply reply{userName, account};
    readChildren(node, userInfo, reply);
}

void MsgParser::parseTermsInfoNode(TermsInfoData& terms, const QDomNode& node)
{
    if (node.isNull())
        return;
    terms.present = true;
    readChildren(node, termsInfo, terms);
}

void MsgParser::parseProfileQueryResponseNode(QString& userName, ProfileInfoData& profile,
                                              const QDomNode& node)
{
    ProfileReply reply{userName, profile};
    readChildren(node, profileQueryReply, reply);
}

void MsgParser::parseProfileUpdateResponseNode(QString& userName, ProfileInfoData& profile,
                                               const QDomNode& node)
{
    ProfileReply reply{userName, profile};
    readChildren(node, profileUpdateReply, reply);
}

void MsgParser::parseProfileNode(QString& userName, ProfileInfoData& profile, const QDomNode& node)
{
    ProfileReply reply{userName, profile};
    readChildren(node, profileElements, reply);
}

void MsgParser::parseServicesNode(ProfileInfoData& profile, const QDomNode& node)
{
    readChildren(node, serviceNames, profile);
}

void MsgParser::parseCaptchaCreationResponse(QString& captchaId, QString& imageType,
                                             QByteArray& imageData, const QDomNode& node)
{
    CaptchaReply reply{captchaId, imageType, imageData};
    readChildren(node, captcha, reply);
}

void MsgParser::parseSecurityQuestionsResponse(QVariantMap& questions, const QDomNode& node)
{
    QStringList order;
    parseOrderedSecurityQuestions(questions, order, node);
}

void MsgParser::parseOrderedSecurityQuestions(QVariantMap& questions, QStringList& order,
                                              const QDomNode& node)
{
    QuestionList list{questions, questions.cend(), {}};
    readChildren(node, questionList, list);
    order = list.order;
    order.removeDuplicates();
}

void MsgParser::parseSecurityQuestionResponse(SecurityQuestionData& question, const QDomNode& node)
{
    readChildren(node, questionOfUser, question);
}

void MsgParser::parseUserNameSuggestionsResponseNode(QStringList& suggestions, const QDomNode& node)
{
    readChildren(node, suggestionLists, suggestions);
}

void MsgParser::parseServiceQueryResponse(QVariantMap& service, const QDomNode& node)
{
    readChildren(node, serviceQuery, service);
}

void MsgParser::parseGuardianTokenResponse(QString& guardianToken, const QDomNode& node)
{
    readChildren(node, guardianTokenReply, guardianToken);
}

void MsgParser::parseMarketingConsentResponse(MarketingConsentInfo& consent, const QDomNode& node)
{
    readChildren(node, consentReply, consent);
}

void MsgParser::parseConsentQueryVariantResponseNode(ConsentQueryVariant& variant,
                                                     const QDomNode& node)
{
    readChildren(node, consentVariantReply, variant);
}

void MsgParser::parseDetectPreAccount(PreAccountInfo& account, const QDomNode& node)
{
    readChildren(node, preAccount, account);
}

void MsgParser::parseContactInfoUpdateResponse(ContactsInfo& contacts, const QDomNode& node)
{
    readChildren(node, contactsReply, contacts);
}

void MsgParser::parseContactNode(ContactsInfo& contacts, const QDomNode& node)
{
    readChildren(node, contactLists, contacts);
}

void MsgParser::parseMobileNumberOrEmailAddress(Contact& contact, const QDomNode& node)
{
    readChildren(node, contactElements, contact);
}

} // namespace KelRestHandler
