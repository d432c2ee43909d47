// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/plainrecords.h"
#include "rest/reply/answerdetails.h"
#include "rest/reply/httpresponse.h"
#include "rest/reply/servicesignals.h"
#include "rest/request/netrequesttype.h"
#include "rest/request/timestampmanager.h"

#include <QDomNode>

#include <utility>

namespace KelRestHandler {

/// Turns a finished reply into the answer of its operation: takes the server's clock from it,
/// decides its status, has the document read and emits the operation's signal.
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

    /// The request that is being answered, for receivers of a signal.
    const AnsweredRequest& answering() const { return *mAnswering; }

    /// Status for a transport error; ErrorUndefined for one that has none.
    static int convertNetworkErrorCodeToEnablerErrorCode(QNetworkReply::NetworkError error);

private:
    template <NetRequestType>
    friend struct Description;

    void retrieveServerTimeFromResponse(HttpResponse* response);
    static void checkForErrorResponses(HttpResponse* response, QDomNode& responseElement,
                                       RequestInfoData& info);
    static void parseErrorResponseXml(RequestInfoData& info, const QString& data,
                                      QDomNode& responseElement);
    static int updateResponseWithBasicData(HttpResponse* response, RESTResponseBase& base,
                                           const RequestInfoData& info);

    // What answering takes. A function that answers emits last: a receiver may delete this object.

    /// The status of the reply; the element is null without one.
    int decide(HttpResponse* response, QDomNode& element);
    /// Says in the structure what every answer says.
    void complete(RESTResponseBase& answer, HttpResponse* response, int status);
    AnswerDetails& details() { return mAnswering->details; }

    /// Answers as the operation's description says.
    template <NetRequestType type>
    void answer(HttpResponse* response);
    template <class Described, class Structure>
    void answerBy(void (ServiceSignals::*signal)(Structure), HttpResponse* response);
    template <class Described>
    void answerBy(void (ServiceSignals::*signal)(int), HttpResponse* response);
    template <class Described, class Value>
    void answerBy(void (ServiceSignals::*signal)(int, Value), HttpResponse* response);
    template <class Structure>
    static void takeTimeOfToken(HttpResponse* response, const Structure& answer);

    // By these names each operation's part is known; new operations need none.
    void processSignInResponse(HttpResponse* response);
    void processTokenResponse(HttpResponse* response);
    void processUsernameAvailabilityResponse(HttpResponse* response);
    void processRetrieveCaptchaResponse(HttpResponse* response);
    void processRegisterAccountResponse(HttpResponse* response);
    void processRetrieveSecQueListResponse(HttpResponse* response);
    void processDetectPreAccountResponse(HttpResponse* response);
    void processretrieveTOSResponse(HttpResponse* response);
    void processDeleteTokenResponse(HttpResponse* response);
    void processrequestPasswordResetResponse(HttpResponse* response);
    void processEmailAvailabilityResponse(HttpResponse* response);
    void processQueryVariantResponse(HttpResponse* response);
    void processResetPasswordUsingSecurityQuestionResponse(HttpResponse* response);
    // "Secuirty", "Queston": part of the name for good
    void processRetrieveSecuirtyQuestonResponse(HttpResponse* response);
    void processChangePasswordResponse(HttpResponse* response);
    void processRetrieveTermsAcceptanceResponse(HttpResponse* response);
    void processUpdateTermsAcceptanceResponse(HttpResponse* response);
    void processDownloadProfileResponse(HttpResponse* response);
    void processUpdateSecurityQuestionResponse(HttpResponse* response);
    void processSetUserNameResponse(HttpResponse* response);
    void processUpdateDeviceInfoResponse(HttpResponse* response);

    using Processor = void (NetworkResponseProcessor::*)(HttpResponse*);
    template <NetRequestType type>
    static constexpr Processor processorOf();
    template <int... index>
    static Processor processorAt(int wanted, std::integer_sequence<int, index...> all);
    /// Null for an operation that is not answered, and for a number that is none.
    static Processor processorFor(int requestType);

    int secondsToWait(const HttpResponse& response) const;

    AnsweredRequest mNobody;
    // On the stack, and a member only while it is there: a receiver may run an event loop, in which
    // the next reply is processed.
    AnsweredRequest* mAnswering = &mNobody;
};

} // namespace KelRestHandler
