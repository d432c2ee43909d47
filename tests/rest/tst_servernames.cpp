// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/servernames.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"
#include "support/tunnelproxy.h"

#include <QNetworkProxy>
#include <QSignalSpy>
#include <QTest>

using namespace KelRestHandler;

namespace {

constexpr int patience = 10000;

} // namespace

class TestServerNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy)); }

    void aCertificateIsForItsAlternativeNames_data()
    {
        columns<QByteArray, QByteArray, QString, bool>("commonName", "names", "host", "issued");
        const auto row = [](const char* label, const char* commonName, const char* names,
                            const char* host, bool issued) {
            QTest::newRow(label) << QByteArray(commonName) << QByteArray(names)
                                 << QString::fromUtf8(host) << issued;
        };
        row("the name", "x", "DNS:a.example", "a.example", true);
        row("one of several", "x", "DNS:b.example,DNS:a.example", "a.example", true);
        row("another name", "x", "DNS:b.example", "a.example", false);
        row("the case does not matter", "x", "DNS:A.Example", "a.eXample", true);
        row("a dot at the host's end", "x", "DNS:a.example", "a.example.", true);
        row("a dot at the name's end", "x", "DNS:a.example.", "a.example", true);
        row("a name above", "x", "DNS:example", "a.example", false);
        row("a name below", "x", "DNS:b.a.example", "a.example", false);
        row("a name that ends alike", "x", "DNS:a.example", "ba.example", false);
        row("another alphabet", "x", "DNS:xn--bcher-kva.example",
            "b\xc3\xbc"
            "cher.example",
            true);
        row("only the common name", "a.example", "DNS:b.example", "a.example", false);
        row("the common name and no other", "a.example", "", "a.example", false);
        row("an e-mail address of the name", "a.example", "email:a.example@a.example", "a.example",
            false);
        row("an address of the resource", "a.example", "URI:https://a.example/", "a.example",
            false);
        row("wildcard", "x", "DNS:*.b.example", "a.b.example", true);
        row("wildcard for two labels", "x", "DNS:*.b.example", "c.a.b.example", false);
        row("wildcard for none", "x", "DNS:*.b.example", "b.example", false);
        row("wildcard for an empty label", "x", "DNS:*.b.example", ".b.example", false);
        row("wildcard over a whole domain", "x", "DNS:*.example", "a.example", false);
        row("wildcard alone", "x", "DNS:*", "a.example", false);
        row("wildcard within a label", "x", "DNS:a*.b.example", "ab.b.example", false);
        row("wildcard before the end of a label", "x", "DNS:*a.b.example", "ba.b.example", false);
        row("wildcard further right", "x", "DNS:a.*.example", "a.b.example", false);
        row("two wildcards", "x", "DNS:*.*.example", "a.b.example", false);
        row("wildcard for an address", "x", "DNS:*.0.0.1", "127.0.0.1", false);
        row("address", "x", "IP:127.0.0.1", "127.0.0.1", true);
        row("another address", "x", "IP:127.0.0.2", "127.0.0.1", false);
        row("address written as a name", "x", "DNS:127.0.0.1", "127.0.0.1", false);
        row("address as the common name", "127.0.0.1", "DNS:a.example", "127.0.0.1", false);
        row("address of the sixth version", "x", "IP:::1", "::1", true);
        row("the same written out", "x", "IP:::1", "0:0:0:0:0:0:0:1", true);
        row("another of the sixth version", "x", "IP:::2", "::1", false);
        row("no host", "x", "DNS:a.example", "", false);
    }
    void aCertificateIsForItsAlternativeNames()
    {
        const auto [commonName, names, host] =
            fetch<QByteArray, QByteArray, QString>("commonName", "names", "host");
        const TestAuthority authority;
        const QSslCertificate certificate =
            authority.serverFor(commonName, names).localCertificate();
        QVERIFY(!certificate.isNull());
        QTEST(isIssuedFor(certificate, host), "issued");
    }

    void noCertificateIsForNobody() { QVERIFY(!isIssuedFor(QSslCertificate(), "a.example"_s)); }

    void aServerWithAnotherNameGetsNothing_data()
    {
        columns<QByteArray, int, int>("names", "status", "atOnce");
        for (const int atOnce : {1, 3, 20}) {
            QTest::addRow("the name, %d at once", atOnce)
                << "DNS:service.example"_ba << 0 << atOnce;
            QTest::addRow("another name, %d at once", atOnce)
                << "DNS:stranger.example"_ba << 406 << atOnce;
            QTest::addRow("no names, %d at once", atOnce) << QByteArray() << 406 << atOnce;
        }
    }
    void aServerWithAnotherNameGetsNothing()
    {
        QFETCH(QByteArray, names);
        QFETCH(int, status);
        QFETCH(int, atOnce);
        const TestAuthority authority;
        // The network library itself is satisfied: the common name is right.
        ScriptedServer server(authority.serverFor("service.example", names));
        server.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        const TunnelProxy proxy(server.port());
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, proxy.port()));
        auto handler = std::make_unique<NetworkHandler>(nullptr);
        QSignalSpy spy(handler.get(), &NetworkHandler::emailIdAvailabilityResponse);
        // A second time: nothing of the first is left over.
        for (int round = 1; round <= 2; ++round) {
            for (int i = 0; i < atOnce; ++i)
                QCOMPARE(handler->sendOwnedRequest(request(), RetrieveEmailIdAvailability), 0);
            QTRY_COMPARE_WITH_TIMEOUT(spy.count(), round * atOnce, patience);
        }
        for (const auto& answer : qAsConst(spy))
            QCOMPARE(answer.at(0).toInt(), status);
        QVERIFY(server.connections() >= 1);
        handler.reset();
        QTRY_COMPARE_WITH_TIMEOUT(server.openConnections(), 0, patience);
        QCOMPARE(server.requests().size(), status == 0 ? 2 * atOnce : 0);
        QCOMPARE(server.bytesFromClients() > 0, status == 0);
    }

private:
    std::unique_ptr<OAuthRequest> request()
    {
        return std::make_unique<RetrieveEmailIdAvailabilityRequest>(
            mSigner, "bob@mail.example"_s, "tag"_ba, "key"_s, "https://service.example/rest/1.0/"_s,
            RetrieveEmailIdAvailability);
    }

    FixedSigner mSigner;
};

QTEST_GUILESS_MAIN(TestServerNames)
#include "tst_servernames.moc"
