// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/accountinfodata.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfodata.h"
#include "rest/records/securityquestiondata.h"
#include "rest/records/termsinfodata.h"
#include "rest/records/tokeninfodata.h"

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/preaccountinfo.h>

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace KelRestHandler {

using KelAccount::ConsentQueryVariant;
using KelAccount::PreAccountInfo;

/// What every answer to an operation says.
struct RESTResponseBase
{
    QString consumerKey;
    QDateTime serverTime;
    int status = 0; ///< a KelAccount::ErrorStatus or one of the statuses without a name
    int requestId = 0;
};

/// Answer that issues a token.
struct TokenResponse : RESTResponseBase
{
    QString userName;
    TokenInfoData tokenInfo;
    AccountInfoData accountInfo;
    TermsInfoData termsInfo;
};

struct TokenCreationResponse : TokenResponse
{
};

struct TokenRefreshResponse : TokenResponse
{
};

struct RegistrationResponse : RESTResponseBase
{
    QString userName;
    TokenInfoData tokenInfo;
    AccountInfoData accountInfo;
    TermsAcceptanceData termsAcceptance;
};

struct UserNameAvailabilityResponse : RESTResponseBase
{
    bool available = false;
    QStringList suggestions;
};

struct TermsUrlsResponse : RESTResponseBase
{
    QVariantMap urls; ///< element name to text, as MsgParser::parseServiceQueryResponse reads them
};

struct TermsAcceptanceStatusResponse : RESTResponseBase
{
    TermsInfoData termsInfo;
};

struct DownloadProfileResponse : RESTResponseBase
{
    QString userName;
    ProfileInfoData profile;
};

struct SecurityQuestionResponse : RESTResponseBase
{
    SecurityQuestionData securityQuestion;
};

} // namespace KelRestHandler

Q_DECLARE_METATYPE(KelRestHandler::RESTResponseBase)
Q_DECLARE_METATYPE(KelRestHandler::TokenCreationResponse)
Q_DECLARE_METATYPE(KelRestHandler::TokenRefreshResponse)
Q_DECLARE_METATYPE(KelRestHandler::RegistrationResponse)
Q_DECLARE_METATYPE(KelRestHandler::UserNameAvailabilityResponse)
Q_DECLARE_METATYPE(KelRestHandler::TermsUrlsResponse)
Q_DECLARE_METATYPE(KelRestHandler::TermsAcceptanceStatusResponse)
Q_DECLARE_METATYPE(KelRestHandler::DownloadProfileResponse)
Q_DECLARE_METATYPE(KelRestHandler::SecurityQuestionResponse)
