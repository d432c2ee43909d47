// SPDX-License-Identifier: LGPL-2.1-or-later
// What the client asks a person for, on a terminal of the test's own.
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

enum ExitStatus { OtherStatus = 1, Misuse = 2 };

/// A program that has a terminal, or has none.
class TerminalProcess : public BoundProcess
{
public:
    explicit TerminalProcess(const QByteArray& terminal) : mTerminal(terminal) {}

protected:
    void setupChildProcess() override
    {
        BoundProcess::setupChildProcess();
        ::setsid();
        // The first one that a session's leader opens becomes its terminal.
        if (!mTerminal.isEmpty() && ::open(mTerminal.constData(), O_RDWR | O_CLOEXEC) < 0)
            ::_exit(99);
    }

private:
    QByteArray mTerminal;
};

/// Both ends of a terminal: the person's, and the name of the program's.
class Terminal
{
public:
    Terminal() : mPerson(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (mPerson >= 0 && ::grantpt(mPerson) == 0 && ::unlockpt(mPerson) == 0)
            mName = ::ptsname(mPerson);
        // Kept open, so that the settings outlive the program.
        mProgram = ::open(mName.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        ::fcntl(mPerson, F_SETFL, O_NONBLOCK);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        ::close(mProgram);
        ::close(mPerson);
    }

    QByteArray name() const { return mName; }
    bool echoes() const
    {
        termios settings{};
        return ::tcgetattr(mProgram, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }
    bool type(const QByteArray& keys)
    {
        return ::write(mPerson, keys.constData(), size_t(keys.size())) == keys.size();
    }
    /// Everything that was shown so far.
    QByteArray screen()
    {
        char bytes[1024];
        for (ssize_t count = 1; count > 0;) {
            count = ::read(mPerson, bytes, sizeof bytes);
            if (count > 0)
                mScreen.append(bytes, int(count));
        }
        return mScreen;
    }
    bool shows(const QByteArray& text)
    {
        return QTest::qWaitFor([&] { return screen().contains(text); }, 20000);
    }

private:
    int mPerson = -1;
    int mProgram = -1;
    QByteArray mName;
    QByteArray mScreen;
};

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
        columns<QByteArray, QList<QByteArray>>("arguments", "questions");
        QTest::newRow("registering")
            << "register --email bob@example.org"_ba << QList<QByteArray>{"password: "};
        QTest::newRow("registering with a question")
            << "register --email bob@example.org --question 2"_ba
            << QList<QByteArray>{"password: ", "answer: "};
        QTest::newRow("changing the password")
            << "change-password"_ba << QList<QByteArray>{"old-password: ", "new-password: "};
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
        QTest::addColumn<QByteArray>("key");
        QTest::newRow("Ctrl-C") << "\x03"_ba;
        QTest::newRow("Ctrl-D") << "\x04"_ba;
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
