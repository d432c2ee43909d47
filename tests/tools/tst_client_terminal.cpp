// SPDX-License-Identifier: LGPL-2.1-or-later
// What the client shows on a terminal of the test's own: colours, its width, and that it waits.
#include "support/literals.h"
#include "support/rows.h"
#include "tools/terminal.h"

#include <QRegularExpression>

using namespace KelTest;

class TestClientTerminal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(mEmulator.start(), mEmulator.log().constData()); }
    void cleanup() { mEmulator.admin("DELETE", "/faults"_s); }

    void coloursAreForTerminalsThatWantThem_data()
    {
        columns<QString, QString, bool>("terminal", "noColour", "coloured");
        QTest::newRow("a terminal") << "xterm"_s << QString() << true;
        QTest::newRow("who wants none") << "xterm"_s
                                        << "1"_s << false;
        QTest::newRow("a simple one") << "dumb"_s << QString() << false;
        QTest::newRow("an unknown one") << QString() << QString() << false;
    }

    void coloursAreForTerminalsThatWantThem()
    {
        const auto [terminal, noColour, coloured] =
            fetch<QString, QString, bool>("terminal", "noColour", "coloured");
        for (const char* arguments : {"check-user bob", "--line check-user bob"}) {
            Terminal screen;
            QCOMPARE(finished(screen, arguments, {{"TERM"_s, terminal}, {"NO_COLOR"_s, noColour}}),
                     0);
            QVERIFY2(screen.shows("ErrorNone"), screen.screen().constData());
            QCOMPARE(screen.screen().contains("\x1b[32m0 "), coloured);
            QCOMPARE(screen.screen().contains('\x1b'), coloured);
        }
        Terminal screen;
        QCOMPARE(
            finished(screen, "check-user admin", {{"TERM"_s, terminal}, {"NO_COLOR"_s, noColour}}),
            1);
        QVERIFY2(screen.shows("Error512"), screen.screen().constData());
        QCOMPARE(screen.screen().contains("\x1b[31m512 "), coloured);
    }

    void jsonIsNeverColoured()
    {
        Terminal screen;
        QCOMPARE(finished(screen, "--json check-user bob", {{"TERM"_s, "xterm"_s}}), 0);
        QVERIFY(screen.shows("}"));
        QVERIFY(!screen.screen().contains('\x1b'));
    }

    void theWidthIsKept_data()
    {
        columns<QByteArray, int>("arguments", "width");
        for (const char* arguments : {"--help", "help register", "security-questions de",
                                      "--line security-questions de", "check-user admin"}) {
            for (const int width : {50, 72, 100})
                QTest::newRow(qPrintable("%1, %2"_s.arg(text(arguments)).arg(width)))
                    << QByteArray(arguments) << width;
        }
    }

    void theWidthIsKept()
    {
        const auto [arguments, width] = fetch<QByteArray, int>("arguments", "width");
        Terminal screen;
        QVERIFY(screen.setWidth(width));
        const int status = finished(screen, arguments, {{"NO_COLOR"_s, "1"_s}});
        QCOMPARE(status, arguments.contains("admin") ? 1 : 0);
        // The example is one line for a shell, and a line of --line begins with a fixed part.
        const int unbroken = arguments.startsWith("--line") ? 90 : 0;
        bool nearlyFull = false;
        for (const QByteArray& line : screen.screen().split('\n')) {
            const QString shown = QString::fromUtf8(line).remove(QLatin1Char('\r'));
            QVERIFY2(shown.size() <= qMax(width, unbroken) || shown.startsWith("  kelaccount "_s),
                     line.constData());
            nearlyFull = nearlyFull || shown.size() > width * 2 / 3;
        }
        // The texts are no longer than that.
        QVERIFY(nearlyFull || width > 72);
    }

    void longWaitingIsSaidAndCountedDown()
    {
        QVERIFY(mEmulator.orderFaults("hang"));
        Terminal screen;
        TerminalProcess client(screen.name());
        start(client, "--timeout 5 check-user bob", {{"TERM"_s, "xterm"_s}});
        // A busy machine may leave some of the seconds out.
        QVERIFY2(QTest::qWaitFor([&] { return secondsLeft(screen).size() >= 2; }, 20000),
                 screen.screen().constData());
        const QList<int> left = secondsLeft(screen);
        QVERIFY2(left.first() > left.last(), screen.screen().constData());
        QVERIFY2(left.first() <= 3, screen.screen().constData());
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitCode(), 3);
        QVERIFY(screen.shows("kelaccount: no answer within 5 s"));
        // The note is gone by then: only what stands behind the last erasure is seen.
        const QByteArray seen = screen.screen().mid(screen.screen().lastIndexOf("\x1b[K") + 3);
        QVERIFY2(seen.startsWith("kelaccount: no answer within 5 s"), seen.constData());
    }

    void theNoteMakesWayForTheAnswer()
    {
        QVERIFY(mEmulator.orderFaults("delay=2500"));
        Terminal screen;
        QCOMPARE(finished(screen, "check-user bob", {{"TERM"_s, "xterm"_s}}), 0);
        QVERIFY(screen.shows("ErrorNone"));
        QVERIFY(screen.screen().contains("waiting for the answer"));
        QVERIFY(screen.screen().lastIndexOf("\x1b[K") < screen.screen().indexOf("isUserId"));
    }

    void whoReadsOtherwiseIsToldNothingOfWaiting()
    {
        QVERIFY(mEmulator.orderFaults("delay=2500"));
        EnvironmentChange environment = surroundings();
        environment.insert("TERM"_s, "xterm"_s);
        const ProgramRun run = runProgram(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM),
                                          {"check-user"_s, "bob"_s}, environment);
        QCOMPARE(run.status, 0);
        QCOMPARE(run.errors, QByteArray());
        QVERIFY(!run.output.contains('\x1b'));
    }

private:
    static QList<int> secondsLeft(Terminal& screen)
    {
        QList<int> numbers;
        auto found = QRegularExpression("waiting for the answer, ([0-9]+) s left"_s)
                         .globalMatch(QString::fromUtf8(screen.screen()));
        while (found.hasNext())
            numbers.append(found.next().captured(1).toInt());
        return numbers;
    }

    EnvironmentChange surroundings() const
    {
        EnvironmentChange environment = mEmulator.environment();
        environment.insert("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
        environment.insert("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
        environment.insert("LC_ALL"_s, "C.UTF-8"_s);
        return environment;
    }

    void start(TerminalProcess& client, const QByteArray& arguments,
               const EnvironmentChange& change)
    {
        EnvironmentChange environment = surroundings();
        for (auto it = change.cbegin(); it != change.cend(); ++it)
            environment[it.key()] = it.value();
        client.setProcessEnvironment(changedEnvironment(environment));
        client.writeToTerminal();
        client.start(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM),
                     QString::fromLatin1(arguments).split(QLatin1Char(' ')));
    }

    int finished(Terminal& screen, const QByteArray& arguments, const EnvironmentChange& change)
    {
        TerminalProcess client(screen.name());
        start(client, arguments, change);
        // Read meanwhile: the terminal holds a few kilobytes, then the program waits.
        const bool ended = QTest::qWaitFor(
            [&] {
                screen.screen();
                return client.state() == QProcess::NotRunning;
            },
            30000);
        screen.screen();
        return ended && client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1;
    }

    EmulatorProcess mEmulator;
};

QTEST_GUILESS_MAIN(TestClientTerminal)
#include "tst_client_terminal.moc"
