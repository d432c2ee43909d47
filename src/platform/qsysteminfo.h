// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

namespace QtMobility {

/// The software on the device. Every call reads the platform afresh.
class QSystemInfo : public QObject
{
    Q_OBJECT

public:
    enum Version { Os = 1, QtCore, Firmware };

    explicit QSystemInfo(QObject* parent = nullptr);

    /// Empty where the platform does not say.
    QString version(Version type);

    /// Two-letter code of the locale's country; empty for the locale "C".
    QString currentCountryCode() const;
};

} // namespace QtMobility
