// SPDX-License-Identifier: LGPL-2.1-or-later
// Locked accounts, recovery messages and passwords set anew.
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

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
    void initTestCase()
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

    void locksAnAccountAfterTenWrongPasswords()
    {
        QVERIFY(mService.addAccount(R"({"userName": "victim"})"));
        for (int attempt = 1; attempt <= 9; ++attempt)
            QCOMPARE(mService.signIn("victim", "wrong").errorCode(), "notAuthorized"_s);
        // A right password in time makes up for the wrong ones.
        QCOMPARE(mService.signIn("victim", "secret").status, 200);
        for (int attempt = 1; attempt <= 10; ++attempt)
            QCOMPARE(mService.signIn("victim", "wrong").errorCode(), "notAuthorized"_s);
        const Answer locked = mService.signIn("victim", "secret");
        QCOMPARE(locked.status, 403);
        QCOMPARE(locked.errorCode(), "accountLocked"_s);
        // Recovering the password opens it again.
        QCOMPARE(sendRecovery("victim", "<serviceTag>dGFn</serviceTag><messageBody></messageBody>")
                     .at("extensions/detailedErrorCode"),
                 "invalidContact"_s);
        QVERIFY(mService.addAccount(
            R"({"userName": "locked", "email": "locked@mail.example", "locked": true})"));
        QCOMPARE(mService.signIn("locked", "secret").errorCode(), "accountLocked"_s);
        QCOMPARE(sendRecovery("locked", "<serviceTag>dGFn</serviceTag><messageBody></messageBody>")
                     .status,
                 200);
        const QByteArray token = latestMessage("locked").value("token"_s).toString().toLatin1();
        QCOMPARE(reset("locked", token, "newsecret").status, 200);
        QCOMPARE(mService.signIn("locked", "newsecret").status, 200);
    }

    void sendsRecoveryMessages_data()
    {
        columns<QByteArray, QByteArray, QString, QString>("user", "content", "recipient", "text");
        const QByteArray tag = "<serviceTag>dGFn</serviceTag>";
        const QString mail = "kim@mail.example"_s;
        QTest::newRow("plain token")
            << "kim"_ba << tag + "<sendPlainToken></sendPlainToken>" << mail << "%1"_s;
        QTest::newRow("message") << "kim@mail.example"_ba
                                 << tag + "<messageBody>Hello &amp; &lt;you&gt;</messageBody>"
                                 << mail << "Hello & <you>\n%1"_s;
        QTest::newRow("empty message") << "kim"_ba << tag + "<messageBody></messageBody>" << mail
                                       << "Somebody asked to recover your password.\n%1"_s;
        QTest::newRow("address to return to")
            << "kim"_ba
            << tag + "<messageBody>Hi</messageBody><returnUrl>https://a.example/b</returnUrl>"
            << mail << "Hi\nhttps://a.example/b?token=%1\n%1"_s;
        QTest::newRow("address with a query")
            << "kim"_ba
            << tag + "<messageBody>Hi</messageBody><returnUrl>https://a.example/?b=c</returnUrl>"
            << mail << "Hi\nhttps://a.example/?b=c&token=%1\n%1"_s;
        QTest::newRow("by number") << "+358401234567"_ba << tag + "<messageBody>Hi</messageBody>"
                                   << "+358401234567"_s
                                   << "Hi\n%1"_s;
        QTest::newRow("without an address") << "smsonly"_ba << tag + "<messageBody>Hi</messageBody>"
                                            << "+358401111111"_s
                                            << "Hi\n%1"_s;
    }

    void sendsRecoveryMessages()
    {
        const auto [user, content, recipient, text] =
            fetch<QByteArray, QByteArray, QString, QString>("user", "content", "recipient", "text");
        const Answer answer = sendRecovery(user, content);
        QCOMPARE(answer.status, 200);
        QVERIFY(answer.body.isEmpty());
        const QJsonObject message = latestMessage(recipient.toLatin1().constData());
        const QString token = message.value("token"_s).toString();
        QVERIFY(token.size() >= 16);
        QCOMPARE(message.value("recipient"_s).toString(), recipient);
        QCOMPARE(message.value("text"_s).toString(), text.arg(token));
    }

    void refusesRecoveryMessages_data()
    {
        columns<QByteArray, QByteArray, QString, QString>("user", "proof", "errorCode", "detail");
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

    void refusesRecoveryMessages()
    {
        const auto [user, proof, errorCode, detail] =
            fetch<QByteArray, QByteArray, QString, QString>("user", "proof", "errorCode", "detail");
        const QByteArray before = mService.emulator().admin("GET", "/inbox"_s).body;
        const Answer answer = sendRecovery(user, proof + "<messageBody>Hi</messageBody>");
        QVERIFY(answer.status >= 400);
        QCOMPARE(answer.errorCode(), errorCode);
        QCOMPARE(answer.at("extensions/detailedErrorCode"), detail);
        QCOMPARE(mService.emulator().admin("GET", "/inbox"_s).body, before);
    }

    void resetsAPasswordByTokenAndAnswer()
    {
        const QByteArray content = "<serviceTag>dGFn</serviceTag><messageBody>Hi</messageBody>";
        QCOMPARE(sendRecovery("pet", content).status, 200);
        const QByteArray token = latestMessage("pet").value("token"_s).toString().toLatin1();
        QCOMPARE(reset("pet", "0123456789abcdef", "other", "Rex").errorCode(), "notAuthorized"_s);
        QCOMPARE(reset("pet", {}, "other", "Rex").errorCode(), "notAuthorized"_s);
        QCOMPARE(reset("pet", token, "other", "Max").errorCode(), "notAuthorized"_s);
        QCOMPARE(reset("pet", token, "other").errorCode(), "notAuthorized"_s);
        QCOMPARE(reset("pet", token, "abc", "Rex").errorCode(), "attributeSyntaxError"_s);
        // A token is good for its own account only.
        QCOMPARE(reset("kim", token, "other", "Rex").errorCode(), "notAuthorized"_s);
        QCOMPARE(reset("no-such", token, "other", "Rex").at("extensions/detailedErrorCode"),
                 "userNotFound"_s);
        QCOMPARE(mService.signIn("pet", "secret").status, 200);

        const Answer done = reset("pet", token, "other", "Rex");
        QCOMPARE(done.status, 200);
        QCOMPARE(done.tag(), "simplifiedChangePasswordResponse"_s);
        QCOMPARE(mService.signIn("pet", "secret").status, 401);
        QCOMPARE(mService.signIn("pet", "other").status, 200);
        QCOMPARE(reset("pet", token, "third", "Rex").errorCode(), "notAuthorized"_s);
    }

    void resetsAPasswordWithoutAQuestion()
    {
        QVERIFY(mService.addAccount(R"({"userName": "plain", "email": "plain@mail.example"})"));
        QCOMPARE(
            sendRecovery("plain", "<serviceTag>dGFn</serviceTag><sendPlainToken></sendPlainToken>")
                .status,
            200);
        const QByteArray token = latestMessage("plain").value("text"_s).toString().toLatin1();
        QCOMPARE(reset("plain@mail.example", token, "other", "whatever").status, 200);
        QCOMPARE(mService.signIn("plain", "other").status, 200);
    }

    void endsARecoveryAfterTenWrongAnswers()
    {
        QVERIFY(mService.addAccount(R"({"userName": "guessed", "email": "guessed@mail.example",
                                        "securityQuestion": "2", "securityAnswer": "Turku"})"));
        const QByteArray content = "<serviceTag>dGFn</serviceTag><messageBody>Hi</messageBody>";
        QCOMPARE(sendRecovery("guessed", content).status, 200);
        QByteArray token = latestMessage("guessed").value("token"_s).toString().toLatin1();
        for (int attempt = 1; attempt <= 9; ++attempt)
            QCOMPARE(reset("guessed", token, "other", "Oulu").errorCode(), "notAuthorized"_s);
        QCOMPARE(reset("guessed", token, "other", "Oulu").errorCode(), "accountLocked"_s);
        QCOMPARE(reset("guessed", token, "other", "Turku").errorCode(), "notAuthorized"_s);
        QCOMPARE(sendRecovery("guessed", content).status, 200);
        token = latestMessage("guessed").value("token"_s).toString().toLatin1();
        QCOMPARE(reset("guessed", token, "other", "Turku").status, 200);
        QCOMPARE(mService.signIn("guessed", "other").status, 200);
    }

    void asksTheQuestionOfAUser()
    {
        const auto question = [this](const QByteArray& user, const QByteArray& language) {
            SignedRequest request("/rest/1.0/simplifiedpasswordrecovery/" + user + "/question");
            request.language = language;
            return mService.ask(request);
        };
        QCOMPARE(question("pet", "de").leaves(""),
                 "username=pet passwordQuestionId=1 "
                 "passwordQuestionText=Wie hie\xc3\x9f dein erstes Haustier?"_s);
        QCOMPARE(question("pet@b\xc3\xbc"
                          "cher.example",
                          "en")
                     .status,
                 200);
        QCOMPARE(question("kim", "en").errorCode(), "resourceNotFound"_s);
        QCOMPARE(question("no-such", "en").at("extensions/detailedErrorCode"), "userNotFound"_s);
    }

private:
    Answer sendRecovery(const QByteArray& user, const QByteArray& content)
    {
        return mService.ask(
            "POST", "simplifiedpasswordrecovery/" + user + "/send",
            ServiceClient::document("simplifiedSendRecoveryMessageRequest", content));
    }

    Answer reset(const QByteArray& user, const QByteArray& token, const QByteArray& password,
                 const QByteArray& answer = {})
    {
        return mService.ask(
            "PUT", "simplifiedpasswordrecovery/" + user + "/change",
            ServiceClient::document("simplifiedChangePasswordRequest",
                                    element("securityToken", token) +
                                        element("newPassword", password.toBase64()) +
                                        element("passwordQuestionAnswer", answer)));
    }

    QJsonObject latestMessage(const char* receiver)
    {
        const AdminReply reply = mService.emulator().admin(
            "GET",
            "/inbox?name="_s + QString::fromLatin1(QByteArray(receiver).toPercentEncoding()));
        return QJsonDocument::fromJson(reply.body).array().last().toObject();
    }

    ServiceClient mService;
};

QTEST_GUILESS_MAIN(TestOperationsRecovery)
#include "tst_operations_recovery.moc"
