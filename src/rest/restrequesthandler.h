// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/isignatureprovider.h"
#include "rest/netrequesttype.h"
#include "rest/servicesignals.h"

#include <memory>

namespace KelRestHandler {

class NetworkHandler;
class OAuthRequest;

/// Single entry of the REST layer: one send operation per operation of the service, one signal per
/// answer (see ServiceSignals).
///
/// Every send operation returns 0 when the request is on its way, and -1 when it is not; then no
/// signal follows. The provider must outlive the request. With an out-parameter, the request is
/// handed out on success and belongs to the caller, who may send it again and deletes it when the
/// operation is over; without one, the request dies with its reply.
class RESTRequestHandler : public ServiceSignals
{
    Q_OBJECT

public:
    explicit RESTRequestHandler(QObject* parent = nullptr);
    ~RESTRequestHandler() override;

    /// Is the user name free? Answered by userNameAvailabilityResponse.
    int sendisUserIdAvailRequest(ISignatureProvider& provider, QString const& userName,
                                 QString const& consumerKey, QString const& baseAddress,
                                 OAuthRequest** request);

    /// Sends the same request again. Its retry count is the caller's business.
    int resendRequest(OAuthRequest* request);

private:
    template <class Request, class... Arguments>
    int sendHandedOut(const char* creationFailure, NetRequestType type, OAuthRequest** out,
                      ISignatureProvider& provider, const Arguments&... arguments);

    std::unique_ptr<NetworkHandler> mNetworkHandler;
};

} // namespace KelRestHandler
