// SPDX-License-Identifier: LGPL-2.1-or-later
// The commands that ask a running emulator, and what of the administrative endpoint they stand for.
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QJsonDocument>
#include <QTemporaryFile>
#include <QtTest>

class TestEmulatorCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mEmulator = std::make_unique<EmulatorProcess>();
        QVERIFY2(mEmulator->start({"--no-session"_s}), mEmulator->log());
    }

    void accountsAreMadeChangedAndDeleted()
    {
        QCOMPARE(say({"accounts"_s}).output, "1 alice alice@example.org -\n"_ba);
        QCOMPARE(
            say({"accounts"_s, "kim"_s, "--make"_s, "--set"_s, "email=kim@mail.example"_s}).status,
            0);
        QCOMPARE(say({"accounts"_s, "kim"_s, "--lock"_s}).status, 0);
        QVERIFY(say({"accounts"_s}).output.contains("2 kim kim@mail.example - locked\n"));
        QCOMPARE(say({"accounts"_s, "2"_s, "--unlock"_s, "--set"_s, "userName=kit"_s, "--set"_s,
                      "mobile=+358401234567"_s})
                     .status,
                 0);
        QVERIFY(say({"accounts"_s}).output.contains("2 kit kim@mail.example +358401234567\n"));
        const QJsonObject one =
            QJsonDocument::fromJson(say({"accounts"_s, "kim@mail.example"_s}).output).object();
        QCOMPARE(one.value("userName"_s).toString(), "kit"_s);
        QVERIFY(!one.contains("password"_s));
        QCOMPARE(say({"accounts"_s, "kit"_s, "--delete"_s}).status, 0);
        QCOMPARE(say({"accounts"_s}).output, "1 alice alice@example.org -\n"_ba);
    }

    void anAccountThatCannotBeIsRefused_data()
    {
        columns<QStringList, QByteArray>("words", "why");
        const QStringList alice = {"accounts"_s, "alice"_s};
        QTest::newRow("nobody") << QStringList{"accounts"_s, "bob"_s, "--delete"_s}
                                << "there is no such account"_ba;
        QTest::newRow("which") << QStringList{"accounts"_s, "--lock"_s} << "say which account"_ba;
        QTest::newRow("field") << alice + QStringList{"--set"_s, "colour=red"_s}
                               << "there is no field colour"_ba;
        QTest::newRow("value") << alice + QStringList{"--set"_s, "email=@"_s}
                               << "email is malformed"_ba;
        QTest::newRow("twice") << alice + QStringList{"--make"_s}
                               << "an account has this userName already"_ba;
        QTest::newRow("other's address") << QStringList{"accounts"_s, "eve"_s, "--make"_s,
                                                        "--set"_s, "email=ALICE@example.org"_s}
                                         << "an account has this email already"_ba;
    }

    void anAccountThatCannotBeIsRefused()
    {
        const auto [words, why] = fetch<QStringList, QByteArray>("words", "why");
        const ProgramRun run = say(words);
        QCOMPARE(run.status, 2);
        QVERIFY2(run.errors.contains(why), run.errors);
        QCOMPARE(say({"accounts"_s}).output, "1 alice alice@example.org -\n"_ba);
    }

    void captchasAreTold()
    {
        QCOMPARE(say({"captcha"_s}).output, "No captchas.\n"_ba);
        SignedRequest request("/rest/1.0/captchas");
        request.restVerb = "POST";
        request.document =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><captchaCreationRequest "
            "xmlns=\"https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0\"><width>200</width>"
            "<height>80</height></captchaCreationRequest>";
        WireClient client;
        QVERIFY(client.open(*mEmulator));
        const WireReply reply = client.ask(request.bytes());
        QVERIFY2(reply.status == 200, reply.body);
        const int from = reply.body.indexOf("<captchaId>") + 11;
        const QByteArray id = reply.body.mid(from, reply.body.indexOf("</captchaId>") - from);
        const QByteArray text = say({"captcha"_s, QString::fromLatin1(id)}).output.trimmed();
        QCOMPARE(text.size(), 5);
        QCOMPARE(say({"captcha"_s}).output, id + ' ' + text + '\n');
    }

    void faultsAreOrdered()
    {
        QCOMPARE(say({"fault"_s}).output, "No faults.\n"_ba);
        QCOMPARE(say({"fault"_s, "2*status=503"_s}).output, "status=503\nstatus=503\n"_ba);
        QCOMPARE(ask(), 503);
        QCOMPARE(say({"fault"_s, "--clear"_s, "status=500@3"_s}).output, "status=500@3\n"_ba);
        QCOMPARE(ask(), 500);
        QCOMPARE(say({"fault"_s, "fire"_s}).status, 2);
    }

    void theClockIsMoved()
    {
        QCOMPARE(say({"clock"_s, "--skew"_s, "7200"_s, "--speed"_s, "2"_s}).status, 0);
        const QJsonObject clock = QJsonDocument::fromJson(say({"clock"_s}).output).object();
        QVERIFY(clock.value("skew"_s).toInt() >= 7200);
        QCOMPARE(clock.value("speed"_s).toDouble(), 2.0);
        QCOMPARE(ask(), 401);
        QCOMPARE(say({"clock"_s, "--speed"_s, "fast"_s}).status, 2);
        QCOMPARE(say({"clock"_s, "--time"_s, "soon"_s}).status, 2);
    }

    void theLogIsFollowed()
    {
        QCOMPARE(say({"log"_s}).output, "No requests.\n"_ba);
        BoundProcess log;
        log.setProcessEnvironment(changedEnvironment(mEmulator->environment()));
        log.start(EmulatorProcess::program(), {"log"_s, "-f"_s});
        QByteArray output;
        const auto shows = [&](const char* text) {
            log.waitForReadyRead(20);
            output += log.readAllStandardOutput();
            return output.contains(text);
        };
        QCOMPARE(ask(), 200);
        QTRY_VERIFY_WITH_TIMEOUT(shows("1 GET /rest/1.0/availability/bob: 200"), 30000);
        QVERIFY(say({"fault"_s, "status=503"_s}).status == 0);
        QCOMPARE(ask(), 503);
        QTRY_VERIFY_WITH_TIMEOUT(shows("2 GET /rest/1.0/availability/bob: 503"), 30000);
        QCOMPARE(output.count("1 GET"), 1);
        QVERIFY(output.contains("fault status=503"));
        // It ends with the emulator.
        mEmulator->stop();
        QVERIFY(log.waitForFinished(30000));
        QCOMPARE(log.exitCode(), 125);
    }

    // "ö" is one of the service's letters; what follows clears the screen of a terminal.
    void whatAClientSentIsNoOrderToTheTerminal()
    {
        const QByteArray letter = "\xC3\xB6";
        const QByteArray order = "\xC2\x9B"
                                 "2J";
        WireClient client;
        QVERIFY(client.open(*mEmulator));
        const QByteArray request =
            SignedRequest().bytes().replace("availability/bob", "availability/" + letter + order);
        QCOMPARE(client.ask(request).status, 401);
        const QByteArray output = say({"log"_s}).output;
        QVERIFY2(output.contains("availability/" + letter + "\\x9b2J"), output);
        QVERIFY(!output.contains(order));
        QVERIFY(mEmulator->logHas("availability/" + letter + "\\x9b2J"));
        QVERIFY(!mEmulator->log().contains(order));
    }

    void aScenarioIsSavedAndLoaded()
    {
        QCOMPARE(say({"accounts"_s, "alice"_s, "--set"_s, "password=other"_s, "--lock"_s}).status,
                 0);
        QCOMPARE(say({"fault"_s, "none@4"_s}).status, 0);
        QTemporaryFile file;
        QVERIFY(file.open());
        const QByteArray saved = say({"scenario"_s}).output;
        file.write(saved);
        file.close();
        const ProgramRun loaded = say({"scenario"_s, "returning-user"_s});
        QVERIFY2(loaded.output.startsWith("loaded"), loaded.errors);
        QVERIFY(say({"accounts"_s}).output.contains("+358401234567"));
        QCOMPARE(say({"fault"_s}).output, "No faults.\n"_ba);
        QVERIFY(say({"scenario"_s, file.fileName()}).status == 0);
        QCOMPARE(say({"scenario"_s}).output, saved);
        QVERIFY2(saved.contains("\"password\": \"other\""), saved);
        QCOMPARE(say({"fault"_s}).output, "none@4\n"_ba);
        QVERIFY(say({"accounts"_s}).output.endsWith("locked\n"));
        // A file that is wrong changes nothing.
        QVERIFY(file.open());
        file.write("{\"scenario\": 1, \"accounts\": [{}]}");
        file.resize(file.pos());
        file.close();
        const ProgramRun wrong = say({"scenario"_s, file.fileName()});
        QCOMPARE(wrong.status, 2);
        QCOMPARE(say({"scenario"_s}).output, saved);
    }

private:
    ProgramRun say(const QStringList& words) const
    {
        return EmulatorProcess::run(words, mEmulator->environment());
    }

    /// The status of a question for a free name.
    int ask() const
    {
        WireClient client;
        return client.open(*mEmulator) ? client.ask(SignedRequest().bytes()).status : -1;
    }

    std::unique_ptr<EmulatorProcess> mEmulator;
};

QTEST_GUILESS_MAIN(TestEmulatorCommands)
#include "tst_emulator_commands.moc"
