// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/accountinfodata.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfodata.h"
#include "rest/records/publicrecords.h"
#include "rest/records/securityquestiondata.h"
#include "rest/records/termsinfodata.h"
#include "rest/records/tokeninfodata.h"

#include <QByteArray>
#include <QDomNode>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace KelRestHandler {

/// Reads the documents that the service answers with. Stateless.
///
/// Every function takes the element whose children it reads, and reports nothing: an element that
/// is missing, or a text that cannot be converted, leaves the output as it was. The node may be
/// null.
class MsgParser
{
public:
    /// The element that answers, or a null node.
    ///
    /// A text that is not well-formed, or goes beyond ReplyBounds, has none and leaves the status.
    /// A text with "Error" or "error" anywhere in it, values included, has its root element
    /// returned and the status set to ErrorUndefined, for parseErrorxml to refine. Otherwise only
    /// the response elements that the operations know are returned, and the status is left.
    ///
    /// The element and all below it stay valid for as long as the node is kept.
    static QDomNode processXml(RequestInfoData& info, const QString& xml);

    /// Reads an error document; later elements overwrite what earlier ones set.
    static void parseErrorxml(RequestInfoData& info, const QDomNode& errorElement);
    /// ErrorGeneralError for an unknown text.
    static void convertStringToEnum(int& code, const QString& errorCodeText);
    static void parseErrorSubNode(RequestInfoData& info, const QDomNode& node);
    static void parseDetailedErrorCode(RequestInfoData& info, const QDomNode& node);

    static void parseTokenResponseInfoNode(QString& userName, TokenInfoData& token,
                                           AccountInfoData& account, TermsInfoData& terms,
                                           const QDomNode& node);
    static void parseRegistrationResponseInfoNode(QString& userName, AccountInfoData& account,
                                                  TokenInfoData& token, const QDomNode& node);
    static void parseTokenInfoNode(TokenInfoData& token, const QDomNode& node);
    static void parseConditionsNode(TokenInfoData& token, const QDomNode& node);
    static void parseAuthNode(TokenInfoData& token, const QDomNode& node);
    static void parseUserInfoNode(QString& userName, AccountInfoData& account,
                                  const QDomNode& node);
    /// Also records that the reply said something about terms.
    static void parseTermsInfoNode(TermsInfoData& terms, const QDomNode& node);

    static void parseProfileQueryResponseNode(QString& userName, ProfileInfoData& profile,
                                              const QDomNode& node);
    static void parseProfileUpdateResponseNode(QString& userName, ProfileInfoData& profile,
                                               const QDomNode& node);
    /// Sets the user name in the profile, too: a serialised profile has to carry it.
    static void parseProfileNode(QString& userName, ProfileInfoData& profile, const QDomNode& node);
    static void parseServicesNode(ProfileInfoData& profile, const QDomNode& node);

    static void parseCaptchaCreationResponse(QString& captchaId, QString& imageType,
                                             QByteArray& imageData, const QDomNode& node);

    /// Question identifier to question text.
    static void parseSecurityQuestionsResponse(QVariantMap& questions, const QDomNode& node);
    /// The same; `order` gets the identifiers as the reply has them, each once.
    static void parseOrderedSecurityQuestions(QVariantMap& questions, QStringList& order,
                                              const QDomNode& node);
    static void parseSecurityQuestionResponse(SecurityQuestionData& question, const QDomNode& node);

    static void parseUserNameSuggestionsResponseNode(QStringList& suggestions,
                                                     const QDomNode& node);

    /// "serviceUrl", "tosUrl", "privacyPolicyUrl" and "serviceSpecificTosUrl" to their texts,
    /// "emailVerified" to a bool, "extensions" to a map of its children's names and texts.
    static void parseServiceQueryResponse(QVariantMap& service, const QDomNode& node);

    static void parseGuardianTokenResponse(QString& guardianToken, const QDomNode& node);
    static void parseMarketingConsentResponse(MarketingConsentInfo& consent, const QDomNode& node);
    static void parseConsentQueryVariantResponseNode(ConsentQueryVariant& variant,
                                                     const QDomNode& node);
    /// A country text that is not the code of a country leaves the country.
    static void parseDetectPreAccount(PreAccountInfo& account, const QDomNode& node);

    static void parseContactInfoUpdateResponse(ContactsInfo& contacts, const QDomNode& node);
    static void parseContactNode(ContactsInfo& contacts, const QDomNode& node);
    static void parseMobileNumberOrEmailAddress(Contact& contact, const QDomNode& node);
};

} // namespace KelRestHandler
