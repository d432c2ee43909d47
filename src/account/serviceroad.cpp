// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/serviceroad.h"

#include "common/logging.h"
#include "device/interruption.h"
#include "rest/request/timestampmanager.h"

#include <utility>

using namespace KelRestHandler;

namespace KelAccount {

ServiceRoad::ServiceRoad(Rest& handler, Signer& signer, const Settings& settings, RefuseCall refuse)
    : mHandler(handler), mSigner(signer), mSettings(settings), mRefuse(std::move(refuse))
{
}

bool ServiceRoad::isAskable(const Question& question)
{
    if (!question.argumentsAreGood)
        mRefuse(question.call, ErrorInvalidParameter);
    else if (!mSettings.areGiven())
        mRefuse(question.call, ErrorInitializationPending);
    else
        return question.tagPurpose.isEmpty() || loadServiceTag(question.call, question.tagPurpose);
    return false;
}

void ServiceRoad::note(const Question& question, int result, OAuthRequest* handedOut)
{
    if (result == 0) {
        FlightRecord::record(
            {FlightRecord::Moment::Requested, question.call.id, mHandler.lastRequestId()});
        mRequests.add(mHandler.lastRequestId(), question.call.id,
                      std::unique_ptr<OAuthRequest>(handedOut));
        return;
    }
    qCCritical(logAccount, "%s", question.failure);
    mRefuse(question.call, ErrorUnabletoSendRequest);
}

Answer ServiceRoad::answer(int status)
{
    return answer(mHandler.answering().requestId, status);
}

Answer ServiceRoad::answer(int requestId, int status)
{
    AnswerDetails details = mHandler.answering().details;
    details.status = status;
    return {mRequests.take(requestId), std::move(details)};
}

void ServiceRoad::abandon(CallId call)
{
    const int requestId = mRequests.requestOf(call);
    if (requestId == -1)
        return;
    mHandler.abandon(requestId);
    mRequests.take(requestId);
}

// A tag is bound to a time, which is the server's.
ObcMgrWrapper& ServiceRoad::serviceTags()
{
    TimeStampManager::clockOf(mSettings.serverUrl());
    return mObcMgrWrapper;
}

// What is taken back while its tag is read has not gone out, and does not go out.
bool ServiceRoad::loadServiceTag(OpenCall call, const QString& purpose)
{
    serviceTags().loadServiceTag(mServiceTag, purpose);
    if (!Interruption::isRequested())
        return true;
    mRefuse(call, ErrorOperationCanceled);
    return false;
}

bool ServiceRoad::hasServiceTags()
{
    return serviceTags().isServiceTagAvailable();
}

} // namespace KelAccount
