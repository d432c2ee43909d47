// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/profileinfo.h"
#include "rest/records/registrationinfodata.h"
#include "rest/reply/servicesignals.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace KelRestHandler;

namespace {

ProfileInfoData fullProfile()
{
    ProfileInfoData profile;
    profile.userName = "somebody"_s;
    profile.securityQuestion = "What was your first pet's name?"_s;
    profile.securityQuestionId = "3"_s;
    profile.securityAnswer = "Rex"_s;
    profile.language = QLocale::Finnish;
    profile.languageAsString = "fi"_s;
    profile.country = QLocale::Finland;
    profile.countryAsString = "FI"_s;
    profile.dateOfBirth = QDate(1980, 2, 29);
    profile.firstName = "Jörg"_s;
    profile.lastName = "Bücher 😀"_s;
    profile.gender = GenderFemale;
    profile.services = QStringList{"music"_s, QString(), "maps"_s};
    profile.account.accountId = "1000042"_s;
    profile.account.mobile = "+358401234567"_s;
    profile.account.email = "somebody@mail.example"_s;
    profile.account.emailVerified = true;
    profile.consent.mobile = true;
    profile.contacts.mobileContacts = {{"+358401234567"_s, true, false},
                                       {"+358407654321"_s, false, true}};
    profile.contacts.emailContacts = {{"somebody@mail.example"_s, true, true}};
    return profile;
}

RegistrationInfoData fullRegistration()
{
    RegistrationInfoData data;
    data.userName = "somebody"_s;
    data.captchaText = "xk7Qp"_s;
    data.password = "Secret 1!"_s;
    data.mobilePhoneNumber = "+358401234567"_s;
    data.emailAddress = "jörg@bücher.example"_s;
    data.securityQuestion = "3"_s;
    data.securityAnswer = "Rex"_s;
    data.dateOfBirth = QDate(1980, 2, 9);
    data.firstName = "Jörg"_s;
    data.lastName = "Bücher"_s;
    data.countryAsString = "FI"_s;
    data.reservedNumber = -7;
    data.reservedFlag2 = true;
    data.languageAsString = "fi"_s;
    data.language = QLocale::Swedish;
    data.country = QLocale::Sweden;
    data.reservedNumber2 = 9;
    data.marketingInfoOnEmail = true;
    data.captchaId = "captcha-9"_s;
    data.serviceTag = "tag\x00\xff"_ba;
    return data;
}

QByteArray serialized(const ProfileInfoData& profile)
{
    QByteArray bytes("what was there before");
    profile.serialize(bytes);
    return bytes;
}

template <class Value>
Value take(QDataStream& stream)
{
    Value value{};
    stream >> value;
    return value;
}

QByteArray takeBlock(QDataStream& stream)
{
    QByteArray block(take<qint32>(stream), '\0');
    stream.readRawData(block.data(), block.size());
    return block;
}

// The same bytes with a 32-bit number in one place, as QDataStream writes it.
QByteArray withNumber(QByteArray bytes, int position, quint32 number)
{
    for (int i = 0; i < 4; ++i)
        bytes[position + i] = static_cast<char>(number >> (24 - 8 * i));
    return bytes;
}

void compareProfiles(const ProfileInfoFields& a, const ProfileInfoFields& b)
{
    QCOMPARE(a.userName, b.userName);
    QCOMPARE(a.securityQuestion, b.securityQuestion);
    QCOMPARE(a.securityQuestionId, b.securityQuestionId);
    QCOMPARE(a.securityAnswer, b.securityAnswer);
    QCOMPARE(a.language, b.language);
    QCOMPARE(a.languageAsString, b.languageAsString);
    QCOMPARE(a.country, b.country);
    QCOMPARE(a.countryAsString, b.countryAsString);
    QCOMPARE(a.dateOfBirth, b.dateOfBirth);
    QCOMPARE(a.firstName, b.firstName);
    QCOMPARE(a.lastName, b.lastName);
    QCOMPARE(a.gender, b.gender);
    QCOMPARE(a.services, b.services);
    QCOMPARE(a.account.accountId, b.account.accountId);
    QCOMPARE(a.account.mobile, b.account.mobile);
    QCOMPARE(a.account.email, b.account.email);
    QCOMPARE(a.account.emailVerified, b.account.emailVerified);
    QCOMPARE(a.account.mobileVerified, b.account.mobileVerified);
    QCOMPARE(a.consent.email, b.consent.email);
    QCOMPARE(a.consent.mobile, b.consent.mobile);
    QCOMPARE(a.contacts.serialize(), b.contacts.serialize());
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
        QCOMPARE(records.size(), 7);
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
        compareProfiles(ProfileInfoData(), ProfileInfoFields());
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
        compareProfiles(copy.profile, fullProfile());
    }

    void aProfileComesBackAsItWasWritten()
    {
        compareProfiles(ProfileInfoData(serialized(fullProfile())), fullProfile());
        compareProfiles(ProfileInfoData(serialized(ProfileInfoData())), ProfileInfoData());
        const ProfileInfo wrapped(fullProfile());
        compareProfiles(ProfileInfoData(wrapped.serialize()), fullProfile());
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
        columns<QString, QString, QString>("written", "language", "country");
        row("both", "fi\x1FXX"_s, "fi"_s, "XX"_s);
        QTest::newRow("neither") << "\x1F"_s << QString() << QString();
        row("language", "fi\x1F"_s, "fi"_s, QString());
        QTest::newRow("country") << "\x1FXX"_s << QString() << "XX"_s;
        row("a country with the separator", "fi\x1FX\x1FX"_s, "fi"_s, "X\x1FX"_s);
        row("other control characters",
            "\x1E\x1D"
            "0\x1F\x1D"_s,
            "\x1E\x1D"
            "0"_s,
            "\x1D"_s);
    }
    void theUsualFormOfLanguageAndCountryStays()
    {
        const auto [written, language, country] =
            fetch<QString, QString, QString>("written", "language", "country");
        ProfileInfo profile;
        profile.setLanguage(language);
        profile.setCountry(country);
        const QByteArray bytes = profile.serialize();
        QByteArray expected;
        QDataStream stream(&expected, QIODevice::WriteOnly);
        stream << written;
        QVERIFY(bytes.contains(expected));
        const ProfileInfo read(bytes);
        QCOMPARE(read.languageAsString(), language);
        QCOMPARE(read.countryAsString(), country);
    }

    void aLanguageAloneIsALanguage()
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << QString() << QString() << QString() << QDate() << "fi"_s;
        const ProfileInfo read(bytes);
        QCOMPARE(read.languageAsString(), "fi"_s);
        QCOMPARE(read.countryAsString(), QString());
    }

    void languageAndCountryTextsComeBackApart()
    {
        const QStringList codes = {QString(),
                                   "fi"_s,
                                   "FI"_s,
                                   "zh_TW"_s,
                                   "_"_s,
                                   "a\nb"_s,
                                   "\x1F"_s,
                                   "a\x1F"_s,
                                   "\x1F"
                                   "b"_s,
                                   "\x1E"_s,
                                   "\x1D"_s,
                                   "\x1D"
                                   "2\x1F"_s,
                                   "\x1E\x1F\x1D\x1D"
                                   "0\x1F\x1E"_s};
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

    void aProfileIsWrittenInItsSequence()
    {
        const QByteArray bytes = serialized(fullProfile());
        QDataStream stream(bytes);
        QStringList texts;
        for (int i = 0; i < 3; ++i)
            texts.append(take<QString>(stream));
        QCOMPARE(take<QDate>(stream), QDate(1980, 2, 29));
        for (int i = 0; i < 2; ++i)
            texts.append(take<QString>(stream));
        QCOMPARE(take<qint16>(stream), qint16(QLocale::Finnish));
        QCOMPARE(take<qint16>(stream), qint16(QLocale::Finland));
        QCOMPARE(take<qint16>(stream), qint16(2));
        QCOMPARE(take<qint32>(stream), 3);
        QCOMPARE(take<QString>(stream), "music"_s);
        QCOMPARE(take<QString>(stream), QString());
        QCOMPARE(take<QString>(stream), "maps"_s);
        for (int i = 0; i < 2; ++i)
            texts.append(take<QString>(stream));
        for (const char* one :
             {"somebody", "Jörg", "Bücher 😀", "What was your first pet's name?", "3", "Rex"})
            QVERIFY2(texts.contains(text(one)), one);

        const QByteArray account = takeBlock(stream);
        const QByteArray consent = takeBlock(stream);
        const QByteArray contacts = takeBlock(stream);
        QVERIFY(stream.atEnd());
        QCOMPARE(stream.status(), QDataStream::Ok);

        QDataStream accountStream(account);
        QCOMPARE(take<QString>(accountStream), "1000042"_s);
        QCOMPARE(take<QString>(accountStream), "+358401234567"_s);
        QCOMPARE(take<QString>(accountStream), "somebody@mail.example"_s);
        QCOMPARE(take<bool>(accountStream), true);
        QCOMPARE(take<bool>(accountStream), false);
        QVERIFY(accountStream.atEnd());

        QCOMPARE(consent.toHex(), "0001"_ba);
        checkContacts(contacts);
    }

    void aRegistrationComesBackAsItWasWritten()
    {
        for (const auto& data : {fullRegistration(), RegistrationInfoData()}) {
            const QByteArray bytes = serializeRegistration(data);
            QCOMPARE(serializeRegistration(readRegistration(bytes)), bytes);
        }
        const RegistrationInfoData read =
            readRegistration(serializeRegistration(fullRegistration()));
        QCOMPARE(read.password, "Secret 1!"_s);
        QCOMPARE(read.dateOfBirth, QDate(1980, 2, 9));
        QCOMPARE(read.country, QLocale::Sweden);
        QCOMPARE(read.serviceTag, fullRegistration().serviceTag);
    }

    void contactsComeBackAsTheyWereWritten()
    {
        checkContacts(fullProfile().contacts.serialize());
        const ContactsInfo read(fullProfile().contacts.serialize());
        QCOMPARE(read.mobileContacts.size(), 2);
        QCOMPARE(read.mobileContacts[0].value, "+358401234567"_s);
        QVERIFY(read.mobileContacts[0].preferred && !read.mobileContacts[0].verified);
        QVERIFY(!read.mobileContacts[1].preferred && read.mobileContacts[1].verified);
        QCOMPARE(read.emailContacts.size(), 1);
        QCOMPARE(read.emailContacts[0].value, "somebody@mail.example"_s);
        QVERIFY(read.emailContacts[0].preferred && read.emailContacts[0].verified);
    }

    void noBytesGiveAnEmptyRecord()
    {
        compareProfiles(ProfileInfoData(QByteArray()), ProfileInfoData());
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

        const QByteArray registration = serializeRegistration(fullRegistration());
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
        const QByteArray registration = serializeRegistration(fullRegistration());
        QElapsedTimer timer;
        timer.start();
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
        QVERIFY2(timer.elapsed() < 10'000, qPrintable(QString::number(timer.elapsed())));
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

private:
    static void checkContacts(const QByteArray& bytes)
    {
        QDataStream stream(bytes);
        QCOMPARE(take<qint32>(stream), 2);
        const QByteArray first = takeBlock(stream);
        takeBlock(stream);
        QCOMPARE(take<qint32>(stream), 1);
        const QByteArray last = takeBlock(stream);
        QVERIFY(stream.atEnd());

        QDataStream firstStream(first);
        QCOMPARE(take<QString>(firstStream), "+358401234567"_s);
        QCOMPARE(take<bool>(firstStream), true);
        QCOMPARE(take<bool>(firstStream), false);
        QVERIFY(firstStream.atEnd());
        QDataStream lastStream(last);
        QCOMPARE(take<QString>(lastStream), "somebody@mail.example"_s);
        QVERIFY(!lastStream.atEnd());
    }
};

QTEST_GUILESS_MAIN(TestDataRecords)
#include "tst_datarecords.moc"
