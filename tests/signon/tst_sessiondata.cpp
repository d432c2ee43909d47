// SPDX-License-Identifier: LGPL-2.1-or-later
#include "bytereader.h"
#include "signon/requestdata.h"
#include "signon/zorauthsessionprivatedata.h"

#include <QTest>

using KelRestHandler::ProfileInfoData;
using KelRestHandler::RegistrationInfoData;
using KelRestHandler::SetSecurityQuestionInput;
using ZorKeLSignOn::ZorAuthSessionData;
using ZorKeLSignOn::ZorAuthSessionPrivateData;

class TestSessionData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFreshRecordHoldsThreeDefaults();
    void aFreshPrivateRecordHoldsTheSame();
    void settersWriteTheirKeysAndTypes_data();
    void settersWriteTheirKeysAndTypes();
    void settingTwiceKeepsTheLastValue();
    void aReceivedMapReplacesTheDefaults();
    void registrationIsReadBackByAnotherReader();
    void anEmptyRegistrationEndsInANullServiceTag();
    void securityQuestionIsReadBackByAnotherReader();
    void aProfileThatWasNotSentIsEmpty();
    void aProfileThatIsNotBytesIsEmpty();
    void aRequestIsCopiedWhole();
};

void TestSessionData::aFreshRecordHoldsThreeDefaults()
{
    const QVariantMap map = ZorAuthSessionData().toMap();
    QCOMPARE(map.size(), 3);
    QCOMPARE(map.value(QStringLiteral("ManualSignIn")), QVariant(false));
    QCOMPARE(map.value(QStringLiteral("ManualSignIn")).userType(), int(QMetaType::Bool));
    QCOMPARE(map.value(QStringLiteral("VerifyUser")), QVariant(false));
    QCOMPARE(map.value(QStringLiteral("VerifyUser")).userType(), int(QMetaType::Bool));
    QCOMPARE(map.value(QStringLiteral("KelIdHashRequestType")), QVariant(0));
    QCOMPARE(map.value(QStringLiteral("KelIdHashRequestType")).userType(), int(QMetaType::Int));
}

void TestSessionData::aFreshPrivateRecordHoldsTheSame()
{
    QCOMPARE(ZorAuthSessionPrivateData().toMap(), ZorAuthSessionData().toMap());
}

void TestSessionData::settersWriteTheirKeysAndTypes_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");

    const auto row = [](const char* key, const QVariant& value, auto set) {
        ZorAuthSessionPrivateData record;
        set(record);
        QTest::newRow(key) << record.toMap() << QString::fromLatin1(key) << value;
    };
    const QString text = QStringLiteral("k");
    row("ConsumerKey", text, [&](ZorAuthSessionPrivateData& r) { r.setConsumerKey(text); });
    row("ConsumerSecret", text, [&](ZorAuthSessionPrivateData& r) { r.setConsumerSecret(text); });
    row("ServerUrlValue", 4, [&](ZorAuthSessionPrivateData& r) { r.setServerUrlValue(4); });
    row("ManualSignIn", true, [&](ZorAuthSessionPrivateData& r) { r.setManualSignIn(true); });
    row("ZorService", text, [&](ZorAuthSessionPrivateData& r) { r.setZorService(text); });
    row("OldPassword", text, [&](ZorAuthSessionPrivateData& r) { r.setOldPassword(text); });
    row("NewPassword", text, [&](ZorAuthSessionPrivateData& r) { r.setNewPassword(text); });
    row("NewUserName", text, [&](ZorAuthSessionPrivateData& r) { r.setNewUserName(text); });
}

void TestSessionData::settersWriteTheirKeysAndTypes()
{
    QFETCH(QVariantMap, map);
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QCOMPARE(map.value(key), value);
    QCOMPARE(map.value(key).userType(), value.userType());
    QCOMPARE(map.size(), key == QLatin1String("ManualSignIn") ? 3 : 4);
}

void TestSessionData::settingTwiceKeepsTheLastValue()
{
    ZorAuthSessionData record;
    record.setConsumerKey(QStringLiteral("first"));
    record.setConsumerKey(QStringLiteral("second"));
    QCOMPARE(record.toMap().size(), 4);
    QCOMPARE(record.getProperty(QStringLiteral("ConsumerKey")), QVariant(QStringLiteral("second")));
}

void TestSessionData::aReceivedMapReplacesTheDefaults()
{
    const QVariantMap received = {{QStringLiteral("Token"), QStringLiteral("t")}};
    const SignOn::SessionData data(received);
    QCOMPARE(data.data<ZorAuthSessionData>().toMap(), received);
    QCOMPARE(data.data<ZorAuthSessionPrivateData>().toMap(), received);
}

void TestSessionData::registrationIsReadBackByAnotherReader()
{
    RegistrationInfoData registration;
    registration.userName = QStringLiteral("näme\u20ac");
    registration.captchaText = QStringLiteral("captcha");
    registration.password = QStringLiteral("password");
    registration.mobilePhoneNumber = QStringLiteral("+3581234");
    registration.emailAddress = QStringLiteral("a@b.example");
    registration.securityQuestion = QStringLiteral("question");
    registration.securityAnswer = QStringLiteral("answer");
    registration.dateOfBirth = QDate(1980, 2, 29);
    registration.firstName = QStringLiteral("First");
    registration.lastName = QStringLiteral("Last");
    registration.countryAsString = QStringLiteral("FI");
    registration.reservedNumber = -5;
    registration.reservedFlag1 = true;
    registration.reservedFlag2 = false;
    registration.languageAsString = QStringLiteral("fi");
    registration.language = QLocale::Finnish;
    registration.country = QLocale::Finland;
    registration.reservedNumber2 = 9;
    registration.marketingInfoOnMobile = true;
    registration.marketingInfoOnEmail = false;
    registration.captchaId = QStringLiteral("id");
    registration.serviceTag = QByteArray("tag\0x", 5);

    ZorAuthSessionPrivateData record;
    record.setRegistrationData(registration);
    const QVariant value = record.getProperty(QStringLiteral("RegistrationData"));
    QCOMPARE(value.userType(), int(QMetaType::QByteArray));

    ByteReader reader(value.toByteArray());
    QCOMPARE(reader.text(), registration.userName);
    QCOMPARE(reader.text(), registration.captchaText);
    QCOMPARE(reader.text(), registration.password);
    QCOMPARE(reader.text(), registration.mobilePhoneNumber);
    QCOMPARE(reader.text(), registration.emailAddress);
    QCOMPARE(reader.text(), registration.securityQuestion);
    QCOMPARE(reader.text(), registration.securityAnswer);
    QCOMPARE(reader.date(), registration.dateOfBirth);
    QCOMPARE(reader.text(), registration.firstName);
    QCOMPARE(reader.text(), registration.lastName);
    QCOMPARE(reader.text(), registration.countryAsString);
    QCOMPARE(reader.integer(), -5);
    QCOMPARE(reader.flag(), true);
    QCOMPARE(reader.flag(), false);
    QCOMPARE(reader.text(), registration.languageAsString);
    QCOMPARE(reader.integer(), int(QLocale::Finnish));
    QCOMPARE(reader.integer(), int(QLocale::Finland));
    QCOMPARE(reader.integer(), 9);
    QCOMPARE(reader.flag(), true);
    QCOMPARE(reader.flag(), false);
    QCOMPARE(reader.text(), registration.captchaId);
    QCOMPARE(reader.block(), registration.serviceTag);
    QVERIFY(reader.atEnd());
}

void TestSessionData::anEmptyRegistrationEndsInANullServiceTag()
{
    ZorAuthSessionPrivateData record;
    record.setRegistrationData(RegistrationInfoData());
    const QByteArray bytes = record.getProperty(QStringLiteral("RegistrationData")).toByteArray();
    // 12 null texts of 4 bytes, a date of 8, four integers, four flags, and the null tag.
    QCOMPARE(bytes.size(), 12 * 4 + 8 + 4 * 4 + 4 + 4);
    QCOMPARE(bytes.right(4), QByteArray("\xff\xff\xff\xff"));
}

void TestSessionData::securityQuestionIsReadBackByAnotherReader()
{
    SetSecurityQuestionInput input;
    input.question = QStringLiteral("Première école ?");
    input.answer = QStringLiteral("Élysée");
    ZorAuthSessionPrivateData record;
    record.setUpdateSecurityQuestion(input);
    const QVariant value = record.getProperty(QStringLiteral("UpdateSecurityQuestion"));
    QCOMPARE(value.userType(), int(QMetaType::QByteArray));

    ByteReader reader(value.toByteArray());
    QCOMPARE(reader.text(), input.question);
    QCOMPARE(reader.text(), input.answer);
    QVERIFY(reader.atEnd());
}

void TestSessionData::aProfileThatWasNotSentIsEmpty()
{
    const ProfileInfoData profile = ZorAuthSessionPrivateData().DownloadedProfile();
    QCOMPARE(profile.userName, QString());
    QCOMPARE(profile.dateOfBirth, QDate());
    QCOMPARE(profile.services, QStringList());
    QCOMPARE(profile.account.emailVerified, false);
}

void TestSessionData::aProfileThatIsNotBytesIsEmpty()
{
    const SignOn::SessionData data(
        QVariantMap{{QStringLiteral("DownloadedProfile"), QVariantList{1, 2}}});
    QCOMPARE(data.data<ZorAuthSessionPrivateData>().DownloadedProfile().userName, QString());
}

void TestSessionData::aRequestIsCopiedWhole()
{
    ZorAuthSessionData record;
    record.setConsumerKey(QStringLiteral("key"));
    const KelAccount::RequestData request(record, QStringLiteral("token"),
                                          KelAccount::TokenRequest);
    const KelAccount::RequestData copy(request);
    QCOMPARE(copy.requestType, KelAccount::TokenRequest);
    QCOMPARE(copy.mechanism, QStringLiteral("token"));
    QCOMPARE(copy.sessionData.toMap(), record.toMap());
    QVERIFY(!copy.parent());
}

QTEST_GUILESS_MAIN(TestSessionData)
#include "tst_sessiondata.moc"
