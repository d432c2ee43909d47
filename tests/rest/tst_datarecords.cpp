// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/profileinfo.h"
#include "rest/records/registrationinfodata.h"
#include "rest/reply/servicesignals.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDataStream>
#include <QRandomGenerator>
#include <QTest>

using namespace KelRestHandler;

namespace {

const auto mobile = "+358401234567"_s;
const auto address = "somebody@mail.example"_s;

ProfileInfoData fullProfile()
{
    ProfileInfoFields fields = {"somebody"_s,
                                "What was your first pet's name?"_s,
                                "3"_s,
                                "Rex"_s,
                                QLocale::Finnish,
                                "fi"_s,
                                QLocale::Finland,
                                "FI"_s,
                                {1980, 2, 29},
                                "Jörg"_s,
                                "Bücher 😀"_s,
                                GenderFemale,
                                {"music"_s, QString(), "maps"_s},
                                {"1000042"_s, mobile, address, true, false},
                                {false, true},
                                {}};
    fields.contacts.mobileContacts = {{mobile, true, false}, {"+358407654321"_s, false, true}};
    fields.contacts.emailContacts = {{address, true, true}};
    ProfileInfoData profile;
    static_cast<ProfileInfoFields&>(profile) = fields;
    return profile;
}

template <class... Values>
QByteArray bytesOf(const Values&... values)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    (stream << ... << values);
    return bytes;
}

template <class... Values>
QByteArray blockOf(const Values&... values)
{
    const QByteArray bytes = bytesOf(values...);
    return bytesOf(qint32(bytes.size())) + bytes;
}

// Those of the full profile.
QByteArray contactsBytes()
{
    return bytesOf(2) + blockOf(mobile, true, false) + blockOf("+358407654321"_s, false, true) +
           bytesOf(1) + blockOf(address, true, true);
}

QByteArray registrationBytes()
{
    return bytesOf("somebody"_s, "xk7Qp"_s, "Secret 1!"_s, mobile, "jörg@bücher.example"_s, "3"_s,
                   "Rex"_s, QDate(1980, 2, 9), "Jörg"_s, "Bücher"_s, "FI"_s, -7, false, true,
                   "fi"_s, int(QLocale::Swedish), int(QLocale::Sweden), 9, false, true,
                   "captcha-9"_s, "tag\x00\xff"_ba);
}

QByteArray serialized(const ProfileInfoData& profile)
{
    QByteArray bytes("what was there before");
    profile.serialize(bytes);
    return bytes;
}

// The same bytes with a 32-bit number in one place, as QDataStream writes it.
QByteArray withNumber(QByteArray bytes, int position, quint32 number)
{
    for (int i = 0; i < 4; ++i)
        bytes[position + i] = static_cast<char>(number >> (24 - 8 * i));
    return bytes;
}

auto fieldsOf(const ProfileInfoFields& a)
{
    return std::make_tuple(a.userName, a.securityQuestion, a.securityQuestionId, a.securityAnswer,
                           a.language, a.languageAsString, a.country, a.countryAsString,
                           a.dateOfBirth, a.firstName, a.lastName, a.gender, a.services,
                           a.account.accountId, a.account.mobile, a.account.email,
                           a.account.emailVerified, a.account.mobileVerified, a.consent.email,
                           a.consent.mobile, a.contacts.serialize());
}

} // namespace

class TestDataRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRecordObjectHasAMetaObjectWithoutSignals()
    {
        const QMap<const QMetaObject*, const char*> records = {
            {&TokenInfoData::staticMetaObject, "KelRestHandler::TokenInfoData"},
            {&AccountInfoData::staticMetaObject, "KelRestHandler::AccountInfoData"},
            {&TermsInfoData::staticMetaObject, "KelRestHandler::TermsInfoData"},
            {&ProfileInfoData::staticMetaObject, "KelRestHandler::ProfileInfoData"},
            {&SecurityQuestionData::staticMetaObject, "KelRestHandler::SecurityQuestionData"},
            {&SetSecurityQuestionInput::staticMetaObject,
             "KelRestHandler::SetSecurityQuestionInput"},
            {&ProfileInfo::staticMetaObject, "KelRestHandler::ProfileInfo"},
        };
        for (auto record = records.cbegin(); record != records.cend(); ++record) {
            QCOMPARE(record.key()->className(), *record);
            QCOMPARE(record.key()->methodCount(), record.key()->methodOffset());
        }
    }

    void aRecordObjectIsCopiedWithoutItsParent()
    {
        QObject parent;
        TokenInfoData token(&parent);
        token.token = "t"_s;
        token.ttl = 5;
        const TokenInfoData orphan(token);
        QVERIFY(!orphan.parent());
        QCOMPARE(orphan.token, "t"_s);
        QCOMPARE(orphan.ttl, 5L);
        const TokenInfoData child(orphan, &parent);
        QCOMPARE(child.parent(), &parent);
        QCOMPARE(child.token, "t"_s);
        TokenInfoData assigned;
        assigned = child;
        QVERIFY(!assigned.parent());
        QCOMPARE(assigned.token, "t"_s);
    }

    void aNewRecordIsEmpty()
    {
        const RegistrationInfoData registration;
        QCOMPARE(registration.language, QLocale::C);
        QCOMPARE(registration.country, QLocale::AnyCountry);
        QVERIFY(registration.dateOfBirth.isNull());
        QCOMPARE(registration.reservedNumber, 0);
        QCOMPARE(registration.reservedNumber2, 0);
        QVERIFY(!registration.reservedFlag1 && !registration.reservedFlag2);
        const RequestInfoData info;
        QCOMPARE(info.statusCode, 0);
        QVERIFY(info.errorText.isEmpty());
        QVERIFY(fieldsOf(ProfileInfoData()) == fieldsOf(ProfileInfoFields()));
    }

    void aResponseIsCopiedWithEveryRecord()
    {
        DownloadProfileResponse response;
        response.consumerKey = "key"_s;
        response.serverTime = QDateTime(QDate(2012, 3, 4), QTime(5, 6, 7), Qt::UTC);
        response.status = 422;
        response.requestId = 17;
        response.userName = "somebody"_s;
        static_cast<ProfileInfoFields&>(response.profile) = fullProfile();
        const auto copy = QVariant::fromValue(response).value<DownloadProfileResponse>();
        QCOMPARE(copy.consumerKey, "key"_s);
        QCOMPARE(copy.serverTime, response.serverTime);
        QCOMPARE(copy.status, 422);
        QCOMPARE(copy.requestId, 17);
        QCOMPARE(copy.userName, "somebody"_s);
        QVERIFY(fieldsOf(copy.profile) == fieldsOf(fullProfile()));
    }

    void aProfileComesBackAsItWasWritten()
    {
        QVERIFY(fieldsOf(ProfileInfoData(serialized(fullProfile()))) == fieldsOf(fullProfile()));
        QVERIFY(fieldsOf(ProfileInfoData(serialized(ProfileInfoData()))) ==
                fieldsOf(ProfileInfoData()));
        const ProfileInfo wrapped(fullProfile());
        QVERIFY(fieldsOf(ProfileInfoData(wrapped.serialize())) == fieldsOf(fullProfile()));
        QCOMPARE(ProfileInfo(wrapped.serialize()).serialize(), wrapped.serialize());
    }

    void everyLanguageCountryAndGenderComesBack()
    {
        ProfileInfo profile;
        for (int country = 0; country <= QLocale::LastCountry; ++country) {
            const int language = country % (QLocale::LastLanguage + 1);
            const int gender = country % 5;
            profile.setCountry(static_cast<QLocale::Country>(country));
            profile.setLanguage(static_cast<QLocale::Language>(language));
            profile.setGender(static_cast<Gender>(gender));
            const ProfileInfo read(profile.serialize());
            QCOMPARE(int(read.country()), country);
            QCOMPARE(int(read.language()), language);
            QCOMPARE(int(read.gender()), gender);
        }
    }

    void anUnknownGenderStaysUnknown()
    {
        for (const int gender : {3, -1, 32767, 40000, -40000, std::numeric_limits<int>::max(),
                                 std::numeric_limits<int>::min()}) {
            ProfileInfo profile;
            profile.setGender(static_cast<Gender>(gender));
            const int read = ProfileInfo(profile.serialize()).gender();
            QVERIFY2(read != GenderNotGiven && read != GenderMale && read != GenderFemale,
                     QByteArray::number(gender));
            if (gender >= -32768 && gender <= 32767)
                QCOMPARE(read, gender);
        }
    }

    // As it was written before, and as a plugin may write it that knows one text only.
    void theUsualFormOfLanguageAndCountryStays_data()
    {
        const auto row = rows<QString, QString, QString>("written", "language", "country");
        row("both", "fi\x1FXX", "fi", "XX");
        row("neither", "\x1F", "", "");
        row("language", "fi\x1F", "fi", "");
        row("country", "\x1FXX", "", "XX");
        row("a country with the separator", "fi\x1FX\x1FX", "fi", "X\x1FX");
        row("other control characters", "\x1E\x1DX\x1F\x1D", "\x1E\x1DX", "\x1D");
    }
    void theUsualFormOfLanguageAndCountryStays()
    {
        const auto [written, language, country] =
            fetch<QString, QString, QString>("written", "language", "country");
        ProfileInfo profile;
        profile.setLanguage(language);
        profile.setCountry(country);
        const QByteArray bytes = profile.serialize();
        QVERIFY(bytes.contains(bytesOf(written)));
        const ProfileInfo read(bytes);
        QCOMPARE(read.languageAsString(), language);
        QCOMPARE(read.countryAsString(), country);
    }

    void aLanguageAloneIsALanguage()
    {
        const ProfileInfo read(bytesOf(QString(), QString(), QString(), QDate(), "fi"_s));
        QCOMPARE(read.languageAsString(), "fi"_s);
        QCOMPARE(read.countryAsString(), QString());
    }

    void languageAndCountryTextsComeBackApart()
    {
        // With the characters that part and escape them at every place.
        const QStringList codes =
            "|fi|FI|zh_TW|_|a\nb|S|aS|Sb|M|E|E2S|MSEE0SM"_s.replace(QLatin1Char('S'), QChar(0x1F))
                .replace(QLatin1Char('M'), QChar(0x1E))
                .replace(QLatin1Char('E'), QChar(0x1D))
                .split(QLatin1Char('|'));
        for (const QString& language : codes) {
            for (const QString& country : codes) {
                ProfileInfo profile;
                profile.setLanguage(language);
                profile.setCountry(country);
                const ProfileInfo read(profile.serialize());
                QCOMPARE(read.languageAsString(), language);
                QCOMPARE(read.countryAsString(), country);
            }
        }
    }

    void recordsAreWrittenInTheirSequences()
    {
        const QByteArray profile =
            bytesOf("somebody"_s, "Jörg"_s, "Bücher 😀"_s, QDate(1980, 2, 29),
                    "fi\x1F"
                    "FI"_s,
                    "What was your first pet's name?"_s, qint16(QLocale::Finnish),
                    qint16(QLocale::Finland), qint16(2)) +
            bytesOf(3, "music"_s, QString(), "maps"_s, "3"_s, "Rex"_s) +
            blockOf("1000042"_s, mobile, address, true, false) + blockOf(false, true);
        const QByteArray contacts = contactsBytes();
        QCOMPARE(serialized(fullProfile()), profile + bytesOf(qint32(contacts.size())) + contacts);
        QCOMPARE(fullProfile().contacts.serialize(), contacts);
    }

    void aRegistrationComesBackAsItWasWritten()
    {
        const RegistrationInfoData read = readRegistration(registrationBytes());
        QCOMPARE(serializeRegistration(read), registrationBytes());
        QCOMPARE(serializeRegistration(readRegistration(serializeRegistration({}))),
                 serializeRegistration({}));
        QCOMPARE(QStringList({read.userName, read.captchaText, read.password, read.securityAnswer,
                              read.countryAsString, read.languageAsString, read.captchaId}),
                 QStringList({"somebody"_s, "xk7Qp"_s, "Secret 1!"_s, "Rex"_s, "FI"_s, "fi"_s,
                              "captcha-9"_s}));
        QCOMPARE(read.dateOfBirth, QDate(1980, 2, 9));
        QCOMPARE(read.country, QLocale::Sweden);
        QVERIFY(read.marketingInfoOnEmail && !read.marketingInfoOnMobile);
        QCOMPARE(read.serviceTag, "tag\x00\xff"_ba);
    }

    void contactsComeBackAsTheyWereWritten()
    {
        QCOMPARE(ContactsInfo(contactsBytes()).serialize(), contactsBytes());
    }

    void noBytesGiveAnEmptyRecord()
    {
        QVERIFY(fieldsOf(ProfileInfoData(QByteArray())) == fieldsOf(ProfileInfoData()));
        QVERIFY(ContactsInfo(QByteArray()).mobileContacts.isEmpty());
        QCOMPARE(serializeRegistration(readRegistration({})), serializeRegistration({}));
    }

    void aCutRecordKeepsWhatStandsBeforeTheCut()
    {
        const QByteArray bytes = serialized(fullProfile());
        for (int length = 0; length < bytes.size(); ++length) {
            const ProfileInfoData read(bytes.left(length));
            QVERIFY(read.userName.isEmpty() || read.userName == "somebody"_s);
            QVERIFY(read.services.size() <= 3);
            QVERIFY(read.contacts.emailContacts.isEmpty());
        }
        // The last contact is what one byte less takes away.
        const ProfileInfoData nearlyWhole(bytes.chopped(1));
        QCOMPARE(nearlyWhole.account.email, "somebody@mail.example"_s);

        const QByteArray contacts = fullProfile().contacts.serialize();
        const ContactsInfo cut(contacts.chopped(1));
        QCOMPARE(cut.mobileContacts.size(), 2);
        QCOMPARE(cut.emailContacts.size(), 0);

        const QByteArray registration = registrationBytes();
        for (int length = 0; length < registration.size(); ++length)
            readRegistration(registration.left(length));
        QCOMPARE(readRegistration(registration.chopped(1)).captchaId, "captcha-9"_s);
        QVERIFY(readRegistration(registration.chopped(1)).serviceTag.isEmpty());
    }

    void lengthsAndCountsAreNotBelieved_data()
    {
        QTest::addColumn<quint32>("number");
        for (const quint32 number : {0x7fffffffU, 0x80000000U, 0xfffffffeU, 0xffffffffU,
                                     0x7ffffffeU, 0x10000000U, 0x00100000U})
            QTest::addRow("%08x", number) << number;
    }
    // Every place in turn is taken for a length or a count.
    void lengthsAndCountsAreNotBelieved()
    {
        QFETCH(quint32, number);
        const QByteArray profile = serialized(fullProfile());
        const QByteArray contacts = fullProfile().contacts.serialize();
        const QByteArray registration = registrationBytes();
        for (int i = 0; i + 4 <= profile.size(); ++i) {
            const ProfileInfoData read(withNumber(profile, i, number));
            QVERIFY(read.services.size() <= profile.size() / 4);
        }
        for (int i = 0; i + 4 <= contacts.size(); ++i) {
            const ContactsInfo read(withNumber(contacts, i, number));
            QVERIFY(read.mobileContacts.size() + read.emailContacts.size() <= contacts.size() / 4);
        }
        for (int i = 0; i + 4 <= registration.size(); ++i)
            readRegistration(withNumber(registration, i, number));
    }

    void valuesOutOfRangeBecomeDefaults()
    {
        ProfileInfo profile;
        profile.setLanguage(static_cast<QLocale::Language>(QLocale::LastLanguage + 1));
        profile.setCountry(static_cast<QLocale::Country>(QLocale::LastCountry + 1));
        profile.setDateOfBirth(QDate(1980, 2, 9));
        const QByteArray bytes = profile.serialize();
        const ProfileInfo read(bytes);
        QCOMPARE(read.language(), QLocale::C);
        QCOMPARE(read.country(), QLocale::AnyCountry);

        // Three null strings, then the date as a number of days, 64 bits wide.
        const int date = 3 * 4;
        QCOMPARE(read.dateOfBirth(), QDate(1980, 2, 9));
        const ProfileInfo noDay(withNumber(bytes, date, 0x7fffffffU));
        QVERIFY(noDay.dateOfBirth().isNull());

        // In an empty registration the language stands behind seven strings, a date, three strings,
        // a number, two flags and a string, and the country behind the language.
        const int language = 7 * 4 + 8 + 3 * 4 + 4 + 2 + 4;
        QByteArray registration = serializeRegistration({});
        registration = withNumber(registration, language, 0xffffffffU);
        registration = withNumber(registration, language + 4, 70'000);
        const auto readBack = readRegistration(registration);
        QCOMPARE(readBack.language, QLocale::C);
        QCOMPARE(readBack.country, QLocale::AnyCountry);
        const auto finnish = readRegistration(withNumber(registration, language, QLocale::Finnish));
        QCOMPARE(finnish.language, QLocale::Finnish);
    }

    void damagedBytesAreReadToTheEnd()
    {
        QRandomGenerator random(31);
        const QByteArray original = serialized(fullProfile());
        for (int round = 0; round < 20'000; ++round) {
            QByteArray bytes = original;
            for (int i = 0; i < 4; ++i)
                bytes[random.bounded(bytes.size())] = static_cast<char>(random.bounded(256));
            const ProfileInfoData read(bytes);
            // What was read is in itself sound: it can be written and read again.
            QCOMPARE(serialized(ProfileInfoData(serialized(read))), serialized(read));
        }
    }
};

QTEST_GUILESS_MAIN(TestDataRecords)
#include "tst_datarecords.moc"
