// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/contactsinfo.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Changes the ways to reach the user.
class UpdateContactsInfoRequest : public OAuthRequest
{
public:
    UpdateContactsInfoRequest(ISignatureProvider& provider, ContactsInfo const& contacts,
                              QString const& accountId, QString const& consumerKey,
                              QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    ContactsInfo mContacts;
    QString mAccountId;
};

} // namespace KelRestHandler
