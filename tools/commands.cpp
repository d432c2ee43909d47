// SPDX-License-Identifier: LGPL-2.1-or-later
#include "commands.h"

#include <algorithm>

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;

namespace {

void checkUser(KelAccounts& accounts, QObject* context, const QStringList& arguments,
               const Report& report)
{
    QObject::connect(&accounts, &KelAccounts::isUserIdAvailableResponse, context,
                     [report](ErrorStatus status, bool available, const QStringList& suggestions) {
                         report({QStringLiteral("isUserIdAvailableResponse"),
                                 status,
                                 {{QStringLiteral("available"), available},
                                  {QStringLiteral("suggestions"), suggestions}}});
                     });
    accounts.isUserIdAvailable(arguments.at(0));
}

} // namespace

int Command::argumentCount() const
{
    return QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts).size();
}

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = {
        {"check-user", "NAME", "is this user name free?", "isUserIdAvailable", checkUser},
    };
    return all;
}

const Command* findCommand(const QString& name)
{
    const auto found = std::find_if(commands().begin(), commands().end(), [&](const Command& c) {
        return name == QLatin1String(c.name);
    });
    return found != commands().end() ? &*found : nullptr;
}
