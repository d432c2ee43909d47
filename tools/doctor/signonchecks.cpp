// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/busgreeting.h"
#include "tools/doctor/checks.h"

#include <SignOn/AuthService>
#include <SignOn/AuthSession>
#include <SignOn/Identity>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QEventLoop>
#include <QTimer>

#include <memory>

namespace Doctor {

namespace {

constexpr const char* bus = "bus";
constexpr const char* daemon = "daemon";
constexpr const char* plugin = "plugin";

const auto method = QStringLiteral("zorauth");
const auto daemonName = QStringLiteral("com.google.code.AccountsSSO.SingleSignOn");

bool checkBus(Patience& patience, Findings& findings)
{
    const auto mendFirst = [&findings] {
        findings.note(daemon, QStringLiteral("not looked for"),
                      QStringLiteral("mend the bus first"));
        return false;
    };
    if (greeted(sessionBusAddress(), patience.ms) == Greeting::Unanswered) {
        patience.hangingBus = QStringLiteral("session");
        findings.error(bus, QStringLiteral("the session bus does not answer"),
                       QStringLiteral("end the session, or the dbus-daemon that hangs, and "
                                      "programs with it"));
        return mendFirst();
    }
    const QDBusConnection session = QDBusConnection::sessionBus();
    if (!session.isConnected()) {
        findings.error(
            bus, QStringLiteral("there is no session bus: %1").arg(session.lastError().message()),
            QStringLiteral("start programs in the user's session, or in dbus-run-session; "
                           "DBUS_SESSION_BUS_ADDRESS leads there"));
        return mendFirst();
    }
    findings.good(bus, QStringLiteral("the session bus answers"));
    return true;
}

QDBusMessage ofBus(const char* member, const QVariantList& arguments, int ms)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QLatin1String(member));
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call, QDBus::Block, ms);
}

bool checkDaemon(Patience patience, Findings& findings)
{
    const QDBusMessage started = ofBus("StartServiceByName", {daemonName, 0U}, patience.ms);
    if (started.type() != QDBusMessage::ReplyMessage) {
        findings.error(
            daemon,
            QStringLiteral("the sign-on daemon cannot be started: %1").arg(started.errorMessage()),
            QStringLiteral("install signond, and see what it says when it is started by hand"));
        return false;
    }
    // Who has the name may hang all the same. This is asked past the sign-on library, which waits
    // for it without end.
    const QDBusMessage asked = QDBusMessage::createMethodCall(
        daemonName, QStringLiteral("/com/google/code/AccountsSSO/SingleSignOn"),
        QStringLiteral("com.google.code.AccountsSSO.SingleSignOn.AuthService"),
        QStringLiteral("queryMethods"));
    const QDBusMessage answer =
        QDBusConnection::sessionBus().call(asked, QDBus::Block, patience.ms);
    if (answer.type() == QDBusMessage::ReplyMessage) {
        findings.good(daemon, QStringLiteral("the sign-on daemon runs"));
        return true;
    }
    const QDBusMessage process = ofBus("GetConnectionUnixProcessID", {daemonName}, patience.ms);
    findings.error(daemon, QStringLiteral("the sign-on daemon runs, but does not answer"),
                   QStringLiteral("end it (kill -9 %1): it starts anew when it is needed")
                       .arg(process.arguments().value(0, QStringLiteral("signond")).toString()));
    return false;
}

/// Whether the daemon finds the plugin and can start it.
QString mechanismsProblem(Patience patience)
{
    QString problem = QStringLiteral("the sign-on daemon does not say what the plugin can do");
    QEventLoop loop;
    SignOn::AuthService service;
    QObject::connect(&service, &SignOn::AuthService::mechanismsAvailable, &loop,
                     [&](const QString&, const QStringList& mechanisms) {
                         problem = mechanisms.isEmpty()
                                       ? QStringLiteral("the sign-on daemon finds no plugin for "
                                                        "the method \"zorauth\"")
                                       : QString();
                         loop.quit();
                     });
    QObject::connect(&service, &SignOn::AuthService::error, &loop, [&](const SignOn::Error& error) {
        problem = QStringLiteral("the sign-on daemon finds no plugin for the "
                                 "method \"zorauth\": %1")
                      .arg(error.message());
        loop.quit();
    });
    QTimer::singleShot(patience.ms, &loop, &QEventLoop::quit);
    service.queryMechanisms(method);
    loop.exec();
    return problem;
}

/// What the plugin says to "initialise", which needs no credentials; false when it does not answer.
bool askVersion(Patience patience, QString& version, QString& problem)
{
    constexpr int msInSecond = 1000;
    bool answered = false;
    problem = QStringLiteral("no answer within %1 s").arg(patience.ms / msInSecond);
    QEventLoop loop;
    const std::unique_ptr<SignOn::Identity> identity(SignOn::Identity::newIdentity());
    const QPointer<SignOn::AuthSession> session = identity->createSession(method);
    if (!session)
        return false;
    QObject::connect(session.data(), &SignOn::AuthSession::response, &loop,
                     [&](const SignOn::SessionData& data) {
                         version = data.getProperty(QStringLiteral("PluginVersion")).toString();
                         answered = true;
                         loop.quit();
                     });
    QObject::connect(session.data(), &SignOn::AuthSession::error, &loop,
                     [&](const SignOn::Error& error) {
                         problem = error.message();
                         loop.quit();
                     });
    QTimer::singleShot(patience.ms, &loop, &QEventLoop::quit);
    // Each request brings a key; this one goes no further than the plugin.
    session->process(
        SignOn::SessionData({{QStringLiteral("ConsumerKey"), QStringLiteral("none")},
                             {QStringLiteral("ConsumerSecret"), QStringLiteral("none")}}),
        QStringLiteral("initialise"));
    loop.exec();
    return answered;
}

void checkPlugin(Patience patience, Findings& findings)
{
    const QString install = QStringLiteral(
        "install the plugin where the daemon looks for it, %1 (Debian: signon-plugin-zorauth)");
    const QString folder =
        qEnvironmentVariable("SSO_PLUGINS_DIR", QStringLiteral(KELACCOUNT_DAEMON_PLUGINS));
    QString problem = mechanismsProblem(patience);
    if (!problem.isEmpty()) {
        findings.error(plugin, problem, install.arg(folder));
        return;
    }
    QString version;
    if (!askVersion(patience, version, problem)) {
        findings.error(plugin, QStringLiteral("the plugin does not answer: %1").arg(problem),
                       install.arg(folder));
        return;
    }
    if (version == QLatin1String(KELACCOUNT_VERSION)) {
        findings.good(plugin, QStringLiteral("the plugin is of version %1").arg(version));
        return;
    }
    findings.warning(plugin,
                     QStringLiteral("the plugin is of version %1, the library of " //
                                    KELACCOUNT_VERSION)
                         .arg(version.isEmpty() ? QStringLiteral("unknown") : version),
                     QStringLiteral("install both of one version, and end the daemon, which "
                                    "starts anew"));
}

} // namespace

void checkSignOn(Patience& patience, Findings& findings)
{
    if (greeted(systemBusAddress(), patience.ms) == Greeting::Unanswered)
        patience.hangingBus = QStringLiteral("system");
    if (checkBus(patience, findings) && checkDaemon(patience, findings))
        checkPlugin(patience, findings);
    else
        findings.note(plugin, QStringLiteral("not looked for"),
                      QStringLiteral("mend the daemon first"));
}

} // namespace Doctor
