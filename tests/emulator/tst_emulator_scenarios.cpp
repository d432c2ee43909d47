// SPDX-License-Identifier: LGPL-2.1-or-later
// Scenarios: each that comes along is run, and a file that is not as it must be is refused with the
// key that is wrong.
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryFile>
#include <QtTest>

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QByteArray tagSocket()
{
    return "kelaccount-scenarios-" + QByteArray::number(getpid());
}

/// What the tag server answers to a request for a tag.
QByteArray askTagServer()
{
    const QByteArray request("\x00\xC3\x00\x0D\x30\x00\x0A:SSO_TEST:", 17);
    const QByteArray name = tagSocket();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.constData(), size_t(name.size()));
    const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + size_t(name.size()));
    const int client = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QByteArray reply;
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
        ::send(client, request.constData(), size_t(request.size()), MSG_NOSIGNAL) > 0) {
        char bytes[100];
        reply = QByteArray(bytes, int(qMax<ssize_t>(::recv(client, bytes, sizeof bytes, 0), 0)));
    }
    ::close(client);
    return reply;
}

int statusNow(const EmulatorProcess& emulator, const SignedRequest& request = SignedRequest())
{
    WireClient client;
    return client.open(emulator) ? client.ask(request.bytes()).status : -1;
}

SignedRequest requestAt(qint64 secondsFromNow)
{
    SignedRequest request;
    request.timeStamp = QByteArray::number(QDateTime::currentSecsSinceEpoch() + secondsFromNow);
    return request;
}

} // namespace

class TestEmulatorScenarios : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("KELACCOUNT_TAG_SERVER_OPTIONS", "--name " + tagSocket());
        qputenv("KELACCOUNT_CONSUMER_KEY", "demo-key");
        qputenv("KELACCOUNT_CONSUMER_SECRET", "demo-secret");
        qputenv("LC_ALL", "C.UTF-8");
    }

    void eachThatComesAlongIsRunHere()
    {
        QStringList names;
        const QDir folder(QStringLiteral(KELACCOUNT_SCENARIOS));
        for (const QString& file : folder.entryList({"*.json"_s}))
            names.append(QString(file).chopped(5));
        QVERIFY(!names.isEmpty());
        for (const QString& name : names) {
            bool isTested = false;
            for (int index = 0; index < metaObject()->methodCount(); ++index)
                isTested |= "in_"_ba + name.toLatin1().replace('-', '_') ==
                            metaObject()->method(index).name();
            QVERIFY2(isTested, qPrintable(name));
        }
        // The help names the same.
        QByteArray help = EmulatorProcess::run({"help"_s, "run"_s}).output.simplified();
        for (const QString& name : names)
            QVERIFY2(help.contains(name.toLatin1()), qPrintable(name));
    }

    void in_happy_day()
    {
        const ProgramRun run = inside("happy-day", "check-user bob; $1 check-user alice");
        QCOMPARE(run.output.count("available             true"), 2);
        QVERIFY(inside("happy-day", "check-user admin").status != 0);
    }

    void in_returning_user()
    {
        const ProgramRun run = inside("returning-user", "sign-in alice --password-fd 0", "secret");
        QVERIFY2(run.status == 0, run.output + run.errors);
    }

    void in_sim_with_pre_account()
    {
        const ProgramRun run = inside("sim-with-pre-account", "country; $1 detect-pre-account");
        QVERIFY2(run.output.contains("FI"), run.output + run.errors);
        QVERIFY2(run.output.contains("carol"), run.output + run.errors);
        EmulatorProcess emulator;
        QVERIFY2(emulator.start({"--scenario"_s, "sim-with-pre-account"_s}), emulator.log());
        QCOMPARE(askTagServer(), "\x01"
                                 "emulated service tag"_ba);
    }

    void in_hostile_network()
    {
        const ProgramRun run = inside(
            "hostile-network", "check-user bob; for turn in 2 3 4 5 6; do $1 check-user bob; done");
        QVERIFY2(run.status == 0, run.output + run.errors);
        QCOMPARE(run.output.count("ErrorSslHandshakeFailed"), 1);
        QCOMPARE(run.output.count("ErrorRemoteHostClosed"), 2);
    }

    void in_service_down()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--scenario"_s, "service-down"_s}));
        QCOMPARE(statusNow(emulator), 503);
        QVERIFY(emulator.admin("GET", "/faults"_s).body.endsWith("s*status=503\n"));
        QCOMPARE(statusNow(emulator), 503);
        // The time passes by the service's clock.
        QCOMPARE(emulator.admin("POST", "/clock"_s, R"({"skew": 31})").status, 200);
        QCOMPARE(statusNow(emulator), 200);
        QCOMPARE(emulator.admin("GET", "/faults"_s).body, QByteArray());
    }

    void in_wrong_clock()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--scenario"_s, "wrong-clock"_s}));
        QCOMPARE(statusNow(emulator), 401);
        QCOMPARE(statusNow(emulator, requestAt(7200)), 200);
    }

    void aClockGoesAsFastAsItIsTold()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s}));
        QCOMPARE(emulator.admin("POST", "/clock"_s, R"({"speed": 10000})").status, 200);
        QTRY_COMPARE_WITH_TIMEOUT(statusNow(emulator), 401, 30000);
        QCOMPARE(emulator.admin("POST", "/clock"_s, R"({"speed": 1, "skew": 0})").status, 200);
        QCOMPARE(statusNow(emulator), 200);
        const QByteArray later =
            QDateTime::currentDateTimeUtc().addDays(1).toString(Qt::ISODate).toLatin1();
        QCOMPARE(emulator.admin("POST", "/clock"_s, "{\"time\": \"" + later + "\"}").status, 200);
        QCOMPARE(statusNow(emulator, requestAt(24 * 60 * 60)), 200);
        for (const char* wrong :
             {R"({"speed": 0})", R"({"skew": "x"})", R"({"time": "soon"})", R"({"x": 1})", "[]"})
            QCOMPARE(emulator.admin("POST", "/clock"_s, wrong).status, 400);
    }

    void aFaultForAnOperationLetsOthersPass()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s}));
        QVERIFY(emulator.orderFaults("2*status=500@6\nstatus=501"));
        QCOMPARE(statusNow(emulator), 501);
        QCOMPARE(statusNow(emulator), 200);
        for (const int status : {500, 500, 200}) {
            SignedRequest request("/rest/1.0/securityquestions");
            QCOMPARE(statusNow(emulator, request), status);
        }
        for (const char* wrong :
             {"hang@0", "hang@27", "hang@x", "0s*hang", "s*hang", "wrong-host@3", "10001s*hang"})
            QVERIFY2(!emulator.orderFaults(wrong), wrong);
    }

    void aWrongFileIsRefused_data()
    {
        columns<QByteArray, QByteArray>("text", "why");
        const auto row = [](const char* name, const QByteArray& rest, const char* why) {
            QTest::newRow(name) << "{\"scenario\": 1" + rest + "}" << QByteArray(why);
        };
        QTest::newRow("nothing") << QByteArray() << "cannot read a scenario"_ba;
        QTest::newRow("no JSON") << "{\n\"scenario\": 1,\n]"_ba
                                 << "no JSON in line 3"_ba;
        QTest::newRow("an array") << "[]"_ba
                                  << "a JSON object is wanted"_ba;
        QTest::newRow("no version") << "{}"_ba
                                    << "scenario is missing"_ba;
        QTest::newRow("a later version") << "{\"scenario\": 2}"_ba
                                         << "scenario must be"_ba;
        row("unknown key", ", \"acounts\": []", "there is no field acounts");
        row("title", ", \"title\": 1", "title must be a string");
        row("accounts", ", \"accounts\": {}", "accounts must be an array");
        row("an account", ", \"accounts\": [{\"userName\": \"a\"}, 1]",
            "accounts[1] must be an object");
        row("its key", ", \"accounts\": [{\"userName\": \"a\", \"pasword\": \"x\"}]",
            "there is no field accounts[0].pasword");
        row("its type", ", \"accounts\": [{\"userName\": \"a\", \"locked\": 1}]",
            "accounts[0].locked must be true or false");
        row("its value", ", \"accounts\": [{\"userName\": \"a\", \"email\": \"@\"}]",
            "accounts[0].email is malformed");
        row("reserved", ", \"reserved\": [\"a b\"]", "reserved[0] is malformed");
        row("pre-account", ", \"preAccounts\": [{\"msin\": 1}]",
            "preAccounts[0].msin must be a string");
        row("SIM", ", \"sim\": {\"mcc\": \"24\"}", "the MCC has three digits");
        row("SIM's key", ", \"sim\": {\"imsi\": \"24\"}", "there is no field sim.imsi");
        row("tags", ", \"tags\": true", "tags must be an object");
        row("tag code", ", \"tags\": {\"refuse\": -1}", "tags.refuse must be a whole number");
        row("fault", ", \"faults\": [\"none\", \"fire\"]", "faults[1] cannot be ordered");
        row("clock", ", \"clock\": {\"skew\": 1.5}", "clock.skew must be a whole number");
        row("speed", ", \"clock\": {\"speed\": 0}", "clock.speed must be a number from");
    }

    void aWrongFileIsRefused()
    {
        const auto [text, why] = fetch<QByteArray, QByteArray>("text", "why");
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(text);
        file.close();
        const ProgramRun run = EmulatorProcess::run(
            {"run"_s, "--scenario"_s, file.fileName(), "--"_s, "echo"_s, "runs"_s});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.output, QByteArray());
        QCOMPARE(run.errors.count('\n'), 1);
        QVERIFY2(run.errors.contains(file.fileName().toLocal8Bit()), run.errors);
        QVERIFY2(run.errors.contains(why), run.errors);
    }

    void anAccountThatIsThereTwiceIsRefused()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(R"({"scenario": 1, "accounts": [{"userName": "a"}, {"userName": "A"}]})");
        file.close();
        const ProgramRun run =
            EmulatorProcess::run({"run"_s, "--scenario"_s, file.fileName(), "true"_s});
        QCOMPARE(run.status, 125);
        QVERIFY2(run.errors.contains("accounts[1]: an account has this userName"), run.errors);
    }

private:
    /// Runs the client with the arguments in a scenario's session.
    static ProgramRun inside(const char* scenario, const char* arguments,
                             const QByteArray& input = {})
    {
        return EmulatorProcess::run({"run"_s, "--scenario"_s, QLatin1String(scenario), "--"_s,
                                     "sh"_s, "-c"_s, "$1 "_s + QLatin1String(arguments), "sh"_s,
                                     QStringLiteral(KELACCOUNT_CLIENT_PROGRAM)},
                                    {}, input);
    }
};

QTEST_GUILESS_MAIN(TestEmulatorScenarios)
#include "tst_emulator_scenarios.moc"
