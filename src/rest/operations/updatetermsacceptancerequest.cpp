// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/updatetermsacceptancerequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

UpdateTermsAcceptanceRequest::UpdateTermsAcceptanceRequest(
    ISignatureProvider& provider, TermsAcceptanceData const& acceptance, QString const& identifier,
    QString const& consumerKey, QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAcceptance(acceptance), mIdentifier(identifier)
{
    createOAuthRequest();
}

QString UpdateTermsAcceptanceRequest::createXMLMessage()
{
    return MsgCreator::xmlTermsAcceptance(mAcceptance);
}

QString UpdateTermsAcceptanceRequest::getRestURL()
{
    return RestUrlHelper::termsUrl(baseAddress()) + inPath(mIdentifier);
}

QString UpdateTermsAcceptanceRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool UpdateTermsAcceptanceRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
