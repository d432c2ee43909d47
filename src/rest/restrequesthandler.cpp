// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/restrequesthandler.h"

#include "common/logging.h"
#include "device/devicedescription.h"
#include "rest/clientidentification.h"
#include "rest/networkhandler.h"
#include "rest/operations/retrieveusernameavailabilityrequest.h"

#include <new>

namespace KelRestHandler {

RESTRequestHandler::RESTRequestHandler(QObject* parent)
    : ServiceSignals(parent), mNetworkHandler(std::make_unique<NetworkHandler>(nullptr))
{
    ClientIdentification::setDescriptionReader(&readDeviceDescription);
    relay(mNetworkHandler.get(), this);
}

RESTRequestHandler::~RESTRequestHandler() = default;

int RESTRequestHandler::sendisUserIdAvailRequest(ISignatureProvider& provider,
                                                 QString const& userName,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress,
                                                 OAuthRequest** request)
{
    return sendHandedOut<RetrieveUserNameAvailabilityRequest>(
        "Retreive Username request object creation failed", RetrieveUserNameAvailability, request,
        provider, userName, consumerKey, baseAddress);
}

int RESTRequestHandler::resendRequest(OAuthRequest* request)
{
    if (!request)
        return -1;
    return mNetworkHandler->sendNetWorkRequest(request, request->getRequestType());
}

template <class Request, class... Arguments>
int RESTRequestHandler::sendHandedOut(const char* creationFailure, NetRequestType type,
                                      OAuthRequest** out, ISignatureProvider& provider,
                                      const Arguments&... arguments)
{
    if (!out)
        return -1;
    std::unique_ptr<Request> request(new (std::nothrow) Request(provider, arguments..., type));
    if (!request) {
        qCCritical(logRest, "%s", creationFailure);
        return -1;
    }
    if (mNetworkHandler->sendNetWorkRequest(request.get(), type) != 0)
        return -1;
    *out = request.release();
    return 0;
}

} // namespace KelRestHandler
