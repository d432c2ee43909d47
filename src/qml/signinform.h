// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "qml/request.h"

#include <QVariantMap>

/// What a screen collects to sign a user in, and the sign-in.
class KelQmlSignIn : public KelQmlRequest
{
    Q_OBJECT
    QML_NAMED_ELEMENT(SignIn)
    Q_PROPERTY(QString userName MEMBER mUserName NOTIFY filledIn)
    Q_PROPERTY(QString password READ nothing WRITE setPassword NOTIFY filledIn)
    Q_PROPERTY(bool createsDeviceAccount MEMBER mCreatesDeviceAccount NOTIFY filledIn)
    Q_PROPERTY(bool complete READ isComplete NOTIFY filledIn)
    Q_PROPERTY(QVariantMap account READ account NOTIFY accountChanged)

public:
    using KelQmlRequest::KelQmlRequest;

    void setPassword(const QString& password);
    bool isComplete() const { return !mUserName.isEmpty() && !mPassword.isEmpty(); }
    /// What was signed in to last; empty before.
    QVariantMap account() const { return mAccount; }

    /// Signs in, unless that is going on. Whether it was asked for.
    Q_INVOKABLE bool submit();

Q_SIGNALS:
    void filledIn();
    void accountChanged();
    void succeeded();

private:
    QString mUserName;
    KelAccount::SecretText mPassword;
    bool mCreatesDeviceAccount = true;
    QVariantMap mAccount;
};
