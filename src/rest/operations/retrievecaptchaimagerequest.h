// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks for a new captcha picture of about the given size, in pixels.
class RetrieveCaptchaImageRequest : public OAuthRequest
{
public:
    RetrieveCaptchaImageRequest(ISignatureProvider& provider, int width, int height,
                                QString const& consumerKey, QString const& baseAddress,
                                NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    int mWidth;
    int mHeight;
};

} // namespace KelRestHandler
