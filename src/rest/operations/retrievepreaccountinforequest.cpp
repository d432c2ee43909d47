// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievepreaccountinforequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrievePreAccountInfoRequest::RetrievePreAccountInfoRequest(ISignatureProvider& provider,
                                                             QString const& consumerKey,
                                                             QString const& baseAddress,
                                                             NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mFacts(DeviceFacts::read())
{
    createOAuthRequest();
}

QString RetrievePreAccountInfoRequest::createXMLMessage()
{
    return MsgCreator::xmlDetectPreAccount(mFacts.imei, mFacts.mcc, mFacts.mnc, mFacts.hashedMsin);
}

QString RetrievePreAccountInfoRequest::getRestURL()
{
    return RestUrlHelper::detectPreAccountUrl(baseAddress());
}

QString RetrievePreAccountInfoRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool RetrievePreAccountInfoRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
