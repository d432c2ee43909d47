// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/trace.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

namespace KelEmulator {

/// What is kept of a request: nothing that is secret.
struct RequestRecord
{
    std::uint64_t number = 0; ///< counted from 1
    std::string verb;
    std::string target;
    std::string host;
    int status = 0;
    int operation = 0; ///< 1 to 26, 0 when none was reached
    std::string outcome;
    std::string problem; ///< why a request was refused, empty otherwise
    std::string fault;
    size_t bodyBytes = 0;
    std::int64_t microseconds = 0; ///< from the last byte of the request to the finished answer
    Trace trace;
    std::string reply; ///< the document answered with, secrets masked; a fault may have changed it
};

/// The latest requests.
class RequestLog
{
public:
    void append(RequestRecord record);
    void clear();
    /// A JSON array of those behind a number, oldest first.
    std::string json(std::uint64_t after = 0) const;
    /// How one was judged, and both documents, as a JSON object; empty when that is not kept.
    std::string detailJson(std::uint64_t number) const;

private:
    static constexpr size_t capacity = 10000;
    static constexpr size_t detailed = 200;
    mutable std::mutex mMutex;
    std::uint64_t mCount = 0;
    std::deque<RequestRecord> mRecords;
};

} // namespace KelEmulator
