// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/flightrecord.h"
#include "rest/records/registrationinfodata.h"
#include "signonfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <functional>

using namespace KelTest;
using KelAccount::KelAuthSessionInterface;
using KelRestHandler::RegistrationInfoData;

namespace {

using Call = std::function<void(KelAuthSessionInterface&)>;

const QString securityAnswer = "the-security-answer"_s;
const QString oldPassword = "the-old-password"_s;
const QString newPassword = "the-new-password"_s;

RegistrationInfoData registration()
{
    RegistrationInfoData record;
    record.userName = "new.user"_s;
    record.password = newPassword;
    record.emailAddress = "new.user@mail.example"_s;
    record.dateOfBirth = QDate(1990, 12, 31);
    record.serviceTag = "tag"_ba;
    return record;
}

void registerNewUser(KelAuthSessionInterface& session)
{
    const RegistrationInfoData record = registration();
    session.registerAccount(&record);
}

struct Operation
{
    const char* name; // of its signal, without "Response"
    const char* mechanism;
    Call call;
    QVariantMap added; // beyond the keys of every request; a serialised record is a null here
};

QList<Operation> operations()
{
    const QVariantMap manual = {{"ManualSignIn"_s, true}};
    return {
        {"signIn", "signIn", [](auto& s) { s.signIn(); }, manual},
        {"token", "token", [](auto& s) { s.token(); }, {}},
        {"downloadProfile",
         "privateMechanism_downloadProfile",
         [](auto& s) { s.downloadProfile(); },
         {}},
        {"setSecurityQuestion",
         "privateMechanism_updateSecurityQuestion",
         [](auto& s) { s.setSecurityQuestion("question"_s, securityAnswer); },
         {{"UpdateSecurityQuestion"_s, QVariant()}}},
        {"registerAccount",
         "privateMechanism_registerAccount",
         &registerNewUser,
         {{"RegistrationData"_s, QVariant()}, {"ManualSignIn"_s, true}}},
        {"changePassword",
         "privateMechanism_changepassword",
         [](auto& s) { s.changePassword(oldPassword, newPassword); },
         {{"OldPassword"_s, oldPassword}, {"NewPassword"_s, newPassword}}},
        {"userIdUpdate",
         "setUserId",
         [](auto& s) { s.userIdUpdate("other"_s); },
         {{"NewUserName"_s, "other"_s}}},
        {"updateDeviceInfo",
         "privateMechanism_updateDeviceInfo",
         [](auto& s) { s.updateDeviceInfo(); },
         {}},
        {"ensureToken", "privateMechanism_ensureToken", [](auto& s) { s.ensureToken(); }, {}},
        {"signOut", "privateMechanism_signOut", [](auto& s) { s.signOut(); }, {}},
    };
}

/// What the daemon adds on the way from the stored credentials.
QVariantMap withoutTheDaemonsKeys(QVariantMap data)
{
    for (const char* name : {"UserName", "Secret", "AccessControlTokens"})
        data.remove(QLatin1String(name));
    return data;
}

} // namespace

Q_DECLARE_METATYPE(Call)

class TestRequests : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void theDaemonRunsBeforeItIsNeeded()
    {
        mInterface.reset();
        QVERIFY(SessionSandbox::startDaemon());
        QVERIFY(SessionSandbox::killDaemon());
        QCOMPARE(SessionSandbox::daemonProcessId(), pid_t(0));
        makeInterface();
        QVERIFY(waitUntil([] { return SessionSandbox::daemonProcessId() != 0; }));
    }

    void initialiseCarriesTheServiceName()
    {
        QVERIFY(open("my-service"_s));
        QCOMPARE(mSandbox.mechanisms(), QStringList("initialise"_s));
        QVariantMap expected = commonKeys();
        expected.insert("ZorService"_s, "my-service"_s);
        const QVariantMap data = mSandbox.requests().at(0).data;
        QCOMPARE(withoutTheDaemonsKeys(data), expected);
        QCOMPARE(data.value("UserName"_s), QVariant("user"_s));
        QCOMPARE(data.value("Secret"_s), QVariant("the-password"_s));
    }

    void whatIsForDevelopersIsNotLoggedUnlessItIsAskedFor()
    {
        const MessageLog log;
        QVERIFY(open());
        mInterface->signIn();
        QVERIFY(waitUntil([this] { return !mAnswers.isEmpty(); }));
        for (const QString& line : log.all())
            QVERIFY2(!line.startsWith("D "_s), qPrintable(line));
    }

    // Where something is asked right behind it, and only then.
    void initialiseHasAConnectionOpenedOnceWhenItIsWanted()
    {
        mInterface->openConnectionNext();
        QVERIFY(open());
        QVERIFY(mSandbox.requests().constFirst().data.value("Prepare"_s).toBool());
        mInterface->destroyActiveAuthSession();
        QVERIFY(open());
        QVERIFY(!mSandbox.requests().constLast().data.contains("Prepare"_s));
    }

    void requestsReachThePluginAsTheyShould_data() { operationRows(); }
    void requestsReachThePluginAsTheyShould()
    {
        const auto [name, mechanism, call, added] =
            fetch<QString, QString, Call, QVariantMap>("name", "mechanism", "call", "added");
        QVERIFY(open());
        call(*mInterface);
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(waitForAnswers(1));
        letPass(50);
        QCOMPARE(mAnswers, QStringList(name + " 0"_s));

        const QList<PluginRequest> requests = mSandbox.requests();
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests.at(1).mechanism, mechanism);
        QVariantMap data = withoutTheDaemonsKeys(requests.at(1).data);
        QVariantMap expected = commonKeys();
        for (auto entry = added.cbegin(); entry != added.cend(); ++entry) {
            expected.insert(entry.key(), entry.value());
            if (!entry.value().isNull())
                continue;
            QCOMPARE(data.value(entry.key()).userType(), int(QMetaType::QByteArray));
            data.insert(entry.key(), QVariant()); // its content has a test of its own
        }
        QCOMPARE(data, expected);
        for (auto entry = expected.cbegin(); entry != expected.cend(); ++entry)
            QCOMPARE(data.value(entry.key()).userType(), entry.value().userType());
    }

    void aSessionWhoseCredentialsAreGoneIsNotOpen()
    {
        const unsigned credentials = storeCredentials();
        QVERIFY(credentials > 0);
        const auto openTheirs = [&] {
            return mInterface->createAuthSession(key(), secret(), "service"_s, server, credentials);
        };
        QVERIFY(openTheirs());
        QVERIFY(openTheirs());
        QCOMPARE(mSandbox.mechanisms(), QStringList("initialise"_s));
        KelAccount::KelConfigure store;
        bool isRemoved = false;
        store.removeIdentity(credentials, [&] { isRemoved = true; });
        QVERIFY(waitUntil([&] { return isRemoved; }));
        QVERIFY(waitUntil([&] { return !openTheirs(); }));
    }

    // It is the session's, and no caller's.
    void anInitialiseThatFailsIsNobodysAnswer()
    {
        mSandbox.script({{"initialise"_s, PluginStep::Err, {}, 600}});
        const auto replies = [] {
            const auto kept = KelAccount::FlightRecord::kept();
            return std::count_if(kept.begin(), kept.end(), [](const auto& recorded) {
                return recorded.event.moment == KelAccount::FlightRecord::Moment::Replied;
            });
        };
        const auto before = replies();
        mInterface->setCaller(1);
        QVERIFY(!open());
        QCOMPARE(replies(), before);
    }

    void whateverARecordSaysTheKeysAreTheSessions()
    {
        QVERIFY(open());
        ZorKeLSignOn::ZorAuthSessionData record;
        record.setConsumerKey("another-key"_s);
        record.setConsumerSecret("another-secret"_s);
        mInterface->enQueueRequestToAuthPlugin(record, "token"_s, KelAccount::TokenRequest);
        QVERIFY(waitForAnswers(1));
        const QVariantMap data = mSandbox.requests().at(1).data;
        QCOMPARE(data.value("ConsumerKey"_s), QVariant(key()));
        QCOMPARE(data.value("ConsumerSecret"_s), QVariant(secret()));
    }

    // As docs/signon.md has it. Nobody waits for that here.
    void aSessionHasNinetySecondsToBeOpened()
    {
        QList<int> guards;
        QTimer::singleShot(0, mInterface.get(), [&] {
            for (const QTimer* const timer : mInterface->findChildren<QTimer*>()) {
                if (timer->isActive())
                    guards.append(timer->interval());
            }
        });
        QVERIFY(open());
        QVERIFY(guards.contains(90000));
    }

    // The service has one minute for each, and those of other sessions may come first.
    void aRequestHasFiveMinutesToBeAnswered()
    {
        mSandbox.script({{"token"_s, PluginStep::Hang, {}, 0}});
        QVERIFY(open());
        const auto minutesOfGuards = [this] {
            QList<int> minutes;
            for (const QTimer* const timer : mInterface->findChildren<QTimer*>()) {
                if (timer->isActive() && timer->interval() >= 60000)
                    minutes.append(timer->interval() / 60000);
            }
            return minutes;
        };
        QCOMPARE(minutesOfGuards(), QList<int>());
        mInterface->token();
        QCOMPARE(minutesOfGuards(), QList<int>({5}));
        // A cancellation that comes first leaves the plugin hanging, and who comes next waiting.
        QVERIFY(mSandbox.waitForRequests(2));
        mInterface->cancelActiveRequest();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(minutesOfGuards(), QList<int>());
    }

    void whatThePluginHasCanBeCancelled()
    {
        mSandbox.script({{"token"_s, PluginStep::Hang, {}, 0}});
        QVERIFY(open());
        mInterface->cancelActiveRequest(); // which there is none of
        mInterface->token();
        QVERIFY(mSandbox.waitForRequests(2));
        QCOMPARE(mSandbox.cancellations(), 0);
        mInterface->cancelActiveRequest();
        QVERIFY(waitUntil([&] { return mSandbox.cancellations() == 1; }));
    }

    void onlyWhatAnAbandonedCallerWaitsForIsNotSent()
    {
        QVERIFY(open());
        mInterface->downloadProfile(); // of nobody
        mInterface->setCaller(1);
        mInterface->token();
        mInterface->setCaller(2);
        mInterface->ensureToken();
        mInterface->setCaller(0);
        mInterface->signIn();
        QList<quint64> callers;
        mAfterwards = [&](const QString&) { callers.append(mInterface->answeredCaller()); };
        mInterface->abandon(0); // which is nobody
        mInterface->abandon(2);
        QVERIFY(waitForAnswers(3));
        letPass(50);
        mAfterwards = nullptr;
        QCOMPARE(mAnswers, QStringList({"downloadProfile 0"_s, "token 0"_s, "signIn 0"_s}));
        QCOMPARE(callers, QList<quint64>({0, 1, 0}));
        QCOMPARE(mSandbox.mechanisms(),
                 QStringList({"initialise"_s, "privateMechanism_downloadProfile"_s, "token"_s,
                              "signIn"_s}));
    }

    // That it is sent in its turn and answered at once is told in queue.txt.
    void closeReachesThePlugin()
    {
        QVERIFY(open());
        mInterface->close();
        QVERIFY(mSandbox.waitForRequests(2));
        QCOMPARE(withoutTheDaemonsKeys(mSandbox.requests().at(1).data), commonKeys());
    }

    void registrationArrivesWhole()
    {
        QVERIFY(open());
        registerNewUser(*mInterface);
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mSandbox.requests().at(1).data.value("RegistrationData"_s).toByteArray(),
                 KelRestHandler::serializeRegistration(registration()));
    }

    void thePluginsErrorIsPassedOn_data() { operationRows(); }
    void thePluginsErrorIsPassedOn()
    {
        const auto [name, mechanism, call] =
            fetch<QString, QString, Call>("name", "mechanism", "call");
        mSandbox.script({{mechanism, PluginStep::Err, {}, 614}});
        QVERIFY(open());
        call(*mInterface);
        QVERIFY(waitForAnswers(1));
        letPass(50);
        QCOMPARE(mAnswers, QStringList(name + " 614"_s));
        QVERIFY(mInterface->sessionExists(mCredentials));
    }

    void signInAndRegistrationHandTheDataOn()
    {
        const QVariantMap sent = {{"UserId"_s, "u"_s},
                                  {"LoginId"_s, "l"_s},
                                  {"KelAccountId"_s, 17},
                                  {"DownloadedProfile"_s, "p"_ba}};
        mSandbox.script({{{}, PluginStep::Answer, sent}});
        QVERIFY(open());
        QList<QVariantMap> received;
        const auto take = [&received](int, const SignOn::SessionData& data) {
            received.append(data.toMap());
        };
        connect(mInterface.get(), &Interface::signInResponse, this, take);
        connect(mInterface.get(), &Interface::registerationCompleted, this, take);
        connect(mInterface.get(), &Interface::downloadProfileResponse, this, take);
        mInterface->signIn();
        registerNewUser(*mInterface);
        mInterface->downloadProfile();
        QVERIFY(waitForAnswers(3));
        QCOMPARE(received, QList<QVariantMap>({sent, sent, sent}));
    }

    void errorsComeWithoutData()
    {
        mSandbox.script({{"signIn"_s, PluginStep::Err, {}, 606}});
        QVERIFY(open());
        QSignalSpy signedIn(mInterface.get(), &Interface::signInResponse);
        mInterface->signIn();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(signedIn.at(0).at(0).toInt(), 606);
        QCOMPARE(signedIn.at(0).at(1).value<SignOn::SessionData>().toMap(), QVariantMap());
    }

    void tokenIsReadAsText_data()
    {
        columns<QVariantMap, int, QString>("answer", "error", "token");
        const QString name = "Token"_s;
        QTest::newRow("text") << QVariantMap{{name, "abc"_s}} << 0 << "abc"_s;
        QTest::newRow("missing") << QVariantMap() << 0 << QString();
        QTest::newRow("number") << QVariantMap{{name, 12}} << 0 << "12"_s;
        QTest::newRow("list") << QVariantMap{{name, QVariantList{1, 2}}} << 0 << QString();
        QTest::newRow("error") << QVariantMap() << 604 << QString();
    }
    void tokenIsReadAsText()
    {
        const auto [answer, error, token] =
            fetch<QVariantMap, int, QString>("answer", "error", "token");
        const int action = error ? PluginStep::Err : PluginStep::Answer;
        mSandbox.script({{"token"_s, action, answer, error}});
        QVERIFY(open());
        QSignalSpy tokens(mInterface.get(), &Interface::tokenResponse);
        mInterface->token();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(tokens.at(0).at(0).toInt(), error);
        QCOMPARE(tokens.at(0).at(1).toString(), token);
    }

    void nullTextsArriveEmpty()
    {
        QVERIFY(mInterface->createAuthSession(QString(), QString(), QString(), 0, mCredentials));
        mInterface->changePassword(QString(), QString());
        QVERIFY(waitForAnswers(1));
        const QList<PluginRequest> requests = mSandbox.requests();
        const QVariant empty = QString(QLatin1String(""));
        QCOMPARE(requests.at(0).data.value("ConsumerKey"_s), empty);
        QCOMPARE(requests.at(0).data.value("ZorService"_s), empty);
        QCOMPARE(requests.at(1).data.value("OldPassword"_s), empty);
        QVERIFY(requests.at(1).data.contains("NewPassword"_s));
    }

    void registrationWithoutARecordIsRefused()
    {
        QVERIFY(open());
        const MessageLog log;
        mInterface->registerAccount(nullptr);
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("registerAccount 1001"_s));
        QCOMPARE(mSandbox.mechanisms(), QStringList("initialise"_s));
    }

    // The daemon answers some of them by "unknown", some by nothing, and hands some over.
    void whatTheDaemonWouldLoseIsRefused()
    {
        QVERIFY(open());
        const QString longText(1000, QLatin1Char('x'));
        KelRestHandler::RegistrationInfoData registration;
        registration.password = QString(1500, QLatin1Char('x'));
        mInterface->changePassword("old"_s, longText);
        mInterface->setSecurityQuestion("1"_s, longText);
        mInterface->userIdUpdate(longText);
        mInterface->registerAccount(&registration);
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(waitForAnswers(4));
        QCOMPARE(mAnswers, QStringList({"changePassword 1001"_s, "setSecurityQuestion 1001"_s,
                                        "userIdUpdate 1001"_s, "registerAccount 1001"_s}));
        QCOMPARE(mSandbox.mechanisms(), QStringList("initialise"_s));
        mInterface->changePassword("old"_s, longText.left(500));
        QVERIFY(waitForAnswers(5));
        QCOMPARE(mAnswers.last(), "changePassword 0"_s);
    }

    void aRegistrationHasRoomForItsTag()
    {
        QVERIFY(open());
        KelRestHandler::RegistrationInfoData registration;
        registration.password = "password"_s;
        registration.serviceTag = QByteArray(3000, 'x');
        mInterface->registerAccount(&registration);
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mSandbox.requests().at(1).data.value("RegistrationData"_s).toByteArray(),
                 KelRestHandler::serializeRegistration(registration));
        // Within the bound by itself, and not with what the daemon has for the plugin besides.
        registration.password = QString(300, QLatin1Char('x'));
        mInterface->registerAccount(&registration);
        QVERIFY(waitForAnswers(2));
        QCOMPARE(mAnswers, QStringList({"registerAccount 0"_s, "registerAccount 1001"_s}));
        QCOMPARE(mSandbox.requests().size(), 2);
    }

    void nothingSecretIsLogged()
    {
        QLoggingCategory::setFilterRules("*=true"_s);
        QStringList logged;
        {
            const MessageLog log;
            mSandbox.script({{"token"_s, PluginStep::Answer, {{"Token"_s, "the-token"_s}}},
                             {"privateMechanism_changepassword"_s, PluginStep::Err, {}, 614}});
            QVERIFY(open());
            const QList<Operation> all = operations();
            for (const Operation& operation : all)
                operation.call(*mInterface);
            QVERIFY(waitForAnswers(all.size()));
            mInterface->changePassword(oldPassword, newPassword);
            mInterface->destroyActiveAuthSession();
            mInterface->setSecurityQuestion("question"_s,
                                            securityAnswer); // no session
            QVERIFY(waitForAnswers(all.size() + 2));
            logged = log.all();
        }
        QLoggingCategory::setFilterRules(QString());
        QVERIFY(!logged.isEmpty());
        const QString text = logged.join(QLatin1Char('\n'));
        for (const QString& hidden :
             {secret(), oldPassword, newPassword, securityAnswer, "the-token"_s, "the-password"_s})
            QVERIFY2(!text.contains(hidden), qPrintable(hidden));
    }

private:
    void operationRows()
    {
        columns<QString, QString, Call, QVariantMap>("name", "mechanism", "call", "added");
        const QList<Operation> all = operations();
        for (const Operation& operation : all)
            row(operation.name, QString::fromLatin1(operation.name),
                QString::fromLatin1(operation.mechanism), operation.call, operation.added);
    }

    QVariantMap commonKeys() const
    {
        return {{"ConsumerKey"_s, key()},     {"ConsumerSecret"_s, secret()},
                {"ServerUrlValue"_s, server}, {"ManualSignIn"_s, false},
                {"VerifyUser"_s, false},      {"KelIdHashRequestType"_s, 0}};
    }
};

KEL_TEST_IN_SESSION(TestRequests)
#include "tst_requests.moc"
