// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLocale>
#include <QMetaType>
#include <QString>

namespace KelAccount {

/// An account that the service has prepared for the device's SIM; what
/// KelAccounts::detectPreAccount delivers. Default-constructed when there is none or the operation
/// failed.
struct PreAccountInfo
{
    QString preAccountId; ///< The service's identifier of the prepared account.
    QString username;     ///< User name of the prepared account.
    QString mobile;       ///< Mobile phone number of the SIM.
    QLocale::Country country = QLocale::AnyCountry; ///< AnyCountry when not known.
};

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::PreAccountInfo)
