// SPDX-License-Identifier: LGPL-2.1-or-later
// Whom a session and a password belong to: with two servers in this process, and what each was
// sent.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/scriptedservice.h"
#include "integration/servicetable.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <algorithm>

using namespace KelTest;

namespace {

constexpr int elsewhere = 0;
constexpr int home = 2;
constexpr int homeAgain = 77; // every number that stands for no server of its own

} // namespace

class TestPluginBinding : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ServiceTable::leaveProxies();
        mHome = std::make_unique<ScriptedService>();
        mElsewhere = std::make_unique<ScriptedService>();
        ServiceTable::set(mHome->base());
        ServiceTable::set(elsewhere, mElsewhere->base());
        mKept.clear();
        makePlugin();
    }

    void cleanup()
    {
        QCOMPARE(mElsewhere->asked(), QList<QByteArray>());
        mPlugin.reset();
        mHome.reset();
        mElsewhere.reset();
    }

    void anotherServerIsSentNothing_data() { everyMechanism(); }
    void anotherServerIsSentNothing()
    {
        QFETCH(QByteArray, mechanism);
        signIn();
        // These know nothing of the user.
        const bool isHarmless =
            QList<QByteArray>{"initialise", "close", "serverUTCTime"}.contains(mechanism);
        const QVariantMap more = {
            {"ServerUrlValue"_s, elsewhere},
            {"OldPassword"_s, "secret"_s},
            {"NewPassword"_s, "another"_s},
            {"NewUserName"_s, "another"_s},
        };
        QCOMPARE(answerTo(mechanism, more), isHarmless ? answered : failed(703));
        QCOMPARE(mElsewhere->digests(), 0);
        QCOMPARE(mHome->digests(), 1);
        QCOMPARE(mHome->asked().size(), 1);
        if (mechanism != "serverUTCTime")
            QCOMPARE(mAnswer.keys().contains("Token"_s), false);
    }

    void theSameServerMayHaveSeveralNumbers()
    {
        signIn();
        QCOMPARE(answerTo("token", {{"ServerUrlValue"_s, homeAgain}}), answered);
        QCOMPARE(mAnswer.value("Token"_s), QVariant("token1"_s));
    }

    void anotherConsumerSecretIsToldNothing_data()
    {
        rowsNamed("mechanism", {"token", "userId", "loginIdentifier", "kelAccountId",
                                "emailAddress", "privateMechanism_signOut"});
    }
    void anotherConsumerSecretIsToldNothing()
    {
        QFETCH(QByteArray, mechanism);
        signIn();
        QCOMPARE(answerTo(mechanism, {{"ConsumerSecret"_s, "a guess"_s}}), failed(603));
        QCOMPARE(mHome->asked().size(), 1);
        QCOMPARE(answerTo(mechanism).last(), "result"_s);
    }

    void anotherConsumerSecretGetsATokenOfItsOwnOrNone()
    {
        signIn();
        const QVariantMap other = {{"ConsumerSecret"_s, "the new one"_s}};
        // What the service says of a secret that it does not know leaves the session as it was.
        mHome->refusesPasswords = true;
        QCOMPARE(answerTo("privateMechanism_ensureToken", other), failed(504));
        QCOMPARE(answerTo("token"), answered);
        QCOMPARE(mAnswer.value("Token"_s), QVariant("token1"_s));

        // An application that was given a new one.
        mHome->refusesPasswords = false;
        QCOMPARE(answerTo("privateMechanism_ensureToken", other), stored);
        mKept = mStored;
        QCOMPARE(answerTo("token", other), answered);
        QCOMPARE(mAnswer.value("Token"_s), QVariant("token2"_s));
        QCOMPARE(answerTo("token"), failed(603));
    }

    void anotherConsumerHasASessionOfItsOwn()
    {
        signIn();
        const QVariantMap other = {{"ConsumerKey"_s, "other-key"_s}};
        QCOMPARE(answerTo("token", other), failed(604));
        QCOMPARE(answerTo("privateMechanism_ensureToken", other), stored);
        mKept = mStored;
        QCOMPARE(answerTo("token", other), answered);
        QCOMPARE(mAnswer.value("Token"_s), QVariant("token2"_s));
        QCOMPARE(answerTo("token"), answered);
        QCOMPARE(mAnswer.value("Token"_s), QVariant("token1"_s));
    }

    void whatAClientPutsBesideTheDaemonsIsRefused_data() { everyMechanism(); }

    // The daemon lets a client's data win over what it keeps, name by name.
    void whatAClientPutsBesideTheDaemonsIsRefused()
    {
        QFETCH(QByteArray, mechanism);
        signIn();
        const QVariantMap own = {{"Server"_s, elsewhere}};
        for (const QVariant& forged : {QVariant(own), QVariant(1)}) {
            for (const char* name :
                 {"Kept 00000000000000000000000000000000", "Kept zzz", "Kept "}) {
                const QVariantMap more = {{QLatin1String(name), forged},
                                          {"ServerUrlValue"_s, elsewhere}};
                QCOMPARE(answerTo(mechanism, more), failed(603));
            }
        }
        QCOMPARE(mHome->asked().size(), 1);
    }

    void theNameIsAnotherOneEachTime()
    {
        QStringList names;
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(answerTo("signIn"), stored);
            mKept = mStored;
            names.append(KeptData::nameIn(mStored));
            QVERIFY(names.last().size() >= 32 + int(qstrlen(KeptData::namePrefix)));
        }
        QCOMPARE(names.removeDuplicates(), 0);
    }

    void beforeTheFirstSignInNoPasswordGoesOut_data() { everyMechanism(); }
    void beforeTheFirstSignInNoPasswordGoesOut()
    {
        QFETCH(QByteArray, mechanism);
        const QVariantMap more = {{"ManualSignIn"_s, false},
                                  {"ServerUrlValue"_s, elsewhere},
                                  {"OldPassword"_s, "secret"_s},
                                  {"NewPassword"_s, "another"_s},
                                  {"NewUserName"_s, "another"_s}};
        answerTo(mechanism, more);
        QCOMPARE(mElsewhere->digests(), 0);
        QVERIFY(!mEvents.contains("store"_s) || mechanism == "privateMechanism_changepassword");
    }

    void aRegistrationWithAnotherPasswordChoosesNoServer()
    {
        KelRestHandler::RegistrationInfoData newcomer;
        newcomer.emailAddress = "new@example.org"_s;
        newcomer.password = "not the identity's"_s;
        newcomer.serviceTag = "dGFn";
        const auto registering = [&] {
            return QVariantMap{
                {"RegistrationData"_s, KelRestHandler::serializeRegistration(newcomer)}};
        };
        QCOMPARE(answerTo("privateMechanism_registerAccount", registering()), stored);
        QVERIFY(!KeptData::mapIn(mStored).contains("Server"_s));

        newcomer.password = "secret"_s;
        QCOMPARE(answerTo("privateMechanism_registerAccount", registering()), stored);
        QCOMPARE(KeptData::mapIn(mStored).value("Server"_s), QVariant(home));
    }

    // Beside the token that the identity's own secret got, it must not pass for the old password.
    void aSecretOfTheClientsChangesNoPassword()
    {
        signIn();
        mHome->refusesPasswords = true;
        const QVariantMap more = {
            {"Secret"_s, "mine"_s}, {"OldPassword"_s, "mine"_s}, {"NewPassword"_s, "mine too"_s}};
        QCOMPARE(answerTo("privateMechanism_changepassword", more).last(), "504"_s);
        QCOMPARE(mHome->asked(), (QList<QByteArray>{"POST tokens", "POST tokens"}));
    }

    void strangersAreNotServed_data() { everyMechanism(); }
    void strangersAreNotServed()
    {
        QFETCH(QByteArray, mechanism);
        signIn();
        const QVariant strangers[] = {
            QStringList{"some-app::some-token"_s},
            QStringList{"libaccounts-kel"_s},
            QStringList{""_s},
            "libaccounts-kel::accesssvt"_s, // a list is what the daemon gives
            1,
        };
        for (const QVariant& tokens : strangers) {
            QCOMPARE(answerTo(mechanism, {{"AccessControlTokens"_s, tokens}}), failed(603));
        }
        QCOMPARE(mHome->asked().size(), 1);
    }

    void clientsOfTheListAreServed_data()
    {
        const auto row = rows<QVariant>("tokens");
        const QString account = "account-plugin-zor::kelaccess"_s;
        const QString library = "libaccounts-kel::accesssvt"_s;
        row("the account plugin", QVariant(QStringList{account}));
        row("the library", QVariant(QStringList{library}));
        row("both, no extension", QVariant(QStringList{account, library}));
        row("among others", QVariant(QStringList{"some::token"_s, library}));
        row("an identity without a list", {});
        row("an identity with an empty one", QVariant(QStringList()));
    }
    void clientsOfTheListAreServed()
    {
        QFETCH(QVariant, tokens);
        signIn();
        QCOMPARE(answerTo("token", {{"AccessControlTokens"_s, tokens}}), answered);
    }

private:
    void everyMechanism()
    {
        QTest::addColumn<QByteArray>("mechanism");
        const QStringList all = ZorAuth::ZorAuthPlugin().mechanisms();
        for (const QString& mechanism : all)
            QTest::newRow(qPrintable(mechanism)) << mechanism.toLatin1();
    }

    void signIn()
    {
        QCOMPARE(answerTo("signIn"), stored);
        mKept = mStored;
        QCOMPARE(mHome->digests(), 1);
    }

    /// What the plugin says to that, with what the daemon keeps.
    QStringList answerTo(const QByteArray& mechanism, const QVariantMap& more = {})
    {
        QVariantMap data = request(mKept);
        for (auto entry = more.cbegin(); entry != more.cend(); ++entry)
            data.insert(entry.key(), entry.value());
        return said(mechanism.constData(), data);
    }

    std::unique_ptr<ScriptedService> mHome;
    std::unique_ptr<ScriptedService> mElsewhere;
    QVariantMap mKept; // by the daemon, after signing in at home
};

QTEST_GUILESS_MAIN(TestPluginBinding)
#include "tst_plugin_binding.moc"
