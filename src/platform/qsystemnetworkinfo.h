// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace QtMobility {

class ModemReader;

/// The SIM's home network, not the one in use. Every call reads the platform afresh; empty without
/// a SIM and mostly with a locked one.
class QSystemNetworkInfo : public QObject
{
    Q_OBJECT

public:
    explicit QSystemNetworkInfo(QObject* parent = nullptr);
    ~QSystemNetworkInfo() override;

    QString homeMobileCountryCode();
    QString homeMobileNetworkCode();

private:
    std::unique_ptr<ModemReader> mModemReader;
};

} // namespace QtMobility
