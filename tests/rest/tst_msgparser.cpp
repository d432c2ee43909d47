// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"
#include "operations/readers.h"
#include "operations/wiredata.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/replydocument.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/errorstatus.h>

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

QString xmlElement(const QString& name, const QString& content = QString())
{
    return "<%1>%2</%1>"_s.arg(name, content);
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
        const QString deep = "<a>"_s.repeated(300) + "</a>"_s.repeated(300);
        QTest::newRow("too deep") << xmlElement("profileQueryResponse"_s, deep);
        for (const QString& before :
             {"<!-- > -->"_s, "<![CDATA[<>]]>"_s, "<?a >?>"_s, "<b c='>'/>"_s})
            QTest::newRow(qPrintable(before + " and too deep"_s))
                << xmlElement("profileQueryResponse"_s, before + deep);
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

    void onlyTagsMakeADocumentDeep_data()
    {
        QTest::addColumn<QString>("text");
        const QString tags = "<b>"_s.repeated(300);
        QTest::newRow("a comment") << "<!--"_s + tags + "-->"_s;
        QTest::newRow("a section of characters") << "<![CDATA["_s + tags + "]]>"_s;
        QTest::newRow("a processing instruction") << "<?b "_s + tags + "?>"_s;
        QTest::newRow("tags that have ended") << "<b></b>"_s.repeated(300);
        QTest::newRow("tags that end at once") << "<b/>"_s.repeated(300);
    }
    void onlyTagsMakeADocumentDeep()
    {
        QFETCH(QString, text);
        const Classified reply(xmlElement("profileQueryResponse"_s, text));
        QVERIFY(!reply.root.isNull());
    }

    // Wherever the search may look at the text in pieces.
    void anErrorIsFoundAtAnyPlace()
    {
        for (int padding = 480; padding < 520; ++padding) {
            const Classified reply(xmlElement("profileQueryResponse"_s,
                                              QString(padding, QLatin1Char('x')) + "error"_s));
            QCOMPARE(reply.info.statusCode, markedAsError);
        }
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
                    xmlElement("profileQueryResponse"_s, xmlElement("language"_s, code.toLower()) +
                                                             xmlElement("country"_s, code)));
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
};

QTEST_GUILESS_MAIN(TestMsgParser)
#include "tst_msgparser.moc"
