// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>

namespace KelEmulator {

/// Random characters that a captcha can show: upper-case letters and digits that are hard to
/// mistake for each other.
std::string randomCaptchaText(std::size_t length);

struct PictureSize
{
    int width;
    int height;
};

/// The size that a captcha gets when another is asked for: 50 to 1000 by 20 to 500 pixels.
PictureSize captchaSize(PictureSize wanted);

/// A PNG picture of the text, black on white and slightly out of line, over some grey. Empty when
/// it cannot be made. The size is one of `captchaSize`, the text one of `randomCaptchaText`.
std::string captchaPicture(const std::string& text, PictureSize size);

} // namespace KelEmulator
