// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "sandbox/sandbox.h"
#include "support/daemoncontrol.h"
#include "support/testmain.h"
#include "support/testplugin/pluginscript.h"

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTest>

#include <cstdlib>
#include <functional>

#include <sys/types.h>

namespace KelTest {

/// A session for one test program: the real bus, sign-on daemon and accounts database, and the
/// scriptable plugin for method "zorauth".
class SessionSandbox
{
public:
    SessionSandbox();

    /// For what has to be set before the start.
    KelEmulator::Sandbox& session() { return mSession; }
    const KelEmulator::Sandbox& session() const { return mSession; }

    /// Starts the session and moves this process into it. On failure says why on standard error.
    bool start();

    // The plugin.

    /// What the plugin does with the requests from now on; forgets those before.
    void script(const QList<PluginStep>& steps);
    /// The requests since the last script(), in the order in which the plugin got them.
    QList<PluginRequest> requests() const;
    /// Their mechanisms.
    QStringList mechanisms() const;
    /// How often the plugin was told to cancel since the last script().
    int cancellations() const;
    /// Runs the event loop until the plugin has got so many requests.
    bool waitForRequests(int count, int timeoutMs = 10000) const;

    // The daemon and the processes.

    static pid_t daemonProcessId() { return DaemonControl::processId(); }
    pid_t pluginProcessId() const; ///< of the last request
    static bool killDaemon() { return DaemonControl::kill(); }
    static bool startDaemon() { return DaemonControl::start(); }
    /// Gives its database an index. It reads all that every identity may do for each that it is
    /// asked about, which takes more than all the rest where a test leaves dozens of them.
    bool quickenDaemon() const;
    /// Whether the bus can start the daemon from now on.
    void setDaemonInstalled(bool installed) const;

    // The stores.

    QList<QVariantList> credentials(const QString& query) const;
    QList<QVariantList> secrets(const QString& query) const;
    QList<QVariantList> accounts(const QString& query) const;

private:
    QList<PluginRequest> entries() const;
    QString pluginFile(const char* name) const;

    KelEmulator::Sandbox mSession;
    int mFirstEntry = 0;
};

/// True once `condition` holds; runs the event loop meanwhile.
bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 10000);

/// The body of a sandboxed test's main(). `prepare` sets what has to be set before the start.
template <class Test>
int runInSession(int argc, char** argv,
                 const std::function<void(KelEmulator::Sandbox&)>& prepare = nullptr)
{
    QCoreApplication application(argc, argv);
    SessionSandbox sandbox;
    if (prepare)
        prepare(sandbox.session());
    if (!sandbox.start())
        return EXIT_FAILURE;
    Test test(sandbox);
    return QTest::qExec(&test, argc, argv);
}

} // namespace KelTest

/// The main() of a test whose constructor takes the sandbox.
#define KEL_TEST_IN_SESSION(Test)                                                                  \
    namespace {                                                                                    \
    int run##Test(int argc, char** argv)                                                           \
    {                                                                                              \
        return KelTest::runInSession<Test>(argc, argv);                                            \
    }                                                                                              \
    }                                                                                              \
    KEL_TEST_MAIN(run##Test)
