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

QByteArray documentOf(const OperationCase& row)
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
QVector<QPair<QString, QByteArray>> changedDocuments(const OperationCase& row, const Change& change)
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
    void hasACaseForEveryOperationAndItsDocument()
    {
        QSet<int> covered;
        QSet<int> coveredWithDocument;
        for (const OperationCase& row : operationCases()) {
            covered.insert(row.operation);
            if (row.hasDocument())
                coveredWithDocument.insert(row.operation);
        }
        QSet<int> all;
        QSet<int> withDocument;
        for (const Operation& operation : allOperations()) {
            all.insert(operation.number);
            if (operation.layout)
                withDocument.insert(operation.number);
        }
        QCOMPARE(covered, all);
        QCOMPARE(coveredWithDocument, withDocument);
    }

    void acceptsDocumentsWrittenByHand_data() { addRows(operationCases(), hasDocument); }
    void acceptsDocumentsWrittenByHand()
    {
        const OperationCase& row = currentRow(operationCases());
        const Layout* const layout = layoutOf(row.operation, row.root);
        QVERIFY(layout);
        QCOMPARE(problemOf(documentOf(row), *layout), QByteArray());
    }

    void refusesAMissingElement_data() { addRows(operationCases(), hasDocument); }
    void refusesAMissingElement()
    {
        const auto& [row, layout] = currentCase();
        const QList<QByteArray> optional = QByteArray(row.optional).split(' ');
        // An element of the same name in another place is needed there.
        const auto isOptional = [&](const QDomElement& element) {
            return optional.contains(element.tagName().toLatin1()) &&
                   element.parentNode().nodeName() != "marketingConsent"_s;
        };
        QVector<bool> mayLack;
        const auto documents = changedDocuments(row, [&](QDomElement& element) {
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

    void refusesAnElementTooMany_data() { addRows(operationCases(), hasDocument); }
    void refusesAnElementTooMany()
    {
        const auto& [row, layout] = currentCase();
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
            const auto documents = changedDocuments(row, place);
            QVERIFY(!documents.isEmpty());
            for (const auto& [name, document] : documents) {
                const QByteArray problem = problemOf(document, layout);
                QVERIFY2(problem.contains("found extra") || problem.contains("has elements in it"),
                         qPrintable(name + ": "_s + QString::fromLatin1(problem)));
            }
        }
    }

    void refusesADoubledElement_data() { addRows(operationCases(), hasDocument); }
    void refusesADoubledElement()
    {
        const auto& [row, layout] = currentCase();
        const auto documents = changedDocuments(row, [](QDomElement& element) {
            element.parentNode().insertAfter(element.cloneNode(), element);
            return true;
        });
        for (const auto& [name, document] : documents) {
            const bool mayRepeat = name == "mobileContact"_s || name == "emailContact"_s;
            QVERIFY2(problemOf(document, layout).isEmpty() == mayRepeat, qPrintable(name));
        }
    }

    void refusesElementsInAnotherOrder_data() { addRows(operationCases(), hasDocument); }
    void refusesElementsInAnotherOrder()
    {
        const auto& [row, layout] = currentCase();
        const auto documents = changedDocuments(row, [](QDomElement& element) {
            QDomElement next = element.nextSiblingElement();
            if (next.isNull() || next.tagName() == element.tagName())
                return false;
            element.parentNode().insertBefore(next, element);
            return true;
        });
        for (const auto& [name, document] : documents)
            QVERIFY2(!problemOf(document, layout).isEmpty(), qPrintable(name));
    }

    void refusesTextBetweenElements_data() { addRows(operationCases(), hasDocument); }
    void refusesTextBetweenElements()
    {
        const auto& [row, layout] = currentCase();
        for (const char* text : {"\n", " ", "x"}) {
            QByteArray document = documentOf(row);
            document.insert(document.lastIndexOf("</"), text);
            const QByteArray problem = problemOf(document, layout);
            QCOMPARE(problem, "there is text or white space between the elements of " + row.root);
        }
    }

    void refusesARootOfAnotherName_data() { addRows(operationCases(), hasDocument); }
    void refusesARootOfAnotherName()
    {
        const auto& [row, layout] = currentCase();
        QCOMPARE(problemOf(documentOf("otherRequest", row.content), layout),
                 "expected the root element " + row.root + ", found otherRequest");
    }

    void namesTheFirstDeviation_data()
    {
        rowsOfFile(KELACCOUNT_TEST_DATA "/documents.tsv",
                   {"operation", "root", "content", "problem"});
    }
    void namesTheFirstDeviation()
    {
        const auto [operation, root, content, problem] =
            fetch<QByteArray, QByteArray, QByteArray, QByteArray>("operation", "root", "content",
                                                                  "problem");
        const Layout* const layout = layoutOf(operation.toInt(), root.constData());
        QVERIFY(layout);
        QCOMPARE(problemOf(documentOf(root.constData(), content), *layout), problem);
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
    static bool hasDocument(const OperationCase& row) { return row.hasDocument(); }
    static std::pair<const OperationCase&, const Layout&> currentCase()
    {
        const OperationCase& row = currentRow(operationCases());
        return {row, *layoutOf(row.operation, row.root)};
    }
};

QTEST_GUILESS_MAIN(TestOperationsLayouts)
#include "tst_operations_layouts.moc"
