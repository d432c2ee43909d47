// SPDX-License-Identifier: LGPL-2.1-or-later
// A reply of the service, classified and then read by every parse function there is.
#include "fuzztarget.h"

#include "rest/reply/msgparser.h"
#include "rest/reply/receivedreply.h"
#include "rest/reply/replydocument.h"

#include <algorithm>

namespace KelFuzz::Reply {

namespace {

using namespace KelRestHandler;

// Not recursive, since how deep it can get is what is asked.
int depthBelow(const QDomNode& root)
{
    int depth = 1;
    int deepest = 1;
    for (QDomNode node = root.firstChild(); !node.isNull();) {
        deepest = std::max(deepest, depth + (node.isElement() ? 1 : 0));
        if (!node.firstChild().isNull()) {
            node = node.firstChild();
            ++depth;
            continue;
        }
        while (node.nextSibling().isNull() && depth > 1) {
            node = node.parentNode();
            --depth;
        }
        node = node.nextSibling();
    }
    return deepest;
}

void readTokensAndTerms(const QDomNode& node)
{
    QString userName;
    TokenInfoData token;
    AccountInfoData account;
    TermsInfoData terms;
    MsgParser::parseTokenResponseInfoNode(userName, token, account, terms, node);
    MsgParser::parseRegistrationResponseInfoNode(userName, account, token, node);
    MsgParser::parseTokenInfoNode(token, node);
    MsgParser::parseConditionsNode(token, node);
    MsgParser::parseAuthNode(token, node);
    MsgParser::parseUserInfoNode(userName, account, node);
    MsgParser::parseTermsInfoNode(terms, node);
    require(!token.time.isValid() || token.time.timeSpec() == Qt::UTC);
}

void readProfiles(const QDomNode& node)
{
    QString userName;
    ProfileInfoData profile;
    MsgParser::parseProfileQueryResponseNode(userName, profile, node);
    MsgParser::parseProfileUpdateResponseNode(userName, profile, node);
    MsgParser::parseProfileNode(userName, profile, node);
    MsgParser::parseServicesNode(profile, node);
    require(profile.userName == userName);

    // What the service sends can be handed on as a serialised record.
    QByteArray bytes;
    profile.serialize(bytes);
    const ProfileInfoData copy(bytes);
    require(copy.services == profile.services);
    require(copy.countryAsString == profile.countryAsString);
    require(copy.dateOfBirth == profile.dateOfBirth);
}

void readTheRest(const QDomNode& node)
{
    QString one;
    QString other;
    QByteArray image;
    MsgParser::parseCaptchaCreationResponse(one, other, image, node);
    QVariantMap map;
    MsgParser::parseSecurityQuestionsResponse(map, node);
    MsgParser::parseServiceQueryResponse(map, node);
    SecurityQuestionData question;
    MsgParser::parseSecurityQuestionResponse(question, node);
    QStringList suggestions;
    MsgParser::parseUserNameSuggestionsResponseNode(suggestions, node);
    MsgParser::parseGuardianTokenResponse(one, node);
    MarketingConsentInfo consent;
    MsgParser::parseMarketingConsentResponse(consent, node);
    ConsentQueryVariant variant{};
    MsgParser::parseConsentQueryVariantResponseNode(variant, node);
    require(variant >= 0 && variant <= 4);
    PreAccountInfo account;
    MsgParser::parseDetectPreAccount(account, node);
    require(account.country >= 0 && account.country <= QLocale::LastCountry);
    ContactsInfo contacts;
    MsgParser::parseContactInfoUpdateResponse(contacts, node);
    MsgParser::parseContactNode(contacts, node);
    Contact contact;
    MsgParser::parseMobileNumberOrEmailAddress(contact, node);
}

void readErrors(RequestInfoData info, const QDomNode& node)
{
    MsgParser::parseErrorxml(info, node);
    MsgParser::parseErrorSubNode(info, node);
    MsgParser::parseDetailedErrorCode(info, node);
    require(info.statusCode >= 500 && info.statusCode <= 1005);
}

void run(const uint8_t* data, size_t size)
{
    const QString xml = QString::fromUtf8(bytesOf(data, size));
    RequestInfoData info;
    info.statusCode = 1005;
    const QDomNode root = MsgParser::processXml(info, xml);

    // What the transport lets through as a document is what is read.
    const ReceivedReply received = receivedReply(QNetworkReply::NoError, 302, xml);
    const QString document = documentIn(xml).toString();
    RequestInfoData ignored;
    require((received.error == QNetworkReply::NoError) ==
            (!document.isNull() && !MsgParser::processXml(ignored, document).isNull()));
    require(isWithinReplyBounds(xml) || root.isNull());

    require(info.statusCode == 1005 || info.statusCode == 1004);
    if (root.isNull()) {
        require(info.statusCode == 1005);
        return;
    }
    require(root.isElement());
    require(depthBelow(root) <= ReplyBounds::depth);
    require((info.statusCode == 1004) ==
            (xml.contains(QLatin1String("Error")) || xml.contains(QLatin1String("error"))));
    readTokensAndTerms(root);
    readProfiles(root);
    readTheRest(root);
    readErrors(info, root);
}

} // namespace

} // namespace KelFuzz::Reply

KEL_FUZZ_TARGET(reply, KelFuzz::Reply::run)
