// SPDX-License-Identifier: LGPL-2.1-or-later
// The profile that the plugin downloads, as the application gets it, and the record that it is sent
// for a question.
#include "account/accountfixture.h"
#include "account/kelaccountsprivate.h"
#include "rest/records/profileinfodata.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/profileinfo.h>

#include <QPointer>
#include <QSignalSpy>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;
using KelAccount::ProfileInfo;
using KelRestHandler::ProfileInfoData;

namespace {

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

class TestProfile : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(resetForSignedInUser()); }
    void cleanup() { endFacade(); }

    void theSecurityQuestionArrivesWithItsAnswer()
    {
        mAccounts->updateSecurityQuestion("question-7"_s, "Ünser Hund"_s);
        QVERIFY(answersOnce());
        // A text is its length in bytes and UTF-16, big-endian.
        QCOMPARE(lastData().value("UpdateSecurityQuestion"_s).toByteArray(),
                 QByteArray::fromHex("00000014007100750065007300740069006f006e002d0037"
                                     "0000001400dc006e007300650072002000480075006e0064"));
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

KEL_TEST_IN_SESSION(TestProfile)
#include "tst_profile.moc"
