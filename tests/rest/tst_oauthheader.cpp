// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signedrequests.h"
#include "support/literals.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace KelRestHandler;

namespace {

QString headerValue(const QString& header, const char* name)
{
    const QRegularExpression piece(QLatin1String("[ ,]") + QLatin1String(name) +
                                   QLatin1String("=\"([^\"]*)"));
    return piece.match(header).captured(1);
}

} // namespace

class OAuthHeaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyNeededTokenIsSignedButNotSent()
    {
        RecordingProvider provider;
        provider.token = QString();
        OperationFacts facts;
        facts.tokenRequired = true;
        FactualOperation operation(provider, facts);
        QVERIFY2(provider.signedBase.contains(QLatin1String("%26oauth_token%3D%26oauth_version")),
                 qPrintable(provider.signedBase));
        QVERIFY(provider.signedWithToken);
        const QString header = operation.getHeaders().value("Authorization"_s);
        QVERIFY2(header.endsWith(QLatin1String(", oauth_version=\"1.0\"")), qPrintable(header));
    }

    void theHeaderIsExactlyWhatTheServiceReceives()
    {
        RecordingProvider provider;
        provider.fixedSignature = "tR3+Ty81lMeYAr/Fid0kMTYa/WM="_s;
        FactualOperation operation(provider, {});
        const QString header = operation.createOAuthHeader(operation.facts.address,
                                                           operation.facts.document, "POST"_s);

        const QString sentNonce = headerValue(header, "oauth_nonce");
        QCOMPARE(header, "OAuth realm=\"https://account.example\"\", "
                         "oauth_consumer_key=\"key\", "
                         "oauth_nonce=\"%1\", "
                         "oauth_timestamp=\"1137242096\", "
                         "oauth_signature=\"tR3+Ty81lMeYAr/Fid0kMTYa/WM=\", "
                         "oauth_signature_method=\"HMAC-SHA1\", "
                         "oauth_version=\"1.0\""_s.arg(sentNonce));
        static const QRegularExpression encodedUuid(
            "^%7B[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}%7D$"_s);
        QVERIFY2(encodedUuid.match(sentNonce).hasMatch(), qPrintable(sentNonce));
    }

    void headerValuesAreEncoded()
    {
        RecordingProvider provider;
        provider.timeStamp = "1 2"_s;
        OperationFacts facts;
        facts.consumerKey = "k\"é, "_s;
        FactualOperation operation(provider, facts);
        const QString header = operation.getHeaders().value("Authorization"_s);
        QVERIFY2(header.contains(QLatin1String(", oauth_consumer_key=\"k%22%C3%A9%2C%20\", ")),
                 qPrintable(header));
        QVERIFY2(header.contains(QLatin1String(", oauth_timestamp=\"1%202\", ")),
                 qPrintable(header));
    }

    void everyHeaderHasANonceOfItsOwn()
    {
        RecordingProvider provider;
        FactualOperation operation(provider, {});
        QSet<QString> nonces;
        constexpr int headers = 1000;
        for (int i = 0; i < headers; ++i) {
            const QString header =
                operation.createOAuthHeader(operation.facts.address, QString(), "POST"_s);
            const QString sent = headerValue(header, "oauth_nonce");
            nonces.insert(sent);
            QVERIFY2(provider.signedBase.contains(
                         QString(sent).replace(QLatin1Char('%'), QLatin1String("%25"))),
                     qPrintable(provider.signedBase));
        }
        QCOMPARE(nonces.size(), headers);
    }
};

QTEST_GUILESS_MAIN(OAuthHeaderTest)
#include "tst_oauthheader.moc"
