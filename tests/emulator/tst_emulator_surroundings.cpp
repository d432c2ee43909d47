// SPDX-License-Identifier: LGPL-2.1-or-later
// What the emulator meets around it: clients of every HTTP version, folders with odd names, streams
// and ports that are not there, and its own sudden end.
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int patience = 30000;

ProgramRun runShell(const QString& script, const EnvironmentChange& environment = {})
{
    return runProgram("sh"_s, {"-c"_s, script, EmulatorProcess::program()}, environment);
}

} // namespace

class TestEmulatorSurroundings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersWhoWantsNoSecondAnswer_data()
    {
        columns<QByteArray, QByteArray>("version", "header");
        for (const char* options : {"close", "Close", "close, TE", "keep-alive, close"}) {
            const QByteArray header = "Connection: " + QByteArray(options) + "\r\n";
            QTest::addRow("1.1 %s", options) << "1.1"_ba << header;
            QTest::addRow("1.0 %s", options) << "1.0"_ba << header;
        }
        QTest::newRow("1.0") << "1.0"_ba << QByteArray();
    }

    void answersWhoWantsNoSecondAnswer()
    {
        const auto [version, header] = fetch<QByteArray, QByteArray>("version", "header");
        EmulatorProcess emulator;
        QVERIFY2(emulator.start({"--no-session"_s}), emulator.log().constData());
        QByteArray request = SignedRequest().bytes();
        request.replace(request.indexOf(" HTTP/1.1\r\n"), 11, " HTTP/" + version + "\r\n" + header);
        WireClient client;
        QVERIFY(client.open(emulator));
        QVERIFY(client.send(request));
        const WireReply reply = client.receiveToEnd();
        QCOMPARE(reply.status, 200);
        QCOMPARE(qint64(reply.body.size()), reply.announcedLength());
        QCOMPARE(reply.header("Connection"), "close"_ba);
        QVERIFY(reply.closed);
    }

    void readsWhatItRefuses()
    {
        // A connection that is closed with bytes unread is reset, and with it goes the answer of
        // whoever sends all before reading. Qt's sockets look at the answer meanwhile.
        EmulatorProcess emulator;
        QVERIFY2(emulator.start({"--no-session"_s}), emulator.log().constData());
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(emulator.proxyPort());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QCOMPARE(::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        const QByteArray head = "POST http://localhost/ HTTP/1.1\r\n\r\n";
        QCOMPARE(::send(client, head.constData(), size_t(head.size()), MSG_NOSIGNAL), head.size());
        const QByteArray body(20 * 1024 * 1024, 'x');
        QCOMPARE(::send(client, body.constData(), size_t(body.size()), MSG_NOSIGNAL), body.size());
        QByteArray answer(100, '\0');
        QVERIFY(::recv(client, answer.data(), size_t(answer.size()), 0) > 0);
        QVERIFY2(answer.startsWith("HTTP/1.1 405 "), answer);
        ::close(client);
    }

    void givesASessionInAnyFolder_data()
    {
        columns<QString, QString>("name", "locale");
        for (const QString& locale : {"C"_s, "C.UTF-8"_s}) {
            for (const QString& name :
                 {"with a blank"_s, QStringLiteral("\u00e9t\u00e9"), "a,b;c=d&e'f%20g"_s,
                  QString(50, QLatin1Char('x')), QString(200, QLatin1Char('y'))})
                QTest::addRow("%s %s", qPrintable(name.left(50)), qPrintable(locale))
                    << name << locale;
        }
    }

    void givesASessionInAnyFolder()
    {
        const auto [name, locale] = fetch<QString, QString>("name", "locale");
        const QTemporaryDir parent;
        QVERIFY(QDir(parent.path()).mkdir(name));
        // The bus, the daemon, its plugin and the accounts database: all of them have to be there.
        const ProgramRun result =
            runShell("exec \"$0\" run -- sh -c 'printf secret | " KELACCOUNT_CLIENT_PROGRAM
                     " sign-in alice --password-fd 0; result=$?; dirname $HOME; exit $result'"_s,
                     {{"TMPDIR"_s, parent.filePath(name)},
                      {"LC_ALL"_s, locale},
                      {"KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s},
                      {"KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s}});
        QVERIFY2(result.status == 0, result.output + result.errors);
        const QByteArray folder = result.output.trimmed().split('\n').last();
        QVERIFY2(folder.startsWith('/') && !QFile::exists(QFile::decodeName(folder)), folder);
        QCOMPARE(QDir(parent.filePath(name)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList());
    }

    void runsWithoutAStandardStream_data()
    {
        columns<QString>("closed");
        for (const char* closed : {"<&-", ">&-", "2>&-", "<&- >&-", "<&- >&- 2>&-"})
            QTest::newRow(closed) << QString::fromLatin1(closed);
    }

    void runsWithoutAStandardStream()
    {
        const auto [closed] = fetch<QString>("closed");
        // Of the emulator alone; then what the command's own streams are worth.
        const ProgramRun result =
            runShell("\"$0\" run -- sh -c 'test -e /proc/self/fd/0 && test -e /proc/self/fd/1 && "
                     "test -e /proc/self/fd/2 && exit 7' %1"_s.arg(closed));
        QCOMPARE(result.status, 7);
    }

    void endsWhatItsCommandStartedWhenKilled()
    {
        BoundProcess emulator;
        // A child, a child's child whose parent is gone, and one in a session of its own.
        emulator.start(EmulatorProcess::program(),
                       {"run"_s, "--no-session"_s, "--"_s, "sh"_s, "-c"_s,
                        "sleep 600 & echo $!; (sleep 601 & echo $!);"
                        "setsid sh -c 'trap \"\" TERM HUP INT; echo $$; sleep 602 & wait' & "
                        "echo ready; wait"_s});
        QByteArray output;
        static const QRegularExpression number("\\d+"_s);
        const auto processes = [&] {
            QVector<qint64> all;
            auto matches = number.globalMatch(QString::fromLatin1(output));
            while (matches.hasNext())
                all.append(matches.next().captured().toLongLong());
            return all;
        };
        QTRY_VERIFY_WITH_TIMEOUT((emulator.waitForReadyRead(10), output += emulator.readAll(),
                                  output.contains("ready") && processes().size() == 3),
                                 patience);
        for (const qint64 process : processes())
            QVERIFY(process > 1 && !isDead(process));
        emulator.kill();
        QVERIFY(emulator.waitForFinished(patience));
        for (const qint64 process : processes())
            QTRY_VERIFY_WITH_TIMEOUT(isDead(process), patience);
    }

    void leavesWhatItsCommandStartedWhenTheCommandEnds()
    {
        const ProgramRun result = runShell(
            "\"$0\" run --no-session -- sh -c 'sleep 600 >/dev/null 2>&1 & echo $!; exit 5'"_s);
        QCOMPARE(result.status, 5);
        const auto process = static_cast<pid_t>(result.output.trimmed().toLongLong());
        QVERIFY(process > 1);
        QVERIFY(!isDead(process));
        QCOMPARE(::kill(process, SIGKILL), 0);
    }

    void presentsAnotherHostsCertificateTwice()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start({"--no-session"_s}), emulator.log().constData());
        QVERIFY(emulator.orderFaults("2*wrong-host"));
        for (int turn = 0; turn < 2; ++turn) {
            WireClient client;
            QVERIFY(!client.open(emulator));
            QCOMPARE(client.errors().size(), 1);
            QCOMPARE(client.errors().first().error(), QSslError::HostNameMismatch);
        }
        WireClient client;
        QVERIFY(client.open(emulator));
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
    }

    void isNoNeighbourOnATakenPort_data()
    {
        columns<QString, QString>("option", "variable");
        QTest::newRow("admin") << "--admin-port"_s
                               << "KELACCOUNT_EMULATOR_ADMIN"_s;
        QTest::newRow("proxy") << "--proxy-port"_s
                               << "https_proxy"_s;
    }

    void isNoNeighbourOnATakenPort()
    {
        const auto [option, variable] = fetch<QString, QString>("option", "variable");
        EmulatorProcess first;
        QVERIFY2(first.start({"--no-session"_s}), first.log().constData());
        const QString port = QString::number(QUrl(first.environment().value(variable)).port());
        for (const QString& mode : {"run"_s, "serve"_s}) {
            QStringList words = {mode, "--no-session"_s, option, port};
            if (mode == "run"_s)
                words.append("true"_s);
            const ProgramRun second = EmulatorProcess::run(words);
            QCOMPARE(second.status, 125);
            QVERIFY2(second.errors.contains("port " + port.toLatin1()), second.errors);
        }
        QCOMPARE(first.admin("GET", "/health"_s).status, 200);
    }

    void itsEnvironmentIsReadAsTheManualSays()
    {
        QFile manual(QStringLiteral(KELACCOUNT_EMULATOR_MANUAL));
        QVERIFY(manual.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(manual.readAll());
        const int at = text.indexOf("\neval "_s);
        QVERIFY(at > 0);
        const QString line = text.mid(at + 1, text.indexOf(QLatin1Char('\n'), at + 1) - at - 1);
        const QString end = "kill \"$KELACCOUNT_EMULATOR_PID\""_s;
        QVERIFY(text.contains("\n"_s + end));
        // In the shell of a reader, who has the program on PATH.
        const ProgramRun result = runShell("PATH=$(dirname \"$0\"):$PATH; "_s + line +
                                           "; kelaccount-emulator inbox && "_s + end);
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(result.output, "No messages.\n"_ba);
        QCOMPARE(result.status, 0);
    }

    void saysWhenItIsReady()
    {
        BoundProcess emulator;
        emulator.start(EmulatorProcess::program(), {"serve"_s, "--no-session"_s});
        // The end of the output comes with it, though the program goes on.
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((emulator.waitForReadyRead(10), output += emulator.readAll(),
                                  output.endsWith("\n# kelaccount-emulator is ready\n")),
                                 patience);
        const QByteArray process =
            "\nexport KELACCOUNT_EMULATOR_PID='" + QByteArray::number(emulator.processId()) + "'\n";
        QVERIFY2(output.contains(process), output);
        QCOMPARE(emulator.state(), QProcess::Running);
        emulator.terminate();
        QVERIFY(emulator.waitForFinished(patience));
        QCOMPARE(emulator.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestEmulatorSurroundings)
#include "tst_emulator_surroundings.moc"
