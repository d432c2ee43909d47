// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveEmailIdAvailability> : DescriptionDefaults
{
    using Request = class RetrieveEmailIdAvailabilityRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::emailAvailabilityUrl;
    static constexpr char creationFailure[] = "Email Avail object creation failed";
    static constexpr auto signal = &ServiceSignals::emailIdAvailabilityResponse;
    static constexpr auto process = &NetworkResponseProcessor::processEmailAvailabilityResponse;

    static QString document(const QString& emailAddress, const QByteArray& serviceTag)
    {
        return MsgCreator::xmlEmailAvailability(emailAddress, serviceTag);
    }
};

/// Asks whether an e-mail address is free. The service tag proves that a device asks.
class RetrieveEmailIdAvailabilityRequest
    : public RequestOf<RetrieveEmailIdAvailability, QString, QByteArray>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
