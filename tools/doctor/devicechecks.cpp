// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/checks.h"

// What the library shows nobody.
#include "device/obcmgrwrapper.h"
#include "platform/modemreader.h"
#include "tools/doctor/waiting.h"

#include <kelaccount/kelaccounts.h>

#include <QDBusConnection>

#include <langinfo.h>

namespace Doctor {

namespace {

constexpr const char* tag = "tag";
constexpr const char* modem = "modem";
constexpr const char* sim = "sim";
constexpr const char* region = "region";
constexpr const char* locale = "locale";

constexpr int patienceMs = 10000;

void checkTagServer(Findings& findings)
{
    if (KelRestHandler::ObcMgrWrapper().isServiceTagAvailable())
        findings.good(tag, QStringLiteral("the tag server issues service tags"));
    else
        findings.note(tag, QStringLiteral("no tag server issues a service tag"),
                      QStringLiteral("have registrations and recovery solve a captcha, or start "
                                     "the device's tag server"));
}

void checkModem(Findings& findings)
{
    if (!QDBusConnection::systemBus().isConnected()) {
        findings.note(modem, QStringLiteral("there is no system bus"),
                      QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS leads to it; without it the device "
                                     "has neither modem nor SIM"));
        findings.note(sim, QStringLiteral("not looked for"), QStringLiteral("mend the bus first"));
        return;
    }
    const auto reader = QtMobility::makeModemReader();
    const auto modems = reader->modems();
    if (modems.isEmpty())
        findings.note(modem, QStringLiteral("no modem is there"),
                      QStringLiteral("start oFono or ModemManager where there should be one"));
    else
        findings.good(
            modem, QStringLiteral("%1 %2").arg(modems.first().manufacturer, modems.first().model));
    const auto cards = reader->sims();
    if (cards.isEmpty()) {
        findings.note(sim, QStringLiteral("no SIM is there"),
                      QStringLiteral("insert one where there should be one"));
        return;
    }
    const QtMobility::SimCard card = QtMobility::homeSim(cards);
    if (card.locked)
        findings.warning(sim, QStringLiteral("the SIM is locked"),
                         QStringLiteral("enter its PIN; until then the service is not told of it"));
    else
        findings.good(sim, QStringLiteral("a SIM of the network %1-%2")
                               .arg(card.homeCountryCode, card.homeNetworkCode));
}

void checkRegion(Findings& findings)
{
    KelAccount::KelAccounts accounts;
    const auto country = awaited<QString>(patienceMs, [&accounts](QObject* context, auto done) {
        QObject::connect(&accounts, &KelAccount::KelAccounts::retrieveCountryCodeResponse, context,
                         [done](KelAccount::ErrorStatus, const QString& code) { done(code); });
        accounts.retrieveCountryCode();
    });
    if (country && !country->isEmpty())
        findings.good(region, QStringLiteral("the device is in %1").arg(*country));
    else
        findings.warning(region, QStringLiteral("the device does not know its country (807)"),
                         QStringLiteral("insert a SIM, or set the region: dconf write "
                                        "/meegotouch/i18n/region \"'en_GB'\""));
}

void checkLocale(Findings& findings)
{
    QString name;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        name = name.isEmpty() ? qEnvironmentVariable(variable) : name;
    }
    const QString language = name.section(QLatin1Char('.'), 0, 0);
    const QString characters = QString::fromLatin1(::nl_langinfo(CODESET));
    const QString advice = QStringLiteral("set LANG, for instance to en_GB.UTF-8");
    if (language.isEmpty() || language == QLatin1String("C") || language == QLatin1String("POSIX"))
        findings.note(locale, QStringLiteral("no language is set: texts are in English"), advice);
    else if (!name.contains(QLatin1String("UTF-8"), Qt::CaseInsensitive) &&
             !name.contains(QLatin1String("utf8"), Qt::CaseInsensitive))
        findings.warning(
            locale,
            QStringLiteral("%1 is not of UTF-8 but %2: texts may be garbled").arg(name, characters),
            advice);
    else
        findings.good(locale, name);
}

} // namespace

void checkDevice(Findings& findings)
{
    checkTagServer(findings);
    checkModem(findings);
    checkRegion(findings);
    checkLocale(findings);
}

} // namespace Doctor
