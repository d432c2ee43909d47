// SPDX-License-Identifier: LGPL-2.1-or-later
// The request handler besides its send operations.
#include "rest/restrequesthandler.h"

#include "device/devicedescription.h"
#include "rest/request/clientidentification.h"
#include "rest/request/cryptographicutils.h"
#include "rest/sending.h"

#include <QEvent>

namespace KelRestHandler {

// The value that stands in the way may be a secret: it is not logged.
bool canBeSent(const OAuthRequest& request)
{
    const char* const obstacle =
        !request.isWellAddressed()
            ? "A value cannot stand in the address of its request; nothing is sent"
        : !CryptographicUtils::isAvailable() ? "The cryptographic library refuses SHA-1, so no "
                                               "request can be signed; nothing is sent"
                                             : nullptr;
    if (obstacle)
        qCCritical(logRest, "%s", obstacle);
    return !obstacle;
}

RESTRequestHandler::RESTRequestHandler(QObject* parent)
    : ServiceSignals(parent), mNetworkHandler(std::make_unique<NetworkHandler>(nullptr))
{
    ClientIdentification::setDescriptionReader(&readDeviceDescription);
    relay(mNetworkHandler.get(), this);
}

RESTRequestHandler::~RESTRequestHandler() = default;

int RESTRequestHandler::lastRequestId() const
{
    return mLastRequestId;
}

const AnsweredRequest& RESTRequestHandler::answering() const
{
    return mNetworkHandler->answering();
}

void RESTRequestHandler::abandon(int requestId)
{
    mNetworkHandler->abandon(requestId);
}

void RESTRequestHandler::prepare(QString const& baseAddress)
{
    mNetworkHandler->prepare(QUrl(baseAddress), Preparation::usualRenewals);
}

void RESTRequestHandler::prepareOnce(QString const& baseAddress)
{
    mNetworkHandler->prepare(QUrl(baseAddress), 0);
}

bool RESTRequestHandler::event(QEvent* event)
{
    // The last event before this object, and then each of its children, goes to another thread.
    if (event->type() == QEvent::ThreadChange)
        mNetworkHandler->setParent(this);
    return ServiceSignals::event(event);
}

int RESTRequestHandler::resendRequest(OAuthRequest* request)
{
    if (!request || !canBeSent(*request))
        return -1;
    return mNetworkHandler->sendNetWorkRequest(request, request->getRequestType()) == 0 ? 0 : -1;
}

} // namespace KelRestHandler
