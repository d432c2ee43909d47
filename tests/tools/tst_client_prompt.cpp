// SPDX-License-Identifier: LGPL-2.1-or-later
// What the client asks a person for, on a terminal of the test's own.
#include "support/literals.h"
#include "support/rows.h"
#include "tools/terminal.h"

#include <QTemporaryDir>
#include <QTest>

using namespace KelTest;

namespace {

enum ExitStatus { OtherStatus = 1, Misuse = 2 };

} // namespace

class TestClientPrompt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSecretIsAskedForWithoutEcho()
    {
        Terminal terminal;
        QVERIFY(terminal.echoes());
        TerminalProcess client(terminal.name());
        start(client, "sign-in bob");
        QVERIFY2(terminal.shows("password: "), client.readAllStandardError().constData());
        QVERIFY(QTest::qWaitFor([&] { return !terminal.echoes(); }));
        QVERIFY(terminal.type("planted secret\n"));
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitCode(), int(OtherStatus));
        QVERIFY(
            client.readAllStandardOutput().contains("800 ZorKeLDefs::ErrorStoreCredentialsFailed"));
        QVERIFY(terminal.echoes());
        QVERIFY2(!terminal.screen().contains("planted"), terminal.screen().constData());
    }

    void eachCommandAsksForItsOwn_data()
    {
        const auto row = rows<QByteArray, QList<QByteArray>>("arguments", "questions");
        row("registering", "register --email bob@example.org", QList<QByteArray>{"password: "});
        row("registering with a question", "register --email bob@example.org --question 2",
            QList<QByteArray>{"password: ", "answer: "});
        row("changing the password", "change-password",
            QList<QByteArray>{"old-password: ", "new-password: "});
    }
    void eachCommandAsksForItsOwn()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(QList<QByteArray>, questions);
        Terminal terminal;
        TerminalProcess client(terminal.name());
        start(client, arguments.constData());
        for (const QByteArray& question : questions) {
            QVERIFY2(terminal.shows(question), client.readAllStandardError().constData());
            QVERIFY(QTest::qWaitFor([&] { return !terminal.echoes(); }));
            QVERIFY(terminal.type("planted\n"));
        }
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitCode(), int(OtherStatus));
        QCOMPARE(terminal.screen().count(": "), questions.size());
        QVERIFY(!terminal.screen().contains("planted"));
    }

    void anInterruptedQuestionLeavesTheEchoOn_data()
    {
        const auto row = rows<QByteArray>("key");
        row("Ctrl-C", "\x03");
        row("Ctrl-D", "\x04");
    }
    void anInterruptedQuestionLeavesTheEchoOn()
    {
        QFETCH(QByteArray, key);
        Terminal terminal;
        TerminalProcess client(terminal.name());
        start(client, "sign-in bob");
        QVERIFY(terminal.shows("password: "));
        QVERIFY(QTest::qWaitFor([&] { return !terminal.echoes(); }));
        QVERIFY(terminal.type(key));
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.exitCode(), int(Misuse));
        QVERIFY(client.readAllStandardError().contains("no password was given"));
        QVERIFY(terminal.echoes());
    }

    void withoutATerminalNothingIsAskedFor()
    {
        TerminalProcess client{QByteArray()};
        start(client, "change-password");
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitCode(), int(Misuse));
        QCOMPARE(client.readAllStandardError(),
                 "kelaccount: no terminal to ask for the old-password and the new-password; "
                 "give --password-fd N\n"_ba);
    }

private:
    /// Without a bus there is nobody to store credentials: the answer is 800, and no service is
    /// asked.
    void start(TerminalProcess& client, const char* arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME"_s, mHome.path());
        environment.insert("ACCOUNTS"_s, mHome.path());
        environment.insert("DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s);
        environment.insert("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
        environment.insert("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
        client.setProcessEnvironment(environment);
        client.start(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM),
                     QString::fromLatin1(arguments).split(QLatin1Char(' ')));
    }

    QTemporaryDir mHome;
};

QTEST_GUILESS_MAIN(TestClientPrompt)
#include "tst_client_prompt.moc"
