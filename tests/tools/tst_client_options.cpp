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

enum ExitStatus { Success = 0, OtherStatus = 1, Misuse = 2 };

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
        QTest::newRow("behind a command") << words("check-user --help");
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
        row("unknown option", "--bogus check-user bob", "kelaccount --help");
        row("unknown option behind", "check-user bob --bogus=1", "kelaccount --help");
        row("one dash more", "---json check-user bob", "kelaccount --help");
        row("flag with a value", "--json=1 check-user bob", "kelaccount --help");
        row("no value", "check-user bob --server", "kelaccount --help");
        row("no key", "check-user bob --consumer-key", "kelaccount --help");
        row("no such server", "--server moon check-user bob", "kelaccount --help");
        row("server is no number", "--server 1x check-user bob", "kelaccount --help");
        row("server too large", "--server 99999999999 check-user bob", "kelaccount --help");
        row("no time", "--timeout 0 check-user bob", "kelaccount --help");
        row("time is no number", "--timeout soon check-user bob", "kelaccount --help");
        row("negative time", "--timeout -1 check-user bob", "kelaccount --help");
        row("too long a time", "--timeout 3601 check-user bob", "kelaccount --help");
        row("no name", "check-user", "usage: kelaccount check-user NAME");
        row("two names", "check-user bob alice", "usage: kelaccount check-user NAME");
        row("another's option", "check-user bob --html", "kelaccount --help");
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
