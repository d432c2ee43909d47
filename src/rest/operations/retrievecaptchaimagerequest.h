// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/picture/captchapicture.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

#include <kelaccount/errorstatus.h>

namespace KelRestHandler {

template <>
struct Description<RetrieveCaptchaImage> : DescriptionDefaults
{
    using Request = class RetrieveCaptchaImageRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::retrieveCaptchaUrl;
    static constexpr std::array roots{"captchaCreationResponse"};
    static constexpr char creationFailure[] = "Retreive Captcha request object creation failed";
    static constexpr auto signal = &ServiceSignals::retrieveCaptchaImageResponse;
    static constexpr auto process = &NetworkResponseProcessor::processRetrieveCaptchaResponse;

    // The service would make a picture that nobody can be shown.
    static bool isOfUse() { return canHoldCaptchaPictures(); }

    static QString document(int width, int height)
    {
        return MsgCreator::xmlCaptchaCreation(width, height);
    }

    static void answer(NetworkResponseProcessor& processor, HttpResponse* response)
    {
        QDomNode element;
        QString captchaId;
        AnswerDetails& details = processor.details();
        if (processor.decide(response, element) == KelAccount::ErrorNone)
            MsgParser::parseCaptchaCreationResponse(captchaId, details.pictureFormat,
                                                    details.picture, element);
        // The status is always 0: receivers tell a failure by the null picture.
        withCaptchaPicture(details.picture, [&processor, &captchaId](const QPixmap& picture) {
            Q_EMIT processor.retrieveCaptchaImageResponse(KelAccount::ErrorNone, picture,
                                                          captchaId);
        });
    }
};

/// Asks for a new captcha picture of about the given size, in pixels.
class RetrieveCaptchaImageRequest : public RequestOf<RetrieveCaptchaImage, int, int>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
