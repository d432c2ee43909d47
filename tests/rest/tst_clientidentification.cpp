// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/clientidentification.h"
#include "support/literals.h"

#include <QNetworkInterface>
#include <QTest>

#include <atomic>
#include <thread>

using namespace KelRestHandler;

using Headers = QMap<QString, QString>;
using AddressList = QList<QHostAddress>;

namespace {

AddressList addresses(std::initializer_list<const char*> texts)
{
    AddressList list;
    for (const char* one : texts)
        list.append(QHostAddress(text(one)));
    return list;
}

QString forwarded(const Headers& headers)
{
    return headers.value("X-Forwarded-For"_s);
}

QString agent()
{
    return ClientIdentification::headers().value("X-Halda-Original-User-Agent"_s);
}

const auto acmesAgent = "QtDE/2.0 (AcmeHandset 9/20.2012.32-1)"_s;

std::atomic<int> readings{0};

DeviceDescription acme()
{
    ++readings;
    return {"Acme"_s, "Handset 9"_s, "20.2012.32-1"_s};
}

DeviceDescription other()
{
    ++readings;
    return {"Other"_s, "Phone"_s, "1"_s};
}

} // namespace

class ClientIdentificationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        ClientIdentification::setAddressReader(nullptr);
        ClientIdentification::setDescriptionReader(nullptr);
    }

    void thereAreExactlyFiveHeaders()
    {
        const QStringList names{"True-Client-IP"_s, "X-Forwarded-For"_s, "X-Halda-Original-IP"_s,
                                "X-Halda-Original-User-Agent"_s, "X-Halda-Original-User-IP"_s};
        QCOMPARE(
            QStringList(ClientIdentification::headersFor(acme(), addresses({"10.0.0.5"})).keys()),
            names);
        QCOMPARE(QStringList(ClientIdentification::headersFor({}, {}).keys()), names);
        QCOMPARE(QStringList(ClientIdentification::headers().keys()), names);
    }

    void theDescriptionIsReadOnceInTheProcess()
    {
        readings = 0;
        ClientIdentification::setDescriptionReader(&acme);
        QCOMPARE(readings.load(), 0);
        int address = 0;
        ClientIdentification::setAddressReader([&address] {
            return AddressList{QHostAddress(static_cast<quint32>(0x0A000000 + ++address))};
        });
        for (int request = 0; request < 100; ++request)
            QCOMPARE(agent(), acmesAgent);
        QCOMPARE(readings.load(), 1);

        QString agentElsewhere;
        std::thread([&] { agentElsewhere = agent(); }).join();
        QCOMPARE(agentElsewhere, acmesAgent);
        QCOMPARE(readings.load(), 1);
    }

    void anotherReaderIsReadAndNoneIsEmpty()
    {
        readings = 0;
        ClientIdentification::setDescriptionReader(&other);
        QCOMPARE(agent(), "QtDE/2.0 (OtherPhone/1)"_s);
        QCOMPARE(readings.load(), 1);
        ClientIdentification::setDescriptionReader(&acme);
        QCOMPARE(agent(), acmesAgent);
        QCOMPARE(readings.load(), 2);
        ClientIdentification::setDescriptionReader(nullptr);
        QCOMPARE(agent(), "QtDE/2.0 (/)"_s);
    }

    void addressesAreReadForEveryRequest()
    {
        int calls = 0;
        AddressList current = addresses({"10.0.0.5"});
        ClientIdentification::setAddressReader([&] {
            ++calls;
            return current;
        });
        QCOMPARE(forwarded(ClientIdentification::headers()), "10.0.0.5"_s);
        QCOMPARE(forwarded(ClientIdentification::headers()), "10.0.0.5"_s);
        QCOMPARE(calls, 2);
        current = addresses({"10.0.0.6", "192.168.1.2"});
        const Headers headers = ClientIdentification::headers();
        QCOMPARE(forwarded(headers), "10.0.0.6,192.168.1.2"_s);
        QCOMPARE(headers.value("True-Client-IP"_s), "10.0.0.6"_s);
        current.clear();
        QCOMPARE(forwarded(ClientIdentification::headers()), ""_s);
        QCOMPARE(calls, 4);
    }

    void anAddressReaderIsForItsThreadOnly()
    {
        ClientIdentification::setAddressReader([] { return addresses({"203.0.113.77"}); });
        QString elsewhere;
        std::thread([&] { elsewhere = forwarded(ClientIdentification::headers()); }).join();
        QVERIFY2(!elsewhere.contains("203.0.113.77"_s), qPrintable(elsewhere));
        QCOMPARE(forwarded(ClientIdentification::headers()), "203.0.113.77"_s);
    }

    void withoutAReaderAddressesAreTheInterfaces()
    {
        ClientIdentification::setAddressReader([] { return addresses({"203.0.113.77"}); });
        QCOMPARE(forwarded(ClientIdentification::headers()), "203.0.113.77"_s);
        ClientIdentification::setAddressReader(nullptr);
        const AddressList interfaces = QNetworkInterface::allAddresses();
        QCOMPARE(ClientIdentification::headers(), ClientIdentification::headersFor({}, interfaces));
    }
};

QTEST_APPLESS_MAIN(ClientIdentificationTest)
#include "tst_clientidentification.moc"
