// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/export.h>

#include <QLocale>
#include <QMetaType>
#include <QObject>
#include <QString>

namespace KelAccount {

/// An account that the service has prepared for the device's SIM; what
/// KelAccounts::detectPreAccount delivers. Default-constructed when there is none or the operation
/// failed.
///
/// A value with a property for each field, for script and declarative clients.
struct KELACCOUNT_EXPORT PreAccountInfo
{
    Q_GADGET
    Q_PROPERTY(QString preAccountId MEMBER preAccountId)
    Q_PROPERTY(QString username MEMBER username)
    Q_PROPERTY(QString mobile MEMBER mobile)
    Q_PROPERTY(QLocale::Country country MEMBER country)

public:
    QString preAccountId; ///< The service's identifier of the prepared account.
    QString username;     ///< User name of the prepared account.
    QString mobile;       ///< Mobile phone number of the SIM.
    QLocale::Country country = QLocale::AnyCountry; ///< AnyCountry when not known.
};

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::PreAccountInfo)
