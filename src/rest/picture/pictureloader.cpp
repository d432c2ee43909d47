// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/demandedmodule.h"
#include "rest/picture/captchapicture.h"

namespace KelRestHandler {

void withCaptchaPicture(const QByteArray& bytes, const std::function<void(const QPixmap&)>& use)
{
    using WithPicture = void (*)(const QByteArray&, const std::function<void(const QPixmap&)>&);
    static const auto function = reinterpret_cast<WithPicture>(
        KelAccount::demandedFunction("picture", "kelaccount_with_captcha_picture"));
    // Without Qt Gui there is not even a null picture to answer with.
    if (!function)
        qFatal("The module with captcha pictures is missing");
    function(bytes, use);
}

} // namespace KelRestHandler
