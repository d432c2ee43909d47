// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of their arguments alone, whose answers are known from elsewhere: tables/ has them.
#include "rest/reply/msgparser.h"
#include "rest/reply/retryafter.h"
#include "rest/request/clientidentification.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/msgcreator.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/percentencoding.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"
#include "rest/request/wiretime.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/writtentext.h"

#include <QDir>
#include <QLocale>
#include <QUrl>

#include <ctime>

using namespace KelRestHandler;

namespace {

using Arguments = QStringList;
using Function = QString (*)(const Arguments&);

constexpr int undecided = 1005;

/// The process's time zone while this lives.
class TimeZone
{
public:
    explicit TimeZone(const QByteArray& name) : mBefore(qgetenv("TZ"))
    {
        qputenv("TZ", name);
        tzset();
    }
    ~TimeZone()
    {
        mBefore.isNull() ? qunsetenv("TZ") : qputenv("TZ", mBefore);
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    QByteArray mBefore;
};

QString timeText(const QDateTime& time)
{
    if (time.isValid() && time.timeSpec() != Qt::UTC)
        return "not UTC"_s;
    return time.isValid() ? time.toString(Qt::ISODateWithMs) : "none"_s;
}

// The status that an error document ends with.
QString statusOf(const QString& errors)
{
    RequestInfoData info;
    info.statusCode = undecided;
    const QDomNode root =
        MsgParser::processXml(info, "<errorResponse>"_s + errors + "</errorResponse>"_s);
    info.statusCode = undecided;
    MsgParser::parseErrorxml(info, root);
    return QString::number(info.statusCode);
}

QString element(const char* name, const QString& content)
{
    return "<%1>%2</%1>"_s.arg(QLatin1String(name), content);
}

QString codeOf(const Arguments& arguments)
{
    int converted = undecided;
    MsgParser::convertStringToEnum(converted, arguments[0]);
    const QString read = statusOf(element("errorCode", arguments[0]));
    return read == QString::number(converted) ? read : "not the same"_s;
}

QString operationErrorOf(const Arguments& arguments)
{
    QStringList all;
    for (const char* parent : {"registrationError", "profileUpdateError", "guardianValidationError",
                               "phoneActivationRegistrationError", "contactUpdateError"})
        all.append(statusOf(element(parent, element(qPrintable(arguments[0]), QString()))));
    all.removeDuplicates();
    // For contacts there is a status for whatever else went wrong.
    if (all == QStringList{QString::number(undecided), "511"_s})
        all.removeLast();
    return all.join(QLatin1Char(' '));
}

QString replyOf(const Arguments& arguments)
{
    RequestInfoData info;
    info.statusCode = undecided;
    const QDomNode root = MsgParser::processXml(info, arguments[0]);
    const QString name = root.isElement() ? root.nodeName() : "none"_s;
    return (info.statusCode == undecided ? QString() : "error in "_s) + name;
}

QString clientOf(const Arguments& arguments)
{
    QList<QHostAddress> addresses;
    for (const QString& one : arguments[0].split(QLatin1Char(' '), Qt::SkipEmptyParts))
        addresses.append(QHostAddress(one));
    const auto headers = ClientIdentification::headersFor({}, addresses);
    QStringList values;
    for (const char* name :
         {"True-Client-IP", "X-Forwarded-For", "X-Halda-Original-IP", "X-Halda-Original-User-IP"})
        values.append(headers.value(text(name), "missing"_s));
    return values.join(QLatin1Char(';'));
}

QString inADocument(const Arguments& arguments)
{
    const QString xml = MsgCreator::xmlUpdateUserName(arguments[0]);
    return xml.section("<username>"_s, 1).section("</username>"_s, 0, 0);
}

QString wait(const Arguments& arguments)
{
    const QDateTime now(QDate(1999, 12, 31), QTime(23, 59, 0), Qt::UTC);
    return QString::number(retryAfterSeconds(arguments[0].toUtf8(), now));
}

QString hexadecimal(const QString& base64)
{
    return QString::fromLatin1(QByteArray::fromBase64(base64.toLatin1()).toHex());
}

QString writtenDate(const Arguments& arguments)
{
    const QStringList numbers = arguments[0].split(QLatin1Char(' '));
    return wireDate({numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt()});
}

QString readDate(const Arguments& arguments)
{
    const QDate date = dateOnWire(arguments[0]);
    return date.isValid() ? date.toString(Qt::ISODate) : "none"_s;
}

const QMap<QString, Function>& functions()
{
    using A = Arguments;
    using C = CryptographicUtils;
    static const QMap<QString, Function> all = {
        {"hmac"_s, [](const A& a) { return hexadecimal(C::HMACSHA1(a[1], a[0])); }},
        {"validator"_s, [](const A& a) { return C::getValidator(a[0], a[1]); }},
        {"digest"_s, [](const A& a) { return C::getDigest(a[0], a[1], a[2]); }},
        {"encoded"_s, [](const A& a) { return OAuthRequest::urlEncode(a[0]); }},
        {"document"_s, &inADocument},
        {"ascii"_s, [](const A& a) { return MsgCreator::getAsPunycode(a[0]); }},
        {"written date"_s, &writtenDate},
        {"date"_s, &readDate},
        {"time"_s, [](const A& a) { return timeText(timeOnWire(a[0])); }},
        {"header time"_s, [](const A& a) { return timeText(headerTimeOnWire(a[0])); }},
        {"wait"_s, &wait},
        {"server"_s, [](const A& a) { return serverBaseAddress(a[0].toInt()); }},
        {"clock"_s, [](const A& a) { return TimeStampManager::serverOf(QUrl(a[0])); }},
        {"client"_s, &clientOf},
        {"agent"_s,
         [](const A& a) {
             return ClientIdentification::headersFor({a[0], a[1], a[2]}, {})
                 .value("X-Halda-Original-User-Agent"_s);
         }},
        {"code"_s, &codeOf},
        {"operation error"_s, &operationErrorOf},
        {"reply"_s, &replyOf},
        {"detail"_s,
         [](const A& a) {
             return statusOf(element("extensions", element("detailedErrorCode", a[0])));
         }},
    };
    return all;
}

const char* const zones[] = {"UTC", "Europe/Berlin", "America/Sao_Paulo", "Pacific/Apia"};

} // namespace

class TestKnownAnswers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QLocale::setDefault(QLocale::system()); }

    void everyAnswerIsTheKnownOne_data()
    {
        const auto row = rows<QString, QStringList, QString>("function", "arguments", "answer");
        const QDir folder(QStringLiteral(KELACCOUNT_TEST_TABLES));
        QSet<QString> used;
        for (const char* name : {"addresses", "encoding", "errors", "hashes", "replies", "times"}) {
            QFile file(folder.filePath(text(name) + ".tsv"_s));
            QVERIFY2(file.open(QIODevice::ReadOnly), name);
            const QStringList lines = text(file.readAll().constData()).split(QLatin1Char('\n'));
            for (int at = 0; at < lines.size(); ++at) {
                QStringList cells = lines.at(at).split(QLatin1Char('\t'));
                if (lines.at(at).isEmpty() || lines.at(at).startsWith(QLatin1Char('#')))
                    continue;
                QVERIFY2(functions().contains(cells.first()), qPrintable(lines.at(at)));
                for (QString& cell : cells)
                    cell = KelTest::written(cell);
                used.insert(cells.first());
                row(qPrintable("%1:%2 %3"_s.arg(text(name)).arg(at + 1).arg(cells.first())),
                    cells.first(), cells.mid(1, cells.size() - 2), cells.last());
            }
        }
        QCOMPARE(used.size(), functions().size());
    }
    // Whatever the user's language and time zone are.
    void everyAnswerIsTheKnownOne()
    {
        const auto [function, arguments, answer] =
            fetch<QString, QStringList, QString>("function", "arguments", "answer");
        const bool isLong = arguments.join(QString()).size() > 1000;
        for (const char* locale : {"fa_IR", "C", "ar_EG", "tr_TR"}) {
            QLocale::setDefault(QLocale(text(locale)));
            for (const char* zone : zones) {
                const TimeZone away(zone);
                QCOMPARE(functions()[function](arguments), answer);
                if (isLong)
                    return;
            }
        }
    }

    // The times that are read in spite of them.
    void theZonesLeaveHoursOut()
    {
        const QDateTime left[] = {
            {}, {{2026, 3, 29}, {2, 30}}, {{2018, 11, 4}, {0, 15}}, {{2011, 12, 30}, {12, 0}}};
        for (int i = 1; i < 4; ++i) {
            const TimeZone away(zones[i]);
            QVERIFY2(!QDateTime(left[i].date(), left[i].time(), Qt::LocalTime).isValid(),
                     "is the package tzdata installed?");
        }
    }

    void realmAndNamespaceFollowTheProductionHost()
    {
        QCOMPARE(QByteArray(OAuthRealm), "OAuth realm=\"https://account.example\""_ba);
        QVERIFY(QByteArray(RestSchemaNamespace).startsWith("https://account.example/"));
    }

    void encodingTwiceIsEncodingTheEncodedText_data()
    {
        const auto row = rows<QString>("plain");
        row("empty", "");
        row("mixed", "aZ09-._~%2Fア😀é");
        row("controls", "\x01\x1f\x7f\xc2\x80\xc2\x9f");
        row("one megabyte", "<note text=\"caf\u00e9 & more\"/>"_s.repeated(1 << 15).left(1 << 20));
        // Long texts are encoded in portions; these end beside, on and behind the ends of portions.
        for (const int length : {1023, 1024, 1025, 2048, 5000}) {
            for (const ushort code : {ushort('<'), ushort('a'), ushort(0x65E5)})
                QTest::addRow("%d times U+%04x", length, code) << QString(length, QChar(code));
        }
    }
    void encodingTwiceIsEncodingTheEncodedText()
    {
        QFETCH(QString, plain);
        const QString before = "before"_s;
        const QString once = QString::fromLatin1(QUrl::toPercentEncoding(plain));
        QString onceHere = before;
        appendPercentEncoded(onceHere, plain);
        QCOMPARE(onceHere, before + once);
        QString twice = before;
        appendDoublyPercentEncoded(twice, plain);
        QCOMPARE(twice, before + QString::fromLatin1(QUrl::toPercentEncoding(once)));
    }

    // Whose conversion would take longer than anybody waits.
    void aDomainWithoutEndIsNotConverted()
    {
        QString domain;
        for (int i = 0; i < 10'000'000; ++i)
            domain.append(QChar(0x4e00 + i % 20'000));
        QCOMPARE(MsgCreator::getAsPunycode("a@"_s + domain), "a@"_s);
    }
};

QTEST_GUILESS_MAIN(TestKnownAnswers)
#include "tst_knownanswers.moc"
