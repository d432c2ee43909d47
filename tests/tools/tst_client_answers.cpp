// SPDX-License-Identifier: LGPL-2.1-or-later
// What the client prints, and how it ends, with a service that answers or does not.
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"
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

QStringList checkUser(const QString& name)
{
    return {"check-user"_s, name};
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

    void cleanup() { mEmulator.admin("DELETE", "/faults"_s); }

    void theOutputNamesTheStatusAndTheExitStatusFollowsIt_data()
    {
        rows<QString, int, QByteArray, QByteArray>("name", "exitStatus", "status", "available");
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
        const auto [name, exitStatus, status, available] =
            fetch<QString, int, QByteArray, QByteArray>("name", "exitStatus", "status",
                                                        "available");
        const ClientRun run = mClient->run(checkUser(name));
        QVERIFY2(run.status == exitStatus, (run.output + run.errors).constData());
        QCOMPARE(run.errors, QByteArray());
        QMap<QByteArray, QByteArray> rows;
        for (const QByteArray& line : run.output.split('\n')) {
            const QByteArray row = line.simplified();
            rows.insert(row.left(row.indexOf(' ')), row.mid(row.indexOf(' ') + 1));
        }
        QCOMPARE(rows.value("signal"), "isUserIdAvailableResponse"_ba);
        QCOMPARE(rows.value("status"), status);
        QCOMPARE(rows.value("available"), available);
        QVERIFY(rows.value("time").endsWith(" ms"));
    }

    void jsonIsOneObjectOnOneLine_data()
    {
        const auto row = rows<QString, int, int, QString, int>("name", "exitStatus", "status",
                                                               "statusName", "suggestions");
        row("free", "bob", int(Success), 0, "ZorKeLDefs::ErrorNone", 0);
        row("taken", "alice", int(Success), 0, "ZorKeLDefs::ErrorNone", 3);
        row("reserved", "admin", int(OtherStatus), 512, "ZorKelDefs::Error512", 0);
        row("empty", {}, int(OtherStatus), 1001, "ZorKeLDefs::ErrorInvalidParameter", 0);
    }
    void jsonIsOneObjectOnOneLine()
    {
        const auto [name, exitStatus] = fetch<QString, int>("name", "exitStatus");
        const ClientRun run = mClient->run(checkUser(name) << "--json"_s);
        QCOMPARE(run.status, exitStatus);
        QCOMPARE(run.errors, QByteArray());
        const QJsonObject answer = run.json();
        QCOMPARE(answer.value("signal"_s).toString(), "isUserIdAvailableResponse"_s);
        QTEST(answer.value("status"_s).toInt(-1), "status");
        QTEST(answer.value("statusName"_s).toString(), "statusName");
        QVERIFY(answer.value("milliseconds"_s).toDouble(-1) >= 0);
        QCOMPARE(answer.value("schema"_s).toInt(), 1);
        QCOMPARE(answer.value("command"_s).toString(), "check-user"_s);
        QVERIFY(!answer.value("text"_s).toString().isEmpty());
        const QJsonObject values = answer.value("values"_s).toObject();
        QVERIFY(values.value("available"_s).isBool());
        QCOMPARE(values.value("available"_s).toBool(), name == "bob"_s);
        QVERIFY(values.value("suggestions"_s).isArray());
        QTEST(values.value("suggestions"_s).toArray().size(), "suggestions");
        QCOMPARE(values.size(), 2);
        QCOMPARE(answer.size(), 8);
    }

    void aLineHoldsOperationStatusTimeAndValues_data()
    {
        const auto row = rows<QString, QString>("name", "pattern");
        const QString time = "[0-9]+\\.[0-9] ms"_s;
        row("free", "bob",
            "isUserIdAvailable\\(\"bob\"\\) +0 ErrorNone +"_s + time + "  available: true\n"_s);
        row("an empty value is left out", "admin",
            "isUserIdAvailable\\(\"admin\"\\) +512 Error512 +"_s + time + "  available: false\n"_s);
        const QString longName(70, QLatin1Char('n'));
        row("values that do not fit stand below", longName,
            "isUserIdAvailable\\(\"n+\"\\) 522 ErrorAttributeSyntaxError +"_s + time +
                "\n    available: false\n"_s);
    }
    void aLineHoldsOperationStatusTimeAndValues()
    {
        const auto [name, pattern] = fetch<QString, QString>("name", "pattern");
        const ClientRun run = mClient->run(checkUser(name) << "--line"_s);
        QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(pattern))
                     .match(QString::fromUtf8(run.output))
                     .hasMatch(),
                 run.output.constData());
    }

    void longListsAreBrokenBetweenValues()
    {
        const ClientRun run = mClient->run({"security-questions"_s, "de"_s, "--line"_s});
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
        const ClientRun run = mClient->run(checkUser("bob"_s) << "--timeout"_s
                                                              << "1"_s);
        QCOMPARE(run.status, int(NoAnswer));
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(ClientRun::isOneLine(run.errors), run.errors.constData());
        QVERIFY(run.errors.contains("no answer within 1 s"));
    }

    void aFailureOfTheNetworkIsAnAnswer_data()
    {
        const auto row = rows<QByteArray, int>("faults", "status");
        row("wrong certificate", "wrong-host", 406);
        row("HTTP 503", "status=503", 1004);
        row("cut", "cut-body", 402);
    }
    void aFailureOfTheNetworkIsAnAnswer()
    {
        QFETCH(QByteArray, faults);
        QVERIFY(mEmulator.orderFaults(faults));
        const ClientRun run = mClient->run(checkUser("bob"_s) << "--json"_s);
        QCOMPARE(run.status, int(OtherStatus));
        QTEST(run.json().value("status"_s).toInt(), "status");
    }

    void aProxyThatRefusesIsAnAnswer()
    {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        Client client(mEmulator.environment());
        client.set("https_proxy"_s, "http://127.0.0.1:%1"_s.arg(closed.serverPort()));
        closed.close();
        const ClientRun run = client.run(checkUser("bob"_s) << "--json"_s);
        QCOMPARE(run.status, int(OtherStatus));
        QCOMPARE(run.json().value("status"_s).toInt(), 420);
    }

    void theSecretComesFromEnvironmentOrFile_data()
    {
        const auto row = rows<QString, QByteArray, int>("environment", "file", "status");
        row("environment", "demo-secret", {}, 0);
        row("wrong in the environment", "other", {}, 504);
        row("file", {}, "demo-secret", 0);
        row("file with a line's end", {}, "demo-secret\n", 0);
        row("file of another system", {}, "demo-secret\r\n", 0);
        row("file before environment", "other", "demo-secret", 0);
        row("wrong in the file", "demo-secret", "other", 504);
    }
    void theSecretComesFromEnvironmentOrFile()
    {
        const auto [environment, file] = fetch<QString, QByteArray>("environment", "file");
        const QTemporaryDir folder;
        Client client(mEmulator.environment());
        client.set("KELACCOUNT_CONSUMER_SECRET"_s, environment);
        QStringList arguments = checkUser("bob"_s) << "--json"_s;
        if (!file.isNull()) {
            QFile secret(folder.filePath("secret"_s));
            QVERIFY(secret.open(QIODevice::WriteOnly));
            secret.write(file);
            secret.close();
            arguments << "--consumer-secret-file"_s << secret.fileName();
        }
        QTEST(client.run(arguments).json().value("status"_s).toInt(-1), "status");
    }

    void theKeyOptionComesBeforeTheEnvironment()
    {
        const ClientRun run = mClient->run(checkUser("bob"_s) << "--json"_s
                                                              << "--consumer-key=unknown"_s);
        QCOMPARE(run.json().value("status"_s).toInt(-1), 504);
    }

    void everyServersNameLeadsToOne_data()
    {
        const auto row = rows<QString>("server");
        for (const char* server :
             {"production", "staging", "test-a", "test-b", "test-c", "test-d", "2", "-1", "7"})
            row(server, text(server));
    }
    void everyServersNameLeadsToOne()
    {
        QFETCH(QString, server);
        const ClientRun run = mClient->run(checkUser("bob"_s) << "--server"_s << server);
        QCOMPARE(run.status, int(Success));
    }

    void strangeNamesAreAnsweredOnce_data()
    {
        const auto row = rows<QString>("name");
        row("control characters", "a\r\n\t\x01\x1b[31mz\x7f");
        row("later control characters", "a\u009b31mz\u0085b");
        row("not Latin", "борис");
        row("emoji", "\xF0\x9F\x98\x80");
        row("quotes", "\"'`$(true)\\");
        row("markup", "<a href=\"&\">");
        row("like an option", "--bogus option");
        // A single argument cannot be longer than 128 KiB on Linux.
        row("long", QString(131000, QLatin1Char('a')));
        row("long and wide", QString(43000, QChar(0x20AC)));
    }
    void strangeNamesAreAnsweredOnce()
    {
        QFETCH(QString, name);
        const QStringList call = {"--json"_s, "check-user"_s, "--"_s, name};
        const ClientRun run = mClient->run(call);
        QCOMPARE(run.status, int(OtherStatus));
        QCOMPARE(run.json().value("signal"_s).toString(), "isUserIdAvailableResponse"_s);
        QVERIFY(run.json().value("status"_s).toInt() != 0);

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
        environment.insert("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
        environment.insert("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
        environment.insert("LC_ALL"_s, "C.UTF-8"_s);
        shell.setProcessEnvironment(environment);
        shell.start("/bin/sh"_s,
                    {"-c"_s, "exec \"$0\" --json check-user \"$(printf '\\377\\376a')\""_s,
                     text(KELACCOUNT_CLIENT_PROGRAM)});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitStatus(), QProcess::NormalExit);
        QCOMPARE(shell.exitCode(), int(OtherStatus));
        QVERIFY(ClientRun::isOneLine(shell.readAllStandardOutput()));
    }

    void textsAreUtf8InEveryLocale_data()
    {
        const auto row = rows<QString>("locale");
        for (const char* locale :
             {"C", "C.UTF-8", "fa_IR.UTF-8", "tr_TR.UTF-8", "de_DE.ISO-8859-1"})
            row(locale, text(locale));
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
        environment.insert("KELACCOUNT_CONSUMER_KEY"_s, "demo-key"_s);
        environment.insert("KELACCOUNT_CONSUMER_SECRET"_s, "demo-secret"_s);
        environment.insert("LC_ALL"_s, locale);
        shell.setProcessEnvironment(environment);
        shell.start("/bin/sh"_s, {"-c"_s, "exec \"$0\" check-user \"$(printf 'j\\303\\266rg')\""_s,
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
