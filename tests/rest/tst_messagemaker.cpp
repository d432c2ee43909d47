// SPDX-License-Identifier: LGPL-2.1-or-later
// Messages are made of what the one before left; none has anything of it that is not its own.
#include "rest/transport/messagemaker.h"
#include "rest/transport/replyfacts.h"
#include "support/literals.h"

#include <QMap>
#include <QScopeGuard>
#include <QSslConfiguration>
#include <QTest>

using namespace KelRestHandler;

namespace {

using Headers = QMap<QString, QString>;

const Headers usual{{"Accept-Language"_s, "fi"_s},
                    {"Authorization"_s, "OAuth one"_s},
                    {"X-Forwarded-For"_s, QString()}};

std::unique_ptr<HttpRequest> request(const Headers& headers, const QString& verb,
                                     const QString& address = "https://one.example/a"_s)
{
    auto made = std::make_unique<HttpRequest>("key"_s, DownloadProfile);
    made->setUrl(QUrl(address));
    made->setTypeOfRequest(verb);
    made->setHeaders(headers);
    return made;
}

QMap<QByteArray, QByteArray> headersOf(const QNetworkRequest& message)
{
    QMap<QByteArray, QByteArray> headers;
    const QList<QByteArray> names = message.rawHeaderList();
    for (const QByteArray& name : names)
        headers.insert(name, message.rawHeader(name));
    return headers;
}

QMap<QByteArray, QByteArray> expectedOf(const Headers& headers, const QByteArray& verb)
{
    QMap<QByteArray, QByteArray> expected{{"Accept-Encoding", "identity"}, {"rest-verb", verb}};
    for (auto it = headers.cbegin(); it != headers.cend(); ++it)
        expected.insert(it.key().toLatin1(), it.value().toLatin1());
    return expected;
}

} // namespace

class TestMessageMaker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachMessageHasTheHeadersOfItsRequestAlone()
    {
        Headers otherLanguage = usual;
        otherLanguage["Accept-Language"_s] = "de"_s;
        Headers otherSignature = usual;
        otherSignature["Authorization"_s] = "OAuth two"_s;
        Headers withoutSignature = usual;
        withoutSignature.remove("Authorization"_s);
        Headers fewer = usual;
        fewer.remove("X-Forwarded-For"_s);
        Headers more = usual;
        more["Zone"_s] = "z"_s;
        const QList<Headers> all{Headers(),        usual, otherLanguage, otherSignature,
                                 withoutSignature, fewer, more};
        // Each behind each.
        for (const Headers& first : all) {
            for (const Headers& second : all) {
                for (const char* const verb : {"GET", "PUT"}) {
                    MessageMaker maker;
                    maker.messageFor(*request(first, "GET"_s));
                    const auto message = maker.messageFor(*request(second, text(verb)));
                    QCOMPARE(headersOf(message), expectedOf(second, verb));
                }
            }
        }
    }

    // It has all that the one before it left, which there is none of.
    void aFirstMessageOfNothingIsLikeTheOthers()
    {
        MessageMaker maker;
        const auto message = maker.messageFor(*request(Headers(), QString()));
        QCOMPARE(message.rawHeader("Accept-Encoding"), "identity"_ba);
        QCOMPARE(message.attribute(QNetworkRequest::AuthenticationReuseAttribute).toInt(),
                 int(QNetworkRequest::Manual));
        QCOMPARE(message.attribute(QNetworkRequest::DoNotBufferUploadDataAttribute),
                 QVariant(true));
    }

    void eachMessageGoesWhereItsRequestGoes()
    {
        MessageMaker maker;
        maker.messageFor(*request(usual, "GET"_s));
        const QString other = "https://two.example/b"_s;
        QCOMPARE(maker.messageFor(*request(usual, "GET"_s, other)).url(), QUrl(other));
    }

    void noLineEndsWithinAHeader()
    {
        MessageMaker maker;
        Headers headers = usual;
        headers["Accept-Language"_s] = "fi\r\nX-Evil: 1\x7f"_s;
        headers["Authorization"_s] = "OAuth\r\n one"_s;
        for (int i = 0; i < 2; ++i) {
            const auto message = maker.messageFor(*request(headers, "GET"_s));
            QCOMPARE(message.rawHeader("Accept-Language"), "fiX-Evil: 1"_ba);
            QCOMPARE(message.rawHeader("Authorization"), "OAuth one"_ba);
        }
    }

    void nothingIsAnsweredOrFollowedByTheNetworkLibrary()
    {
        MessageMaker maker;
        for (int i = 0; i < 2; ++i) {
            const auto message = maker.messageFor(*request(usual, "GET"_s));
            QCOMPARE(message.attribute(QNetworkRequest::AuthenticationReuseAttribute).toInt(),
                     int(QNetworkRequest::Manual));
            QCOMPARE(message.attribute(QNetworkRequest::RedirectPolicyAttribute).toInt(),
                     int(QNetworkRequest::ManualRedirectPolicy));
            QCOMPARE(message.attribute(QNetworkRequest::Http2AllowedAttribute), QVariant(false));
            QCOMPARE(message.attribute(QNetworkRequest::DoNotBufferUploadDataAttribute),
                     QVariant(true));
        }
    }

    void eachMessageHasFactsOfItsOwn()
    {
        MessageMaker maker;
        const auto facts = [&maker] {
            return maker.messageFor(*request(usual, "GET"_s))
                .attribute(QNetworkRequest::User)
                .value<std::shared_ptr<ReplyFacts>>();
        };
        const auto first = facts();
        const auto second = facts();
        QVERIFY(first);
        QVERIFY(second);
        QVERIFY(first != second);
    }

    // An application may trust another authority at any time.
    void eachMessageHasTheTlsConfigurationOfItsMoment()
    {
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        const auto putBack =
            qScopeGuard([&before] { QSslConfiguration::setDefaultConfiguration(before); });
        MessageMaker maker;
        QVERIFY(maker.messageFor(*request(usual, "GET"_s)).sslConfiguration().peerVerifyDepth() !=
                7);
        QSslConfiguration changed = before;
        changed.setPeerVerifyDepth(7);
        QSslConfiguration::setDefaultConfiguration(changed);
        QCOMPARE(maker.messageFor(*request(usual, "GET"_s)).sslConfiguration().peerVerifyDepth(),
                 7);
    }
};

QTEST_GUILESS_MAIN(TestMessageMaker)
#include "tst_messagemaker.moc"
