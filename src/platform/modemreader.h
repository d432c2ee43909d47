// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QVector>

#include <memory>

namespace QtMobility {

/// A modem of this device; what it does not tell is empty.
struct ModemDetails
{
    QString manufacturer;
    QString model;
    QString imei;
};

/// A SIM that is in one of the modems. A locked one tells little: its texts are mostly empty.
struct SimCard
{
    bool locked = false;
    QString imsi;
    QString homeCountryCode; ///< MCC, three digits
    QString homeNetworkCode; ///< MNC, two or three digits
};

/// What the modems say at the moment of asking. A device without a modem, or whose modem does not
/// answer, gives empty lists; nothing here fails or throws.
class ModemReader
{
public:
    virtual ~ModemReader() = default;

    virtual QVector<ModemDetails> modems() = 0;
    virtual QVector<SimCard> sims() = 0;
};

/// The reader that the classes of this folder use. Defined in a file of its own, so that a test
/// links its own instead.
std::unique_ptr<ModemReader> makeModemReader();

/// The SIM whose subscriber the device acts for: the first that is not locked, else the first.
SimCard homeSim(const QVector<SimCard>& sims);

} // namespace QtMobility
