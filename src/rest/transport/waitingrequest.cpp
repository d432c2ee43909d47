// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/waitingrequest.h"

#include "common/wipe.h"
#include "rest/transport/networkreplycontainer.h"

namespace KelRestHandler {

WaitingRequest::WaitingRequest(const QNetworkRequest& message, const HttpRequest& request, int type)
    : mMessage(message), mBody(request.getHttpBody().toUtf8()), mType(type),
      mRequestId(request.getRequestId()), mConsumerKey(request.getConsumerKey()),
      mGuardMilliseconds(NetworkReplyContainer::guardMilliseconds())
{
    mSinceMade.start();
}

WaitingRequest::~WaitingRequest()
{
    KelAccount::wipe(mBody);
}

int WaitingRequest::millisecondsLeft() const
{
    return qMax(1, mGuardMilliseconds - static_cast<int>(mSinceMade.elapsed()));
}

bool WaitingRequest::isTimedOut() const
{
    return mSinceMade.elapsed() >= mGuardMilliseconds;
}

} // namespace KelRestHandler
