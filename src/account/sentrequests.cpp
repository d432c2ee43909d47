// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/sentrequests.h"

#include <algorithm>
#include <utility>

namespace KelAccount {

void SentRequests::add(int requestId, CallId call,
                       std::unique_ptr<KelRestHandler::OAuthRequest> handedOut)
{
    mRequests.emplace(requestId, Request{call, std::move(handedOut)});
}

CallId SentRequests::take(int requestId)
{
    const auto request = mRequests.find(requestId);
    if (request == mRequests.end())
        return 0;
    const CallId call = request->second.call;
    mRequests.erase(request);
    return call;
}

int SentRequests::requestOf(CallId call) const
{
    const auto request = std::find_if(mRequests.begin(), mRequests.end(),
                                      [call](const auto& r) { return r.second.call == call; });
    return request == mRequests.end() ? -1 : request->first;
}

} // namespace KelAccount
