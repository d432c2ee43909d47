// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/picture/captchapicture.h"

extern "C" Q_DECL_EXPORT void
kelaccount_with_captcha_picture(const QByteArray& bytes,
                                const std::function<void(const QPixmap&)>& use)
{
    KelRestHandler::withCaptchaPicture(bytes, use);
}
