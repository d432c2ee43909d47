// SPDX-License-Identifier: LGPL-2.1-or-later
// The calling side of every set-up and operation with planted secrets: an application with the
// facade and the client, every log of theirs and of Qt's turned on. Nothing of what they or the
// daemon write may hold a secret, but for the daemon's own store.
#include "integration/keptdata.h"
#include "integration/loudrun.h"
#include "integration/storyfixture.h"
#include "support/secretsearch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>

using KelAccount::RegistrationInfo;
using namespace KelTest;
using namespace KelTest::SecretSearch;

namespace {

QString planted(const char* utf8)
{
    return QString::fromUtf8("plänted ") + QString::fromUtf8(utf8);
}

const QString consumerSecret = QStringLiteral("planted consumer secret &1");
const QString firstPassword = planted("first password 2");
const QString secondPassword = planted("second password 3");
const QString thirdPassword = planted("third password 4");
const QString wrongPassword = planted("wrong password 5");
const QString firstAnswer = planted("first answer 6");
const QString secondAnswer = planted("second answer 7");
const QString wrongAnswer = planted("wrong answer 8");
const QString wrongToken = planted("wrong token 9");
/// Not secret: the search has to find it.
const QString control = planted("control 10");

} // namespace

/// Runs inside. Writes the secrets down for the test outside.
class Story : public StoryFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theSearchFindsEveryForm();
    void theFacadeRegistersAndLives();
    void theFacadeFails();
    void theFacadeRecoversAndSignsInAgain();
    void theClientDoesTheSame();
    void onlyTheDaemonsStoreHoldsSecrets();
    void cleanupTestCase() { closeFacade(); }

private:
    /// The status that the one answer carries; -1 for anything else.
    int status(const Call& call);
    int registers(const QString& email);
    int signsIn(const QString& user, const QString& userPassword);
    /// Status, as the client prints it.
    int client(const QStringList& arguments, const QStringList& secrets = {});
    QString recoveryToken(const QString& user);
    void noteTokens();

    QStringList mSecrets = {consumerSecret, firstPassword, secondPassword,
                            thirdPassword,  wrongPassword, firstAnswer,
                            secondAnswer,   wrongAnswer,   wrongToken};
    QStringList mAnswers; ///< of facade and client
    QString mCaptchaId;
};

void Story::initTestCase()
{
    QVERIFY(isInside());
    QVERIFY(QLoggingCategory("qt.network").isDebugEnabled());
    // Past the test library, which shortens and counts.
    qInstallMessageHandler(nullptr);
    openFacade(consumerSecret);
    connect(
        &facade(), &KelAccounts::retrieveCaptchaImageResponse, this,
        [this](KelAccount::ErrorStatus, const QPixmap&, const QString& id) { mCaptchaId = id; });
}

void Story::theSearchFindsEveryForm()
{
    const QList<QByteArray> forms = formsOf(control);
    for (const QByteArray& form : forms) {
        QCOMPARE(foundIn("before" + form + "after", mSecrets + QStringList(control)), control);
        QCOMPARE(foundIn("before" + form.mid(1) + "after", {control}), QString());
    }
    // Outside, it has to find what an application, the client and the session write.
    qInfo("%s", qPrintable(control));
    QCOMPARE(client({text("check-user"), control}), 522);
}

/// The tokens are new with every sign-in.
void Story::noteTokens()
{
    const QVariantMap session = KelTest::KeptData::sessionIn(storedFor(identityNumber()));
    for (const char* name : {"Token", "TokenSecret"}) {
        const QString secret = session.value(QLatin1String(name)).toString();
        if (!secret.isEmpty() && !mSecrets.contains(secret))
            mSecrets.append(secret);
    }
}

int Story::status(const Call& call)
{
    const QStringList lines = answers(call);
    mAnswers += lines;
    noteTokens();
    static const QRegularExpression form(QStringLiteral("^\\w+Response\\((\\d+)"));
    const QRegularExpressionMatch match = form.match(lines.value(0));
    return lines.size() == 1 && match.hasMatch() ? match.captured(1).toInt() : -1;
}

int Story::registers(const QString& email)
{
    RegistrationInfo info;
    info.setCaptchaText(solvedCaptcha());
    info.setEmailAddress(email);
    info.setPassword(firstPassword);
    info.setSecurityQuestion(text("2"));
    info.setSecurityAnswer(firstAnswer);
    return status([&] { facade().registerAccount(info, true); });
}

int Story::signsIn(const QString& user, const QString& userPassword)
{
    return status([&] { facade().signInAndConfigure(user, userPassword, true); });
}

int Story::client(const QStringList& arguments, const QStringList& secrets)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text("KELACCOUNT_CONSUMER_SECRET"), consumerSecret);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM),
                  QStringList{text("--verbose"), text("--json"), text("--consumer-key"),
                              text("demo-key"), text("--password-fd"), text("0")} +
                      arguments);
    process.write(secrets.join(QLatin1Char('\n')).toUtf8() + '\n');
    process.closeWriteChannel();
    if (!process.waitForFinished())
        return -1;
    const QByteArray output = process.readAllStandardOutput();
    mAnswers.append(QString::fromUtf8(output));
    noteTokens();
    const QJsonObject answer = QJsonDocument::fromJson(output).object();
    if (answer.contains(text("captchaId")))
        mCaptchaId = answer.value(text("captchaId")).toString();
    return answer.value(text("status")).toInt(-1);
}

QString Story::recoveryToken(const QString& user)
{
    const auto reply = EmulatedService::ask("GET", ("/inbox?name=" + user.toLatin1()).constData());
    const QString token = QJsonDocument::fromJson(reply.body)
                              .array()
                              .last()
                              .toObject()
                              .value(text("token"))
                              .toString();
    mSecrets.append(token);
    return token;
}

void Story::theFacadeRegistersAndLives()
{
    QCOMPARE(registers(text("one@mail.example")), 0);
    QCOMPARE(status([this] { facade().downloadProfile(); }), 0);
    QCOMPARE(status([this] { facade().updateSecurityQuestion(text("3"), secondAnswer); }), 0);
    QCOMPARE(status([this] { facade().userIdUpdate(text("one")); }), 0);
    QCOMPARE(status([this] { facade().changePassword(wrongPassword, secondPassword); }), 614);
    QCOMPARE(status([this] { facade().changePassword(firstPassword, secondPassword); }), 0);
    QVERIFY(letTokensExpire());
    QCOMPARE(status([this] { facade().downloadProfile(); }), 0);
    QCOMPARE(status([this] { facade().ensureTokenAvailable(0); }), 0);
}

void Story::theFacadeFails()
{
    for (const char* fault :
         {"close-after-headers", "cut-body", "not-xml", "status=500", "wrong-host"}) {
        QVERIFY(EmulatedService::orderFaults(fault));
        QVERIFY(status([this] { facade().changePassword(secondPassword, secondPassword); }) >= 0);
        QVERIFY(EmulatedService::orderFaults(fault));
        QVERIFY(status([this] { facade().updateSecurityQuestion(text("3"), secondAnswer); }) >= 0);
        EmulatedService::ask("DELETE", "/faults");
    }
    QVERIFY(killPluginProcesses());
    QVERIFY(status([this] { facade().changePassword(secondPassword, secondPassword); }) > 0);
    QVERIFY(cleanDevice());
    QCOMPARE(signsIn(text("one"), wrongPassword), 504);
    QCOMPARE(registers(text("one@mail.example")), 515);
    for (const char* fault : {"cut-body", "not-xml", "status=401", "wrong-host"}) {
        QVERIFY(EmulatedService::orderFaults(fault));
        QVERIFY(signsIn(text("one"), secondPassword) > 0);
    }
    const QByteArray folder = qgetenv("ACCOUNTS");
    qputenv("ACCOUNTS", "/proc/nonexistent");
    QCOMPARE(signsIn(text("one"), secondPassword), 805);
    qputenv("ACCOUNTS", folder);
}

void Story::theFacadeRecoversAndSignsInAgain()
{
    const QString captcha = solvedCaptcha();
    QCOMPARE(
        status([&] { facade().requestPasswordReset(text("one"), captcha, true, text("Hello")); }),
        0);
    const QString token = recoveryToken(text("one"));
    QVERIFY(!token.isEmpty());
    const auto reset = [this](const QString& withToken, const QString& answer) {
        return status([&] {
            facade().resetPasswordUsingSecurityQuestion(text("one"), withToken, thirdPassword,
                                                        answer);
        });
    };
    QCOMPARE(reset(wrongToken, secondAnswer), 504);
    QCOMPARE(reset(token, wrongAnswer), 504);
    QVERIFY(EmulatedService::orderFaults("status=500"));
    QCOMPARE(reset(wrongToken, secondAnswer), 1004);
    QCOMPARE(reset(token, secondAnswer), 0);
    QCOMPARE(signsIn(text("one"), thirdPassword), 0);
    QVERIFY(cleanDevice());
}

void Story::theClientDoesTheSame()
{
    const QString email = text("two@mail.example");
    const auto solved = [this] {
        client({text("captcha")});
        return QString::fromUtf8(
                   EmulatedService::ask("GET", ("/captchas/" + mCaptchaId.toLatin1()).constData())
                       .body)
            .trimmed();
    };
    QString captcha = solved();
    QCOMPARE(client({text("register"), text("--email"), email, text("--question"), text("2"),
                     text("--captcha-id"), mCaptchaId, text("--captcha-text"), captcha},
                    {firstPassword, firstAnswer}),
             0);
    QCOMPARE(client({text("profile")}), 0);
    QCOMPARE(client({text("update-question"), text("4")}, {secondAnswer}), 0);
    QCOMPARE(client({text("change-password")}, {wrongPassword, secondPassword}), 614);
    QCOMPARE(client({text("change-password")}, {firstPassword, secondPassword}), 0);
    QCOMPARE(client({text("ensure-token")}), 0);
    QVERIFY(EmulatedService::orderFaults("status=500"));
    QCOMPARE(client({text("change-password")}, {secondPassword, thirdPassword}), 1004);
    QVERIFY(cleanDevice());
    QCOMPARE(client({text("sign-in"), email}, {wrongPassword}), 504);
    QVERIFY(EmulatedService::orderFaults("cut-body"));
    QCOMPARE(client({text("sign-in"), email}, {thirdPassword}), 402);
    QCOMPARE(client({text("sign-in"), email}, {thirdPassword}), 0);
    QCOMPARE(
        client({text("reset-with-question"), email}, {wrongToken, secondPassword, wrongAnswer}),
        504);
    QCOMPARE(client({text("close")}), 0);
}

void Story::onlyTheDaemonsStoreHoldsSecrets()
{
    // Nine planted, the recovery token, and two of each of five sign-ins.
    QVERIFY(mSecrets.size() >= 9 + 1 + 2 * 5);
    QCOMPARE(foundIn(mAnswers.join(QLatin1Char('\n')).toUtf8(), mSecrets), QString());
    QVERIFY(mAnswers.size() > 40);

    const QString sandbox = qEnvironmentVariable("SSO_STORAGE_PATH") + QLatin1String("/../..");
    int files = 0;
    QCOMPARE(filesWith(mSecrets, sandbox, QStringLiteral("signon-secrets.db"), files),
             QStringList());
    QVERIFY(files > 5);
    // The same search finds them in the one file that may hold them.
    QCOMPARE(filesWith({thirdPassword}, sandbox, QStringLiteral("none"), files),
             QStringList(text("signon-secrets.db")));
    QCOMPARE(filesWith({mSecrets.last()}, sandbox, QStringLiteral("none"), files),
             QStringList(text("signon-secrets.db")));
    QVERIFY(LoudRun::handOver(mSecrets));
}

class TestStorySecrets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noOutputHoldsSecrets();
};

void TestStorySecrets::noOutputHoldsSecrets()
{
    const LoudRun::Result result = LoudRun::run(consumerSecret, QStringLiteral("*=true"));
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.secrets.size() >= 9 + 1 + 2 * 5);
    // Lines of the emulator's, the facade's and the session's prove that there are lines.
    QCOMPARE(foundIn(result.output, {control}), control);
    QVERIFY(result.output.contains("PUT /rest/1.0/accounts/"));
    QVERIFY(result.output.contains("kelaccount.account: "));
    QVERIFY(result.sessionLog.contains("Activating"));
    QCOMPARE(foundIn(result.output, result.secrets), QString());
    QCOMPARE(foundIn(result.sessionLog, result.secrets), QString());
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (LoudRun::isInside()) {
        Story story;
        return QTest::qExec(&story, argc, argv);
    }
    TestStorySecrets test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_story_secrets.moc"
