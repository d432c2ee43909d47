// SPDX-License-Identifier: LGPL-2.1-or-later
// The calling side of every set-up and operation with planted secrets: an application with the
// facade and the client, every log of theirs and of Qt's turned on. Nothing of what they or the
// daemon write may hold a secret, but for the daemon's own store.
#include "integration/keptdata.h"
#include "integration/loudrun.h"
#include "integration/storyfixture.h"
#include "plugin/zorauthplugin.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/secretsearch.h"
#include "support/sessionsandbox.h"

#include <QDataStream>
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
    return "plänted "_s + QString::fromUtf8(utf8);
}

const QString consumerSecret = "planted consumer secret &1"_s;
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
    void initTestCase()
    {
        QVERIFY(isInside());
        QVERIFY(QLoggingCategory("qt.network").isDebugEnabled());
        // Past the test library, which shortens and counts.
        qInstallMessageHandler(nullptr);
        openFacade(consumerSecret);
        connect(&facade(), &KelAccounts::retrieveCaptchaImageResponse, this,
                [this](KelAccount::ErrorStatus, const QPixmap&, const QString& id) {
                    mCaptchaId = id;
                });
    }

    void theSearchFindsEveryForm()
    {
        const QList<QByteArray> forms = formsOf(control);
        for (const QByteArray& form : forms) {
            QCOMPARE(foundIn("before" + form + "after", mSecrets + QStringList(control)), control);
            QCOMPARE(foundIn("before" + form.mid(1) + "after", {control}), QString());
        }
        // Outside, it has to find what an application, the client and the session write.
        qInfo("%s", qPrintable(control));
        QCOMPARE(client({"check-user"_s, control}), 522);
    }

    void theFacadeRegistersAndLives()
    {
        QCOMPARE(registers("one@mail.example"_s), 0);
        QCOMPARE(status([this] { facade().downloadProfile(); }), 0);
        QCOMPARE(status([this] { facade().updateSecurityQuestion("3"_s, secondAnswer); }), 0);
        QCOMPARE(status([this] { facade().userIdUpdate("one"_s); }), 0);
        QCOMPARE(status([this] { facade().changePassword(wrongPassword, secondPassword); }), 614);
        QCOMPARE(status([this] { facade().changePassword(firstPassword, secondPassword); }), 0);
        QVERIFY(letTokensExpire());
        QCOMPARE(status([this] { facade().downloadProfile(); }), 0);
        QCOMPARE(status([this] { facade().ensureTokenAvailable(0); }), 0);
    }

    void theFacadeFails()
    {
        for (const char* fault :
             {"close-after-headers", "cut-body", "not-xml", "status=500", "wrong-host"}) {
            QVERIFY(EmulatedService::orderFaults(fault));
            QVERIFY(status([this] { facade().changePassword(secondPassword, secondPassword); }) >=
                    0);
            QVERIFY(EmulatedService::orderFaults(fault));
            QVERIFY(status([this] { facade().updateSecurityQuestion("3"_s, secondAnswer); }) >= 0);
            EmulatedService::ask("DELETE", "/faults");
        }
        QVERIFY(killPluginProcesses());
        QVERIFY(status([this] { facade().changePassword(secondPassword, secondPassword); }) > 0);
        QVERIFY(cleanDevice());
        QCOMPARE(signsIn("one"_s, wrongPassword), 504);
        QCOMPARE(registers("one@mail.example"_s), 515);
        // The plugin opens a connection before it is asked, which may be the one that goes wrong.
        for (const char* fault : {"cut-body", "not-xml", "status=401", "2*wrong-host"}) {
            QVERIFY(EmulatedService::orderFaults(fault));
            QVERIFY(signsIn("one"_s, secondPassword) > 0);
            EmulatedService::ask("DELETE", "/faults");
        }
        const QByteArray folder = qgetenv("ACCOUNTS");
        qputenv("ACCOUNTS", "/proc/nonexistent");
        QCOMPARE(signsIn("one"_s, secondPassword), 805);
        qputenv("ACCOUNTS", folder);
    }

    void theFacadeRecoversAndSignsInAgain()
    {
        const QString captcha = solvedCaptcha();
        QCOMPARE(status([&] { facade().requestPasswordReset("one"_s, captcha, true, "Hello"_s); }),
                 0);
        const QString token = recoveryToken("one"_s);
        QVERIFY(!token.isEmpty());
        const auto reset = [this](const QString& withToken, const QString& answer) {
            return status([&] {
                facade().resetPasswordUsingSecurityQuestion("one"_s, withToken, thirdPassword,
                                                            answer);
            });
        };
        QCOMPARE(reset(wrongToken, secondAnswer), 504);
        QCOMPARE(reset(token, wrongAnswer), 504);
        QVERIFY(EmulatedService::orderFaults("status=500"));
        QCOMPARE(reset(wrongToken, secondAnswer), 1004);
        QCOMPARE(reset(token, secondAnswer), 0);
        QCOMPARE(signsIn("one"_s, thirdPassword), 0);
        QVERIFY(cleanDevice());
    }

    // The daemon throws away what a plugin's process writes; written by this process, it is caught.
    void thePluginDoesTheSameInThisProcess()
    {
        QVERIFY(!addAccount({{"userName"_s, "carol"_s},
                             {"email"_s, "carol@example.org"_s},
                             {"password"_s, firstPassword}})
                     .isEmpty());
        ZorAuth::ZorAuthPlugin plugin;
        QVariantMap kept; // what the daemon would keep for it
        const auto mechanism = [&](const char* name, const QVariantMap& data = {}) {
            QVariantMap all = kept;
            const QVariantMap own = {{"ConsumerKey"_s, "demo-key"_s},
                                     {"ConsumerSecret"_s, consumerSecret},
                                     {"ServerUrlValue"_s, 2},
                                     {"UserName"_s, "carol"_s},
                                     {"Secret"_s, firstPassword}};
            for (const QVariantMap& more : {own, data}) {
                for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
                    all.insert(entry.key(), entry.value());
            }
            int answer = -1;
            const QObject context;
            connect(&plugin, &AuthPluginInterface::result, &context, [&] { answer = 0; });
            connect(&plugin, &AuthPluginInterface::store, &context,
                    [&](const SignOn::SessionData& stored) { kept = stored.toMap(); });
            connect(&plugin, &AuthPluginInterface::error, &context,
                    [&](const SignOn::Error& error) {
                        answer = error.type();
                        mAnswers.append(error.message());
                    });
            plugin.process(SignOn::SessionData(all), QLatin1String(name));
            waitUntil([&] { return answer >= 0; });
            noteTokens(KeptData::sessionIn(kept));
            return answer;
        };
        QCOMPARE(mechanism("signIn", {{"Secret"_s, wrongPassword}, {"ManualSignIn"_s, true}}), 504);
        QCOMPARE(mechanism("initialise"), 0);
        QCOMPARE(mechanism("signIn", {{"ManualSignIn"_s, true}}), 0);
        QCOMPARE(mechanism("token"), 0);
        QCOMPARE(mechanism("privateMechanism_downloadProfile"), 0);
        QByteArray question;
        QDataStream stream(&question, QIODevice::WriteOnly);
        stream << "2"_s << secondAnswer;
        QCOMPARE(mechanism("privateMechanism_updateSecurityQuestion",
                           {{"UpdateSecurityQuestion"_s, question}}),
                 0);
        QCOMPARE(mechanism("privateMechanism_changepassword",
                           {{"OldPassword"_s, wrongPassword}, {"NewPassword"_s, secondPassword}}),
                 614);
        QCOMPARE(mechanism("privateMechanism_changepassword",
                           {{"OldPassword"_s, firstPassword}, {"NewPassword"_s, secondPassword}}),
                 0);
        QCOMPARE(mechanism("signIn"), 0);
        QVERIFY(letTokensExpire());
        QCOMPARE(mechanism("privateMechanism_updateDeviceInfo"), 0);
        QCOMPARE(mechanism("setUserId", {{"NewUserName"_s, "other"_s}}), 608);
        QCOMPARE(mechanism("userId"), 0);
        for (const char* fault :
             {"close-after-headers", "cut-body", "status=500", "wrong-host", "not-xml"}) {
            QVERIFY(EmulatedService::orderFaults(fault));
            QVERIFY(mechanism("signIn") > 0);
        }
        QCOMPARE(mechanism("signature"), int(SignOn::Error::MechanismNotAvailable));
        QCOMPARE(mechanism("privateMechanism_signOut"), 0);
        QCOMPARE(mechanism("close"), 0);
        KelRestHandler::RegistrationInfoData newcomer;
        newcomer.emailAddress = "newcomer@example.org"_s;
        newcomer.password = secondPassword;
        newcomer.securityQuestion = "2"_s;
        newcomer.securityAnswer = firstAnswer;
        newcomer.serviceTag = "dGFn"; // base64, as the emulated service wants it
        const QVariantMap registering = {
            {"RegistrationData"_s, KelRestHandler::serializeRegistration(newcomer)}};
        QCOMPARE(mechanism("privateMechanism_registerAccount", registering), 0);
        QCOMPARE(mechanism("privateMechanism_registerAccount", registering), 515);
    }

    void theClientDoesTheSame()
    {
        const QString email = "two@mail.example"_s;
        const auto solved = [this] {
            client({"captcha"_s});
            return QString::fromUtf8(EmulatedService::ask(
                                         "GET", ("/captchas/" + mCaptchaId.toLatin1()).constData())
                                         .body)
                .trimmed();
        };
        QString captcha = solved();
        QCOMPARE(client({"register"_s, "--email"_s, email, "--question"_s, "2"_s, "--captcha-id"_s,
                         mCaptchaId, "--captcha-text"_s, captcha},
                        {firstPassword, firstAnswer}),
                 0);
        QCOMPARE(client({"profile"_s}), 0);
        QCOMPARE(client({"update-question"_s, "4"_s}, {secondAnswer}), 0);
        QCOMPARE(client({"change-password"_s}, {wrongPassword, secondPassword}), 614);
        QCOMPARE(client({"change-password"_s}, {firstPassword, secondPassword}), 0);
        QCOMPARE(client({"ensure-token"_s}), 0);
        QVERIFY(EmulatedService::orderFaults("status=500"));
        QCOMPARE(client({"change-password"_s}, {secondPassword, thirdPassword}), 1004);
        QVERIFY(cleanDevice());
        QCOMPARE(client({"sign-in"_s, email}, {wrongPassword}), 504);
        QVERIFY(EmulatedService::orderFaults("cut-body"));
        QCOMPARE(client({"sign-in"_s, email}, {thirdPassword}), 402);
        QCOMPARE(client({"sign-in"_s, email}, {thirdPassword}), 0);
        QCOMPARE(
            client({"reset-with-question"_s, email}, {wrongToken, secondPassword, wrongAnswer}),
            504);
        QCOMPARE(client({"close"_s}), 0);
        QVERIFY(EmulatedService::orderFaults("status=500"));
        QCOMPARE(client({"sign-out"_s}), 1004);
        QVERIFY(!leftOnTheDevice().isEmpty());
        QCOMPARE(client({"sign-out"_s}), 0);
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(client({"sign-in"_s, email}, {thirdPassword}), 0);
    }

    void onlyTheDaemonsStoreHoldsSecrets()
    {
        // Nine planted, the recovery token, and two of each of five sign-ins.
        QVERIFY(mSecrets.size() >= 9 + 1 + 2 * 5);
        QCOMPARE(foundIn(mAnswers.join(QLatin1Char('\n')).toUtf8(), mSecrets), QString());
        QVERIFY(mAnswers.size() > 40);

        const QString sandbox = qEnvironmentVariable("SSO_STORAGE_PATH") + "/../.."_s;
        int files = 0;
        QCOMPARE(filesWith(mSecrets, sandbox, "signon-secrets.db"_s, files), QStringList());
        QVERIFY(files > 5);
        // The same search finds them in the one file that may hold them.
        QCOMPARE(filesWith({thirdPassword}, sandbox, "none"_s, files),
                 QStringList("signon-secrets.db"_s));
        QCOMPARE(filesWith({mSecrets.last()}, sandbox, "none"_s, files),
                 QStringList("signon-secrets.db"_s));
        QVERIFY(LoudRun::handOver(mSecrets));
    }

    void cleanupTestCase() { closeFacade(); }

private:
    /// The status that the one answer carries; -1 for anything else.
    int status(const Call& call)
    {
        const QStringList lines = answers(call);
        mAnswers += lines;
        noteTokens();
        static const QRegularExpression form("^\\w+Response\\((\\d+)"_s);
        const QRegularExpressionMatch match = form.match(lines.value(0));
        return lines.size() == 1 && match.hasMatch() ? match.captured(1).toInt() : -1;
    }

    int registers(const QString& email)
    {
        RegistrationInfo info;
        info.setCaptchaText(solvedCaptcha());
        info.setEmailAddress(email);
        info.setPassword(firstPassword);
        info.setSecurityQuestion("2"_s);
        info.setSecurityAnswer(firstAnswer);
        return status([&] { facade().registerAccount(info, true); });
    }

    int signsIn(const QString& user, const QString& userPassword)
    {
        return status([&] { facade().signInAndConfigure(user, userPassword, true); });
    }

    /// Status, as the client prints it.
    int client(const QStringList& arguments, const QStringList& secrets = {})
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("KELACCOUNT_CONSUMER_SECRET"_s, consumerSecret);
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(KELACCOUNT_CLIENT_PROGRAM),
                      QStringList{"--verbose"_s, "--json"_s, "--consumer-key"_s, "demo-key"_s,
                                  "--password-fd"_s, "0"_s} +
                          arguments);
        process.write(secrets.join(QLatin1Char('\n')).toUtf8() + '\n');
        process.closeWriteChannel();
        if (!process.waitForFinished())
            return -1;
        const QByteArray output = process.readAllStandardOutput();
        mAnswers.append(QString::fromUtf8(output));
        noteTokens();
        const QJsonObject answer = QJsonDocument::fromJson(output).object();
        const QJsonObject values = answer.value("values"_s).toObject();
        if (values.contains("captchaId"_s))
            mCaptchaId = values.value("captchaId"_s).toString();
        return answer.value("status"_s).toInt(-1);
    }

    QString recoveryToken(const QString& user)
    {
        const auto reply =
            EmulatedService::ask("GET", ("/inbox?name=" + user.toLatin1()).constData());
        const QString token = QJsonDocument::fromJson(reply.body)
                                  .array()
                                  .last()
                                  .toObject()
                                  .value("token"_s)
                                  .toString();
        mSecrets.append(token);
        return token;
    }

    /// The tokens are new with every sign-in.
    void noteTokens() { noteTokens(KeptData::sessionIn(storedFor(identityNumber()))); }
    void noteTokens(const QVariantMap& session)
    {
        for (const char* name : {"Token", "TokenSecret"}) {
            const QString secret = session.value(QLatin1String(name)).toString();
            if (!secret.isEmpty() && !mSecrets.contains(secret))
                mSecrets.append(secret);
        }
    }

    QStringList mSecrets = {consumerSecret, firstPassword, secondPassword,
                            thirdPassword,  wrongPassword, firstAnswer,
                            secondAnswer,   wrongAnswer,   wrongToken};
    QStringList mAnswers; ///< of facade and client
    QString mCaptchaId;
};

class TestStorySecrets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noOutputHoldsSecrets()
    {
        const LoudRun::Result result = LoudRun::run(consumerSecret, "*=true"_s);
        QCOMPARE(result.exitCode, 0);
        QVERIFY(result.secrets.size() >= 9 + 1 + 2 * 5);
        // Lines of the emulator's, the facade's and the session's prove that there are lines.
        QCOMPARE(foundIn(result.output, {control}), control);
        QVERIFY(result.output.contains("PUT /rest/1.0/accounts/"));
        QVERIFY(result.output.contains("kelaccount.account: "));
        QVERIFY(result.sessionLog.contains("Activating"));
        QCOMPARE(foundIn(result.output, result.secrets), QString());
        QCOMPARE(foundIn(result.sessionLog, result.secrets), QString());
        QVERIFY(result.traces.contains("changePassword"));
        QCOMPARE(foundIn(result.traces, result.secrets), QString());
    }
};

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
