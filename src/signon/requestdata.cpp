// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/requestdata.h"

namespace KelAccount {

RequestData::RequestData(const ZorKeLSignOn::ZorAuthSessionData& record,
                         const QString& mechanismName, KelAccountRequestType type)
    : requestType(type), mechanism(mechanismName), sessionData(record)
{
}

// A QObject is not copied; its fields are. The compiler wants the base named all the same.
RequestData::RequestData(const RequestData& other)
    : QObject(), // NOLINT(readability-redundant-member-init)
      requestType(other.requestType), mechanism(other.mechanism), sessionData(other.sessionData),
      sessionNumber(other.sessionNumber), caller(other.caller)
{
}

// NOLINTNEXTLINE(cert-oop54-cpp): each member bears being assigned to itself
RequestData& RequestData::operator=(const RequestData& other)
{
    requestType = other.requestType;
    mechanism = other.mechanism;
    sessionData = other.sessionData;
    sessionNumber = other.sessionNumber;
    caller = other.caller;
    return *this;
}

RequestData::~RequestData()
{
    sessionData.wipe();
}

} // namespace KelAccount
