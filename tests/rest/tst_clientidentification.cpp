// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/clientidentification.h"

#include <QNetworkInterface>
#include <QTest>

#include <atomic>
#include <thread>

using namespace KelRestHandler;

using Headers = QMap<QString, QString>;
using AddressList = QList<QHostAddress>;
Q_DECLARE_METATYPE(AddressList)

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

AddressList addresses(std::initializer_list<const char*> texts)
{
    AddressList list;
    for (const char* one : texts)
        list.append(QHostAddress(text(one)));
    return list;
}

QString forwarded(const Headers& headers)
{
    return headers.value(text("X-Forwarded-For"));
}

std::atomic<int> readings{0};

DeviceDescription acme()
{
    ++readings;
    return {text("Acme"), text("Handset 9"), text("20.2012.32-1")};
}

DeviceDescription other()
{
    ++readings;
    return {text("Other"), text("Phone"), text("1")};
}

} // namespace

class ClientIdentificationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void addressesFillTheFourHeaders_data();
    void addressesFillTheFourHeaders();
    void thereAreExactlyFiveHeaders();
    void theDescriptionBecomesTheUserAgent_data();
    void theDescriptionBecomesTheUserAgent();

    void theDescriptionIsReadOnceInTheProcess();
    void anotherReaderIsReadAgain();
    void withoutAReaderTheDescriptionIsEmpty();
    void addressesAreReadForEveryRequest();
    void anAddressReaderIsForItsThreadOnly();
    void withoutAReaderAddressesAreTheInterfaces();
};

void ClientIdentificationTest::cleanup()
{
    ClientIdentification::setAddressReader(nullptr);
    ClientIdentification::setDescriptionReader(nullptr);
}

void ClientIdentificationTest::addressesFillTheFourHeaders_data()
{
    QTest::addColumn<AddressList>("list");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("all");

    QTest::newRow("loopback and IPv6 are passed over")
        << addresses({"127.0.0.1", "fe80::1", "10.0.0.5", "192.168.1.2"}) << text("10.0.0.5")
        << text("10.0.0.5,192.168.1.2");
    QTest::newRow("the interfaces' order stays")
        << addresses({"192.168.1.2", "10.0.0.5", "127.0.0.1"}) << text("192.168.1.2")
        << text("192.168.1.2,10.0.0.5");
    QTest::newRow("one") << addresses({"10.0.0.5"}) << text("10.0.0.5") << text("10.0.0.5");
    QTest::newRow("none") << addresses({}) << text("") << text("");
    QTest::newRow("only loopback") << addresses({"127.0.0.1", "::1"}) << text("") << text("");
    QTest::newRow("only IPv6") << addresses({"fe80::1%eth0", "2001:db8::1", "::ffff:10.0.0.5"})
                               << text("") << text("");
    // Only this one text is the loopback address.
    QTest::newRow("other loopback addresses count")
        << addresses({"127.0.0.1", "127.0.0.2", "127.0.1.1"}) << text("127.0.0.2")
        << text("127.0.0.2,127.0.1.1");
    QTest::newRow("the same twice")
        << addresses({"10.0.0.5", "10.0.0.5"}) << text("10.0.0.5") << text("10.0.0.5,10.0.0.5");
}

void ClientIdentificationTest::addressesFillTheFourHeaders()
{
    QFETCH(AddressList, list);
    QFETCH(QString, first);
    QFETCH(QString, all);
    const Headers headers = ClientIdentification::headersFor({}, list);
    for (const char* name : {"True-Client-IP", "X-Halda-Original-IP", "X-Halda-Original-User-IP"}) {
        QVERIFY(headers.contains(text(name)));
        QCOMPARE(headers.value(text(name)), first);
    }
    QVERIFY(headers.contains(text("X-Forwarded-For")));
    QCOMPARE(forwarded(headers), all);
}

void ClientIdentificationTest::thereAreExactlyFiveHeaders()
{
    const QStringList names{text("True-Client-IP"), text("X-Forwarded-For"),
                            text("X-Halda-Original-IP"), text("X-Halda-Original-User-Agent"),
                            text("X-Halda-Original-User-IP")};
    QCOMPARE(QStringList(ClientIdentification::headersFor(acme(), addresses({"10.0.0.5"})).keys()),
             names);
    QCOMPARE(QStringList(ClientIdentification::headersFor({}, {}).keys()), names);
    QCOMPARE(QStringList(ClientIdentification::headers().keys()), names);
}

void ClientIdentificationTest::theDescriptionBecomesTheUserAgent_data()
{
    QTest::addColumn<QString>("manufacturer");
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("firmware");
    QTest::addColumn<QString>("agent");
    // Manufacturer and model stand side by side with nothing between them.
    QTest::newRow("all known") << text("Acme") << text("Handset 9") << text("20.2012.32-1")
                               << text("QtDE/2.0 (AcmeHandset 9/20.2012.32-1)");
    QTest::newRow("none known") << QString() << QString() << QString() << text("QtDE/2.0 (/)");
    QTest::newRow("model only") << QString() << text("M") << QString() << text("QtDE/2.0 (M/)");
    QTest::newRow("placeholders in the facts")
        << text("%2") << text("%3") << text("%1%5") << text("QtDE/2.0 (%2%3/%1%5)");
}

void ClientIdentificationTest::theDescriptionBecomesTheUserAgent()
{
    QFETCH(QString, manufacturer);
    QFETCH(QString, model);
    QFETCH(QString, firmware);
    QFETCH(QString, agent);
    const Headers headers = ClientIdentification::headersFor({manufacturer, model, firmware}, {});
    QCOMPARE(headers.value(text("X-Halda-Original-User-Agent")), agent);
}

void ClientIdentificationTest::theDescriptionIsReadOnceInTheProcess()
{
    readings = 0;
    ClientIdentification::setDescriptionReader(&acme);
    QCOMPARE(readings.load(), 0);
    const auto agent = text("QtDE/2.0 (AcmeHandset 9/20.2012.32-1)");

    int address = 0;
    ClientIdentification::setAddressReader([&address] {
        return AddressList{QHostAddress(static_cast<quint32>(0x0A000000 + ++address))};
    });
    for (int request = 0; request < 100; ++request)
        QCOMPARE(ClientIdentification::headers().value(text("X-Halda-Original-User-Agent")), agent);
    QCOMPARE(readings.load(), 1);

    QString agentElsewhere;
    std::thread([&] {
        agentElsewhere = ClientIdentification::headers().value(text("X-Halda-Original-User-Agent"));
    }).join();
    QCOMPARE(agentElsewhere, agent);
    QCOMPARE(readings.load(), 1);
}

void ClientIdentificationTest::anotherReaderIsReadAgain()
{
    readings = 0;
    ClientIdentification::setDescriptionReader(&other);
    QCOMPARE(ClientIdentification::headers().value(text("X-Halda-Original-User-Agent")),
             text("QtDE/2.0 (OtherPhone/1)"));
    QCOMPARE(readings.load(), 1);
    ClientIdentification::setDescriptionReader(&acme);
    QCOMPARE(ClientIdentification::headers().value(text("X-Halda-Original-User-Agent")),
             text("QtDE/2.0 (AcmeHandset 9/20.2012.32-1)"));
    QCOMPARE(readings.load(), 2);
}

void ClientIdentificationTest::withoutAReaderTheDescriptionIsEmpty()
{
    ClientIdentification::setDescriptionReader(&other);
    ClientIdentification::headers();
    ClientIdentification::setDescriptionReader(nullptr);
    QCOMPARE(ClientIdentification::headers().value(text("X-Halda-Original-User-Agent")),
             text("QtDE/2.0 (/)"));
}

void ClientIdentificationTest::addressesAreReadForEveryRequest()
{
    int calls = 0;
    AddressList current = addresses({"10.0.0.5"});
    ClientIdentification::setAddressReader([&] {
        ++calls;
        return current;
    });
    QCOMPARE(forwarded(ClientIdentification::headers()), text("10.0.0.5"));
    QCOMPARE(forwarded(ClientIdentification::headers()), text("10.0.0.5"));
    QCOMPARE(calls, 2);
    current = addresses({"10.0.0.6", "192.168.1.2"});
    const Headers headers = ClientIdentification::headers();
    QCOMPARE(forwarded(headers), text("10.0.0.6,192.168.1.2"));
    QCOMPARE(headers.value(text("True-Client-IP")), text("10.0.0.6"));
    current.clear();
    QCOMPARE(forwarded(ClientIdentification::headers()), text(""));
    QCOMPARE(calls, 4);
}

void ClientIdentificationTest::anAddressReaderIsForItsThreadOnly()
{
    ClientIdentification::setAddressReader([] { return addresses({"203.0.113.77"}); });
    QString elsewhere;
    std::thread([&] { elsewhere = forwarded(ClientIdentification::headers()); }).join();
    QVERIFY2(!elsewhere.contains(text("203.0.113.77")), qPrintable(elsewhere));
    QCOMPARE(forwarded(ClientIdentification::headers()), text("203.0.113.77"));
}

void ClientIdentificationTest::withoutAReaderAddressesAreTheInterfaces()
{
    ClientIdentification::setAddressReader([] { return addresses({"203.0.113.77"}); });
    QCOMPARE(forwarded(ClientIdentification::headers()), text("203.0.113.77"));
    ClientIdentification::setAddressReader(nullptr);
    const AddressList interfaces = QNetworkInterface::allAddresses();
    QCOMPARE(ClientIdentification::headers(), ClientIdentification::headersFor({}, interfaces));
}

QTEST_APPLESS_MAIN(ClientIdentificationTest)
#include "tst_clientidentification.moc"
