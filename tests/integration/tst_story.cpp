// SPDX-License-Identifier: LGPL-2.1-or-later
// The life of an account, in order: each function goes on where the one before it ended. It runs
// inside the emulator, against the shared library.
#include "emulator/serviceclient.h"
#include "integration/storyfixture.h"
#include "support/literals.h"
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
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
        QVERIFY(mElsewhere.joinSurrounding());
        // A device without a modem, whose user has chosen a region.
        const QTemporaryDir folder;
        QFile settings(folder.filePath("settings"_s));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[meegotouch/i18n]\nregion='fi_FI'\n");
        settings.close();
        QFile profile(qEnvironmentVariable("HOME") + "/dconf-profile"_s);
        QVERIFY(profile.open(QIODevice::WriteOnly));
        profile.write("user-db:user\n");
        profile.close();
        qputenv("DCONF_PROFILE", QFile::encodeName(profile.fileName()));
        const QDir database(qEnvironmentVariable("XDG_CONFIG_HOME") + "/dconf"_s);
        QVERIFY(database.mkpath("."_s));
        QVERIFY2(QProcess::execute("dconf"_s,
                                   {"compile"_s, database.filePath("user"_s), folder.path()}) == 0,
                 "the package dconf-cli is needed");
        openFacade();
        QCOMPARE(recorder().lines(), QStringList("initializeResponse(0)"_s));
    }

    void cleanupTestCase()
    {
        closeFacade();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void theDeviceIsInACountry()
    {
        QCOMPARE(answers([this] { facade().retrieveCountryCode(); }),
                 QStringList("retrieveCountryCodeResponse(0, 'FI')"_s));
    }

    void theNameIsFree()
    {
        QVERIFY(!facade().isKeLAccountConfigured());
        QCOMPARE(answers([this] { facade().isUserIdAvailable("maria"_s); }),
                 QStringList("isUserIdAvailableResponse(0, true, [])"_s));
        // The device has no service tag to show: it has to solve captchas, and may not ask for
        // addresses.
        QVERIFY(facade().isCaptchaRequired());
        QCOMPARE(answers([this] { facade().isEmailIdAvailable("maria@mail.example"_s); }),
                 QStringList("isEmailIdAvailableResponse(516, false)"_s));
    }

    void aCaptchaIsShown()
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
            QStringList({"captchaImageResponse(0, picture 200x60)"_s,
                         "retrieveCaptchaImageResponse(0, picture 200x60, '%1')"_s.arg(ids[0])}));
        QVERIFY(!mCaptchaText.isEmpty());
        mCaptchaId = ids[0];
    }

    void anAccountIsRegistered()
    {
        RegistrationInfo info;
        info.setUsername("maria"_s);
        info.setEmailAddress("maria@mail.example"_s);
        info.setPassword(mFirstPassword);
        info.setCaptchaText(mCaptchaText); // of the captcha fetched last
        info.setSecurityQuestion("2"_s);
        info.setSecurityAnswer("Hämeenlinna"_s);
        info.setFirstName("Märiä"_s);
        info.setLastName("O'Neill & <Söns>"_s);
        info.setCountry("FI"_s);
        info.setLanguage("fi"_s);
        info.setDateOfBirth(QDate(1980, 2, 29));
        info.setMarketingInfoOnEmail(true);
        const QStringList lines = answers([&] { facade().registerAccount(info, true); });
        mNumber = newestAccount().value("accountId"_s).toString();
        QVERIFY(!mNumber.isEmpty());
        QCOMPARE(lines, QStringList(setUpLine("registerAccountResponse",
                                              {{"AccountId"_s, mNumber},
                                               {"EmailAddress"_s, "maria@mail.example"_s},
                                               {"LoginId"_s, "maria@mail.example"_s},
                                               {"UserId"_s, "maria"_s}})));
        // A captcha can be used once.
        QCOMPARE(
            EmulatedService::ask("GET", ("/captchas/" + mCaptchaId.toLatin1()).constData()).status,
            404);
    }

    void theDeviceHasTheAccount()
    {
        const int identity = identityNumber();
        QVERIFY(identity > 0);
        // The name to sign in with is the address; the account bears the user's name.
        QCOMPARE(identities().at(0).at(1).toString(), "maria@mail.example"_s);
        QCOMPARE(deviceAccounts(),
                 QList<QVariantList>({{"maria"_s, "zor"_s, 1LL, QString::number(identity)}}));
        QVERIFY(facade().isKeLAccountConfigured());
    }

    void theServiceHasTheAccount()
    {
        QCOMPARE(newestAccount(), QJsonObject({{"accountId"_s, mNumber},
                                               {"userName"_s, "maria"_s},
                                               {"email"_s, "maria@mail.example"_s},
                                               {"emailVerified"_s, false},
                                               {"mobile"_s, QString()},
                                               {"mobileVerified"_s, false},
                                               {"securityQuestion"_s, "2"_s},
                                               {"language"_s, "fi"_s},
                                               {"country"_s, "FI"_s},
                                               {"dateOfBirth"_s, "1980-02-29"_s},
                                               {"firstName"_s, "Märiä"_s},
                                               {"lastName"_s, "O'Neill & <Söns>"_s},
                                               {"gender"_s, QString()},
                                               {"marketingByEmail"_s, true},
                                               {"marketingByMobile"_s, false},
                                               {"locked"_s, false}}));
        QCOMPARE(signInElsewhere("maria", mFirstPassword), 200);
        const QStringList taken = answers([this] { facade().isUserIdAvailable("maria"_s); });
        QCOMPARE(taken.size(), 1);
        QVERIFY2(taken.at(0).startsWith("isUserIdAvailableResponse(0, false, [maria"_s),
                 qPrintable(taken.at(0)));
    }

    void theProfileIsWhatWasRegistered()
    {
        QList<ProfileInfo*> profiles;
        connect(&facade(), &KelAccounts::downloadProfileResponse, this,
                [&](KelAccount::ErrorStatus, ProfileInfo* profile) { profiles.append(profile); });
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
        disconnect(&facade(), &KelAccounts::downloadProfileResponse, this, nullptr);
        QCOMPARE(profiles.size(), 1);
        const ProfileInfo& profile = *profiles.at(0);
        QCOMPARE(profile.userName(), "maria"_s);
        QCOMPARE(profile.emailAddress(), "maria@mail.example"_s);
        QVERIFY(!profile.emailVerified());
        QCOMPARE(profile.mobilePhoneNumber(), QString());
        QVERIFY(!profile.mobilePhoneVerified());
        QCOMPARE(profile.firstName(), "Märiä"_s);
        QCOMPARE(profile.lastName(), "O'Neill & <Söns>"_s);
        QCOMPARE(profile.countryAsString(), "FI"_s);
        QCOMPARE(profile.languageAsString(), "fi"_s);
        QCOMPARE(profile.dateOfBirth(), QDate(1980, 2, 29));
        QCOMPARE(profile.securityQuestionId(), "2"_s);
        // Consent is asked for by an operation of its own: the service's profile does not tell it.
        QVERIFY(!profile.marketingInfo());
        QCOMPARE(profile.serviceList(), QStringList({"contacts"_s, "sync"_s}));
    }

    void onlyOneAccountFitsOnTheDevice()
    {
        // Whatever else is wrong with the call.
        QCOMPARE(answers([this] { facade().signInAndConfigure(QString(), QString(), true); }),
                 QStringList("signInAndConfigureResponse(803, {})"_s));
        QCOMPARE(answers([this] { facade().registerAccount(RegistrationInfo(), true); }),
                 QStringList("registerAccountResponse(803, {})"_s));
        QCOMPARE(identities().size(), 1);
    }

    void thePasswordIsChanged()
    {
        QCOMPARE(answers([this] { facade().changePassword("wrong"_s, mSecondPassword); }),
                 QStringList("changePasswordResponse(614)"_s));
        QCOMPARE(signInElsewhere("maria", mFirstPassword), 200);
        QCOMPARE(answers([this] { facade().changePassword(mFirstPassword, mSecondPassword); }),
                 QStringList("changePasswordResponse(0)"_s));
        QCOMPARE(signInElsewhere("maria", mFirstPassword), 401);
        QCOMPARE(signInElsewhere("maria", mSecondPassword), 200);
        // This device knows the new one.
        QVERIFY(letTokensExpire());
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
    }

    void theUserNameCannotBeChanged()
    {
        QCOMPARE(answers([this] { facade().userIdUpdate("mary"_s); }),
                 QStringList("userIdUpdateResponse(608)"_s));
        QCOMPARE(accountAtService(mNumber).value("userName"_s).toString(), "maria"_s);
    }

    void theSecurityQuestionIsChanged()
    {
        QCOMPARE(answers([this] { facade().updateSecurityQuestion("4"_s, "Ällä & <co>"_s); }),
                 QStringList("updateSecurityQuestionResponse(0)"_s));
        QCOMPARE(accountAtService(mNumber).value("securityQuestion"_s).toString(), "4"_s);
    }

    void aTokenIsKeptAtHand()
    {
        const QStringList good("ensureTokenAvailableResponse(0)"_s);
        const auto identity = unsigned(identityNumber());
        QCOMPARE(answers([&] { facade().ensureTokenAvailable(identity); }), good);
        QCOMPARE(answers([&] { facade().ensureTokenAvailable(0); }), good);
        QCOMPARE(answers([&] { facade().ensureTokenAvailable(identity + 1); }),
                 QStringList("ensureTokenAvailableResponse(1001)"_s));
        QVERIFY(letTokensExpire());
        QCOMPARE(answers([&] { facade().ensureTokenAvailable(identity); }), good);
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
    }

    void aMessageAndTheAnswerSetANewPassword()
    {
        const QString token = recoveryToken("maria"_s, true);
        const QJsonObject message = newestMessage("maria"_s);
        QVERIFY2(!token.isEmpty() && !token.contains(QLatin1Char('(')), qPrintable(token));
        QCOMPARE(message.value("recipient"_s).toString(), "maria@mail.example"_s);
        QVERIFY(message.value("text"_s).toString().startsWith("Tervetuloa takaisin!\n"_s));

        QCOMPARE(answers([this] { facade().retrievePasswordResetSecQuestion("maria"_s, "en"_s); }),
                 QStringList("retrievePasswordResetSecQuestionResponse(0, {securityQuestionId: 4, "
                             "securityQuestionText: What is your favourite book?, "
                             "userId: maria})"_s));
        const auto answered = [](int status) {
            return "resetPasswordUsingSecurityQuestionResponse(%1)"_s.arg(status);
        };
        QCOMPARE(reset("maria"_s, token, mThirdPassword, "Hämeenlinna"_s), answered(504));
        QCOMPARE(reset("maria"_s, "0123"_s, mThirdPassword, "Ällä & <co>"_s), answered(504));
        QCOMPARE(signInElsewhere("maria", mSecondPassword), 200);
        QCOMPARE(reset("maria"_s, token, mThirdPassword, "Ällä & <co>"_s), answered(0));
        QCOMPARE(signInElsewhere("maria", mSecondPassword), 401);
        QCOMPARE(signInElsewhere("maria", mThirdPassword), 200);
        // A token is good for one change.
        QCOMPARE(reset("maria"_s, token, mFirstPassword, "Ällä & <co>"_s), answered(504));
    }

    void theDeviceIsNotSignedInAnyLonger()
    {
        QVERIFY(letTokensExpire());
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(504, profile)"_s));
        QVERIFY(facade().isKeLAccountConfigured());
    }

    void theSessionIsClosed()
    {
        QCOMPARE(answers([this] { facade().close(); }),
                 QStringList({"inside the call:"_s, "closeResponse(0)"_s}));
    }

    // The settings of the device take account and credentials off: the next sign-in is that of a
    // new one.
    void aWrongPasswordLeavesNothingBehind()
    {
        QVERIFY(cleanDevice());
        QVERIFY(!facade().isKeLAccountConfigured());
        QCOMPARE(answers([this] { facade().signInAndConfigure("maria"_s, mSecondPassword, true); }),
                 QStringList("signInAndConfigureResponse(504, {})"_s));
        QCOMPARE(leftOnTheDevice(), QString());
    }

    void anotherDeviceSignsIn()
    {
        const QStringList lines =
            answers([this] { facade().signInAndConfigure("maria"_s, mThirdPassword, true); });
        QCOMPARE(lines, QStringList(setUpLine("signInAndConfigureResponse",
                                              {{"AccountId"_s, mNumber},
                                               {"EmailAddress"_s, "maria@mail.example"_s},
                                               {"LoginId"_s, "maria"_s},
                                               {"UserId"_s, "maria"_s}})));
        QCOMPARE(deviceAccounts(), QList<QVariantList>({{"maria"_s, "zor"_s, 1LL,
                                                         QString::number(identityNumber())}}));
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
        QCOMPARE(answers([this] { facade().signInAndConfigure("maria"_s, mThirdPassword, true); }),
                 QStringList("signInAndConfigureResponse(803, {})"_s));
        QVERIFY(cleanDevice());
    }

    void anAddressAloneGetsAUserNameOnce()
    {
        RegistrationInfo info;
        info.setEmailAddress("nameless@mail.example"_s);
        info.setPassword(mFirstPassword);
        info.setCaptchaText(solvedCaptcha());
        const QStringList lines = answers([&] { facade().registerAccount(info, true); });
        mNumber = newestAccount().value("accountId"_s).toString();
        QCOMPARE(lines, QStringList(setUpLine("registerAccountResponse",
                                              {{"AccountId"_s, mNumber},
                                               {"EmailAddress"_s, "nameless@mail.example"_s},
                                               {"LoginId"_s, "nameless@mail.example"_s},
                                               {"UserId"_s, QString()}})));
        // Without a name the account bears what the user signed in with.
        QCOMPARE(deviceAccounts().value(0).value(0).toString(), "nameless@mail.example"_s);
        QCOMPARE(answers([this] { facade().userIdUpdate("admin"_s); }),
                 QStringList("userIdUpdateResponse(512)"_s));
        QCOMPARE(answers([this] { facade().userIdUpdate("named"_s); }),
                 QStringList("userIdUpdateResponse(0)"_s));
        QCOMPARE(accountAtService(mNumber).value("userName"_s).toString(), "named"_s);
        QCOMPARE(answers([this] { facade().userIdUpdate("renamed"_s); }),
                 QStringList("userIdUpdateResponse(608)"_s));
        QCOMPARE(signInElsewhere("named", mFirstPassword), 200);
        QVERIFY(cleanDevice());
    }

    void aMessageAloneSetsANewPasswordWithoutAQuestion()
    {
        QCOMPARE(answers([this] { facade().retrievePasswordResetSecQuestion("named"_s, "en"_s); }),
                 QStringList("retrievePasswordResetSecQuestionResponse(507, {securityQuestionId: , "
                             "securityQuestionText: , userId: })"_s));
        const QString token = recoveryToken("named"_s, false);
        QCOMPARE(newestMessage("named"_s).value("text"_s).toString(), token);
        QCOMPARE(reset("named"_s, token, mSecondPassword, "none"_s),
                 "resetPasswordUsingSecurityQuestionResponse(0)"_s);
        QCOMPARE(answers([this] { facade().signInAndConfigure("named"_s, mSecondPassword, true); })
                     .value(0)
                     .left(30),
                 "signInAndConfigureResponse(0, "_s);
        QVERIFY(cleanDevice());
    }

    void aNameAndANumberAreEnough()
    {
        RegistrationInfo info;
        info.setUsername("caller"_s);
        info.setPassword(mFirstPassword);
        info.setCaptchaText(solvedCaptcha());
        QCOMPARE(answers([&] { facade().registerAccount(info, true); }),
                 QStringList("registerAccountResponse(1001, {})"_s));
        info.setMobilePhoneNumber("+358401234567"_s);
        const QStringList lines = answers([&] { facade().registerAccount(info, true); });
        mNumber = newestAccount().value("accountId"_s).toString();
        QCOMPARE(lines,
                 QStringList(setUpLine("registerAccountResponse", {{"AccountId"_s, mNumber},
                                                                   {"EmailAddress"_s, {}},
                                                                   {"LoginId"_s, "caller"_s},
                                                                   {"UserId"_s, "caller"_s}})));
        QCOMPARE(accountAtService(mNumber).value("mobile"_s).toString(), "+358401234567"_s);
        QCOMPARE(deviceAccounts(), QList<QVariantList>({{"caller"_s, "zor"_s, 1LL,
                                                         QString::number(identityNumber())}}));
        QCOMPARE(signInElsewhere("+358401234567", mFirstPassword), 200);
        QVERIFY(cleanDevice());
    }

    void noAccountIsMadeOnTheDeviceWhenNoneIsWanted()
    {
        const QStringList lines =
            answers([this] { facade().signInAndConfigure("caller"_s, mFirstPassword, false); });
        QCOMPARE(lines,
                 QStringList(setUpLine("signInAndConfigureResponse", {{"AccountId"_s, mNumber},
                                                                      {"EmailAddress"_s, {}},
                                                                      {"LoginId"_s, "caller"_s},
                                                                      {"UserId"_s, "caller"_s}})));
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
        QCOMPARE(identities().size(), 1);
        QVERIFY(!facade().isKeLAccountConfigured());
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
        QVERIFY(cleanDevice());
    }

private:
    static QJsonObject newestAccount()
    {
        const auto reply = EmulatedService::ask("GET", "/accounts");
        return QJsonDocument::fromJson(reply.body).array().last().toObject();
    }

    static QJsonObject newestMessage(const QString& user)
    {
        const auto reply =
            EmulatedService::ask("GET", ("/inbox?name=" + user.toLatin1()).constData());
        return QJsonDocument::fromJson(reply.body).array().last().toObject();
    }

    /// Of a sign-in somewhere else, with liboauth in the library's place; 200 when it succeeds.
    int signInElsewhere(const char* user, const QString& password)
    {
        return mElsewhere.signIn(user, password.toUtf8()).status;
    }

    /// Has a recovery message sent; its token.
    QString recoveryToken(const QString& user, bool withMessage)
    {
        const QString captcha = solvedCaptcha();
        const QStringList lines = answers([&] {
            facade().requestPasswordReset(user, captcha, withMessage,
                                          withMessage ? "Tervetuloa takaisin!"_s : QString());
        });
        return lines == QStringList("requestPasswordResetResponse(0)"_s)
                   ? newestMessage(user).value("token"_s).toString()
                   : lines.join(QLatin1Char(' '));
    }

    QString reset(const QString& user, const QString& token, const QString& password,
                  const QString& answer)
    {
        return answers([&] {
                   facade().resetPasswordUsingSecurityQuestion(user, token, password, answer);
               })
            .join(QLatin1Char(' '));
    }

    const QString mFirstPassword = "Kärhö-Wäinö 1"_s;
    const QString mSecondPassword = "second & <password>"_s;
    const QString mThirdPassword = "third \"password\" €"_s;
    ServiceClient mElsewhere;
    QString mCaptchaText;
    QString mCaptchaId;
    QString mNumber; // of the account at the service
};

QTEST_MAIN(TestStory)
#include "tst_story.moc"
