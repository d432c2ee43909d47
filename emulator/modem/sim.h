// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <optional>
#include <string>

namespace KelEmulator {

/// A SIM and the modem that it is in.
struct Sim
{
    std::string mcc;  ///< of the home network, three digits
    std::string mnc;  ///< of the home network, two or three digits
    std::string msin; ///< the subscriber's number there; behind MCC and MNC it makes the IMSI
    std::string imei; ///< the modem's
};

/// Reads "MCC-MNC-MSIN[,IMEI]". The dashes say how long the MNC is, which an IMSI alone does not.
/// Nothing, and why in `problem`.
std::optional<Sim> readSim(const std::string& text, std::string& problem);

} // namespace KelEmulator
