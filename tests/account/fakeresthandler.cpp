// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/fakeresthandler.h"

#include "rest/request/oauthrequest.h"
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
    HandedOutRequest(ISignatureProvider& provider, const QString& key, const QString& base)
        : OAuthRequest(provider, key, base, RetrieveUserNameAvailability, "en"_s)
    {
        ++aliveRequests;
    }
    ~HandedOutRequest() override { --aliveRequests; }
    QString createXMLMessage() override { return {}; }
    QString getRestURL() override { return baseAddress(); }
    QString getHttpRequestType() override { return "GET"_s; }
    bool isTokenRequired() override { return false; }
};

int take(const char* operation, const QVariantList& arguments, ISignatureProvider& signer,
         const QString& key, const QString& base)
{
    requests.append({QString::fromLatin1(operation), arguments, &signer, key, base});
    if (refusing)
        return -1;
    static int numbers = 1000000; // no request's own
    latestRequestId = ++numbers;
    return 0;
}

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

bool RESTRequestHandler::event(QEvent* event)
{
    return ServiceSignals::event(event);
}

int RESTRequestHandler::sendisUserIdAvailRequest(ISignatureProvider& provider,
                                                 QString const& userName,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, OAuthRequest** request)
{
    const int result =
        take("sendisUserIdAvailRequest", {userName}, provider, consumerKey, baseAddress);
    if (result == 0) {
        *request = new HandedOutRequest(provider, consumerKey, baseAddress);
        latestRequestId = (*request)->getRequestId();
    }
    return result;
}

int RESTRequestHandler::sendRetrieveCaptchaImageRequest(ISignatureProvider& provider, int width,
                                                        int height, QString const& consumerKey,
                                                        QString const& baseAddress)
{
    return take("sendRetrieveCaptchaImageRequest", {width, height}, provider, consumerKey,
                baseAddress);
}

int RESTRequestHandler::sendRetrieveSecQueListRequest(ISignatureProvider& provider,
                                                      QString const& language,
                                                      QString const& consumerKey,
                                                      QString const& baseAddress)
{
    return take("sendRetrieveSecQueListRequest", {language}, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::senddetectPreAccountRequest(ISignatureProvider& provider,
                                                    QString const& consumerKey,
                                                    QString const& baseAddress)
{
    return take("senddetectPreAccountRequest", {}, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendretrieveTOSRequest(ISignatureProvider& provider,
                                               QString const& serviceId, QString const& language,
                                               QString const& country, TermsFormat format,
                                               QString const& consumerKey,
                                               QString const& baseAddress)
{
    return take("sendretrieveTOSRequest", {serviceId, language, country, int(format)}, provider,
                consumerKey, baseAddress);
}

int RESTRequestHandler::sendresetPasswordRequest(
    ISignatureProvider& provider, QString const& userId, QString const& captchaId,
    QString const& captchaText, bool sendMessage, QString const& messageBody,
    QByteArray const& serviceTag, QString const& consumerKey, QString const& baseAddress)
{
    return take("sendresetPasswordRequest",
                {userId, captchaId, captchaText, sendMessage, messageBody, serviceTag}, provider,
                consumerKey, baseAddress);
}

int RESTRequestHandler::sendisEmailAddAvailableRequest(ISignatureProvider& provider,
                                                       QString const& emailAddress,
                                                       QByteArray const& serviceTag,
                                                       QString const& consumerKey,
                                                       QString const& baseAddress)
{
    return take("sendisEmailAddAvailableRequest", {emailAddress, serviceTag}, provider, consumerKey,
                baseAddress);
}

int RESTRequestHandler::sendQueryMarketingRequest(ISignatureProvider& provider,
                                                  QString const& consumerKey,
                                                  QString const& baseAddress)
{
    return take("sendQueryMarketingRequest", {}, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendResetPasswordRequest(
    ISignatureProvider& provider, QString const& userId, QString const& securityToken,
    QString const& newPassword, QString const& securityAnswer, QString const& language,
    QString const& consumerKey, QString const& baseAddress)
{
    return take("sendResetPasswordRequest",
                {userId, securityToken, newPassword, securityAnswer, language}, provider,
                consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveSecurityQuestionRequest(ISignatureProvider& provider,
                                                            QString const& userId,
                                                            QString const& language,
                                                            QString const& consumerKey,
                                                            QString const& baseAddress)
{
    return take("sendRetrieveSecurityQuestionRequest", {userId, language}, provider, consumerKey,
                baseAddress);
}

} // namespace KelRestHandler
