// SPDX-License-Identifier: LGPL-2.1-or-later
// What goes on behind the operations: the administrative endpoint, the inbox, the file, the log.
#include "emulator/serviceclient.h"

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
            "</email><password>" + QByteArray("plantedpassword").toBase64() +
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

struct Outcome
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

Outcome runEmulator(const QStringList& arguments, const QMap<QString, QString>& environment = {})
{
    BoundProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (auto it = environment.begin(); it != environment.end(); ++it)
        variables.insert(it.key(), it.value());
    process.setProcessEnvironment(variables);
    process.start(EmulatorProcess::program(), arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

class TestOperationsAdministration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void makesAndListsAccounts();
    void refusesMalformedAccounts_data();
    void refusesMalformedAccounts();
    void makesAllAccountsOrNone();
    void refusesMalformedPreAccounts_data();
    void refusesMalformedPreAccounts();
    void printsTheInbox();
    void printsTheInboxOfNobody();
    void tellsWhyThereIsNoInbox_data();
    void tellsWhyThereIsNoInbox();
    void refusesMalformedPreAccountOptions_data();
    void refusesMalformedPreAccountOptions();
    void keepsEverythingInAFile();
    void keepsTheFileFromOtherUsers();
    void bringsAnOlderFileUpToDate();
    void refusesFilesThatItDoesNotKnow_data();
    void refusesFilesThatItDoesNotKnow();
    void givesANameToOneOfMany();
    void logsAndListsNothingSecret();
    void answersNoWebPage_data();
    void answersNoWebPage();

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

void TestOperationsAdministration::initTestCase()
{
    QVERIFY2(mService.start({QStringLiteral("--verbose")}), mService.emulator().log().constData());
}

void TestOperationsAdministration::makesAndListsAccounts()
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
    QCOMPARE(alice.value(QStringLiteral("userName")).toString(), QStringLiteral("alice"));
    QCOMPARE(alice.value(QStringLiteral("email")).toString(), QStringLiteral("alice@example.org"));
    QJsonObject full = accounts.last().toObject();
    QVERIFY(!full.take(QStringLiteral("accountId")).toString().isEmpty());
    const QJsonObject expected = QJsonDocument::fromJson(R"({"userName": "full",
        "email": "full@mail.example", "emailVerified": false, "mobile": "+358401234567",
        "mobileVerified": true, "securityQuestion": "2", "language": "fi", "country": "FI",
        "dateOfBirth": "1980-02-29", "firstName": "F", "lastName": "L", "gender": "male",
        "marketingByEmail": false, "marketingByMobile": false, "locked": false})")
                                     .object();
    QCOMPARE(full, expected);
    QCOMPARE(mService.signIn("full", "plantedpassword").status, 200);
}

void TestOperationsAdministration::refusesMalformedAccounts_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("problem");
    const auto row = [](const char* name, const char* body, const char* problem) {
        QTest::newRow(name) << QByteArray(body) << QByteArray(problem);
    };
    row("nothing", "", "send names, one a line, or JSON");
    row("broken", "{\"userName\": ", "no JSON: ");
    row("empty array", "[]", "send a JSON object or an array of them");
    row("array of texts", R"(["a"])", "send JSON objects");
    row("empty object", "{}", "an account needs a userName or an email");
    row("unknown field", R"({"userName": "x", "shoe": "42"})", "there is no field shoe");
    row("number for text", R"({"userName": 5})", "userName must be a string");
    row("text for flag", R"({"userName": "x", "locked": "yes"})", "locked must be true or false");
    row("name", R"({"userName": "a b"})", "userName is malformed");
    row("address", R"({"email": "a"})", "email is malformed");
    row("password", R"({"userName": "x", "password": "abc"})", "password is malformed");
    row("question", R"({"userName": "x", "securityQuestion": "9"})",
        "securityQuestion is malformed");
    row("name taken", R"({"userName": "Alice"})", "an account has this userName already");
    row("address taken", R"({"userName": "x", "email": "ALICE@example.org"})",
        "an account has this email already");
}

void TestOperationsAdministration::refusesMalformedAccounts()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, problem);
    const int before = list("/accounts").size();
    const AdminReply reply = post("/accounts", body);
    QCOMPARE(reply.status, 400);
    QVERIFY2(reply.body.startsWith(problem), reply.body.constData());
    QCOMPARE(list("/accounts").size(), before);
}

void TestOperationsAdministration::makesAllAccountsOrNone()
{
    QCOMPARE(post("/accounts", R"([{"userName": "first"}, {"userName": "a b"}])").status, 400);
    QCOMPARE(post("/accounts", "second\nnot a name\n").status, 400);
    QCOMPARE(mService.ask("GET", "availability/first").status, 200);
    QCOMPARE(mService.ask("GET", "availability/second").status, 200);
}

void TestOperationsAdministration::refusesMalformedPreAccounts_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no number") << QByteArray("{}");
    QTest::newRow("number twice") << QByteArray(R"({"msin": "1", "hashedMsin": "AAAA"})");
    QTest::newRow("hash not base64") << QByteArray(R"({"hashedMsin": "A"})");
    QTest::newRow("country") << QByteArray(R"({"msin": "1", "country": "fi"})");
    QTest::newRow("unknown field") << QByteArray(R"({"msin": "1", "imei": "2"})");
}

void TestOperationsAdministration::refusesMalformedPreAccounts()
{
    QFETCH(QByteArray, body);
    QCOMPARE(post("/pre-accounts", body).status, 400);
}

void TestOperationsAdministration::printsTheInbox()
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
    const QByteArray token = first.value(QStringLiteral("token")).toString().toLatin1();
    const QByteArray sent = first.value(QStringLiteral("sent")).toString().toLatin1();
    const auto environment = mService.emulator().environment();

    const Outcome one = runEmulator({QStringLiteral("inbox"), QStringLiteral("ANN")}, environment);
    QCOMPARE(one.status, 0);
    QCOMPARE(one.output, "To:   ann@mail.example (ann)\nSent: " + sent +
                             "\n\n    Line 1\n    Line 2 \xc3\xa4\n    " + token + '\n');
    const Outcome all = runEmulator({QStringLiteral("inbox")}, environment);
    QVERIFY(all.output.startsWith(one.output));
    QVERIFY(all.output.contains("To:   bea@mail.example ("));
    const Outcome other =
        runEmulator({QStringLiteral("inbox"), QStringLiteral("bea@mail.example")}, environment);
    QVERIFY(other.output.startsWith("To:   bea@mail.example ("));
    QVERIFY(!other.output.contains("ann@mail.example"));
}

void TestOperationsAdministration::printsTheInboxOfNobody()
{
    const Outcome none = runEmulator({QStringLiteral("inbox"), QStringLiteral("x&y=z")},
                                     mService.emulator().environment());
    QCOMPARE(none.status, 0);
    QCOMPARE(none.output, QByteArray("No messages.\n"));
}

void TestOperationsAdministration::tellsWhyThereIsNoInbox_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("problem");
    const QString inbox = QStringLiteral("inbox");
    QTest::newRow("outside") << QStringList{inbox} << QString() << 125
                             << QByteArray("KELACCOUNT_EMULATOR_ADMIN is not set");
    // The discard port of this machine, where nobody listens.
    QTest::newRow("emulator gone") << QStringList{inbox} << QStringLiteral("http://127.0.0.1:9")
                                   << 125 << QByteArray("no emulator answers at http://127.0.0.1");
    QTest::newRow("two names") << QStringList{inbox, QStringLiteral("a"), QStringLiteral("b")}
                               << QStringLiteral("http://127.0.0.1:9") << 2
                               << QByteArray("inbox takes a name or nothing");
    QTest::newRow("option") << QStringList{inbox, QStringLiteral("--verbose")}
                            << QStringLiteral("http://127.0.0.1:9") << 2
                            << QByteArray("inbox takes a name or nothing");
}

void TestOperationsAdministration::tellsWhyThereIsNoInbox()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, address);
    QFETCH(int, status);
    QFETCH(QByteArray, problem);
    const Outcome outcome =
        runEmulator(arguments, {{QStringLiteral("KELACCOUNT_EMULATOR_ADMIN"), address}});
    QCOMPARE(outcome.status, status);
    QVERIFY2(outcome.errors.contains(problem), outcome.errors.constData());
    QCOMPARE(outcome.errors.count('\n'), 1);
}

void TestOperationsAdministration::refusesMalformedPreAccountOptions_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("nothing") << QString();
    QTest::newRow("too much") << QStringLiteral("1,a,+358401234567,FI,x");
    QTest::newRow("number") << QStringLiteral("1,a,040");
    QTest::newRow("name") << QStringLiteral("1,a b");
}

void TestOperationsAdministration::refusesMalformedPreAccountOptions()
{
    QFETCH(QString, value);
    const Outcome outcome =
        runEmulator({QStringLiteral("serve"), QStringLiteral("--pre-account"), value});
    QCOMPARE(outcome.status, 2);
    QVERIFY2(outcome.errors.contains("--pre-account cannot take '"), outcome.errors.constData());
}

void TestOperationsAdministration::keepsEverythingInAFile()
{
    const QTemporaryDir folder;
    const QStringList options{QStringLiteral("--database"),
                              folder.filePath(QStringLiteral("service.db"))};
    SignedIn alice;
    QByteArray captchaId;
    {
        ServiceClient service;
        QVERIFY2(service.start(options), service.emulator().log().constData());
        alice = service.tokenOf("alice");
        captchaId = service.captcha().first;
        QCOMPARE(
            service
                .ask("PUT", "accounts/" + alice.accountId + "/profile",
                     ServiceClient::document("profileUpdateRequest",
                                             "<userData><passwordQuestion>2</passwordQuestion>"
                                             "<passwordAnswer>Turku</passwordAnswer></userData>"),
                     alice.token)
                .status,
            200);
        QCOMPARE(
            service.ask("POST", "simplifiedpasswordrecovery/alice/send", recoveryDocument("Hello"))
                .status,
            200);
    }
    ServiceClient service;
    QVERIFY2(service.start(options), service.emulator().log().constData());
    QCOMPARE(service.ask("GET", "accounts/" + alice.accountId + "/profile", {}, alice.token)
                 .at("profile/passwordQuestion"),
             QStringLiteral("2"));
    QVERIFY(service.emulator().admin("GET", QStringLiteral("/inbox")).body.contains("Hello"));
    QCOMPARE(service.emulator()
                 .admin("GET", QLatin1String("/captchas/") + QString::fromLatin1(captchaId))
                 .status,
             200);
}

void TestOperationsAdministration::keepsTheFileFromOtherUsers()
{
    const QTemporaryDir folder;
    const QString made = folder.filePath(QStringLiteral("made.db"));
    // One that an earlier version left readable.
    const QString found = folder.filePath(QStringLiteral("found.db"));
    QVERIFY(makeFile(found, "PRAGMA user_version = 0"));
    QVERIFY(QFile::setPermissions(found, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                             QFile::ReadOther));
    for (const QString& file : {made, found}) {
        ServiceClient service;
        QVERIFY2(service.start({QStringLiteral("--database"), file}),
                 service.emulator().log().constData());
        QVERIFY(!service.tokenOf("alice").token.isEmpty());
        struct stat state = {};
        QCOMPARE(::stat(file.toLocal8Bit().constData(), &state), 0);
        QCOMPARE(QByteArray::number(state.st_mode & 07777U, 8), QByteArray("600"));
    }
}

void TestOperationsAdministration::bringsAnOlderFileUpToDate()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("old.db"));
    // As the first version of this program made it.
    QVERIFY(makeFile(file, "CREATE TABLE accounts (id INTEGER PRIMARY KEY,"
                           " name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
                           "CREATE TABLE reserved_names (name TEXT PRIMARY KEY COLLATE NOCASE)"
                           " WITHOUT ROWID;"
                           "INSERT INTO accounts VALUES (7, 'oldie');"
                           "INSERT INTO reserved_names VALUES ('kept');"));
    ServiceClient service;
    QVERIFY2(service.start({QStringLiteral("--database"), file}),
             service.emulator().log().constData());
    const Answer answer = service.signIn("oldie@example.org", "secret");
    QCOMPARE(answer.at("userInfo/accountId"), QStringLiteral("7"));
    QCOMPARE(answer.at("userInfo/username"), QStringLiteral("oldie"));
    QCOMPARE(service.ask("GET", "availability/kept").errorCode(),
             QStringLiteral("usernameReserved"));
    // Numbers go on from the highest.
    QVERIFY(service.tokenOf("alice").accountId.toInt() > 7);
}

void TestOperationsAdministration::refusesFilesThatItDoesNotKnow_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("problem");
    QTest::newRow("newer") << QByteArray("PRAGMA user_version = 99")
                           << QByteArray("a newer program made it");
    QTest::newRow("other columns")
        << QByteArray("CREATE TABLE accounts (shoe INTEGER)") << QByteArray("no such column: ");
    QTest::newRow("today's version without tables")
        << QByteArray("PRAGMA user_version = 2") << QByteArray("no such table: ");
}

void TestOperationsAdministration::refusesFilesThatItDoesNotKnow()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, problem);
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("other.db"));
    QVERIFY(makeFile(file, script.constData()));
    QFile before(file);
    QVERIFY(before.open(QIODevice::ReadOnly));
    const QByteArray bytes = before.readAll();
    const Outcome outcome = runEmulator({QStringLiteral("serve"), QStringLiteral("--no-session"),
                                         QStringLiteral("--database"), file});
    QCOMPARE(outcome.status, 125);
    QVERIFY2(outcome.errors.contains(problem), outcome.errors.constData());
    QFile after(file);
    QVERIFY(after.open(QIODevice::ReadOnly));
    QCOMPARE(after.readAll(), bytes);
}

void TestOperationsAdministration::givesANameToOneOfMany()
{
    constexpr int clients = 8;
    std::vector<Answer> answers(clients);
    std::vector<std::thread> threads;
    for (int client = 0; client < clients; ++client) {
        threads.emplace_back([&, client] {
            answers[static_cast<size_t>(client)] =
                mService.ask("POST", "accounts",
                             registrationDocument("wanted", "wanted" + QByteArray::number(client) +
                                                                "@mail.example"));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    int registered = 0;
    for (const Answer& answer : answers) {
        registered += answer.status == 200 ? 1 : 0;
        QVERIFY(answer.status == 200 || !answer.at("registrationError/usernameReserved").isEmpty());
    }
    QCOMPARE(registered, 1);
}

void TestOperationsAdministration::logsAndListsNothingSecret()
{
    const Answer answer =
        mService.ask("POST", "accounts", registrationDocument("planter", "planter@mail.example"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(mService.signIn("planter", "plantedpasswordtoo").status, 401);
    const QByteArray token = answer.at("tokenInfo/token").toLatin1();
    const QByteArray secret = answer.at("tokenInfo/tokenSecret").toLatin1();
    QCOMPARE(mService.ask("PUT", "tokens/" + token, {}, token).status, 200);
    QCOMPARE(mService.ask("DELETE", "tokens/" + token, {}, token).status, 401);
    QCOMPARE(
        mService
            .ask("PUT", "simplifiedpasswordrecovery/planter/change",
                 ServiceClient::document("simplifiedChangePasswordRequest",
                                         "<securityToken>plantedtoken</securityToken>"
                                         "<newPassword>" +
                                             QByteArray("plantedpassword").toBase64() +
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
                           mService.emulator().admin("GET", QStringLiteral("/requests")).body +
                           mService.emulator().admin("GET", QStringLiteral("/accounts")).body;
    QVERIFY(all.contains("planter@mail.example"));
    QVERIFY(!all.contains("planted"));
    QVERIFY(!all.contains(QByteArray("plantedpassword").toBase64()));
    QVERIFY(!all.contains(token));
    QVERIFY(!all.contains(secret));
}

void TestOperationsAdministration::answersNoWebPage_data()
{
    const QByteArray port =
        QUrl(mService.emulator().environment().value(QStringLiteral("KELACCOUNT_EMULATOR_ADMIN")))
            .authority()
            .toLatin1()
            .mid(9);
    QTest::addColumn<QByteArray>("heading");
    QTest::addColumn<bool>("answered");
    QTest::newRow("address") << QByteArray("Host: 127.0.0.1" + port + "\r\n") << true;
    QTest::newRow("name") << QByteArray("Host: localhost" + port + "\r\n") << true;
    QTest::newRow("rebound name") << QByteArray("Host: page.example" + port + "\r\n") << false;
    QTest::newRow("name of its own") << QByteArray("Host: localhost.page.example\r\n") << false;
    QTest::newRow("another port") << QByteArray("Host: 127.0.0.1:1\r\n") << false;
    QTest::newRow("no name") << QByteArray() << false;
    QTest::newRow("two names") << QByteArray("Host: localhost\r\nHost: page.example\r\n") << false;
    QTest::newRow("order from a page")
        << QByteArray("Host: 127.0.0.1" + port + "\r\nOrigin: http://page.example\r\n") << false;
    QTest::newRow("order from nowhere")
        << QByteArray("Host: 127.0.0.1" + port + "\r\nOrigin: null\r\n") << false;
}

void TestOperationsAdministration::answersNoWebPage()
{
    QFETCH(QByteArray, heading);
    QFETCH(bool, answered);
    const QString address =
        mService.emulator().environment().value(QStringLiteral("KELACCOUNT_EMULATOR_ADMIN"));
    const AdminReply accounts =
        askAdministration(address, "GET", QStringLiteral("/accounts"), {}, heading);
    QCOMPARE(accounts.status, answered ? 200 : 403);
    QCOMPARE(accounts.body.contains("alice"), answered);
    const AdminReply order =
        askAdministration(address, "POST", QStringLiteral("/accept"), {}, heading);
    QCOMPARE(order.status, answered ? 200 : 403);
}

QTEST_GUILESS_MAIN(TestOperationsAdministration)
#include "tst_operations_administration.moc"
