// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/signinrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

SignInRequest::SignInRequest(ISignatureProvider& provider, QString const& userName,
                             QString const& password, QString const& consumerKey,
                             QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mUserName(userName), mPassword(password)
{
    createOAuthRequest();
}

QString SignInRequest::createXMLMessage()
{
    return MsgCreator::xmlTokenCreation(mUserName, mPassword, getTimeStamp());
}

QString SignInRequest::getRestURL()
{
    return RestUrlHelper::signInUrl(baseAddress());
}

QString SignInRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool SignInRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
