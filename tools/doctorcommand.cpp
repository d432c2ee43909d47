// SPDX-License-Identifier: LGPL-2.1-or-later
#include "doctorcommand.h"

#include "display.h"
#include "tools/doctor/checks.h"
#include "watchdog.h"

// Which hosts the library was built with.
#include "rest/request/servicehosts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <unistd.h>

using Doctor::Finding;
using Doctor::Findings;
using Doctor::Level;

namespace {

constexpr const char* program = "kelaccount";
constexpr int exitError = 1;
constexpr int exitNoAnswer = 3;
constexpr int exitWarning = 5;

Doctor::Service serviceFrom(const ClientSettings& settings)
{
    constexpr std::array hosts = {
        KELACCOUNT_HOST_TEST_A,  KELACCOUNT_HOST_TEST_B, KELACCOUNT_HOST_PRODUCTION,
        KELACCOUNT_HOST_STAGING, KELACCOUNT_HOST_TEST_C, KELACCOUNT_HOST_TEST_D,
    };
    constexpr size_t production = 2;
    const auto index = static_cast<size_t>(settings.server);
    return {QLatin1String(hosts.at(index < hosts.size() ? index : production)), settings.server,
            settings.service, settings.consumerKey, settings.consumerSecret};
}

QString painted(const Colours& colours, Level level, const QString& text)
{
    switch (level) {
    case Level::Good:
        return colours.good(text);
    case Level::Note:
        return text;
    case Level::Warning:
        return colours.doubtful(text);
    case Level::Error:
        return colours.bad(text);
    }
    return text;
}

// One line for each, as wide as the terminal; elsewhere, as long as it is.
void printFinding(const Finding& finding)
{
    constexpr int levelWidth = 9;
    constexpr int checkWidth = 10;
    constexpr int narrowest = 30;
    const Colours colours;
    const QString level = Doctor::levelName(finding.level).leftJustified(levelWidth);
    const QString start = finding.check.leftJustified(checkWidth);
    const QString text =
        printable(finding.advice.isEmpty() ? finding.text
                                           : finding.text + QLatin1String("; ") + finding.advice);
    const int width = CommandLine::terminalWidth(STDOUT_FILENO);
    const QStringList lines =
        width == 0 ? QStringList(text)
                   : brokenLines(text, qMax(narrowest, width - levelWidth - checkWidth));
    printLine(painted(colours, finding.level, level) + start + lines.first());
    for (int i = 1; i < lines.size(); ++i)
        printLine(QString(levelWidth + checkWidth, QLatin1Char(' ')) + lines.at(i));
}

// docs/client.md says what holds for every version of it.
void printAsJson(const Findings& findings)
{
    constexpr int schema = 1;
    QJsonArray all;
    for (const Finding& finding : findings.all()) {
        all.append(QJsonObject{{QStringLiteral("check"), finding.check},
                               {QStringLiteral("level"), Doctor::levelName(finding.level)},
                               {QStringLiteral("text"), finding.text},
                               {QStringLiteral("advice"), finding.advice}});
    }
    const QJsonObject object = {
        {QStringLiteral("schema"), schema},
        {QStringLiteral("command"), QStringLiteral("doctor")},
        {QStringLiteral("worst"), Doctor::levelName(findings.worst())},
        {QStringLiteral("findings"), all},
    };
    std::fputs(QJsonDocument(object).toJson(QJsonDocument::Compact).append('\n').constData(),
               stdout);
}

int exitStatus(Level worst)
{
    switch (worst) {
    case Level::Good:
    case Level::Note:
        return 0;
    case Level::Warning:
        return exitWarning;
    case Level::Error:
        return exitError;
    }
    return exitError;
}

} // namespace

CommandLine::Command doctorCommand()
{
    return {
        "doctor",
        {},
        {},
        "find out why something does not work",
        "doctor",
        "Looks at everything that signing in needs, in this order: modules and texts beside the "
        "library, session bus, sign-on daemon and plugin, provider and service files, accounts "
        "database, secrets storage, proxy, the service's host, its TLS certificates, its clock, "
        "the consumer key, tag server, modem, SIM, region, locale. One line for each: good, "
        "note, warning or error, and what to do.\n\n"
        "Ends with 0 when there is nothing to mend, 5 when the worst is a warning, 1 when there "
        "is an error."};
}

int runDoctor(ClientSettings settings)
{
    QString missing;
    settings.findCredentials(missing);
    if (!missing.isEmpty())
        settings.consumerSecret.clear();
    constexpr int msInSecond = 1000;
    Doctor::Patience patience;
    patience.serviceMs = settings.timeLimitSeconds * msInSecond;
    patience.ms = std::min(patience.ms, patience.serviceMs);
    const Doctor::Service service = serviceFrom(settings);
    // More than all the waiting that belongs to a step: for files a little, and with other programs
    // as long as the library has patience with them, too.
    const int forFiles = 3 + patience.ms / msInSecond;
    const int forOthers = 60 + settings.timeLimitSeconds;
    const struct
    {
        const char* of; ///< what is looked at
        int seconds;
        std::function<void(Findings&)> check;
    } steps[] = {
        {"the installation", forFiles, Doctor::checkInstallation},
        {"the sign-on daemon", forOthers, [&](Findings& all) { checkSignOn(patience, all); }},
        {"the accounts", forFiles, Doctor::checkAccounts},
        {"the service", forOthers, [&](Findings& all) { checkService(service, patience, all); }},
        {"the device", forOthers, [&](Findings& all) { checkDevice(patience, all); }},
    };
    Watchdog watchdog(forFiles, {}, exitNoAnswer);
    Findings findings;
    size_t shown = 0;
    for (const auto& step : steps) {
        watchdog.restart(step.seconds, QByteArray("looking at ") + step.of + " took too long");
        step.check(findings);
        for (; shown < findings.all().size() && settings.format != OutputFormat::Json; ++shown)
            printFinding(findings.all().at(shown));
        std::fflush(stdout);
    }
    if (settings.format == OutputFormat::Json)
        printAsJson(findings);
    const int written = CommandLine::flushed(program);
    return written != 0 ? written : exitStatus(findings.worst());
}
