// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/captchapicture.h"
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

#include <algorithm>
#include <charconv>

namespace KelEmulator {

namespace {

/// The layout has seen to it that there are digits, at most ten of them. What no
/// picture has is brought into range later.
int pixels(const std::string& text)
{
    constexpr int enormous = 100000;
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return static_cast<int>(std::clamp<std::int64_t>(number, 0, enormous));
}

} // namespace

Reply captchaCreation(const Call& call)
{
    const PictureSize size = captchaSize(
        {pixels(call.document.textOf("width")), pixels(call.document.textOf("height"))});
    const Captcha captcha = call.tables.captchas.create(call.now);
    const std::string picture = captchaPicture(captcha.text, size);
    if (picture.empty())
        return errorReply(500, "generalError", "No picture can be made");
    return success("captchaCreationResponse", xmlElement("captchaId", captcha.id) +
                                                  xmlElement("imageType", "image/png") +
                                                  xmlElement("imageData", base64Encoded(picture)));
}

} // namespace KelEmulator
