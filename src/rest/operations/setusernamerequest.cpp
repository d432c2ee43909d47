// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/setusernamerequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

SetUserNameRequest::SetUserNameRequest(ISignatureProvider& provider, QString const& accountId,
                                       QString const& newUserName, QString const& consumerKey,
                                       QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAccountId(accountId), mNewUserName(newUserName)
{
    createOAuthRequest();
}

QString SetUserNameRequest::createXMLMessage()
{
    return MsgCreator::xmlUpdateUserName(mNewUserName);
}

QString SetUserNameRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/profile");
}

QString SetUserNameRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool SetUserNameRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
