// SPDX-License-Identifier: LGPL-2.1-or-later
#include "clientsettings.h"
#include "commands.h"
#include "devicecommands.h"
#include "secretinput.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace {

enum ExitCode { exitSuccess = 0, exitOtherStatus = 1, exitMisuse = 2, exitNoAnswer = 3 };

// A command's own options, as many on a line as a terminal shows.
QStringList optionLines(const char* options)
{
    constexpr int lineWidth = 74;
    QStringList lines;
    const auto words = QString::fromLatin1(options).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : words) {
        if (lines.isEmpty() || lines.last().size() + 1 + word.size() > lineWidth)
            lines.append(word);
        else
            lines.last() += QLatin1Char(' ') + word;
    }
    return lines;
}

// "password, answer (with --question)"
QString secretsText(const Command& command)
{
    QStringList texts;
    const auto words =
        QString::fromLatin1(command.secrets).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : words) {
        const QString option = word.section(QLatin1Char('@'), 1);
        texts.append(word.section(QLatin1Char('@'), 0, 0) +
                     (option.isEmpty() ? QString() : QStringLiteral(" (with %1)").arg(option)));
    }
    return texts.join(QLatin1String(", "));
}

void printHelp()
{
    std::puts("usage: kelaccount [OPTIONS] COMMAND [ARGUMENTS]\n"
              "\n"
              "Calls one operation of the account service and prints its answer, or says what the\n"
              "library sees of this device.\n"
              "\n"
              "Commands:");
    for (const Command& command : commands()) {
        const QString call =
            QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.arguments);
        std::printf("  %-34s %s\n", call.toLatin1().constData(), command.summary);
        for (const QString& line : optionLines(command.options))
            std::printf("      %s\n", line.toLatin1().constData());
        if (*command.secrets)
            std::printf("      asks for: %s\n", secretsText(command).toLatin1().constData());
    }
    std::puts(
        "\n"
        "Options:\n"
        "  --consumer-key KEY           the application's key, or KELACCOUNT_CONSUMER_KEY\n"
        "  --consumer-secret-file FILE  its secret, or KELACCOUNT_CONSUMER_SECRET; never an\n"
        "                               argument, which every user of the machine can read\n"
        "  --server SERVER              production (default), staging, test-a to test-d, or\n"
        "                               the server's index\n"
        "  --service NAME               the service to sign in to\n"
        "  --password-fd N              read passwords and answers from this descriptor, one\n"
        "                               a line, instead of asking for them\n"
        "  --timeout SECONDS            how long to wait for the answer (70)\n"
        "  --json                       one line of JSON instead of a row for each value\n"
        "  --line                       all in one line, as long as it fits\n"
        "  --verbose                    show the library's log\n"
        "  --help, --version\n"
        "\n"
        "Exit status: 0 for status 0, 1 for any other status, 2 for misuse, 3 when no answer\n"
        "came.");
}

int misuse(const QString& problem)
{
    std::fprintf(stderr, "kelaccount: %s\n", printable(problem).toLocal8Bit().constData());
    return exitMisuse;
}

int run(const ClientSettings& settings, const Command& command, const CommandInput& input)
{
    KelAccount::KelAccounts accounts;
    if (command.callsService) {
        accounts.initialize(settings.consumerKey, settings.consumerSecret, settings.server,
                            settings.service, QVariantMap());
    }

    QStringList quoted;
    for (const QString& argument : settings.arguments)
        quoted.append(QLatin1Char('"') + argument + QLatin1Char('"'));
    const QString call = QLatin1String(command.operation) + QLatin1Char('(') +
                         quoted.join(QLatin1String(", ")) + QLatin1Char(')');
    QElapsedTimer clock;
    clock.start();
    bool reported = false;
    command.start(accounts, &accounts, input, [&](const Outcome& outcome) {
        if (reported)
            return;
        reported = true;
        printOutcome(call, outcome, static_cast<double>(clock.nsecsElapsed()) / 1e6,
                     settings.format);
        const bool good = outcome.status == 0 && outcome.failure.isEmpty();
        // Some operations answer from inside the call, before there is an event loop to leave.
        QTimer::singleShot(
            0, &accounts, [good] { QCoreApplication::exit(good ? exitSuccess : exitOtherStatus); });
    });
    QTimer::singleShot(settings.timeLimitSeconds * 1000, &accounts, [&] {
        std::fprintf(stderr, "kelaccount: no answer within %d s\n", settings.timeLimitSeconds);
        QCoreApplication::exit(exitNoAnswer);
    });
    return QCoreApplication::exec();
}

// Only pictures need more than a core application, and no display.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "captcha") == 0) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
            return std::make_unique<QGuiApplication>(argc, argv);
        }
    }
    return std::make_unique<QCoreApplication>(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    const auto application = makeApplication(argc, argv);
    QString problem;
    ClientSettings settings = ClientSettings::read(QCoreApplication::arguments().mid(1), problem);
    if (!problem.isEmpty())
        return misuse(problem);
    if (settings.wish == ClientSettings::Wish::ShowHelp) {
        printHelp();
        return exitSuccess;
    }
    if (settings.wish == ClientSettings::Wish::ShowVersion) {
        std::puts("kelaccount " KELACCOUNT_VERSION);
        return exitSuccess;
    }
    const Command* const command = findCommand(settings.command);
    if (!command) {
        return misuse(settings.command.isNull()
                          ? QStringLiteral("no command given; kelaccount --help lists them")
                          : QStringLiteral("unknown command '%1'; kelaccount --help lists them")
                                .arg(settings.command));
    }
    CommandInput input{settings.arguments, settings.commandOptions, {}};
    problem = command->problemWith(input);
    if (!problem.isEmpty())
        return misuse(problem);
    if (command->callsService)
        settings.findCredentials(problem);
    if (problem.isEmpty()) {
        input.secrets =
            readSecrets(command->secretsFor(input), settings.passwordDescriptor, problem);
    }
    if (!problem.isEmpty())
        return misuse(problem);
    // The status says what happened; the log is for who looks into it.
    if (!settings.verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("kelaccount.*=false"));
    return run(settings, *command, input);
}
