// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/operationcases.h"
#include "emulator/service/layout.h"
#include "emulator/service/operation.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDirIterator>
#include <QDomDocument>
#include <QSet>
#include <QTextStream>
#include <QtTest>

#include <functional>

using namespace KelEmulator;

namespace {

const QByteArray declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
const QByteArray schemaNamespace = "https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0";

QByteArray documentOf(const char* root, const QByteArray& content)
{
    return declaration + '<' + root + " xmlns=\"" + schemaNamespace + "\">" + content + "</" +
           root + '>';
}

QByteArray documentOf(const DocumentCase& row)
{
    return documentOf(row.root, row.content);
}

QByteArray documentOf(const QDomDocument& document)
{
    QByteArray text;
    QTextStream stream(&text);
    stream.setCodec("UTF-8");
    document.documentElement().save(stream, -1);
    stream.flush();
    return declaration + text;
}

/// The layout of an operation whose document has that root; null without one.
const Layout* layoutOf(int operation, const char* root)
{
    for (const Operation& row : allOperations()) {
        if (row.number == operation && row.layout && qstrcmp(row.layout->name, root) == 0)
            return row.layout;
    }
    return nullptr;
}

/// What is wrong with a document; empty when nothing is.
QByteArray problemOf(const QByteArray& document, const Layout& layout)
{
    XmlElement root;
    std::string problem;
    if (readXml(std::string_view(document.constData(), static_cast<size_t>(document.size())), root,
                problem) &&
        follows(root, layout, problem))
        return {};
    return problem.empty() ? "no reason"_ba : QByteArray::fromStdString(problem);
}

/// Every element below an element, in document order.
QVector<QDomElement> elementsBelow(const QDomElement& element)
{
    QVector<QDomElement> all;
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        all.append(child);
        all += elementsBelow(child);
    }
    return all;
}

using Change = std::function<bool(QDomElement&)>;

/// Makes one document for every element below the root by changing that element; `change` returns
/// false for an element that it leaves alone. Returns the changed documents by what was changed.
QVector<QPair<QString, QByteArray>> changedDocuments(const DocumentCase& row, const Change& change)
{
    QVector<QPair<QString, QByteArray>> documents;
    QDomDocument original;
    if (!original.setContent(documentOf(row)))
        return documents;
    const int count = elementsBelow(original.documentElement()).size();
    for (int at = 0; at < count; ++at) {
        QDomDocument document = original.cloneNode().toDocument();
        QDomElement element = elementsBelow(document.documentElement()).at(at);
        const QString name = element.tagName();
        if (change(element))
            documents.append({name, documentOf(document)});
    }
    return documents;
}

QDomElement newElement(const QDomElement& beside, const char* name)
{
    return beside.ownerDocument().createElement(QLatin1String(name));
}

} // namespace

class TestOperationsLayouts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hasACaseForEveryOperationWithADocument()
    {
        QSet<int> covered;
        for (const DocumentCase& row : documentCases())
            covered.insert(row.operation);
        QCOMPARE(covered, QSet<int>({1, 4, 5, 7, 10, 11, 12, 13, 15, 17, 19, 21, 23, 24, 25, 26}));
        QSet<int> withDocument;
        for (const Operation& operation : allOperations()) {
            if (operation.layout)
                withDocument.insert(operation.number);
        }
        QCOMPARE(withDocument, covered);
    }

    void acceptsDocumentsWrittenByHand_data() { addCases(); }

    void acceptsDocumentsWrittenByHand()
    {
        QFETCH(const DocumentCase*, row);
        const Layout* const layout = layoutOf(row->operation, row->root);
        QVERIFY(layout);
        QCOMPARE(problemOf(documentOf(*row), *layout), QByteArray());
    }

    void refusesAMissingElement_data() { addCases(); }

    void refusesAMissingElement()
    {
        QFETCH(const DocumentCase*, row);
        const Layout& layout = *layoutOf(row->operation, row->root);
        const QList<QByteArray> optional = QByteArray(row->optional).split(' ');
        // An element of the same name in another place is needed there.
        const auto isOptional = [&](const QDomElement& element) {
            return optional.contains(element.tagName().toLatin1()) &&
                   element.parentNode().nodeName() != "marketingConsent"_s;
        };
        QVector<bool> mayLack;
        const auto documents = changedDocuments(*row, [&](QDomElement& element) {
            mayLack.append(isOptional(element));
            element.parentNode().removeChild(element);
            return true;
        });
        QVERIFY(!documents.isEmpty());
        for (int at = 0; at < documents.size(); ++at) {
            const QByteArray problem = problemOf(documents.at(at).second, layout);
            QVERIFY2(problem.isEmpty() == mayLack.at(at),
                     qPrintable(documents.at(at).first + ": "_s + QString::fromLatin1(problem)));
            const QByteArray expected = "expected element " + documents.at(at).first.toLatin1();
            const bool instead = problem.startsWith("expected element messageBody") ||
                                 problem.startsWith("expected the end of") ||
                                 problem.startsWith("expected element mobilePhoneSerialNumber") ||
                                 problem.startsWith("expected element userData");
            QVERIFY2(problem.isEmpty() || problem.startsWith(expected) || instead,
                     problem.constData());
        }
    }

    void refusesAnElementTooMany_data() { addCases(); }

    void refusesAnElementTooMany()
    {
        QFETCH(const DocumentCase*, row);
        const Layout& layout = *layoutOf(row->operation, row->root);
        const Change places[] = {
            [](QDomElement& element) {
                element.parentNode().insertBefore(newElement(element, "extra"), element);
                return true;
            },
            [](QDomElement& element) {
                element.parentNode().insertAfter(newElement(element, "extra"), element);
                return true;
            },
            [](QDomElement& element) {
                element.appendChild(newElement(element, "extra"));
                return true;
            },
        };
        for (const Change& place : places) {
            const auto documents = changedDocuments(*row, place);
            QVERIFY(!documents.isEmpty());
            for (const auto& [name, document] : documents) {
                const QByteArray problem = problemOf(document, layout);
                QVERIFY2(problem.contains("found extra") || problem.contains("has elements in it"),
                         qPrintable(name + ": "_s + QString::fromLatin1(problem)));
            }
        }
    }

    void refusesADoubledElement_data() { addCases(); }

    void refusesADoubledElement()
    {
        QFETCH(const DocumentCase*, row);
        const Layout& layout = *layoutOf(row->operation, row->root);
        const auto documents = changedDocuments(*row, [](QDomElement& element) {
            element.parentNode().insertAfter(element.cloneNode(), element);
            return true;
        });
        for (const auto& [name, document] : documents) {
            const bool mayRepeat = name == "mobileContact"_s || name == "emailContact"_s;
            QVERIFY2(problemOf(document, layout).isEmpty() == mayRepeat, qPrintable(name));
        }
    }

    void refusesElementsInAnotherOrder_data() { addCases(); }

    void refusesElementsInAnotherOrder()
    {
        QFETCH(const DocumentCase*, row);
        const Layout& layout = *layoutOf(row->operation, row->root);
        const auto documents = changedDocuments(*row, [](QDomElement& element) {
            QDomElement next = element.nextSiblingElement();
            if (next.isNull() || next.tagName() == element.tagName())
                return false;
            element.parentNode().insertBefore(next, element);
            return true;
        });
        for (const auto& [name, document] : documents)
            QVERIFY2(!problemOf(document, layout).isEmpty(), qPrintable(name));
    }

    void refusesTextBetweenElements_data() { addCases(); }

    void refusesTextBetweenElements()
    {
        QFETCH(const DocumentCase*, row);
        const Layout& layout = *layoutOf(row->operation, row->root);
        for (const char* text : {"\n", " ", "x"}) {
            QByteArray document = documentOf(*row);
            document.insert(document.lastIndexOf("</"), text);
            const QByteArray problem = problemOf(document, layout);
            QCOMPARE(problem, "there is text or white space between the elements of " +
                                  QByteArray(row->root));
        }
    }

    void refusesARootOfAnotherName_data() { addCases(); }

    void refusesARootOfAnotherName()
    {
        QFETCH(const DocumentCase*, row);
        const Layout& layout = *layoutOf(row->operation, row->root);
        QCOMPARE(problemOf(documentOf("otherRequest", row->content), layout),
                 "expected the root element " + QByteArray(row->root) + ", found otherRequest");
    }

    void namesTheFirstDeviation_data()
    {
        columns<int, QByteArray, QByteArray, QByteArray>("operation", "root", "content", "problem");
        const auto row = [](const char* name, int operation, const char* root, const char* content,
                            const char* problem) {
            QTest::newRow(name) << operation << QByteArray(root) << QByteArray(content)
                                << QByteArray(problem);
        };
        const char* const detection = "autoDetectionRequest";
        row("left out", 7, detection,
            "<mobilePhoneSerialNumber>1</mobilePhoneSerialNumber><mnc>05</mnc><hashedMSIN></"
            "hashedMSIN>",
            "expected element mcc after mobilePhoneSerialNumber, found mnc");
        row("left out at the end", 7, detection,
            "<mobilePhoneSerialNumber>1</mobilePhoneSerialNumber><mcc>244</mcc><mnc>05</mnc>",
            "expected element hashedMSIN after mnc, found the end of autoDetectionRequest");
        row("left out at the start", 7, detection, "<mcc>244</mcc>",
            "expected element mobilePhoneSerialNumber first in autoDetectionRequest, found mcc");
        row("nothing", 4, "captchaCreationRequest", "",
            "expected element width first in captchaCreationRequest, found the end of "
            "captchaCreationRequest");
        row("too much", 4, "captchaCreationRequest",
            "<width>1</width><height>1</height><depth>1</depth>",
            "expected the end of captchaCreationRequest after height, found depth");
        row("inside", 21, "termsUpdateRequest", "<hasAcceptedTos><a/></hasAcceptedTos>",
            "element hasAcceptedTos has elements in it");
        row("boolean", 21, "termsUpdateRequest", "<hasAcceptedTos>1</hasAcceptedTos>",
            "element hasAcceptedTos has a value other than true|false");
        row("boolean in capitals", 21, "termsUpdateRequest",
            "<hasAcceptedTos>TRUE</hasAcceptedTos>",
            "element hasAcceptedTos has a value other than true|false");
        row("both words", 21, "termsUpdateRequest", "<hasAcceptedTos>true|false</hasAcceptedTos>",
            "element hasAcceptedTos has a value other than true|false");
        row("number", 4, "captchaCreationRequest", "<width>wide</width><height>1</height>",
            "element width is no decimal number without padding");
        row("padded number", 4, "captchaCreationRequest", "<width>0200</width><height>1</height>",
            "element width is no decimal number without padding");
        row("long number", 4, "captchaCreationRequest",
            "<width>12345678901</width><height>1</height>",
            "element width is no decimal number without padding");
        row("base64 cut", 15, "profileUpdateRequest",
            "<userData><password>U2V</password></userData>",
            "element password is not padded base64");
        row("base64 for addresses", 15, "profileUpdateRequest",
            "<userData><password>__--</password></userData>",
            "element password is not padded base64");
        row("base64 with padding inside", 15, "profileUpdateRequest",
            "<userData><password>U2=lcmV0</password></userData>",
            "element password is not padded base64");
        row("day that is none", 23, "profileUpdateRequest",
            "<userData><mobile></mobile><email></email><dateOfBirth>1981-02-29</dateOfBirth></"
            "userData>",
            "element dateOfBirth is no date yyyy-MM-dd");
        row("short date", 23, "profileUpdateRequest",
            "<userData><mobile></mobile><email></email><dateOfBirth>1981-2-9</dateOfBirth></"
            "userData>",
            "element dateOfBirth is no date yyyy-MM-dd");
        row("date with zone", 23, "profileUpdateRequest",
            "<userData><mobile></mobile><email></email><dateOfBirth>1981-02-09Z</dateOfBirth>"
            "</userData>",
            "element dateOfBirth is no date yyyy-MM-dd");
        row("gender", 23, "profileUpdateRequest",
            "<userData><mobile></mobile><email></email><firstName></firstName><lastName></lastName>"
            "<gender>Male</gender></userData>",
            "element gender has a value other than male|female|unknown");
        row("empty instead of left out", 24, "profileUpdateRequest",
            "<userData><passwordQuestion></passwordQuestion></userData>",
            "element passwordQuestion is empty; it is left out then");
        row("full instead of empty", 25, "profileUpdateRequest",
            "<username>a</username><userData>b</userData>", "element userData is not empty");
        row("service", 5, "registrationRequest",
            "<userData><password></password><country></country></userData><marketingConsent>"
            "<email>true</email><mobile>true</mobile><serviceId>Other</serviceId></"
            "marketingConsent>",
            "element serviceId has a value other than OneConsent");
        row("captcha and tag", 10, "simplifiedSendRecoveryMessageRequest",
            "<captchaId>c</captchaId><imageText>t</imageText><serviceTag>dGFn</serviceTag>"
            "<sendPlainToken></sendPlainToken>",
            "expected element messageBody after imageText, found serviceTag");
        row("text without captcha", 10, "simplifiedSendRecoveryMessageRequest",
            "<imageText>t</imageText><sendPlainToken></sendPlainToken>",
            "expected element messageBody first in simplifiedSendRecoveryMessageRequest, found "
            "imageText");
        row("captcha without text", 10, "simplifiedSendRecoveryMessageRequest",
            "<captchaId>c</captchaId><sendPlainToken></sendPlainToken>",
            "expected element imageText after captchaId, found sendPlainToken");
        row("plain token and message", 10, "simplifiedSendRecoveryMessageRequest",
            "<sendPlainToken></sendPlainToken><messageBody>m</messageBody>",
            "expected the end of simplifiedSendRecoveryMessageRequest after sendPlainToken, found "
            "messageBody");
        row("return address without message", 10, "simplifiedSendRecoveryMessageRequest",
            "<messageBody></messageBody><returnUrl>u</returnUrl>",
            "expected the end of simplifiedSendRecoveryMessageRequest after messageBody, found "
            "returnUrl");
        row("password beside other data", 15, "profileUpdateRequest",
            "<userData><password>U2VjcmV0IDEh</password><mobile></mobile></userData>",
            "expected the end of userData after password, found mobile");
    }

    void namesTheFirstDeviation()
    {
        const auto [operation, root, content, problem] =
            fetch<int, QByteArray, QByteArray, QByteArray>("operation", "root", "content",
                                                           "problem");
        const Layout* const layout = layoutOf(operation, root.constData());
        QVERIFY(layout);
        QCOMPARE(problemOf(documentOf(root.constData(), content), *layout), problem);
    }

    void acceptsValuesAtTheirLimits_data()
    {
        columns<int, QByteArray, QByteArray>("operation", "root", "content");
        const auto row = [](const char* name, int operation, const char* root,
                            const char* content) {
            QTest::newRow(name) << operation << QByteArray(root) << QByteArray(content);
        };
        row("no pixels", 4, "captchaCreationRequest", "<width>0</width><height>0</height>");
        row("fewer than none", 4, "captchaCreationRequest",
            "<width>-1</width><height>-2147483648</height>");
        row("nothing known", 7, "autoDetectionRequest",
            "<mobilePhoneSerialNumber/><mcc/><mnc/><hashedMSIN/>");
        row("no answer at all", 13, "simplifiedChangePasswordRequest", "");
        row("no question at all", 24, "profileUpdateRequest", "<userData></userData>");
        row("no name", 25, "profileUpdateRequest", "<username></username><userData></userData>");
        row("no contacts", 19, "contactsUpdateRequest",
            "<mobileContacts></mobileContacts><emailContacts></emailContacts>");
        row("neither captcha nor tag", 10, "simplifiedSendRecoveryMessageRequest",
            "<messageBody></messageBody>");
        row("leap day", 23, "profileUpdateRequest",
            "<userData><mobile/><email/><dateOfBirth>1980-02-29</dateOfBirth><firstName/><lastName/"
            ">"
            "</userData>");
        row("markup in values", 25, "profileUpdateRequest",
            "<username>&lt;a&gt; &amp;amp; &quot;&apos;</username><userData></userData>");
        row("no tag for the address", 11, "emailAvailabilityRequest",
            "<email>a@b</email><serviceTag></serviceTag>");
    }

    void acceptsValuesAtTheirLimits()
    {
        const auto [operation, root, content] =
            fetch<int, QByteArray, QByteArray>("operation", "root", "content");
        const Layout* const layout = layoutOf(operation, root.constData());
        QVERIFY(layout);
        QCOMPARE(problemOf(documentOf(root.constData(), content), *layout), QByteArray());
    }

    void acceptsWhatTheLibraryIsTestedAgainst()
    {
        int count = 0;
        QDirIterator files(QStringLiteral(KELACCOUNT_REST_DATA), {"*.request"_s}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QByteArray document;
            for (const QByteArray& line : file.readAll().split('\n'))
                document += line.trimmed();
            document.replace("{namespace}", schemaNamespace);
            document.replace("{digest}", "2jmj7l5rSw0yVb/vlWAYkK/YBwk=");

            XmlElement root;
            std::string problem;
            const std::string text = document.toStdString();
            QVERIFY2(readXml(text, root, problem), problem.c_str());
            bool known = false;
            for (const Operation& operation : allOperations()) {
                if (!operation.layout || root.name != operation.layout->name ||
                    (operation.isMeant && !operation.isMeant(root)))
                    continue;
                known = true;
                QVERIFY2(follows(root, *operation.layout, problem),
                         qPrintable(file.fileName() + ": "_s + QString::fromStdString(problem)));
                break;
            }
            QVERIFY2(known, qPrintable(file.fileName()));
            ++count;
        }
        QVERIFY2(count >= 30, "the library's documents are missing");
    }

private:
    static void addCases()
    {
        QTest::addColumn<const DocumentCase*>("row");
        for (const DocumentCase& row : documentCases())
            QTest::newRow(row.name) << &row;
    }
};

Q_DECLARE_METATYPE(const DocumentCase*)

QTEST_GUILESS_MAIN(TestOperationsLayouts)
#include "tst_operations_layouts.moc"
