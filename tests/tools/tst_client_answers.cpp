// SPDX-License-Identifier: LGPL-2.1-or-later
// What the client prints, and how it ends, with a service that answers or does not.
#include "emulator/emulatorprocess.h"
#include "tools/clientrun.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace KelTest;

namespace {

enum ExitStatus { Success = 0, OtherStatus = 1, NoAnswer = 3 };

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QStringList checkUser(const QString& name)
{
    return {QStringLiteral("check-user"), name};
}

} // namespace

class TestClientAnswers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mEmulator.start(), mEmulator.log().constData());
        mClient = std::make_unique<Client>(mEmulator.environment());
    }

    void cleanup() { mEmulator.admin("DELETE", QStringLiteral("/faults")); }

    void theOutputNamesTheStatusAndTheExitStatusFollowsIt_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("exitStatus");
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QByteArray>("available");
        const auto row = [](const char* name, int exitStatus, const char* status,
                            const char* available) {
            QTest::newRow(name) << text(name) << exitStatus << QByteArray(status)
                                << QByteArray(available);
        };
        row("bob", Success, "0 ZorKeLDefs::ErrorNone", "true");
        // Taken is an answer, not a failure.
        row("alice", Success, "0 ZorKeLDefs::ErrorNone", "false");
        row("admin", OtherStatus, "512 ZorKelDefs::Error512", "false");
        row("", OtherStatus, "1001 ZorKeLDefs::ErrorInvalidParameter", "false");
        row("a b", OtherStatus, "522 ZorKeLDefs::ErrorAttributeSyntaxError", "false");
    }

    void theOutputNamesTheStatusAndTheExitStatusFollowsIt()
    {
        QFETCH(QString, name);
        QFETCH(int, exitStatus);
        QFETCH(QByteArray, status);
        QFETCH(QByteArray, available);
        const ClientRun run = mClient->run(checkUser(name));
        QVERIFY2(run.status == exitStatus, (run.output + run.errors).constData());
        QCOMPARE(run.errors, QByteArray());
        QMap<QByteArray, QByteArray> rows;
        for (const QByteArray& line : run.output.split('\n')) {
            const QByteArray row = line.simplified();
            rows.insert(row.left(row.indexOf(' ')), row.mid(row.indexOf(' ') + 1));
        }
        QCOMPARE(rows.value("signal"), QByteArray("isUserIdAvailableResponse"));
        QCOMPARE(rows.value("status"), status);
        QCOMPARE(rows.value("available"), available);
        QVERIFY(rows.value("time").endsWith(" ms"));
    }

    void jsonIsOneObjectOnOneLine_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("exitStatus");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("statusName");
        QTest::addColumn<int>("suggestions");
        QTest::newRow("free") << text("bob") << int(Success) << 0 << text("ZorKeLDefs::ErrorNone")
                              << 0;
        QTest::newRow("taken") << text("alice") << int(Success) << 0
                               << text("ZorKeLDefs::ErrorNone") << 3;
        QTest::newRow("reserved") << text("admin") << int(OtherStatus) << 512
                                  << text("ZorKelDefs::Error512") << 0;
        QTest::newRow("empty") << QString() << int(OtherStatus) << 1001
                               << text("ZorKeLDefs::ErrorInvalidParameter") << 0;
    }

    void jsonIsOneObjectOnOneLine()
    {
        QFETCH(QString, name);
        QFETCH(int, exitStatus);
        const ClientRun run = mClient->run(checkUser(name) << text("--json"));
        QCOMPARE(run.status, exitStatus);
        QCOMPARE(run.errors, QByteArray());
        const QJsonObject answer = run.json();
        QCOMPARE(answer.value(text("signal")).toString(), text("isUserIdAvailableResponse"));
        QTEST(answer.value(text("status")).toInt(-1), "status");
        QTEST(answer.value(text("statusName")).toString(), "statusName");
        QVERIFY(answer.value(text("milliseconds")).toDouble(-1) >= 0);
        QVERIFY(answer.value(text("available")).isBool());
        QCOMPARE(answer.value(text("available")).toBool(), name == text("bob"));
        QVERIFY(answer.value(text("suggestions")).isArray());
        QTEST(answer.value(text("suggestions")).toArray().size(), "suggestions");
        QCOMPARE(answer.size(), 6);
    }

    void aLineHoldsOperationStatusTimeAndValues_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("pattern");
        const QString time = text("[0-9]+\\.[0-9] ms");
        QTest::newRow("free") << text("bob")
                              << text("isUserIdAvailable\\(\"bob\"\\) +0 ErrorNone +") + time +
                                     text("  available: true\n");
        QTest::newRow("an empty value is left out")
            << text("admin")
            << text("isUserIdAvailable\\(\"admin\"\\) +512 Error512 +") + time +
                   text("  available: false\n");
        const QString longName(70, QLatin1Char('n'));
        QTest::newRow("values that do not fit stand below")
            << longName
            << text("isUserIdAvailable\\(\"n+\"\\) 522 ErrorAttributeSyntaxError +") + time +
                   text("\n    available: false\n");
    }

    void aLineHoldsOperationStatusTimeAndValues()
    {
        QFETCH(QString, name);
        QFETCH(QString, pattern);
        const ClientRun run = mClient->run(checkUser(name) << text("--line"));
        QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(pattern))
                     .match(QString::fromUtf8(run.output))
                     .hasMatch(),
                 run.output.constData());
    }

    void longListsAreBrokenBetweenValues()
    {
        const ClientRun run =
            mClient->run({text("security-questions"), text("de"), text("--line")});
        QCOMPARE(run.status, int(Success));
        const QList<QByteArray> lines = run.output.split('\n');
        QVERIFY(lines.size() > 2);
        QByteArray joined;
        for (const QByteArray& line : lines) {
            QVERIFY2(QString::fromUtf8(line).size() <= 110, line.constData());
            joined += line.trimmed() + ' ';
        }
        for (int id = 1; id <= 5; ++id)
            QVERIFY2(joined.contains(QByteArray::number(id) + ": "), joined.constData());
        QCOMPARE(joined.count("?, "), 4);
    }

    void noAnswerInTimeIsAStatusOfItsOwn()
    {
        QVERIFY(mEmulator.orderFaults("hang"));
        const ClientRun run =
            mClient->run(checkUser(text("bob")) << text("--timeout") << text("1"));
        QCOMPARE(run.status, int(NoAnswer));
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY(run.errors.contains("no answer within 1 s"));
    }

    void aFailureOfTheNetworkIsAnAnswer_data()
    {
        QTest::addColumn<QByteArray>("faults");
        QTest::addColumn<int>("status");
        QTest::newRow("wrong certificate") << QByteArray("wrong-host") << 406;
        QTest::newRow("HTTP 503") << QByteArray("status=503") << 1004;
        QTest::newRow("cut") << QByteArray("cut-body") << 402;
    }

    void aFailureOfTheNetworkIsAnAnswer()
    {
        QFETCH(QByteArray, faults);
        QVERIFY(mEmulator.orderFaults(faults));
        const ClientRun run = mClient->run(checkUser(text("bob")) << text("--json"));
        QCOMPARE(run.status, int(OtherStatus));
        QTEST(run.json().value(text("status")).toInt(), "status");
    }

    void aProxyThatRefusesIsAnAnswer()
    {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        Client client(mEmulator.environment());
        client.set(text("https_proxy"), text("http://127.0.0.1:%1").arg(closed.serverPort()));
        closed.close();
        const ClientRun run = client.run(checkUser(text("bob")) << text("--json"));
        QCOMPARE(run.status, int(OtherStatus));
        QCOMPARE(run.json().value(text("status")).toInt(), 420);
    }

    void theSecretComesFromEnvironmentOrFile_data()
    {
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("status");
        QTest::newRow("environment") << text("demo-secret") << QByteArray() << 0;
        QTest::newRow("wrong in the environment") << text("other") << QByteArray() << 504;
        QTest::newRow("file") << QString() << QByteArray("demo-secret") << 0;
        QTest::newRow("file with a line's end") << QString() << QByteArray("demo-secret\n") << 0;
        QTest::newRow("file of another system") << QString() << QByteArray("demo-secret\r\n") << 0;
        QTest::newRow("file before environment") << text("other") << QByteArray("demo-secret") << 0;
        QTest::newRow("wrong in the file") << text("demo-secret") << QByteArray("other") << 504;
    }

    void theSecretComesFromEnvironmentOrFile()
    {
        QFETCH(QString, environment);
        QFETCH(QByteArray, file);
        const QTemporaryDir folder;
        Client client(mEmulator.environment());
        client.set(text("KELACCOUNT_CONSUMER_SECRET"), environment);
        QStringList arguments = checkUser(text("bob")) << text("--json");
        if (!file.isNull()) {
            QFile secret(folder.filePath(text("secret")));
            QVERIFY(secret.open(QIODevice::WriteOnly));
            secret.write(file);
            secret.close();
            arguments << text("--consumer-secret-file") << secret.fileName();
        }
        QTEST(client.run(arguments).json().value(text("status")).toInt(-1), "status");
    }

    void theKeyOptionComesBeforeTheEnvironment()
    {
        const ClientRun run = mClient->run(checkUser(text("bob"))
                                           << text("--json") << text("--consumer-key=unknown"));
        QCOMPARE(run.json().value(text("status")).toInt(-1), 504);
    }

    void everyServersNameLeadsToOne_data()
    {
        QTest::addColumn<QString>("server");
        for (const char* server :
             {"production", "staging", "test-a", "test-b", "test-c", "test-d", "2", "-1", "7"})
            QTest::newRow(server) << text(server);
    }

    void everyServersNameLeadsToOne()
    {
        QFETCH(QString, server);
        const ClientRun run = mClient->run(checkUser(text("bob")) << text("--server") << server);
        QCOMPARE(run.status, int(Success));
    }

    void strangeNamesAreAnsweredOnce_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("control characters") << text("a\r\n\t\x01\x1b[31mz\x7f");
        QTest::newRow("later control characters") << text("a\u009b31mz\u0085b");
        QTest::newRow("not Latin") << text("борис");
        QTest::newRow("emoji") << text("\xF0\x9F\x98\x80");
        QTest::newRow("quotes") << text("\"'`$(true)\\");
        QTest::newRow("markup") << text("<a href=\"&\">");
        QTest::newRow("like an option") << text("--bogus option");
        // A single argument cannot be longer than 128 KiB on Linux.
        QTest::newRow("long") << QString(131000, QLatin1Char('a'));
        QTest::newRow("long and wide") << QString(43000, QChar(0x20AC));
    }

    void strangeNamesAreAnsweredOnce()
    {
        QFETCH(QString, name);
        const QStringList call = {text("--json"), text("check-user"), text("--"), name};
        const ClientRun run = mClient->run(call);
        QCOMPARE(run.status, int(OtherStatus));
        QCOMPARE(run.json().value(text("signal")).toString(), text("isUserIdAvailableResponse"));
        QVERIFY(run.json().value(text("status")).toInt() != 0);

        const ClientRun forPeople = mClient->run(call.mid(1));
        QCOMPARE(forPeople.status, int(OtherStatus));
        QCOMPARE(forPeople.output.count("isUserIdAvailableResponse"), 1);
        const QString shown = QString::fromUtf8(forPeople.output);
        for (const QChar c : shown)
            QVERIFY(c == QLatin1Char('\n') || c.category() != QChar::Other_Control);
    }

    void aNameThatIsNoTextIsAnsweredOnce()
    {
        // Not UTF-8: only a shell can say it.
        BoundProcess shell;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const auto inside = mEmulator.environment();
        for (auto it = inside.cbegin(); it != inside.cend(); ++it)
            environment.insert(it.key(), it.value());
        environment.insert(text("KELACCOUNT_CONSUMER_KEY"), text("demo-key"));
        environment.insert(text("KELACCOUNT_CONSUMER_SECRET"), text("demo-secret"));
        environment.insert(text("LC_ALL"), text("C.UTF-8"));
        shell.setProcessEnvironment(environment);
        shell.start(text("/bin/sh"),
                    {text("-c"), text("exec \"$0\" --json check-user \"$(printf '\\377\\376a')\""),
                     text(KELACCOUNT_CLIENT_PROGRAM)});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitStatus(), QProcess::NormalExit);
        QCOMPARE(shell.exitCode(), int(OtherStatus));
        QVERIFY(ClientRun::isOneLine(shell.readAllStandardOutput()));
    }

    void textsAreUtf8InEveryLocale_data()
    {
        QTest::addColumn<QString>("locale");
        for (const char* locale :
             {"C", "C.UTF-8", "fa_IR.UTF-8", "tr_TR.UTF-8", "de_DE.ISO-8859-1"})
            QTest::newRow(locale) << text(locale);
    }

    void textsAreUtf8InEveryLocale()
    {
        QFETCH(QString, locale);
        // QProcess would encode the name as the locale of this program wants it.
        BoundProcess shell;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const auto inside = mEmulator.environment();
        for (auto it = inside.cbegin(); it != inside.cend(); ++it)
            environment.insert(it.key(), it.value());
        environment.insert(text("KELACCOUNT_CONSUMER_KEY"), text("demo-key"));
        environment.insert(text("KELACCOUNT_CONSUMER_SECRET"), text("demo-secret"));
        environment.insert(text("LC_ALL"), locale);
        shell.setProcessEnvironment(environment);
        shell.start(text("/bin/sh"),
                    {text("-c"), text("exec \"$0\" check-user \"$(printf 'j\\303\\266rg')\""),
                     text(KELACCOUNT_CLIENT_PROGRAM)});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitStatus(), QProcess::NormalExit);
        const QByteArray output = shell.readAllStandardOutput();
        QVERIFY2(output.contains("isUserIdAvailable(\"j\303\266rg\")"), output.constData());
        const QByteArray asked =
            QJsonDocument(mEmulator.requests().last().toObject()).toJson(QJsonDocument::Compact);
        QVERIFY2(asked.contains("j%C3%B6rg"), asked.constData());
    }

private:
    EmulatorProcess mEmulator;
    std::unique_ptr<Client> mClient;
};

QTEST_GUILESS_MAIN(TestClientAnswers)
#include "tst_client_answers.moc"
