// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/sendresetmessagerequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

SendResetMessageRequest::SendResetMessageRequest(ISignatureProvider& provider,
                                                 QString const& userId, QString const& captchaId,
                                                 QString const& captchaText, bool sendMessage,
                                                 QString const& messageBody,
                                                 QByteArray const& serviceTag,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()), mUserId(userId),
      mCaptchaId(captchaId), mCaptchaText(captchaText), mSendMessage(sendMessage),
      mMessageBody(messageBody), mServiceTag(serviceTag)
{
    createOAuthRequest();
}

QString SendResetMessageRequest::createXMLMessage()
{
    // No caller gives an address to return to.
    return MsgCreator::xmlSimpleResetMessage(mCaptchaId, mCaptchaText, mSendMessage, mMessageBody,
                                             QString(), mServiceTag);
}

QString SendResetMessageRequest::getRestURL()
{
    return RestUrlHelper::passwordRecoveryUrl(baseAddress()) + inPath(getAsPunycode(mUserId)) +
           QLatin1String("/send");
}

QString SendResetMessageRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool SendResetMessageRequest::isTokenRequired()
{
    return false;
}

QString SendResetMessageRequest::getAsPunycode(QString const& userId)
{
    return MsgCreator::getAsPunycode(userId);
}

} // namespace KelRestHandler
