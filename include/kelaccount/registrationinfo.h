// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// A record changes when its owner changes it: nobody is notified.
// clazy:excludeall=qproperty-without-notify

#include <kelaccount/export.h>

#include <QDate>
#include <QLocale>
#include <QObject>
#include <QString>

#include <memory>

namespace KelAccount {

/// A user's gender.
enum Gender : int {
    GenderNotGiven = 0, ///< The user did not say.
    GenderMale = 1,
    GenderFemale = 2,
};

/// What a user fills in to register an account; the argument of KelAccounts::registerAccount.
///
/// Most fields are also properties of the same name, for script and declarative clients. The text
/// and the enumerated form of language and of country are kept apart: setting one never changes the
/// other. A record is plain data: it may be used on any one thread at a time, and a copy shares
/// nothing with it.
// A moved QObject is a copied one; the copying members serve both.
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions)
class KELACCOUNT_EXPORT RegistrationInfo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString userName READ userName WRITE setUsername)
    Q_PROPERTY(QString captchaText READ captchaText WRITE setCaptchaText)
    Q_PROPERTY(QString captchaId READ captchaId WRITE setCaptchaId)
    Q_PROPERTY(QString password READ password WRITE setPassword)
    Q_PROPERTY(QString mobilePhoneNumber READ mobilePhoneNumber WRITE setMobilePhoneNumber)
    Q_PROPERTY(QString emailAddress READ emailAddress WRITE setEmailAddress)
    Q_PROPERTY(QString languageAsString READ languageAsString WRITE setLanguage)
    Q_PROPERTY(QString countryAsString READ countryAsString WRITE setCountry)
    Q_PROPERTY(QDate dateOfBirth READ dateOfBirth WRITE setDateOfBirth)
    Q_PROPERTY(QString firstName READ firstName WRITE setFirstName)
    Q_PROPERTY(QString lastName READ lastName WRITE setLastName)
    Q_PROPERTY(bool marketingInfo READ marketingInfo WRITE setMarketingInfo)
    Q_PROPERTY(bool marketingInfoOnMobile READ marketingInfoOnMobile WRITE setMarketingInfoOnMobile)
    Q_PROPERTY(bool marketingInfoOnEmail READ marketingInfoOnEmail WRITE setMarketingInfoOnEmail)
    Q_PROPERTY(QString securityQuestion READ securityQuestion WRITE setSecurityQuestion)
    Q_PROPERTY(QString securityAnswer READ securityAnswer WRITE setSecurityAnswer)

public:
    /// An empty record, owned by `parent` if there is one.
    explicit RegistrationInfo(QObject* parent = nullptr);
    /// Copies every field; the parent is not copied.
    RegistrationInfo(const RegistrationInfo& other, QObject* parent = nullptr);
    /// Copies every field; the parent stays.
    RegistrationInfo& operator=(const RegistrationInfo& other);
    ~RegistrationInfo() override;

    /// Wished user name; may stay empty where an e-mail address or phone number identifies the
    /// user.
    QString userName() const;
    /// What the user read in the captcha image; empty registers with the device's service tag.
    QString captchaText() const;
    /// Identifier of the captcha image; empty means the image fetched last through the facade.
    QString captchaId() const;
    /// Password. Secret: keep it out of logs.
    QString password() const;
    /// Mobile phone number.
    QString mobilePhoneNumber() const;
    /// E-mail address; its domain may be internationalised.
    QString emailAddress() const;
    /// Language as a code text. Kept apart from language().
    QString languageAsString() const;
    /// Country as an ISO 3166-1 alpha-2 text. Kept apart from country().
    QString countryAsString() const;
    /// Date of birth; null sends none.
    QDate dateOfBirth() const;
    /// First name.
    QString firstName() const;
    /// Last name.
    QString lastName() const;
    /// Consent to marketing on every channel: true switches both channels on, false switches none
    /// off.
    bool marketingInfo() const;
    /// Consent to marketing on the mobile phone.
    bool marketingInfoOnMobile() const;
    /// Consent to marketing by e-mail.
    bool marketingInfoOnEmail() const;
    /// The service's identifier of the chosen security question.
    QString securityQuestion() const;
    /// Answer to the security question. Secret: keep it out of logs.
    QString securityAnswer() const;
    /// Language, used when languageAsString() is empty; QLocale::C sends none.
    QLocale::Language language() const;
    /// Country, used when countryAsString() is empty. Prefer the text: the code is taken from the
    /// name of Qt's English locale for the country, and where Qt has none (Brazil, Japan and most
    /// countries whose language is not English) that is the locale of the United States.
    QLocale::Country country() const;
    /// Kept for the application; a registration never sends it.
    Gender gender() const;

    void setUsername(const QString& userName);
    void setCaptchaText(const QString& captchaText);
    void setCaptchaId(const QString& captchaId);
    void setPassword(const QString& password);
    void setMobilePhoneNumber(const QString& mobilePhoneNumber);
    void setEmailAddress(const QString& emailAddress);
    void setLanguage(const QString& languageAsString);
    void setCountry(const QString& countryAsString);
    void setDateOfBirth(const QDate& dateOfBirth);
    void setFirstName(const QString& firstName);
    void setLastName(const QString& lastName);
    void setMarketingInfo(bool marketingInfo);
    void setMarketingInfoOnMobile(bool marketingInfoOnMobile);
    void setMarketingInfoOnEmail(bool marketingInfoOnEmail);
    void setSecurityQuestion(const QString& securityQuestion);
    void setSecurityAnswer(const QString& securityAnswer);
    void setLanguage(const QLocale::Language& language);
    void setCountry(const QLocale::Country& country);
    void setGender(Gender gender);

    /// The service for which consent to marketing is given; the same for every record.
    static QString getServiceId();

    /// Makes the record as a new one: empty texts, a null date, QLocale::C, QLocale::AnyCountry,
    /// gender not given, no consent.
    void clearData();

private:
    struct Fields;
    std::unique_ptr<Fields> mFields;
};

} // namespace KelAccount
