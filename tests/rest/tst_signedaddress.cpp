// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/resturlhelper.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/signedaddress.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/writtentext.h"

#include <QRandomGenerator>
#include <QTest>
#include <QUrl>
#include <QUrlQuery>

using namespace KelRestHandler;

using Items = QList<QPair<QString, QString>>;

namespace {

// QUrl is the judge of every address, the plain ones included.
QString withoutQuery(const QUrl& url)
{
    return url.scheme() + QLatin1String("://") + url.host() + url.path(QUrl::FullyDecoded);
}

} // namespace

#define COMPARE_WITH_QURL(url)                                                                     \
    do {                                                                                           \
        const QUrl parsed(url);                                                                    \
        const SignedAddress got = signedAddress(url);                                              \
        QVERIFY2(got.withoutQuery == withoutQuery(parsed),                                         \
                 qPrintable(url + QLatin1String(": ") + got.withoutQuery +                         \
                            QLatin1String(" not ") + withoutQuery(parsed)));                       \
        QCOMPARE(got.queryItems, QUrlQuery(parsed).queryItems(QUrl::FullyDecoded));                \
    } while (false)

class SignedAddressTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addressesAreTakenApartAsQUrlDoes_data()
    {
        rowsOfFile(KELACCOUNT_TEST_TABLES "/urls.tsv", {"part"});
    }
    void addressesAreTakenApartAsQUrlDoes()
    {
        QFETCH(QByteArray, part);
        const QByteArray kind = QTest::currentDataTag();
        const QString tried = KelTest::written(text(part));
        QStringList urls(tried + "account.example/rest/1.0/tokens"_s);
        if (kind == "path")
            urls = QStringList("https://account.example"_s + tried);
        if (kind == "host") {
            urls.clear();
            for (const char* path :
                 {"", "/", "/rest/1.0/tokens", "/a%2Fb?lang=en#x", "?lang=en", "#top"})
                urls.append("https://"_s + tried + text(path));
        }
        for (const QString& url : qAsConst(urls))
            COMPARE_WITH_QURL(url);
    }

    void everyAddressOfTheServiceIsTakenApartAsQUrlDoes()
    {
        for (int server = 0; server < 6; ++server) {
            const QString base = serverBaseAddress(server);
            for (const QString& url :
                 {RestUrlHelper::signInUrl(base), RestUrlHelper::tokenUrl(base) + "AQEA+/="_s,
                  RestUrlHelper::availabilityUrl(base) + "alice"_s,
                  RestUrlHelper::availabilityUrl(base) + "alice@account.example"_s,
                  RestUrlHelper::registrationUrl(base) + "4711/profile"_s,
                  RestUrlHelper::serviceInfoUrl(base) + "x?lang=en&country=GB&format=html"_s}) {
                QVERIFY(QUrl(url).isValid());
                COMPARE_WITH_QURL(url);
            }
        }
    }

    void everyCharacterInPathAndHostIsTakenAsQUrlDoes()
    {
        for (int code = 0; code < 0x300; ++code) {
            const QString character = QString(QChar(code));
            COMPARE_WITH_QURL(QString("https://account.example/a"_s + character + "b"_s));
            COMPARE_WITH_QURL(QString("https://a"_s + character + "b.example/a"_s));
            COMPARE_WITH_QURL(QString("https://"_s + character + "a.example/a"_s));
        }
    }

    void randomAddressesAreTakenApartAsQUrlDoes()
    {
        // What an address is made of, the awkward pieces as often as the plain ones
        const QStringList pieces{
            "a"_s, "z"_s, "x"_s,    "n"_s,   "e"_s,   "0"_s,  "1"_s,  "9"_s,        "."_s,
            "."_s, "-"_s, "--"_s,   "/"_s,   "/"_s,   "_"_s,  "~"_s,  "A"_s,        "?"_s,
            "&"_s, "="_s, "#"_s,    "%20"_s, "%2F"_s, "%"_s,  "@"_s,  ":"_s,        "+"_s,
            " "_s, "é"_s, "xn--"_s, "["_s,   "]"_s,   "0x"_s, "ab"_s, ".example"_s,
        };
        // Always the same addresses, so that a failure can be repeated
        QRandomGenerator random(20120201);
        int plain = 0;
        for (int i = 0; i < 100000; ++i) {
            QString url = "https://"_s;
            // Every second address keeps to the pieces that most addresses consist of.
            const int kinds = i % 2 ? pieces.size() : 16;
            for (int length = random.bounded(1, 12); length > 0; --length)
                url += pieces.at(random.bounded(kinds));
            plain += withoutQuery(QUrl(url)) == url;
            COMPARE_WITH_QURL(url);
        }
        // The comparison must have met both kinds often.
        QVERIFY2(plain > 10000 && plain < 90000, qPrintable(QString::number(plain)));
    }

    void aQueryIsDecodedAndKeepsItsOrder()
    {
        const SignedAddress address =
            signedAddress("https://account.example/rest/1.0/services/x?lang=en&b=%26+&lang=fi"_s);
        QCOMPARE(address.withoutQuery, "https://account.example/rest/1.0/services/x"_s);
        const Items expected{{"lang"_s, "en"_s}, {"b"_s, "&+"_s}, {"lang"_s, "fi"_s}};
        QCOMPARE(address.queryItems, expected);
    }
};

QTEST_APPLESS_MAIN(SignedAddressTest)
#include "tst_signedaddress.moc"
