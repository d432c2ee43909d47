// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds docs/operations.md against the code, and the tests of replies against the document.
#include "devicesetup.h"
#include "dispatchcases.h"
#include "operationtable.h"
#include "recordedanswers.h"
#include "rest/reply/networkresponseprocessor.h"
#include "sendoperations.h"
#include "support/fixedsigner.h"
#include "support/messagelog.h"

#include <QDomDocument>
#include <QRegularExpression>
#include <QTest>

#include <cxxabi.h>

#include <typeinfo>

using namespace KelRestHandler;
using dispatchcases::Case;
using dispatchcases::Ending;
using operationtable::Values;

namespace {

const auto base = QStringLiteral("https://account.example/rest/1.0/");
const auto none = QStringLiteral("none");

struct DocumentedOperation
{
    int number = 0;
    QStringList requestClass;
    QStringList verb;
    QStringList addresses;
    QStringList bodies;
    QString token;
    QStringList replies;
    QStringList signalNames;
};

// What stands in backticks, in its order; the bare word "none" is nothing.
QStringList codeIn(const QString& cell)
{
    if (cell == none)
        return {};
    QStringList texts;
    static const QRegularExpression code(QStringLiteral("`([^`]+)`"));
    for (auto match = code.globalMatch(cell); match.hasNext();)
        texts.append(match.next().captured(1));
    return texts.isEmpty() ? QStringList(QStringLiteral("unreadable: ") + cell) : texts;
}

QVector<DocumentedOperation> readDocument()
{
    QFile file(QStringLiteral(KELACCOUNT_DOCUMENTS "/operations.md"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing", qPrintable(file.fileName()));
    QVector<DocumentedOperation> operations;
    static const QRegularExpression tableRow(QStringLiteral("^\\| *\\d"));
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString& line : lines.filter(tableRow)) {
        QStringList cells;
        for (const QString& cell : line.split(QLatin1Char('|')))
            cells.append(cell.trimmed());
        if (cells.size() != 10) // eight, and nothing before the first bar and after the last
            qFatal("a row has not eight cells: %s", qPrintable(line));
        operations.append({cells.at(1).toInt(), codeIn(cells.at(2)), codeIn(cells.at(3)),
                           codeIn(cells.at(4)), codeIn(cells.at(5)), cells.at(6),
                           codeIn(cells.at(7)), codeIn(cells.at(8))});
    }
    return operations;
}

const QVector<DocumentedOperation>& document()
{
    static const QVector<DocumentedOperation> operations = readDocument();
    return operations;
}

// The arguments as the document names them.
Values placeholders()
{
    Values v;
    v.token = QStringLiteral("{token}");
    v.userName = QStringLiteral("{user name}");
    v.userId = QStringLiteral("{user}");
    v.accountId = QStringLiteral("{account}");
    v.serviceId = QStringLiteral("{service}");
    v.termsId = QStringLiteral("{terms}");
    v.language = QStringLiteral("{language}");
    v.country = QStringLiteral("{country}");
    v.format = TermsFormatText;
    return v;
}

std::unique_ptr<OAuthRequest> make(int type, const Values& values, FixedSigner& signer)
{
    signer.token = values.token;
    return operationtable::all().at(type - 1).make({type, signer, base}, values);
}

// The operation's requests: more than one where the device or an argument chooses between
// addresses.
std::vector<std::unique_ptr<OAuthRequest>> requestsOf(int type, FixedSigner& signer)
{
    Values values = placeholders();
    devicesetup::withoutModem(values);
    std::vector<std::unique_ptr<OAuthRequest>> requests;
    requests.push_back(make(type, values, signer));
    if (type == 5) {
        devicesetup::withSim(values);
        requests.push_back(make(type, values, signer));
    } else if (type == 8) {
        values.format = TermsFormatHtml;
        requests.push_back(make(type, values, signer));
    }
    return requests;
}

QString className(const OAuthRequest& request)
{
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(request).name(), nullptr, nullptr, nullptr), &std::free);
    return QString::fromLatin1(name.get()).section(QStringLiteral("::"), -1);
}

QStringList answerTo(int type, const QString& body)
{
    NetworkResponseProcessor processor(nullptr);
    const RecordedAnswers answers(processor);
    HttpResponse response(QNetworkReply::NoError, dispatchcases::head + body,
                          dispatchcases::consumerKey, dispatchcases::requestId);
    const MessageLog log; // operations without an answer say so
    processor.processResponseFromServer(type, &response);
    return answers.lines();
}

QString rootOf(const QString& body)
{
    QDomDocument xml;
    xml.setContent(body);
    return xml.documentElement().tagName();
}

QString withRoot(QString body, const QString& root)
{
    return body.replace(rootOf(body), root);
}

// Bodies of success of an operation, in the order of its row in the document.
QStringList successes(int type)
{
    if (type == 4)
        return {dispatchcases::captchaReply()};
    QStringList bodies(dispatchcases::body(dispatchcases::rows().at(type - 1).success));
    if (type == 5)
        bodies.append(dispatchcases::body("phoneactivation/account-only"));
    return bodies;
}

const QStringList knownRoots = {
    QStringLiteral("tokenCreationResponse"),
    QStringLiteral("tokenRefreshResponse"),
    QStringLiteral("captchaCreationResponse"),
    QStringLiteral("userNameAvailabilityResponse"),
    QStringLiteral("registrationResponse"),
    QStringLiteral("profileQueryResponse"),
    QStringLiteral("simplifiedPasswordQuestionResponse"),
    QStringLiteral("simplifiedChangePasswordResponse"),
    QStringLiteral("securityQuestionsResponse"),
    QStringLiteral("profileUpdateResponse"),
    QStringLiteral("marketingConsentQueryResponse"),
    QStringLiteral("contactsUpdateResponse"),
    QStringLiteral("serviceQueryResponse"),
    QStringLiteral("termsQueryResponse"),
    QStringLiteral("guardianTokenCreationResponse"),
    QStringLiteral("consentQueryVariantResponse"),
    QStringLiteral("autoDetectionResponse"),
    QStringLiteral("phoneActivationRegistrationResponse"),
};

QString nameOf(Ending ending)
{
    switch (ending) {
    case Ending::Success:
        return QStringLiteral("success");
    case Ending::ServerError:
        return QStringLiteral("server error");
    case Ending::NetworkError:
        return QStringLiteral("network error");
    case Ending::Malformed:
        return QStringLiteral("malformed reply");
    }
    return {};
}

constexpr Ending allEndings[] = {Ending::Success, Ending::ServerError, Ending::NetworkError,
                                 Ending::Malformed};

// Whether the reply really is what its case claims.
bool isWhatItClaims(const Case& testCase)
{
    RequestInfoData info;
    info.statusCode = 1005;
    const QString body = testCase.text.mid(dispatchcases::head.size());
    const QDomNode root = MsgParser::processXml(info, body);
    const bool error = info.statusCode == 1004;
    const bool lost = testCase.error != QNetworkReply::NoError;
    switch (testCase.ending) {
    case Ending::Success:
        return !error && (!lost || testCase.type == 3) && (body.isEmpty() || !root.isNull());
    case Ending::ServerError:
        return error;
    case Ending::NetworkError:
        return lost && !error;
    case Ending::Malformed:
        return !body.isEmpty() && root.isNull();
    }
    return false;
}

// "operation: ending" of everything that no case is about.
QStringList missingCases(const QVector<Case>& cases, const QVector<DocumentedOperation>& operations)
{
    QStringList missing;
    for (const DocumentedOperation& operation : operations) {
        for (const Ending ending : allEndings) {
            const bool covered = std::any_of(cases.begin(), cases.end(), [&](const Case& one) {
                return one.type == operation.number && one.ending == ending && isWhatItClaims(one);
            });
            if (!covered)
                missing.append(QStringLiteral("%1: %2").arg(operation.number).arg(nameOf(ending)));
        }
    }
    return missing;
}

} // namespace

class TestOperationCoverage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Without these rows no other test can begin.
    void initTestCase()
    {
        QCOMPARE(document().size(), 26);
        QCOMPARE(operationtable::all().size(), document().size());
        QCOMPARE(dispatchcases::rows().size(), document().size());
    }

    void theDocumentHasEveryOperationOnce()
    {
        for (int i = 0; i < document().size(); ++i)
            QCOMPARE(document().at(i).number, i + 1);
        QCOMPARE(lastNetRequestType - firstNetRequestType + 1, document().size());
    }

    void theRequestIsAsDocumented_data() { addOperations(); }

    void theRequestIsAsDocumented()
    {
        QFETCH(int, number);
        const DocumentedOperation& row = document().at(number - 1);
        FixedSigner signer;
        QStringList addresses;
        QStringList bodies;
        for (const auto& request : requestsOf(number, signer)) {
            QCOMPARE(QStringList(className(*request)), row.requestClass);
            QCOMPARE(static_cast<int>(request->getRequestType()), number);
            QCOMPARE(QStringList(request->getHttpRequestType()), row.verb);
            QCOMPARE(request->isTokenRequired() ? QStringLiteral("yes") : QStringLiteral("no"),
                     row.token);
            QVERIFY(request->getRestURL().startsWith(base));
            addresses.append(request->getRestURL().mid(base.size()));
            bodies.append(rootOf(request->createXMLMessage()));
        }
        bodies.removeAll(QString());
        bodies.removeDuplicates();
        QCOMPARE(addresses, row.addresses);
        QCOMPARE(bodies, row.bodies);
    }

    void theSignalIsAsDocumented_data() { addOperations(); }

    void theSignalIsAsDocumented()
    {
        QFETCH(int, number);
        const DocumentedOperation& row = document().at(number - 1);
        const QVector<QNetworkReply::NetworkError> errors = {QNetworkReply::NoError,
                                                             QNetworkReply::TimeoutError,
                                                             QNetworkReply::UnknownContentError};
        for (const auto error : errors) {
            NetworkResponseProcessor processor(nullptr);
            const RecordedAnswers answers(processor);
            HttpResponse response(error, QString(), dispatchcases::consumerKey, 1);
            const MessageLog log;
            QCOMPARE(processor.processResponseFromServer(number, &response),
                     row.signalNames.isEmpty() ? -1 : 0);
            QCOMPARE(answers.names(), row.signalNames);
        }
    }

    void theFiveWithoutASignalAreMarked()
    {
        QVector<int> silent;
        for (const DocumentedOperation& row : document()) {
            if (row.signalNames.isEmpty())
                silent.append(row.number);
        }
        QCOMPARE(silent, QVector<int>({16, 17, 18, 19, 23}));
    }

    void theReplyIsReadAsDocumented_data() { addOperations(); }

    void theReplyIsReadAsDocumented()
    {
        QFETCH(int, number);
        const DocumentedOperation& row = document().at(number - 1);
        const QStringList unread = answerTo(number, QString());
        if (row.replies.isEmpty()) {
            // Then no document whatever makes a difference.
            for (const DocumentedOperation& other : document()) {
                for (const QString& body : successes(other.number))
                    QCOMPARE(answerTo(number, body), unread);
            }
            return;
        }
        const QStringList bodies = successes(number);
        QCOMPARE(bodies.size(), row.replies.size());
        for (int i = 0; i < bodies.size(); ++i) {
            QCOMPARE(rootOf(bodies.at(i)), row.replies.at(i));
            QVERIFY(knownRoots.contains(row.replies.at(i)));
            // A free name has nothing more to say than no document; a taken one has.
            if (number != 3)
                QVERIFY(answerTo(number, bodies.at(i)) != unread);
            QCOMPARE(answerTo(number, withRoot(bodies.at(i), QStringLiteral("html"))), unread);
        }
    }

    void everyKnownRootIsTaken_data() { addOperations(); }

    void everyKnownRootIsTaken()
    {
        QFETCH(int, number);
        const QString body = successes(number).first();
        if (body.isEmpty())
            return theReplyIsReadAsDocumented();
        const QStringList read = answerTo(number, body);
        QCOMPARE(knownRoots.size(), 18);
        for (const QString& root : knownRoots)
            QCOMPARE(answerTo(number, withRoot(body, root)), read);
    }

    void everyOperationCanBeSent()
    {
        for (const DocumentedOperation& row : document()) {
            const auto& all = sendoperations::all();
            QVERIFY2(std::any_of(all.begin(), all.end(),
                                 [&](const auto& send) { return send.type == row.number; }),
                     qPrintable(row.requestClass.join(QString())));
        }
    }

    void everyOperationIsTestedWithEveryEnding()
    {
        QCOMPARE(missingCases(dispatchcases::all(), document()), QStringList());
    }

    void noCaseClaimsWhatItIsNot()
    {
        for (const Case& testCase : dispatchcases::all()) {
            QVERIFY2(isWhatItClaims(testCase),
                     qPrintable(QStringLiteral("%1 %2").arg(testCase.type).arg(testCase.name)));
        }
    }

    void aMissingEndingIsNoticed_data() { addOperations(); }

    void aMissingEndingIsNoticed()
    {
        QFETCH(int, number);
        for (const Ending ending : allEndings) {
            QVector<Case> fewer = dispatchcases::all();
            fewer.erase(std::remove_if(fewer.begin(), fewer.end(),
                                       [&](const Case& one) {
                                           return one.type == number && one.ending == ending;
                                       }),
                        fewer.end());
            QCOMPARE(missingCases(fewer, document()),
                     QStringList(QStringLiteral("%1: %2").arg(number).arg(nameOf(ending))));
        }
    }

    void aNewOperationIsNoticed()
    {
        QVector<DocumentedOperation> more = document();
        DocumentedOperation added;
        added.number = 27;
        more.append(added);
        QCOMPARE(missingCases(dispatchcases::all(), more).size(), 4);
    }

private:
    static void addOperations()
    {
        QTest::addColumn<int>("number");
        for (const DocumentedOperation& row : document())
            QTest::addRow("%d", row.number) << row.number;
    }
};

QTEST_MAIN(TestOperationCoverage)
#include "tst_operationcoverage.moc"
