// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

namespace QtMobility {

/// The device. Every call reads the platform afresh.
class QSystemDeviceInfo : public QObject
{
    Q_OBJECT

public:
    explicit QSystemDeviceInfo(QObject* parent = nullptr);

    QString manufacturer();
    QString model();
};

} // namespace QtMobility
