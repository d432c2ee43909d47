// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/httpresponse.h"
#include "rest/records/plainrecords.h"
#include "rest/servicesignals.h"
#include "rest/timestampmanager.h"

#include <QDomNode>

namespace KelRestHandler {

/// Turns a finished reply into the answer of its operation: takes the server's clock from it, decides
/// its status, has the document read and emits the operation's signal.
///
/// A receiver may delete this object from its slot.
class NetworkResponseProcessor : public ServiceSignals
{
    Q_OBJECT

public:
    explicit NetworkResponseProcessor(QObject* parent);

    /// Returns 0 when the operation's answer was emitted, -1 for an operation that is not processed
    /// or a null reply. The reply stays the caller's.
    int processResponseFromServer(int requestType, HttpResponse* response);

    /// Status for a transport error; ErrorUndefined for one that has none.
    static int convertNetworkErrorCodeToEnablerErrorCode(QNetworkReply::NetworkError error);

private:
    // What deciding the status of a reply yields; the document is null without one.
    struct Outcome
    {
        RequestInfoData info;
        QDomNode document;
    };

    void retrieveServerTimeFromResponse(HttpResponse* response);
    static void checkForErrorResponses(HttpResponse* response, QDomNode& responseElement,
                                       RequestInfoData& info);
    static void parseErrorResponseXml(RequestInfoData& info, const QString& data,
                                      QDomNode& responseElement);
    static int updateResponseWithBasicData(HttpResponse* response, RESTResponseBase& base,
                                           const RequestInfoData& info);
    static Outcome decide(HttpResponse* response);

    void processUsernameAvailabilityResponse(HttpResponse* response);

    using Processor = void (NetworkResponseProcessor::*)(HttpResponse*);
    static Processor processorFor(int requestType);

    TimeStampManager* mTimeStampManager;
};

} // namespace KelRestHandler
