// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/registeraccountrequest.h"

#include "device/deviceinfoutil.h"
#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RegisterAccountRequest::RegisterAccountRequest(ISignatureProvider& provider,
                                               RegistrationInfoData const& registration,
                                               QString const& captchaId,
                                               QByteArray const& serviceTag,
                                               QString const& consumerKey,
                                               QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mRegistration(registration), mCaptchaId(captchaId), mServiceTag(serviceTag),
      mSimPresent(DeviceInfoUtil().simStatus()),
      mFacts(mSimPresent ? DeviceFacts::read() : DeviceFacts())
{
    createOAuthRequest();
}

QString RegisterAccountRequest::createXMLMessage()
{
    if (!isSimPresent())
        return MsgCreator::xmlRegistration(mRegistration, mCaptchaId, mServiceTag);
    return MsgCreator::xmlPreRegistration(mFacts.imei, mFacts.mcc, mFacts.mnc, mFacts.hashedMsin,
                                          mCaptchaId, mRegistration, mServiceTag);
}

QString RegisterAccountRequest::getRestURL()
{
    return isSimPresent() ? RestUrlHelper::newPreAccountRegistrationUrl(baseAddress())
                          : RestUrlHelper::newRegistrationUrl(baseAddress());
}

QString RegisterAccountRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool RegisterAccountRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
