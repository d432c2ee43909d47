// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/httpresponse.h"

namespace KelRestHandler {

HttpResponse::HttpResponse(QNetworkReply::NetworkError error, QString const& data,
                           QString const& consumerKey, int requestId)
    : mData(data), mErrorCode(error), mConsumerKey(consumerKey),
      mServerTime(QDateTime::currentDateTimeUtc()), mRequestId(requestId)
{
}

HttpResponse::HttpResponse(HttpResponse const& other)
    : QObject(other.parent()), mData(other.mData), mErrorCode(other.mErrorCode),
      mConsumerKey(other.mConsumerKey), mServerTime(other.mServerTime),
      mRequestId(other.mRequestId), mClock(other.mClock), mServer(other.mServer),
      mRetryAfter(other.mRetryAfter)
{
}

void HttpResponse::setClockOf(QString server)
{
    mClock = Clock::Servers;
    mServer = std::move(server);
}

HttpResponse::~HttpResponse() = default;

} // namespace KelRestHandler
