// SPDX-License-Identifier: LGPL-2.1-or-later
// The life of an account, in order: each function goes on where the one before it ended. It runs
// inside the emulator, against the shared library.
#include "emulator/serviceclient.h"
#include "integration/storyfixture.h"
#include "support/sessionsandbox.h"

#include <kelaccount/profileinfo.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPixmap>
#include <QProcess>
#include <QTemporaryDir>

using KelAccount::ProfileInfo;
using KelAccount::RegistrationInfo;
using namespace KelTest;

class TestStory : public StoryFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void theDeviceIsInACountry();
    void theNameIsFree();
    void aCaptchaIsShown();
    void anAccountIsRegistered();
    void theDeviceHasTheAccount();
    void theServiceHasTheAccount();
    void theProfileIsWhatWasRegistered();
    void onlyOneAccountFitsOnTheDevice();
    void thePasswordIsChanged();
    void theUserNameCannotBeChanged();
    void theSecurityQuestionIsChanged();
    void aTokenIsKeptAtHand();
    void aMessageAndTheAnswerSetANewPassword();
    void theDeviceIsNotSignedInAnyLonger();
    void theSessionIsClosed();
    void aWrongPasswordLeavesNothingBehind();
    void anotherDeviceSignsIn();
    void anAddressAloneGetsAUserNameOnce();
    void aMessageAloneSetsANewPasswordWithoutAQuestion();
    void aNameAndANumberAreEnough();
    void noAccountIsMadeOnTheDeviceWhenNoneIsWanted();

private:
    static QJsonObject newestAccount();
    static QJsonObject newestMessage(const QString& user);
    /// Of a sign-in somewhere else, with liboauth in the library's place; 200 when it succeeds.
    int signInElsewhere(const char* user, const QString& password);
    /// Has a recovery message sent; its token.
    QString recoveryToken(const QString& user, bool withMessage);
    QString reset(const QString& user, const QString& token, const QString& password,
                  const QString& answer);

    const QString mFirstPassword = text("Kärhö-Wäinö 1");
    const QString mSecondPassword = text("second & <password>");
    const QString mThirdPassword = text("third \"password\" €");
    ServiceClient mElsewhere;
    QString mCaptchaText;
    QString mCaptchaId;
    QString mNumber; // of the account at the service
};

void TestStory::initTestCase()
{
    QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    QVERIFY(mElsewhere.joinSurrounding());
    // A device without a modem, whose user has chosen a region.
    const QTemporaryDir folder;
    QFile settings(folder.filePath(QStringLiteral("settings")));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[meegotouch/i18n]\nregion='fi_FI'\n");
    settings.close();
    QFile profile(qEnvironmentVariable("HOME") + QLatin1String("/dconf-profile"));
    QVERIFY(profile.open(QIODevice::WriteOnly));
    profile.write("user-db:user\n");
    profile.close();
    qputenv("DCONF_PROFILE", QFile::encodeName(profile.fileName()));
    const QDir database(qEnvironmentVariable("XDG_CONFIG_HOME") + QLatin1String("/dconf"));
    QVERIFY(database.mkpath(QStringLiteral(".")));
    QVERIFY2(QProcess::execute(QStringLiteral("dconf"),
                               {QStringLiteral("compile"),
                                database.filePath(QStringLiteral("user")), folder.path()}) == 0,
             "the package dconf-cli is needed");
    openFacade();
    QCOMPARE(recorder().lines(), QStringList(text("initializeResponse(0)")));
}

void TestStory::cleanupTestCase()
{
    closeFacade();
    QVERIFY(EmulatedService::waitForNetworkThreads());
}

QJsonObject TestStory::newestAccount()
{
    const auto reply = EmulatedService::ask("GET", "/accounts");
    return QJsonDocument::fromJson(reply.body).array().last().toObject();
}

QJsonObject TestStory::newestMessage(const QString& user)
{
    const auto reply = EmulatedService::ask("GET", ("/inbox?name=" + user.toLatin1()).constData());
    return QJsonDocument::fromJson(reply.body).array().last().toObject();
}

int TestStory::signInElsewhere(const char* user, const QString& password)
{
    return mElsewhere.signIn(user, password.toUtf8()).status;
}

QString TestStory::recoveryToken(const QString& user, bool withMessage)
{
    const QString captcha = solvedCaptcha();
    const QStringList lines = answers([&] {
        facade().requestPasswordReset(user, captcha, withMessage,
                                      withMessage ? text("Tervetuloa takaisin!") : QString());
    });
    return lines == QStringList(text("requestPasswordResetResponse(0)"))
               ? newestMessage(user).value(QStringLiteral("token")).toString()
               : lines.join(QLatin1Char(' '));
}

QString TestStory::reset(const QString& user, const QString& token, const QString& password,
                         const QString& answer)
{
    return answers(
               [&] { facade().resetPasswordUsingSecurityQuestion(user, token, password, answer); })
        .join(QLatin1Char(' '));
}

void TestStory::theDeviceIsInACountry()
{
    QCOMPARE(answers([this] { facade().retrieveCountryCode(); }),
             QStringList(text("retrieveCountryCodeResponse(0, 'FI')")));
}

void TestStory::theNameIsFree()
{
    QVERIFY(!facade().isKeLAccountConfigured());
    QCOMPARE(answers([this] { facade().isUserIdAvailable(text("maria")); }),
             QStringList(text("isUserIdAvailableResponse(0, true, [])")));
    // The device has no service tag to show: it has to solve captchas, and may not ask for
    // addresses.
    QVERIFY(facade().isCaptchaRequired());
    QCOMPARE(answers([this] { facade().isEmailIdAvailable(text("maria@mail.example")); }),
             QStringList(text("isEmailIdAvailableResponse(516, false)")));
}

void TestStory::aCaptchaIsShown()
{
    QStringList ids;
    QPixmap picture;
    connect(&facade(), &KelAccounts::retrieveCaptchaImageResponse, this,
            [&](KelAccount::ErrorStatus, const QPixmap& image, const QString& id) {
                picture = image;
                ids.append(id);
            });
    mCaptchaText = solvedCaptcha();
    disconnect(&facade(), &KelAccounts::retrieveCaptchaImageResponse, this, nullptr);
    QCOMPARE(ids.size(), 1);
    QCOMPARE(
        recorder().lines(),
        QStringList({text("captchaImageResponse(0, picture 200x60)"),
                     text("retrieveCaptchaImageResponse(0, picture 200x60, '%1')").arg(ids[0])}));
    QVERIFY(!mCaptchaText.isEmpty());
    mCaptchaId = ids[0];
}

void TestStory::anAccountIsRegistered()
{
    RegistrationInfo info;
    info.setUsername(text("maria"));
    info.setEmailAddress(text("maria@mail.example"));
    info.setPassword(mFirstPassword);
    info.setCaptchaText(mCaptchaText); // of the captcha fetched last
    info.setSecurityQuestion(text("2"));
    info.setSecurityAnswer(text("Hämeenlinna"));
    info.setFirstName(text("Märiä"));
    info.setLastName(text("O'Neill & <Söns>"));
    info.setCountry(text("FI"));
    info.setLanguage(text("fi"));
    info.setDateOfBirth(QDate(1980, 2, 29));
    info.setMarketingInfoOnEmail(true);
    const QStringList lines = answers([&] { facade().registerAccount(info, true); });
    mNumber = newestAccount().value(QStringLiteral("accountId")).toString();
    QVERIFY(!mNumber.isEmpty());
    QCOMPARE(lines, QStringList(setUpLine("registerAccountResponse",
                                          {{text("AccountId"), mNumber},
                                           {text("EmailAddress"), text("maria@mail.example")},
                                           {text("LoginId"), text("maria@mail.example")},
                                           {text("UserId"), text("maria")}})));
    // A captcha can be used once.
    QCOMPARE(EmulatedService::ask("GET", ("/captchas/" + mCaptchaId.toLatin1()).constData()).status,
             404);
}

void TestStory::theDeviceHasTheAccount()
{
    const int identity = identityNumber();
    QVERIFY(identity > 0);
    // The name to sign in with is the address; the account bears the user's name.
    QCOMPARE(identities().at(0).at(1).toString(), text("maria@mail.example"));
    QCOMPARE(deviceAccounts(),
             QList<QVariantList>({{text("maria"), text("zor"), 1LL, QString::number(identity)}}));
    QVERIFY(facade().isKeLAccountConfigured());
}

void TestStory::theServiceHasTheAccount()
{
    QCOMPARE(newestAccount(), QJsonObject({{text("accountId"), mNumber},
                                           {text("userName"), text("maria")},
                                           {text("email"), text("maria@mail.example")},
                                           {text("emailVerified"), false},
                                           {text("mobile"), QString()},
                                           {text("mobileVerified"), false},
                                           {text("securityQuestion"), text("2")},
                                           {text("language"), text("fi")},
                                           {text("country"), text("FI")},
                                           {text("dateOfBirth"), text("1980-02-29")},
                                           {text("firstName"), text("Märiä")},
                                           {text("lastName"), text("O'Neill & <Söns>")},
                                           {text("gender"), QString()},
                                           {text("marketingByEmail"), true},
                                           {text("marketingByMobile"), false},
                                           {text("locked"), false}}));
    QCOMPARE(signInElsewhere("maria", mFirstPassword), 200);
    const QStringList taken = answers([this] { facade().isUserIdAvailable(text("maria")); });
    QCOMPARE(taken.size(), 1);
    QVERIFY2(taken.at(0).startsWith(text("isUserIdAvailableResponse(0, false, [maria")),
             qPrintable(taken.at(0)));
}

void TestStory::theProfileIsWhatWasRegistered()
{
    QList<ProfileInfo*> profiles;
    connect(&facade(), &KelAccounts::downloadProfileResponse, this,
            [&](KelAccount::ErrorStatus, ProfileInfo* profile) { profiles.append(profile); });
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList(text("downloadProfileResponse(0, profile)")));
    disconnect(&facade(), &KelAccounts::downloadProfileResponse, this, nullptr);
    QCOMPARE(profiles.size(), 1);
    const ProfileInfo& profile = *profiles.at(0);
    QCOMPARE(profile.userName(), text("maria"));
    QCOMPARE(profile.emailAddress(), text("maria@mail.example"));
    QVERIFY(!profile.emailVerified());
    QCOMPARE(profile.mobilePhoneNumber(), QString());
    QVERIFY(!profile.mobilePhoneVerified());
    QCOMPARE(profile.firstName(), text("Märiä"));
    QCOMPARE(profile.lastName(), text("O'Neill & <Söns>"));
    QCOMPARE(profile.countryAsString(), text("FI"));
    QCOMPARE(profile.languageAsString(), text("fi"));
    QCOMPARE(profile.dateOfBirth(), QDate(1980, 2, 29));
    QCOMPARE(profile.securityQuestionId(), text("2"));
    // Consent is asked for by an operation of its own: the service's profile does not tell it.
    QVERIFY(!profile.marketingInfo());
    QCOMPARE(profile.serviceList(), QStringList({text("contacts"), text("sync")}));
}

void TestStory::onlyOneAccountFitsOnTheDevice()
{
    // Whatever else is wrong with the call.
    QCOMPARE(answers([this] { facade().signInAndConfigure(QString(), QString(), true); }),
             QStringList(text("signInAndConfigureResponse(803, {})")));
    QCOMPARE(answers([this] { facade().registerAccount(RegistrationInfo(), true); }),
             QStringList(text("registerAccountResponse(803, {})")));
    QCOMPARE(identities().size(), 1);
}

void TestStory::thePasswordIsChanged()
{
    QCOMPARE(answers([this] { facade().changePassword(text("wrong"), mSecondPassword); }),
             QStringList(text("changePasswordResponse(614)")));
    QCOMPARE(signInElsewhere("maria", mFirstPassword), 200);
    QCOMPARE(answers([this] { facade().changePassword(mFirstPassword, mSecondPassword); }),
             QStringList(text("changePasswordResponse(0)")));
    QCOMPARE(signInElsewhere("maria", mFirstPassword), 401);
    QCOMPARE(signInElsewhere("maria", mSecondPassword), 200);
    // This device knows the new one.
    QVERIFY(letTokensExpire());
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList(text("downloadProfileResponse(0, profile)")));
}

void TestStory::theUserNameCannotBeChanged()
{
    QCOMPARE(answers([this] { facade().userIdUpdate(text("mary")); }),
             QStringList(text("userIdUpdateResponse(608)")));
    QCOMPARE(accountAtService(mNumber).value(text("userName")).toString(), text("maria"));
}

void TestStory::theSecurityQuestionIsChanged()
{
    QCOMPARE(answers([this] { facade().updateSecurityQuestion(text("4"), text("Ällä & <co>")); }),
             QStringList(text("updateSecurityQuestionResponse(0)")));
    QCOMPARE(accountAtService(mNumber).value(text("securityQuestion")).toString(), text("4"));
}

void TestStory::aTokenIsKeptAtHand()
{
    const QStringList good(text("ensureTokenAvailableResponse(0)"));
    const auto identity = unsigned(identityNumber());
    QCOMPARE(answers([&] { facade().ensureTokenAvailable(identity); }), good);
    QCOMPARE(answers([&] { facade().ensureTokenAvailable(0); }), good);
    QCOMPARE(answers([&] { facade().ensureTokenAvailable(identity + 1); }),
             QStringList(text("ensureTokenAvailableResponse(1001)")));
    QVERIFY(letTokensExpire());
    QCOMPARE(answers([&] { facade().ensureTokenAvailable(identity); }), good);
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList(text("downloadProfileResponse(0, profile)")));
}

void TestStory::aMessageAndTheAnswerSetANewPassword()
{
    const QString token = recoveryToken(text("maria"), true);
    const QJsonObject message = newestMessage(text("maria"));
    QVERIFY2(!token.isEmpty() && !token.contains(QLatin1Char('(')), qPrintable(token));
    QCOMPARE(message.value(text("recipient")).toString(), text("maria@mail.example"));
    QVERIFY(message.value(text("text")).toString().startsWith(text("Tervetuloa takaisin!\n")));

    QCOMPARE(
        answers([this] { facade().retrievePasswordResetSecQuestion(text("maria"), text("en")); }),
        QStringList(text("retrievePasswordResetSecQuestionResponse(0, {securityQuestionId: 4, "
                         "securityQuestionText: What is your favourite book?, "
                         "userId: maria})")));
    const auto answered = [](int status) {
        return QStringLiteral("resetPasswordUsingSecurityQuestionResponse(%1)").arg(status);
    };
    QCOMPARE(reset(text("maria"), token, mThirdPassword, text("Hämeenlinna")), answered(504));
    QCOMPARE(reset(text("maria"), text("0123"), mThirdPassword, text("Ällä & <co>")),
             answered(504));
    QCOMPARE(signInElsewhere("maria", mSecondPassword), 200);
    QCOMPARE(reset(text("maria"), token, mThirdPassword, text("Ällä & <co>")), answered(0));
    QCOMPARE(signInElsewhere("maria", mSecondPassword), 401);
    QCOMPARE(signInElsewhere("maria", mThirdPassword), 200);
    // A token is good for one change.
    QCOMPARE(reset(text("maria"), token, mFirstPassword, text("Ällä & <co>")), answered(504));
}

void TestStory::theDeviceIsNotSignedInAnyLonger()
{
    QVERIFY(letTokensExpire());
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList(text("downloadProfileResponse(504, profile)")));
    QVERIFY(facade().isKeLAccountConfigured());
}

void TestStory::theSessionIsClosed()
{
    QCOMPARE(answers([this] { facade().close(); }),
             QStringList({text("inside the call:"), text("closeResponse(0)")}));
}

// The settings of the device take account and credentials off: the next sign-in is that of a new
// one.
void TestStory::aWrongPasswordLeavesNothingBehind()
{
    QVERIFY(cleanDevice());
    QVERIFY(!facade().isKeLAccountConfigured());
    QCOMPARE(answers([this] { facade().signInAndConfigure(text("maria"), mSecondPassword, true); }),
             QStringList(text("signInAndConfigureResponse(504, {})")));
    QCOMPARE(leftOnTheDevice(), QString());
}

void TestStory::anotherDeviceSignsIn()
{
    const QStringList lines =
        answers([this] { facade().signInAndConfigure(text("maria"), mThirdPassword, true); });
    QCOMPARE(lines, QStringList(setUpLine("signInAndConfigureResponse",
                                          {{text("AccountId"), mNumber},
                                           {text("EmailAddress"), text("maria@mail.example")},
                                           {text("LoginId"), text("maria")},
                                           {text("UserId"), text("maria")}})));
    QCOMPARE(deviceAccounts(), QList<QVariantList>({{text("maria"), text("zor"), 1LL,
                                                     QString::number(identityNumber())}}));
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList(text("downloadProfileResponse(0, profile)")));
    QCOMPARE(answers([this] { facade().signInAndConfigure(text("maria"), mThirdPassword, true); }),
             QStringList(text("signInAndConfigureResponse(803, {})")));
    QVERIFY(cleanDevice());
}

void TestStory::anAddressAloneGetsAUserNameOnce()
{
    RegistrationInfo info;
    info.setEmailAddress(text("nameless@mail.example"));
    info.setPassword(mFirstPassword);
    info.setCaptchaText(solvedCaptcha());
    const QStringList lines = answers([&] { facade().registerAccount(info, true); });
    mNumber = newestAccount().value(text("accountId")).toString();
    QCOMPARE(lines, QStringList(setUpLine("registerAccountResponse",
                                          {{text("AccountId"), mNumber},
                                           {text("EmailAddress"), text("nameless@mail.example")},
                                           {text("LoginId"), text("nameless@mail.example")},
                                           {text("UserId"), QString()}})));
    // Without a name the account bears what the user signed in with.
    QCOMPARE(deviceAccounts().value(0).value(0).toString(), text("nameless@mail.example"));
    QCOMPARE(answers([this] { facade().userIdUpdate(text("admin")); }),
             QStringList(text("userIdUpdateResponse(512)")));
    QCOMPARE(answers([this] { facade().userIdUpdate(text("named")); }),
             QStringList(text("userIdUpdateResponse(0)")));
    QCOMPARE(accountAtService(mNumber).value(text("userName")).toString(), text("named"));
    QCOMPARE(answers([this] { facade().userIdUpdate(text("renamed")); }),
             QStringList(text("userIdUpdateResponse(608)")));
    QCOMPARE(signInElsewhere("named", mFirstPassword), 200);
    QVERIFY(cleanDevice());
}

void TestStory::aMessageAloneSetsANewPasswordWithoutAQuestion()
{
    QCOMPARE(
        answers([this] { facade().retrievePasswordResetSecQuestion(text("named"), text("en")); }),
        QStringList(text("retrievePasswordResetSecQuestionResponse(507, {securityQuestionId: , "
                         "securityQuestionText: , userId: })")));
    const QString token = recoveryToken(text("named"), false);
    QCOMPARE(newestMessage(text("named")).value(text("text")).toString(), token);
    QCOMPARE(reset(text("named"), token, mSecondPassword, text("none")),
             text("resetPasswordUsingSecurityQuestionResponse(0)"));
    QCOMPARE(answers([this] { facade().signInAndConfigure(text("named"), mSecondPassword, true); })
                 .value(0)
                 .left(30),
             text("signInAndConfigureResponse(0, "));
    QVERIFY(cleanDevice());
}

void TestStory::aNameAndANumberAreEnough()
{
    RegistrationInfo info;
    info.setUsername(text("caller"));
    info.setPassword(mFirstPassword);
    info.setCaptchaText(solvedCaptcha());
    QCOMPARE(answers([&] { facade().registerAccount(info, true); }),
             QStringList(text("registerAccountResponse(1001, {})")));
    info.setMobilePhoneNumber(text("+358401234567"));
    const QStringList lines = answers([&] { facade().registerAccount(info, true); });
    mNumber = newestAccount().value(text("accountId")).toString();
    QCOMPARE(lines,
             QStringList(setUpLine("registerAccountResponse", {{text("AccountId"), mNumber},
                                                               {text("EmailAddress"), {}},
                                                               {text("LoginId"), text("caller")},
                                                               {text("UserId"), text("caller")}})));
    QCOMPARE(accountAtService(mNumber).value(text("mobile")).toString(), text("+358401234567"));
    QCOMPARE(deviceAccounts(), QList<QVariantList>({{text("caller"), text("zor"), 1LL,
                                                     QString::number(identityNumber())}}));
    QCOMPARE(signInElsewhere("+358401234567", mFirstPassword), 200);
    QVERIFY(cleanDevice());
}

void TestStory::noAccountIsMadeOnTheDeviceWhenNoneIsWanted()
{
    const QStringList lines =
        answers([this] { facade().signInAndConfigure(text("caller"), mFirstPassword, false); });
    QCOMPARE(lines, QStringList(setUpLine("signInAndConfigureResponse",
                                          {{text("AccountId"), mNumber},
                                           {text("EmailAddress"), {}},
                                           {text("LoginId"), text("caller")},
                                           {text("UserId"), text("caller")}})));
    QCOMPARE(deviceAccounts(), QList<QVariantList>());
    QCOMPARE(identities().size(), 1);
    QVERIFY(!facade().isKeLAccountConfigured());
    QCOMPARE(answers([this] { facade().downloadProfile(); }),
             QStringList(text("downloadProfileResponse(0, profile)")));
    QVERIFY(cleanDevice());
}

QTEST_MAIN(TestStory)
#include "tst_story.moc"
