// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/servernames.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/testauthority.h"

using namespace KelRestHandler;

class TestServerNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCertificateIsForItsAlternativeNames_data()
    {
        rowsOfFile(KELACCOUNT_TEST_TABLES "/certificates.tsv",
                   {"common name", "names", "host", "issued"});
    }
    void aCertificateIsForItsAlternativeNames()
    {
        const auto [commonName, names, host, issued] =
            fetch<QByteArray, QByteArray, QByteArray, QByteArray>("common name", "names", "host",
                                                                  "issued");
        const QSslCertificate certificate =
            mAuthority.serverFor(commonName, names).localCertificate();
        QVERIFY(!certificate.isNull());
        QCOMPARE(isIssuedFor(certificate, text(host)) ? "yes"_ba : "no"_ba, issued);
    }

    void noCertificateIsForNobody() { QVERIFY(!isIssuedFor(QSslCertificate(), "a.example"_s)); }

private:
    const TestAuthority mAuthority;
};

QTEST_GUILESS_MAIN(TestServerNames)
#include "tst_servernames.moc"
