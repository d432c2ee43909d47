// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "qml/request.h"

#include <QVariantMap>

/// What a screen collects to register an account, and the registration. The properties are the
/// fields of KelAccount::Registration.
class KelQmlRegistration : public KelQmlRequest
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Registration)
    Q_PROPERTY(QString userName MEMBER mUserName NOTIFY filledIn)
    Q_PROPERTY(QString password READ nothing WRITE setPassword NOTIFY filledIn)
    Q_PROPERTY(QString emailAddress MEMBER mEmailAddress NOTIFY filledIn)
    Q_PROPERTY(QString mobilePhoneNumber MEMBER mMobilePhoneNumber NOTIFY filledIn)
    Q_PROPERTY(QString captchaText MEMBER mCaptchaText NOTIFY filledIn)
    Q_PROPERTY(QString captchaId MEMBER mCaptchaId NOTIFY filledIn)
    Q_PROPERTY(QString firstName MEMBER mFirstName NOTIFY filledIn)
    Q_PROPERTY(QString lastName MEMBER mLastName NOTIFY filledIn)
    Q_PROPERTY(QString dateOfBirth MEMBER mDateOfBirth NOTIFY filledIn)
    Q_PROPERTY(QString language MEMBER mLanguage NOTIFY filledIn)
    Q_PROPERTY(QString country MEMBER mCountry NOTIFY filledIn)
    Q_PROPERTY(QString securityQuestionId MEMBER mSecurityQuestionId NOTIFY filledIn)
    Q_PROPERTY(QString securityAnswer READ nothing WRITE setSecurityAnswer NOTIFY filledIn)
    Q_PROPERTY(bool marketingInfo MEMBER mMarketingInfo NOTIFY filledIn)
    Q_PROPERTY(bool marketingInfoOnMobile MEMBER mMarketingInfoOnMobile NOTIFY filledIn)
    Q_PROPERTY(bool marketingInfoOnEmail MEMBER mMarketingInfoOnEmail NOTIFY filledIn)
    Q_PROPERTY(bool createsDeviceAccount MEMBER mCreatesDeviceAccount NOTIFY filledIn)
    Q_PROPERTY(bool complete READ isComplete NOTIFY filledIn)
    Q_PROPERTY(QVariantMap account READ account NOTIFY accountChanged)

public:
    using KelQmlRequest::KelQmlRequest;

    void setPassword(const QString& password);
    void setSecurityAnswer(const QString& answer);
    /// Whether the service could take it: the e-mail address or else the user name and the mobile
    /// number are there, and the password.
    bool isComplete() const;
    /// What was registered last; empty before.
    QVariantMap account() const { return mAccount; }

    /// Registers, unless a registration is going on. Whether it was asked for.
    Q_INVOKABLE bool submit();

Q_SIGNALS:
    void filledIn();
    void accountChanged();
    void succeeded();

private:
    QString mUserName;
    KelAccount::SecretText mPassword;
    QString mEmailAddress;
    QString mMobilePhoneNumber;
    QString mCaptchaText;
    QString mCaptchaId;
    QString mFirstName;
    QString mLastName;
    QString mDateOfBirth;
    QString mLanguage;
    QString mCountry;
    QString mSecurityQuestionId;
    KelAccount::SecretText mSecurityAnswer;
    bool mMarketingInfo = false;
    bool mMarketingInfoOnMobile = false;
    bool mMarketingInfoOnEmail = false;
    bool mCreatesDeviceAccount = true;
    QVariantMap mAccount;
};
