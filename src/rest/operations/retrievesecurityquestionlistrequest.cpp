// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievesecurityquestionlistrequest.h"

#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveSecurityQuestionListRequest::RetrieveSecurityQuestionListRequest(
    ISignatureProvider& provider, QString const& language, QString const& consumerKey,
    QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, language)
{
    createOAuthRequest();
}

QString RetrieveSecurityQuestionListRequest::createXMLMessage()
{
    return {};
}

QString RetrieveSecurityQuestionListRequest::getRestURL()
{
    return RestUrlHelper::securityQuestionsUrl(baseAddress());
}

QString RetrieveSecurityQuestionListRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveSecurityQuestionListRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
