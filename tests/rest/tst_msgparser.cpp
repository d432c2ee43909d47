// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"
#include "operations/readers.h"
#include "operations/table.h"
#include "operations/wiredata.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/replydocument.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/errorstatus.h>

#include <QElapsedTimer>
#include <QTest>

using namespace KelRestHandler;

namespace {

constexpr int undecided = 1005;
constexpr int markedAsError = 1004;

const auto declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"_s;

// What the response processor does first with every reply.
struct Classified
{
    explicit Classified(const QString& xml)
    {
        info.statusCode = undecided;
        root = MsgParser::processXml(info, xml);
    }

    RequestInfoData info;
    QDomNode root;
};

QString element(const QString& name, const QString& content = QString())
{
    return "<%1>%2</%1>"_s.arg(name, content);
}

int statusOf(const QString& errorElement)
{
    RequestInfoData info;
    info.statusCode = undecided;
    const Classified reply(declaration + element("errorResponse"_s, errorElement));
    MsgParser::parseErrorxml(info, reply.root);
    return info.statusCode;
}

void addStatusRows(const QList<QPair<const char*, int>>& rows)
{
    columns<QString, int>("text", "status");
    for (const auto& row : rows)
        QTest::newRow(row.first) << QString::fromLatin1(row.first) << row.second;
}

QString nested(int depth)
{
    QString xml = "<profileQueryResponse>"_s;
    for (int i = 1; i < depth; ++i)
        xml += QLatin1String("<a>");
    for (int i = 1; i < depth; ++i)
        xml += QLatin1String("</a>");
    return xml + QLatin1String("</profileQueryResponse>");
}

} // namespace

class TestMsgParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyReplyIsReadAsExpected_data()
    {
        QTest::addColumn<QString>("name");
        const QStringList names = wiredata::cases("reply"_s);
        QVERIFY(!names.isEmpty());
        for (const QString& name : names) {
            // The others are read as their operations are answered: tst_dispatch has them all.
            if (readers::all().contains(name.section(QLatin1Char('/'), 0, 0)))
                QTest::newRow(qPrintable(name)) << name;
        }
    }
    void everyReplyIsReadAsExpected()
    {
        QFETCH(QString, name);
        const QString operation = name.section(QLatin1Char('/'), 0, 0);

        const Classified reply(wiredata::text(name + QLatin1String(".reply")));
        QVERIFY(reply.root.isElement());
        QCOMPARE(reply.info.statusCode,
                 operation == QLatin1String("error") ? markedAsError : undecided);

        QString read = readers::all()[operation](reply.root).join(QLatin1Char('\n'));
        if (!read.isEmpty())
            read += QLatin1Char('\n');
        QCOMPARE(read, wiredata::text(name + QLatin1String(".expect")));
    }

    void everyReplyHasItsExpectationAndEveryReaderItsReplies()
    {
        const QStringList replies = wiredata::cases("reply"_s);
        QCOMPARE(replies, wiredata::cases("expect"_s));
        QSet<QString> operations;
        for (const QString& name : replies)
            operations.insert(name.section(QLatin1Char('/'), 0, 0));
        for (auto reader = readers::all().cbegin(); reader != readers::all().cend(); ++reader)
            QVERIFY2(operations.contains(reader.key()), qPrintable(reader.key()));
    }

    void aReaderLeavesEverythingForANullNode_data()
    {
        QTest::addColumn<QString>("refused");
        QTest::newRow("no document") << QString();
        QTest::newRow("not well-formed") << "<profileQueryResponse>"_s;
        row("a document type",
            "<!DOCTYPE a><profileQueryResponse><profile><username>x</username></profile>"
            "</profileQueryResponse>"_s);
        row("a document type and an error",
            "<!DOCTYPE a><errorResponse><errorCode>accountLocked</errorCode></errorResponse>"_s);
        QTest::newRow("too deep") << nested(300);
        QTest::newRow("an unknown root") << "<html><body>none</body></html>"_s;
    }
    void aReaderLeavesEverythingForANullNode()
    {
        QFETCH(QString, refused);
        const Classified reply(refused);
        QVERIFY(reply.root.isNull());
        const QString anyCountry = QLocale::countryToString(QLocale::AnyCountry);
        const QStringList beginnings = {QString(),  "no"_s,  "0"_s,
                                        anyCountry, ", C"_s, QLatin1String(", ") + anyCountry};
        for (auto reader = readers::all().cbegin(); reader != readers::all().cend(); ++reader) {
            if (reader.key() == QLatin1String("error"))
                continue;
            const QStringList lines = (*reader)(reply.root);
            for (const QString& line : lines)
                QVERIFY2(beginnings.contains(line.section(QLatin1Char(':'), 1).trimmed()),
                         qPrintable(reader.key() + QLatin1String(": ") + line));
        }
        RequestInfoData info = reply.info;
        info.errorText = "before"_s;
        MsgParser::parseErrorxml(info, reply.root);
        MsgParser::parseErrorSubNode(info, reply.root);
        MsgParser::parseDetailedErrorCode(info, reply.root);
        QCOMPARE(info.statusCode, undecided);
        QCOMPARE(info.errorText, "before"_s);
        Contact contact;
        MsgParser::parseMobileNumberOrEmailAddress(contact, reply.root);
        QVERIFY(contact.value.isEmpty() && !contact.preferred && !contact.verified);
    }

    void everyResponseRootIsRecognised_data()
    {
        QTest::addColumn<QString>("root");
        for (const QString& root : operations::replyRoots())
            QTest::newRow(qPrintable(root)) << root;
    }
    void everyResponseRootIsRecognised()
    {
        QFETCH(QString, root);
        const Classified reply(declaration + element(root));
        QCOMPARE(reply.root.nodeName(), root);
        QCOMPARE(reply.info.statusCode, undecided);
    }

    void anythingElseHasNoResponseElement_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::newRow("nothing") << QString();
        QTest::newRow("no document") << "Bad gateway"_s;
        QTest::newRow("declaration alone") << declaration;
        QTest::newRow("unknown root") << "<emailAvailabilityResponse/>"_s;
        QTest::newRow("root in another letter case") << "<ProfileQueryResponse/>"_s;
        QTest::newRow("root with a prefix") << "<r:profileQueryResponse xmlns:r='x'/>"_s;
        QTest::newRow("response below another root") << "<html><profileQueryResponse/></html>"_s;
        QTest::newRow("cut") << "<profileQueryResponse><profile><username>some"_s;
        QTest::newRow("cut before the last tag") << "<profileQueryResponse><profile/>"_s;
        QTest::newRow("cut error") << "<errorResponse><errorCode>captchaError"_s;
        QTest::newRow("tags crossed") << "<profileQueryResponse><a></profileQueryResponse></a>"_s;
        QTest::newRow("two roots") << "<profileQueryResponse/><profileQueryResponse/>"_s;
        QTest::newRow("text behind the root") << "<profileQueryResponse/>text"_s;
    }
    void anythingElseHasNoResponseElement()
    {
        QFETCH(QString, xml);
        const Classified reply(xml);
        QVERIFY(reply.root.isNull());
        QCOMPARE(reply.info.statusCode, undecided);
        QCOMPARE(reply.info.errorText, QString());
    }

    void commentsAndInstructionsBesideTheRootAreSkipped()
    {
        const Classified reply(declaration +
                               "\r\n<!-- <!DOCTYPE x> & < -->\n<?php echo '<a>' ?>\n"
                               "<profileQueryResponse a='<' b=\"'>\"/>\n<!-- end -->\n"_s.replace(
                                   QLatin1String("'<'"), QLatin1String("'&lt;'")));
        QCOMPARE(reply.root.nodeName(), "profileQueryResponse"_s);
    }

    void errorAnywhereInTheTextMarksTheReply_data()
    {
        columns<QString, bool>("xml", "marked");
        const auto reply = [](const QString& value) {
            return element("profileQueryResponse"_s, value);
        };
        QTest::newRow("no error") << reply("fine"_s) << false;
        QTest::newRow("in a value") << reply("terrors"_s) << true;
        QTest::newRow("capital in a value") << reply("anError"_s) << true;
        QTest::newRow("in upper case") << reply("ERROR eRROR ErrOr"_s) << false;
        QTest::newRow("nearly") << reply("err or errr mirror errOr"_s) << false;
        QTest::newRow("in an element name") << reply("<noError/>"_s) << true;
        QTest::newRow("in an attribute") << reply("<a b='error'/>"_s) << true;
        QTest::newRow("in a comment behind") << reply(QString()) + "<!--error-->"_s << true;
        QTest::newRow("in a comment before") << "<!--error-->"_s + reply(QString()) << true;
        QTest::newRow("as the root") << "<errorResponse/>"_s << true;
        QTest::newRow("as part of an unknown root") << "<html>error</html>"_s << true;
        // wherever the search may look at the text in pieces
        for (int padding = 480; padding < 520; ++padding)
            QTest::addRow("after %d characters", padding)
                << reply(QString(padding, QLatin1Char('x')) + "error"_s) << true;
    }
    void errorAnywhereInTheTextMarksTheReply()
    {
        const auto [xml, marked] = fetch<QString, bool>("xml", "marked");
        const Classified reply(xml);
        QVERIFY(reply.root.isElement());
        QCOMPARE(reply.info.statusCode, marked ? markedAsError : undecided);
    }

    void theFirstElementOfAMarkedReplyIsReturnedWhateverItsName()
    {
        const Classified reply("<!-- x --><anything>error</anything>"_s);
        QCOMPARE(reply.root.nodeName(), "anything"_s);
    }

    void everyErrorCodeHasItsStatus_data()
    {
        addStatusRows({{"invalidAccessToken", 500},   {"illegalRequestMethod", 501},
                       {"unknownContentType", 502},   {"invalidUrl", 503},
                       {"notAuthorized", 504},        {"generalError", 505},
                       {"invalidMessageFormat", 506}, {"resourceNotFound", 507},
                       {"operationFailed", 508},      {"userPreregistered", 509},
                       {"accountLocked", 510},        {"contactUpdate", 511},
                       {"usernameReserved", 512},     {"captchaError", 513},
                       {"attributeSyntaxError", 522}, {"", 505},
                       {"CaptchaError", 505},         {" captchaError", 505},
                       {"invalidCaptcha", 505},       {"505", 505}});
    }
    void everyErrorCodeHasItsStatus()
    {
        QFETCH(QString, text);
        int code = undecided;
        MsgParser::convertStringToEnum(code, text);
        QTEST(code, "status");
        QTEST(statusOf(element("errorCode"_s, text)), "status");
    }

    void everyOperationErrorHasItsStatus_data()
    {
        addStatusRows({{"illegalUpdate", 526},
                       {"usernameReserved", 512},
                       {"captchaError", 513},
                       {"serviceTagError", 514},
                       {"attributeSyntaxError", 522},
                       {"IllegalUpdate", undecided},
                       {"accountLocked", undecided}});
    }
    void everyOperationErrorHasItsStatus()
    {
        const auto [text, status] = fetch<QString, int>("text", "status");
        for (const char* parent : {"registrationError", "profileUpdateError",
                                   "guardianValidationError", "phoneActivationRegistrationError"})
            QCOMPARE(statusOf(element(QLatin1String(parent), element(text))), status);
        QCOMPARE(statusOf(element("contactUpdateError"_s, element(text))),
                 status == undecided ? 511 : status);
    }

    void everyDetailedErrorCodeHasItsStatus_data()
    {
        addStatusRows({{"emailAddressReserved", 515},
                       {"invalidServiceTag", 516},
                       {"invalidCaptcha", 517},
                       {"invalidContact", 518},
                       {"userNotFound", 519},
                       {"emailSendingFailed", 520},
                       {"smsSendingFailed", 521},
                       {"SmsSendingFailed", undecided},
                       {"captchaError", undecided},
                       {"", undecided}});
    }
    void everyDetailedErrorCodeHasItsStatus()
    {
        QFETCH(QString, text);
        const QString code = element("detailedErrorCode"_s, text);
        QTEST(statusOf(element("extensions"_s, code)), "status");
    }

    void detailsAreReadInExtensionsOnly()
    {
        const Classified reply(
            "<error><detailedErrorCode>invalidCaptcha</detailedErrorCode></error>"_s);
        RequestInfoData info;
        MsgParser::parseDetailedErrorCode(info, reply.root);
        QCOMPARE(info.statusCode, 0);
    }

    void aStatusThatIsNotAnErrorsIsLeft()
    {
        RequestInfoData info;
        info.statusCode = 77;
        info.errorText = "before"_s;
        info.reserved = 5;
        const Classified reply("<error><unknown>text</unknown></error>"_s);
        MsgParser::parseErrorxml(info, reply.root);
        QCOMPARE(info.statusCode, 77);
        QCOMPARE(info.errorText, "before"_s);
        QCOMPARE(info.reserved, 5);
    }

    void timesAreMarkedUtc()
    {
        const Classified reply(wiredata::text("signin/everything.reply"_s));
        QString userName;
        TokenInfoData token;
        AccountInfoData account;
        TermsInfoData terms;
        MsgParser::parseTokenResponseInfoNode(userName, token, account, terms, reply.root);
        QCOMPARE(token.time.timeSpec(), Qt::UTC);
        QCOMPARE(token.time.toSecsSinceEpoch(), 1330837567); // date -d 2012-03-04T05:06:07Z +%s
        QCOMPARE(token.expires.timeSpec(), Qt::UTC);
        QCOMPARE(token.expires.toSecsSinceEpoch(), 1330923967);
    }

    void aDateIsReadAsQtReadsIt_data()
    {
        QTest::addColumn<QString>("text");
        for (const char* text : {
                 "1980-02-29Z", "1981-02-29Z", "2000-12-31Z", "0001-01-01Z", "0000-01-01Z",
                     "9999-12-31Z", "1980-13-01Z", "1980-00-10Z", "1980-01-00Z", "1980-1-1Z",
                     "1980-01-01", "1980-01-01z", "1980-01-01 Z", " 1980-01-01Z", "1980-01-01Z ",
                     "80-01-01Z", "1980/01/01Z",
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
                     "+980-01-01Z", // Qt 6 wants a digit there; we go on as Qt 5 did
#endif
                     "-980-01-01Z", "198O-01-01Z", "10000-01-01Z", "", "Z", "----------Z",
                     "١٩٨٠-٠١-٠١Z"
             })
            QTest::addRow("'%s'", QByteArray(text).toPercentEncoding(" ").constData())
                << QString::fromUtf8(text);
    }
    void aDateIsReadAsQtReadsIt()
    {
        QFETCH(QString, text);
        const Classified reply(element("profileQueryResponse"_s, element("dateOfBirth"_s, text)));
        QString userName;
        ProfileInfoData profile;
        MsgParser::parseProfileNode(userName, profile, reply.root);
        // Qt takes the digits of the default locale as well.
        const QLocale usual;
        QLocale::setDefault(QLocale::c());
        const QDate expected = QDate::fromString(text, "yyyy-MM-ddZ"_s);
        QLocale::setDefault(usual);
        QCOMPARE(profile.dateOfBirth, expected);
    }

    void everyCodeIsConvertedTheSameEveryTime()
    {
        QStringList codes = {QString(), "f"_s, "FIN"_s};
        for (char first = 'A'; first <= 'Z'; ++first) {
            for (char second = 'A'; second <= 'Z'; ++second)
                codes.append(QString(QLatin1Char(first)) + QLatin1Char(second));
        }
        for (int round = 0; round < 2; ++round) {
            for (const QString& code : qAsConst(codes)) {
                const Classified reply(
                    element("profileQueryResponse"_s,
                            element("language"_s, code.toLower()) + element("country"_s, code)));
                QString userName;
                ProfileInfoData profile;
                MsgParser::parseProfileNode(userName, profile, reply.root);
                QCOMPARE(profile.language, LocaleUtils::codeToLanguage(code.toLower()));
                QCOMPARE(profile.country, LocaleUtils::codeToCountry(code.constData()));
            }
        }
    }

    void textIsTakenWithEverythingBelow()
    {
        const Classified reply(
            "<guardianTokenCreationResponse><guardianToken>a<b>b<c/></b><!-- x --><![CDATA[<c>]]>"
            "&#100;</guardianToken></guardianTokenCreationResponse>"_s);
        QString token;
        MsgParser::parseGuardianTokenResponse(token, reply.root);
        QCOMPARE(token, "ab<c>d"_s);
    }

    void theResponseElementOutlivesItsDocument()
    {
        QDomNode root;
        {
            RequestInfoData info;
            root =
                MsgParser::processXml(info, wiredata::text("profiledownload/everything.reply"_s));
        }
        // Whatever the document's memory is used for next must not show.
        for (int i = 0; i < 100; ++i)
            MsgParser::processXml(*std::make_unique<RequestInfoData>(),
                                  wiredata::text("signin/everything.reply"_s));
        QCOMPARE(readers::readDownloadedProfile(root).constFirst(), "user name: somebody"_s);
        const QDomNode copy = root;
        root.clear();
        QCOMPARE(readers::readDownloadedProfile(copy).constLast(), "services: music, maps, mail"_s);
    }

    void aReplyBeyondTheBoundsIsUnreadable_data()
    {
        columns<QString, bool>("xml", "readable");

        const auto reply = [](const QString& content) {
            return element("profileQueryResponse"_s, content);
        };
        const auto repeated = [](const char* text, int count) {
            return QString::fromLatin1(QByteArray(text).repeated(count));
        };
        QTest::newRow("256 elements deep") << nested(256) << true;
        QTest::newRow("257 elements deep") << nested(257) << false;
        QTest::newRow("10,000 elements deep") << nested(10000) << false;
        QTest::newRow("a million elements deep, cut") << repeated("<a>", 1000000) << false;
        row("depth behind comments that look like end tags",
            repeated("<a><!-- </a> -->", 300) + repeated("</a>", 300), false);
        row("depth behind character data that looks like end tags",
            repeated("<a><![CDATA[</a>]]>", 300) + repeated("</a>", 300), false);
        row("depth behind instructions that look like end tags",
            repeated("<a><?p </a> ?>", 300) + repeated("</a>", 300), false);
        row("depth behind attributes that look like end tags",
            repeated("<a b='</a>'>", 300) + repeated("</a>", 300), false);
        row("depth behind many attributes", repeated("<a b=''>", 257) + repeated("</a>", 257),
            false);
        row("depth in a long text",
            repeated("<a>", 257) + QString(5000, QLatin1Char('x')) + repeated("</a>", 257), false);
        row("depth behind attributes that look like empty elements",
            repeated("<a b='/>'>", 300) + repeated("</a>", 300), false);
        QTest::newRow("many elements side by side") << reply(repeated("<a/>", 9990)) << true;
        QTest::newRow("too many elements side by side") << reply(repeated("<a/>", 10001)) << false;
        row("too many attributes in all", reply(repeated("<a b='' c='' d=''/>", 2510)), false);
        QString attributes;
        for (int i = 0; i < 64; ++i)
            attributes += " a%1=''"_s.arg(i);
        QTest::newRow("64 attributes") << reply("<a%1/>"_s.arg(attributes)) << true;
        const QString one = "<a%1 b=''/>"_s.arg(attributes);
        row("65 attributes", reply(one), false);
        row("65 attributes in double quotes", reply(QString(one).replace("'"_s, "\""_s)), false);
        // An instruction opens nothing.
        row("instructions side by side", reply(repeated("<?p x?>", 1000)), true);
        row("2,000,000 characters", reply(QString(2'000'000, QLatin1Char('x'))), true);
        QTest::newRow("2 MiB and more") << reply(QString(2 << 20, QLatin1Char('x'))) << false;
        QTest::newRow("50 MB") << reply(QString(50'000'000, QLatin1Char('x'))) << false;
        QTest::newRow("document type") << "<!DOCTYPE a>"_s + reply({}) << false;
        row("entities of entities",
            "<!DOCTYPE a [<!ENTITY a \"haha\"><!ENTITY b \"&a;&a;&a;&a;\">"
            "<!ENTITY c \"&b;&b;&b;&b;\">]>"_s +
                reply("&c;"_s),
            false);
        QTest::newRow("document type in a comment") << "<!--<!DOCTYPE a>-->"_s + reply({}) << true;
        row("list of 30 KB and picture of 200 KB",
            reply(repeated("<q><i>12</i><t>What was the name of your first pet?</t></q>", 600) +
                  element("p"_s, QString(200'000, QLatin1Char('A')))),
            true);
    }
    void aReplyBeyondTheBoundsIsUnreadable()
    {
        const auto [xml, readable] = fetch<QString, bool>("xml", "readable");
        QElapsedTimer timer;
        timer.start();
        {
            const Classified reply(xml);
            QCOMPARE(reply.root.isElement(), readable);
            QCOMPARE(reply.info.statusCode, undecided);
        }
        // Some milliseconds in truth; the rest is for sanitizers and busy machines.
        QVERIFY2(timer.elapsed() < 10'000, qPrintable(QString::number(timer.elapsed())));
    }
};

QTEST_GUILESS_MAIN(TestMsgParser)
#include "tst_msgparser.moc"
