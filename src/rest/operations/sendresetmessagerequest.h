// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

#include <QByteArray>

namespace KelRestHandler {

/// Has a recovery message sent to a user who forgot the password.
class SendResetMessageRequest : public OAuthRequest
{
public:
    /// Without `sendMessage` the user gets the plain recovery token, with it a message with the
    /// given body. A captcha's text, or else a service tag, proves that a person or a device asks.
    SendResetMessageRequest(ISignatureProvider& provider, QString const& userId,
                            QString const& captchaId, QString const& captchaText, bool sendMessage,
                            QString const& messageBody, QByteArray const& serviceTag,
                            QString const& consumerKey, QString const& baseAddress,
                            NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    static QString getAsPunycode(QString const& userId);

    QString mUserId;
    QString mCaptchaId;
    QString mCaptchaText;
    bool mSendMessage;
    QString mMessageBody;
    QByteArray mServiceTag;
};

} // namespace KelRestHandler
