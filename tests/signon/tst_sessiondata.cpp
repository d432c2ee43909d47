// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/requestdata.h"
#include "signon/zorauthsessionprivatedata.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

using KelRestHandler::ProfileInfoData;
using ZorKeLSignOn::ZorAuthSessionData;
using ZorKeLSignOn::ZorAuthSessionPrivateData;

class TestSessionData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFreshRecordHoldsThreeDefaults()
    {
        const QVariantMap map = ZorAuthSessionData().toMap();
        QCOMPARE(map.size(), 3);
        QCOMPARE(map.value("ManualSignIn"_s), QVariant(false));
        QCOMPARE(map.value("ManualSignIn"_s).userType(), int(QMetaType::Bool));
        QCOMPARE(map.value("VerifyUser"_s), QVariant(false));
        QCOMPARE(map.value("VerifyUser"_s).userType(), int(QMetaType::Bool));
        QCOMPARE(map.value("KelIdHashRequestType"_s), QVariant(0));
        QCOMPARE(map.value("KelIdHashRequestType"_s).userType(), int(QMetaType::Int));
    }

    void aFreshPrivateRecordHoldsTheSame()
    {
        QCOMPARE(ZorAuthSessionPrivateData().toMap(), ZorAuthSessionData().toMap());
    }

    void settersWriteTheirKeysAndTypes_data()
    {
        columns<QVariantMap, QString, QVariant>("map", "key", "value");

        const auto row = [](const char* key, const QVariant& value, auto set) {
            ZorAuthSessionPrivateData record;
            set(record);
            QTest::newRow(key) << record.toMap() << QString::fromLatin1(key) << value;
        };
        const QString text = "k"_s;
        row("ConsumerKey", text, [&](ZorAuthSessionPrivateData& r) { r.setConsumerKey(text); });
        row("ConsumerSecret", text,
            [&](ZorAuthSessionPrivateData& r) { r.setConsumerSecret(text); });
        row("ServerUrlValue", 4, [&](ZorAuthSessionPrivateData& r) { r.setServerUrlValue(4); });
        row("ManualSignIn", true, [&](ZorAuthSessionPrivateData& r) { r.setManualSignIn(true); });
        row("ZorService", text, [&](ZorAuthSessionPrivateData& r) { r.setZorService(text); });
        row("OldPassword", text, [&](ZorAuthSessionPrivateData& r) { r.setOldPassword(text); });
        row("NewPassword", text, [&](ZorAuthSessionPrivateData& r) { r.setNewPassword(text); });
        row("NewUserName", text, [&](ZorAuthSessionPrivateData& r) { r.setNewUserName(text); });
    }
    void settersWriteTheirKeysAndTypes()
    {
        const auto [map, key, value] = fetch<QVariantMap, QString, QVariant>("map", "key", "value");
        QCOMPARE(map.value(key), value);
        QCOMPARE(map.value(key).userType(), value.userType());
        QCOMPARE(map.size(), key == QLatin1String("ManualSignIn") ? 3 : 4);
    }

    void settingTwiceKeepsTheLastValue()
    {
        ZorAuthSessionData record;
        record.setConsumerKey("first"_s);
        record.setConsumerKey("second"_s);
        QCOMPARE(record.toMap().size(), 4);
        QCOMPARE(record.getProperty("ConsumerKey"_s), QVariant("second"_s));
    }

    void aReceivedMapReplacesTheDefaults()
    {
        const QVariantMap received = {{"Token"_s, "t"_s}};
        const SignOn::SessionData data(received);
        QCOMPARE(data.data<ZorAuthSessionData>().toMap(), received);
        QCOMPARE(data.data<ZorAuthSessionPrivateData>().toMap(), received);
    }

    void aProfileThatWasNotSentIsEmpty()
    {
        const ProfileInfoData profile = ZorAuthSessionPrivateData().DownloadedProfile();
        QCOMPARE(profile.userName, QString());
        QCOMPARE(profile.dateOfBirth, QDate());
        QCOMPARE(profile.services, QStringList());
        QCOMPARE(profile.account.emailVerified, false);
    }

    void aProfileThatIsNotBytesIsEmpty()
    {
        const SignOn::SessionData data(QVariantMap{{"DownloadedProfile"_s, QVariantList{1, 2}}});
        QCOMPARE(data.data<ZorAuthSessionPrivateData>().DownloadedProfile().userName, QString());
    }

    void aRequestIsCopiedWhole()
    {
        ZorAuthSessionData record;
        record.setConsumerKey("key"_s);
        const KelAccount::RequestData request(record, "token"_s, KelAccount::TokenRequest);
        const KelAccount::RequestData copy(request);
        QCOMPARE(copy.requestType, KelAccount::TokenRequest);
        QCOMPARE(copy.mechanism, "token"_s);
        QCOMPARE(copy.sessionData.toMap(), record.toMap());
        QVERIFY(!copy.parent());
    }
};

QTEST_GUILESS_MAIN(TestSessionData)
#include "tst_sessiondata.moc"
