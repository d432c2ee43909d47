// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/cryptographicutils.h"
#include "rest/request/oauthrequest.h"
#include "support/literals.h"

#include <QStringList>

/// Keys, token and clock with fixed values, signing as the account side does, and writing down who
/// asked for what and in which order.
class RecordingProvider : public KelRestHandler::ISignatureProvider
{
public:
    QString getToken(QString const& consumerKey) override
    {
        calls.append("token of "_s + consumerKey);
        return token;
    }
    QString createSignature(QString const& consumerKey, QString const& baseString,
                            bool useToken) override
    {
        calls.append("signature"_s);
        signedFor = consumerKey;
        signedBase = baseString;
        signedWithToken = useToken;
        if (!fixedSignature.isNull())
            return fixedSignature;
        return CryptographicUtils::HMACSHA1(
            baseString, KelRestHandler::OAuthRequest::urlEncode(secret) + QLatin1Char('&'));
    }
    QString getTimeStamp() override
    {
        calls.append("time stamp"_s);
        return timeStamp;
    }

    QString secret = "consumer secret"_s;
    QString token = "token/1+2"_s;
    QString timeStamp = "1137242096"_s;
    QString fixedSignature;

    QStringList calls;
    QString signedFor;
    QString signedBase;
    bool signedWithToken = false;
};

/// What an operation says of itself.
struct OperationFacts
{
    QString address = "https://account.example/rest/1.0/tokens"_s;
    QString document = "<a>b</a>"_s;
    QString verb = "POST"_s;
    bool tokenRequired = false;
    QString consumerKey = "key"_s;
    QString language = "en-GB"_s;
};

/// An operation that is nothing but those facts. Like every operation it completes itself at the
/// end of its constructor.
class FactualOperation : public KelRestHandler::OAuthRequest
{
public:
    FactualOperation(RecordingProvider& provider, const OperationFacts& operationFacts)
        : OAuthRequest(provider, operationFacts.consumerKey, "https://account.example/rest/1.0/"_s,
                       KelRestHandler::SignIn, operationFacts.language),
          facts(operationFacts), calls(provider.calls)
    {
        createOAuthRequest();
    }

    QString createXMLMessage() override { return say("document", facts.document); }
    QString getRestURL() override { return say("address", facts.address); }
    QString getHttpRequestType() override { return say("verb", facts.verb); }
    bool isTokenRequired() override { return say("token required", facts.tokenRequired); }

    OperationFacts facts;
    QStringList& calls;

private:
    template <class Value>
    Value say(const char* what, const Value& value)
    {
        calls.append(text(what));
        return value;
    }
};
