// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// A record changes when its owner changes it: nobody is notified.
// clazy:excludeall=qproperty-without-notify

#include <kelaccount/export.h>

#include <QDate>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace KelAccount {

/// A user's profile, as KelAccounts::downloadProfile delivers it.
///
/// Every field is also a property of the same name, for script and declarative clients. A record is
/// plain data: it may be used on any one thread at a time, and a copy shares nothing with it.
// A moved QObject is a copied one; the copying members serve both.
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions)
class KELACCOUNT_EXPORT ProfileInfo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString userName READ userName WRITE setUsername)
    Q_PROPERTY(QString mobilePhoneNumber READ mobilePhoneNumber WRITE setMobilePhoneNumber)
    Q_PROPERTY(QString emailAddress READ emailAddress WRITE setEmailAddress)
    Q_PROPERTY(bool emailVerified READ emailVerified WRITE setEmailVerified)
    Q_PROPERTY(bool mobilePhoneVerified READ mobilePhoneVerified WRITE setMobilePhoneVerified)
    Q_PROPERTY(QString securityQuestion READ securityQuestion WRITE setSecurityQuestion)
    Q_PROPERTY(QString securityQuestionId READ securityQuestionId WRITE setSecurityQuestionId)
    Q_PROPERTY(QString securityAnswer READ securityAnswer WRITE setSecurityAnswer)
    Q_PROPERTY(QDate dateOfBirth READ dateOfBirth WRITE setDateOfBirth)
    Q_PROPERTY(QString firstName READ firstName WRITE setFirstName)
    Q_PROPERTY(QString lastName READ lastName WRITE setLastName)
    Q_PROPERTY(QString languageAsString READ languageAsString WRITE setLanguageAsString)
    Q_PROPERTY(QString countryAsString READ countryAsString WRITE setCountryAsString)
    Q_PROPERTY(QStringList serviceList READ serviceList WRITE setServiceList)
    Q_PROPERTY(bool marketingInfo READ marketingInfo WRITE setMarketingInfo)

public:
    /// An empty record, owned by `parent` if there is one.
    explicit ProfileInfo(QObject* parent = nullptr);
    /// Copies every field; the parent is not copied.
    ProfileInfo(const ProfileInfo& other, QObject* parent = nullptr);
    /// Copies every field; the parent stays.
    ProfileInfo& operator=(const ProfileInfo& other);
    ~ProfileInfo() override;

    /// User name.
    QString userName() const;
    /// Mobile phone number, as the service has it.
    QString mobilePhoneNumber() const;
    /// E-mail address.
    QString emailAddress() const;
    /// Whether the user has proved to own the e-mail address.
    bool emailVerified() const;
    /// Whether the user has proved to own the mobile phone number.
    bool mobilePhoneVerified() const;
    /// Text of the security question.
    QString securityQuestion() const;
    /// The service's identifier of the security question.
    QString securityQuestionId() const;
    /// Answer to the security question. Secret: keep it out of logs.
    QString securityAnswer() const;
    /// Date of birth; null when not known.
    QDate dateOfBirth() const;
    /// First name.
    QString firstName() const;
    /// Last name.
    QString lastName() const;
    /// Language as the service's code text, for instance "en".
    QString languageAsString() const;
    /// Country as an ISO 3166-1 alpha-2 text, for instance "FI".
    QString countryAsString() const;
    /// Names of the services that the user has joined.
    QStringList serviceList() const;
    /// Whether the user has agreed to marketing messages.
    bool marketingInfo() const;

    void setUsername(const QString& userName);
    void setMobilePhoneNumber(const QString& mobilePhoneNumber);
    void setEmailAddress(const QString& emailAddress);
    void setEmailVerified(bool emailVerified);
    void setMobilePhoneVerified(bool mobilePhoneVerified);
    void setSecurityQuestion(const QString& securityQuestion);
    void setSecurityQuestionId(const QString& securityQuestionId);
    void setSecurityAnswer(const QString& securityAnswer);
    void setDateOfBirth(const QDate& dateOfBirth);
    void setFirstName(const QString& firstName);
    void setLastName(const QString& lastName);
    void setLanguageAsString(const QString& languageAsString);
    void setCountryAsString(const QString& countryAsString);
    void setServiceList(const QStringList& serviceList);
    void setMarketingInfo(bool marketingInfo);

    /// Empties all texts and the service list and takes the marketing consent back. The two
    /// verified flags and the date of birth stay as they are.
    void clearData();

private:
    struct Fields;
    std::unique_ptr<Fields> mFields;
};

} // namespace KelAccount
