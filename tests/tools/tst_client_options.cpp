// SPDX-License-Identifier: LGPL-2.1-or-later
// The client's command line, without a service: nothing here gets as far as a request.
#include "support/literals.h"
#include "support/rows.h"
#include "tools/clientrun.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace KelTest;

namespace {

enum ExitStatus { Success = 0, OtherStatus = 1, Misuse = 2, NotWritten = 4 };

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

class TestClientOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helpSaysWhatThereIs_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("alone") << words("--help");
        QTest::newRow("as a command") << words("help");
        QTest::newRow("short") << words("-h");
        QTest::newRow("with other options") << words("--json --help --server staging");
    }

    void helpSaysWhatThereIs()
    {
        QFETCH(QStringList, arguments);
        const ClientRun run = withoutCredentials().run(arguments);
        QCOMPARE(run.status, int(Success));
        QCOMPARE(run.errors, QByteArray());
        QVERIFY(run.output.startsWith("usage: kelaccount "));
        for (const char* text : {"check-user NAME", "--server", "--consumer-key",
                                 "--consumer-secret-file", "KELACCOUNT_CONSUMER_SECRET", "--json",
                                 "--line", "--verbose", "--version", "Exit status"})
            QVERIFY2(run.output.contains(text), text);
        for (const QByteArray& line : run.output.split('\n'))
            QVERIFY2(line.size() <= 100, line.constData());
    }

    void helpOfACommandHasItsOptionsAndAnExample_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("asked of help") << words("help register");
        QTest::newRow("behind it") << words("register --help");
        QTest::newRow("before it") << words("-h register");
        QTest::newRow("with what is missing elsewhere") << words("register -h --server moon");
    }

    void helpOfACommandHasItsOptionsAndAnExample()
    {
        QFETCH(QStringList, arguments);
        const ClientRun run = withoutCredentials().run(arguments);
        QCOMPARE(run.status, int(Success));
        QCOMPARE(run.errors, QByteArray());
        QVERIFY(run.output.startsWith("usage: kelaccount register [OPTIONS]\n"));
        for (const char* text : {"--born YYYY-MM-DD", "password, answer (with --question)",
                                 "Example:\n  kelaccount register --email"})
            QVERIFY2(run.output.contains(text), text);
    }

    // By the client's own list.
    void everyCommandHasHelpAndAnExampleThatItTakes()
    {
        const QStringList names = commandNames();
        QVERIFY(names.contains("check-user"_s));
        for (const QString& name : names) {
            const ClientRun help = withoutCredentials().run({"help"_s, name});
            QCOMPARE(help.status, int(Success));
            QVERIFY2(help.output.startsWith("usage: kelaccount " + name.toLatin1()),
                     help.output.constData());
            const int at = help.output.indexOf("\nExample:\n  kelaccount ");
            QVERIFY2(at >= 0, qPrintable(name));
            const QByteArray example =
                help.output.mid(help.output.indexOf("kelaccount ", at)).split('\n').first();
            // A shell takes it apart; what is wrong with a command's words comes before what is
            // wrong with its surroundings.
            const ProgramRun run =
                runProgram("/bin/sh"_s,
                           {"-c"_s, "kelaccount() { exec \"$CLIENT\" \"$@\"; }; "_s +
                                        QString::fromUtf8(example)},
                           {{"CLIENT"_s, QStringLiteral(KELACCOUNT_CLIENT_PROGRAM)},
                            {"KELACCOUNT_CONSUMER_KEY"_s, QString()},
                            {"DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s},
                            {"DBUS_SYSTEM_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s}});
            QVERIFY2(run.status != int(Misuse) || run.errors.contains("no consumer key"),
                     (example + '\n' + run.errors).constData());
        }
    }

    void aValueIsTakenOrNot_data()
    {
        columns<QStringList, QByteArray>("arguments", "expected");
        const auto bad = [](const char* arguments, const char* expected) {
            QTest::newRow(arguments) << words(arguments) << QByteArray(expected);
        };
        const char* const date = "--born needs a date like 1990-02-28, not ";
        for (const char* value : {"31.12.2020", "2021-02-29", "1900-02-29", "2020-13-01",
                                  "2020-00-10", "2020-1-1", "20200101", "yesterday", "0000-01-01"})
            bad(qPrintable("register --born "_s + text(value)), date);
        for (const char* value : {"english", "xx", "EN", "e", "en_", "en_Great", "_GB"})
            bad(qPrintable("security-questions "_s + text(value)),
                "LANGUAGE needs a language's code like fi or pt_BR, not ");
        bad("terms music --language klingon", "--language needs a language's code");
        for (const char* value : {"Finland", "fi", "XX", "F", "001"})
            bad(qPrintable("terms music --country "_s + text(value)),
                "--country needs a country's code like FI, not ");
        for (const char* value : {"0", "10001", "wide", "1e2", "+5", "0x10"})
            bad(qPrintable("captcha --width="_s + text(value)),
                "--width needs a number from 1 to 10000, not ");
        bad("ensure-token first", "CREDENTIALS-ID needs a number from 1 to 4294967295, not ");
        bad("ensure-token 0", "CREDENTIALS-ID needs a number from 1 to 4294967295, not ");
        for (const char* good :
             {"register --born 2020-02-29", "register --born=2000-02-29", "security-questions fi",
              "security-questions pt_BR", "security-questions en-GB",
              "terms music --language fil --country FI", "profile --timeout 3600",
              "ensure-token 4294967295"})
            bad(good, "");
    }

    void aValueIsTakenOrNot()
    {
        const auto [arguments, expected] = fetch<QStringList, QByteArray>("arguments", "expected");
        const ClientRun run = withoutCredentials().run(arguments);
        QCOMPARE(run.status, int(Misuse));
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        const QByteArray problem = expected.isEmpty() ? "no consumer key"_ba : expected;
        QVERIFY2(run.errors.startsWith("kelaccount: " + problem), run.errors.constData());
    }

    void aMistypedNameIsRecognised_data()
    {
        columns<QStringList, QByteArray>("arguments", "expected");
        const auto row = [](const char* arguments, const char* expected) {
            QTest::newRow(arguments) << words(arguments) << QByteArray(expected);
        };
        row("check-usr bob", "did you mean check-user? kelaccount");
        row("profiel", "did you mean profile? kelaccount");
        row("singin alice", "did you mean sign-in? kelaccount");
        row("secur", "did you mean security-question or security-questions? kelaccount");
        row("help regster", "did you mean register? kelaccount");
        row("check-user bob --jsn", "did you mean --json? kelaccount");
        row("register --emial bob", "did you mean --email? kelaccount");
        row("something-else", "unknown command 'something-else'; kelaccount --help lists them\n");
    }

    void aMistypedNameIsRecognised()
    {
        const auto [arguments, expected] = fetch<QStringList, QByteArray>("arguments", "expected");
        const ClientRun run = withoutCredentials().run(arguments);
        QCOMPARE(run.status, int(Misuse));
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY2(run.errors.contains(expected), run.errors.constData());
    }

    void outputThatCannotBeWrittenIsNoticed_data()
    {
        QTest::addColumn<QString>("command");
        for (const char* command : {"--help", "--version", "help register", "is-configured",
                                    "--json is-configured", "--line is-configured"}) {
            QTest::newRow(command) << text(command) + " >/dev/full"_s;
            QTest::newRow(qPrintable(text(command) + ", closed"_s)) << text(command) + " >&-"_s;
        }
    }

    void outputThatCannotBeWrittenIsNoticed()
    {
        QFETCH(QString, command);
        const ProgramRun run = runProgram(
            "/bin/sh"_s,
            {"-c"_s, "exec \"$0\" "_s + command, QStringLiteral(KELACCOUNT_CLIENT_PROGRAM)},
            {{"DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s}});
        QCOMPARE(run.status, int(NotWritten));
        QVERIFY2(run.errors.startsWith("kelaccount: the output cannot be written: "),
                 run.errors.constData());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
    }

    void versionIsOneLine()
    {
        const ClientRun run = withoutCredentials().run(words("--version"));
        QCOMPARE(run.status, int(Success));
        QCOMPARE(run.output, QByteArray("kelaccount " KELACCOUNT_TEST_VERSION "\n"));
        QCOMPARE(run.errors, QByteArray());
    }

    void misuseIsOneLineThatSaysWhatToDo_data()
    {
        columns<QStringList, QByteArray>("arguments", "hint");
        const auto row = [](const char* name, const char* arguments, const char* hint) {
            QTest::newRow(name) << words(arguments) << QByteArray(hint);
        };
        row("nothing", "", "kelaccount --help");
        row("unknown command", "check-usr bob", "kelaccount --help");
        row("unknown option", "--bogus check-user bob", "kelaccount help check-user");
        row("unknown option behind", "check-user bob --bogus=1", "kelaccount help check-user");
        row("one dash more", "---json check-user bob", "kelaccount help check-user");
        row("flag with a value", "--json=1 check-user bob", "kelaccount --help");
        row("no value", "check-user bob --server", "kelaccount help check-user");
        row("no key", "check-user bob --consumer-key", "kelaccount help check-user");
        row("no such server", "--server moon check-user bob", "kelaccount help check-user");
        row("server is no number", "--server 1x check-user bob", "kelaccount help check-user");
        row("server too large", "--server 99999999999 check-user bob",
            "kelaccount help check-user");
        row("no time", "--timeout 0 check-user bob", "kelaccount help check-user");
        row("time is no number", "--timeout soon check-user bob", "kelaccount help check-user");
        row("negative time", "--timeout -1 check-user bob", "kelaccount help check-user");
        row("too long a time", "--timeout 3601 check-user bob", "kelaccount help check-user");
        row("no name", "check-user", "usage: kelaccount check-user NAME");
        row("two names", "check-user bob alice", "usage: kelaccount check-user NAME");
        row("another's option", "check-user bob --html", "kelaccount help check-user");
    }

    void misuseIsOneLineThatSaysWhatToDo()
    {
        const auto [arguments, hint] = fetch<QStringList, QByteArray>("arguments", "hint");
        const ClientRun run = Client().run(arguments);
        QCOMPARE(run.status, int(Misuse));
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY2(run.errors.startsWith("kelaccount: "), run.errors.constData());
        QVERIFY2(run.errors.contains(hint), run.errors.constData());
    }

    void aMissingKeyOrSecretIsOneLineThatSaysWhatToDo_data()
    {
        columns<bool, bool, QByteArray, QByteArray>("key", "secret", "option", "variable");
        QTest::newRow("no key") << false << true << "--consumer-key KEY"_ba
                                << "KELACCOUNT_CONSUMER_KEY"_ba;
        QTest::newRow("no secret") << true << false << "--consumer-secret-file FILE"_ba
                                   << "KELACCOUNT_CONSUMER_SECRET"_ba;
        QTest::newRow("neither") << false << false << "--consumer-key KEY"_ba
                                 << "KELACCOUNT_CONSUMER_KEY"_ba;
    }

    void aMissingKeyOrSecretIsOneLineThatSaysWhatToDo()
    {
        const auto [key, secret, option, variable] =
            fetch<bool, bool, QByteArray, QByteArray>("key", "secret", "option", "variable");
        Client client;
        if (!key)
            client.set("KELACCOUNT_CONSUMER_KEY"_s, QString());
        if (!secret)
            client.set("KELACCOUNT_CONSUMER_SECRET"_s, QString());
        const ClientRun run = client.run(words("check-user bob"));
        QCOMPARE(run.status, int(Misuse));
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY2(run.errors.contains(option), run.errors.constData());
        QVERIFY2(run.errors.contains(variable), run.errors.constData());
    }

    void aSecretFileThatGivesNoneIsOneLine_data()
    {
        columns<QByteArray, QString>("content", "path");
        QTest::newRow("not there") << QByteArray() << "nowhere/secret"_s;
        QTest::newRow("folder") << QByteArray() << "."_s;
        QTest::newRow("empty") << ""_ba
                               << "secret"_s;
        QTest::newRow("blank") << " \n\t\n"_ba
                               << "secret"_s;
        QTest::newRow("empty name") << QByteArray() << QString();
    }

    void aSecretFileThatGivesNoneIsOneLine()
    {
        const auto [content, path] = fetch<QByteArray, QString>("content", "path");
        const QTemporaryDir folder;
        const QString file = path.isEmpty() ? path : folder.filePath(path);
        if (!content.isNull())
            QVERIFY(write(file, content));
        Client client;
        client.set("KELACCOUNT_CONSUMER_SECRET"_s, QString());
        const ClientRun run =
            client.run({"check-user"_s, "bob"_s, "--consumer-secret-file"_s, file});
        QCOMPARE(run.status, int(Misuse));
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY2(run.errors.contains("secret"), run.errors.constData());
    }

    void anUnreadableSecretFileIsNotReplacedByTheEnvironment()
    {
        const ClientRun run = Client().run(words("check-user bob --consumer-secret-file /nowhere"));
        QCOMPARE(run.status, int(Misuse));
        QVERIFY2(run.errors.contains("/nowhere"), run.errors.constData());
    }

    void aSecretIsNoArgument_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("behind") << words("check-user bob --consumer-secret planted");
        QTest::newRow("joined") << words("check-user bob --consumer-secret=planted");
        QTest::newRow("short") << words("check-user bob --secret=planted");
        QTest::newRow("password") << words("sign-in bob --password=planted");
        QTest::newRow("third argument") << words("change-password planted planted");
    }

    void aSecretIsNoArgument()
    {
        QFETCH(QStringList, arguments);
        Client client;
        client.set("KELACCOUNT_CONSUMER_SECRET"_s, QString());
        const ClientRun run = client.run(arguments);
        QCOMPARE(run.status, int(Misuse));
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        // Nor is it shown to whoever looks over the shoulder.
        QVERIFY2(!run.errors.contains("planted"), run.errors.constData());
    }

    void misuseIsSafeForATerminal()
    {
        const ClientRun run = Client().run({"\x1b[31mred\nline"_s});
        QCOMPARE(run.status, int(Misuse));
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY(!run.errors.contains('\x1b'));
    }

    void theLogIsShownOnRequestOnly()
    {
        // Without a bus there is nobody to store credentials, and the library says so in its log.
        Client client;
        client.set("DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=/nonexistent"_s);
        const ClientRun quiet = client.run(words("sign-in bob --password-fd 0"), "planted\n");
        QCOMPARE(quiet.status, int(OtherStatus));
        QCOMPARE(quiet.errors, QByteArray());
        QVERIFY(quiet.output.contains("800 ZorKeLDefs::ErrorStoreCredentialsFailed"));
        const ClientRun verbose =
            client.run(words("--verbose sign-in bob --password-fd 0"), "planted\n");
        QCOMPARE(verbose.status, int(OtherStatus));
        QVERIFY2(verbose.errors.contains("Failed to store credentials during signInAndConfigure"),
                 verbose.errors.constData());
        QVERIFY(!verbose.errors.contains("planted"));
    }

private:
    static QStringList commandNames()
    {
        QStringList names;
        const QByteArray help = withoutCredentials().run({"--help"_s}).output;
        const int start = help.indexOf("\nCommands:\n");
        for (const QByteArray& line :
             help.mid(start + 11, help.indexOf("\nOptions:\n") - start - 11).split('\n')) {
            if (line.startsWith("  ") && !line.startsWith("   "))
                names.append(
                    QString::fromLatin1(line).split(QLatin1Char(' '), Qt::SkipEmptyParts)[0]);
        }
        return names;
    }

    static Client withoutCredentials()
    {
        Client client;
        client.set("KELACCOUNT_CONSUMER_KEY"_s, QString());
        client.set("KELACCOUNT_CONSUMER_SECRET"_s, QString());
        return client;
    }

    static bool write(const QString& name, const QByteArray& content)
    {
        QFile file(name);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
};

QTEST_GUILESS_MAIN(TestClientOptions)
#include "tst_client_options.moc"
