// SPDX-License-Identifier: LGPL-2.1-or-later
// Whom a session and a password belong to: with two servers in this process, and what each was
// sent.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/scriptedservice.h"
#include "rest/records/registrationinfodata.h"
#include "rest/request/serviceaddress.h"

#include <QNetworkProxy>
#include <QTest>

#include <algorithm>

using namespace KelTest;

namespace {

constexpr int elsewhere = 0;
constexpr int home = 2;
constexpr int homeAgain = 77; // every number that stands for no server of its own

QString homeBase;
QString elsewhereBase;

const QStringList stored{QStringLiteral("store"), QStringLiteral("result")};
const QStringList answered{QStringLiteral("result")};

} // namespace

namespace KelRestHandler {

const char RestSchemaNamespace[] = "https://account.example/schemas/rest/v1_0";
const char OAuthRealm[] = "OAuth realm=\"https://account.example\"";

QString serverBaseAddress(int serverIndex)
{
    return serverIndex == elsewhere ? elsewhereBase : homeBase;
}

} // namespace KelRestHandler

class TestPluginBinding : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void anotherServerIsSentNothing_data() { everyMechanism(); }
    void anotherServerIsSentNothing();
    void theSameServerMayHaveSeveralNumbers();
    void anotherConsumerSecretIsToldNothing_data();
    void anotherConsumerSecretIsToldNothing();
    void anotherConsumerSecretGetsATokenOfItsOwnOrNone();
    void anotherConsumerHasASessionOfItsOwn();
    void whatAClientPutsBesideTheDaemonsIsRefused_data() { everyMechanism(); }
    void whatAClientPutsBesideTheDaemonsIsRefused();
    void theNameIsAnotherOneEachTime();
    void beforeTheFirstSignInNoPasswordGoesOut_data() { everyMechanism(); }
    void beforeTheFirstSignInNoPasswordGoesOut();
    void aRegistrationWithAnotherPasswordChoosesNoServer();
    void aSecretOfTheClientsChangesNoPassword();
    void strangersAreNotServed_data() { everyMechanism(); }
    void strangersAreNotServed();
    void clientsOfTheListAreServed_data();
    void clientsOfTheListAreServed();

private:
    void everyMechanism();
    void signIn();
    /// What the plugin says to that, and to nothing else.
    QStringList said(const char* mechanism, const QVariantMap& more);

    std::unique_ptr<ScriptedService> mHome;
    std::unique_ptr<ScriptedService> mElsewhere;
    QVariantMap mKept; // by the daemon, after signing in at home
};

void TestPluginBinding::init()
{
    for (const char* name : {"http_proxy", "https_proxy"})
        qunsetenv(name);
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    mHome = std::make_unique<ScriptedService>();
    mElsewhere = std::make_unique<ScriptedService>();
    homeBase = mHome->base();
    elsewhereBase = mElsewhere->base();
    mKept.clear();
    makePlugin();
}

void TestPluginBinding::cleanup()
{
    QCOMPARE(mElsewhere->asked(), QList<QByteArray>());
    mPlugin.reset();
    mHome.reset();
    mElsewhere.reset();
}

void TestPluginBinding::everyMechanism()
{
    QTest::addColumn<QByteArray>("mechanism");
    const QStringList all = ZorAuth::ZorAuthPlugin().mechanisms();
    for (const QString& mechanism : all)
        QTest::newRow(qPrintable(mechanism)) << mechanism.toLatin1();
}

void TestPluginBinding::signIn()
{
    QCOMPARE(said("signIn", {}), stored);
    mKept = mStored;
    QCOMPARE(mHome->digests(), 1);
}

QStringList TestPluginBinding::said(const char* mechanism, const QVariantMap& more)
{
    mEvents.clear();
    QVariantMap data = request(mKept);
    for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
        data.insert(entry.key(), entry.value());
    process(mechanism, data);
    waitForEnd();
    return mEvents;
}

void TestPluginBinding::anotherServerIsSentNothing()
{
    QFETCH(QByteArray, mechanism);
    signIn();
    // These know nothing of the user.
    const bool isHarmless =
        QList<QByteArray>{"initialise", "close", "serverUTCTime"}.contains(mechanism);
    const QVariantMap more = {
        {QStringLiteral("ServerUrlValue"), elsewhere},
        {QStringLiteral("OldPassword"), QStringLiteral("secret")},
        {QStringLiteral("NewPassword"), QStringLiteral("another")},
        {QStringLiteral("NewUserName"), QStringLiteral("another")},
    };
    QCOMPARE(said(mechanism.constData(), more),
             isHarmless ? answered : QStringList{QStringLiteral("703")});
    QCOMPARE(mElsewhere->digests(), 0);
    QCOMPARE(mHome->digests(), 1);
    QCOMPARE(mHome->asked().size(), 1);
    if (mechanism != "serverUTCTime")
        QCOMPARE(mAnswer.keys().contains(QStringLiteral("Token")), false);
}

void TestPluginBinding::theSameServerMayHaveSeveralNumbers()
{
    signIn();
    QCOMPARE(said("token", {{QStringLiteral("ServerUrlValue"), homeAgain}}), answered);
    QCOMPARE(mAnswer.value(QStringLiteral("Token")), QVariant(QStringLiteral("token1")));
}

void TestPluginBinding::anotherConsumerSecretIsToldNothing_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    for (const char* mechanism : {"token", "userId", "loginIdentifier", "kelAccountId",
                                  "emailAddress", "privateMechanism_signOut"})
        QTest::newRow(mechanism) << QByteArray(mechanism);
}

void TestPluginBinding::anotherConsumerSecretIsToldNothing()
{
    QFETCH(QByteArray, mechanism);
    signIn();
    QCOMPARE(said(mechanism.constData(),
                  {{QStringLiteral("ConsumerSecret"), QStringLiteral("a guess")}}),
             QStringList{QStringLiteral("603")});
    QCOMPARE(mHome->asked().size(), 1);
    QCOMPARE(said(mechanism.constData(), {}).last(), QStringLiteral("result"));
}

void TestPluginBinding::anotherConsumerSecretGetsATokenOfItsOwnOrNone()
{
    signIn();
    const QVariantMap other = {{QStringLiteral("ConsumerSecret"), QStringLiteral("the new one")}};
    // What the service says of a secret that it does not know leaves the session as it was.
    mHome->refusesPasswords = true;
    QCOMPARE(said("privateMechanism_ensureToken", other), QStringList{QStringLiteral("504")});
    QCOMPARE(said("token", {}), answered);
    QCOMPARE(mAnswer.value(QStringLiteral("Token")), QVariant(QStringLiteral("token1")));

    // An application that was given a new one.
    mHome->refusesPasswords = false;
    QCOMPARE(said("privateMechanism_ensureToken", other), stored);
    mKept = mStored;
    QCOMPARE(said("token", other), answered);
    QCOMPARE(mAnswer.value(QStringLiteral("Token")), QVariant(QStringLiteral("token2")));
    QCOMPARE(said("token", {}), QStringList{QStringLiteral("603")});
}

void TestPluginBinding::anotherConsumerHasASessionOfItsOwn()
{
    signIn();
    const QVariantMap other = {{QStringLiteral("ConsumerKey"), QStringLiteral("other-key")}};
    QCOMPARE(said("token", other), QStringList{QStringLiteral("604")});
    QCOMPARE(said("privateMechanism_ensureToken", other), stored);
    mKept = mStored;
    QCOMPARE(said("token", other), answered);
    QCOMPARE(mAnswer.value(QStringLiteral("Token")), QVariant(QStringLiteral("token2")));
    QCOMPARE(said("token", {}), answered);
    QCOMPARE(mAnswer.value(QStringLiteral("Token")), QVariant(QStringLiteral("token1")));
}

// The daemon lets a client's data win over what it keeps, name by name.
void TestPluginBinding::whatAClientPutsBesideTheDaemonsIsRefused()
{
    QFETCH(QByteArray, mechanism);
    signIn();
    const QVariantMap own = {{QStringLiteral("Server"), elsewhere}};
    for (const QVariant& forged : {QVariant(own), QVariant(1)}) {
        for (const char* name : {"Kept 00000000000000000000000000000000", "Kept zzz", "Kept "}) {
            const QVariantMap more = {{QLatin1String(name), forged},
                                      {QStringLiteral("ServerUrlValue"), elsewhere}};
            QCOMPARE(said(mechanism.constData(), more), QStringList{QStringLiteral("603")});
        }
    }
    QCOMPARE(mHome->asked().size(), 1);
}

void TestPluginBinding::theNameIsAnotherOneEachTime()
{
    QStringList names;
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(said("signIn", {}), stored);
        mKept = mStored;
        names.append(KeptData::nameIn(mStored));
        QVERIFY(names.last().size() >= 32 + int(qstrlen(KeptData::namePrefix)));
    }
    QCOMPARE(names.removeDuplicates(), 0);
}

void TestPluginBinding::beforeTheFirstSignInNoPasswordGoesOut()
{
    QFETCH(QByteArray, mechanism);
    const QVariantMap more = {{QStringLiteral("ManualSignIn"), false},
                              {QStringLiteral("ServerUrlValue"), elsewhere},
                              {QStringLiteral("OldPassword"), QStringLiteral("secret")},
                              {QStringLiteral("NewPassword"), QStringLiteral("another")},
                              {QStringLiteral("NewUserName"), QStringLiteral("another")}};
    said(mechanism.constData(), more);
    QCOMPARE(mElsewhere->digests(), 0);
    QVERIFY(!mEvents.contains(QStringLiteral("store")) ||
            mechanism == "privateMechanism_changepassword");
}

void TestPluginBinding::aRegistrationWithAnotherPasswordChoosesNoServer()
{
    KelRestHandler::RegistrationInfoData newcomer;
    newcomer.emailAddress = QStringLiteral("new@example.org");
    newcomer.password = QStringLiteral("not the identity's");
    newcomer.serviceTag = "dGFn";
    const auto registering = [&] {
        return QVariantMap{
            {QStringLiteral("RegistrationData"), KelRestHandler::serializeRegistration(newcomer)}};
    };
    QCOMPARE(said("privateMechanism_registerAccount", registering()), stored);
    QVERIFY(!KeptData::mapIn(mStored).contains(QStringLiteral("Server")));

    newcomer.password = QStringLiteral("secret");
    QCOMPARE(said("privateMechanism_registerAccount", registering()), stored);
    QCOMPARE(KeptData::mapIn(mStored).value(QStringLiteral("Server")), QVariant(home));
}

// Beside the token that the identity's own secret got, it must not pass for the old password.
void TestPluginBinding::aSecretOfTheClientsChangesNoPassword()
{
    signIn();
    mHome->refusesPasswords = true;
    const QVariantMap more = {{QStringLiteral("Secret"), QStringLiteral("mine")},
                              {QStringLiteral("OldPassword"), QStringLiteral("mine")},
                              {QStringLiteral("NewPassword"), QStringLiteral("mine too")}};
    QCOMPARE(said("privateMechanism_changepassword", more).last(), QStringLiteral("504"));
    QCOMPARE(mHome->asked(), (QList<QByteArray>{"POST tokens", "POST tokens"}));
}

void TestPluginBinding::strangersAreNotServed()
{
    QFETCH(QByteArray, mechanism);
    signIn();
    const QVariant strangers[] = {
        QStringList{QStringLiteral("some-app::some-token")},
        QStringList{QStringLiteral("libaccounts-kel")},
        QStringList{QString(QLatin1String(""))},
        QStringLiteral("libaccounts-kel::accesssvt"), // a list is what the daemon gives
        1,
    };
    for (const QVariant& tokens : strangers) {
        QCOMPARE(said(mechanism.constData(), {{QStringLiteral("AccessControlTokens"), tokens}}),
                 QStringList{QStringLiteral("603")});
    }
    QCOMPARE(mHome->asked().size(), 1);
}

void TestPluginBinding::clientsOfTheListAreServed_data()
{
    QTest::addColumn<QVariant>("tokens");
    const QString account = QStringLiteral("account-plugin-zor::kelaccess");
    const QString library = QStringLiteral("libaccounts-kel::accesssvt");
    QTest::newRow("the account plugin") << QVariant(QStringList{account});
    QTest::newRow("the library") << QVariant(QStringList{library});
    QTest::newRow("both, no extension") << QVariant(QStringList{account, library});
    QTest::newRow("among others") << QVariant(QStringList{QStringLiteral("some::token"), library});
    QTest::newRow("an identity without a list") << QVariant();
    QTest::newRow("an identity with an empty one") << QVariant(QStringList());
}

void TestPluginBinding::clientsOfTheListAreServed()
{
    QFETCH(QVariant, tokens);
    signIn();
    QCOMPARE(said("token", {{QStringLiteral("AccessControlTokens"), tokens}}), answered);
}

QTEST_GUILESS_MAIN(TestPluginBinding)
#include "tst_plugin_binding.moc"
