// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds the tests' table of operations against docs/operations.md and against the code's own list,
// and what tests know of replies against the table.
#include "devicesetup.h"
#include "operations/answers.h"
#include "operations/readers.h"
#include "operations/recordedanswers.h"
#include "rest/reply/networkresponseprocessor.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <QDomDocument>
#include <QRegularExpression>
#include <QTest>

using namespace KelRestHandler;
using operations::Case;
using operations::Ending;
using operations::Facts;
using operations::formsOf;
using operations::Operation;
using operations::Values;

namespace {

const auto base = "https://account.example/rest/1.0/"_s;

// What stands in backticks, in its order; the bare word "none" is nothing.
QStringList codeIn(const QString& cell)
{
    if (cell == QLatin1String("none"))
        return {};
    QStringList texts;
    static const QRegularExpression code("`([^`]+)`"_s);
    for (auto match = code.globalMatch(cell); match.hasNext();)
        texts.append(match.next().captured(1));
    return texts.isEmpty() ? QStringList("unreadable: "_s + cell) : texts;
}

// The rows of the document, each with the texts of its cells.
QVector<QVector<QStringList>> documentedRows()
{
    QFile file(QStringLiteral(KELACCOUNT_DOCUMENTS "/operations.md"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing", qPrintable(file.fileName()));
    QVector<QVector<QStringList>> rows;
    static const QRegularExpression tableRow("^\\| *\\d"_s);
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString& line : lines.filter(tableRow)) {
        QVector<QStringList> cells;
        for (const QString& cell : line.split(QLatin1Char('|')).mid(1))
            cells.append(codeIn(cell.trimmed()));
        rows.append(cells.mid(0, cells.size() - 1));
    }
    return rows;
}

// What the document is to say of an operation; bare words as codeIn() reads them.
QVector<QStringList> rowOf(const Facts& facts)
{
    const auto bare = [](const QString& word) { return QStringList("unreadable: "_s + word); };
    return {bare(QString::number(facts.number)),
            {QLatin1String(facts.requestClass)},
            {QLatin1String(facts.verb)},
            formsOf(facts.address),
            formsOf(facts.body),
            bare(facts.traits & operations::WithToken ? "yes"_s : "no"_s),
            formsOf(facts.reply),
            operations::namesOf(formsOf(facts.answers))};
}

QString rootOf(const QString& body)
{
    QDomDocument xml;
    xml.setContent(body);
    return xml.documentElement().tagName();
}

QStringList answerTo(int number, const QString& body)
{
    NetworkResponseProcessor processor(nullptr);
    const RecordedAnswers answers(processor);
    HttpResponse response(QNetworkReply::NoError, operations::head + body, operations::consumerKey,
                          operations::requestId);
    const MessageLog log; // operations without an answer say so
    processor.processResponseFromServer(number, &response);
    return answers.lines();
}

QString withRoot(QString body, const QString& root)
{
    return body.replace(rootOf(body), root);
}

} // namespace

class TestOperationCoverage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Without these rows no other test can begin: the table, and what runs it, have every operation
    // of the code, in the order of the numbers.
    void initTestCase()
    {
        int number = firstNetRequestType;
        for (const Facts& facts : operations::table)
            QCOMPARE(facts.number, number++);
        QCOMPARE(number, operations::unknown);
        number = firstNetRequestType;
        for (const Operation& row : operations::all())
            QCOMPARE(row.number, number++);
        QCOMPARE(number, operations::unknown);
    }

    void theDocumentSaysWhatTheTableSays()
    {
        QVector<QVector<QStringList>> expected;
        for (const Facts& facts : operations::table)
            expected.append(rowOf(facts));
        const auto documented = documentedRows();
        for (int i = 0; i < qMax(documented.size(), expected.size()); ++i)
            QCOMPARE(documented.value(i), expected.value(i));
    }

    void theRequestIsTheRows_data() { operations::rows(); }
    // With SIM and without, terms as text and as HTML: every form of the address and the document.
    void theRequestIsTheRows()
    {
        QFETCH(int, number);
        const Operation& row = operations::of(number);
        FixedSigner signer;
        QStringList addresses;
        QStringList bodies;
        for (const bool otherForm : {false, true}) {
            Values values = Values::placeholders();
            otherForm ? devicesetup::withSim(values) : devicesetup::withoutModem(values);
            values.format = otherForm ? TermsFormatHtml : TermsFormatText;
            signer.token = values.token;
            const auto request = row.make(signer, base, values);
            QCOMPARE(operations::classOf(*request), QLatin1String(row.requestClass));
            QVERIFY(request->getRestURL().startsWith(base));
            addresses.append(request->getRestURL().mid(base.size()));
            bodies.append(rootOf(request->createXMLMessage()));
        }
        addresses.removeDuplicates();
        bodies.removeDuplicates();
        bodies.removeAll(QString());
        QCOMPARE(addresses, formsOf(row.address));
        QCOMPARE(bodies, formsOf(row.body));
    }

    void theReplyIsReadByWhatItSays_data() { operations::rows(); }
    // The root of the operation, every other known one, and none that is not known.
    void theReplyIsReadByWhatItSays()
    {
        QFETCH(int, number);
        const Operation& row = operations::of(number);
        const QStringList unread = answerTo(number, QString());
        if (!row.reply) {
            // Then no document whatever makes a difference.
            for (const Operation& other : operations::all()) {
                for (const QString& body : operations::successes(other))
                    QCOMPARE(answerTo(number, body), unread);
            }
            return;
        }
        const QStringList bodies = operations::successes(row);
        QStringList roots;
        for (const QString& body : bodies) {
            roots.append(rootOf(body));
            const QStringList read = answerTo(number, body);
            // A free name has nothing more to say than no document; a taken one has.
            if (number != RetrieveUserNameAvailability)
                QVERIFY(read != unread);
            for (const QString& root : operations::replyRoots())
                QCOMPARE(answerTo(number, withRoot(body, root)), read);
            QCOMPARE(answerTo(number, withRoot(body, "html"_s)), unread);
        }
        QCOMPARE(roots, formsOf(row.reply));
    }

    void everyOperationCanBeSent()
    {
        for (const Operation& row : operations::all()) {
            QVERIFY2(!row.sends.isEmpty(), row.requestClass);
            for (const auto& send : row.sends)
                QCOMPARE(send.number, row.number);
        }
    }

    void everyOperationIsTestedWithEveryEnding()
    {
        QMap<int, QSet<int>> endings;
        for (const Case& testCase : operations::cases()) {
            QVERIFY2(isWhatItClaims(testCase),
                     qPrintable("%1 %2"_s.arg(testCase.number).arg(testCase.name)));
            endings[testCase.number].insert(int(testCase.ending));
        }
        const QSet<int> all = {int(Ending::Success), int(Ending::ServerError),
                               int(Ending::NetworkError), int(Ending::Malformed)};
        for (const Operation& row : operations::all())
            QCOMPARE(endings.value(row.number), all);
    }

    // By a reader of its own, or by an operation that carries what it says.
    void everyRecordedReplyIsRead()
    {
        const QStringList recorded = wiredata::cases("reply"_s);
        for (const QString& name : recorded) {
            const QString folder = name.section(QLatin1Char('/'), 0, 0);
            bool isRead = readers::all().contains(folder);
            for (const Operation& row : operations::all())
                isRead |= operations::recordedForms(row).contains(name);
            QVERIFY2(isRead, qPrintable(name));
        }
    }
};

QTEST_MAIN(TestOperationCoverage)
#include "tst_operationcoverage.moc"
