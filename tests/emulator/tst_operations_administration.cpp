// SPDX-License-Identifier: LGPL-2.1-or-later
// What goes on behind the operations: the administrative endpoint, the inbox, the file, the log.
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <thread>
#include <vector>

namespace {

const QByteArray sendToken = "<serviceTag>dGFn</serviceTag><messageBody>";

QByteArray recoveryDocument(const QByteArray& message)
{
    return ServiceClient::document("simplifiedSendRecoveryMessageRequest",
                                   sendToken + message + "</messageBody>");
}

QByteArray registrationDocument(const QByteArray& name, const QByteArray& email)
{
    return ServiceClient::document(
        "registrationRequest",
        "<serviceTag>dGFn</serviceTag><username>" + name + "</username><userData><email>" + email +
            "</email><password>" + "plantedpassword"_ba.toBase64() +
            "</password><passwordQuestion>1</passwordQuestion>"
            "<passwordAnswer>plantedanswer</passwordAnswer><country>FI</country></userData>"
            "<marketingConsent><email>true</email><mobile>true</mobile>"
            "<serviceId>OneConsent</serviceId></marketingConsent>");
}

} // namespace

class TestOperationsAdministration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mService.start({"--verbose"_s}), mService.emulator().log().constData());
    }

    void makesAndListsAccounts()
    {
        QCOMPARE(post("/accounts", R"({"userName": "full", "password": "plantedpassword",
            "email": "full@mail.example", "emailVerified": false, "mobile": "+358401234567",
            "mobileVerified": true, "securityQuestion": "2", "securityAnswer": "plantedanswer",
            "language": "fi", "country": "FI", "dateOfBirth": "1980-02-29", "firstName": "F",
            "lastName": "L", "gender": "male"})")
                     .status,
                 200);
        const QJsonArray accounts = list("/accounts");
        QCOMPARE(accounts.size(), 2);
        QJsonObject alice = accounts.first().toObject();
        QCOMPARE(alice.value("userName"_s).toString(), "alice"_s);
        QCOMPARE(alice.value("email"_s).toString(), "alice@example.org"_s);
        QJsonObject full = accounts.last().toObject();
        QVERIFY(!full.take("accountId"_s).toString().isEmpty());
        const QJsonObject expected = QJsonDocument::fromJson(R"({"userName": "full",
            "email": "full@mail.example", "emailVerified": false, "mobile": "+358401234567",
            "mobileVerified": true, "securityQuestion": "2", "language": "fi", "country": "FI",
            "dateOfBirth": "1980-02-29", "firstName": "F", "lastName": "L", "gender": "male",
            "marketingByEmail": false, "marketingByMobile": false, "locked": false})")
                                         .object();
        QCOMPARE(full, expected);
        QCOMPARE(mService.signIn("full", "plantedpassword").status, 200);
    }

    void refusesWhatIsMalformed_data()
    {
        rowsOfFile(KELACCOUNT_TEST_DATA "/malformed.tsv", {"path", "body", "problem"});
    }
    void refusesWhatIsMalformed()
    {
        const auto [path, body, problem] =
            fetch<QByteArray, QByteArray, QByteArray>("path", "body", "problem");
        const int before = list("/accounts").size();
        const AdminReply reply = post(path.constData(), body);
        QCOMPARE(reply.status, 400);
        QVERIFY2(reply.body.startsWith(problem), reply.body.constData());
        QCOMPARE(list("/accounts").size(), before);
    }

    void makesAllAccountsOrNone()
    {
        QCOMPARE(post("/accounts", R"([{"userName": "first"}, {"userName": "a b"}])").status, 400);
        QCOMPARE(post("/accounts", "second\nnot a name\n").status, 400);
        QCOMPARE(mService.ask("GET", "availability/first").status, 200);
        QCOMPARE(mService.ask("GET", "availability/second").status, 200);
    }

    void printsTheInbox()
    {
        QVERIFY(mService.addAccount(
            R"([{"userName": "ann", "email": "ann@mail.example"}, {"email": "bea@mail.example"}])"));
        for (const char* user : {"ann", "bea@mail.example"}) {
            QCOMPARE(mService
                         .ask("POST", "simplifiedpasswordrecovery/" + QByteArray(user) + "/send",
                              recoveryDocument("Line 1\nLine 2 \xc3\xa4"))
                         .status,
                     200);
        }
        const QJsonObject first = list("/inbox?name=ann").first().toObject();
        const QByteArray token = first.value("token"_s).toString().toLatin1();
        const QByteArray sent = first.value("sent"_s).toString().toLatin1();
        const auto environment = mService.emulator().environment();

        const ProgramRun one = EmulatorProcess::run({"inbox"_s, "ANN"_s}, environment);
        QCOMPARE(one.status, 0);
        QCOMPARE(one.output, "To:   ann@mail.example (ann)\nSent: " + sent +
                                 "\n\n    Line 1\n    Line 2 \xc3\xa4\n    " + token + '\n');
        const ProgramRun all = EmulatorProcess::run({"inbox"_s}, environment);
        QVERIFY(all.output.startsWith(one.output));
        QVERIFY(all.output.contains("To:   bea@mail.example ("));
        const ProgramRun other =
            EmulatorProcess::run({"inbox"_s, "bea@mail.example"_s}, environment);
        QVERIFY(other.output.startsWith("To:   bea@mail.example ("));
        QVERIFY(!other.output.contains("ann@mail.example"));
    }

    void keepsEverythingInAFile()
    {
        const QTemporaryDir folder;
        const QStringList options{"--database"_s, folder.filePath("service.db"_s)};
        SignedIn alice;
        QByteArray captchaId;
        {
            ServiceClient service;
            QVERIFY2(service.start(options), service.emulator().log().constData());
            alice = service.tokenOf("alice");
            captchaId = service.captcha().first;
            QCOMPARE(service
                         .ask("PUT", "accounts/" + alice.accountId + "/profile",
                              ServiceClient::document(
                                  "profileUpdateRequest",
                                  "<userData><passwordQuestion>2</passwordQuestion>"
                                  "<passwordAnswer>Turku</passwordAnswer></userData>"),
                              alice.token)
                         .status,
                     200);
            QCOMPARE(
                service
                    .ask("POST", "simplifiedpasswordrecovery/alice/send", recoveryDocument("Hello"))
                    .status,
                200);
        }
        ServiceClient service;
        QVERIFY2(service.start(options), service.emulator().log().constData());
        QCOMPARE(service.ask("GET", "accounts/" + alice.accountId + "/profile", {}, alice.token)
                     .at("profile/passwordQuestion"),
                 "2"_s);
        QVERIFY(service.emulator().admin("GET", "/inbox"_s).body.contains("Hello"));
        QCOMPARE(
            service.emulator().admin("GET", "/captchas/"_s + QString::fromLatin1(captchaId)).status,
            200);
    }

    void givesANameToOneOfMany()
    {
        constexpr int clients = 8;
        std::vector<Answer> answers(clients);
        std::vector<std::thread> threads;
        for (int client = 0; client < clients; ++client) {
            threads.emplace_back([&, client] {
                answers[static_cast<size_t>(client)] = mService.ask(
                    "POST", "accounts",
                    registrationDocument("wanted",
                                         "wanted" + QByteArray::number(client) + "@mail.example"));
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        int registered = 0;
        for (const Answer& answer : answers) {
            registered += answer.status == 200 ? 1 : 0;
            QVERIFY(answer.status == 200 ||
                    !answer.at("registrationError/usernameReserved").isEmpty());
        }
        QCOMPARE(registered, 1);
    }

    void logsAndListsNothingSecret()
    {
        const Answer answer = mService.ask("POST", "accounts",
                                           registrationDocument("planter", "planter@mail.example"));
        QCOMPARE(answer.status, 200);
        QCOMPARE(mService.signIn("planter", "plantedpasswordtoo").status, 401);
        const QByteArray token = answer.at("tokenInfo/token").toLatin1();
        const QByteArray secret = answer.at("tokenInfo/tokenSecret").toLatin1();
        QCOMPARE(mService.ask("PUT", "tokens/" + token, {}, token).status, 200);
        QCOMPARE(mService.ask("DELETE", "tokens/" + token, {}, token).status, 401);
        QCOMPARE(mService
                     .ask("PUT", "simplifiedpasswordrecovery/planter/change",
                          ServiceClient::document(
                              "simplifiedChangePasswordRequest",
                              "<securityToken>plantedtoken</securityToken>"
                              "<newPassword>" +
                                  "plantedpassword"_ba.toBase64() +
                                  "</newPassword><passwordQuestionAnswer>plantedanswer"
                                  "</passwordQuestionAnswer>"))
                     .status,
                 401);
        // Malformed documents are the ones that are complained about.
        QCOMPARE(mService
                     .ask("POST", "accounts",
                          registrationDocument("planter", "planter@mail.example")
                              .replace("<country>FI</country>", "plantedtext"))
                     .status,
                 400);
        QVERIFY(mService.emulator().logHas("text or white space between the elements of userData"));
        const QByteArray all = mService.emulator().log() +
                               mService.emulator().admin("GET", "/requests"_s).body +
                               mService.emulator().admin("GET", "/accounts"_s).body;
        QVERIFY(all.contains("planter@mail.example"));
        QVERIFY(!all.contains("planted"));
        QVERIFY(!all.contains("plantedpassword"_ba.toBase64()));
        QVERIFY(!all.contains(token));
        QVERIFY(!all.contains(secret));
    }

private:
    AdminReply post(const char* path, const QByteArray& body)
    {
        return mService.emulator().admin("POST", QLatin1String(path), body);
    }
    QJsonArray list(const char* path)
    {
        const AdminReply reply = mService.emulator().admin("GET", QLatin1String(path));
        return QJsonDocument::fromJson(reply.body).array();
    }

    ServiceClient mService;
};

QTEST_GUILESS_MAIN(TestOperationsAdministration)
#include "tst_operations_administration.moc"
