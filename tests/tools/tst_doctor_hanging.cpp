// SPDX-License-Identifier: LGPL-2.1-or-later
// The client's doctor, and the client, where something does not fail but hangs.
#include "platform/privatebus.h"
#include "tools/doctorrun.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTcpServer>

#include <csignal>
#include <sys/stat.h>

using namespace KelTest;

namespace {

const auto daemonName = "com.google.code.AccountsSSO.SingleSignOn"_s;
const auto busName = "org.freedesktop.DBus"_s;
const QStringList impatient = {"--timeout"_s, "2"_s};

QDBusMessage askBus(const QString& address, const QString& method, const QVariantList& arguments)
{
    QDBusMessage answer;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(address, "test"_s);
        QDBusMessage call =
            QDBusMessage::createMethodCall(busName, "/org/freedesktop/DBus"_s, busName, method);
        call.setArguments(arguments);
        answer = bus.call(call);
    }
    QDBusConnection::disconnectFromBus("test"_s);
    return answer;
}

/// A process that lets everybody wait as long as this lives.
class Hanging
{
public:
    /// Whoever has that name on the bus.
    Hanging(const QString& address, const QString& name)
    {
        const QDBusMessage answer = askBus(address, "GetConnectionUnixProcessID"_s, {name});
        if (answer.type() == QDBusMessage::ReplyMessage)
            mProcess = static_cast<pid_t>(answer.arguments().value(0).toUInt());
        mHangs = mProcess > 1 && ::kill(mProcess, SIGSTOP) == 0;
    }
    ~Hanging()
    {
        if (mHangs)
            ::kill(mProcess, SIGCONT);
    }
    Hanging(const Hanging&) = delete;
    Hanging& operator=(const Hanging&) = delete;

    bool hangs() const { return mHangs; }
    pid_t process() const { return mProcess; }

private:
    pid_t mProcess = 0;
    bool mHangs = false;
};

} // namespace

class TestDoctorHanging : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(mEmulator.start(withSim), mEmulator.log().constData()); }
    void cleanup() { mEmulator.admin("DELETE", "/faults"_s); }

    void aDaemonThatHangsIsFoundWithItsProcess()
    {
        const Session session(mEmulator);
        QCOMPARE(askBus(busAddress(), "StartServiceByName"_s, {daemonName, 0U}).type(),
                 QDBusMessage::ReplyMessage);
        const Hanging daemon(busAddress(), daemonName);
        QVERIFY(daemon.hangs());
        const ProgramRun run = diagnosed(session, impatient);
        verifyFinding(run, "daemon"_s, "error"_s, "runs, but does not answer"_s);
        QVERIFY(run.output.contains("kill -9 " + QByteArray::number(daemon.process()) + ")"));
        verifyFinding(run, "plugin"_s, "note"_s, "not looked for"_s);
        verifyFinding(run, "key"_s, "good"_s, QString());
    }

    void aSessionBusThatHangsIsFoundAndWhatNeedsItIsLeft()
    {
        const Session session(mEmulator);
        const Hanging bus(busAddress(), busName);
        QVERIFY(bus.hangs());
        const ProgramRun run = diagnosed(session, impatient);
        verifyFinding(run, "bus"_s, "error"_s, "does not answer"_s);
        for (const char* check : {"daemon", "plugin", "key", "sim", "region"})
            verifyFinding(run, text(check), "note"_s, QString());
        verifyFinding(run, "tls"_s, "good"_s, QString());
    }

    void aSystemBusThatHangsIsFound()
    {
        PrivateBus bus;
        QVERIFY2(bus.start(), "needs the package dbus");
        Session session(mEmulator);
        const QString address = QString::fromLocal8Bit(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
        session.set("DBUS_SYSTEM_BUS_ADDRESS", address);
        const Hanging hanging(address, busName);
        QVERIFY(hanging.hangs());
        const ProgramRun run = diagnosed(session, impatient);
        verifyFinding(run, "modem"_s, "error"_s, "the system bus does not answer"_s);
        verifyFinding(run, "plugin"_s, "good"_s, QString());
        for (const char* check : {"key", "region"})
            verifyFinding(run, text(check), "note"_s, "the system bus does not answer"_s);
    }

    void aServiceThatHangsIsFound()
    {
        const Session session(mEmulator);
        QVERIFY(mEmulator.orderFaults("hang"));
        verifyFinding(diagnosed(session, impatient), "key"_s, "error"_s, "404"_s);
    }

    void aProxyThatHangsIsFound()
    {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        Session session(mEmulator);
        session.set("https_proxy", "http://127.0.0.1:%1"_s.arg(silent.serverPort()));
        const ProgramRun run = diagnosed(session, impatient);
        verifyFinding(run, "proxy"_s, "good"_s, "is reached"_s);
        verifyFinding(run, "tls"_s, "error"_s, "no TLS connection"_s);
        for (const char* check : {"clock", "key"})
            verifyFinding(run, text(check), "note"_s, "the service is not reached"_s);
    }

    // Reading that waits for a writer, as a file system waits for a server that is gone.
    void aFileThatCannotBeReadToItsEndEndsTheDoctor()
    {
        Session session(mEmulator);
        session.set("AG_PROVIDERS", session.folder.path());
        const QByteArray file = QFile::encodeName(session.folder.filePath("zor.provider"_s));
        QCOMPARE(::mkfifo(file.constData(), S_IRUSR | S_IWUSR), 0);
        const ProgramRun run =
            runProgram(session.client, {"doctor"_s, "--timeout"_s, "1"_s}, session.environment);
        QCOMPARE(run.status, 3);
        QVERIFY2(run.output.contains("\ngood     plugin "), run.output.constData());
        QCOMPARE(run.errors, QByteArray("kelaccount: looking at the accounts took too long\n"));
    }

    void aCallThatIsHeldUpEndsWithTheTimeLimit()
    {
        const Session session(mEmulator);
        const Hanging bus(busAddress(), busName);
        QVERIFY(bus.hangs());
        for (const char* style : {"--json", "--line"}) {
            const ProgramRun run = runProgram(
                session.client, impatient + QStringList{text(style), "check-user"_s, "alice"_s},
                session.environment);
            QCOMPARE(run.status, 3);
            QCOMPARE(run.output, QByteArray());
            QCOMPARE(run.errors, QByteArray("kelaccount: no answer within 2 s\n"));
        }
    }

private:
    QString busAddress() const { return mEmulator.environment()["DBUS_SESSION_BUS_ADDRESS"_s]; }

    EmulatorProcess mEmulator;
};

QTEST_GUILESS_MAIN(TestDoctorHanging)
#include "tst_doctor_hanging.moc"
