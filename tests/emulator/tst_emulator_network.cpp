// SPDX-License-Identifier: LGPL-2.1-or-later
// The network between client and emulator. Times are only ever compared with the least that they
// can be: a busy machine makes everything later, and nothing earlier.
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QJsonObject networkOf(const EmulatorProcess& emulator)
{
    return QJsonDocument::fromJson(emulator.admin("GET", "/network"_s).body).object();
}

int counted(const EmulatorProcess& emulator, const char* what)
{
    return networkOf(emulator).value(QLatin1String(what)).toInt(-1);
}

class Stopwatch
{
public:
    Stopwatch() { mTimer.start(); }
    /// In milliseconds, since the last time that it was asked.
    qint64 lap() { return mTimer.restart(); }

private:
    QElapsedTimer mTimer;
};

} // namespace

class TestEmulatorNetwork : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void countsWhatAClientWaitsFor_data() { rowsNamed("latency", {"0ms", "30ms", "200ms"}); }
    void countsWhatAClientWaitsFor()
    {
        const auto [latency] = fetch<QByteArray>("latency");
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--latency"_s, QString::fromLatin1(latency)}));
        WireClient client;
        QVERIFY(client.open(emulator));
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
        // Its opening, the tunnel, TLS, and the request.
        QCOMPARE(counted(emulator, "roundTrips"), 4);
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
        QCOMPARE(counted(emulator, "roundTrips"), 5);
        QCOMPARE(counted(emulator, "connections"), 1);
        QCOMPARE(counted(emulator, "handshakes"), 1);
        QCOMPARE(counted(emulator, "resumptions"), 0);
    }

    void takesARoundTripForEach()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--latency=120ms"_s}));
        Stopwatch stopwatch;
        WireClient client;
        QVERIFY(client.open(emulator));
        QVERIFY(stopwatch.lap() >= 3 * 120 - 1);
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
        QVERIFY(stopwatch.lap() >= 120 - 1);
    }

    void shakesNoMoreThanItMay()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--latency=60ms"_s, "--jitter=20ms"_s}));
        WireClient client;
        QVERIFY(client.open(emulator));
        for (int i = 0; i < 10; ++i) {
            Stopwatch stopwatch;
            QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
            QVERIFY(stopwatch.lap() >= 60 - 20 - 1);
        }
    }

    void keepsBytesInTheirOrder()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--latency=20ms"_s, "--jitter=20ms"_s,
                                "--fault=huge-body=300000"_s}));
        WireClient client;
        QVERIFY(client.open(emulator));
        // TLS takes no byte out of its place.
        const WireReply reply = client.ask(SignedRequest().bytes());
        QCOMPARE(reply.status, 200);
        QVERIFY(reply.body.size() > 300000);
        QCOMPARE(qint64(reply.body.size()), reply.announcedLength());
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
    }

    void letsNoMoreThrough_data() { rowsNamed("way", {"to the client", "to the service"}); }
    void letsNoMoreThrough()
    {
        const auto [way] = fetch<QByteArray>("way");
        constexpr int bytes = 25000;
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--bandwidth=400kbit"_s}));
        WireClient client;
        QVERIFY(client.open(emulator));
        SignedRequest request;
        if (way == "to the client")
            QVERIFY(emulator.orderFaults("huge-body=" + QByteArray::number(bytes)));
        else
            request.document = QByteArray(bytes, 'x');
        Stopwatch stopwatch;
        QVERIFY(client.ask(request.bytes()).status >= 200);
        QVERIFY(stopwatch.lap() >= bytes * 8 / 400);
    }

    void endsConnectionsAsTheyAre_data()
    {
        rowsNamed("fault", {"close-before-headers", "close-in-headers", "cut-body"});
    }
    void endsConnectionsAsTheyAre()
    {
        const auto [fault] = fetch<QByteArray>("fault");
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--latency=40ms"_s}));
        QVERIFY(emulator.orderFaults(fault));
        WireClient client;
        QVERIFY(client.open(emulator));
        QVERIFY(client.send(SignedRequest().bytes()));
        const WireReply reply = client.receiveToEnd();
        QVERIFY(reply.closed);
        QCOMPARE(reply.raw.isEmpty(), fault == "close-before-headers");
        // What the proxy refuses is read to its end, too.
        QTcpSocket plain;
        plain.connectToHost("127.0.0.1"_s, emulator.proxyPort());
        QVERIFY(plain.waitForConnected());
        plain.write("GET / HTTP/1.1\r\n\r\n" + QByteArray(3000, 'x'));
        QVERIFY(plain.waitForDisconnected(10000));
        QVERIFY(plain.readAll().startsWith("HTTP/1.1 405 "));
    }

    void endsWhileBytesAreOnTheirWay()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s}));
        WireClient before;
        QVERIFY(before.open(emulator));
        QCOMPARE(emulator.admin("POST", "/network"_s, R"({"latency": "10000ms"})").status, 200);
        // It is for connections from now on.
        QCOMPARE(before.ask(SignedRequest().bytes()).status, 200);
        QTcpSocket asking;
        asking.connectToHost("127.0.0.1"_s, emulator.proxyPort());
        QVERIFY(asking.waitForConnected());
        asking.write("CONNECT a.example:443 HTTP/1.1\r\n\r\n");
        QVERIFY(asking.waitForBytesWritten());
        Stopwatch stopwatch;
        QVERIFY(!asking.waitForReadyRead(300));
        QCOMPARE(emulator.admin("POST", "/refuse"_s).status, 200);
        QVERIFY(asking.state() != QAbstractSocket::ConnectedState ||
                asking.waitForDisconnected(10000));
        QCOMPARE(emulator.admin("POST", "/accept"_s).status, 200);
        QTcpSocket another;
        another.connectToHost("127.0.0.1"_s, emulator.proxyPort());
        QVERIFY(another.waitForConnected());
        another.write("CONNECT a.example:443 HTTP/1.1\r\n\r\n");
        QVERIFY(another.waitForBytesWritten());
        QCOMPARE(emulator.stop(), 0);
    }

    void refusesWhatCannotBe_data()
    {
        const auto row = rows<QStringList, QByteArray>("options", "says");
        row("no unit", {"--latency=100"_s}, "--latency needs whole milliseconds");
        row("another unit", {"--latency=1s"_s}, "--latency needs whole milliseconds");
        row("below nothing", {"--latency=-1ms"_s}, "--latency needs whole milliseconds");
        row("a plus", {"--latency=+1ms"_s}, "--latency needs whole milliseconds");
        row("a fraction", {"--latency=1.5ms"_s}, "--latency needs whole milliseconds");
        row("no number", {"--latency=ms"_s}, "--latency needs whole milliseconds");
        row("too long", {"--latency=10001ms"_s}, "--latency needs whole milliseconds");
        row("a blank", {"--latency=1 ms"_s}, "--latency needs whole milliseconds");
        row("jitter without unit", {"--latency=9ms"_s, "--jitter=2"_s},
            "--jitter needs whole milliseconds");
        row("jitter alone", {"--jitter=2ms"_s}, "jitter needs a latency");
        row("more jitter than latency", {"--latency=9ms"_s, "--jitter=10ms"_s},
            "jitter can be no longer than the latency");
        row("bandwidth without unit", {"--bandwidth=400"_s},
            "--bandwidth needs whole kilobits or megabits");
        row("too slow", {"--bandwidth=7kbit"_s}, "--bandwidth needs whole kilobits or megabits");
        row("too fast", {"--bandwidth=1001mbit"_s}, "--bandwidth needs whole kilobits or megabits");
        row("other case", {"--bandwidth=400Kbit"_s},
            "--bandwidth needs whole kilobits or megabits");
    }
    void refusesWhatCannotBe()
    {
        const auto [options, says] = fetch<QStringList, QByteArray>("options", "says");
        for (const char* mode : {"run", "serve"}) {
            QStringList words = QStringList{text(mode)} + options;
            if (text(mode) == "run"_s)
                words += {"--"_s, "true"_s};
            const ProgramRun run = EmulatorProcess::run(words);
            QCOMPARE(run.status, 2);
            QVERIFY2(ProgramRun::isOneLine(run.errors) && run.errors.contains(says),
                     run.errors.constData());
        }
    }

    void isToldAndTellsWhileItRuns()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--latency=5ms"_s, "--bandwidth=2mbit"_s}));
        QJsonObject network = networkOf(emulator);
        QCOMPARE(network.value("latency"_s).toString(), "5ms"_s);
        QCOMPARE(network.value("bandwidth"_s).toString(), "2mbit"_s);
        QVERIFY(!network.contains("jitter"_s));
        for (const char* wrong :
             {R"({"latency": 5})", R"({"latency": "5"})", R"({"jitter": "5ms"})",
              R"({"delay": "5ms"})", R"({"latency": "5ms", "jitter": "6ms"})", "[]", "5ms"})
            QCOMPARE(emulator.admin("POST", "/network"_s, wrong).status, 400);
        QCOMPARE(networkOf(emulator).value("latency"_s).toString(), "5ms"_s);
        QCOMPARE(emulator
                     .admin("POST", "/network"_s,
                            R"({"latency": "7ms", "jitter": "2ms", "bandwidth": "400kbit"})")
                     .status,
                 200);
        network = networkOf(emulator);
        QCOMPARE(network.value("latency"_s).toString(), "7ms"_s);
        QCOMPARE(network.value("jitter"_s).toString(), "2ms"_s);
        QCOMPARE(network.value("bandwidth"_s).toString(), "400kbit"_s);

        // It is saved in the scenario, and one that is loaded brings its own.
        const QByteArray saved = emulator.admin("GET", "/scenario"_s).body;
        QCOMPARE(emulator.admin("POST", "/scenario"_s, R"({"scenario": 1})").status, 200);
        QVERIFY(!networkOf(emulator).contains("latency"_s));
        QCOMPARE(emulator.admin("POST", "/scenario"_s, saved).status, 200);
        QCOMPARE(networkOf(emulator).value("bandwidth"_s).toString(), "400kbit"_s);
        const AdminReply refused = emulator.admin(
            "POST", "/scenario"_s, R"({"scenario": 1, "network": {"latency": "fast"}})");
        QCOMPARE(refused.status, 400);
        QVERIFY2(refused.body.contains("network.latency needs whole milliseconds"),
                 refused.body.constData());
    }

    void startsWithAScenariosNetwork()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("slow.json"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"scenario": 1, "network": {"latency": "80ms", "jitter": "10ms"}})");
        file.close();
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--no-session"_s, "--scenario"_s, file.fileName()}));
        QCOMPARE(networkOf(emulator).value("latency"_s).toString(), "80ms"_s);
        EmulatorProcess other;
        QVERIFY(other.start(
            {"--no-session"_s, "--scenario"_s, file.fileName(), "--latency"_s, "20ms"_s}));
        QCOMPARE(networkOf(other).value("latency"_s).toString(), "20ms"_s);
        QCOMPARE(networkOf(other).value("jitter"_s).toString(), "10ms"_s);
    }
};

QTEST_GUILESS_MAIN(TestEmulatorNetwork)
#include "tst_emulator_network.moc"
