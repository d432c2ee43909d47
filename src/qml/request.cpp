// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/request.h"

KelQmlRequest::~KelQmlRequest()
{
    if (mCall) {
        disconnect(mCall, nullptr, this, nullptr);
        mCall->cancel();
    }
}

void KelQmlRequest::setClient(KelQmlClient* client)
{
    if (client == mClient)
        return;
    cancel();
    if (mClient)
        disconnect(mClient, &QObject::destroyed, this, &KelQmlRequest::clientChanged);
    mClient = client;
    if (mClient)
        connect(mClient, &QObject::destroyed, this, &KelQmlRequest::clientChanged);
    Q_EMIT clientChanged();
    if (mClient)
        clientWasSet();
}

void KelQmlRequest::cancel()
{
    mAsked.cancel();
    if (mCall)
        mCall->cancel();
}

void KelQmlRequest::clearFailure()
{
    if (mFailure.status() == 0)
        return;
    mFailure = KelQmlFailure();
    Q_EMIT failureChanged();
}

bool KelQmlRequest::refuse(const KelQmlFailure& failure)
{
    if (!isBusy())
        fail(failure);
    return false;
}

void KelQmlRequest::watch(KelQmlCall* call)
{
    mCall = call;
    connect(call, &KelQmlCall::finishedChanged, this, [this] {
        mCall.clear();
        Q_EMIT busyChanged();
    });
}

void KelQmlRequest::fail(const KelQmlFailure& failure)
{
    mFailure = failure;
    Q_EMIT failureChanged();
    Q_EMIT failed();
}
