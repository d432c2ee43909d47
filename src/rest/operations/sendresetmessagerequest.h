// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<SendResetMessage> : DescriptionDefaults
{
    using Request = class SendResetMessageRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::passwordRecoveryUrl;
    static constexpr char tail[] = "/send";
    static constexpr char creationFailure[] = "SendResetMessageRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::requestPasswordResetResponse;
    static constexpr auto process = &NetworkResponseProcessor::processrequestPasswordResetResponse;
};

/// Has a recovery message sent to a user who forgot the password.
class SendResetMessageRequest : public DescribedRequest<SendResetMessage>
{
public:
    /// Without `sendMessage` the user gets the plain recovery token, with it a message with the
    /// given body. A captcha's text, or else a service tag, proves that a person or a device asks.
    SendResetMessageRequest(ISignatureProvider& provider, QString const& userId,
                            QString const& captchaId, QString const& captchaText, bool sendMessage,
                            QString const& messageBody, QByteArray const& serviceTag,
                            QString const& consumerKey, QString const& baseAddress,
                            NetRequestType type)
        : DescribedRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
          mUserId(userId), mCaptchaId(captchaId), mCaptchaText(captchaText),
          mSendMessage(sendMessage), mMessageBody(messageBody), mServiceTag(serviceTag)
    {
        createOAuthRequest();
    }

    QString createXMLMessage() final
    {
        // No caller gives an address to return to.
        return MsgCreator::xmlSimpleResetMessage(mCaptchaId, mCaptchaText, mSendMessage,
                                                 mMessageBody, QString(), mServiceTag);
    }

    QString getRestURL() final
    {
        using Described = Description<SendResetMessage>;
        return Described::folder(baseAddress()) + inPath(getAsPunycode(mUserId)) +
               QLatin1String(Described::tail);
    }

private:
    static QString getAsPunycode(QString const& userId)
    {
        return MsgCreator::getAsPunycode(userId);
    }

    QString mUserId;
    QString mCaptchaId;
    QString mCaptchaText;
    bool mSendMessage;
    QString mMessageBody;
    QByteArray mServiceTag;
};

} // namespace KelRestHandler
