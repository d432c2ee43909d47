// SPDX-License-Identifier: LGPL-2.1-or-later
#include "commands.h"

#include "accountcommands.h"
#include "devicecommands.h"
#include "servicecommands.h"

#include <algorithm>

QStringList ClientCommand::secretsFor(const CommandInput& input) const
{
    QStringList names;
    for (const Secret& secret : secrets) {
        if (secret.onlyWith.empty() || input.has(secret.onlyWith.c_str()))
            names.append(QString::fromStdString(secret.name));
    }
    return names;
}

const std::vector<ClientCommand>& commands()
{
    static const std::vector<ClientCommand> all = [] {
        std::vector<ClientCommand> list;
        for (const auto& part : {serviceCommands(), accountCommands(), deviceCommands()})
            list.insert(list.end(), part.begin(), part.end());
        return list;
    }();
    return all;
}

const ClientCommand* findCommand(const std::string& name)
{
    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&](const ClientCommand& c) { return c.line.name == name; });
    return found != commands().end() ? &*found : nullptr;
}
