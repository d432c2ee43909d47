// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/httprequest.h"

namespace KelRestHandler {

QAtomicInt HttpRequest::mRequestCounter;

HttpRequest::HttpRequest(QString const& consumerKey, NetRequestType type)
    : mConsumerKey(consumerKey), mRequestType(type), mRequestId(mRequestCounter.fetchAndAddRelaxed(1))
{
}

HttpRequest::HttpRequest(HttpRequest const& other)
    : QObject(other.parent()), mUrl(other.mUrl), mTypeOfRequest(other.mTypeOfRequest),
      mHttpBody(other.mHttpBody), mHeaders(other.mHeaders), mRetryCount(other.mRetryCount),
      mConsumerKey(other.mConsumerKey), mRequestType(other.mRequestType), mRequestId(other.mRequestId)
{
}

HttpRequest::~HttpRequest() = default;

} // namespace KelRestHandler
