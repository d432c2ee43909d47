// SPDX-License-Identifier: LGPL-2.1-or-later
// What holds for every operation: one good request each, and the same mistakes with all of them.
#include "emulator/serviceclient.h"
#include "support/literals.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QtTest>

namespace {

struct OperationCase
{
    int operation;
    const char* name;
    const char* verb;
    const char* path; ///< "{id}", "{token}" stand for the account's
    const char* root; ///< of its document, null without one
    const char* content;
    bool needsToken;
    int status;
    const char* replyRoot; ///< null when the reply has no document
};

constexpr const char* deviceFacts =
    "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"
    "<mnc>05</mnc><hashedMSIN>AcOrfXKVzwdVPSFn7onbYjOWRP8=</hashedMSIN>";

// The order matters: the last ones end the token and change the name.
const QVector<OperationCase>& operationCases()
{
    static const QByteArray activation =
        "<serviceTag>dGFn</serviceTag>"_ba + deviceFacts +
        "<userData><email>phone@mail.example</email><password>U2VjcmV0IDEh</password>"
        "<country>FI</country></userData><marketingConsent><email>true</email>"
        "<mobile>false</mobile><serviceId>OneConsent</serviceId></marketingConsent>";
    static const QByteArray device =
        "<deviceInformation>"_ba + deviceFacts + "</deviceInformation>";
    static const QVector<OperationCase> cases = {
        {1, "token creation", "POST", "tokens", "tokenCreationRequest",
         "<digestAuth><username>alice</username><nonce>n</nonce><created>c</created>"
         "<digest>{digest}</digest></digestAuth><checkTerms>true</checkTerms>",
         false, 200, "tokenCreationResponse"},
        {3, "user name availability", "GET", "availability/nobody", nullptr, "", false, 200,
         "userNameAvailabilityResponse"},
        {4, "captcha", "POST", "captchas", "captchaCreationRequest",
         "<width>200</width><height>60</height>", false, 200, "captchaCreationResponse"},
        {5, "registration", "POST", "accounts", "registrationRequest",
         "<serviceTag>dGFn</serviceTag><userData><email>new@mail.example</email>"
         "<password>U2VjcmV0IDEh</password><country></country></userData><marketingConsent>"
         "<email>true</email><mobile>false</mobile><serviceId>OneConsent</serviceId>"
         "</marketingConsent>",
         false, 200, "registrationResponse"},
        {5, "phone activation", "POST", "phoneactivationregistration",
         "phoneActivationRegistrationRequest", activation.constData(), false, 200,
         "phoneActivationRegistrationResponse"},
        {6, "security questions", "GET", "securityquestions", nullptr, "", false, 200,
         "securityQuestionsResponse"},
        {7, "detection", "POST", "autodetection", "autoDetectionRequest", deviceFacts, false, 200,
         "autoDetectionResponse"},
        {8, "terms addresses", "GET", "services/music", nullptr, "", false, 200,
         "serviceQueryResponse"},
        {10, "recovery message", "POST", "simplifiedpasswordrecovery/alice/send",
         "simplifiedSendRecoveryMessageRequest",
         "<serviceTag>dGFn</serviceTag><sendPlainToken></sendPlainToken>", false, 200, nullptr},
        {11, "e-mail availability", "POST", "emailavailability/", "emailAvailabilityRequest",
         "<email>free@mail.example</email><serviceTag>dGFn</serviceTag>", false, 200, nullptr},
        {12, "consent variant", "POST", "consentqueryvariant", "consentQueryVariantRequest",
         deviceFacts, false, 200, "consentQueryVariantResponse"},
        // With a token that there is not, which is found last.
        {13, "reset", "PUT", "simplifiedpasswordrecovery/alice/change",
         "simplifiedChangePasswordRequest",
         "<securityToken>{recovery}</securityToken><newPassword>c2VjcmV0</newPassword>", false, 200,
         "simplifiedChangePasswordResponse"},
        {14, "question of a user", "GET", "simplifiedpasswordrecovery/asked/question", nullptr, "",
         false, 200, "simplifiedPasswordQuestionResponse"},
        {15, "password", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<userData><password>c2VjcmV0</password></userData>", true, 200, "profileUpdateResponse"},
        {16, "consent", "GET", "accounts/{id}/marketing", nullptr, "", true, 200,
         "marketingConsentQueryResponse"},
        {17, "consent update", "PUT", "accounts/{id}/marketing", "marketingConsentUpdateRequest",
         "<marketingConsent><email>true</email><mobile>false</mobile></marketingConsent>", true,
         200, nullptr},
        {18, "contacts", "GET", "accounts/{id}/contacts", nullptr, "", true, 200,
         "contactsUpdateResponse"},
        {19, "contacts update", "PUT", "accounts/{id}/contacts", "contactsUpdateRequest",
         "<mobileContacts></mobileContacts><emailContacts></emailContacts>", true, 200,
         "contactsUpdateResponse"},
        {20, "terms", "GET", "terms/{id}", nullptr, "", true, 200, "termsQueryResponse"},
        {21, "terms update", "POST", "terms/{id}", "termsUpdateRequest",
         "<hasAcceptedTos>true</hasAcceptedTos>"
         "<hasAcceptedServiceSpecificTos>true</hasAcceptedServiceSpecificTos>"
         "<hasAcceptedPrivacyPolicy>true</hasAcceptedPrivacyPolicy>",
         true, 200, nullptr},
        {22, "profile", "GET", "accounts/{id}/profile", nullptr, "", true, 200,
         "profileQueryResponse"},
        {23, "profile update", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<userData><mobile></mobile><email>erin@mail.example</email><firstName></firstName>"
         "<lastName></lastName></userData>",
         true, 200, "profileUpdateResponse"},
        {24, "question update", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<userData><passwordQuestion>3</passwordQuestion><passwordAnswer>Rex</passwordAnswer>"
         "</userData>",
         true, 200, "profileUpdateResponse"},
        {25, "user name", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<username>erin</username><userData></userData>", true, 200, "profileUpdateResponse"},
        {26, "devices", "POST", "accounts/{id}/devices", "devicesUpdateRequest", device.constData(),
         true, 200, nullptr},
        {2, "refresh", "PUT", "tokens/{token}", nullptr, "", true, 200, "tokenRefreshResponse"},
        {9, "deletion", "DELETE", "tokens/{token}", nullptr, "", true, 200, nullptr},
    };
    return cases;
}

} // namespace

Q_DECLARE_METATYPE(const OperationCase*)

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

    void coversAll26Operations()
    {
        QSet<int> numbers;
        for (const OperationCase& row : operationCases())
            numbers.insert(row.operation);
        QSet<int> all;
        for (int number = 1; number <= 26; ++number)
            all.insert(number);
        QCOMPARE(numbers, all);
    }

    void answersAGoodRequest_data() { addCases(); }

    void answersAGoodRequest()
    {
        QFETCH(const OperationCase*, row);
        const Answer answer = mService.ask(requestOf(*row));
        QVERIFY2(answer.status == row->status, answer.body.constData());
        QCOMPARE(mService.latestOperation(), row->operation);
        QCOMPARE(mService.latestProblem(), QString());
        QCOMPARE(answer.tag(), QString::fromLatin1(row->replyRoot));
        QCOMPARE(answer.body.isEmpty(), row->replyRoot == nullptr);
        // Clients take any reply with this word in it for an error.
        QVERIFY(!answer.body.contains("error"));
        QVERIFY(!answer.body.contains("Error"));
    }

    void refusesATokenThatIsNone_data() { addCases(true); }

    void refusesATokenThatIsNone()
    {
        QFETCH(const OperationCase*, row);
        for (const QByteArray& token : {QByteArray(), "0123456789abcdef"_ba}) {
            SignedRequest request = requestOf(*row);
            request.token = token;
            const Answer answer = mService.ask(request);
            QCOMPARE(answer.status, 401);
            QCOMPARE(answer.errorCode(), "invalidAccessToken"_s);
            QCOMPARE(mService.latestProblem(), token.isNull()
                                                   ? "oauth_token is missing from the header"_s
                                                   : "oauth_token is unknown or has expired"_s);
        }
    }

    void refusesTheTokenOfAnotherAccount_data() { addCases(true); }

    void refusesTheTokenOfAnotherAccount()
    {
        QFETCH(const OperationCase*, row);
        SignedRequest request = requestOf(*row);
        request.token = mService.tokenOf("alice").token;
        QVERIFY(!request.token.isEmpty());
        const Answer answer = mService.ask(request);
        // Of the token operations the address is a token itself.
        const bool isToken = QByteArray(row->path).startsWith("tokens/");
        QCOMPARE(answer.status, isToken ? 401 : 403);
        QCOMPARE(answer.errorCode(), isToken ? "invalidAccessToken"_s : "notAuthorized"_s);
        QCOMPARE(mService.tokenOf("erin@mail.example").accountId, mErin.accountId);
    }

    void refusesATokenWhereNoneBelongs_data() { addCases(false); }

    void refusesATokenWhereNoneBelongs()
    {
        QFETCH(const OperationCase*, row);
        SignedRequest request = requestOf(*row);
        request.token = mErin.token;
        verifyMalformed(mService.ask(request),
                        "oauth_token is sent with an operation that needs none");
    }

    void refusesADocumentTooManyOrTooFew_data() { addCases(); }

    void refusesADocumentTooManyOrTooFew()
    {
        QFETCH(const OperationCase*, row);
        SignedRequest request = requestOf(*row);
        if (!row->root) {
            request.document = ServiceClient::document("someRequest", {});
            verifyMalformed(mService.ask(request), "this operation has no document");
            return;
        }
        request.document.clear();
        const Answer answer = mService.ask(request);
        verifyMalformed(answer, "the document " + QByteArray(row->root) + " is missing");
        // Whoever looks at the reply alone learns it as well.
        QVERIFY(answer.at("errorText").contains(QLatin1String(row->root)));
    }

    void refusesADocumentOfAnotherForm_data()
    {
        QTest::addColumn<const OperationCase*>("row");
        for (const OperationCase& row : operationCases()) {
            if (row.root)
                QTest::newRow(row.name) << &row;
        }
    }

    void refusesADocumentOfAnotherForm()
    {
        QFETCH(const OperationCase*, row);
        SignedRequest request = requestOf(*row);
        request.document.insert(request.document.lastIndexOf("</"), "<extra></extra>");
        const Answer answer = mService.ask(request);
        QCOMPARE(answer.status, 400);
        QCOMPARE(answer.errorCode(), "invalidMessageFormat"_s);
        QVERIFY2(mService.latestProblem().endsWith(", found extra"_s),
                 qPrintable(mService.latestProblem()));
        QCOMPARE(answer.at("errorText"), mService.latestProblem());
    }

    void refusesOtherVerbs_data() { addCases(); }

    void refusesOtherVerbs()
    {
        QFETCH(const OperationCase*, row);
        for (const char* verb : {"GET", "POST", "PUT", "DELETE"}) {
            bool hasOperation = false;
            for (const OperationCase& other : operationCases()) {
                hasOperation = hasOperation || (qstrcmp(other.path, row->path) == 0 &&
                                                qstrcmp(other.verb, verb) == 0);
            }
            if (hasOperation)
                continue;
            SignedRequest request = requestOf(*row);
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
    static void addCases();
    static void addCases(bool needsToken);

    SignedRequest requestOf(const OperationCase& row)
    {
        QByteArray path = row.path;
        path.replace("{id}", mErin.accountId).replace("{token}", mErin.token);
        SignedRequest request("/rest/1.0/" + path);
        request.restVerb = row.verb;
        if (row.operation == 8)
            request.query = {{"lang", "fi"}, {"country", "FI"}, {"format", "html"}};
        if (row.needsToken)
            request.token = mErin.token;
        if (row.root) {
            const QByteArray digest =
                QCryptographicHash::hash("ncsecret", QCryptographicHash::Sha1).toBase64();
            const QJsonArray inbox =
                QJsonDocument::fromJson(
                    mService.emulator().admin("GET", "/inbox?name=alice"_s).body)
                    .array();
            const QByteArray recovery =
                inbox.last().toObject().value("token"_s).toString().toLatin1();
            request.document =
                ServiceClient::document(row.root, QByteArray(row.content)
                                                      .replace("{digest}", digest)
                                                      .replace("{recovery}", recovery));
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

void TestOperationsContract::addCases()
{
    QTest::addColumn<const OperationCase*>("row");
    for (const OperationCase& row : operationCases())
        QTest::newRow(row.name) << &row;
}

void TestOperationsContract::addCases(bool needsToken)
{
    QTest::addColumn<const OperationCase*>("row");
    for (const OperationCase& row : operationCases()) {
        if (row.needsToken == needsToken)
            QTest::newRow(row.name) << &row;
    }
}

QTEST_GUILESS_MAIN(TestOperationsContract)
#include "tst_operations_contract.moc"
