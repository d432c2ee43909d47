// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/updatedeviceinforequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

UpdateDeviceInfoRequest::UpdateDeviceInfoRequest(ISignatureProvider& provider,
                                                 QString const& accountId,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAccountId(accountId), mFacts(DeviceFacts::read())
{
    createOAuthRequest();
}

QString UpdateDeviceInfoRequest::createXMLMessage()
{
    return MsgCreator::xmlUpdateDeviceInfo(QString(), mFacts.imei, mFacts.mcc, mFacts.mnc,
                                           mFacts.hashedMsin);
}

QString UpdateDeviceInfoRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/devices");
}

QString UpdateDeviceInfoRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool UpdateDeviceInfoRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
