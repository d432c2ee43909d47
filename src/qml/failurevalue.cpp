// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/failurevalue.h"

#include "common/wantedlanguage.h"

#include <kelaccount/errorstatus.h>
#include <kelaccount/statustext.h>

#include <QLocale>

#include <array>

namespace {

constexpr std::array<const char*, 4> languages{"en", "de", "fr", "fi"};
// In their order.
constexpr std::array<const char*, languages.size()> noDates{
    "Write the date of birth as year, month and day: 1990-02-28.",
    "Schreiben Sie das Geburtsdatum als Jahr, Monat und Tag: 1990-02-28.",
    "Écrivez la date de naissance comme année, mois et jour : 1990-02-28.",
    "Kirjoita syntymäaika muodossa vuosi, kuukausi ja päivä: 1990-02-28.",
};

} // namespace

KelQmlFailure::KelQmlFailure(const KelAccount::Failure& failure) : mFailure(failure)
{
}

KelQmlFailure KelQmlFailure::withStatus(int status)
{
    KelAccount::Failure failure;
    failure.status = status;
    failure.name = KelAccount::statusName(status);
    failure.text = KelAccount::statusText(status);
    failure.field = KelAccount::statusField(status);
    failure.isRetryable = KelAccount::isRetryable(status);
    return KelQmlFailure(failure);
}

// The library takes dates, not texts, so it has no words for one that is none.
KelQmlFailure KelQmlFailure::ofDateOfBirth()
{
    KelQmlFailure failure = withStatus(KelAccount::ErrorInvalidParameter);
    failure.mFailure.field = QStringLiteral("dateOfBirth");
    failure.mFailure.text =
        QString::fromUtf8(noDates[KelAccount::wantedLanguage(QLocale(), languages)]);
    return failure;
}
