// SPDX-License-Identifier: LGPL-2.1-or-later
#include "bytereader.h"
#include "rest/records/registrationinfodata.h"
#include "signonfixture.h"
#include "support/messagelog.h"

#include <QLoggingCategory>

#include <functional>

using namespace KelTest;
using KelAccount::KelAuthSessionInterface;
using KelRestHandler::RegistrationInfoData;

namespace {

using Call = std::function<void(KelAuthSessionInterface&)>;

const QString securityAnswer = QStringLiteral("the-security-answer");
const QString oldPassword = QStringLiteral("the-old-password");
const QString newPassword = QStringLiteral("the-new-password");

RegistrationInfoData registration()
{
    RegistrationInfoData record;
    record.userName = QStringLiteral("new.user");
    record.password = newPassword;
    record.emailAddress = QStringLiteral("new.user@mail.example");
    record.dateOfBirth = QDate(1990, 12, 31);
    record.serviceTag = QByteArray("tag");
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
    const QVariantMap manual = {{QStringLiteral("ManualSignIn"), true}};
    return {
        {"signIn", "signIn", [](auto& s) { s.signIn(); }, manual},
        {"token", "token", [](auto& s) { s.token(); }, {}},
        {"downloadProfile",
         "privateMechanism_downloadProfile",
         [](auto& s) { s.downloadProfile(); },
         {}},
        {"setSecurityQuestion",
         "privateMechanism_updateSecurityQuestion",
         [](auto& s) { s.setSecurityQuestion(QStringLiteral("question"), securityAnswer); },
         {{QStringLiteral("UpdateSecurityQuestion"), QVariant()}}},
        {"registerAccount",
         "privateMechanism_registerAccount",
         &registerNewUser,
         {{QStringLiteral("RegistrationData"), QVariant()},
          {QStringLiteral("ManualSignIn"), true}}},
        {"changePassword",
         "privateMechanism_changepassword",
         [](auto& s) { s.changePassword(oldPassword, newPassword); },
         {{QStringLiteral("OldPassword"), oldPassword},
          {QStringLiteral("NewPassword"), newPassword}}},
        {"userIdUpdate",
         "setUserId",
         [](auto& s) { s.userIdUpdate(QStringLiteral("other")); },
         {{QStringLiteral("NewUserName"), QStringLiteral("other")}}},
        {"updateDeviceInfo",
         "privateMechanism_updateDeviceInfo",
         [](auto& s) { s.updateDeviceInfo(); },
         {}},
        {"ensureToken", "privateMechanism_ensureToken", [](auto& s) { s.ensureToken(); }, {}},
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
    void initTestCase();
    void init();
    void initialiseCarriesTheServiceName();
    void requestsReachThePluginAsTheyShould_data();
    void requestsReachThePluginAsTheyShould();
    void closeReachesThePlugin();
    void registrationArrivesWhole();
    void securityQuestionArrivesWhole();
    void successIsAnsweredWithZero_data();
    void successIsAnsweredWithZero();
    void thePluginsErrorIsPassedOn_data();
    void thePluginsErrorIsPassedOn();
    void signInAndRegistrationHandTheDataOn();
    void errorsComeWithoutData();
    void tokenIsReadAsText_data();
    void tokenIsReadAsText();
    void nullTextsArriveEmpty();
    void registrationWithoutARecordIsRefused();
    void nothingSecretIsLogged();

private:
    void operationRows();
    QVariantMap commonKeys() const;
};

void TestRequests::initTestCase()
{
    mCredentials = storeCredentials();
    QVERIFY(mCredentials > 0);
}

void TestRequests::init()
{
    mSandbox.script({});
    makeInterface();
}

QVariantMap TestRequests::commonKeys() const
{
    return {
        {QStringLiteral("ConsumerKey"), key()},     {QStringLiteral("ConsumerSecret"), secret()},
        {QStringLiteral("ServerUrlValue"), server}, {QStringLiteral("ManualSignIn"), false},
        {QStringLiteral("VerifyUser"), false},      {QStringLiteral("KelIdHashRequestType"), 0}};
}

void TestRequests::operationRows()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("mechanism");
    QTest::addColumn<Call>("call");
    QTest::addColumn<QVariantMap>("added");
    const QList<Operation> all = operations();
    for (const Operation& operation : all)
        QTest::newRow(operation.name)
            << QString::fromLatin1(operation.name) << QString::fromLatin1(operation.mechanism)
            << operation.call << operation.added;
}

void TestRequests::initialiseCarriesTheServiceName()
{
    QVERIFY(open(QStringLiteral("my-service")));
    QCOMPARE(mSandbox.mechanisms(), QStringList(QStringLiteral("initialise")));
    QVariantMap expected = commonKeys();
    expected.insert(QStringLiteral("ZorService"), QStringLiteral("my-service"));
    const QVariantMap data = mSandbox.requests().at(0).data;
    QCOMPARE(withoutTheDaemonsKeys(data), expected);
    QCOMPARE(data.value(QStringLiteral("UserName")), QVariant(QStringLiteral("user")));
    QCOMPARE(data.value(QStringLiteral("Secret")), QVariant(QStringLiteral("the-password")));
}

void TestRequests::requestsReachThePluginAsTheyShould_data()
{
    operationRows();
}

void TestRequests::requestsReachThePluginAsTheyShould()
{
    QFETCH(QString, mechanism);
    QFETCH(Call, call);
    QFETCH(QVariantMap, added);
    QVERIFY(open());
    call(*mInterface);
    QVERIFY(waitForAnswers(1));

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

void TestRequests::closeReachesThePlugin()
{
    QVERIFY(open());
    mInterface->close();
    QCOMPARE(mAnswers, QStringList(QStringLiteral("close 0")));
    QVERIFY(mSandbox.waitForRequests(2));
    QCOMPARE(mSandbox.mechanisms().last(), QStringLiteral("close"));
    QCOMPARE(withoutTheDaemonsKeys(mSandbox.requests().at(1).data), commonKeys());
    letPass(100); // the plugin's own answer is nobody's
    QCOMPARE(mAnswers.size(), 1);
}

void TestRequests::registrationArrivesWhole()
{
    QVERIFY(open());
    registerNewUser(*mInterface);
    QVERIFY(waitForAnswers(1));
    ByteReader reader(
        mSandbox.requests().at(1).data.value(QStringLiteral("RegistrationData")).toByteArray());
    QCOMPARE(reader.text(), QStringLiteral("new.user"));
    QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.text(), newPassword);
    QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.text(), QStringLiteral("new.user@mail.example"));
    QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.date(), QDate(1990, 12, 31));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.integer(), 0);
    QCOMPARE(reader.flag(), false);
    QCOMPARE(reader.flag(), false);
    QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.integer(), int(QLocale::C));
    QCOMPARE(reader.integer(), int(QLocale::AnyCountry));
    QCOMPARE(reader.integer(), 0);
    QCOMPARE(reader.flag(), false);
    QCOMPARE(reader.flag(), false);
    QCOMPARE(reader.text(), QString());
    QCOMPARE(reader.block(), QByteArray("tag"));
    QVERIFY(reader.atEnd());
}

void TestRequests::securityQuestionArrivesWhole()
{
    QVERIFY(open());
    mInterface->setSecurityQuestion(QStringLiteral("Où ?"), securityAnswer);
    QVERIFY(waitForAnswers(1));
    ByteReader reader(mSandbox.requests()
                          .at(1)
                          .data.value(QStringLiteral("UpdateSecurityQuestion"))
                          .toByteArray());
    QCOMPARE(reader.text(), QStringLiteral("Où ?"));
    QCOMPARE(reader.text(), securityAnswer);
    QVERIFY(reader.atEnd());
}

void TestRequests::successIsAnsweredWithZero_data()
{
    operationRows();
}

void TestRequests::successIsAnsweredWithZero()
{
    QFETCH(QString, name);
    QFETCH(Call, call);
    QVERIFY(open());
    call(*mInterface);
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(waitForAnswers(1));
    letPass(50);
    QCOMPARE(mAnswers, QStringList(name + QStringLiteral(" 0")));
}

void TestRequests::thePluginsErrorIsPassedOn_data()
{
    operationRows();
}

void TestRequests::thePluginsErrorIsPassedOn()
{
    QFETCH(QString, name);
    QFETCH(QString, mechanism);
    QFETCH(Call, call);
    mSandbox.script({{mechanism, PluginStep::Err, {}, 614}});
    QVERIFY(open());
    call(*mInterface);
    QVERIFY(waitForAnswers(1));
    letPass(50);
    QCOMPARE(mAnswers, QStringList(name + QStringLiteral(" 614")));
    QVERIFY(mInterface->sessionExists(mCredentials));
}

void TestRequests::signInAndRegistrationHandTheDataOn()
{
    const QVariantMap sent = {{QStringLiteral("UserId"), QStringLiteral("u")},
                              {QStringLiteral("LoginId"), QStringLiteral("l")},
                              {QStringLiteral("KelAccountId"), 17},
                              {QStringLiteral("DownloadedProfile"), QByteArray("p")}};
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

void TestRequests::errorsComeWithoutData()
{
    mSandbox.script({{QStringLiteral("signIn"), PluginStep::Err, {}, 606}});
    QVERIFY(open());
    QSignalSpy signedIn(mInterface.get(), &Interface::signInResponse);
    mInterface->signIn();
    QVERIFY(waitForAnswers(1));
    QCOMPARE(signedIn.at(0).at(0).toInt(), 606);
    QCOMPARE(signedIn.at(0).at(1).value<SignOn::SessionData>().toMap(), QVariantMap());
}

void TestRequests::tokenIsReadAsText_data()
{
    QTest::addColumn<QVariantMap>("answer");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("token");
    const QString name = QStringLiteral("Token");
    QTest::newRow("text") << QVariantMap{{name, QStringLiteral("abc")}} << 0
                          << QStringLiteral("abc");
    QTest::newRow("missing") << QVariantMap() << 0 << QString();
    QTest::newRow("number") << QVariantMap{{name, 12}} << 0 << QStringLiteral("12");
    QTest::newRow("list") << QVariantMap{{name, QVariantList{1, 2}}} << 0 << QString();
    QTest::newRow("error") << QVariantMap() << 604 << QString();
}

void TestRequests::tokenIsReadAsText()
{
    QFETCH(QVariantMap, answer);
    QFETCH(int, error);
    QFETCH(QString, token);
    const int action = error ? PluginStep::Err : PluginStep::Answer;
    mSandbox.script({{QStringLiteral("token"), action, answer, error}});
    QVERIFY(open());
    QSignalSpy tokens(mInterface.get(), &Interface::tokenResponse);
    mInterface->token();
    QVERIFY(waitForAnswers(1));
    QCOMPARE(tokens.at(0).at(0).toInt(), error);
    QCOMPARE(tokens.at(0).at(1).toString(), token);
}

void TestRequests::nullTextsArriveEmpty()
{
    QVERIFY(mInterface->createAuthSession(QString(), QString(), QString(), 0, mCredentials));
    mInterface->changePassword(QString(), QString());
    QVERIFY(waitForAnswers(1));
    const QList<PluginRequest> requests = mSandbox.requests();
    const QVariant empty = QString(QLatin1String(""));
    QCOMPARE(requests.at(0).data.value(QStringLiteral("ConsumerKey")), empty);
    QCOMPARE(requests.at(0).data.value(QStringLiteral("ZorService")), empty);
    QCOMPARE(requests.at(1).data.value(QStringLiteral("OldPassword")), empty);
    QVERIFY(requests.at(1).data.contains(QStringLiteral("NewPassword")));
}

void TestRequests::registrationWithoutARecordIsRefused()
{
    QVERIFY(open());
    const MessageLog log;
    mInterface->registerAccount(nullptr);
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(waitForAnswers(1));
    QCOMPARE(mAnswers, QStringList(QStringLiteral("registerAccount 1001")));
    QCOMPARE(mSandbox.mechanisms(), QStringList(QStringLiteral("initialise")));
}

void TestRequests::nothingSecretIsLogged()
{
    QLoggingCategory::setFilterRules(QStringLiteral("*=true"));
    QStringList logged;
    {
        const MessageLog log;
        mSandbox.script(
            {{QStringLiteral("token"),
              PluginStep::Answer,
              {{QStringLiteral("Token"), QStringLiteral("the-token")}}},
             {QStringLiteral("privateMechanism_changepassword"), PluginStep::Err, {}, 614}});
        QVERIFY(open());
        const QList<Operation> all = operations();
        for (const Operation& operation : all)
            operation.call(*mInterface);
        QVERIFY(waitForAnswers(all.size()));
        mInterface->changePassword(oldPassword, newPassword);
        mInterface->destroyActiveAuthSession();
        mInterface->setSecurityQuestion(QStringLiteral("question"), securityAnswer); // no session
        QVERIFY(waitForAnswers(all.size() + 2));
        logged = log.all();
    }
    QLoggingCategory::setFilterRules(QString());
    QVERIFY(!logged.isEmpty());
    const QString text = logged.join(QLatin1Char('\n'));
    for (const QString& hidden : {secret(), oldPassword, newPassword, securityAnswer,
                                  QStringLiteral("the-token"), QStringLiteral("the-password")})
        QVERIFY2(!text.contains(hidden), qPrintable(hidden));
}

int main(int argc, char** argv)
{
    return runInSession<TestRequests>(argc, argv);
}

#include "tst_requests.moc"
