// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/statustext.h>

#include "account/texts/statustable.h"
#include "common/demandedmodule.h"
#include "common/logging.h"
#include "common/wantedlanguage.h"

#include <kelaccount/commonutils.h>

#include <QLocale>
#include <QTranslator>

#include <array>
#include <mutex>

namespace KelAccount {

namespace {

constexpr std::array<const char*, 4> languages{"en", "de", "fr", "fi"};

// A catalogue once read is only read from, on any thread. It is never deleted: threads may still
// ask while the process ends.
const QTranslator& catalogue(std::size_t language)
{
    static std::array<std::once_flag, languages.size()> loaded;
    static std::array<QTranslator*, languages.size()> catalogues;
    std::call_once(loaded[language], [language] {
        catalogues[language] = new QTranslator;
        const QString folder = moduleFolder();
        const QString name = QLatin1String("statustext_") + QLatin1String(languages[language]);
        if (folder.isEmpty() || !catalogues[language]->load(name, folder))
            qCWarning(logAccount, "The installation is incomplete: no %s.qm", qUtf8Printable(name));
    });
    return *catalogues[language];
}

} // namespace

QString statusName(int status)
{
    return CommonUtils::ConvertErrorCodeToString(status);
}

QString statusText(int status)
{
    return statusText(status, QLocale());
}

QString statusText(int status, const QLocale& locale)
{
    const char* const text = statusRow(status).text;
    const QString translated =
        catalogue(wantedLanguage(locale, languages)).translate(statusContext, text);
    return translated.isEmpty() ? QString::fromLatin1(text) : translated;
}

QString statusField(int status)
{
    return QString::fromLatin1(statusRow(status).field);
}

bool isRetryable(int status)
{
    return statusRow(status).isRetryable;
}

} // namespace KelAccount
