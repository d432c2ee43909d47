// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answers.h"
#include "clientsettings.h"
#include "commands.h"
#include "doctorcommand.h"
#include "logkeeper.h"
#include "secretinput.h"
#include "waitingnote.h"
#include "watchdog.h"

#include <kelaccount/kelaccounts.h>

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTimer>

#include <memory>

namespace {

enum ExitCode {
    exitSuccess = 0,
    exitOtherStatus = 1,
    exitMisuse = CommandLine::exitMisuse,
    exitNoAnswer = 3,
    exitNotWritten = CommandLine::exitNotWritten,
};

int complain(const QString& problem, int status)
{
    CommandLine::complain(clientProgram().name, problem.toLocal8Bit().toStdString());
    return status;
}

QString fromLocal(const std::string& text)
{
    return QString::fromLocal8Bit(text.data(), static_cast<int>(text.size()));
}

CommandInput inputFrom(const CommandLine::Line& line)
{
    CommandInput input;
    for (const std::string& argument : line.arguments)
        input.arguments.append(fromLocal(argument));
    for (const auto& option : line.options)
        input.options.insert(fromLocal(option.first), fromLocal(option.second));
    return input;
}

QString callText(const ClientCommand& command, const CommandInput& input)
{
    QStringList quoted;
    for (const QString& argument : input.arguments)
        quoted.append(QLatin1Char('"') + argument + QLatin1Char('"'));
    return QLatin1String(command.operation) + QLatin1Char('(') + quoted.join(QLatin1String(", ")) +
           QLatin1Char(')');
}

// Of a status that says where something went wrong, but not what. The library says that in its log.
QString causeOf(int status)
{
    constexpr int mostShown = 3;
    const QStringList complaints = takeComplaints();
    switch (status) {
    case KelAccount::ErrorAccountConfigurationIncomplete:
    case KelAccount::ErrorAuthSessionInitializationFailed:
    case KelAccount::ErrorStoreCredentialsFailed:
    case KelAccount::ErrorFailedToConfigureAccount:
    case KelAccount::ErrorFailedToEstablishZorAuthSession:
        return complaints.mid(0, mostShown).join(QLatin1String("; "));
    default:
        return {};
    }
}

int run(const ClientSettings& settings, const ClientCommand& command, const CommandInput& input)
{
    // Later than the timer below, which tells the same while nothing blocks the event loop.
    constexpr int graceSeconds = 2;
    const QByteArray late =
        "no answer within " + QByteArray::number(settings.timeLimitSeconds) + " s";
    const Watchdog watchdog(settings.timeLimitSeconds + graceSeconds, late, exitNoAnswer);
    // The library writes, whatever becomes of the call.
    if (!settings.traceFile.isEmpty())
        qputenv("KELACCOUNT_TRACE", QFile::encodeName(settings.traceFile));
    KelAccount::KelAccounts accounts;
    const QStringList untraceable =
        settings.traceFile.isEmpty() ? QStringList()
                                     : takeComplaints().filter(QStringLiteral("KELACCOUNT_TRACE"));
    if (!untraceable.isEmpty())
        return complain(untraceable.first(), exitNotWritten);
    if (command.callsService) {
        accounts.initialize(settings.consumerKey, settings.consumerSecret, settings.server,
                            settings.service, QVariantMap());
    }
    WaitingNote note(settings.timeLimitSeconds);
    QElapsedTimer clock;
    clock.start();
    bool reported = false;
    const Report report = [&](Outcome outcome) {
        if (reported)
            return;
        reported = true;
        note.remove();
        outcome.command = QString::fromStdString(command.line.name);
        outcome.call = callText(command, input);
        outcome.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        outcome.cause = causeOf(outcome.status);
        printOutcome(outcome, settings.format);
        int status = CommandLine::flushed(clientProgram().name);
        if (status == exitSuccess && (outcome.status != 0 || !outcome.failure.isEmpty()))
            status = exitOtherStatus;
        // Some operations answer from inside the call, before there is an event loop to leave.
        QTimer::singleShot(0, &accounts, [status] { QCoreApplication::exit(status); });
    };
    if (command.call) {
        reportAnswer(accounts, command, report);
        command.call(accounts, input);
    } else {
        command.callAndReport(accounts, input, report);
    }
    QTimer::singleShot(settings.timeLimitSeconds * 1000, &accounts, [&] {
        note.remove();
        QCoreApplication::exit(complain(QString::fromLatin1(late), exitNoAnswer));
    });
    return QCoreApplication::exec();
}

// Only pictures need more than a core application, and no display.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv, bool pictures)
{
    if (!pictures)
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "minimal"); // "offscreen" never lets go of its screen
    return std::make_unique<QGuiApplication>(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    CommandLine::Line line;
    if (const auto status = CommandLine::answer(clientProgram(), argc, argv, line))
        return *status;
    const auto application = makeApplication(argc, argv, line.command == "captcha");
    ClientSettings settings = ClientSettings::from(line);
    // The status says what happened; the log is for who looks into it.
    keepLog(settings.verbose);
    if (line.command == doctorCommand().name)
        return endingSoon(runDoctor(settings));
    const ClientCommand& command = *findCommand(line.command);
    CommandInput input = inputFrom(line);
    input.settings = &settings;
    QString problem;
    if (command.callsService)
        settings.findCredentials(problem);
    if (problem.isEmpty()) {
        input.secrets =
            readSecrets(command.secretsFor(input), settings.passwordDescriptor, problem);
    }
    if (!problem.isEmpty())
        return complain(problem, exitMisuse);
    return endingSoon(run(settings, command, input));
}
