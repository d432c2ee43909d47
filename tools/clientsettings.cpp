// SPDX-License-Identifier: LGPL-2.1-or-later
#include "clientsettings.h"

#include <QFile>
#include <QHash>

#include <functional>

namespace {

constexpr int longestSecret = 4096;

// The servers by name and by the index that the library knows them by.
bool readServer(const QString& text, int& server)
{
    static const QHash<QString, int> names = {
        {QStringLiteral("test-a"), 0},  {QStringLiteral("test-b"), 1},
        {QStringLiteral("production"), 2}, {QStringLiteral("staging"), 3},
        {QStringLiteral("test-c"), 4},  {QStringLiteral("test-d"), 5},
    };
    bool number = false;
    server = names.contains(text) ? names.value(text) : text.toInt(&number);
    return names.contains(text) || number;
}

bool readTimeLimit(const QString& text, int& seconds)
{
    constexpr int longest = 3600;
    bool number = false;
    seconds = text.toInt(&number);
    return number && seconds > 0 && seconds <= longest;
}

} // namespace

ClientSettings ClientSettings::read(const QStringList& arguments, QString& problem)
{
    ClientSettings settings;
    using Take = std::function<bool(const QString&)>;
    const auto keep = [](QString& target) {
        return [&target](const QString& value) {
            target = value;
            return true;
        };
    };
    const QHash<QString, Take> withValue = {
        {QStringLiteral("--consumer-key"), keep(settings.consumerKey)},
        {QStringLiteral("--consumer-secret-file"), keep(settings.secretFile)},
        {QStringLiteral("--service"), keep(settings.service)},
        {QStringLiteral("--server"),
         [&](const QString& value) { return readServer(value, settings.server); }},
        {QStringLiteral("--timeout"),
         [&](const QString& value) { return readTimeLimit(value, settings.timeLimitSeconds); }},
    };
    const QHash<QString, std::function<void()>> flags = {
        {QStringLiteral("--json"), [&] { settings.json = true; }},
        {QStringLiteral("--verbose"), [&] { settings.verbose = true; }},
        {QStringLiteral("--help"), [&] { settings.wish = Wish::ShowHelp; }},
        {QStringLiteral("--version"), [&] { settings.wish = Wish::ShowVersion; }},
    };

    bool optionsEnded = false;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (optionsEnded || !argument.startsWith(QLatin1String("--"))) {
            if (settings.command.isNull())
                settings.command = argument;
            else
                settings.arguments.append(argument);
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const QString name = argument.section(QLatin1Char('='), 0, 0);
        const bool joined = name.size() < argument.size();
        if (flags.contains(name) && !joined) {
            flags.value(name)();
            continue;
        }
        if (!withValue.contains(name)) {
            problem = QStringLiteral("unknown option '%1'; kelaccount --help lists them").arg(name);
            return settings;
        }
        if (!joined && i + 1 == arguments.size()) {
            problem = QStringLiteral("option '%1' needs a value; kelaccount --help says which")
                          .arg(name);
            return settings;
        }
        const QString value = joined ? argument.mid(name.size() + 1) : arguments.at(++i);
        if (!withValue.value(name)(value)) {
            problem = QStringLiteral("'%1' is no value for %2; kelaccount --help says which are")
                          .arg(value, name);
            return settings;
        }
    }
    return settings;
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
