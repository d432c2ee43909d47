// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/reply/networkresponseprocessor.h"
#include "rest/reply/servicesignals.h"
#include "rest/request/httprequest.h"
#include "rest/transport/messagemaker.h"
#include "rest/transport/preparation.h"
#include "rest/transport/serviceconnections.h"
#include "rest/transport/waitingrequest.h"

#include <QAuthenticator>
#include <QDeadlineTimer>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslError>
#include <QTimer>

#include <deque>
#include <memory>

namespace KelRestHandler {

/// Posts requests and hands every outcome, a reply or its absence, to the response processor; so
/// each request that was sent is answered exactly once.
///
/// Completed replies are processed from the event loop, not from inside the network library, so
/// that a receiver may delete the whole client from its slot.
class NetworkHandler : public ServiceSignals
{
    Q_OBJECT

public:
    /// Installs the process-wide proxy from "https_proxy", else "http_proxy", when one is set.
    explicit NetworkHandler(QObject* parent);

    /// Posts the request and returns 0, or -1 for a type outside 1 to 26 or no request. The request
    /// stays the caller's and need not outlive the call.
    int sendNetWorkRequest(HttpRequest* request, NetRequestType type);

    /// The same for a request that nobody will send again: it is kept until its reply has been
    /// processed and deleted with it, or at once when it cannot be sent.
    int sendOwnedRequest(std::unique_ptr<HttpRequest> request, NetRequestType type);

    /// No answer follows to this request any more. What has not left does not leave; a reply that
    /// is awaited is aborted.
    void abandon(int requestId);

    /// Makes a connection to the service at that address ready, and keeps it so for a while; see
    /// Preparation. A request that is made meanwhile waits for it.
    void prepare(const QUrl& service, int renewals) { mPreparation.begin(service, renewals); }

    /// The request that is being answered, for receivers of a signal.
    const AnsweredRequest& answering() const { return mProcessor.answering(); }

protected:
    /// Where requests leave. Tests of the case that the network library makes no reply replace it.
    virtual QNetworkReply* post(const QNetworkRequest& request, const QByteArray& body);

protected Q_SLOTS:
    void onFinished(QNetworkReply* reply);
    void onNetworkRequestTimedOut(QNetworkReply* reply);
    void onSslErrors(QNetworkReply* reply, QList<QSslError> const& errors);
    void onAuthenticationRequired(QNetworkReply* reply, QAuthenticator* authenticator);
    void onProxyAuthenticationRequired(QNetworkProxy const& proxy, QAuthenticator* authenticator);

protected:
// Qt 5 deprecated the notification, so it is no slot of the meta-object, and Qt 6 has none.
#if !defined Q_MOC_RUN && QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    void onNetworkAccessibleChanged(QNetworkAccessManager::NetworkAccessibility accessible);
    QT_WARNING_POP
#endif

private:
    void listenTo(QNetworkAccessManager* manager);
    void checkServer(QNetworkReply* reply);
    void queueFinished(QNetworkReply* reply);
    int send(const HttpRequest& request, std::unique_ptr<HttpRequest> owned, NetRequestType type);
    void letWait(std::unique_ptr<WaitingRequest> request);
    /// Whether one of so many waiting requests is posted now.
    bool goesOut(int waiting) const;
    bool mayPost() const;
    void onFreed();
    void postWaiting();
    QNetworkReply* postNow(const WaitingRequest& request);
    void guard(int milliseconds);
    void guardWaiting();
    void onGuardOver();
    void process(QNetworkReply* reply, QNetworkReply::NetworkError error, const QString& text);

    QNetworkAccessManager mManager;
    NetworkResponseProcessor mProcessor;
    MessageMaker mMessages;
    ServiceConnections mConnections;
    Preparation mPreparation;
    std::deque<std::unique_ptr<WaitingRequest>> mWaiting;
    QTimer mGuard; ///< of those that wait
    QDeadlineTimer mGuardedUntil;
};

} // namespace KelRestHandler
