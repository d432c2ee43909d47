// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/profileinfodata.h"

namespace KelRestHandler {

/// A profile to be read or changed field by field. The text and the enumerated form of language and
/// of country are kept apart.
// A moved QObject is a copied one; the copying members serve both.
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions)
class ProfileInfo : public QObject
{
    Q_OBJECT

public:
    explicit ProfileInfo(QObject* parent = nullptr) : QObject(parent) {}
    // NOLINTNEXTLINE(modernize-pass-by-value): moving a record copies it
    explicit ProfileInfo(const ProfileInfoData& data, QObject* parent = nullptr)
        : QObject(parent), mData(data)
    {
    }
    /// Reads what serialize() wrote; see ProfileInfoData.
    explicit ProfileInfo(const QByteArray& bytes, QObject* parent = nullptr)
        : QObject(parent), mData(bytes)
    {
    }
    ProfileInfo(const ProfileInfo& other, QObject* parent = nullptr)
        : QObject(parent), mData(other.mData)
    {
    }
    ProfileInfo& operator=(const ProfileInfo& other)
    {
        if (this != &other)
            mData = other.mData;
        return *this;
    }
    ~ProfileInfo() override = default;

    QString userName() const { return mData.userName; }
    QString mobilePhoneNumber() const { return mData.account.mobile; }
    QString emailAddress() const { return mData.account.email; }
    QString securityQuestion() const { return mData.securityQuestion; }
    QString securityQuestionId() const { return mData.securityQuestionId; }
    QString securityAnswer() const { return mData.securityAnswer; }
    QLocale::Language language() const { return mData.language; }
    QString languageAsString() const { return mData.languageAsString; }
    QLocale::Country country() const { return mData.country; }
    QString countryAsString() const { return mData.countryAsString; }
    QDate dateOfBirth() const { return mData.dateOfBirth; }
    QString firstName() const { return mData.firstName; }
    QString lastName() const { return mData.lastName; }
    Gender gender() const { return mData.gender; }
    bool emailVerified() const { return mData.account.emailVerified; }
    bool mobilePhoneVerified() const { return mData.account.mobileVerified; }
    QStringList serviceInfo() const { return mData.services; }

    void setMobilePhoneNumber(const QString& number) { mData.account.mobile = number; }
    void setEmailAddress(const QString& address) { mData.account.email = address; }
    void setSecurityQuestion(const QString& question) { mData.securityQuestion = question; }
    void setSecurityQuestionId(const QString& id) { mData.securityQuestionId = id; }
    void setSecurityAnswer(const QString& answer) { mData.securityAnswer = answer; }
    void setLanguage(QLocale::Language language) { mData.language = language; }
    void setLanguage(const QString& code) { mData.languageAsString = code; }
    void setCountry(QLocale::Country country) { mData.country = country; }
    void setCountry(const QString& code) { mData.countryAsString = code; }
    void setDateOfBirth(const QDate& date) { mData.dateOfBirth = date; }
    void setFirstName(const QString& name) { mData.firstName = name; }
    void setLastName(const QString& name) { mData.lastName = name; }
    void setGender(Gender gender) { mData.gender = gender; }

    QByteArray serialize() const;

private:
    ProfileInfoData mData;
};

} // namespace KelRestHandler
