// SPDX-License-Identifier: LGPL-2.1-or-later
// QDomDocument::setContent() is the judge of every document, of the ones that nobody sends too.
#include "rest/reply/plaindocument.h"
#include "rest/reply/replydocument.h"
#include "support/literals.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>

using namespace KelRestHandler;

namespace {

QStringList textsIn(const QString& folder, const QStringList& names)
{
    QStringList texts;
    const QDir directory(folder);
    const QStringList entries = directory.entryList(names, QDir::Files, QDir::Name);
    for (const QString& entry : entries) {
        QFile file(directory.filePath(entry));
        if (file.open(QIODevice::ReadOnly))
            texts.append(QString::fromUtf8(file.readAll()));
    }
    return texts;
}

QStringList replies()
{
    QStringList texts;
    const QDir operations(QStringLiteral(KELACCOUNT_TEST_REPLIES));
    const QStringList folders = operations.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& folder : folders)
        texts += textsIn(operations.filePath(folder), {"*.reply"_s});
    return texts;
}

QStringList fuzzedReplies()
{
    return textsIn(QStringLiteral(KELACCOUNT_TEST_FUZZED_REPLIES), {"*"_s});
}

QString described(const QDomNode& node)
{
    return "%1 %2=\"%3\" prefix %4 local %5 namespace %6"_s.arg(
        QString::number(node.nodeType()), node.nodeName(), node.nodeValue(), node.prefix(),
        node.localName(), node.namespaceURI());
}

QStringList attributesOf(const QDomNode& node)
{
    QStringList attributes;
    const QDomNamedNodeMap map = node.attributes();
    for (int i = 0; i < map.count(); ++i)
        attributes.append(described(map.item(i)));
    attributes.sort();
    return attributes;
}

// Everything that can be asked of the nodes below, but for their places in the text.
QStringList everythingOf(const QDomNode& node)
{
    QStringList all{described(node)};
    all += attributesOf(node);
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        all += everythingOf(child);
    all += "end of "_s + node.nodeName();
    return all;
}

enum class Outcome { Refused, Left, Read };

// Fails when the text is read, and not as QDomDocument reads it.
Outcome outcomeOf(const QString& xml)
{
    QDomDocument expected;
    const bool isDocument = expected.setContent(xml);
    const QDomDocument plain = plainDocument(xml);
    if (plain.isNull())
        return isDocument ? Outcome::Left : Outcome::Refused;
    const bool isRight = isDocument && isWithinReplyBounds(xml) &&
                         everythingOf(plain) == everythingOf(expected) &&
                         plain.doctype().isNull() == expected.doctype().isNull() &&
                         plain.documentElement().tagName() == expected.documentElement().tagName();
    if (!isRight)
        QTest::qFail(qPrintable("read otherwise than by QDomDocument: "_s + xml), __FILE__,
                     __LINE__);
    return Outcome::Read;
}

QString changed(const QString& text, QRandomGenerator& random)
{
    static const QStringList pieces{"<"_s,
                                    ">"_s,
                                    "/"_s,
                                    "="_s,
                                    "\""_s,
                                    "'"_s,
                                    "&"_s,
                                    "&amp;"_s,
                                    "&#65;"_s,
                                    "&x;"_s,
                                    "]"_s,
                                    "]]>"_s,
                                    "\r"_s,
                                    "\n"_s,
                                    "\t"_s,
                                    " "_s,
                                    ":"_s,
                                    "-"_s,
                                    "1"_s,
                                    "?"_s,
                                    "!"_s,
                                    "<!--x-->"_s,
                                    "<![CDATA[x]]>"_s,
                                    "<?pi x?>"_s,
                                    "<!DOCTYPE a>"_s,
                                    " a=\"b\""_s,
                                    " a='b'"_s,
                                    " xmlns=\"u\""_s,
                                    " xmlns:p=\"u\""_s,
                                    "<a>"_s,
                                    "</a>"_s,
                                    "<a/>"_s,
                                    "<p:a/>"_s,
                                    "<a b=\"\" />"_s,
                                    "é"_s,
                                    "\u00a0"_s,
                                    "\u2028"_s,
                                    "\ud7ff"_s,
                                    QString(QChar(0x85)),
                                    QString(QChar(0xFFFE)),
                                    QString(QChar(0xFEFF)),
                                    QString(QChar(0xD83D)),
                                    QString(QChar(1)),
                                    QString(QChar(0)),
                                    QString(QChar(127)),
                                    "\U0001F600"_s};
    QString result = text;
    for (int i = random.bounded(1, 4); i > 0; --i) {
        const int at = random.bounded(int(result.size()) + 1);
        const int length = random.bounded(6);
        switch (random.bounded(4)) {
        case 0:
            result.remove(at, length);
            break;
        case 1:
            result.insert(at, result.mid(random.bounded(int(result.size()) + 1), length));
            break;
        default:
            result.insert(at, pieces.at(random.bounded(int(pieces.size()))));
            break;
        }
    }
    return result;
}

QString nested(int depth)
{
    return "<?xml version=\"1.0\"?>"_s + "<a>"_s.repeated(depth) + "</a>"_s.repeated(depth);
}

QString withAttributes(int count)
{
    QString xml = "<?xml version=\"1.0\"?><a"_s;
    for (int i = 0; i < count; ++i)
        xml += " b%1=\"\""_s.arg(i);
    return xml + "/>"_s;
}

QString withChildren(int count)
{
    return "<?xml version=\"1.0\"?><a>"_s + "<b/>"_s.repeated(count) + "</a>"_s;
}

} // namespace

class TestPlainDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theServicesRepliesAreReadAsByQDomDocument()
    {
        const QStringList texts = replies();
        QVERIFY(!texts.isEmpty());
        for (const QString& text : texts) {
            const QString xml = documentIn(text).toString();
            if (xml.isNull())
                continue;
            // What is left to QDomDocument has something of this in it.
            const bool isPlain = !xml.contains(QLatin1Char('&')) && !xml.contains("<!"_s) &&
                                 !xml.contains(QLatin1Char(']')) &&
                                 !xml.contains(QLatin1Char('\r'));
            const Outcome outcome = outcomeOf(xml);
            QVERIFY2(!isPlain || outcome == Outcome::Read, qPrintable(xml));
        }
    }

    void fuzzedRepliesAreReadAsByQDomDocumentOrLeftToIt()
    {
        const QStringList texts = fuzzedReplies();
        QVERIFY(!texts.isEmpty());
        for (const QString& text : texts)
            outcomeOf(text);
    }

    void changedRepliesAreReadAsByQDomDocumentOrLeftToIt()
    {
        const QStringList texts = replies();
        QRandomGenerator random(20121);
        int counts[3] = {};
        for (int i = 0; i < 6000 && !QTest::currentTestFailed(); ++i) {
            const QString& text = texts.at(random.bounded(int(texts.size())));
            ++counts[static_cast<int>(outcomeOf(changed(text, random)))];
        }
        // All three happen, or nothing was tried.
        for (const int count : counts)
            QVERIFY(count > 100);
    }

    void changedShortDocumentsAreReadAsByQDomDocumentOrLeftToIt()
    {
        const QString text =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r x=\"y\"> <a>1</a>\n<b/> t </r>\n"_s;
        QCOMPARE(outcomeOf(text), Outcome::Read);
        QRandomGenerator random(20122);
        int counts[3] = {};
        for (int i = 0; i < 20'000 && !QTest::currentTestFailed(); ++i)
            ++counts[static_cast<int>(outcomeOf(changed(text, random)))];
        for (const int count : counts)
            QVERIFY(count > 100);
    }

    void whatIsBeyondTheBoundsIsNotRead()
    {
        QCOMPARE(outcomeOf(nested(ReplyBounds::depth)), Outcome::Read);
        QCOMPARE(outcomeOf(nested(ReplyBounds::depth + 1)), Outcome::Left);
        QCOMPARE(outcomeOf(withAttributes(ReplyBounds::attributesOfOneTag)), Outcome::Read);
        QCOMPARE(outcomeOf(withAttributes(ReplyBounds::attributesOfOneTag + 1)), Outcome::Left);
        const int declarationAndRoot = 3;
        QCOMPARE(outcomeOf(withChildren(ReplyBounds::markups - declarationAndRoot)), Outcome::Read);
        QCOMPARE(outcomeOf(withChildren(ReplyBounds::markups - declarationAndRoot + 1)),
                 Outcome::Left);
        const QString text = QString(ReplyBounds::characters, QLatin1Char('x'));
        QVERIFY(plainDocument("<?xml version=\"1.0\"?><a>"_s + text + "</a>"_s).isNull());
        QVERIFY(!plainDocument("<?xml version=\"1.0\"?><a>"_s + text.mid(100) + "</a>"_s).isNull());
    }
};

QTEST_GUILESS_MAIN(TestPlainDocument)
#include "tst_plaindocument.moc"
