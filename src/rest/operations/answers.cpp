// SPDX-License-Identifier: LGPL-2.1-or-later
// What the processor makes of a reply, by the description of the operation.
#include "rest/operations/all.h"
#include "rest/reply/networkresponseprocessor.h"

#include <kelaccount/errorstatus.h>

#include <QPointer>

#include <type_traits>

namespace KelRestHandler {

using KelAccount::ErrorNone;

namespace {

template <class Described, class = void>
struct Reads : std::false_type
{
};
template <class Described>
struct Reads<Described, std::void_t<decltype(&Described::read)>> : std::true_type
{
};

template <class Described, class = void>
struct AnswersItself : std::false_type
{
};
template <class Described>
struct AnswersItself<Described, std::void_t<decltype(&Described::answer)>> : std::true_type
{
};

template <class Described, class = void>
struct HasProcess : std::false_type
{
};
template <class Described>
struct HasProcess<Described, std::void_t<decltype(Described::process)>> : std::true_type
{
};

template <class Described, class Into>
void fill([[maybe_unused]] Into& into, [[maybe_unused]] AnswerDetails& details,
          [[maybe_unused]] const QDomNode& element)
{
    if constexpr (!Reads<Described>::value)
        return;
    else if constexpr (std::is_invocable_v<decltype(&Described::read), Into&, const QDomNode&>)
        Described::read(into, element);
    else
        Described::read(into, details, element);
}

template <class Signal>
constexpr bool isNone(Signal /*signal*/)
{
    return std::is_null_pointer_v<Signal>;
}

} // namespace

template <class Structure>
void NetworkResponseProcessor::takeTimeOfToken(HttpResponse* response, const Structure& answer)
{
    // The token's time is the server's clock to the millisecond; a reply may leave it out.
    if (answer.tokenInfo.time.isValid())
        response->setServerTime(answer.tokenInfo.time);
}

template <class Described, class Structure>
void NetworkResponseProcessor::answerBy(void (ServiceSignals::*signal)(Structure),
                                        HttpResponse* response)
{
    QDomNode element;
    const int status = decide(response, element);
    Structure answer;
    if (status == ErrorNone)
        fill<Described>(answer, details(), element);
    if constexpr (Described::takesTokensTime)
        takeTimeOfToken(response, answer);
    complete(answer, response, status);
    if constexpr (!isNone(Described::signalBefore)) {
        const QPointer<NetworkResponseProcessor> alive(this);
        Q_EMIT(this->*Described::signalBefore)(status);
        if (!alive)
            return;
    }
    Q_EMIT(this->*signal)(answer);
}

template <class Described>
void NetworkResponseProcessor::answerBy(void (ServiceSignals::*signal)(int), HttpResponse* response)
{
    QDomNode element;
    Q_EMIT(this->*signal)(decide(response, element));
}

template <class Described, class Value>
void NetworkResponseProcessor::answerBy(void (ServiceSignals::*signal)(int, Value),
                                        HttpResponse* response)
{
    QDomNode element;
    const int status = decide(response, element);
    auto value = Value();
    if (status == ErrorNone)
        fill<Described>(value, details(), element);
    Q_EMIT(this->*signal)(status, value);
}

template <NetRequestType type>
void NetworkResponseProcessor::answer(HttpResponse* response)
{
    using Described = Description<type>;
    if constexpr (AnswersItself<Described>::value)
        Described::answer(*this, response);
    else
        answerBy<Described>(Described::signal, response);
}

template <NetRequestType type>
constexpr NetworkResponseProcessor::Processor NetworkResponseProcessor::processorOf()
{
    using Described = Description<type>;
    if constexpr (isNone(Described::signal))
        return nullptr;
    else if constexpr (HasProcess<Described>::value)
        return Described::process;
    else
        return &NetworkResponseProcessor::answer<type>;
}

template <int... index>
NetworkResponseProcessor::Processor
NetworkResponseProcessor::processorAt(int wanted, std::integer_sequence<int, index...> /*all*/)
{
    static constexpr Processor processors[] = {
        processorOf<NetRequestType(firstNetRequestType + index)>()...};
    return processors[wanted];
}

NetworkResponseProcessor::Processor NetworkResponseProcessor::processorFor(int requestType)
{
    if (requestType < firstNetRequestType || requestType > lastNetRequestType)
        return nullptr;
    constexpr int count = lastNetRequestType - firstNetRequestType + 1;
    return processorAt(requestType - firstNetRequestType, std::make_integer_sequence<int, count>());
}

void NetworkResponseProcessor::processSignInResponse(HttpResponse* response)
{
    answer<SignIn>(response);
}

void NetworkResponseProcessor::processTokenResponse(HttpResponse* response)
{
    answer<RefreshToken>(response);
}

void NetworkResponseProcessor::processUsernameAvailabilityResponse(HttpResponse* response)
{
    answer<RetrieveUserNameAvailability>(response);
}

void NetworkResponseProcessor::processRetrieveCaptchaResponse(HttpResponse* response)
{
    answer<RetrieveCaptchaImage>(response);
}

void NetworkResponseProcessor::processRegisterAccountResponse(HttpResponse* response)
{
    answer<RegisterAccount>(response);
}

void NetworkResponseProcessor::processRetrieveSecQueListResponse(HttpResponse* response)
{
    answer<RetrieveSecurityQuestionList>(response);
}

void NetworkResponseProcessor::processDetectPreAccountResponse(HttpResponse* response)
{
    answer<RetrievePreAccountInfo>(response);
}

void NetworkResponseProcessor::processretrieveTOSResponse(HttpResponse* response)
{
    answer<RetrieveTermsOfService>(response);
}

void NetworkResponseProcessor::processDeleteTokenResponse(HttpResponse* response)
{
    answer<DeleteToken>(response);
}

void NetworkResponseProcessor::processrequestPasswordResetResponse(HttpResponse* response)
{
    answer<SendResetMessage>(response);
}

void NetworkResponseProcessor::processEmailAvailabilityResponse(HttpResponse* response)
{
    answer<RetrieveEmailIdAvailability>(response);
}

void NetworkResponseProcessor::processQueryVariantResponse(HttpResponse* response)
{
    answer<QueryConsentVariant>(response);
}

void NetworkResponseProcessor::processResetPasswordUsingSecurityQuestionResponse(
    HttpResponse* response)
{
    answer<ResetPassword>(response);
}

void NetworkResponseProcessor::processRetrieveSecuirtyQuestonResponse(HttpResponse* response)
{
    answer<RetrieveSecurityQuestion>(response);
}

void NetworkResponseProcessor::processChangePasswordResponse(HttpResponse* response)
{
    answer<ChangePassword>(response);
}

void NetworkResponseProcessor::processRetrieveTermsAcceptanceResponse(HttpResponse* response)
{
    answer<RetrieveTermsAcceptance>(response);
}

void NetworkResponseProcessor::processUpdateTermsAcceptanceResponse(HttpResponse* response)
{
    answer<UpdateTermsAcceptance>(response);
}

void NetworkResponseProcessor::processDownloadProfileResponse(HttpResponse* response)
{
    answer<DownloadProfile>(response);
}

void NetworkResponseProcessor::processUpdateSecurityQuestionResponse(HttpResponse* response)
{
    answer<UpdateSecurityQuestionType>(response);
}

void NetworkResponseProcessor::processSetUserNameResponse(HttpResponse* response)
{
    answer<SetUserName>(response);
}

void NetworkResponseProcessor::processUpdateDeviceInfoResponse(HttpResponse* response)
{
    answer<UpdateDeviceInfo>(response);
}

} // namespace KelRestHandler
