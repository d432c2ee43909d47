// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievesecurityquestionrequest.h"

#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveSecurityQuestionRequest::RetrieveSecurityQuestionRequest(
    ISignatureProvider& provider, QString const& userId, QString const& language,
    QString const& consumerKey, QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, language), mUserId(userId)
{
    createOAuthRequest();
}

QString RetrieveSecurityQuestionRequest::createXMLMessage()
{
    return {};
}

QString RetrieveSecurityQuestionRequest::getRestURL()
{
    return RestUrlHelper::passwordRecoveryUrl(baseAddress()) + inPath(mUserId) +
           QLatin1String("/question");
}

QString RetrieveSecurityQuestionRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveSecurityQuestionRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
