// SPDX-License-Identifier: LGPL-2.1-or-later
// What holds for every operation: one good request each, and the same mistakes with all of them.
#include "emulator/operationcases.h"
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestOperationsContract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mService.start(), mService.emulator().log().constData());
        QVERIFY(mService.addAccount(R"([{"userName": "asked", "securityQuestion": "3",
                                         "securityAnswer": "Rex"},
                                        {"email": "erin@mail.example"}])"));
        QCOMPARE(mService.emulator()
                     .admin("POST", "/pre-accounts"_s,
                            R"({"hashedMsin": "AcOrfXKVzwdVPSFn7onbYjOWRP8="})")
                     .status,
                 200);
    }

    void init()
    {
        // A token that a row deleted or replaced is made anew.
        mErin = mService.tokenOf("erin@mail.example");
        QVERIFY(!mErin.token.isEmpty());
    }

    void answersAGoodRequest_data() { addRows(operationCases(), asked); }
    void answersAGoodRequest()
    {
        const OperationCase& row = currentRow(operationCases());
        const Answer answer = mService.ask(requestOf(row));
        QVERIFY2(answer.status == 200, answer.body.constData());
        QCOMPARE(mService.latestOperation(), row.operation);
        QCOMPARE(mService.latestProblem(), QString());
        QCOMPARE(answer.tag(), QString::fromLatin1(row.replyRoot));
        QCOMPARE(answer.body.isEmpty(), row.replyRoot.isEmpty());
        // Clients take any reply with this word in it for an error.
        QVERIFY(!answer.body.contains("error"));
        QVERIFY(!answer.body.contains("Error"));
    }

    void refusesATokenThatIsNone_data() { addRows(operationCases(), ofTheOwner); }
    void refusesATokenThatIsNone()
    {
        const OperationCase& row = currentRow(operationCases());
        for (const QByteArray& token : {QByteArray(), "0123456789abcdef"_ba}) {
            SignedRequest request = requestOf(row);
            request.token = token;
            const Answer answer = mService.ask(request);
            QCOMPARE(answer.status, 401);
            QCOMPARE(answer.errorCode(), "invalidAccessToken"_s);
            QCOMPARE(mService.latestProblem(), token.isNull()
                                                   ? "oauth_token is missing from the header"_s
                                                   : "oauth_token is unknown or has expired"_s);
        }
    }

    void refusesTheTokenOfAnotherAccount_data() { addRows(operationCases(), ofTheOwner); }
    void refusesTheTokenOfAnotherAccount()
    {
        const OperationCase& row = currentRow(operationCases());
        SignedRequest request = requestOf(row);
        request.token = mService.tokenOf("alice").token;
        QVERIFY(!request.token.isEmpty());
        const Answer answer = mService.ask(request);
        // Of the token operations the address is a token itself.
        const bool isToken = row.path.startsWith("tokens/");
        QCOMPARE(answer.status, isToken ? 401 : 403);
        QCOMPARE(answer.errorCode(), isToken ? "invalidAccessToken"_s : "notAuthorized"_s);
        QCOMPARE(mService.tokenOf("erin@mail.example").accountId, mErin.accountId);
    }

    void refusesATokenWhereNoneBelongs_data() { addRows(operationCases(), ofAnybody); }
    void refusesATokenWhereNoneBelongs()
    {
        const OperationCase& row = currentRow(operationCases());
        SignedRequest request = requestOf(row);
        request.token = mErin.token;
        verifyMalformed(mService.ask(request),
                        "oauth_token is sent with an operation that needs none");
    }

    void refusesADocumentTooManyOrTooFew_data() { addRows(operationCases(), asked); }
    void refusesADocumentTooManyOrTooFew()
    {
        const OperationCase& row = currentRow(operationCases());
        SignedRequest request = requestOf(row);
        if (!row.hasDocument()) {
            request.document = ServiceClient::document("someRequest", {});
            verifyMalformed(mService.ask(request), "this operation has no document");
            return;
        }
        request.document.clear();
        const Answer answer = mService.ask(request);
        verifyMalformed(answer, "the document " + row.root + " is missing");
        // Whoever looks at the reply alone learns it as well.
        QVERIFY(answer.at("errorText").contains(QLatin1String(row.root)));
    }

    void refusesADocumentOfAnotherForm_data()
    {
        addRows(operationCases(),
                [](const auto& row) { return row.isAsked() && row.hasDocument(); });
    }
    void refusesADocumentOfAnotherForm()
    {
        const OperationCase& row = currentRow(operationCases());
        SignedRequest request = requestOf(row);
        request.document.insert(request.document.lastIndexOf("</"), "<extra></extra>");
        const Answer answer = mService.ask(request);
        QCOMPARE(answer.status, 400);
        QCOMPARE(answer.errorCode(), "invalidMessageFormat"_s);
        QVERIFY2(mService.latestProblem().endsWith(", found extra"_s),
                 qPrintable(mService.latestProblem()));
        QCOMPARE(answer.at("errorText"), mService.latestProblem());
    }

    void refusesOtherVerbs_data() { addRows(operationCases(), asked); }
    void refusesOtherVerbs()
    {
        const OperationCase& row = currentRow(operationCases());
        for (const char* verb : {"GET", "POST", "PUT", "DELETE"}) {
            bool hasOperation = false;
            for (const OperationCase& other : operationCases()) {
                hasOperation = hasOperation || (other.path == row.path && other.verb == verb);
            }
            if (hasOperation)
                continue;
            SignedRequest request = requestOf(row);
            request.restVerb = verb;
            const Answer answer = mService.ask(request);
            QCOMPARE(answer.status, 405);
            QCOMPARE(answer.errorCode(), "illegalRequestMethod"_s);
        }
    }

    void refusesExpiredTokens()
    {
        SignedRequest request("/rest/1.0/accounts/" + mErin.accountId + "/profile");
        request.token = mErin.token;
        QCOMPARE(mService.ask(request).status, 200);
        QCOMPARE(mService.emulator().admin("POST", "/tokens/expire"_s).status, 200);
        SignedRequest again("/rest/1.0/accounts/" + mErin.accountId + "/profile");
        again.token = mErin.token;
        QCOMPARE(mService.ask(again).errorCode(), "invalidAccessToken"_s);
    }

private:
    static bool asked(const OperationCase& row) { return row.isAsked(); }
    static bool ofTheOwner(const OperationCase& row) { return row.needsToken(); }
    static bool ofAnybody(const OperationCase& row) { return row.isAsked() && !row.needsToken(); }

    SignedRequest requestOf(const OperationCase& row)
    {
        QByteArray path = row.path;
        path.replace("{id}", mErin.accountId).replace("{token}", mErin.token);
        SignedRequest request("/rest/1.0/" + path);
        request.restVerb = row.verb;
        if (row.operation == 8)
            request.query = {{"lang", "fi"}, {"country", "FI"}, {"format", "html"}};
        if (row.needsToken())
            request.token = mErin.token;
        if (row.hasDocument()) {
            const QJsonArray inbox =
                QJsonDocument::fromJson(
                    mService.emulator().admin("GET", "/inbox?name=alice"_s).body)
                    .array();
            const QByteArray recovery =
                inbox.last().toObject().value("token"_s).toString().toLatin1();
            request.document = ServiceClient::document(
                row.root, QByteArray(row.content).replace("{recovery}", recovery));
        }
        return request;
    }

    void verifyMalformed(const Answer& answer, const QByteArray& problem)
    {
        QCOMPARE(answer.status, 400);
        QCOMPARE(answer.errorCode(), "invalidMessageFormat"_s);
        QCOMPARE(mService.latestProblem().toLatin1(), problem);
        QVERIFY(mService.emulator().logHas(problem));
    }

    ServiceClient mService;
    SignedIn mErin; ///< known by her address alone, for a user name to be given to
};

QTEST_GUILESS_MAIN(TestOperationsContract)
#include "tst_operations_contract.moc"
