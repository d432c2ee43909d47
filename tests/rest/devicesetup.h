// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/values.h"
#include "platform/fakemodem.h"
#include "support/literals.h"

/// Devices that requests are made on, each as the modem has it and as requests are to tell it. The
/// hashes are those of coreutils' sha1sum.
namespace devicesetup {

using operations::Values;

inline void withoutModem(Values& v)
{
    KelTest::FakeModem::reset();
    v.simPresent = false;
    v.device = {};
    v.device.hashedMsin = QByteArray::fromHex("da39a3ee5e6b4b0d3255bfef95601890afd80709"); // of ""
}

inline void withSim(Values& v)
{
    KelTest::FakeModem::reset();
    KelTest::FakeModem::setModems({{"Maker"_s, "Model"_s, "490154203237518"_s}});
    KelTest::FakeModem::setSims({{false, "244917654321098"_s, "244"_s, "91"_s}});
    v.simPresent = true;
    v.device.imei = "490154203237518"_s;
    v.device.mcc = "244"_s;
    v.device.mnc = "91"_s;
    v.device.hashedMsin =
        QByteArray::fromHex("451cbbda706e4952e4750fcd92af06ce7b714007"); // of "7654321098"
}

/// A SIM that waits for its PIN tells nothing but that it is there.
inline void withLockedSim(Values& v)
{
    withoutModem(v);
    KelTest::FakeModem::setModems({{QString(), QString(), "490154203237518"_s}});
    QtMobility::SimCard sim;
    sim.locked = true;
    KelTest::FakeModem::setSims({sim});
    v.simPresent = true;
    v.device.imei = "490154203237518"_s;
}

/// A SIM of which the modem tells its network, but not the country.
inline void withSimWithoutCountry(Values& v)
{
    withSim(v);
    KelTest::FakeModem::setSims({{false, "917654321098"_s, QString(), "91"_s}});
    v.device.mcc.clear();
}

} // namespace devicesetup
