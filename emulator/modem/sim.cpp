// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/modem/sim.h"

#include <algorithm>

namespace KelEmulator {

namespace {

constexpr const char* usualImei = "356938035643809";
constexpr size_t longestImsi = 15;
constexpr size_t imeiLength = 15;

bool isNumber(const std::string& text, size_t shortest, size_t longest)
{
    return text.size() >= shortest && text.size() <= longest &&
           std::all_of(text.begin(), text.end(),
                       [](char character) { return character >= '0' && character <= '9'; });
}

/// Cuts off what stands before the separator; everything when there is none.
std::string takeUntil(char separator, std::string& rest)
{
    const size_t end = rest.find(separator);
    const std::string part = rest.substr(0, end);
    rest = end == std::string::npos ? std::string() : rest.substr(end + 1);
    return part;
}

} // namespace

std::optional<Sim> readSim(const std::string& text, std::string& problem)
{
    const bool hasImei = text.find(',') != std::string::npos;
    std::string imei = text;
    std::string imsi = takeUntil(',', imei);
    Sim sim;
    sim.mcc = takeUntil('-', imsi);
    sim.mnc = takeUntil('-', imsi);
    sim.msin = imsi;
    sim.imei = hasImei ? imei : usualImei;
    if (!isNumber(sim.mcc, 3, 3))
        problem = "the MCC has three digits";
    else if (!isNumber(sim.mnc, 2, 3))
        problem = "the MNC has two or three digits";
    else if (!isNumber(sim.msin, 1, longestImsi - sim.mcc.size() - sim.mnc.size()))
        problem = "the MSIN has digits only, at most 15 together with MCC and MNC";
    else if (!isNumber(sim.imei, imeiLength, imeiLength))
        problem = "the IMEI has 15 digits";
    else
        return sim;
    problem += "; write MCC-MNC-MSIN[,IMEI], such as 244-05-1234567890";
    return std::nullopt;
}

} // namespace KelEmulator
