// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/fakeresthandler.h"

#include "rest/request/oauthrequest.h"
#include "rest/sending.h"
#include "rest/transport/networkhandler.h"
#include "support/literals.h"

#include <QDebug>

using namespace KelRestHandler;

namespace {

QVector<KelTest::SentRequest> requests;
QVector<RESTRequestHandler*> handlers;
bool refusing = false;
int latestRequestId = 0;
int aliveRequests = 0;
AnsweredRequest answered;
QVector<int> abandonedRequests;

class HandedOutRequest : public OAuthRequest
{
public:
    explicit HandedOutRequest(const KelTest::SentRequest& sent)
        : OAuthRequest(*sent.signer, sent.consumerKey, sent.baseAddress, sent.type, "en"_s)
    {
        ++aliveRequests;
    }
    ~HandedOutRequest() override { --aliveRequests; }
    QString createXMLMessage() override { return {}; }
    QString getRestURL() override { return baseAddress(); }
    QString getHttpRequestType() override { return "GET"_s; }
    bool isTokenRequired() override { return false; }
};

} // namespace

namespace KelTest::FakeRestHandler {

void reset()
{
    requests.clear();
    abandonedRequests.clear();
    answered = {};
    refusing = false;
}

void refuseRequests()
{
    refusing = true;
}

const QVector<SentRequest>& sent()
{
    return requests;
}

RESTRequestHandler& latest()
{
    return *handlers.last();
}

int lastRequestId()
{
    return latestRequestId;
}

void answer(const AnsweredRequest& request, const std::function<void()>& emitSignal)
{
    answered = request;
    emitSignal();
    answered = {};
}

const QVector<int>& abandoned()
{
    return abandonedRequests;
}

int requestsAlive()
{
    return aliveRequests;
}

int take(NetRequestType type, ISignatureProvider& signer, QVariantList arguments)
{
    const QString base = arguments.takeLast().toString();
    const QString key = arguments.takeLast().toString();
    requests.append({type, arguments, &signer, key, base});
    if (refusing)
        return -1;
    static int numbers = 1000000; // no request's own
    latestRequestId = ++numbers;
    return 0;
}

OAuthRequest* handOut()
{
    auto* const request = new HandedOutRequest(requests.last());
    latestRequestId = request->getRequestId();
    return request;
}

} // namespace KelTest::FakeRestHandler

namespace KelRestHandler {

RESTRequestHandler::RESTRequestHandler(QObject* parent) : ServiceSignals(parent)
{
    handlers.append(this);
}

RESTRequestHandler::~RESTRequestHandler()
{
    handlers.removeOne(this);
}

int RESTRequestHandler::lastRequestId() const
{
    return latestRequestId;
}

const AnsweredRequest& RESTRequestHandler::answering() const
{
    return answered;
}

void RESTRequestHandler::abandon(int requestId)
{
    abandonedRequests.append(requestId);
}

// Nothing is sent, so there is no connection to have ready.
void RESTRequestHandler::prepare(QString const&)
{
}

bool RESTRequestHandler::event(QEvent* event)
{
    return ServiceSignals::event(event);
}

} // namespace KelRestHandler
