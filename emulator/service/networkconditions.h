// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace KelEmulator {

/// The network between a client and the service. Whatever is not there is as this machine has it.
struct NetworkConditions
{
    using Milliseconds = std::chrono::milliseconds;

    std::optional<Milliseconds> latency;       ///< of a round trip
    std::optional<Milliseconds> jitter;        ///< by which a round trip may be longer or shorter
    std::optional<std::int64_t> bitsPerSecond; ///< in each direction

    /// Whether bytes take a way of their own at all, were it one without delay.
    bool isThere() const { return latency || jitter || bitsPerSecond; }
};

/// What was counted on it; `Network` says how.
struct NetworkCounts
{
    std::int64_t connections = 0;
    std::int64_t handshakes = 0;  ///< of TLS that came to their end
    std::int64_t resumptions = 0; ///< those of them that resumed a session
    std::int64_t roundTrips = 0;  ///< one behind the other
};

/// Reads whole milliseconds, "100ms". False for anything else.
bool readDelay(const std::string& text, std::optional<NetworkConditions::Milliseconds>& delay);
/// Reads "400kbit" or "2mbit", thousands and millions of bits a second.
bool readBandwidth(const std::string& text, std::optional<std::int64_t>& bitsPerSecond);

/// What is wrong with a text that one of these does not read; empty when it does.
std::string delayProblem(const std::string& text);
std::string bandwidthProblem(const std::string& text);
/// What is wrong with conditions each of which is good by itself; empty when nothing is.
std::string conditionsProblem(const NetworkConditions& conditions);

/// As they are read.
std::string delayText(NetworkConditions::Milliseconds delay);
std::string bandwidthText(std::int64_t bitsPerSecond);

} // namespace KelEmulator
