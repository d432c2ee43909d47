// SPDX-License-Identifier: LGPL-2.1-or-later
// Locked accounts, recovery messages and passwords set anew.
#include "emulator/serviceclient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {

const QByteArray revokedTag = "cmV2b2tlZDE="; // revoked1

/// The element, or nothing for an empty text.
QByteArray element(const char* name, const QByteArray& text)
{
    return text.isEmpty() ? QByteArray() : '<' + QByteArray(name) + '>' + text + "</" + name + '>';
}

} // namespace

class TestOperationsRecovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void locksAnAccountAfterTenWrongPasswords();
    void sendsRecoveryMessages_data();
    void sendsRecoveryMessages();
    void refusesRecoveryMessages_data();
    void refusesRecoveryMessages();
    void resetsAPasswordByTokenAndAnswer();
    void resetsAPasswordWithoutAQuestion();
    void endsARecoveryAfterTenWrongAnswers();
    void asksTheQuestionOfAUser();

private:
    Answer sendRecovery(const QByteArray& user, const QByteArray& content);
    Answer reset(const QByteArray& user, const QByteArray& token, const QByteArray& password,
                 const QByteArray& answer = {});
    QJsonObject latestMessage(const char* receiver);

    ServiceClient mService;
};

void TestOperationsRecovery::initTestCase()
{
    QVERIFY2(mService.start(), mService.emulator().log().constData());
    QVERIFY(mService.addAccount(
        R"([{"userName": "kim", "email": "kim@mail.example", "mobile": "+358401234567"},
            {"userName": "smsonly", "mobile": "+358401111111"},
            {"userName": "nowhere"},
            {"userName": "bounce", "email": "bounce@unreachable.example"},
            {"userName": "farnumber", "mobile": "+99912345678"},
            {"userName": "pet", "email": "pet@xn--bcher-kva.example", "securityQuestion": "1",
             "securityAnswer": "Rex"}])"));
}

void TestOperationsRecovery::locksAnAccountAfterTenWrongPasswords()
{
    QVERIFY(mService.addAccount(R"({"userName": "victim"})"));
    for (int attempt = 1; attempt <= 9; ++attempt)
        QCOMPARE(mService.signIn("victim", "wrong").errorCode(), QStringLiteral("notAuthorized"));
    // A right password in time makes up for the wrong ones.
    QCOMPARE(mService.signIn("victim", "secret").status, 200);
    for (int attempt = 1; attempt <= 10; ++attempt)
        QCOMPARE(mService.signIn("victim", "wrong").errorCode(), QStringLiteral("notAuthorized"));
    const Answer locked = mService.signIn("victim", "secret");
    QCOMPARE(locked.status, 403);
    QCOMPARE(locked.errorCode(), QStringLiteral("accountLocked"));
    // Recovering the password opens it again.
    QCOMPARE(sendRecovery("victim", "<serviceTag>dGFn</serviceTag><messageBody></messageBody>")
                 .at("extensions/detailedErrorCode"),
             QStringLiteral("invalidContact"));
    QVERIFY(mService.addAccount(
        R"({"userName": "locked", "email": "locked@mail.example", "locked": true})"));
    QCOMPARE(mService.signIn("locked", "secret").errorCode(), QStringLiteral("accountLocked"));
    QCOMPARE(
        sendRecovery("locked", "<serviceTag>dGFn</serviceTag><messageBody></messageBody>").status,
        200);
    const QByteArray token =
        latestMessage("locked").value(QStringLiteral("token")).toString().toLatin1();
    QCOMPARE(reset("locked", token, "newsecret").status, 200);
    QCOMPARE(mService.signIn("locked", "newsecret").status, 200);
}

Answer TestOperationsRecovery::sendRecovery(const QByteArray& user, const QByteArray& content)
{
    return mService.ask("POST", "simplifiedpasswordrecovery/" + user + "/send",
                        ServiceClient::document("simplifiedSendRecoveryMessageRequest", content));
}

QJsonObject TestOperationsRecovery::latestMessage(const char* receiver)
{
    const AdminReply reply = mService.emulator().admin(
        "GET", QLatin1String("/inbox?name=") +
                   QString::fromLatin1(QByteArray(receiver).toPercentEncoding()));
    return QJsonDocument::fromJson(reply.body).array().last().toObject();
}

void TestOperationsRecovery::sendsRecoveryMessages_data()
{
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("recipient");
    QTest::addColumn<QString>("text");
    const QByteArray tag = "<serviceTag>dGFn</serviceTag>";
    const QString mail = QStringLiteral("kim@mail.example");
    QTest::newRow("plain token") << QByteArray("kim") << tag + "<sendPlainToken></sendPlainToken>"
                                 << mail << QStringLiteral("%1");
    QTest::newRow("message") << QByteArray("kim@mail.example")
                             << tag + "<messageBody>Hello &amp; &lt;you&gt;</messageBody>" << mail
                             << QStringLiteral("Hello & <you>\n%1");
    QTest::newRow("empty message")
        << QByteArray("kim") << tag + "<messageBody></messageBody>" << mail
        << QStringLiteral("Somebody asked to recover your password.\n%1");
    QTest::newRow("address to return to")
        << QByteArray("kim")
        << tag + "<messageBody>Hi</messageBody><returnUrl>https://a.example/b</returnUrl>" << mail
        << QStringLiteral("Hi\nhttps://a.example/b?token=%1\n%1");
    QTest::newRow("address with a query")
        << QByteArray("kim")
        << tag + "<messageBody>Hi</messageBody><returnUrl>https://a.example/?b=c</returnUrl>"
        << mail << QStringLiteral("Hi\nhttps://a.example/?b=c&token=%1\n%1");
    QTest::newRow("by number") << QByteArray("+358401234567")
                               << tag + "<messageBody>Hi</messageBody>"
                               << QStringLiteral("+358401234567") << QStringLiteral("Hi\n%1");
    QTest::newRow("without an address")
        << QByteArray("smsonly") << tag + "<messageBody>Hi</messageBody>"
        << QStringLiteral("+358401111111") << QStringLiteral("Hi\n%1");
}

void TestOperationsRecovery::sendsRecoveryMessages()
{
    QFETCH(QByteArray, user);
    QFETCH(QByteArray, content);
    QFETCH(QString, recipient);
    QFETCH(QString, text);
    const Answer answer = sendRecovery(user, content);
    QCOMPARE(answer.status, 200);
    QVERIFY(answer.body.isEmpty());
    const QJsonObject message = latestMessage(recipient.toLatin1().constData());
    const QString token = message.value(QStringLiteral("token")).toString();
    QVERIFY(token.size() >= 16);
    QCOMPARE(message.value(QStringLiteral("recipient")).toString(), recipient);
    QCOMPARE(message.value(QStringLiteral("text")).toString(), text.arg(token));
}

void TestOperationsRecovery::refusesRecoveryMessages_data()
{
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<QByteArray>("proof");
    QTest::addColumn<QString>("errorCode");
    QTest::addColumn<QString>("detail");
    const auto row = [](const char* name, const char* user, const QByteArray& proof,
                        const char* code, const char* detail) {
        QTest::newRow(name) << QByteArray(user) << proof << QString::fromLatin1(code)
                            << QString::fromLatin1(detail);
    };
    const QByteArray tag = "<serviceTag>dGFn</serviceTag>";
    row("no proof", "kim", {}, "captchaError", "");
    row("wrong captcha", "kim", "<captchaId>0</captchaId><imageText>A</imageText>",
        "operationFailed", "invalidCaptcha");
    row("revoked tag", "kim", "<serviceTag>" + revokedTag + "</serviceTag>", "operationFailed",
        "invalidServiceTag");
    row("unknown user", "no-such", tag, "operationFailed", "userNotFound");
    row("no user", "", tag, "operationFailed", "userNotFound");
    row("no address", "nowhere", tag, "operationFailed", "invalidContact");
    row("mail comes back", "bounce", tag, "operationFailed", "emailSendingFailed");
    row("number unreachable", "farnumber", tag, "operationFailed", "smsSendingFailed");
}

void TestOperationsRecovery::refusesRecoveryMessages()
{
    QFETCH(QByteArray, user);
    QFETCH(QByteArray, proof);
    QFETCH(QString, errorCode);
    QFETCH(QString, detail);
    const QByteArray before = mService.emulator().admin("GET", QStringLiteral("/inbox")).body;
    const Answer answer = sendRecovery(user, proof + "<messageBody>Hi</messageBody>");
    QVERIFY(answer.status >= 400);
    QCOMPARE(answer.errorCode(), errorCode);
    QCOMPARE(answer.at("extensions/detailedErrorCode"), detail);
    QCOMPARE(mService.emulator().admin("GET", QStringLiteral("/inbox")).body, before);
}

Answer TestOperationsRecovery::reset(const QByteArray& user, const QByteArray& token,
                                     const QByteArray& password, const QByteArray& answer)
{
    return mService.ask("PUT", "simplifiedpasswordrecovery/" + user + "/change",
                        ServiceClient::document("simplifiedChangePasswordRequest",
                                                element("securityToken", token) +
                                                    element("newPassword", password.toBase64()) +
                                                    element("passwordQuestionAnswer", answer)));
}

void TestOperationsRecovery::resetsAPasswordByTokenAndAnswer()
{
    const QByteArray content = "<serviceTag>dGFn</serviceTag><messageBody>Hi</messageBody>";
    QCOMPARE(sendRecovery("pet", content).status, 200);
    const QByteArray token =
        latestMessage("pet").value(QStringLiteral("token")).toString().toLatin1();
    QCOMPARE(reset("pet", "0123456789abcdef", "other", "Rex").errorCode(),
             QStringLiteral("notAuthorized"));
    QCOMPARE(reset("pet", {}, "other", "Rex").errorCode(), QStringLiteral("notAuthorized"));
    QCOMPARE(reset("pet", token, "other", "Max").errorCode(), QStringLiteral("notAuthorized"));
    QCOMPARE(reset("pet", token, "other").errorCode(), QStringLiteral("notAuthorized"));
    QCOMPARE(reset("pet", token, "abc", "Rex").errorCode(), QStringLiteral("attributeSyntaxError"));
    // A token is good for its own account only.
    QCOMPARE(reset("kim", token, "other", "Rex").errorCode(), QStringLiteral("notAuthorized"));
    QCOMPARE(reset("no-such", token, "other", "Rex").at("extensions/detailedErrorCode"),
             QStringLiteral("userNotFound"));
    QCOMPARE(mService.signIn("pet", "secret").status, 200);

    const Answer done = reset("pet", token, "other", "Rex");
    QCOMPARE(done.status, 200);
    QCOMPARE(done.tag(), QStringLiteral("simplifiedChangePasswordResponse"));
    QCOMPARE(mService.signIn("pet", "secret").status, 401);
    QCOMPARE(mService.signIn("pet", "other").status, 200);
    QCOMPARE(reset("pet", token, "third", "Rex").errorCode(), QStringLiteral("notAuthorized"));
}

void TestOperationsRecovery::resetsAPasswordWithoutAQuestion()
{
    QVERIFY(mService.addAccount(R"({"userName": "plain", "email": "plain@mail.example"})"));
    QCOMPARE(sendRecovery("plain", "<serviceTag>dGFn</serviceTag><sendPlainToken></sendPlainToken>")
                 .status,
             200);
    const QByteArray token =
        latestMessage("plain").value(QStringLiteral("text")).toString().toLatin1();
    QCOMPARE(reset("plain@mail.example", token, "other", "whatever").status, 200);
    QCOMPARE(mService.signIn("plain", "other").status, 200);
}

void TestOperationsRecovery::endsARecoveryAfterTenWrongAnswers()
{
    QVERIFY(mService.addAccount(R"({"userName": "guessed", "email": "guessed@mail.example",
                                    "securityQuestion": "2", "securityAnswer": "Turku"})"));
    const QByteArray content = "<serviceTag>dGFn</serviceTag><messageBody>Hi</messageBody>";
    QCOMPARE(sendRecovery("guessed", content).status, 200);
    QByteArray token =
        latestMessage("guessed").value(QStringLiteral("token")).toString().toLatin1();
    for (int attempt = 1; attempt <= 9; ++attempt)
        QCOMPARE(reset("guessed", token, "other", "Oulu").errorCode(),
                 QStringLiteral("notAuthorized"));
    QCOMPARE(reset("guessed", token, "other", "Oulu").errorCode(), QStringLiteral("accountLocked"));
    QCOMPARE(reset("guessed", token, "other", "Turku").errorCode(),
             QStringLiteral("notAuthorized"));
    QCOMPARE(sendRecovery("guessed", content).status, 200);
    token = latestMessage("guessed").value(QStringLiteral("token")).toString().toLatin1();
    QCOMPARE(reset("guessed", token, "other", "Turku").status, 200);
    QCOMPARE(mService.signIn("guessed", "other").status, 200);
}

void TestOperationsRecovery::asksTheQuestionOfAUser()
{
    const auto question = [this](const QByteArray& user, const QByteArray& language) {
        SignedRequest request("/rest/1.0/simplifiedpasswordrecovery/" + user + "/question");
        request.language = language;
        return mService.ask(request);
    };
    QCOMPARE(question("pet", "de").leaves(""),
             QString::fromUtf8("username=pet passwordQuestionId=1 "
                               "passwordQuestionText=Wie hie\xc3\x9f dein erstes Haustier?"));
    QCOMPARE(question("pet@b\xc3\xbc"
                      "cher.example",
                      "en")
                 .status,
             200);
    QCOMPARE(question("kim", "en").errorCode(), QStringLiteral("resourceNotFound"));
    QCOMPARE(question("no-such", "en").at("extensions/detailedErrorCode"),
             QStringLiteral("userNotFound"));
}

QTEST_GUILESS_MAIN(TestOperationsRecovery)
#include "tst_operations_recovery.moc"
