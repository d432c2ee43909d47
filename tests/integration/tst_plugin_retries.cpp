// SPDX-License-Identifier: LGPL-2.1-or-later
// What the plugin sends again, and when it gives up: with a service in this process that answers
// each request as the test ordered it.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/servicetable.h"
#include "plugin/storedsession.h"
#include "rest/request/timestampmanager.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"

#include <QDateTime>
#include <QLocale>
#include <QTest>

using KelRestHandler::TimeStampManager;

namespace {

constexpr int hour = 3600;
const QByteArray askForProfile = "GET accounts/1000042/profile";

/// A "Date:" header by a clock that is so far from this machine's.
QByteArray dateHeader(int secondsOff)
{
    const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(secondsOff);
    return "Date: " + QLocale::c().toString(time, "ddd, dd MMM yyyy hh:mm:ss"_s).toLatin1() +
           " GMT\r\n";
}

QByteArray document(const QByteArray& root, const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><" + root +
           " xmlns=\"https://account.example/schemas/rest/v1_0\">" + content + "</" + root + ">";
}

QByteArray tokenInfo(const QByteArray& token)
{
    return "<tokenInfo><token>" + token + "</token><tokenSecret>planted</tokenSecret></tokenInfo>";
}

Reaction renewed(const QByteArray& token)
{
    return Reaction::reply(200, document("tokenRefreshResponse", tokenInfo(token)));
}

Reaction signedIn(const QByteArray& token)
{
    return Reaction::reply(
        200, document("tokenCreationResponse", tokenInfo(token) +
                                                   "<userInfo><username>alice</username>"
                                                   "<accountId>1000042</accountId></userInfo>"));
}

Reaction profile()
{
    return Reaction::reply(200, document("profileQueryResponse",
                                         "<profile><username>alice</username>"
                                         "<accountId>1000042</accountId></profile>"));
}

Reaction refusal(int status, const QByteArray& code, const QByteArray& headers = {})
{
    return Reaction::reply(status, document("errorResponse", "<errorCode>" + code + "</errorCode>"),
                           headers);
}

Reaction tokenRefused()
{
    return refusal(401, "invalidAccessToken");
}

Reaction timeRefused(int secondsOff)
{
    return refusal(401, "notAuthorized", dateHeader(secondsOff));
}

/// Of an item of the "Authorization" header: what follows its name.
QByteArray authorization(const WireRequest& request, const QByteArray& item)
{
    const QByteArray header = request.header("Authorization");
    const int begin = header.indexOf(item + '=');
    if (begin < 0)
        return {};
    return header.mid(begin + item.size() + 1).split(',').first().replace('"', "").trimmed();
}

/// "GET accounts/1000042/profile"
QByteArray asked(const WireRequest& request)
{
    return request.header("rest-verb") + ' ' + QByteArray(request.target).replace("/rest/1.0/", "");
}

} // namespace

class TestPluginRetries : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        KelTest::ServiceTable::leaveProxies();
        TimeStampManager::getTimeStampManager()->setServerTimeDifference(0);
        // Over TLS: only then is the service's clock believed.
        mServer = std::make_unique<ScriptedServer>(mAuthority.serverFor("x", "IP:127.0.0.1"));
        KelTest::ServiceTable::set(mServer->base());
        makePlugin();
    }

    void cleanup()
    {
        QCOMPARE(mServer->problems(), QStringList());
        mPlugin.reset();
        mServer.reset();
    }

    void aRenewedTokenGoesOutWithTheSameRequest()
    {
        order({tokenRefused(), renewed("second"), profile()});
        askProfile();
        QCOMPARE(mEvents, stored);
        QCOMPARE(requests(), (QList<QByteArray>{askForProfile, "PUT tokens/first", askForProfile}));
        QCOMPARE(tokens(), (QList<QByteArray>{"first", "first", "second"}));
        QCOMPARE(storedToken(), QVariant("second"_s));
        // The service takes no nonce twice.
        const QByteArray nonce = authorization(mServer->requests().at(0), "oauth_nonce");
        QVERIFY(!nonce.isEmpty());
        QVERIFY(authorization(mServer->requests().at(2), "oauth_nonce") != nonce);
    }

    void aRequestThatIsRefusedTwiceForItsTokenIsGivenUp_data()
    {
        const auto row = rows<bool>("isRenewed");
        row("after a renewal", true);
        row("after signing in", false);
    }
    void aRequestThatIsRefusedTwiceForItsTokenIsGivenUp()
    {
        QFETCH(bool, isRenewed);
        order({tokenRefused()});
        if (isRenewed)
            order({renewed("second")});
        else
            order({tokenRefused(), signedIn("second")});
        order({tokenRefused()});
        askProfile();
        QList<QByteArray> expected{askForProfile, "PUT tokens/first"};
        if (!isRenewed)
            expected.append("POST tokens");
        expected.append(askForProfile);
        QCOMPARE(requests(), expected);
        QCOMPARE(tokens().last(), "second"_ba);
        // The new token is the service's latest word, so it is kept.
        QCOMPARE(mEvents, (QStringList{"store"_s, "500"_s}));
        QCOMPARE(storedToken(), QVariant("second"_s));
    }

    void whatRefusesTheSignInIsTheAnswer_data()
    {
        const auto row = rows<int, QByteArray, QString>("http", "code", "status");
        row("another password", 401, "notAuthorized", "504");
        row("locked", 403, "accountLocked", "510");
        row("token refused", 401, "invalidAccessToken", "500");
    }
    void whatRefusesTheSignInIsTheAnswer()
    {
        const auto [http, code, status] = fetch<int, QByteArray, QString>("http", "code", "status");
        order({tokenRefused(), tokenRefused(), refusal(http, code)});
        askProfile();
        QCOMPARE(mEvents, QStringList{status}); // and nothing is stored
        QCOMPARE(requests(), (QList<QByteArray>{askForProfile, "PUT tokens/first", "POST tokens"}));
        // The password signs in without a token.
        QCOMPARE(tokens(), (QList<QByteArray>{"first", "first", QByteArray()}));

        order({profile()});
        askProfile();
        QCOMPARE(mEvents, answered);
    }

    void aFailedRenewalIsNoReasonToSignIn()
    {
        order({tokenRefused(), Reaction::reply(503, "later")});
        askProfile();
        QCOMPARE(mEvents, QStringList{"1004"_s});
        QCOMPARE(requests(), (QList<QByteArray>{askForProfile, "PUT tokens/first"}));
    }

    void aRequestIsSentAgainOnceForTheClock_data()
    {
        const auto row = rows<int, int, QString, int>("first", "second", "end", "attempts");
        row("then accepted", 2 * hour, 0, "result", 2);
        row("then refused", 2 * hour, 2 * hour, "504", 2);
        row("a clock that moves on", 2 * hour, 4 * hour, "504", 2);
        row("a clock that moves back", -2 * hour, 2 * hour, "504", 2);
        row("a clock that is right", 0, 0, "504", 1);
    }
    void aRequestIsSentAgainOnceForTheClock()
    {
        const auto [first, second, end, attempts] =
            fetch<int, int, QString, int>("first", "second", "end", "attempts");
        order({timeRefused(first)});
        if (attempts == 2)
            order({second == 0 ? profile() : timeRefused(second)});
        const qint64 before = QDateTime::currentSecsSinceEpoch();
        askProfile();
        QCOMPARE(mEvents, QStringList{end});
        QCOMPARE(requests().count(askForProfile), attempts);
        QCOMPARE(mServer->requests().size(), attempts);
        // By the clock that the service showed at that moment, give or take a slow machine.
        const qint64 stamp =
            authorization(mServer->requests().last(), "oauth_timestamp").toLongLong();
        QVERIFY2(qAbs(stamp - first - before) < 60, qPrintable(QString::number(stamp - before)));

        order({profile()});
        askProfile();
        QCOMPARE(mEvents, answered);
    }

    void theClockAndTheTokenEachHaveTheirSecondAttempt()
    {
        order({timeRefused(2 * hour), tokenRefused(), renewed("second"), profile()});
        askProfile();
        QCOMPARE(mEvents, stored);
        QCOMPARE(requests(), (QList<QByteArray>{askForProfile, askForProfile, "PUT tokens/first",
                                                askForProfile}));
        QCOMPARE(tokens(), (QList<QByteArray>{"first", "first", "first", "second"}));
    }

    void aTokenThatTheServiceDoesNotHaveIsDeleted_data()
    {
        const auto row = rows<int, QByteArray, QString>("http", "code", "status");
        row("not valid", 401, "invalidAccessToken", "result");
        row("not there", 404, "resourceNotFound", "result");
        row("not there, without a word", 404, "", "result");
        row("not allowed", 403, "accountLocked", "510");
        row("not this time", 503, "", "1004");
    }
    void aTokenThatTheServiceDoesNotHaveIsDeleted()
    {
        const auto [http, code, status] = fetch<int, QByteArray, QString>("http", "code", "status");
        order({code.isEmpty() ? Reaction::reply(http, "none") : refusal(http, code)});
        ask("privateMechanism_signOut");
        QCOMPARE(requests(), QList<QByteArray>{"DELETE tokens/first"});
        QCOMPARE(mEvents.last(), status);
        const bool isForgotten = status == "result"_s;
        QCOMPARE(mEvents.contains("store"_s), isForgotten);
        if (isForgotten)
            QCOMPARE(storedToken().toString(), QString());
    }

private:
    void order(const QList<Reaction>& reactions)
    {
        for (const Reaction& reaction : reactions)
            mServer->expect(reaction);
    }

    void askProfile() { ask("privateMechanism_downloadProfile"); }

    /// With a token "first" from before.
    void ask(const char* mechanism)
    {
        const QVariantMap session = {
            {"Token"_s, "first"_s},
            {"AccountId"_s, "1000042"_s},
            {"LoginId"_s, "alice"_s},
            {"Consumer"_s, ZorAuth::Mark(ZorAuth::Mark::Of::Key,
                                         ZorAuth::consumerIdentity("demo-key"_s, "demo-secret"_s,
                                                                   mServer->base()))
                               .toMap()}};
        const QVariantMap kept = {{"Server"_s, 2},
                                  {"Sessions"_s, QVariantMap{{"demo-key"_s, session}}}};
        said(mechanism, request({{"Kept first"_s, kept}}));
    }

    QList<QByteArray> requests() const
    {
        QList<QByteArray> list;
        for (const WireRequest& request : mServer->requests())
            list.append(asked(request));
        return list;
    }

    /// What each request was signed with.
    QList<QByteArray> tokens() const
    {
        QList<QByteArray> list;
        for (const WireRequest& request : mServer->requests())
            list.append(authorization(request, "oauth_token"));
        return list;
    }

    QVariant storedToken() const { return KelTest::KeptData::sessionIn(mStored).value("Token"_s); }

    TestAuthority mAuthority;
    std::unique_ptr<ScriptedServer> mServer;
};

QTEST_GUILESS_MAIN(TestPluginRetries)
#include "tst_plugin_retries.moc"
