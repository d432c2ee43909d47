// SPDX-License-Identifier: LGPL-2.1-or-later
// Secrets are planted wherever one can stand, and then searched for in everything that is written.
// The story runs inside an emulator of its own, with every log turned on and all output caught.
#include "integration/keptdata.h"
#include "integration/loudrun.h"
#include "integration/pluginfixture.h"
#include "plugin/zorauthplugin.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/secretsearch.h"
#include "support/sessionsandbox.h"

#include <QDataStream>

#include <functional>
#include <memory>

using namespace KelTest;
using namespace KelTest::SecretSearch;

namespace {

const QString consumerSecret = "planted consumer secret &1"_s;
const QString firstPassword = "plänted first password 2"_s;
const QString secondPassword = "plänted second password 3"_s;
const QString securityAnswer = "plänted answer 4"_s;
const QString wrongPassword = "planted wrong password 5"_s;
const QString newcomersPassword = "planted newcomer's password 6"_s;
const QString newcomersAnswer = "planted newcomer's answer 7"_s;

QJsonObject account(const QString& name)
{
    return {
        {"userName"_s, name}, {"email"_s, name + "@example.org"_s}, {"password"_s, firstPassword}};
}

QVariantMap registering(const QString& email)
{
    KelRestHandler::RegistrationInfoData newcomer;
    newcomer.emailAddress = email;
    newcomer.password = newcomersPassword;
    newcomer.securityQuestion = "2"_s;
    newcomer.securityAnswer = newcomersAnswer;
    newcomer.serviceTag = "dGFn"; // base64, as the emulated service wants it
    return {{"RegistrationData"_s, KelRestHandler::serializeRegistration(newcomer)}};
}

} // namespace

/// Runs inside. Writes the secrets down for the test outside.
class Story : public PluginFixture
{
    Q_OBJECT

private Q_SLOTS:
    void everythingHappens()
    {
        QVERIFY(!addAccount(account("bob"_s)).isEmpty());
        QVERIFY(openSession("bob"_s, firstPassword));
        everyMechanism([this](const char* mechanism, const QVariantMap& data) {
            return request(mechanism, data);
        });
        if (QTest::currentTestFailed())
            return;
        QVERIFY(openSession("new1@example.org"_s, newcomersPassword));
        const QVariantMap data = registering("new1@example.org"_s);
        QCOMPARE(request("privateMechanism_registerAccount", data), 0);
        QCOMPARE(request("privateMechanism_registerAccount", data), 515);
        QVERIFY(mSecrets.size() >= 7 + 2 * 4);
        QVERIFY(mMessages.size() >= 9);
    }

    void everythingHappensInThisProcess()
    {
        QVERIFY(!addAccount(account("carol"_s)).isEmpty());
        mPlugin = std::make_unique<ZorAuth::ZorAuthPlugin>();
        everyMechanism([this](const char* mechanism, const QVariantMap& data) {
            return requestHere(mechanism, data);
        });
        if (QTest::currentTestFailed())
            return;
        const QVariantMap data = registering("new2@example.org"_s);
        QCOMPARE(requestHere("privateMechanism_registerAccount", data), 0);
        QCOMPARE(requestHere("privateMechanism_registerAccount", data), 515);
    }

    void onlyTheDaemonsStoreHoldsSecrets()
    {
        QCOMPARE(foundIn(mMessages.join(QLatin1Char('\n')).toUtf8(), mSecrets), QString());

        int files = 0;
        QCOMPARE(filesWith(mSecrets, qEnvironmentVariable("SSO_STORAGE_PATH") + "/../.."_s,
                           "signon-secrets.db"_s, files),
                 QStringList());
        QVERIFY(files > 5);
        // The search finds what is there.
        QVERIFY(!foundIn(contentOf(storeFile("signon-secrets.db")), {firstPassword}).isEmpty());
        QVERIFY(!foundIn(contentOf(storeFile("signon-secrets.db")), {secondPassword}).isEmpty());

        QVERIFY(LoudRun::handOver(mSecrets));
    }

private:
    using Request = std::function<int(const char*, const QVariantMap&)>;

    /// Notes what an error says.
    int request(const char* mechanism, const QVariantMap& data = {})
    {
        QVariantMap all = data;
        all.insert("ConsumerSecret"_s, consumerSecret);
        const Outcome outcome = process(mechanism, all);
        if (!outcome.message.isEmpty())
            mMessages.append(outcome.message);
        noteTokens(storedSession());
        return outcome.error;
    }

    /// The daemon throws away what a plugin's process writes; written by this process, it is
    /// caught.
    int requestHere(const char* mechanism, const QVariantMap& data)
    {
        QVariantMap all = mKept;
        const QVariantMap own = {{"ConsumerKey"_s, key()},
                                 {"ConsumerSecret"_s, consumerSecret},
                                 {"ServerUrlValue"_s, server},
                                 {"UserName"_s, "carol"_s},
                                 {"Secret"_s, firstPassword}};
        for (const QVariantMap& more : {own, data}) {
            for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
                all.insert(entry.key(), entry.value());
        }
        int status = -1;
        const QObject context;
        connect(mPlugin.get(), &AuthPluginInterface::result, &context, [&] { status = 0; });
        connect(mPlugin.get(), &AuthPluginInterface::store, &context,
                [&](const SignOn::SessionData& kept) { mKept = kept.toMap(); });
        connect(mPlugin.get(), &AuthPluginInterface::error, &context,
                [&](const SignOn::Error& error) {
                    status = error.type();
                    mMessages.append(error.message());
                });
        mPlugin->process(SignOn::SessionData(all), QLatin1String(mechanism));
        KelTest::waitUntil([&] { return status >= 0; });
        noteTokens(KeptData::sessionIn(mKept));
        return status;
    }

    void everyMechanism(const Request& send)
    {
        QCOMPARE(send("signIn", {{"Secret"_s, wrongPassword}, {"ManualSignIn"_s, true}}), 504);
        QCOMPARE(send("initialise", {}), 0);
        QCOMPARE(send("signIn", {{"ManualSignIn"_s, true}}), 0);
        QCOMPARE(send("token", {}), 0);
        QCOMPARE(send("privateMechanism_downloadProfile", {}), 0);
        QByteArray question;
        QDataStream stream(&question, QIODevice::WriteOnly);
        stream << "2"_s << securityAnswer;
        QCOMPARE(send("privateMechanism_updateSecurityQuestion",
                      {{"UpdateSecurityQuestion"_s, question}}),
                 0);
        QCOMPARE(send("privateMechanism_changepassword",
                      {{"OldPassword"_s, wrongPassword}, {"NewPassword"_s, secondPassword}}),
                 614);
        QCOMPARE(send("privateMechanism_changepassword",
                      {{"OldPassword"_s, firstPassword}, {"NewPassword"_s, secondPassword}}),
                 0);
        QCOMPARE(send("signIn", {}), 0);
        QVERIFY(letTokensExpire());
        QCOMPARE(send("privateMechanism_updateDeviceInfo", {}), 0);
        QCOMPARE(send("setUserId", {{"NewUserName"_s, "other"_s}}), 608);
        QCOMPARE(send("userId", {}), 0);
        for (const char* fault :
             {"close-after-headers", "cut-body", "status=500", "wrong-host", "not-xml"}) {
            QVERIFY(KelTest::EmulatedService::orderFaults(fault));
            QVERIFY(send("signIn", {}) > 0);
        }
        QCOMPARE(send("signature", {}), int(SignOn::Error::MechanismNotAvailable));
        QCOMPARE(send("privateMechanism_signOut", {}), 0);
        QCOMPARE(send("close", {}), 0);
    }

    void noteTokens(const QVariantMap& session)
    {
        for (const char* name : {"Token", "TokenSecret"}) {
            const QString secret = session.value(QLatin1String(name)).toString();
            if (!secret.isEmpty() && !mSecrets.contains(secret))
                mSecrets.append(secret);
        }
    }

    QStringList mSecrets = {consumerSecret, firstPassword,     secondPassword, securityAnswer,
                            wrongPassword,  newcomersPassword, newcomersAnswer};
    QStringList mMessages;
    std::unique_ptr<ZorAuth::ZorAuthPlugin> mPlugin; // of this process
    QVariantMap mKept;                               // what the daemon would keep for it
};

class TestPluginSecrets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noOutputHoldsSecrets()
    {
        const LoudRun::Result result =
            LoudRun::run(consumerSecret, "kelaccount.*=true;qt.network.*=true;qt.dbus.*=true"_s);
        QCOMPARE(result.exitCode, 0);
        QVERIFY(result.secrets.size() > 7);
        // Each is a line of the emulator's, and of the session's, that proves that there are lines.
        QVERIFY(result.output.contains("accounts/2/profile"));
        QVERIFY(result.sessionLog.contains("Activating"));
        QCOMPARE(foundIn(result.output, result.secrets), QString());
        QCOMPARE(foundIn(result.sessionLog, result.secrets), QString());
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (LoudRun::isInside()) {
        Story story;
        return QTest::qExec(&story, argc, argv);
    }
    TestPluginSecrets test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_plugin_secrets.moc"
