// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/resturlhelper.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/signedaddress.h"

#include <QRandomGenerator>
#include <QTest>
#include <QUrl>
#include <QUrlQuery>

using namespace KelRestHandler;

using Items = QList<QPair<QString, QString>>;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

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
    void addressesAreTakenApartAsQUrlDoes_data();
    void addressesAreTakenApartAsQUrlDoes();
    void everyAddressOfTheServiceIsTakenApartAsQUrlDoes();
    void everyCharacterInPathAndHostIsTakenAsQUrlDoes();
    void randomAddressesAreTakenApartAsQUrlDoes();
    void aQueryIsDecodedAndKeepsItsOrder();
};

void SignedAddressTest::addressesAreTakenApartAsQUrlDoes_data()
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
            addRow(QStringLiteral("https://") + text(host) + text(path));
    }
    const QString label(63, QLatin1Char('a'));
    addRow(QStringLiteral("https://") + label + QStringLiteral("/"));
    addRow(QStringLiteral("https://") + label + QStringLiteral("a/"));
    addRow(QStringLiteral("https://") + label + QStringLiteral(".example/"));
    addRow(QStringLiteral("https://") + QString(5000, QLatin1Char('a')) + QStringLiteral("/"));
    addRow(QStringLiteral("https://") + QStringLiteral("abcdefghi.").repeated(30) +
           QStringLiteral("example/"));

    // Schemes
    for (const char* start : {"http://", "HTTPS://", "Https://", "https:/", "https:", "https:///",
                              "//", "", " https://", "ftp://", "https://https://", "x-y+z://"})
        addRow(text(start) + QStringLiteral("account.example/rest/1.0/tokens"));

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
        addRow(QStringLiteral("https://account.example") + text(rest));
    addRow(QStringLiteral("https://account.example/") + QChar(0) + QStringLiteral("a"));
    addRow(QStringLiteral("https://account.example/") + QChar(0xD800) + QStringLiteral("a"));
    addRow(QStringLiteral("https://account.example/") + QChar(0xDC00));
    addRow(QStringLiteral("https://account.example/") + QString(1 << 20, QLatin1Char('a')));
}

void SignedAddressTest::addressesAreTakenApartAsQUrlDoes()
{
    QFETCH(QString, url);
    COMPARE_WITH_QURL(url);
}

void SignedAddressTest::everyAddressOfTheServiceIsTakenApartAsQUrlDoes()
{
    for (int server = 0; server < 6; ++server) {
        const QString base = serverBaseAddress(server);
        for (const QString& url :
             {RestUrlHelper::signInUrl(base), RestUrlHelper::tokenUrl(base) + text("AQEA+/="),
              RestUrlHelper::availabilityUrl(base) + text("alice"),
              RestUrlHelper::availabilityUrl(base) + text("alice@account.example"),
              RestUrlHelper::registrationUrl(base) + text("4711/profile"),
              RestUrlHelper::serviceInfoUrl(base) + text("x?lang=en&country=GB&format=html")}) {
            QVERIFY(QUrl(url).isValid());
            COMPARE_WITH_QURL(url);
        }
    }
}

void SignedAddressTest::everyCharacterInPathAndHostIsTakenAsQUrlDoes()
{
    for (int code = 0; code < 0x300; ++code) {
        const QString character = QString(QChar(code));
        COMPARE_WITH_QURL(
            QString(QStringLiteral("https://account.example/a") + character + QStringLiteral("b")));
        COMPARE_WITH_QURL(
            QString(QStringLiteral("https://a") + character + QStringLiteral("b.example/a")));
        COMPARE_WITH_QURL(
            QString(QStringLiteral("https://") + character + QStringLiteral("a.example/a")));
    }
}

void SignedAddressTest::randomAddressesAreTakenApartAsQUrlDoes()
{
    // What an address is made of, the awkward pieces as often as the plain ones
    const QStringList pieces{
        text("a"),   text("z"),    text("x"), text("n"), text("e"),  text("0"),  text("1"),
        text("9"),   text("."),    text("."), text("-"), text("--"), text("/"),  text("/"),
        text("_"),   text("~"),    text("A"), text("?"), text("&"),  text("="),  text("#"),
        text("%20"), text("%2F"),  text("%"), text("@"), text(":"),  text("+"),  text(" "),
        text("é"),   text("xn--"), text("["), text("]"), text("0x"), text("ab"), text(".example"),
    };
    // Always the same addresses, so that a failure can be repeated
    QRandomGenerator random(20120201);
    int plain = 0;
    for (int i = 0; i < 100000; ++i) {
        QString url = QStringLiteral("https://");
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

void SignedAddressTest::aQueryIsDecodedAndKeepsItsOrder()
{
    const SignedAddress address =
        signedAddress(text("https://account.example/rest/1.0/services/x?lang=en&b=%26+&lang=fi"));
    QCOMPARE(address.withoutQuery, text("https://account.example/rest/1.0/services/x"));
    const Items expected{
        {text("lang"), text("en")}, {text("b"), text("&+")}, {text("lang"), text("fi")}};
    QCOMPARE(address.queryItems, expected);
}

QTEST_APPLESS_MAIN(SignedAddressTest)
#include "tst_signedaddress.moc"
