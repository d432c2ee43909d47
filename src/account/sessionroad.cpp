// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/sessionroad.h"

#include <QPointer>

#include <utility>

namespace KelAccount {

SessionRoad::SessionRoad(Session* session, Calls& calls, const Settings& settings,
                         RefuseCall refuse)
    : mSession(session), mCalls(calls), mSettings(settings), mRefuse(std::move(refuse))
{
}

bool SessionRoad::open(quint32 credentialsId)
{
    const QPointer<Session> alive(mSession);
    const bool isOpen =
        mSession->createAuthSession(mSettings.consumerKey(), mSettings.consumerSecret(),
                                    mSettings.zorService(), mSettings.serverIndex(), credentialsId);
    // Waiting for the plugin runs the event loop, and an application may do anything there.
    return alive && isOpen;
}

bool SessionRoad::openFor(OpenCall call, quint32 credentialsId)
{
    const QPointer<Session> alive(mSession);
    FlightRecord::record({FlightRecord::Moment::Opening, call.id});
    const bool isOpen = open(credentialsId);
    FlightRecord::record({FlightRecord::Moment::Opened, call.id, -1, isOpen});
    if (!alive)
        return false;
    mCalls.returnFrom(call.id);
    if (!mCalls.isAwaited(call.id))
        return false;
    if (!isOpen)
        mRefuse(call, ErrorFailedToEstablishZorAuthSession);
    mSession->setCaller(call.id);
    return isOpen;
}

Answer SessionRoad::answer(int status) const
{
    return {mSession->answeredCaller(), status};
}

} // namespace KelAccount
