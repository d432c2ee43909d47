// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/captchatexts.h"

#include "common/wantedlanguage.h"

#include <array>

namespace {

constexpr std::array<const char*, 4> languages{"en", "de", "fr", "fi"};

struct Row
{
    const char* title;
    const char* loading;
    const char* ready;
};

// In their order. Three sentences are less than a catalogue.
constexpr std::array<Row, languages.size()> rows{{
    {"Captcha: a picture with characters to type in", "The picture is on its way",
     "Press for another picture"},
    {"Captcha: ein Bild mit Zeichen zum Abtippen", "Das Bild wird geladen",
     "Drücken für ein anderes Bild"},
    {"Captcha : une image avec des caractères à recopier", "L'image arrive",
     "Appuyer pour une autre image"},
    {"Captcha: kuva, jonka merkit kirjoitetaan", "Kuvaa haetaan", "Paina saadaksesi toisen kuvan"},
}};

} // namespace

CaptchaTexts CaptchaTexts::of(const QLocale& locale)
{
    const Row& row = rows[KelAccount::wantedLanguage(locale, languages)];
    return {QString::fromUtf8(row.title), QString::fromUtf8(row.loading),
            QString::fromUtf8(row.ready)};
}
