// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/values.h"
#include "platform/fakemodem.h"

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
    KelTest::FakeModem::setModems(
        {{QStringLiteral("Maker"), QStringLiteral("Model"), QStringLiteral("490154203237518")}});
    KelTest::FakeModem::setSims(
        {{false, QStringLiteral("244917654321098"), QStringLiteral("244"), QStringLiteral("91")}});
    v.simPresent = true;
    v.device.imei = QStringLiteral("490154203237518");
    v.device.mcc = QStringLiteral("244");
    v.device.mnc = QStringLiteral("91");
    v.device.hashedMsin =
        QByteArray::fromHex("451cbbda706e4952e4750fcd92af06ce7b714007"); // of "7654321098"
}

/// A SIM that waits for its PIN tells nothing but that it is there.
inline void withLockedSim(Values& v)
{
    withoutModem(v);
    KelTest::FakeModem::setModems({{QString(), QString(), QStringLiteral("490154203237518")}});
    QtMobility::SimCard sim;
    sim.locked = true;
    KelTest::FakeModem::setSims({sim});
    v.simPresent = true;
    v.device.imei = QStringLiteral("490154203237518");
}

/// A SIM of which the modem tells its network, but not the country.
inline void withSimWithoutCountry(Values& v)
{
    withSim(v);
    KelTest::FakeModem::setSims(
        {{false, QStringLiteral("917654321098"), QString(), QStringLiteral("91")}});
    v.device.mcc.clear();
}

} // namespace devicesetup
