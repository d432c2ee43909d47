// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "qml/request.h"
#include "qml/resultobjects.h"

#include <QStringList>

/// The profile of the user who is signed in, and what the user can change of it. The answer to the
/// security question is not shown.
class KelQmlProfile : public KelQmlRequest
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Profile)
    Q_PROPERTY(bool loaded READ isLoaded NOTIFY profileChanged)
    Q_PROPERTY(QString userName READ userName NOTIFY profileChanged)
    Q_PROPERTY(QString emailAddress READ emailAddress NOTIFY profileChanged)
    Q_PROPERTY(bool emailVerified READ isEmailVerified NOTIFY profileChanged)
    Q_PROPERTY(QString mobilePhoneNumber READ mobilePhoneNumber NOTIFY profileChanged)
    Q_PROPERTY(bool mobilePhoneVerified READ isMobilePhoneVerified NOTIFY profileChanged)
    Q_PROPERTY(QString firstName READ firstName NOTIFY profileChanged)
    Q_PROPERTY(QString lastName READ lastName NOTIFY profileChanged)
    Q_PROPERTY(QString dateOfBirth READ dateOfBirth NOTIFY profileChanged)
    Q_PROPERTY(QString language READ language NOTIFY profileChanged)
    Q_PROPERTY(QString country READ country NOTIFY profileChanged)
    Q_PROPERTY(QString securityQuestion READ securityQuestion NOTIFY profileChanged)
    Q_PROPERTY(QString securityQuestionId READ securityQuestionId NOTIFY profileChanged)
    Q_PROPERTY(QStringList services READ services NOTIFY profileChanged)
    Q_PROPERTY(bool marketingInfo READ marketingInfo NOTIFY profileChanged)

public:
    using KelQmlRequest::KelQmlRequest;

    bool isLoaded() const { return mLoaded; }
    QString userName() const { return mProfile.userName; }
    QString emailAddress() const { return mProfile.emailAddress; }
    bool isEmailVerified() const { return mProfile.emailVerified; }
    QString mobilePhoneNumber() const { return mProfile.mobilePhoneNumber; }
    bool isMobilePhoneVerified() const { return mProfile.mobilePhoneVerified; }
    QString firstName() const { return mProfile.firstName; }
    QString lastName() const { return mProfile.lastName; }
    QString dateOfBirth() const { return KelQmlResults::isoDate(mProfile.dateOfBirth); }
    QString language() const { return mProfile.language; }
    QString country() const { return mProfile.country; }
    QString securityQuestion() const { return mProfile.securityQuestion; }
    QString securityQuestionId() const { return mProfile.securityQuestionId; }
    QStringList services() const { return mProfile.services; }
    bool marketingInfo() const { return mProfile.marketingInfo; }

    // Each returns whether it was asked for: nothing is while another is open.
    Q_INVOKABLE bool load();
    Q_INVOKABLE bool changePassword(const QString& oldPassword, const QString& newPassword);
    Q_INVOKABLE bool changeUserName(const QString& userName);
    Q_INVOKABLE bool changeSecurityQuestion(const QString& questionId, const QString& answer);
    Q_INVOKABLE bool signOut();

Q_SIGNALS:
    void profileChanged();
    void passwordChanged();
    void userNameChanged();
    void securityQuestionChanged();
    void signedOut();

private:
    void show(bool loaded, const KelAccount::Profile& profile);

    bool mLoaded = false;
    KelAccount::Profile mProfile;
};
