// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/updatecontactsinforequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

UpdateContactsInfoRequest::UpdateContactsInfoRequest(
    ISignatureProvider& provider, ContactsInfo const& contacts, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mContacts(contacts), mAccountId(accountId)
{
    createOAuthRequest();
}

QString UpdateContactsInfoRequest::createXMLMessage()
{
    return MsgCreator::xmlContactsInfoUpdate(mContacts);
}

QString UpdateContactsInfoRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/contacts");
}

QString UpdateContactsInfoRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool UpdateContactsInfoRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
