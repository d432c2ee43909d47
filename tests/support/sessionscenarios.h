// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/messagelog.h"
#include "support/scenarios.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

namespace KelTest {

/// Scenarios in a session of their own. It knows the words for plugin, daemon and log; a test adds
/// those for what it is about. sessionscenarios.md says what they mean.
class SessionScenarios : protected Scenarios
{
protected:
    explicit SessionScenarios(SessionSandbox& sandbox);
    ~SessionScenarios() = default;

    /// The scenarios of the file that this run is given.
    static void scenarioRows() { Scenarios::scenarioRows(qEnvironmentVariable("KEL_SCENARIOS")); }

    /// What does not hold in the scenario from its first line to its last.
    QString problemOf(const QStringList& lines);

    /// The first of these lines, each a scenario with "; " between its steps, in which there is
    /// nothing that does not hold.
    QString whichHolds(const QString& scenarios);

    /// The word calls the function, with what follows it, and what that returns is whether it
    /// holds, or what does not.
    template <class Function>
    void word(const char* name, Function function)
    {
        mWords[text(name)] = [function](const QString& rest) -> QString {
            if constexpr (std::is_invocable_v<Function>) {
                function();
                return {};
            } else if constexpr (std::is_same_v<decltype(function(rest)), bool>) {
                return expect(function(rest));
            } else {
                return function(rest);
            }
        };
    }

    /// Steps for later, parted by "; ", as what the returned function does when it is called first.
    /// A scenario has to come to all that it prepares.
    std::function<void()> prepared(const QString& steps);

    /// The plugin does as it ever does; what it was asked is still there.
    void forgetPlugin() { mSteps.clear(); }

    /// "initialise" and "close" as they are, "ensureToken" for "privateMechanism_ensureToken".
    static QString mechanismOf(const QString& name);

    /// "A=text | B=:17"
    static QVariantMap dataOf(const QString& text);

    /// "a|b, c|d"
    static QString textOf(const QList<QVariantList>& rows);

    /// Passes time as the fixture does.
    virtual void passTime(int milliseconds) = 0;

private:
    void addWordsForProcesses();
    void addWordsForStores();
    QString step(const QString& word, const QString& rest, const QString& more) override;
    bool addPluginStep(const QString& text);
    bool prepareForRequest(const QString& text);
    QString compareAsked(const QString& names);
    QString compareSent(const QString& text);
    bool signalProcess(const QString& name, int signal);
    bool change(const QString& what);
    bool setCredentialsReadable(bool readable) const;
    bool changeAccounts(const QString& what);

    SessionSandbox& mSession;
    QHash<QString, std::function<QString(const QString&)>> mWords;
    QList<PluginStep> mSteps;
    std::optional<MessageLog> mLog;
    QObject mContext; // of the timers
    std::unique_ptr<SqliteLock> mLock;
    QByteArray mAccountsFolder;
    pid_t mStopped = 0;
    bool mIsDaemonMissing = false;
    int mPrepared = 0;
    QString mProblemLater;
};

} // namespace KelTest
