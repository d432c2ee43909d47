// SPDX-License-Identifier: LGPL-2.1-or-later
// The programs beside the emulator: the tag server of "--tag-server", and that no program outlives
// it.
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <functional>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int patience = 30000;
constexpr const char* optionsVariable = "KELACCOUNT_TAG_SERVER_OPTIONS";
const auto tagServerOption = "--tag-server"_s;

/// An abstract name of this test's own: the device's is everybody's on this machine.
QByteArray socketName()
{
    return "kelaccount-companions-" + QByteArray::number(getpid());
}

/// What the tag server answers to a request for a tag; nothing when nobody listens.
QByteArray askTagServer()
{
    // 00 C3, 3 more than the key has, "0", the length of the key, the key
    const QByteArray request("\x00\xC3\x00\x0D\x30\x00\x0A:SSO_TEST:", 17);
    const QByteArray name = socketName();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.constData(), static_cast<size_t>(name.size()));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                             static_cast<size_t>(name.size()));
    const int client = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QByteArray reply;
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
        ::send(client, request.constData(), static_cast<size_t>(request.size()), MSG_NOSIGNAL) ==
            request.size()) {
        char bytes[100];
        const ssize_t count = ::recv(client, bytes, sizeof bytes, 0);
        reply = QByteArray(bytes, static_cast<int>(qMax<ssize_t>(count, 0)));
    }
    ::close(client);
    return reply;
}

bool waitUntil(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.hasExpired(patience))
            return false;
        QTest::qSleep(5);
    }
    return true;
}

/// Name of each process that this one started, by its id.
QMap<QString, QByteArray> childrenOf(qint64 parent)
{
    QMap<QString, QByteArray> children;
    const QByteArray line = "\nPPid:\t" + QByteArray::number(parent) + '\n';
    for (const QString& id : QDir("/proc"_s).entryList(QDir::Dirs)) {
        QFile status("/proc/%1/status"_s.arg(id));
        QFile name("/proc/%1/comm"_s.arg(id));
        if (id.toInt() > 1 && status.open(QIODevice::ReadOnly) && status.readAll().contains(line) &&
            name.open(QIODevice::ReadOnly))
            children.insert(id, name.readAll().trimmed());
    }
    return children;
}

} // namespace

class TestEmulatorCompanions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { qputenv(optionsVariable, "--tag hello --name " + socketName()); }

    void cleanup() { qunsetenv(optionsVariable); }

    void theTagServerAnswersAsLongAsTheEmulatorRuns()
    {
        QCOMPARE(askTagServer(), QByteArray());
        EmulatorProcess emulator;
        QVERIFY2(emulator.start({tagServerOption}), emulator.log().constData());
        QCOMPARE(askTagServer(), "\x01hello"_ba);
        QCOMPARE(askTagServer(), "\x01hello"_ba);
        QCOMPARE(emulator.stop(), 0);
        QCOMPARE(emulator.log(), QByteArray());
        QCOMPARE(askTagServer(), QByteArray());
    }

    void theTagServerIsThereWithoutASessionToo()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start({tagServerOption, "--no-session"_s}), emulator.log().constData());
        QCOMPARE(askTagServer(), "\x01hello"_ba);
    }

    void somebodyElsesTagServerIsNamedAndLeftAlone()
    {
        EmulatorProcess first;
        QVERIFY2(first.start({tagServerOption}), first.log().constData());
        EmulatorProcess second;
        QVERIFY2(second.start({tagServerOption}), second.log().constData());
        QCOMPARE(second.admin("GET", "/health"_s).status, 200);
        QCOMPARE(second.stop(), 0);
        const QByteArray said = second.log();
        QVERIFY2(said.contains("somebody else listens on the abstract socket \"" + socketName() +
                               "\" already"),
                 said.constData());
        QCOMPARE(said.count('\n'), 1);
        QCOMPARE(askTagServer(), "\x01hello"_ba);
    }

    void aMissingTagServerIsNamedAndTheCommandRuns()
    {
        // The emulator alone, with the folder of its modules.
        const QTemporaryDir folder;
        const QFileInfo built(EmulatorProcess::program());
        QVERIFY(QDir(folder.path()).mkdir("bin"_s));
        const QString program = folder.filePath("bin/kelaccount-emulator"_s);
        QVERIFY(QFile::copy(built.filePath(), program));
        QVERIFY(QFile::link(built.dir().filePath("../lib"_s), folder.filePath("lib"_s)));
        BoundProcess emulator;
        emulator.start(program,
                       {"run"_s, "--no-session"_s, tagServerOption, "--"_s, "echo"_s, "runs"_s});
        QVERIFY(emulator.waitForFinished(patience));
        QCOMPARE(emulator.exitCode(), 0);
        QCOMPARE(emulator.readAllStandardOutput(), "runs\n"_ba);
        const QByteArray said = emulator.readAllStandardError();
        QVERIFY2(said.contains("kelaccount-tag-server is missing"), said.constData());
        QCOMPARE(said.count('\n'), 1);
    }

    void nobodyOutlivesTheEmulator_data()
    {
        const auto row = rows<int>("number");
        row("asked to end", SIGTERM);
        row("killed", SIGKILL);
    }
    void nobodyOutlivesTheEmulator()
    {
        QFETCH(int, number);
        BoundProcess emulator;
        emulator.start(EmulatorProcess::program(),
                       {"serve"_s, "--sim"_s, "244-05-1234567890"_s, tagServerOption});
        QByteArray output;
        // Printed when all of them are there.
        QVERIFY(waitUntil([&] {
            emulator.waitForReadyRead(10);
            output += emulator.readAllStandardOutput();
            return output.contains("LD_PRELOAD=");
        }));
        const auto id = static_cast<pid_t>(emulator.processId());
        const QMap<QString, QByteArray> children = childrenOf(id);
        // As far as the kernel keeps a name.
        for (const char* name : {"dbus-daemon", "kelaccount-mode", "kelaccount-tag-"})
            QVERIFY2(children.values().contains(name), name);
        // A key on the terminal reaches a whole group; it is for the command.
        for (const QString& child : children.keys())
            QVERIFY2(::getpgid(child.toInt()) != ::getpgid(id), children.value(child).constData());
        QVERIFY(id > 1);
        QCOMPARE(::kill(id, number), 0);
        QVERIFY(emulator.waitForFinished(patience));
        for (const QString& child : children.keys())
            QVERIFY2(waitUntil([&] { return !QFile::exists("/proc/"_s + child); }),
                     children.value(child).constData());
        QCOMPARE(askTagServer(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestEmulatorCompanions)

#include "tst_emulator_companions.moc"
