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

void WaitingRequest::wait()
{
    mTimer = new QTimer(this);
    mTimer->setTimerType(Qt::PreciseTimer);
    mTimer->setSingleShot(true);
    connect(mTimer, &QTimer::timeout, this, &WaitingRequest::onTimeout);
    mTimer->start(millisecondsLeft());
}

// Timers may be early by less than a millisecond; a guard is not.
void WaitingRequest::onTimeout()
{
    if (mSinceMade.elapsed() < mGuardMilliseconds)
        mTimer->start(millisecondsLeft());
    else
        Q_EMIT timedOut();
}

} // namespace KelRestHandler
