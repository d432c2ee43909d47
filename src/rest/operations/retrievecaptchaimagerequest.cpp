// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievecaptchaimagerequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveCaptchaImageRequest::RetrieveCaptchaImageRequest(ISignatureProvider& provider, int width,
                                                         int height, QString const& consumerKey,
                                                         QString const& baseAddress,
                                                         NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()), mWidth(width),
      mHeight(height)
{
    createOAuthRequest();
}

QString RetrieveCaptchaImageRequest::createXMLMessage()
{
    return MsgCreator::xmlCaptchaCreation(mWidth, mHeight);
}

QString RetrieveCaptchaImageRequest::getRestURL()
{
    return RestUrlHelper::retrieveCaptchaUrl(baseAddress());
}

QString RetrieveCaptchaImageRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool RetrieveCaptchaImageRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
