// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

class QLocale;

/// What a screen reader says of a captcha, in English, German, French or Finnish, whichever of the
/// user's languages comes first; English for a user of others.
struct CaptchaTexts
{
    QString title;
    QString loading;
    QString ready;

    static CaptchaTexts of(const QLocale& locale);
};
