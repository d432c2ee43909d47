// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLocale>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace KelAccount {

/// Which of the languages, given by their codes, the user would have first; 0 when none of them is
/// among those wanted. A wanted language's name goes on with script and country: "de-CH", "fi_FI".
template <std::size_t count>
std::size_t wantedLanguage(const QLocale& locale, const std::array<const char*, count>& languages)
{
    const QStringList wanted = locale.uiLanguages();
    for (const QString& each : wanted) {
        const auto* const found =
            std::find_if(languages.begin(), languages.end(), [&](const char* language) {
                const QLatin1String name(language);
                return each.startsWith(name) &&
                       (each.size() == name.size() || !each.at(name.size()).isLetter());
            });
        if (found != languages.end())
            return std::size_t(std::distance(languages.begin(), found));
    }
    return 0;
}

} // namespace KelAccount
