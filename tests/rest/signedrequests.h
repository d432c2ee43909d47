// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/cryptographicutils.h"
#include "rest/request/oauthrequest.h"

#include <QStringList>

/// Keys, token and clock with fixed values, signing as the account side does, and writing down who
/// asked for what and in which order.
class RecordingProvider : public KelRestHandler::ISignatureProvider
{
public:
    QString getToken(QString const& consumerKey) override
    {
        calls.append(QStringLiteral("token of ") + consumerKey);
        return token;
    }
    QString createSignature(QString const& consumerKey, QString const& baseString,
                            bool useToken) override
    {
        calls.append(QStringLiteral("signature"));
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
        calls.append(QStringLiteral("time stamp"));
        return timeStamp;
    }

    QString secret = QStringLiteral("consumer secret");
    QString token = QStringLiteral("token/1+2");
    QString timeStamp = QStringLiteral("1137242096");
    QString fixedSignature;

    QStringList calls;
    QString signedFor;
    QString signedBase;
    bool signedWithToken = false;
};

/// What an operation says of itself.
struct OperationFacts
{
    QString address = QStringLiteral("https://account.example/rest/1.0/tokens");
    QString document = QStringLiteral("<a>b</a>");
    QString verb = QStringLiteral("POST");
    bool tokenRequired = false;
    QString consumerKey = QStringLiteral("key");
    QString language = QStringLiteral("en-GB");
};

/// An operation that is nothing but those facts. Like every operation it completes itself at the
/// end of its constructor.
class FactualOperation : public KelRestHandler::OAuthRequest
{
public:
    FactualOperation(RecordingProvider& provider, const OperationFacts& operationFacts)
        : OAuthRequest(provider, operationFacts.consumerKey,
                       QStringLiteral("https://account.example/rest/1.0/"), KelRestHandler::SignIn,
                       operationFacts.language),
          facts(operationFacts), calls(provider.calls)
    {
        createOAuthRequest();
    }

    QString createXMLMessage() override
    {
        calls.append(QStringLiteral("document"));
        return facts.document;
    }
    QString getRestURL() override
    {
        calls.append(QStringLiteral("address"));
        return facts.address;
    }
    QString getHttpRequestType() override
    {
        calls.append(QStringLiteral("verb"));
        return facts.verb;
    }
    bool isTokenRequired() override
    {
        calls.append(QStringLiteral("token required"));
        return facts.tokenRequired;
    }

    OperationFacts facts;
    QStringList& calls;
};
