// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/requestdata.h"

namespace KelAccount {

RequestData::RequestData(const ZorKeLSignOn::ZorAuthSessionData& record,
                         const QString& mechanismName, KelAccountRequestType type)
    : requestType(type), mechanism(mechanismName), sessionData(record)
{
}

// A QObject is not copied; its fields are.
RequestData::RequestData(const RequestData& other)
    : QObject(), requestType(other.requestType), mechanism(other.mechanism),
      sessionData(other.sessionData), sessionNumber(other.sessionNumber)
{
}

RequestData& RequestData::operator=(const RequestData& other)
{
    requestType = other.requestType;
    mechanism = other.mechanism;
    sessionData = other.sessionData;
    sessionNumber = other.sessionNumber;
    return *this;
}

RequestData::~RequestData() = default;

} // namespace KelAccount
