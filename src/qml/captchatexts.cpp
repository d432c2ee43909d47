// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/captchatexts.h"

#include <QLocale>
#include <QStringList>

#include <array>

namespace {

struct Row
{
    const char* language;
    const char* title;
    const char* loading;
    const char* ready;
};

// Three sentences are less than a catalogue.
constexpr std::array<Row, 4> rows{{
    {"en", "Captcha: a picture with characters to type in", "The picture is on its way",
     "Press for another picture"},
    {"de", "Captcha: ein Bild mit Zeichen zum Abtippen", "Das Bild wird geladen",
     "Drücken für ein anderes Bild"},
    {"fr", "Captcha : une image avec des caractères à recopier", "L'image arrive",
     "Appuyer pour une autre image"},
    {"fi", "Captcha: kuva, jonka merkit kirjoitetaan", "Kuvaa haetaan",
     "Paina saadaksesi toisen kuvan"},
}};

} // namespace

CaptchaTexts CaptchaTexts::of(const QLocale& locale)
{
    const Row* row = &rows.front();
    const auto find = [](const QString& language) {
        for (const Row& candidate : rows) {
            if (language.section(QLatin1Char('-'), 0, 0) == QLatin1String(candidate.language))
                return &candidate;
        }
        return static_cast<const Row*>(nullptr);
    };
    for (const QString& language : locale.uiLanguages()) {
        if (const Row* const found = find(language)) {
            row = found;
            break;
        }
    }
    return {QString::fromUtf8(row->title), QString::fromUtf8(row->loading),
            QString::fromUtf8(row->ready)};
}
