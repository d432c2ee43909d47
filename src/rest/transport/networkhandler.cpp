// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/networkhandler.h"

#include "common/flightrecord.h"
#include "common/logging.h"
#include "rest/reply/httpresponse.h"
#include "rest/reply/receivedreply.h"
#include "rest/transport/connectionlatency.h"
#include "rest/transport/endreply.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/replyfacts.h"
#include "rest/transport/replyproperties.h"
#include "rest/transport/servernames.h"
#include "rest/transport/transporterror.h"

#include <QNetworkRequest>
#include <QPointer>
#include <QSslConfiguration>

#include <algorithm>

namespace KelRestHandler {

namespace {

// "https_proxy" takes precedence and serves for plain and secure connections alike.
void installProxyFromEnvironment()
{
    const QString plain = qEnvironmentVariable("http_proxy");
    const QString secure = qEnvironmentVariable("https_proxy");
    const QString& text = secure.isEmpty() ? plain : secure;
    const QUrl address(text);
    if (address.host().isEmpty()) {
        // Never its value: that may hold a password.
        if (!text.isEmpty())
            qCWarning(
                logRest,
                "The proxy in the variable \"%s\" is not used, since no host can be read from "
                "it; write it with its scheme: http://host:port",
                secure.isEmpty() ? "http_proxy" : "https_proxy");
        return;
    }
    constexpr int httpPort = 80;
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, address.host(),
                                                     static_cast<quint16>(address.port(httpPort)),
                                                     address.userName(), address.password()));
}

// Status line, header lines, an empty line, body: what the processor searches for date and
// document.
QString replyText(QNetworkReply* reply)
{
    constexpr int usualHead = 512;
    const QByteArray body = reply->readAll();
    QString text;
    text.reserve(usualHead + body.size());
    text += reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toString();
    text += QLatin1Char(' ');
    text += reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    text += QLatin1String("\r\n");
    const auto& headers = reply->rawHeaderPairs();
    for (const auto& header : headers) {
        text += QLatin1String(header.first.constData(), header.first.size());
        text += QLatin1String(": ");
        text += QLatin1String(header.second.constData(), header.second.size());
        text += QLatin1String("\r\n");
    }
    text += QLatin1String("\r\n");
    text += QString::fromUtf8(body);
    return text;
}

using KelAccount::FlightRecord::Moment;

void recordOf(int requestId, Moment moment, int status = 0, int detail = 0)
{
    KelAccount::FlightRecord::record({moment, 0, requestId, status, detail});
}

int httpStatusOf(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

// What nothing else here listens to.
void recordProgress(QNetworkReply* reply, QObject* context, int requestId)
{
    QObject::connect(reply, &QNetworkReply::uploadProgress, context,
                     [requestId](qint64 sent, qint64 total) {
                         if (sent == total && total > 0)
                             recordOf(requestId, Moment::Sent);
                     });
    QObject::connect(reply, &QNetworkReply::metaDataChanged, context, [requestId, reply] {
        recordOf(requestId, Moment::FirstByte, httpStatusOf(*reply));
    });
}

bool asksToWait(const QNetworkReply& reply)
{
    constexpr int tooManyRequests = 429;
    constexpr int unavailable = 503;
    const int status = httpStatusOf(reply);
    return status == tooManyRequests || status == unavailable;
}

} // namespace

NetworkHandler::NetworkHandler(QObject* parent)
    // Children, so that they come along to another thread.
    : ServiceSignals(parent), mManager(this), mProcessor(this),
      mConnections(
          &mManager, [this](QNetworkAccessManager* manager) { listenTo(manager); }, this),
      mPreparation(mConnections, this), mGuard(this)
{
    installProxyFromEnvironment();
    mGuard.setSingleShot(true);
    mGuard.setTimerType(Qt::PreciseTimer);
    connect(&mGuard, &QTimer::timeout, this, &NetworkHandler::onGuardOver);
    connect(&mConnections, &ServiceConnections::freed, this, &NetworkHandler::onFreed);
    relay(&mProcessor, this);
}

void NetworkHandler::listenTo(QNetworkAccessManager* manager)
{
    connect(manager, &QNetworkAccessManager::finished, this, &NetworkHandler::queueFinished);
    connect(manager, &QNetworkAccessManager::encrypted, this, &NetworkHandler::checkServer);
    connect(manager, &QNetworkAccessManager::sslErrors, this, &NetworkHandler::onSslErrors);
    connect(manager, &QNetworkAccessManager::authenticationRequired, this,
            &NetworkHandler::onAuthenticationRequired);
    connect(manager, &QNetworkAccessManager::proxyAuthenticationRequired, this,
            &NetworkHandler::onProxyAuthenticationRequired);
    new ConnectionLatency(manager, manager);
}

int NetworkHandler::sendNetWorkRequest(HttpRequest* request, NetRequestType type)
{
    return request ? send(*request, nullptr, type) : -1;
}

int NetworkHandler::sendOwnedRequest(std::unique_ptr<HttpRequest> request, NetRequestType type)
{
    if (!request)
        return -1;
    const HttpRequest& kept = *request;
    return send(kept, std::move(request), type);
}

QNetworkReply* NetworkHandler::post(const QNetworkRequest& request, const QByteArray& body)
{
    return mConnections.post(request, body);
}

int NetworkHandler::send(const HttpRequest& request, std::unique_ptr<HttpRequest> owned,
                         NetRequestType type)
{
    if (type < firstNetRequestType || type > lastNetRequestType) {
        qCCritical(logRest, "sendNetWorkRequest: invalid request type");
        return -1;
    }
    auto waiting = std::make_unique<WaitingRequest>(mMessages.messageFor(request), request, type);
    recordOf(waiting->requestId(), Moment::Signed, type);
    if (!mayPost()) {
        if (owned)
            owned.release()->setParent(waiting.get());
        letWait(std::move(waiting));
        return 0;
    }
    QNetworkReply* const reply = postNow(*waiting);
    if (reply && owned)
        owned.release()->setParent(reply);
    return 0;
}

void NetworkHandler::letWait(std::unique_ptr<WaitingRequest> request)
{
    recordOf(request->requestId(), Moment::Waiting);
    request->setParent(this); // comes along to another thread
    guard(request->millisecondsLeft());
    mWaiting.push_back(std::move(request));
}

// One timer for all: a thousand of them would be gone through for each that begins or ends.
void NetworkHandler::guard(int milliseconds)
{
    const QDeadlineTimer due(milliseconds, Qt::PreciseTimer);
    if (mGuard.isActive() && mGuardedUntil <= due)
        return;
    mGuardedUntil = due;
    mGuard.start(milliseconds);
}

void NetworkHandler::guardWaiting()
{
    mGuard.stop();
    for (const auto& request : mWaiting)
        guard(request->millisecondsLeft());
}

// A connection that is being prepared is sooner ready than another one would be, so one request
// waits for it.
bool NetworkHandler::goesOut(int waiting) const
{
    return mConnections.isReady() || (waiting > mConnections.preparing() && mConnections.isFree());
}

// What waits besides was there before.
bool NetworkHandler::mayPost() const
{
    const auto waiting = static_cast<int>(mWaiting.size());
    return waiting <= mConnections.preparing() && goesOut(waiting + 1);
}

// Not at once: a reply may end while the network library's thread waits for this one.
void NetworkHandler::onFreed()
{
    if (!mWaiting.empty())
        QMetaObject::invokeMethod(this, &NetworkHandler::postWaiting, Qt::QueuedConnection);
}

void NetworkHandler::postWaiting()
{
    while (!mWaiting.empty() && goesOut(static_cast<int>(mWaiting.size()))) {
        const std::unique_ptr<WaitingRequest> next = std::move(mWaiting.front());
        mWaiting.pop_front();
        if (mWaiting.empty())
            mGuard.stop();
        QNetworkReply* const reply = postNow(*next);
        auto* const owned = next->findChild<HttpRequest*>();
        if (reply && owned)
            owned->setParent(reply);
    }
}

QNetworkReply* NetworkHandler::postNow(const WaitingRequest& request)
{
    recordOf(request.requestId(), Moment::Posted);
    QNetworkReply* const reply = post(request.message(), request.body());
    if (!reply) {
        qCCritical(logRest, "QNetworkAccesManager::post returned NULL");
        return nullptr;
    }
    reply->setProperty(ReplyProperty::requestType, request.type());
    reply->setProperty(ReplyProperty::consumerKey, request.consumerKey());
    reply->setProperty(ReplyProperty::requestId, request.requestId());
    reply->setProperty(ReplyProperty::timedOut, 0);
    auto* const guard = new NetworkReplyContainer(reply, request.millisecondsLeft());
    recordProgress(reply, guard, request.requestId());
    connect(guard, &NetworkReplyContainer::requestTimedOut, this,
            &NetworkHandler::onNetworkRequestTimedOut);
    return reply;
}

// Timers may be early by less than a millisecond; a guard is not.
void NetworkHandler::onGuardOver()
{
    const auto due = std::find_if(mWaiting.begin(), mWaiting.end(),
                                  [](const auto& request) { return request->isTimedOut(); });
    if (due == mWaiting.end()) {
        guardWaiting();
        return;
    }
    const std::unique_ptr<WaitingRequest> request = std::move(*due);
    mWaiting.erase(due);
    guardWaiting();
    request->setParent(nullptr);
    recordOf(request->requestId(), Moment::TimedOut);
    HttpResponse response(QNetworkReply::TimeoutError, QString(), request->consumerKey(),
                          request->requestId());
    // A receiver may delete this object.
    mProcessor.processResponseFromServer(request->type(), &response);
}

void NetworkHandler::abandon(int requestId)
{
    const auto waiting = std::find_if(mWaiting.begin(), mWaiting.end(), [&](const auto& request) {
        return request->requestId() == requestId;
    });
    recordOf(requestId, Moment::TakenBack);
    if (waiting != mWaiting.end()) {
        mWaiting.erase(waiting);
        return;
    }
    QNetworkReply* const reply = mConnections.replyTo(requestId);
    if (!reply)
        return;
    factsOf(*reply)->isAbandoned = true;
    endReply(*reply);
    deleteEnded(*reply);
}

// A time-out ends its reply, too: the reply may be deleted before the queued call comes.
void NetworkHandler::queueFinished(QNetworkReply* reply)
{
    const auto deliver = [this, finished = QPointer<QNetworkReply>(reply)] {
        if (finished)
            onFinished(finished);
    };
    QMetaObject::invokeMethod(this, deliver, Qt::QueuedConnection);
}

void NetworkHandler::onFinished(QNetworkReply* reply)
{
    // A reply without the mark was not sent from here; one that timed out has been answered.
    const QVariant timedOut = reply->property(ReplyProperty::timedOut);
    const auto facts = factsOf(*reply);
    if (!timedOut.isValid() || timedOut.toInt() != 0 || !facts || facts->isAbandoned)
        return;
    const ReplyEnding ending = endingOf(*reply, *facts);
    const int status = httpStatusOf(*reply);
    recordOf(reply->property(ReplyProperty::requestId).toInt(), Moment::Read, ending.error, status);
    if (ending.isRefused) {
        process(reply, ending.error, QString());
        return;
    }
    const ReceivedReply received = receivedReply(ending.error, status, replyText(reply));
    process(reply, received.error, received.text);
}

void NetworkHandler::onNetworkRequestTimedOut(QNetworkReply* reply)
{
    if (!reply) {
        qCCritical(logRest, "Empty pointer in NetworkHandler::onNetworkRequestTimedOut");
        return;
    }
    if (reply->property(ReplyProperty::timedOut).toInt() == 0)
        return;
    recordOf(reply->property(ReplyProperty::requestId).toInt(), Moment::TimedOut);
    endReply(*reply);
    process(reply, QNetworkReply::TimeoutError, QString());
}

void NetworkHandler::process(QNetworkReply* reply, QNetworkReply::NetworkError error,
                             const QString& text)
{
    const QVariant type = reply->property(ReplyProperty::requestType);
    const QVariant consumerKey = reply->property(ReplyProperty::consumerKey);
    const QVariant requestId = reply->property(ReplyProperty::requestId);
    if (!type.isValid() || !consumerKey.isValid() || !requestId.isValid())
        return;

    HttpResponse response(error, text, consumerKey.toString(), requestId.toInt());
    // What nothing is read of tells no time.
    if (!text.isEmpty() && cameInsideTls(*reply))
        response.setClockOf(TimeStampManager::serverOf(reply->url()));
    else
        response.setClockOfNobody();
    if (asksToWait(*reply))
        response.setRetryAfter(reply->rawHeader("Retry-After"));
    deleteEnded(*reply);
    // A receiver may delete this object: nothing of it is used afterwards.
    mProcessor.processResponseFromServer(type.toInt(), &response);
}

// Nothing of the request has left when this is called, and nothing leaves after it has been
// aborted.
void NetworkHandler::checkServer(QNetworkReply* reply)
{
    if (isIssuedFor(reply->sslConfiguration().peerCertificate(), reply->url().host())) {
        // One that is only prepared is no request's.
        const QVariant requestId = reply->property(ReplyProperty::requestId);
        if (requestId.isValid())
            recordOf(requestId.toInt(), Moment::Connected);
        return;
    }
    const auto facts = factsOf(*reply);
    if (facts)
        facts->isFromWrongServer = true;
    endReply(*reply);
}

// TLS errors are never ignored: the reply ends with the handshake's error.
void NetworkHandler::onSslErrors(QNetworkReply* reply, QList<QSslError> const& /*errors*/)
{
    const QSslConfiguration configuration = reply->sslConfiguration();
    Q_UNUSED(configuration)
}

// No credentials are offered: the reply ends with the error of the missing authentication.
void NetworkHandler::onAuthenticationRequired(QNetworkReply* /*reply*/,
                                              QAuthenticator* /*authenticator*/)
{
}

void NetworkHandler::onProxyAuthenticationRequired(QNetworkProxy const& /*proxy*/,
                                                   QAuthenticator* /*authenticator*/)
{
}

// Qt gave this notification up; a network that is away shows in each reply.
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
void NetworkHandler::onNetworkAccessibleChanged(
    QNetworkAccessManager::NetworkAccessibility /*accessible*/)
{
}
QT_WARNING_POP
#endif

} // namespace KelRestHandler
