// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/callid.h"
#include "rest/request/oauthrequest.h"

#include <memory>
#include <unordered_map>

namespace KelAccount {

/// The requests that are under way to the service: which call each was made for and, when it was
/// handed out, the request itself.
class SentRequests
{
public:
    void add(int requestId, CallId call, std::unique_ptr<KelRestHandler::OAuthRequest> handedOut);
    /// The call of a request that is over, of which nothing is kept; 0 when none is known.
    CallId take(int requestId);
    /// The request of a call; -1 without one.
    int requestOf(CallId call) const;

private:
    struct Request
    {
        CallId call;
        std::unique_ptr<KelRestHandler::OAuthRequest> handedOut;
    };
    std::unordered_map<int, Request> mRequests; // by identifier
};

} // namespace KelAccount
