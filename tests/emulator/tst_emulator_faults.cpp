// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QtTest>
#include <QXmlStreamReader>

#include <functional>

namespace {

constexpr const char* endOfDocument = "</userNameAvailabilityResponse>\n";

bool isWellFormed(const QByteArray& text)
{
    QXmlStreamReader reader(text);
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

/// Whether the bytes of a reply are what a fault makes of it.
using IsAsOrdered = std::function<bool(const WireReply&)>;

} // namespace

Q_DECLARE_METATYPE(IsAsOrdered)

class TestEmulatorFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(mEmulator.start(), mEmulator.log().constData()); }

    void showsOnTheWire_data()
    {
        rows<QByteArray, IsAsOrdered>("fault", "isAsOrdered");
        const auto row = [](const char* fault, IsAsOrdered isAsOrdered) {
            QTest::newRow(fault) << QByteArray(fault) << std::move(isAsOrdered);
        };
        row("close-before-headers", [](const WireReply& r) { return r.raw.isEmpty() && r.closed; });
        row("close-in-headers", [](const WireReply& r) {
            return r.raw.startsWith("HTTP/1.1 200 ") && r.raw.count("HTTP/1.1") == 1 &&
                   r.headers.isEmpty() && r.closed;
        });
        row("close-after-headers", [](const WireReply& r) {
            return r.status == 200 && r.announcedLength() > 0 && r.body.isEmpty() && r.closed;
        });
        row("cut-body", [](const WireReply& r) {
            return r.body.startsWith("<?xml") && r.body.size() < r.announcedLength() && r.closed;
        });
        row("wrong-length", [](const WireReply& r) {
            return r.body.endsWith(endOfDocument) && r.body.size() < r.announcedLength() &&
                   r.closed;
        });
        row("short-length", [](const WireReply& r) {
            return r.body.endsWith(endOfDocument) && r.body.size() > r.announcedLength() &&
                   r.closed;
        });
        for (const int status : {200, 204, 301, 400, 404, 418, 500, 503, 599, 999}) {
            row(QByteArray("status=" + QByteArray::number(status)).constData(),
                [status](const WireReply& r) {
                    return r.status == status && r.body.size() == r.announcedLength() &&
                           !r.raw.contains("<?xml") && !r.closed;
                });
        }
        row("not-xml", [](const WireReply& r) {
            return r.status == 200 && r.body.size() == r.announcedLength() && !r.body.isEmpty() &&
                   !isWellFormed(r.body) && !r.closed;
        });
        row("huge-body=5000000", [](const WireReply& r) {
            return r.status == 200 && r.body.size() > 5000000 && r.body.size() < 5001000 &&
                   r.body.size() == r.announcedLength() && isWellFormed(r.body) && !r.closed;
        });
        row("none", [](const WireReply& r) {
            return r.status == 200 && r.body.endsWith(endOfDocument) && !r.closed;
        });
    }
    void showsOnTheWire()
    {
        const auto [fault, isAsOrdered] = fetch<QByteArray, IsAsOrdered>("fault", "isAsOrdered");
        QVERIFY(mEmulator.orderFaults(fault));
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QVERIFY(client.send(SignedRequest().bytes()));
        const bool closes =
            fault.contains("close") || fault.contains("cut") || fault.contains("length");
        const WireReply reply = closes ? client.receiveToEnd() : client.receive();
        QVERIFY2(isAsOrdered(reply), reply.raw.left(2000).constData());
        if (!reply.raw.isEmpty() && !reply.headers.isEmpty())
            QVERIFY(!reply.header("Date").isEmpty());
        // A connection that was not closed still serves, and so does the next one.
        if (!closes)
            QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
        QCOMPARE(ask().status, 200);
    }

    void processesNothingWhenItClosesBeforeTheHeaders()
    {
        // Qt sends the same bytes, nonce included, again when a connection closes without a byte.
        const QByteArray bytes = SignedRequest().bytes();
        QVERIFY(mEmulator.orderFaults("close-before-headers\nclose-in-headers"));
        for (const bool hasBytes : {false, true}) {
            WireClient client;
            QVERIFY(client.open(mEmulator));
            QVERIFY(client.send(bytes));
            QCOMPARE(!client.receiveToEnd().raw.isEmpty(), hasBytes);
        }
        // The second time it was processed, so now the nonce is used up.
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QCOMPARE(client.ask(bytes).status, 401);
    }

    void delaysAnAnswer()
    {
        QVERIFY(mEmulator.orderFaults("delay=400"));
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
        QVERIFY2(timer.elapsed() >= 400, QByteArray::number(timer.elapsed()).constData());
    }

    void neverAnswers()
    {
        QVERIFY(mEmulator.orderFaults("hang"));
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QVERIFY(client.send(SignedRequest().bytes()));
        QVERIFY(!client.somethingComes(700));
        // Meanwhile others are served.
        QCOMPARE(ask().status, 200);
        QVERIFY(!client.somethingComes(100));
    }

    void presentsAnotherHostsCertificate()
    {
        QVERIFY(mEmulator.orderFaults("2*wrong-host"));
        for (int turn = 0; turn < 2; ++turn) {
            WireClient client;
            QVERIFY(!client.open(mEmulator));
            QCOMPARE(client.errors().size(), 1);
            // Signed by the right authority: nothing but the name is wrong.
            QCOMPARE(client.errors().first().error(), QSslError::HostNameMismatch);
        }
        QCOMPARE(ask().status, 200);
    }

    void presentsItAfterARequestThatWentBefore()
    {
        QVERIFY(mEmulator.orderFaults("status=503\nwrong-host\n"));
        WireClient first;
        QVERIFY(first.open(mEmulator));
        QCOMPARE(first.ask(SignedRequest().bytes()).status, 503);
        QVERIFY(first.waitForEnd());
        WireClient second;
        QVERIFY(!second.open(mEmulator));
        QCOMPARE(ask().status, 200);
    }

    void closesAWaitingConnectionForACertificate()
    {
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
        QVERIFY(mEmulator.orderFaults("wrong-host"));
        QVERIFY(client.waitForEnd());
        WireClient second;
        QVERIFY(!second.open(mEmulator));
        QCOMPARE(ask().status, 200);
    }

    void refusesAndAcceptsConnections()
    {
        for (int round = 0; round < 3; ++round) {
            WireClient kept;
            QVERIFY(kept.open(mEmulator));
            QCOMPARE(kept.ask(SignedRequest().bytes()).status, 200);

            QCOMPARE(mEmulator.admin("POST", "/refuse"_s).status, 200);
            QVERIFY(kept.waitForEnd());
            WireClient refused;
            QVERIFY(!refused.open(mEmulator));
            QCOMPARE(refused.socketError(), QAbstractSocket::ConnectionRefusedError);
            QCOMPARE(mEmulator.admin("POST", "/refuse"_s).status, 200);

            QCOMPARE(mEmulator.admin("POST", "/accept"_s).status, 200);
            QCOMPARE(mEmulator.admin("POST", "/accept"_s).status, 200);
            QCOMPARE(ask().status, 200);
        }
        QCOMPARE(mEmulator.admin("GET", "/health"_s).body, "ok\n"_ba);
    }

    void endsWhileARequestHangs()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start({"--fault=hang"_s, "--fault=delay=600000"_s}));
        WireClient hanging;
        WireClient delayed;
        WireClient idle;
        QTcpSocket silent; // never even asks for a tunnel
        silent.connectToHost("127.0.0.1"_s, emulator.proxyPort());
        QVERIFY(silent.waitForConnected());
        QVERIFY(hanging.open(emulator) && delayed.open(emulator) && idle.open(emulator));
        QVERIFY(hanging.send(SignedRequest().bytes()));
        QVERIFY(!hanging.somethingComes(200));
        QVERIFY(delayed.send(SignedRequest().bytes()));
        QVERIFY(!delayed.somethingComes(200));
        QCOMPARE(emulator.stop(), 0);
        QVERIFY(hanging.waitForEnd() && delayed.waitForEnd() && idle.waitForEnd());
    }

private:
    WireReply ask()
    {
        WireClient client;
        return client.open(mEmulator) ? client.ask(SignedRequest().bytes()) : WireReply();
    }

    EmulatorProcess mEmulator;
};

QTEST_GUILESS_MAIN(TestEmulatorFaults)
#include "tst_emulator_faults.moc"
