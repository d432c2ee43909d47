// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/httprequest.h"

#include "common/wipe.h"

namespace KelRestHandler {

QAtomicInt HttpRequest::mRequestCounter;

HttpRequest::HttpRequest(QString const& consumerKey, NetRequestType type)
    : mConsumerKey(consumerKey), mRequestType(type),
      mRequestId(mRequestCounter.fetchAndAddRelaxed(1))
{
}

HttpRequest::HttpRequest(HttpRequest const& other)
    : QObject(other.parent()), mUrl(other.mUrl), mTypeOfRequest(other.mTypeOfRequest),
      mHttpBody(other.mHttpBody), mHeaders(other.mHeaders), mRetryCount(other.mRetryCount),
      mConsumerKey(other.mConsumerKey), mRequestType(other.mRequestType),
      mRequestId(other.mRequestId)
{
}

// The document may carry a password, and a header carries the token.
HttpRequest::~HttpRequest()
{
    KelAccount::wipe(mHttpBody);
    KelAccount::wipe(mHeaders);
}

} // namespace KelRestHandler
