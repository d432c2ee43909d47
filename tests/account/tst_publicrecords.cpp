// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/records/registrationconversion.h"

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
    switch (property.type()) {
    case QVariant::Bool:
        return true;
    case QVariant::Date:
        return QDate(1980, 2, 9);
    case QVariant::StringList:
        return QStringList{QStringLiteral("music"), QStringLiteral("maps")};
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
        const QString expected = QStringLiteral(
            "userName QString|mobilePhoneNumber QString|emailAddress QString|emailVerified bool|"
            "mobilePhoneVerified bool|securityQuestion QString|securityQuestionId QString|"
            "securityAnswer QString|dateOfBirth QDate|firstName QString|lastName QString|"
            "languageAsString QString|countryAsString QString|serviceList QStringList|"
            "marketingInfo bool");
        QCOMPARE(propertiesOf(ProfileInfo::staticMetaObject), expected.split(QLatin1Char('|')));
    }

    void aRegistrationHasItsPropertiesInOrder()
    {
        const QString expected = QStringLiteral(
            "userName QString|captchaText QString|captchaId QString|password QString|"
            "mobilePhoneNumber QString|emailAddress QString|languageAsString QString|"
            "countryAsString QString|dateOfBirth QDate|firstName QString|lastName QString|"
            "marketingInfo bool|marketingInfoOnMobile bool|marketingInfoOnEmail bool|"
            "securityQuestion QString|securityAnswer QString");
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
        profile.setUsername(QStringLiteral("somebody"));
        profile.setServiceList({QStringLiteral("music")});
        QCOMPARE(profile.property("userName").toString(), QStringLiteral("somebody"));
        QCOMPARE(profile.userName(), QStringLiteral("somebody"));
        QCOMPARE(profile.property("serviceList").toStringList(),
                 QStringList(QStringLiteral("music")));
        RegistrationInfo registration;
        registration.setUsername(QStringLiteral("somebody"));
        registration.setProperty("languageAsString", QStringLiteral("fi"));
        QCOMPARE(registration.userName(), QStringLiteral("somebody"));
        QCOMPARE(registration.languageAsString(), QStringLiteral("fi"));
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

        profile.setUsername(QStringLiteral("changed"));
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
            if (property.type() == QVariant::String)
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
                if (value.type() == QVariant::String)
                    QVERIFY2(value.toString().isEmpty(), meta->property(i).name());
                if (value.type() == QVariant::Bool)
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
        info.setLanguage(QStringLiteral("fi"));
        info.setCountry(QStringLiteral("FI"));
        QCOMPARE(info.language(), QLocale::C);
        QCOMPARE(info.country(), QLocale::AnyCountry);
        info.setLanguage(QLocale::Swedish);
        info.setCountry(QLocale::Sweden);
        QCOMPARE(info.languageAsString(), QStringLiteral("fi"));
        QCOMPARE(info.countryAsString(), QStringLiteral("FI"));
        QCOMPARE(info.language(), QLocale::Swedish);
        QCOMPARE(info.country(), QLocale::Sweden);
    }

    void everyRegistrationHasTheSameServiceId()
    {
        QCOMPARE(RegistrationInfo().getServiceId(), QStringLiteral("OneConsent"));
        QCOMPARE(filledRegistration().getServiceId(), QStringLiteral("OneConsent"));
    }

    void aRegistrationIsConvertedFieldByField()
    {
        const auto data = toRegistrationInfoData(filledRegistration(), QStringLiteral("last"),
                                                 QByteArrayLiteral("tag-0123"));
        QCOMPARE(data.userName, QStringLiteral("userName's value"));
        QCOMPARE(data.password, QStringLiteral("password's value"));
        QCOMPARE(data.mobilePhoneNumber, QStringLiteral("mobilePhoneNumber's value"));
        QCOMPARE(data.emailAddress, QStringLiteral("emailAddress's value"));
        QCOMPARE(data.securityQuestion, QStringLiteral("securityQuestion's value"));
        QCOMPARE(data.securityAnswer, QStringLiteral("securityAnswer's value"));
        QCOMPARE(data.dateOfBirth, QDate(1980, 2, 9));
        QCOMPARE(data.firstName, QStringLiteral("firstName's value"));
        QCOMPARE(data.lastName, QStringLiteral("lastName's value"));
        QCOMPARE(data.countryAsString, QStringLiteral("countryAsString's value"));
        QCOMPARE(data.languageAsString, QStringLiteral("languageAsString's value"));
        QCOMPARE(data.country, QLocale::Finland);
        QCOMPARE(data.language, QLocale::Finnish);
        QCOMPARE(data.captchaText, QStringLiteral("captchaText's value"));
        QCOMPARE(data.captchaId, QStringLiteral("captchaId's value"));
        QCOMPARE(data.serviceTag, QByteArrayLiteral("tag-0123"));
        // These have no source; the gender stays behind in particular.
        QCOMPARE(data.reservedNumber, 0);
        QCOMPARE(data.reservedNumber2, 0);
        QVERIFY(!data.reservedFlag1);
        QVERIFY(!data.reservedFlag2);
    }

    void theLastCaptchaStandsInForAnUnnamedOne()
    {
        const auto data = toRegistrationInfoData(RegistrationInfo(), QStringLiteral("last"), {});
        QCOMPARE(data.captchaId, QStringLiteral("last"));
    }

    void theGeneralConsentSwitchesBothChannelsOnAndNoneOff_data()
    {
        QTest::addColumn<bool>("general");
        QTest::addColumn<bool>("mobile");
        QTest::addColumn<bool>("email");
        QTest::addColumn<bool>("sentMobile");
        QTest::addColumn<bool>("sentEmail");
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
        QFETCH(bool, general);
        QFETCH(bool, mobile);
        QFETCH(bool, email);
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
        info.preAccountId = QStringLiteral("pre-17");
        info.country = QLocale::Finland;
        const QVariant variant = QVariant::fromValue(info);
        QCOMPARE(variant.typeName(), "KelAccount::PreAccountInfo");
        QCOMPARE(variant.value<PreAccountInfo>().preAccountId, QStringLiteral("pre-17"));
        QCOMPARE(variant.value<PreAccountInfo>().country, QLocale::Finland);
    }

    void aPreAccountHasAPropertyForEachField()
    {
        const QMetaObject& meta = PreAccountInfo::staticMetaObject;
        QCOMPARE(propertiesOf(meta),
                 QStringList({QStringLiteral("preAccountId QString"),
                              QStringLiteral("username QString"), QStringLiteral("mobile QString"),
                              QStringLiteral("country QLocale::Country")}));
        PreAccountInfo info;
        const QList<QVariant> values = {QStringLiteral("pre-17"), QStringLiteral("somebody"),
                                        QStringLiteral("+358401234567"),
                                        QVariant::fromValue(QLocale::Finland)};
        for (int i = 0; i < values.size(); ++i) {
            QVERIFY(meta.property(i).writeOnGadget(&info, values.at(i)));
            QCOMPARE(meta.property(i).readOnGadget(&info), values.at(i));
        }
        QCOMPARE(info.preAccountId, QStringLiteral("pre-17"));
        QCOMPARE(info.username, QStringLiteral("somebody"));
        QCOMPARE(info.mobile, QStringLiteral("+358401234567"));
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
