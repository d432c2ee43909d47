// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/networkresponseprocessor.h"

#include "common/logging.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/replydocument.h"
#include "rest/reply/retryafter.h"
#include "rest/request/wiretime.h"

#include <kelaccount/errorstatus.h>

#include <QPointer>

#include <algorithm>
#include <iterator>
#include <utility>

using namespace KelAccount;

namespace KelRestHandler {

namespace {

struct TransportStatus
{
    QNetworkReply::NetworkError error;
    int status;
};

// HTTP 403 has a status without a member.
constexpr int contentAccessDenied = 413;

constexpr TransportStatus transportStatuses[] = {
    {QNetworkReply::ConnectionRefusedError, ErrorConnectionRefused},
    {QNetworkReply::RemoteHostClosedError, ErrorRemoteHostClosed},
    {QNetworkReply::HostNotFoundError, ErrorHostNotFound},
    {QNetworkReply::TimeoutError, ErrorTimeout},
    {QNetworkReply::OperationCanceledError, ErrorOperationCanceled},
    {QNetworkReply::SslHandshakeFailedError, ErrorSslHandshakeFailed},
    {QNetworkReply::TemporaryNetworkFailureError, ErrorTemporaryNetworkFailure},
    {QNetworkReply::UnknownNetworkError, ErrorUnknownNetwork},
    {QNetworkReply::ProxyConnectionRefusedError, ErrorProxyConnectionRefused},
    {QNetworkReply::ProxyConnectionClosedError, ErrorProxyConnectionClosed},
    {QNetworkReply::ProxyNotFoundError, ErrorProxyNotFound},
    {QNetworkReply::ProxyTimeoutError, ErrorProxyTimeout},
    {QNetworkReply::ProxyAuthenticationRequiredError, ErrorProxyAuthenticationRequired},
    {QNetworkReply::UnknownProxyError, ErrorUnknownProxy},
    {QNetworkReply::ContentAccessDenied, contentAccessDenied},
    {QNetworkReply::ContentOperationNotPermittedError, ErrorContentOperationNotPermitted},
    {QNetworkReply::ContentNotFoundError, ErrorContentNotFound},
    // A missing authentication is the service's refusal, not the network's.
    {QNetworkReply::AuthenticationRequiredError, ErrorNotAuthorized},
    {QNetworkReply::ContentReSendError, ErrorContentReSend},
    {QNetworkReply::UnknownContentError, ErrorUnknownContent},
    {QNetworkReply::ProtocolUnknownError, ErrorProtocolUnknown},
    {QNetworkReply::ProtocolInvalidOperationError, ErrorProtocolInvalidOperation},
    {QNetworkReply::ProtocolFailure, ErrorProtocolFailure},
};

const auto dateHeader = QLatin1String("Date:");
const auto lineEnd = QLatin1String("\r\n");
// A date of the service has 29 characters.
constexpr int longestDate = 256;

// Of the thread that this runs on, which may have changed since the processor was made.
TimeStampManager* clock()
{
    return TimeStampManager::getTimeStampManager();
}

} // namespace

NetworkResponseProcessor::NetworkResponseProcessor(QObject* parent) : ServiceSignals(parent)
{
    if (!TimeStampManager::getTimeStampManager())
        qFatal("Unable to retrieve the timestam manager object");
}

int NetworkResponseProcessor::processResponseFromServer(int requestType, HttpResponse* response)
{
    if (!response)
        return -1;
    retrieveServerTimeFromResponse(response);
    const Processor process = processorFor(requestType);
    if (!process) {
        qCCritical(logRest,
                   "NetworkResponseProcessor::processResponseFromServer: Unacceptable.. Returning");
        return -1;
    }
    AnsweredRequest answering{response->getRequestId(), {}};
    answering.details.retryAfterSeconds = secondsToWait(*response);
    AnsweredRequest* const outer = std::exchange(mAnswering, &answering);
    const QPointer<NetworkResponseProcessor> alive(this);
    (this->*process)(response);
    if (alive)
        mAnswering = outer;
    return 0;
}

int NetworkResponseProcessor::secondsToWait(const HttpResponse& response) const
{
    if (response.retryAfter().isEmpty())
        return -1;
    const QDateTime now = response.getServerTime();
    return retryAfterSeconds(response.retryAfter(),
                             now.isValid() ? now : clock()->currentServerTime());
}

int NetworkResponseProcessor::convertNetworkErrorCodeToEnablerErrorCode(
    QNetworkReply::NetworkError error)
{
    const auto row = std::find_if(std::begin(transportStatuses), std::end(transportStatuses),
                                  [error](const TransportStatus& r) { return r.error == error; });
    return row != std::end(transportStatuses) ? row->status : ErrorUndefined;
}

void NetworkResponseProcessor::retrieveServerTimeFromResponse(HttpResponse* response)
{
    const QString data = response->getData();
    const int header = data.indexOf(dateHeader);
    if (header < 0) {
        response->setServerTime(QDateTime::currentDateTime());
        return;
    }
    const int begin = header + dateHeader.size();
    const int end = data.indexOf(lineEnd, begin);
    QString text = data.mid(begin, end < 0 ? -1 : end - begin);
    // Nothing longer is a date, and looking for one in megabytes holds the event loop up.
    if (text.size() > longestDate)
        text.clear();
    text = text.remove(QLatin1String(" GMT")).trimmed();

    const QDateTime time = headerTimeOnWire(text);
    response->setServerTime(time);
    if (response->clock() == HttpResponse::Clock::Anybodys)
        clock()->syncToTime(time);
    else if (response->clock() == HttpResponse::Clock::Servers)
        clock()->syncToTime(time, response->server());
}

void NetworkResponseProcessor::checkForErrorResponses(HttpResponse* response,
                                                      QDomNode& responseElement,
                                                      RequestInfoData& info)
{
    parseErrorResponseXml(info, response->getData(), responseElement);
    // Undecided: there was no document, or one that reports no error.
    if (info.statusCode == ErrorMax) {
        info.statusCode = response->errorCode() == QNetworkReply::NoError
                              ? ErrorNone
                              : convertNetworkErrorCodeToEnablerErrorCode(response->errorCode());
    }
}

void NetworkResponseProcessor::parseErrorResponseXml(RequestInfoData& info, const QString& data,
                                                     QDomNode& responseElement)
{
    const QStringView document = documentIn(data);
    if (document.isNull())
        return;
    info.statusCode = ErrorMax;
    responseElement = MsgParser::processXml(info, document.toString());
    if (info.statusCode == ErrorUndefined)
        MsgParser::parseErrorxml(info, responseElement);
}

int NetworkResponseProcessor::updateResponseWithBasicData(HttpResponse* response,
                                                          RESTResponseBase& base,
                                                          const RequestInfoData& info)
{
    if (!response)
        return -1;
    base.consumerKey = response->getConsumerKey();
    base.serverTime = response->getServerTime();
    base.status = info.statusCode;
    base.requestId = response->getRequestId();
    return 0;
}

int NetworkResponseProcessor::decide(HttpResponse* response, QDomNode& element)
{
    RequestInfoData info;
    info.statusCode = ErrorMax;
    checkForErrorResponses(response, element, info);
    details().status = info.statusCode;
    return info.statusCode;
}

void NetworkResponseProcessor::complete(RESTResponseBase& answer, HttpResponse* response,
                                        int status)
{
    RequestInfoData info;
    info.statusCode = status;
    details().status = status;
    updateResponseWithBasicData(response, answer, info);
}

} // namespace KelRestHandler
