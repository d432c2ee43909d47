// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "platform/modemreader.h"

/// Replaces makeModemReader(): every reader answers what was set here.
namespace KelTest::FakeModem {

void reset(); ///< no modem, no SIM, no reading yet
void setModems(const QVector<QtMobility::ModemDetails>& modems);
void setSims(const QVector<QtMobility::SimCard>& sims);
int readings(); ///< how often anything was asked

} // namespace KelTest::FakeModem
