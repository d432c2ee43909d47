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

/// Has Qt list the system's languages, once. It does when it is first asked for them, under a lock
/// that lets several threads in: two that are the first spoil the list for each other, and the heap
/// with it. So before there is a second thread that may ask, the first one calls this.
inline void settleSystemLanguages()
{
    static const bool areListed = [] {
        QLocale::system().uiLanguages();
        return true;
    }();
    Q_UNUSED(areListed)
}

/// Which of the languages, given by their codes, the user would have first; 0 when none of them is
/// among those wanted. A wanted language's name goes on with script and country: "de-CH", "fi_FI".
template <std::size_t count>
std::size_t wantedLanguage(const QLocale& locale, const std::array<const char*, count>& languages)
{
    settleSystemLanguages();
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
