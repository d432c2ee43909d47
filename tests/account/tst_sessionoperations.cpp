// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations of a user who is signed in, between the application and the plugin.
#include "account/accountfixture.h"
#include "account/kelaccountsprivate.h"
#include "rest/records/profileinfodata.h"
#include "signon/bytereader.h"

#include <kelaccount/profileinfo.h>

#include <QPointer>
#include <QSignalSpy>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelAccount::KelAccountsPrivate;
using KelAccount::ProfileInfo;
using KelRestHandler::ProfileInfoData;
using sessionoperations::line;
using sessionoperations::text;

namespace {

const QString initialise = QStringLiteral("initialise");
const QString downloadProfile = QStringLiteral("privateMechanism_downloadProfile");

QVariantMap answerWith(const ProfileInfoData& profile)
{
    QByteArray bytes;
    profile.serialize(bytes);
    return {{text("DownloadedProfile"), bytes}};
}

ProfileInfoData completeProfile()
{
    ProfileInfoData profile;
    profile.userName = text("the.usér");
    profile.securityQuestion = text("Wie heißt der Hund?");
    profile.securityQuestionId = text("question-7");
    profile.securityAnswer = text("Bello");
    profile.languageAsString = text("sv");
    profile.countryAsString = text("FI");
    profile.dateOfBirth = QDate(1971, 2, 28);
    profile.firstName = text("Mäx");
    profile.lastName = text("Muster");
    profile.services = QStringList{text("mail"), text("maps")};
    profile.account.email = text("m@mail.example");
    profile.account.emailVerified = true;
    profile.account.mobile = text("+358401234567");
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

    void theAnswerIsRelayedOnce_data();
    void theAnswerIsRelayedOnce();
    void thePluginReceivesTheArguments();
    void theSecurityQuestionArrivesWithItsAnswer();
    void theProfileIsFilledFromTheDownload();
    void theProfilesFlagsAreItsOwn_data();
    void theProfilesFlagsAreItsOwn();
    void aProfileIsNeverNull_data();
    void aProfileIsNeverNull();
    void theProfileIsTheOrchestrators();
    void everyDownloadGivesAnotherProfile();
    void severalCallsAreAnsweredInTheirOrder();
    void callsMadeWhileTheSessionIsOpenedComeAfterwards();
    void closeTellsThePluginAndAnswersAtOnce();

private:
    QVariantMap lastData() const { return mSandbox.requests().last().data; }
    const ProfileInfo* downloaded();
};

void TestSessionOperations::theAnswerIsRelayedOnce_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<int>("status");
    const auto operations = sessionoperations::all();
    for (int i = 0; i < operations.size(); ++i) {
        for (const int status : {0, 504, 512, 614})
            QTest::addRow("%s, %d", operations[i].name, status) << i << status;
    }
}

void TestSessionOperations::theAnswerIsRelayedOnce()
{
    QFETCH(int, status);
    const Operation operation = operationOfTheRow();
    mSandbox.script(
        {{text(operation.mechanism), status ? PluginStep::Err : PluginStep::Answer, {}, status}});
    operation.call(*mAccounts);
    QCOMPARE(lines(), QStringList());
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(line(operation.answer, status)));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(operation.mechanism)}));
    // Of the active account's identity, by the daemon.
    QCOMPARE(lastData().value(text("UserName")).toString(), text("earlier"));
    QCOMPARE(lastData().value(text("ConsumerKey")).toString(), text("the-consumer-key"));
    // The session is open: it is not initialised again.
    operation.call(*mAccounts);
    QVERIFY(answersOnce(2));
    QCOMPARE(mSandbox.mechanisms(),
             QStringList({initialise, text(operation.mechanism), text(operation.mechanism)}));
    QCOMPARE(identities(), QList<quint32>({mCredentials}));
}

void TestSessionOperations::thePluginReceivesTheArguments()
{
    mAccounts->changePassword(text("the old öne"), text("the new one"));
    QVERIFY(answersOnce(1));
    QCOMPARE(lastData().value(text("OldPassword")).toString(), text("the old öne"));
    QCOMPARE(lastData().value(text("NewPassword")).toString(), text("the new one"));
    mAccounts->userIdUpdate(text("näme"));
    QVERIFY(answersOnce(2));
    QCOMPARE(lastData().value(text("NewUserName")).toString(), text("näme"));
    for (const char* manual : {"OldPassword", "NewPassword"})
        QVERIFY(!lastData().contains(text(manual)));
}

void TestSessionOperations::theSecurityQuestionArrivesWithItsAnswer()
{
    mAccounts->updateSecurityQuestion(text("question-7"), text("Ünser Hund"));
    QVERIFY(answersOnce());
    ByteReader reader(lastData().value(text("UpdateSecurityQuestion")).toByteArray());
    QCOMPARE(reader.text(), text("question-7"));
    QCOMPARE(reader.text(), text("Ünser Hund"));
    QVERIFY(reader.atEnd());
    // Empty ones are the service's to refuse.
    mAccounts->updateSecurityQuestion(QString(), QString());
    QVERIFY(answersOnce(2));
    QCOMPARE(lines().last(), text("updateSecurityQuestionResponse(0)"));
}

/// The profile of one download; null when there is not exactly one answer.
const ProfileInfo* TestSessionOperations::downloaded()
{
    QSignalSpy spy(mAccounts.get(), &KelAccounts::downloadProfileResponse);
    const int before = lines().size();
    mAccounts->downloadProfile();
    if (!answersOnce(before + 1) || spy.size() != 1)
        return nullptr;
    return spy.at(0).at(1).value<ProfileInfo*>();
}

void TestSessionOperations::theProfileIsFilledFromTheDownload()
{
    mSandbox.script({{downloadProfile, PluginStep::Answer, answerWith(completeProfile())}});
    const ProfileInfo* const profile = downloaded();
    QVERIFY(profile);
    QCOMPARE(lines(), QStringList(text("downloadProfileResponse(0, profile)")));
    QCOMPARE(profile->userName(), text("the.usér"));
    QCOMPARE(profile->securityQuestion(), text("Wie heißt der Hund?"));
    QCOMPARE(profile->securityQuestionId(), text("question-7"));
    QCOMPARE(profile->securityAnswer(), text("Bello"));
    QCOMPARE(profile->languageAsString(), text("sv"));
    QCOMPARE(profile->countryAsString(), text("FI"));
    QCOMPARE(profile->dateOfBirth(), QDate(1971, 2, 28));
    QCOMPARE(profile->firstName(), text("Mäx"));
    QCOMPARE(profile->lastName(), text("Muster"));
    QCOMPARE(profile->serviceList(), QStringList({text("mail"), text("maps")}));
    QCOMPARE(profile->emailAddress(), text("m@mail.example"));
    QCOMPARE(profile->emailVerified(), true);
    QCOMPARE(profile->mobilePhoneNumber(), text("+358401234567"));
    QCOMPARE(profile->mobilePhoneVerified(), false);
    QCOMPARE(profile->marketingInfo(), true);
}

void TestSessionOperations::theProfilesFlagsAreItsOwn_data()
{
    QTest::addColumn<bool>("emailVerified");
    QTest::addColumn<bool>("mobileVerified");
    QTest::addColumn<bool>("mobileConsent");
    QTest::newRow("none") << false << false << false;
    QTest::newRow("e-mail") << true << false << false;
    QTest::newRow("mobile") << false << true << false;
    QTest::newRow("consent on the mobile") << false << false << true;
}

void TestSessionOperations::theProfilesFlagsAreItsOwn()
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

void TestSessionOperations::aProfileIsNeverNull_data()
{
    QTest::addColumn<QVariantMap>("answer");
    QTest::addColumn<int>("status");
    const QString name = text("DownloadedProfile");
    QTest::newRow("error") << answerWith(completeProfile()) << 504;
    QTest::newRow("error of the plugin") << QVariantMap() << 605;
    QTest::newRow("nothing") << QVariantMap() << 0;
    QTest::newRow("another type") << QVariantMap{{name, 17}} << 0;
    QTest::newRow("damaged") << QVariantMap{{name, QByteArray("\xff\xff\xff\xfe....")}} << 0;
}

void TestSessionOperations::aProfileIsNeverNull()
{
    QFETCH(QVariantMap, answer);
    QFETCH(int, status);
    const int action = status ? PluginStep::Err : PluginStep::Answer;
    mSandbox.script({{downloadProfile, action, answer, status}});
    const ProfileInfo* const profile = downloaded();
    QVERIFY(profile);
    QCOMPARE(lines(), QStringList(text("downloadProfileResponse(%1, profile)").arg(status)));
    const ProfileInfo empty;
    for (int i = 0; i < empty.metaObject()->propertyCount(); ++i) {
        const char* const property = empty.metaObject()->property(i).name();
        if (qstrcmp(property, "objectName") != 0)
            QCOMPARE(profile->property(property), empty.property(property));
    }
}

void TestSessionOperations::theProfileIsTheOrchestrators()
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

void TestSessionOperations::everyDownloadGivesAnotherProfile()
{
    mSandbox.script({{downloadProfile, PluginStep::Answer, answerWith(completeProfile())},
                     {downloadProfile, PluginStep::Answer, {}},
                     {downloadProfile, PluginStep::Err, {}, 504}});
    const QPointer<const ProfileInfo> first = downloaded();
    const QPointer<const ProfileInfo> second = downloaded();
    const QPointer<const ProfileInfo> third = downloaded();
    QVERIFY(first && second && third);
    QVERIFY(first != second && first != third && second != third);
    QCOMPARE(first->userName(), text("the.usér"));
    QCOMPARE(second->userName(), QString());
}

void TestSessionOperations::severalCallsAreAnsweredInTheirOrder()
{
    const QString setUserId = text("setUserId");
    mSandbox.script(
        {{setUserId, PluginStep::Answer, {}, 0, 100}, {setUserId, PluginStep::Err, {}, 608}});
    QStringList expected;
    QStringList asked{initialise};
    for (int round = 0; round < 2; ++round) {
        for (const Operation& operation : sessionoperations::all()) {
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

void TestSessionOperations::callsMadeWhileTheSessionIsOpenedComeAfterwards()
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
    QCOMPARE(inTheWait, QStringList(text("closeResponse(0)")));
    // The refusal waits for nobody. The call that opens the session is the last to be sent.
    QCOMPARE(lines(), QStringList({text("closeResponse(0)"), text("userIdUpdateResponse(1001)"),
                                   text("ensureTokenAvailableResponse(0)"),
                                   text("downloadProfileResponse(0, profile)")}));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text("privateMechanism_ensureToken"),
                                                 text("close"), downloadProfile}));
}

void TestSessionOperations::closeTellsThePluginAndAnswersAtOnce()
{
    mAccounts->ensureTokenAvailable(0);
    QVERIFY(answersOnce());
    mSandbox.script({{text("close"), PluginStep::Err, {}, 605}});
    mAccounts->close();
    QCOMPARE(lines().last(), text("closeResponse(0)"));
    QVERIFY(mSandbox.waitForRequests(1));
    QVERIFY(answersOnce(2)); // what the plugin says to it is nobody's
    QCOMPARE(mSandbox.mechanisms(), QStringList(text("close")));
}

int main(int argc, char** argv)
{
    return runInSession<TestSessionOperations>(argc, argv);
}

#include "tst_sessionoperations.moc"
