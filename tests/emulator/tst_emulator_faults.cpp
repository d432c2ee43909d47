// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"

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
    void initTestCase();
    void showsOnTheWire_data();
    void showsOnTheWire();
    void processesNothingWhenItClosesBeforeTheHeaders();
    void delaysAnAnswer();
    void neverAnswers();
    void presentsAnotherHostsCertificate();
    void presentsItAfterARequestThatWentBefore();
    void closesAWaitingConnectionForACertificate();
    void takesFaultsInOrder();
    void takesFaultsFromTheCommandLine();
    void refusesUnknownFaults_data();
    void refusesUnknownFaults();
    void forgetsFaults();
    void refusesAndAcceptsConnections();
    void startsRefusing();
    void endsWhileARequestHangs();

private:
    WireReply ask();

    EmulatorProcess mEmulator;
};

void TestEmulatorFaults::initTestCase()
{
    QVERIFY2(mEmulator.start(), mEmulator.log().constData());
}

WireReply TestEmulatorFaults::ask()
{
    WireClient client;
    return client.open(mEmulator) ? client.ask(SignedRequest().bytes()) : WireReply();
}

void TestEmulatorFaults::showsOnTheWire_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<IsAsOrdered>("isAsOrdered");
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
        return r.body.endsWith(endOfDocument) && r.body.size() < r.announcedLength() && r.closed;
    });
    row("short-length", [](const WireReply& r) {
        return r.body.endsWith(endOfDocument) && r.body.size() > r.announcedLength() && r.closed;
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

void TestEmulatorFaults::showsOnTheWire()
{
    QFETCH(QByteArray, fault);
    QFETCH(IsAsOrdered, isAsOrdered);
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

void TestEmulatorFaults::processesNothingWhenItClosesBeforeTheHeaders()
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

void TestEmulatorFaults::delaysAnAnswer()
{
    QVERIFY(mEmulator.orderFaults("delay=400"));
    WireClient client;
    QVERIFY(client.open(mEmulator));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
    QVERIFY2(timer.elapsed() >= 400, QByteArray::number(timer.elapsed()).constData());
}

void TestEmulatorFaults::neverAnswers()
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

void TestEmulatorFaults::presentsAnotherHostsCertificate()
{
    QVERIFY(mEmulator.orderFaults("wrong-host"));
    WireClient client;
    QVERIFY(!client.open(mEmulator));
    QCOMPARE(client.errors().size(), 1);
    // Signed by the right authority: nothing but the name is wrong.
    QCOMPARE(client.errors().first().error(), QSslError::HostNameMismatch);
    QCOMPARE(ask().status, 200);
}

void TestEmulatorFaults::presentsItAfterARequestThatWentBefore()
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

void TestEmulatorFaults::closesAWaitingConnectionForACertificate()
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

void TestEmulatorFaults::takesFaultsInOrder()
{
    QVERIFY(mEmulator.orderFaults("status=500\nnone\n2*status=404\r\nstatus=410"));
    QCOMPARE(mEmulator.admin("GET", QStringLiteral("/faults")).body,
             QByteArray("status=500\nnone\nstatus=404\nstatus=404\nstatus=410\n"));
    for (const int status : {500, 200, 404, 404, 410, 200})
        QCOMPARE(ask().status, status);
    QCOMPARE(mEmulator.admin("GET", QStringLiteral("/faults")).body, QByteArray());
}

void TestEmulatorFaults::takesFaultsFromTheCommandLine()
{
    EmulatorProcess emulator;
    QVERIFY(emulator.start({QStringLiteral("--fault"), QStringLiteral("status=500"),
                            QStringLiteral("--fault=2*status=404")}));
    for (const int status : {500, 404, 404, 200}) {
        WireClient client;
        QVERIFY(client.open(emulator));
        QCOMPARE(client.ask(SignedRequest().bytes()).status, status);
    }
}

void TestEmulatorFaults::refusesUnknownFaults_data()
{
    QTest::addColumn<QByteArray>("fault");
    for (const char* fault : {"fire",
                              "delay",
                              "delay=",
                              "delay=x",
                              "delay=-1",
                              "delay=600001",
                              "status",
                              "status=99",
                              "status=1000",
                              "hang=1",
                              "0*hang",
                              "10001*hang",
                              "x*hang",
                              "*hang",
                              "huge-body=0",
                              "huge-body=99999999999",
                              "status=18446744073709551616",
                              "hang\nfire",
                              "",
                              "\n"})
        QTest::newRow(fault) << QByteArray(fault);
}

void TestEmulatorFaults::refusesUnknownFaults()
{
    QFETCH(QByteArray, fault);
    const AdminReply reply = mEmulator.admin("POST", QStringLiteral("/faults"), fault);
    QCOMPARE(reply.status, 400);
    QVERIFY(reply.body.endsWith('\n'));
    // One line refused refuses them all.
    QCOMPARE(mEmulator.admin("GET", QStringLiteral("/faults")).body, QByteArray());
}

void TestEmulatorFaults::forgetsFaults()
{
    QVERIFY(mEmulator.orderFaults("3*status=500"));
    QCOMPARE(mEmulator.admin("DELETE", QStringLiteral("/faults")).status, 200);
    QCOMPARE(ask().status, 200);
}

void TestEmulatorFaults::refusesAndAcceptsConnections()
{
    for (int round = 0; round < 3; ++round) {
        WireClient kept;
        QVERIFY(kept.open(mEmulator));
        QCOMPARE(kept.ask(SignedRequest().bytes()).status, 200);

        QCOMPARE(mEmulator.admin("POST", QStringLiteral("/refuse")).status, 200);
        QVERIFY(kept.waitForEnd());
        WireClient refused;
        QVERIFY(!refused.open(mEmulator));
        QCOMPARE(refused.socketError(), QAbstractSocket::ConnectionRefusedError);
        QCOMPARE(mEmulator.admin("POST", QStringLiteral("/refuse")).status, 200);

        QCOMPARE(mEmulator.admin("POST", QStringLiteral("/accept")).status, 200);
        QCOMPARE(mEmulator.admin("POST", QStringLiteral("/accept")).status, 200);
        QCOMPARE(ask().status, 200);
    }
    QCOMPARE(mEmulator.admin("GET", QStringLiteral("/health")).body, QByteArray("ok\n"));
}

void TestEmulatorFaults::startsRefusing()
{
    EmulatorProcess emulator;
    QVERIFY(emulator.start({QStringLiteral("--refuse")}));
    WireClient refused;
    QVERIFY(!refused.open(emulator));
    QCOMPARE(refused.socketError(), QAbstractSocket::ConnectionRefusedError);
    QCOMPARE(emulator.admin("POST", QStringLiteral("/accept")).status, 200);
    WireClient client;
    QVERIFY(client.open(emulator));
    QCOMPARE(client.ask(SignedRequest().bytes()).status, 200);
}

void TestEmulatorFaults::endsWhileARequestHangs()
{
    EmulatorProcess emulator;
    QVERIFY(
        emulator.start({QStringLiteral("--fault=hang"), QStringLiteral("--fault=delay=600000")}));
    WireClient hanging;
    WireClient delayed;
    WireClient idle;
    QTcpSocket silent; // never even asks for a tunnel
    silent.connectToHost(QStringLiteral("127.0.0.1"), emulator.proxyPort());
    QVERIFY(silent.waitForConnected());
    QVERIFY(hanging.open(emulator) && delayed.open(emulator) && idle.open(emulator));
    QVERIFY(hanging.send(SignedRequest().bytes()));
    QVERIFY(!hanging.somethingComes(200));
    QVERIFY(delayed.send(SignedRequest().bytes()));
    QVERIFY(!delayed.somethingComes(200));
    QCOMPARE(emulator.stop(), 0);
    QVERIFY(hanging.waitForEnd() && delayed.waitForEnd() && idle.waitForEnd());
}

QTEST_GUILESS_MAIN(TestEmulatorFaults)
#include "tst_emulator_faults.moc"
