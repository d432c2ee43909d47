// SPDX-License-Identifier: LGPL-2.1-or-later
// What goes on behind the operations: the administrative endpoint, the inbox, the file, the log.
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <sqlite3.h>
#include <sys/stat.h>
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

/// Makes an SQLite file by a script of its own.
bool makeFile(const QString& path, const char* script)
{
    sqlite3* database = nullptr;
    const bool good = sqlite3_open(path.toLocal8Bit().constData(), &database) == SQLITE_OK &&
                      sqlite3_exec(database, script, nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(database);
    return good;
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

    void keepsTheFileFromOtherUsers()
    {
        const QTemporaryDir folder;
        const QString made = folder.filePath("made.db"_s);
        // One that an earlier version left readable.
        const QString found = folder.filePath("found.db"_s);
        QVERIFY(makeFile(found, "PRAGMA user_version = 0"));
        QVERIFY(QFile::setPermissions(found, QFile::ReadOwner | QFile::WriteOwner |
                                                 QFile::ReadGroup | QFile::ReadOther));
        for (const QString& file : {made, found}) {
            ServiceClient service;
            QVERIFY2(service.start({"--database"_s, file}), service.emulator().log().constData());
            QVERIFY(!service.tokenOf("alice").token.isEmpty());
            struct stat state = {};
            QCOMPARE(::stat(file.toLocal8Bit().constData(), &state), 0);
            QCOMPARE(QByteArray::number(state.st_mode & 07777U, 8), "600"_ba);
        }
    }

    void bringsAnOlderFileUpToDate()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath("old.db"_s);
        // As the first version of this program made it.
        QVERIFY(makeFile(file, "CREATE TABLE accounts (id INTEGER PRIMARY KEY,"
                               " name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
                               "CREATE TABLE reserved_names (name TEXT PRIMARY KEY COLLATE NOCASE)"
                               " WITHOUT ROWID;"
                               "INSERT INTO accounts VALUES (7, 'oldie');"
                               "INSERT INTO reserved_names VALUES ('kept');"));
        ServiceClient service;
        QVERIFY2(service.start({"--database"_s, file}), service.emulator().log().constData());
        const Answer answer = service.signIn("oldie@example.org", "secret");
        QCOMPARE(answer.at("userInfo/accountId"), "7"_s);
        QCOMPARE(answer.at("userInfo/username"), "oldie"_s);
        QCOMPARE(service.ask("GET", "availability/kept").errorCode(), "usernameReserved"_s);
        // Numbers go on from the highest.
        QVERIFY(service.tokenOf("alice").accountId.toInt() > 7);
    }

    void refusesFilesThatItDoesNotKnow_data()
    {
        const auto row = rows<QByteArray, QByteArray>("script", "problem");
        row("newer", "PRAGMA user_version = 99", "a newer program made it");
        row("other columns", "CREATE TABLE accounts (shoe INTEGER)", "no such column: ");
        row("today's version without tables", "PRAGMA user_version = 2", "no such table: ");
    }
    void refusesFilesThatItDoesNotKnow()
    {
        const auto [script, problem] = fetch<QByteArray, QByteArray>("script", "problem");
        const QTemporaryDir folder;
        const QString file = folder.filePath("other.db"_s);
        QVERIFY(makeFile(file, script.constData()));
        QFile before(file);
        QVERIFY(before.open(QIODevice::ReadOnly));
        const QByteArray bytes = before.readAll();
        const ProgramRun outcome =
            EmulatorProcess::run({"serve"_s, "--no-session"_s, "--database"_s, file});
        QCOMPARE(outcome.status, 125);
        QVERIFY2(outcome.errors.contains(problem), outcome.errors.constData());
        QFile after(file);
        QVERIFY(after.open(QIODevice::ReadOnly));
        QCOMPARE(after.readAll(), bytes);
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

    void answersNoWebPage_data()
    {
        const QByteArray port =
            QUrl(mService.emulator().environment().value("KELACCOUNT_EMULATOR_ADMIN"_s))
                .authority()
                .toLatin1()
                .mid(9);
        const auto row = rows<QByteArray, bool>("heading", "answered");
        row("address", "Host: 127.0.0.1" + port + "\r\n", true);
        row("name", "Host: localhost" + port + "\r\n", true);
        row("rebound name", "Host: page.example" + port + "\r\n", false);
        row("name of its own", "Host: localhost.page.example\r\n", false);
        row("another port", "Host: 127.0.0.1:1\r\n", false);
        row("no name", {}, false);
        row("two names", "Host: localhost\r\nHost: page.example\r\n", false);
        row("order from a page", "Host: 127.0.0.1" + port + "\r\nOrigin: http://page.example\r\n",
            false);
        row("order from nowhere", "Host: 127.0.0.1" + port + "\r\nOrigin: null\r\n", false);
    }
    void answersNoWebPage()
    {
        const auto [heading, answered] = fetch<QByteArray, bool>("heading", "answered");
        const QString address =
            mService.emulator().environment().value("KELACCOUNT_EMULATOR_ADMIN"_s);
        const AdminReply accounts = askAdministration(address, "GET", "/accounts"_s, {}, heading);
        QCOMPARE(accounts.status, answered ? 200 : 403);
        QCOMPARE(accounts.body.contains("alice"), answered);
        const AdminReply order = askAdministration(address, "POST", "/accept"_s, {}, heading);
        QCOMPARE(order.status, answered ? 200 : 403);
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
