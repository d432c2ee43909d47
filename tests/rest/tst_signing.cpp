// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/serviceaddress.h"
#include "signedrequests.h"
#include "support/literals.h"
#include "support/oauthoracle.h"
#include "support/rows.h"
#include "support/writtentext.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QUrl>

#include <algorithm>

using namespace KelRestHandler;
using OAuthOracle::Parameters;

namespace {

const auto nonce = "{d2719f2f-4f4c-4a34-b8b5-6f4a2f1d9a6e}"_s;

/// One request, and by hand what the service takes it for.
struct Row
{
    QString url;
    QString address;   ///< what is signed: scheme, host and path, decoded
    Parameters before; ///< query items, decoded, whose names come before "oauth_"
    Parameters after;  ///< those whose names come behind
    QString document;
    QString consumerKey = "dpf43f3p2l4k5l03"_s;
    QString secret = "kd94hf93k423kf44"_s;
    QString token;
    bool useToken = false;

    // Other implementations put "XMLContent" in its alphabetical place, so with a name before it in
    // the query, their whole result is another one and only the pieces can be compared.
    bool documentComesFirstAnyway() const
    {
        return std::none_of(before.begin(), before.end(),
                            [](const auto& item) { return item.first < "XMLContent"_s; });
    }
};

constexpr char tokens[] = "https://account.example/rest/1.0/tokens";

Row rowOf(const QString& url, const QString& document)
{
    Row row;
    row.url = url;
    row.address = text(tokens);
    row.document = document;
    return row;
}

// "name=value;name=value"
Parameters parametersOf(const QString& items)
{
    Parameters parameters;
    for (const QString& item : items.split(QLatin1Char(';'), Qt::SkipEmptyParts))
        parameters.append(
            {item.section(QLatin1Char('='), 0, 0), item.section(QLatin1Char('='), 1)});
    return parameters;
}

// The parameters in the service's order: the document, then everything by name.
Parameters inOrder(const Row& row)
{
    Parameters all;
    if (!row.document.isEmpty())
        all.append({"XMLContent"_s, row.document});
    all += row.before;
    all.append({"oauth_consumer_key"_s, row.consumerKey});
    all.append({"oauth_nonce"_s, nonce});
    all.append({"oauth_signature_method"_s, "HMAC-SHA1"_s});
    all.append({"oauth_timestamp"_s, "1137242096"_s});
    if (row.useToken)
        all.append({"oauth_token"_s, row.token});
    all.append({"oauth_version"_s, "1.0"_s});
    all += row.after;
    return all;
}

OAuthOracle::Call oracleCall(const Row& row)
{
    OAuthOracle::Call call;
    call.address = row.address;
    if (!row.document.isEmpty())
        call.parameters.append({"XMLContent"_s, row.document});
    call.parameters += row.before;
    call.parameters += row.after;
    call.consumerKey = row.consumerKey;
    call.secret = row.secret;
    call.nonce = nonce;
    call.timeStamp = "1137242096"_s;
    if (row.useToken)
        call.token = row.token;
    return call;
}

RecordingProvider providerFor(const Row& row)
{
    RecordingProvider provider;
    provider.secret = row.secret;
    provider.token = row.token;
    return provider;
}

OperationFacts factsFor(const Row& row)
{
    OperationFacts facts;
    facts.address = row.url;
    facts.document = row.document;
    facts.consumerKey = row.consumerKey;
    facts.tokenRequired = row.useToken;
    return facts;
}

QString signatureBase(const Row& row)
{
    RecordingProvider provider = providerFor(row);
    FactualOperation operation(provider, factsFor(row));
    return operation.createSignatureBase(nonce, provider.timeStamp, row.url, row.document, "POST"_s,
                                         row.useToken);
}

QString headerValue(const QString& header, const char* name)
{
    const QRegularExpression piece(QLatin1String("[ ,]") + QLatin1String(name) +
                                   QLatin1String("=\"([^\"]*)"));
    return piece.match(header).captured(1);
}

} // namespace

Q_DECLARE_METATYPE(Row)

class SigningTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void baseStringAndSignatureAgreeWithOtherImplementations_data()
    {
        QTest::addColumn<Row>("row");
        QFile table(QStringLiteral(KELACCOUNT_TEST_TABLES "/signatures.tsv"));
        QVERIFY(table.open(QIODevice::ReadOnly));
        const QStringList lines = text(table.readAll().constData()).split(QLatin1Char('\n'));
        for (const QString& line : lines) {
            QStringList cells = line.split(QLatin1Char('\t'));
            if (line.startsWith(QLatin1Char('#')) || line.isEmpty())
                continue;
            QCOMPARE(cells.size(), 6);
            Row row = rowOf(cells[1], KelTest::written(cells[5]));
            row.address = cells[2];
            row.before = parametersOf(cells[3]);
            row.after = parametersOf(cells[4]);
            QTest::newRow(qPrintable(cells[0])) << row;
        }
        Row odd = rowOf(text(tokens), "<a/>"_s);
        odd.consumerKey = "key &=+%/\"ключ😀"_s;
        odd.secret = "secret &=+%/\"тайна😀"_s;
        odd.token = "token &=+%/\"\nжетон😀"_s;
        odd.useToken = true;
        QTest::newRow("odd characters in key, secret and token") << odd;

        Row token = rowOf(text(tokens), "<a/>"_s);
        token.token = "nnch734d00sl2jdk"_s;
        token.useToken = true;
        QTest::newRow("token") << token;

        Row longSecret = token;
        longSecret.secret = QString(300, QLatin1Char('s'));
        QTest::newRow("secret longer than a block") << longSecret;
    }
    void baseStringAndSignatureAgreeWithOtherImplementations()
    {
        QFETCH(Row, row);
        const QString base = signatureBase(row);
        QCOMPARE(base, QString::fromLatin1(
                           OAuthOracle::baseStringWithLiboauth(row.address, inOrder(row))));

        const QByteArray key = OAuthOracle::encodeWithLiboauth(row.secret) + '&';
        const QString signature = CryptographicUtils::HMACSHA1(base, QString::fromLatin1(key));
        QCOMPARE(signature,
                 QString::fromLatin1(OAuthOracle::signWithLiboauth(base.toLatin1(), key)));

        if (!row.documentComesFirstAnyway())
            return;
        const OAuthOracle::Call call = oracleCall(row);
        QCOMPARE(signature, QString::fromLatin1(OAuthOracle::signatureWithLiboauth(call)));
        // Qt Network Authorization signs the address in its encoded form; the service signs the
        // decoded one, so they agree on addresses without anything to decode.
        if (row.address == QString::fromLatin1(QUrl(row.address).toEncoded()))
            QCOMPARE(signature, QString::fromLatin1(OAuthOracle::signatureWithQt(call)));
    }

    void theHeaderVerifiesWithOtherImplementations_data()
    {
        baseStringAndSignatureAgreeWithOtherImplementations_data();
    }
    void theHeaderVerifiesWithOtherImplementations()
    {
        QFETCH(Row, row);
        RecordingProvider provider = providerFor(row);
        FactualOperation operation(provider, factsFor(row));
        const QString header = operation.createOAuthHeader(row.url, row.document, "POST"_s);

        // The verifying side knows nothing but the header, the request and the secret.
        OAuthOracle::Call call = oracleCall(row);
        call.nonce = QUrl::fromPercentEncoding(headerValue(header, "oauth_nonce").toLatin1());
        call.timeStamp = headerValue(header, "oauth_timestamp");
        QCOMPARE(call.nonce.size(), 38);
        QCOMPARE(call.timeStamp, provider.timeStamp);

        Parameters inHeader = {{"oauth_consumer_key"_s, row.consumerKey},
                               {"oauth_nonce"_s, call.nonce},
                               {"oauth_timestamp"_s, call.timeStamp},
                               {"oauth_signature_method"_s, "HMAC-SHA1"_s},
                               {"oauth_version"_s, "1.0"_s}};
        if (row.useToken)
            inHeader.append({"oauth_token"_s, row.token});
        const QVector<QByteArray> wanted = OAuthOracle::headerPiecesWithLiboauth(inHeader);

        QStringList pieces = header.split(", "_s);
        QCOMPARE(pieces.size(), wanted.size() + 2);
        QCOMPARE(pieces.takeFirst(), QLatin1String(OAuthRealm) + QLatin1Char('"'));
        const QString signature = pieces.takeAt(3);
        for (int i = 0; i < wanted.size(); ++i) {
            QString expected = QString::fromLatin1(wanted.at(i));
            if (expected.startsWith(QLatin1String("oauth_token=")))
                expected.chop(1); // the token stays unclosed
            QCOMPARE(pieces.at(i), expected);
        }

        if (row.documentComesFirstAnyway())
            QCOMPARE(signature, "oauth_signature=\"%1\""_s.arg(
                                    QString::fromLatin1(OAuthOracle::signatureWithLiboauth(call))));
    }

    void theWorkedExampleOfOAuthCoreIsReproduced()
    {
        // OAuth Core 1.0, appendix A.5: the request to photos.example.net. It is a GET, and this
        // service has POST only, so the verb is handed in as the example has it.
        RecordingProvider provider;
        provider.token = "nnch734d00sl2jdk"_s;
        OperationFacts facts;
        facts.consumerKey = "dpf43f3p2l4k3l03"_s;
        FactualOperation operation(provider, facts);
        const QString base = operation.createSignatureBase(
            "kllo9940pd9333jh"_s, "1191242096"_s,
            "http://photos.example.net/photos?file=vacation.jpg&size=original"_s, QString(),
            "GET"_s, true);
        QCOMPARE(base, "GET&http%3A%2F%2Fphotos.example.net%2Fphotos&file%3Dvacation.jpg%26"
                       "oauth_consumer_key%3Ddpf43f3p2l4k3l03%26oauth_nonce%3Dkllo9940pd9333jh%26"
                       "oauth_signature_method%3DHMAC-SHA1%26oauth_timestamp%3D1191242096%26"
                       "oauth_token%3Dnnch734d00sl2jdk%26oauth_version%3D1.0%26size%3Doriginal"_s);
        QCOMPARE(CryptographicUtils::HMACSHA1(base, "kd94hf93k423kf44&pfkkdhi9sl3r4s00"_s),
                 "tR3+Ty81lMeYAr/Fid0kMTYa/WM="_s);
    }

    void aZeroCharacterIsSignedLikeAnyOther()
    {
        // liboauth's C strings end at it, Qt's do not.
        const Row row = rowOf(text(tokens), "a"_s + QChar(0) + QLatin1Char('b'));
        const QString base = signatureBase(row);
        QVERIFY2(base.contains(QLatin1String("&XMLContent%3Da%2500b%26oauth_consumer_key")),
                 qPrintable(base));
        QCOMPARE(CryptographicUtils::HMACSHA1(base, row.secret + QLatin1Char('&')),
                 QString::fromLatin1(OAuthOracle::signatureWithQt(oracleCall(row))));
    }

    void theVerbIsSignedInUpperCase()
    {
        const Row row = rowOf(text(tokens), QString());
        RecordingProvider provider = providerFor(row);
        FactualOperation operation(provider, factsFor(row));
        const QString base = operation.createSignatureBase(nonce, provider.timeStamp, row.url,
                                                           QString(), "delete"_s, false);
        QVERIFY2(base.startsWith(QLatin1String("DELETE&https%3A%2F%2F")), qPrintable(base));
    }

    void aQueryCannotReplaceAnOAuthParameter()
    {
        const QString base = signatureBase(
            rowOf(text(tokens) + "?oauth_nonce=1&oauth_version=9&oauth_token=t"_s, {}));
        QCOMPARE(base.count(QLatin1String("oauth_nonce")), 1);
        QVERIFY2(base.contains(QLatin1String("oauth_nonce%3D%257Bd2719f2f")), qPrintable(base));
        QVERIFY2(base.endsWith(QLatin1String("%26oauth_token%3Dt%26oauth_version%3D1.0")),
                 qPrintable(base));
    }

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

QTEST_GUILESS_MAIN(SigningTest)
#include "tst_signing.moc"
