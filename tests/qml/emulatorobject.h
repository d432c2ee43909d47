// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QImage>
#include <QObject>
#include <QString>
#include <QVariantMap>

/// The emulator around this program, for tests in QML: "emulator".
class EmulatorObject : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// What stands in a captcha's picture.
    Q_INVOKABLE QString captchaText(const QString& captchaId) const;
    /// The last line of the last message to a user: the token of a recovery.
    Q_INVOKABLE QString tokenOf(const QString& user) const;
    Q_INVOKABLE bool order(const QString& fault) const;
    /// Puts another SIM in.
    Q_INVOKABLE bool insertSim(const QString& mcc, const QString& mnc, const QString& msin) const;
    /// Has the device get service tags from now on, or none any more.
    Q_INVOKABLE bool giveTags(bool given) const;
    Q_INVOKABLE bool makeAccounts(const QString& names) const;
    /// All that the service knows of the account with that address.
    Q_INVOKABLE QVariantMap accountOf(const QString& emailAddress) const;
    Q_INVOKABLE bool deleteAccount(const QString& user) const;
    /// How many requests had the text in their address.
    Q_INVOKABLE int requestsFor(const QString& address) const;

    Q_INVOKABLE int coloursIn(const QImage& picture) const;
};
