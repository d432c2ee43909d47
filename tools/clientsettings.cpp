// SPDX-License-Identifier: LGPL-2.1-or-later
#include "clientsettings.h"

#include "commands.h"

#include <QFile>

namespace {

constexpr int longestSecret = 4096;

// The servers by name and by the index that the library knows them by.
bool readServer(const QString& text, int& server)
{
    static const QHash<QString, int> names = {
        {QStringLiteral("test-a"), 0},     {QStringLiteral("test-b"), 1},
        {QStringLiteral("production"), 2}, {QStringLiteral("staging"), 3},
        {QStringLiteral("test-c"), 4},     {QStringLiteral("test-d"), 5},
    };
    bool number = false;
    server = names.contains(text) ? names.value(text) : text.toInt(&number);
    return names.contains(text) || number;
}

bool readNumber(const QString& text, int lowest, int highest, int& value)
{
    bool number = false;
    value = text.toInt(&number);
    return number && value >= lowest && value <= highest;
}

const QStringList& optionsWithValue()
{
    static const QStringList names = {
        QStringLiteral("--consumer-key"), QStringLiteral("--consumer-secret-file"),
        QStringLiteral("--password-fd"),  QStringLiteral("--server"),
        QStringLiteral("--service"),      QStringLiteral("--timeout"),
    };
    return names;
}

} // namespace

ClientSettings ClientSettings::read(const QStringList& arguments, QString& problem)
{
    ClientSettings settings;
    bool optionsEnded = false;
    for (int i = 0; i < arguments.size() && problem.isEmpty(); ++i) {
        const QString& argument = arguments.at(i);
        if (!optionsEnded && argument == QLatin1String("--"))
            optionsEnded = true;
        else if (!optionsEnded && argument.startsWith(QLatin1String("--")))
            settings.takeOption(arguments, i, problem);
        else if (settings.command.isNull())
            settings.command = argument;
        else
            settings.arguments.append(argument);
    }
    return settings;
}

void ClientSettings::takeOption(const QStringList& all, int& position, QString& problem)
{
    const QString& argument = all.at(position);
    const QString name = argument.section(QLatin1Char('='), 0, 0);
    const bool joined = name.size() < argument.size();
    if (!joined && takeFlag(name))
        return;
    if (!optionsWithValue().contains(name) && !isCommandOption(name)) {
        problem = QStringLiteral("unknown option '%1'; kelaccount --help lists them").arg(name);
        return;
    }
    if (!joined && position + 1 == all.size()) {
        problem =
            QStringLiteral("option '%1' needs a value; kelaccount --help says which").arg(name);
        return;
    }
    const QString value = joined ? argument.mid(name.size() + 1) : all.at(++position);
    if (!takeValue(name, value)) {
        problem = QStringLiteral("'%1' is no value for %2; kelaccount --help says which are")
                      .arg(value, name);
    }
}

bool ClientSettings::takeFlag(const QString& name)
{
    if (name == QLatin1String("--json"))
        format = OutputFormat::Json;
    else if (name == QLatin1String("--line"))
        format = OutputFormat::Line;
    else if (name == QLatin1String("--verbose"))
        verbose = true;
    else if (name == QLatin1String("--help"))
        wish = Wish::ShowHelp;
    else if (name == QLatin1String("--version"))
        wish = Wish::ShowVersion;
    else if (isCommandFlag(name))
        commandOptions.insert(name, QStringLiteral("yes"));
    else
        return false;
    return true;
}

bool ClientSettings::takeValue(const QString& name, const QString& value)
{
    constexpr int longestTimeLimit = 3600;
    constexpr int highestDescriptor = 1023;
    if (name == QLatin1String("--server"))
        return readServer(value, server);
    if (name == QLatin1String("--timeout"))
        return readNumber(value, 1, longestTimeLimit, timeLimitSeconds);
    if (name == QLatin1String("--password-fd"))
        return readNumber(value, 0, highestDescriptor, passwordDescriptor);
    if (name == QLatin1String("--consumer-key"))
        consumerKey = value;
    else if (name == QLatin1String("--consumer-secret-file"))
        secretFile = value;
    else if (name == QLatin1String("--service"))
        service = value;
    else
        commandOptions.insert(name, value);
    return true;
}

void ClientSettings::findCredentials(QString& problem)
{
    if (consumerKey.isEmpty())
        consumerKey = qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY");
    if (consumerKey.isEmpty()) {
        problem = QStringLiteral("no consumer key: give --consumer-key KEY or set "
                                 "KELACCOUNT_CONSUMER_KEY");
        return;
    }
    if (secretFile.isEmpty()) {
        consumerSecret = qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET");
    } else {
        QFile file(secretFile);
        if (!file.open(QIODevice::ReadOnly)) {
            problem = QStringLiteral("cannot read the secret file '%1': %2")
                          .arg(secretFile, file.errorString());
            return;
        }
        consumerSecret = QString::fromUtf8(file.read(longestSecret)).trimmed();
    }
    if (consumerSecret.isEmpty()) {
        problem = QStringLiteral("no consumer secret: set KELACCOUNT_CONSUMER_SECRET or give "
                                 "--consumer-secret-file FILE");
    }
}
