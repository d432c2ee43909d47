// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/clock.h"
#include "emulator/common/trace.h"
#include "emulator/common/wirerequest.h"
#include "emulator/oauth/requestcheck.h"
#include "emulator/service/fault.h"
#include "emulator/service/reply.h"
#include "emulator/service/requestlog.h"
#include "emulator/service/store.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace KelEmulator {

/// What the service is told when it starts.
struct ServiceSettings
{
    std::string consumerKey;
    std::string consumerSecret;
    std::int64_t clockSkew = 0; ///< seconds that its clock is ahead
    double clockSpeed = 1;
    std::vector<Fault> faults; ///< ordered from the beginning
    bool verbose = false;      ///< a line a request
};

/// The account service apart from how requests reach it. May be used by many threads at once.
class AccountService
{
public:
    AccountService(ServiceSettings settings, std::unique_ptr<Store> store);

    /// Checks and answers a request. `problem` receives why it was refused, and is logged.
    /// `trace` receives how it was judged.
    Reply answer(const WireRequest& request, std::string& problem, Trace& trace);
    /// The operation that a request is meant for, right or wrong; 0 when there is none.
    static int operationOf(const WireRequest& request);

    Store& store() { return *mStore; }
    FaultQueue& faults() { return mFaults; }
    RequestLog& requests() { return mRequests; }
    Clock& clock() { return mClock; }
    bool isVerbose() const { return mVerbose; }

private:
    Reply dispatch(const WireRequest& request, std::string& problem, Trace& trace);
    Reply perform(const WireRequest& request, const std::string& document, const std::string& token,
                  std::string& problem, Trace& trace);

    Clock mClock;
    const bool mVerbose;
    std::unique_ptr<Store> mStore;
    RequestCheck mCheck;
    FaultQueue mFaults;
    RequestLog mRequests;
};

} // namespace KelEmulator
