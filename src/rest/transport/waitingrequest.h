// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/httprequest.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QNetworkRequest>
#include <QObject>

namespace KelRestHandler {

/// A request as it is to be posted, and what its answer needs of it. While there are as many under
/// way as may be it waits, within the same guard as a reply; a request that it was given dies with
/// it.
class WaitingRequest : public QObject
{
public:
    WaitingRequest(const QNetworkRequest& message, const HttpRequest& request, int type);
    ~WaitingRequest() override; ///< wipes the body

    QNetworkRequest message() const { return mMessage; }
    QByteArray body() const { return mBody; }
    int type() const { return mType; }
    int requestId() const { return mRequestId; }
    QString consumerKey() const { return mConsumerKey; }

    /// What is left of the guard, at least 1.
    int millisecondsLeft() const;
    bool isTimedOut() const;

private:
    QNetworkRequest mMessage;
    QByteArray mBody;
    int mType;
    int mRequestId;
    QString mConsumerKey;
    int mGuardMilliseconds;
    QElapsedTimer mSinceMade;
};

} // namespace KelRestHandler
