// SPDX-License-Identifier: LGPL-2.1-or-later
// How every send operation of the request handler sends. Tests of what is above the REST layer put
// a header of their own in the place of this one, which writes down what it is given.
#pragma once

#include "common/logging.h"
#include "rest/operations/all.h"
#include "rest/restrequesthandler.h"
#include "rest/transport/networkhandler.h"

#include <new>

namespace KelRestHandler {

/// Whether the request reaches what its operation means, and is signed.
bool canBeSent(const OAuthRequest& request);

/// Null, and a line in the log, when there is no memory for the request, or it must not be sent.
template <NetRequestType type, class... Arguments>
std::unique_ptr<OAuthRequest> makeRequest(ISignatureProvider& provider,
                                          const Arguments&... arguments)
{
    using Described = Description<type>;
    using Request = typename Described::Request;
    if (!Described::isOfUse())
        return nullptr;
    std::unique_ptr<OAuthRequest> request(new (std::nothrow) Request(provider, arguments..., type));
    if (!request)
        qCCritical(logRest, "%s", Described::creationFailure);
    else if (!canBeSent(*request))
        request.reset();
    return request;
}

template <NetRequestType type, class... Arguments>
int RESTRequestHandler::send(OAuthRequest** out, ISignatureProvider& provider,
                             const Arguments&... arguments)
{
    if (!out)
        return -1;
    auto request = makeRequest<type>(provider, arguments...);
    if (!request || mNetworkHandler->sendNetWorkRequest(request.get(), type) != 0)
        return -1;
    mLastRequestId = request->getRequestId();
    *out = request.release();
    return 0;
}

template <NetRequestType type, class... Arguments>
int RESTRequestHandler::send(ISignatureProvider& provider, const Arguments&... arguments)
{
    auto request = makeRequest<type>(provider, arguments...);
    if (!request)
        return -1;
    const int id = request->getRequestId();
    if (mNetworkHandler->sendOwnedRequest(std::move(request), type) != 0)
        return -1;
    mLastRequestId = id;
    return 0;
}

} // namespace KelRestHandler
