// SPDX-License-Identifier: LGPL-2.1-or-later
// Stands in for the device's settings application: shows the accounts that the accounts database
// holds, and takes one off the device together with its credentials, which is how a user signs out.
#include "tools/commandline/reader.h"

#include <Accounts/Account>
#include <Accounts/Manager>
#include <Accounts/Service>

#include <SignOn/Error>
#include <SignOn/Identity>

#include <QCoreApplication>
#include <QEventLoop>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

enum ExitStatus { exitSuccess = 0, exitFailure = 1 };

constexpr int daemonTimeoutMs = 10000;

void say(const QString& text)
{
    std::fputs((text + QLatin1Char('\n')).toLocal8Bit().constData(), stdout);
}

int fail(const QString& text)
{
    std::fputs((QLatin1String("kelaccount-settings: ") + text + QLatin1Char('\n'))
                   .toLocal8Bit()
                   .constData(),
               stderr);
    return exitFailure;
}

void row(const QString& name, const QString& value)
{
    constexpr int nameWidth = 36;
    say(QLatin1String("  ") + name.leftJustified(nameWidth) + QLatin1Char(' ') + value);
}

QString onOff(bool enabled)
{
    return enabled ? QStringLiteral("on") : QStringLiteral("off");
}

void showAccount(Accounts::Account& account)
{
    account.selectService();
    say(QStringLiteral("account %1 of provider \"%2\": \"%3\", %4")
            .arg(account.id())
            .arg(account.providerName(), account.displayName(), onOff(account.enabled())));
    QStringList keys = account.allKeys();
    keys.removeAll(QStringLiteral("name"));
    keys.removeAll(QStringLiteral("enabled"));
    std::sort(keys.begin(), keys.end());
    for (const QString& key : qAsConst(keys))
        row(key, account.value(key).toString());
    const Accounts::ServiceList services = account.services();
    for (const Accounts::Service& service : services) {
        account.selectService(service);
        row(QStringLiteral("service ") + service.name(), onOff(account.enabled()));
    }
    account.selectService();
}

int showAccounts(Accounts::Manager& manager)
{
    const Accounts::AccountIdList ids = manager.accountList();
    if (ids.isEmpty())
        say(QStringLiteral("There is no account on this device."));
    for (const Accounts::AccountId id : ids) {
        if (Accounts::Account* const account = manager.account(id))
            showAccount(*account);
    }
    return exitSuccess;
}

/// False, with the reason on standard error, when the daemon still has them.
bool removeCredentials(quint32 credentialsId)
{
    const std::unique_ptr<SignOn::Identity> identity(
        SignOn::Identity::existingIdentity(credentialsId));
    if (!identity)
        return fail(QStringLiteral("no credentials %1").arg(credentialsId)) == exitSuccess;
    QString problem = QStringLiteral("the sign-on daemon does not answer");
    QEventLoop loop;
    QObject::connect(identity.get(), &SignOn::Identity::removed, &loop, [&] {
        problem.clear();
        loop.quit();
    });
    QObject::connect(identity.get(), &SignOn::Identity::error, &loop,
                     [&](const SignOn::Error& error) {
                         problem = error.message();
                         loop.quit();
                     });
    QTimer::singleShot(daemonTimeoutMs, &loop, &QEventLoop::quit);
    identity->remove();
    loop.exec();
    if (!problem.isEmpty())
        fail(QStringLiteral("credentials %1 are still there: %2").arg(credentialsId).arg(problem));
    return problem.isEmpty();
}

/// The credentials first: an account without them can be removed later, credentials without an
/// account would be forgotten.
int removeAccount(Accounts::Manager& manager, const QString& number)
{
    const Accounts::AccountId id = number.toUInt();
    Accounts::Account* const account =
        manager.accountList().contains(id) ? manager.account(id) : nullptr;
    if (!account)
        return fail(QStringLiteral("no account %1").arg(number));
    const QString name = account->displayName();
    const quint32 credentialsId = account->credentialsId();
    if (credentialsId != 0 && !removeCredentials(credentialsId))
        return exitFailure;
    account->remove();
    if (!account->syncAndBlock())
        return fail(QStringLiteral("the accounts database still has account %1").arg(number));
    say(QStringLiteral("removed account %1, \"%2\", and credentials %3")
            .arg(number, name)
            .arg(credentialsId));
    return exitSuccess;
}

const CommandLine::Program& settingsProgram()
{
    using CommandLine::Completion;
    static const CommandLine::Program program = {
        "kelaccount-settings",
        KELACCOUNT_VERSION,
        "stand in for the device's settings application",
        "Shows the accounts of this device with their settings, or takes one off it. Runs in the "
        "emulator's session, see kelaccount-emulator(1).",
        {},
        {},
        {{"show", {}, {}, "show the accounts with their settings", "show"},
         {"remove",
          {{{"ACCOUNT"}, "its number, as show has it"}},
          {},
          "take an account off the device, and its credentials",
          "remove 1"},
         {"help",
          {{{"COMMAND", nullptr, Completion::Choices, {"show", "remove"}},
            "the command to tell about",
            true}},
          {},
          "say what a command does and takes",
          "help remove"}},
        {{"Exit status",
          {{"0", "done"},
           {"1", "it failed, or this is not the emulator's session"},
           {"2", "misuse"},
           {"4", "the output cannot be written"}}}},
        {},
        {"kelaccount-emulator", "kelaccount"},
    };
    return program;
}

} // namespace

int main(int argc, char** argv)
{
    CommandLine::Line line;
    if (const auto status = CommandLine::answer(settingsProgram(), argc, argv, line))
        return *status;
    const QCoreApplication application(argc, argv);
    // On a developer's own desktop "remove" would take a real account away.
    if (!qEnvironmentVariableIsSet("KELACCOUNT_EMULATOR_ADMIN"))
        return fail(QStringLiteral("this is not the emulator's session; start it in "
                                   "kelaccount-emulator run"));
    Accounts::Manager manager;
    if (manager.lastError().type() != Accounts::Error::NoError)
        return fail(QStringLiteral("the accounts database cannot be opened"));
    const int status = line.command == "show"
                           ? showAccounts(manager)
                           : removeAccount(manager, QString::fromStdString(line.arguments.front()));
    const int written = CommandLine::flushed(settingsProgram().name);
    return status != exitSuccess ? status : written;
}
