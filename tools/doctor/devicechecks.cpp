// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/checks.h"

// What the library shows nobody.
#include "device/obcmgrwrapper.h"
#include "platform/modemreader.h"
#include "tools/doctor/busgreeting.h"
#include "tools/doctor/waiting.h"
#include "tools/localecodes.h"

#include <kelaccount/kelaccounts.h>

#include <langinfo.h>

namespace Doctor {

namespace {

constexpr const char* tag = "tag";
constexpr const char* modem = "modem";
constexpr const char* sim = "sim";
constexpr const char* region = "region";
constexpr const char* locale = "locale";

void checkTagServer(Findings& findings)
{
    if (KelRestHandler::ObcMgrWrapper().isServiceTagAvailable())
        findings.good(tag, QStringLiteral("the tag server issues service tags"));
    else
        findings.note(tag, QStringLiteral("no tag server issues a service tag"),
                      QStringLiteral("have registrations and recovery solve a captcha, or start "
                                     "the device's tag server"));
}

void checkModem(Patience patience, Findings& findings)
{
    const Greeting greeting = greeted(systemBusAddress(), patience.ms);
    if (greeting == Greeting::Unanswered)
        findings.error(modem,
                       QStringLiteral("the system bus does not answer, and whoever uses the "
                                      "network waits for it"),
                       QStringLiteral("see what holds the dbus-daemon up, or start the device "
                                      "anew"));
    if (greeting == Greeting::NobodyThere)
        findings.note(modem, QStringLiteral("there is no system bus"),
                      QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS leads to it; without it the device "
                                     "has neither modem nor SIM"));
    if (greeting != Greeting::Answered) {
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

void checkRegion(Patience patience, Findings& findings)
{
    if (!patience.hangingBus.isEmpty()) {
        findings.note(
            region,
            QStringLiteral("not looked at: the %1 bus does not answer").arg(patience.hangingBus),
            QStringLiteral("mend the bus first"));
        return;
    }
    KelAccount::KelAccounts accounts;
    const auto country = awaited<QString>(patience.ms, [&accounts](QObject* context, auto done) {
        QObject::connect(&accounts, &KelAccount::KelAccounts::retrieveCountryCodeResponse, context,
                         [done](KelAccount::ErrorStatus, const QString& code) { done(code); });
        accounts.retrieveCountryCode();
    });
    const QString advice = QStringLiteral("insert a SIM, or set the region: dconf write "
                                          "/meegotouch/i18n/region \"'en_GB'\"");
    if (!country || country->isEmpty())
        findings.warning(region, QStringLiteral("the device does not know its country (807)"),
                         advice);
    else if (!countryProblem(country->toStdString()).empty())
        findings.warning(
            region,
            QStringLiteral("the region that is set has no country's code: %1").arg(*country),
            advice);
    else
        findings.good(region, QStringLiteral("the device is in %1").arg(*country));
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

void checkDevice(Patience patience, Findings& findings)
{
    checkTagServer(findings);
    checkModem(patience, findings);
    checkRegion(patience, findings);
    checkLocale(findings);
}

} // namespace Doctor
