// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/records/registrationconversion.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/preaccountinfo.h>
#include <kelaccount/profileinfo.h>
#include <kelaccount/registrationinfo.h>

#include <QMetaProperty>
#include <QTest>

using namespace KelAccount;

namespace {

// "name type" of every property that the class itself declares, in order.
QStringList propertiesOf(const QMetaObject& meta)
{
    QStringList list;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (!property.isReadable() || !property.isWritable())
            continue;
        list.append(QLatin1String(property.name()) + QLatin1Char(' ') +
                    QLatin1String(property.typeName()));
    }
    return list;
}

QVariant sample(const QMetaProperty& property)
{
    switch (property.userType()) {
    case QMetaType::Bool:
        return true;
    case QMetaType::QDate:
        return QDate(1980, 2, 9);
    case QMetaType::QStringList:
        return QStringList{"music"_s, "maps"_s};
    default:
        return QLatin1String(property.name()) + QLatin1String("'s value");
    }
}

void fillProperties(QObject& record)
{
    const QMetaObject* const meta = record.metaObject();
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i)
        QVERIFY(meta->property(i).write(&record, sample(meta->property(i))));
}

void checkProperties(const QObject& record)
{
    const QMetaObject* const meta = record.metaObject();
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i)
        QCOMPARE(meta->property(i).read(&record), sample(meta->property(i)));
}

RegistrationInfo filledRegistration()
{
    RegistrationInfo info;
    fillProperties(info);
    info.setLanguage(QLocale::Finnish);
    info.setCountry(QLocale::Finland);
    info.setGender(GenderFemale);
    return info;
}

} // namespace

class TestPublicRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aProfileHasItsPropertiesInOrder()
    {
        const QString expected =
            "userName QString|mobilePhoneNumber QString|emailAddress QString|emailVerified bool|"
            "mobilePhoneVerified bool|securityQuestion QString|securityQuestionId QString|"
            "securityAnswer QString|dateOfBirth QDate|firstName QString|lastName QString|"
            "languageAsString QString|countryAsString QString|serviceList QStringList|"
            "marketingInfo bool"_s;
        QCOMPARE(propertiesOf(ProfileInfo::staticMetaObject), expected.split(QLatin1Char('|')));
    }

    void aRegistrationHasItsPropertiesInOrder()
    {
        const QString expected =
            "userName QString|captchaText QString|captchaId QString|password QString|"
            "mobilePhoneNumber QString|emailAddress QString|languageAsString QString|"
            "countryAsString QString|dateOfBirth QDate|firstName QString|lastName QString|"
            "marketingInfo bool|marketingInfoOnMobile bool|marketingInfoOnEmail bool|"
            "securityQuestion QString|securityAnswer QString"_s;
        QCOMPARE(propertiesOf(RegistrationInfo::staticMetaObject),
                 expected.split(QLatin1Char('|')));
    }

    void everyPropertyKeepsItsOwnValue()
    {
        ProfileInfo profile;
        fillProperties(profile);
        checkProperties(profile);
        RegistrationInfo registration;
        fillProperties(registration);
        checkProperties(registration);
    }

    void gettersAndSettersServeTheProperties()
    {
        ProfileInfo profile;
        profile.setUsername("somebody"_s);
        profile.setServiceList({"music"_s});
        QCOMPARE(profile.property("userName").toString(), "somebody"_s);
        QCOMPARE(profile.userName(), "somebody"_s);
        QCOMPARE(profile.property("serviceList").toStringList(), QStringList("music"_s));
        RegistrationInfo registration;
        registration.setUsername("somebody"_s);
        registration.setProperty("languageAsString", "fi"_s);
        QCOMPARE(registration.userName(), "somebody"_s);
        QCOMPARE(registration.languageAsString(), "fi"_s);
    }

    void aCopyHasEveryFieldAndAParentOfItsOwn()
    {
        QObject parent;
        ProfileInfo profile(&parent);
        fillProperties(profile);
        const ProfileInfo orphan(profile);
        QVERIFY(!orphan.parent());
        checkProperties(orphan);
        auto* const child = new ProfileInfo(profile, &parent);
        QCOMPARE(child->parent(), &parent);
        checkProperties(*child);

        profile.setUsername("changed"_s);
        checkProperties(orphan);

        ProfileInfo assigned;
        assigned = orphan;
        checkProperties(assigned);
    }

    void aCopyOfARegistrationHasAlsoWhatIsNoProperty()
    {
        const RegistrationInfo original = filledRegistration();
        const RegistrationInfo copy(original);
        RegistrationInfo assigned;
        assigned = original;
        for (const RegistrationInfo* info :
             {&copy, &const_cast<const RegistrationInfo&>(assigned)}) {
            checkProperties(*info);
            QCOMPARE(info->language(), QLocale::Finnish);
            QCOMPARE(info->country(), QLocale::Finland);
            QCOMPARE(info->gender(), GenderFemale);
        }
    }

    void aNewProfileIsEmpty()
    {
        const ProfileInfo profile;
        QVERIFY(profile.dateOfBirth().isNull());
        QVERIFY(!profile.emailVerified());
        QVERIFY(!profile.mobilePhoneVerified());
        QVERIFY(!profile.marketingInfo());
        QVERIFY(profile.userName().isEmpty());
        QVERIFY(profile.serviceList().isEmpty());
    }

    void clearingAProfileKeepsItsDateAndItsVerifiedFlags()
    {
        ProfileInfo profile;
        fillProperties(profile);
        profile.clearData();
        const QMetaObject* const meta = profile.metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            const QVariant value = property.read(&profile);
            if (property.userType() == QMetaType::QString)
                QVERIFY2(value.toString().isEmpty(), property.name());
        }
        QVERIFY(profile.serviceList().isEmpty());
        QVERIFY(!profile.marketingInfo());
        QVERIFY(profile.emailVerified());
        QVERIFY(profile.mobilePhoneVerified());
        QCOMPARE(profile.dateOfBirth(), QDate(1980, 2, 9));
    }

    void aNewRegistrationAndAClearedOneAreEmpty()
    {
        const RegistrationInfo fresh;
        RegistrationInfo cleared = filledRegistration();
        cleared.clearData();
        for (const RegistrationInfo* info :
             {&fresh, &const_cast<const RegistrationInfo&>(cleared)}) {
            const QMetaObject* const meta = info->metaObject();
            for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
                const QVariant value = meta->property(i).read(info);
                if (value.userType() == QMetaType::QString)
                    QVERIFY2(value.toString().isEmpty(), meta->property(i).name());
                if (value.userType() == QMetaType::Bool)
                    QVERIFY2(!value.toBool(), meta->property(i).name());
            }
            QVERIFY(info->dateOfBirth().isNull());
            QCOMPARE(int(info->language()), 1);
            QCOMPARE(int(info->country()), 0);
            QCOMPARE(int(info->gender()), 0);
        }
    }

    void textAndEnumerationOfLanguageAndCountryAreApart()
    {
        RegistrationInfo info;
        info.setLanguage("fi"_s);
        info.setCountry("FI"_s);
        QCOMPARE(info.language(), QLocale::C);
        QCOMPARE(info.country(), QLocale::AnyCountry);
        info.setLanguage(QLocale::Swedish);
        info.setCountry(QLocale::Sweden);
        QCOMPARE(info.languageAsString(), "fi"_s);
        QCOMPARE(info.countryAsString(), "FI"_s);
        QCOMPARE(info.language(), QLocale::Swedish);
        QCOMPARE(info.country(), QLocale::Sweden);
    }

    void everyRegistrationHasTheSameServiceId()
    {
        QCOMPARE(RegistrationInfo().getServiceId(), "OneConsent"_s);
        QCOMPARE(filledRegistration().getServiceId(), "OneConsent"_s);
    }

    void aRegistrationIsConvertedFieldByField()
    {
        const auto data = toRegistrationInfoData(filledRegistration(), "last"_s, "tag-0123"_ba);
        QCOMPARE(data.userName, "userName's value"_s);
        QCOMPARE(data.password, "password's value"_s);
        QCOMPARE(data.mobilePhoneNumber, "mobilePhoneNumber's value"_s);
        QCOMPARE(data.emailAddress, "emailAddress's value"_s);
        QCOMPARE(data.securityQuestion, "securityQuestion's value"_s);
        QCOMPARE(data.securityAnswer, "securityAnswer's value"_s);
        QCOMPARE(data.dateOfBirth, QDate(1980, 2, 9));
        QCOMPARE(data.firstName, "firstName's value"_s);
        QCOMPARE(data.lastName, "lastName's value"_s);
        QCOMPARE(data.countryAsString, "countryAsString's value"_s);
        QCOMPARE(data.languageAsString, "languageAsString's value"_s);
        QCOMPARE(data.country, QLocale::Finland);
        QCOMPARE(data.language, QLocale::Finnish);
        QCOMPARE(data.captchaText, "captchaText's value"_s);
        QCOMPARE(data.captchaId, "captchaId's value"_s);
        QCOMPARE(data.serviceTag, "tag-0123"_ba);
        // These have no source; the gender stays behind in particular.
        QCOMPARE(data.reservedNumber, 0);
        QCOMPARE(data.reservedNumber2, 0);
        QVERIFY(!data.reservedFlag1);
        QVERIFY(!data.reservedFlag2);
    }

    void theLastCaptchaStandsInForAnUnnamedOne()
    {
        const auto data = toRegistrationInfoData(RegistrationInfo(), "last"_s, {});
        QCOMPARE(data.captchaId, "last"_s);
    }

    void theGeneralConsentSwitchesBothChannelsOnAndNoneOff_data()
    {
        columns<bool, bool, bool, bool, bool>("general", "mobile", "email", "sentMobile",
                                              "sentEmail");
        QTest::newRow("none") << false << false << false << false << false;
        QTest::newRow("mobile") << false << true << false << true << false;
        QTest::newRow("e-mail") << false << false << true << false << true;
        QTest::newRow("both channels") << false << true << true << true << true;
        QTest::newRow("general") << true << false << false << true << true;
        QTest::newRow("general and mobile") << true << true << false << true << true;
        QTest::newRow("general and e-mail") << true << false << true << true << true;
        QTest::newRow("everything") << true << true << true << true << true;
    }
    void theGeneralConsentSwitchesBothChannelsOnAndNoneOff()
    {
        const auto [general, mobile, email] = fetch<bool, bool, bool>("general", "mobile", "email");
        RegistrationInfo info;
        info.setMarketingInfo(general);
        info.setMarketingInfoOnMobile(mobile);
        info.setMarketingInfoOnEmail(email);
        const auto data = toRegistrationInfoData(info, {}, {});
        QTEST(data.marketingInfoOnMobile, "sentMobile");
        QTEST(data.marketingInfoOnEmail, "sentEmail");
    }

    void aPreAccountIsEmptyAndTravelsInAVariant()
    {
        const PreAccountInfo empty;
        QVERIFY(empty.preAccountId.isEmpty());
        QVERIFY(empty.username.isEmpty());
        QVERIFY(empty.mobile.isEmpty());
        QCOMPARE(int(empty.country), 0);

        PreAccountInfo info;
        info.preAccountId = "pre-17"_s;
        info.country = QLocale::Finland;
        const QVariant variant = QVariant::fromValue(info);
        QCOMPARE(variant.typeName(), "KelAccount::PreAccountInfo");
        QCOMPARE(variant.value<PreAccountInfo>().preAccountId, "pre-17"_s);
        QCOMPARE(variant.value<PreAccountInfo>().country, QLocale::Finland);
    }

    void aPreAccountHasAPropertyForEachField()
    {
        const QMetaObject& meta = PreAccountInfo::staticMetaObject;
        QCOMPARE(propertiesOf(meta),
                 QStringList({"preAccountId QString"_s, "username QString"_s, "mobile QString"_s,
                              "country QLocale::Country"_s}));
        PreAccountInfo info;
        const QList<QVariant> values = {"pre-17"_s, "somebody"_s, "+358401234567"_s,
                                        QVariant::fromValue(QLocale::Finland)};
        for (int i = 0; i < values.size(); ++i) {
            QVERIFY(meta.property(i).writeOnGadget(&info, values.at(i)));
            QCOMPARE(meta.property(i).readOnGadget(&info), values.at(i));
        }
        QCOMPARE(info.preAccountId, "pre-17"_s);
        QCOMPARE(info.username, "somebody"_s);
        QCOMPARE(info.mobile, "+358401234567"_s);
        QCOMPARE(info.country, QLocale::Finland);
    }

    void consentVariantsHaveTheirNumbers()
    {
        QCOMPARE(int(ConsentVariantUnknown), 0);
        QCOMPARE(int(ConsentVariantImplicit), 1);
        QCOMPARE(int(ConsentVariantPreTicked), 2);
        QCOMPARE(int(ConsentVariantUnTicked), 3);
        QCOMPARE(int(ConsentVariantUnTickedWithCopyText), 4);
    }
};

QTEST_GUILESS_MAIN(TestPublicRecords)
#include "tst_publicrecords.moc"
