// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations of a user who is signed in, between the application and the plugin.
#include "account/accountfixture.h"
#include "account/kelaccountsprivate.h"
#include "rest/records/profileinfodata.h"
#include "signon/bytereader.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/profileinfo.h>

#include <QPointer>
#include <QSignalSpy>

using namespace KelTest;
using facadecalls::line;
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;
using KelAccount::ProfileInfo;
using KelRestHandler::ProfileInfoData;

namespace {

const QString initialise = "initialise"_s;
const QString downloadProfile = "privateMechanism_downloadProfile"_s;

QVariantMap answerWith(const ProfileInfoData& profile)
{
    QByteArray bytes;
    profile.serialize(bytes);
    return {{"DownloadedProfile"_s, bytes}};
}

ProfileInfoData completeProfile()
{
    ProfileInfoData profile;
    profile.userName = "the.usér"_s;
    profile.securityQuestion = "Wie heißt der Hund?"_s;
    profile.securityQuestionId = "question-7"_s;
    profile.securityAnswer = "Bello"_s;
    profile.languageAsString = "sv"_s;
    profile.countryAsString = "FI"_s;
    profile.dateOfBirth = QDate(1971, 2, 28);
    profile.firstName = "Mäx"_s;
    profile.lastName = "Muster"_s;
    profile.services = QStringList{"mail"_s, "maps"_s};
    profile.account.email = "m@mail.example"_s;
    profile.account.emailVerified = true;
    profile.account.mobile = "+358401234567"_s;
    profile.account.mobileVerified = false;
    profile.consent.email = true;
    return profile;
}

} // namespace

class TestSessionOperations : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(resetForSignedInUser()); }
    void cleanup() { endFacade(); }

    void theAnswerIsRelayedOnce_data()
    {
        operationRows<int>({"status"}, {{"0", 0}, {"504", 504}, {"512", 512}, {"614", 614}});
    }
    void theAnswerIsRelayedOnce()
    {
        QFETCH(int, status);
        const Operation operation = operationOfTheRow();
        mSandbox.script({{text(operation.mechanism),
                          status ? PluginStep::Err : PluginStep::Answer,
                          {},
                          status}});
        operation.call(*mAccounts);
        QCOMPARE(lines(), QStringList());
        COMPARE_ANSWER(line(operation.answer, status));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(operation.mechanism)}));
        // Of the active account's identity, by the daemon.
        QCOMPARE(lastData().value("UserName"_s).toString(), "earlier"_s);
        QCOMPARE(lastData().value("ConsumerKey"_s).toString(), "the-consumer-key"_s);
        // The session is open: it is not initialised again.
        operation.call(*mAccounts);
        QVERIFY(answersOnce(2));
        QCOMPARE(mSandbox.mechanisms(),
                 QStringList({initialise, text(operation.mechanism), text(operation.mechanism)}));
        QCOMPARE(identities(), QList<quint32>({mCredentials}));
    }

    void thePluginReceivesTheArguments()
    {
        mAccounts->changePassword("the old öne"_s, "the new one"_s);
        QVERIFY(answersOnce(1));
        QCOMPARE(lastData().value("OldPassword"_s).toString(), "the old öne"_s);
        QCOMPARE(lastData().value("NewPassword"_s).toString(), "the new one"_s);
        mAccounts->userIdUpdate("näme"_s);
        QVERIFY(answersOnce(2));
        QCOMPARE(lastData().value("NewUserName"_s).toString(), "näme"_s);
        for (const char* manual : {"OldPassword", "NewPassword"})
            QVERIFY(!lastData().contains(text(manual)));
    }

    void theSecurityQuestionArrivesWithItsAnswer()
    {
        mAccounts->updateSecurityQuestion("question-7"_s, "Ünser Hund"_s);
        QVERIFY(answersOnce());
        ByteReader reader(lastData().value("UpdateSecurityQuestion"_s).toByteArray());
        QCOMPARE(reader.text(), "question-7"_s);
        QCOMPARE(reader.text(), "Ünser Hund"_s);
        QVERIFY(reader.atEnd());
        // Empty ones are the service's to refuse.
        mAccounts->updateSecurityQuestion(QString(), QString());
        QVERIFY(answersOnce(2));
        QCOMPARE(lines().last(), "updateSecurityQuestionResponse(0)"_s);
    }

    void theProfileIsFilledFromTheDownload()
    {
        mSandbox.script({{downloadProfile, PluginStep::Answer, answerWith(completeProfile())}});
        const ProfileInfo* const profile = downloaded();
        QVERIFY(profile);
        QCOMPARE(lines(), QStringList("downloadProfileResponse(0, profile)"_s));
        QCOMPARE(profile->userName(), "the.usér"_s);
        QCOMPARE(profile->securityQuestion(), "Wie heißt der Hund?"_s);
        QCOMPARE(profile->securityQuestionId(), "question-7"_s);
        QCOMPARE(profile->securityAnswer(), "Bello"_s);
        QCOMPARE(profile->languageAsString(), "sv"_s);
        QCOMPARE(profile->countryAsString(), "FI"_s);
        QCOMPARE(profile->dateOfBirth(), QDate(1971, 2, 28));
        QCOMPARE(profile->firstName(), "Mäx"_s);
        QCOMPARE(profile->lastName(), "Muster"_s);
        QCOMPARE(profile->serviceList(), QStringList({"mail"_s, "maps"_s}));
        QCOMPARE(profile->emailAddress(), "m@mail.example"_s);
        QCOMPARE(profile->emailVerified(), true);
        QCOMPARE(profile->mobilePhoneNumber(), "+358401234567"_s);
        QCOMPARE(profile->mobilePhoneVerified(), false);
        QCOMPARE(profile->marketingInfo(), true);
    }

    void theProfilesFlagsAreItsOwn_data()
    {
        columns<bool, bool, bool>("emailVerified", "mobileVerified", "mobileConsent");
        QTest::newRow("none") << false << false << false;
        QTest::newRow("e-mail") << true << false << false;
        QTest::newRow("mobile") << false << true << false;
        QTest::newRow("consent on the mobile") << false << false << true;
    }
    void theProfilesFlagsAreItsOwn()
    {
        QFETCH(bool, emailVerified);
        QFETCH(bool, mobileVerified);
        QFETCH(bool, mobileConsent);
        ProfileInfoData sent;
        sent.account.emailVerified = emailVerified;
        sent.account.mobileVerified = mobileVerified;
        sent.consent.mobile = mobileConsent;
        mSandbox.script({{downloadProfile, PluginStep::Answer, answerWith(sent)}});
        const ProfileInfo* const profile = downloaded();
        QVERIFY(profile);
        QCOMPARE(profile->emailVerified(), emailVerified);
        QCOMPARE(profile->mobilePhoneVerified(), mobileVerified);
        QCOMPARE(profile->marketingInfo(), mobileConsent);
    }

    void aProfileIsNeverNull_data()
    {
        columns<QVariantMap, int>("answer", "status");
        const QString name = "DownloadedProfile"_s;
        QTest::newRow("error") << answerWith(completeProfile()) << 504;
        QTest::newRow("error of the plugin") << QVariantMap() << 605;
        QTest::newRow("nothing") << QVariantMap() << 0;
        QTest::newRow("another type") << QVariantMap{{name, 17}} << 0;
        QTest::newRow("damaged") << QVariantMap{{name, "\xff\xff\xff\xfe...."_ba}} << 0;
    }
    void aProfileIsNeverNull()
    {
        const auto [answer, status] = fetch<QVariantMap, int>("answer", "status");
        const int action = status ? PluginStep::Err : PluginStep::Answer;
        mSandbox.script({{downloadProfile, action, answer, status}});
        const ProfileInfo* const profile = downloaded();
        QVERIFY(profile);
        QCOMPARE(lines(), QStringList("downloadProfileResponse(%1, profile)"_s.arg(status)));
        const ProfileInfo empty;
        for (int i = 0; i < empty.metaObject()->propertyCount(); ++i) {
            const char* const property = empty.metaObject()->property(i).name();
            if (qstrcmp(property, "objectName") != 0)
                QCOMPARE(profile->property(property), empty.property(property));
        }
    }

    void theProfileIsTheOrchestrators()
    {
        for (const int status : {0, 504}) {
            mSandbox.script({{downloadProfile, status ? PluginStep::Err : PluginStep::Answer,
                              answerWith(completeProfile()), status}});
            const ProfileInfo* const profile = downloaded();
            QVERIFY(profile);
            QCOMPARE(profile->parent(), mAccounts->findChild<KelAccountsPrivate*>());
            QCOMPARE(profile->parent()->parent(), mAccounts.get());
        }
        const QPointer<const ProfileInfo> profile = downloaded();
        QVERIFY(profile);
        mAccounts.reset();
        QVERIFY(!profile);
    }

    void everyDownloadGivesAnotherProfile()
    {
        mSandbox.script({{downloadProfile, PluginStep::Answer, answerWith(completeProfile())},
                         {downloadProfile, PluginStep::Answer, {}},
                         {downloadProfile, PluginStep::Err, {}, 504}});
        const QPointer<const ProfileInfo> first = downloaded();
        const QPointer<const ProfileInfo> second = downloaded();
        const QPointer<const ProfileInfo> third = downloaded();
        QVERIFY(first && second && third);
        QVERIFY(first != second && first != third && second != third);
        QCOMPARE(first->userName(), "the.usér"_s);
        QCOMPARE(second->userName(), QString());
    }

    void severalCallsAreAnsweredInTheirOrder()
    {
        const QString setUserId = "setUserId"_s;
        mSandbox.script(
            {{setUserId, PluginStep::Answer, {}, 0, 100}, {setUserId, PluginStep::Err, {}, 608}});
        QStringList expected;
        QStringList asked{initialise};
        for (int round = 0; round < 2; ++round) {
            for (const Operation& operation : facadecalls::ofTheSession()) {
                operation.call(*mAccounts);
                const bool fails = round == 1 && text(operation.mechanism) == setUserId;
                expected.append(line(operation.answer, fails ? 608 : 0));
                asked.append(text(operation.mechanism));
            }
        }
        QVERIFY(answersOnce(10));
        QCOMPARE(lines(), expected);
        QCOMPARE(mSandbox.mechanisms(), asked);
    }

    void callsMadeWhileTheSessionIsOpenedComeAfterwards()
    {
        mSandbox.script({{initialise, PluginStep::Answer, {}, 0, 200}});
        QStringList inTheWait;
        whenAsked(initialise, [&] {
            mAccounts->ensureTokenAvailable(0);
            mAccounts->userIdUpdate(QString());
            mAccounts->close();
            inTheWait = lines();
        });
        mAccounts->downloadProfile();
        QVERIFY(answersOnce(4));
        QCOMPARE(inTheWait, QStringList("closeResponse(0)"_s));
        // The refusal waits for nobody. The call that opens the session is the last to be sent.
        QCOMPARE(lines(), QStringList({"closeResponse(0)"_s, "userIdUpdateResponse(1001)"_s,
                                       "ensureTokenAvailableResponse(0)"_s,
                                       "downloadProfileResponse(0, profile)"_s}));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, "privateMechanism_ensureToken"_s,
                                                     "close"_s, downloadProfile}));
    }

    void closeTellsThePluginAndAnswersAtOnce()
    {
        mAccounts->ensureTokenAvailable(0);
        QVERIFY(answersOnce());
        mSandbox.script({{"close"_s, PluginStep::Err, {}, 605}});
        mAccounts->close();
        QCOMPARE(lines().last(), "closeResponse(0)"_s);
        QVERIFY(mSandbox.waitForRequests(1));
        QVERIFY(answersOnce(2)); // what the plugin says to it is nobody's
        QCOMPARE(mSandbox.mechanisms(), QStringList("close"_s));
    }

private:
    QVariantMap lastData() const { return mSandbox.requests().last().data; }

    /// The profile of one download; null when there is not exactly one answer.
    const ProfileInfo* downloaded()
    {
        QSignalSpy spy(mAccounts.get(), &KelAccounts::downloadProfileResponse);
        const int before = lines().size();
        mAccounts->downloadProfile();
        if (!answersOnce(before + 1) || spy.size() != 1)
            return nullptr;
        return spy.at(0).at(1).value<ProfileInfo*>();
    }
};

KEL_TEST_IN_SESSION(TestSessionOperations)
#include "tst_sessionoperations.moc"
