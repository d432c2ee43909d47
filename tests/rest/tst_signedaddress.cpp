// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/resturlhelper.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/signedaddress.h"
#include "support/literals.h"

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

void addRow(const QString& url)
{
    QTest::newRow(qPrintable(url.left(80))) << url;
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
        QTest::addColumn<QString>("url");

        // Hosts: numbers in all their spellings, other scripts, bad labels, upper case
        for (const char* host : {"account.example",
                                 "a",
                                 "a1",
                                 "a.1",
                                 "a.0x1",
                                 "1",
                                 "1.2.3.4",
                                 "127.1",
                                 "0x7f.1",
                                 "017.0.0.1",
                                 "4294967295",
                                 "dead.beef",
                                 "f00d",
                                 "a-b.c-d.example",
                                 "-a.example",
                                 "a-.example",
                                 "a..b.example",
                                 ".a",
                                 "a.",
                                 "a.b.",
                                 "xn--bcher-kva.example",
                                 "xn--bcher-kva.de",
                                 "xn--bcher-kva.org",
                                 "bücher.example",
                                 "BÜCHER.example",
                                 "a_b.example",
                                 "Account.Example",
                                 "account.EXAMPLE",
                                 "a--b.example",
                                 "ab--cd.example",
                                 "[::1]",
                                 "[fe80::1%25eth0]",
                                 "a%2Eb.example",
                                 "a%41b.example",
                                 "a b.example",
                                 "user@account.example",
                                 "user:word@account.example",
                                 "account.example:443",
                                 "account.example:8443",
                                 "account.example:",
                                 "user:word@account.example:99999",
                                 "",
                                 "localhost",
                                 "a.b.c.d.e.f",
                                 "x0.x1",
                                 "e1",
                                 "e1.2",
                                 "a0x1.b",
                                 "ﬁ.example",
                                 "a。b.example"}) {
            for (const char* path :
                 {"", "/", "/rest/1.0/tokens", "/a%2Fb?lang=en#x", "?lang=en", "#top"})
                addRow("https://"_s + text(host) + text(path));
        }
        const QString label(63, QLatin1Char('a'));
        addRow("https://"_s + label + "/"_s);
        addRow("https://"_s + label + "a/"_s);
        addRow("https://"_s + label + ".example/"_s);
        addRow("https://"_s + QString(5000, QLatin1Char('a')) + "/"_s);
        addRow("https://"_s + "abcdefghi."_s.repeated(30) + "example/"_s);

        // Schemes
        for (const char* start :
             {"http://", "HTTPS://", "Https://", "https:/", "https:", "https:///", "//", "",
              " https://", "ftp://", "https://https://", "x-y+z://"})
            addRow(text(start) + "account.example/rest/1.0/tokens"_s);

        // Paths and queries
        for (const char* rest : {"//",         "/.",        "/..",
                                 "/./",        "/../",      "/a/../b",
                                 "/a/./b",     "/a//b",     "/~a",
                                 "/a~b_c-d.e", "/a%20b",    "/a b",
                                 "/a%2",       "/a%",       "/a%zz",
                                 "/a%2e%2E/b", "/%C3%A9",   "/%FF",
                                 "/%00",       "/é",        "/日本",
                                 "/😀",         "/a:b",      "/a@b",
                                 "/a;b=c",     "/a,b",      "/a+b",
                                 "/a=b",       "/a&b",      "/a!b$c'd(e)f*g",
                                 "/a\"b",      "/a<b>",     "/a{b}",
                                 "/a|b",       "/a\\b",     "/a^b",
                                 "/a`b",       "/a[b]",     "/a\tb",
                                 "/a\nb",      "/ ",        "/a ",
                                 "/?",         "/?&",       "/?=",
                                 "/?a",        "/?a=",      "/?a=b",
                                 "/?a=b&",     "/?&a=b",    "/?a=b&a=c",
                                 "/?a=b=c",    "/?a=%26",   "/?a%3D=b",
                                 "/?a=b+c",    "/?a=b%2Bc", "/?a=é",
                                 "/?a=%FF",    "/?a=b c",   "/?a=b?c",
                                 "/?a=b/c",    "/?a=b#c",   "/#",
                                 "/#?a=b",     "/a#b",      "/?lang=en&country=GB&format=html"})
            addRow("https://account.example"_s + text(rest));
        addRow("https://account.example/"_s + QChar(0) + "a"_s);
        addRow("https://account.example/"_s + QChar(0xD800) + "a"_s);
        addRow("https://account.example/"_s + QChar(0xDC00));
        addRow("https://account.example/"_s + QString(1 << 20, QLatin1Char('a')));
    }
    void addressesAreTakenApartAsQUrlDoes()
    {
        QFETCH(QString, url);
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
