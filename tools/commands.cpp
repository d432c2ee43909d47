// SPDX-License-Identifier: LGPL-2.1-or-later
#include "commands.h"

#include "accountcommands.h"
#include "devicecommands.h"
#include "servicecommands.h"

#include <algorithm>

namespace {

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

bool isKnown(const QString& name, bool withValue)
{
    return std::any_of(commands().begin(), commands().end(), [&](const Command& command) {
        const QStringList options = words(command.options);
        return std::any_of(options.begin(), options.end(), [&](const QString& option) {
            return option.section(QLatin1Char('='), 0, 0) == name &&
                   option.contains(QLatin1Char('=')) == withValue;
        });
    });
}

} // namespace

QString Command::problemWith(const CommandInput& input) const
{
    const QStringList names = words(arguments);
    const auto isOptional = [](const QString& n) { return n.startsWith(QLatin1Char('[')); };
    const auto optional = static_cast<int>(std::count_if(names.begin(), names.end(), isOptional));
    const int given = input.arguments.size();
    if (given < names.size() - optional || given > names.size()) {
        return QStringLiteral("usage: kelaccount %1 %2 %3")
            .arg(QLatin1String(name), QLatin1String(arguments), QLatin1String(options))
            .simplified();
    }
    for (auto it = input.options.cbegin(); it != input.options.cend(); ++it) {
        const QStringList own = words(options);
        const bool known = std::any_of(own.begin(), own.end(), [&](const QString& option) {
            return option.section(QLatin1Char('='), 0, 0) == it.key();
        });
        if (!known) {
            return QStringLiteral("%1 does not know the option '%2'; kelaccount --help lists its "
                                  "own")
                .arg(QLatin1String(name), it.key());
        }
    }
    return {};
}

QStringList Command::secretsFor(const CommandInput& input) const
{
    QStringList names;
    for (const QString& secret : words(secrets)) {
        const QString option = secret.section(QLatin1Char('@'), 1);
        if (option.isEmpty() || input.options.contains(option))
            names.append(secret.section(QLatin1Char('@'), 0, 0));
    }
    return names;
}

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = [] {
        std::vector<Command> list;
        for (const auto& part : {serviceCommands(), accountCommands(), deviceCommands()})
            list.insert(list.end(), part.begin(), part.end());
        return list;
    }();
    return all;
}

const Command* findCommand(const QString& name)
{
    const auto found = std::find_if(commands().begin(), commands().end(), [&](const Command& c) {
        return name == QLatin1String(c.name);
    });
    return found != commands().end() ? &*found : nullptr;
}

bool isCommandOption(const QString& name)
{
    return isKnown(name, true);
}

bool isCommandFlag(const QString& name)
{
    return isKnown(name, false);
}
