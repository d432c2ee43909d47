// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/records/contactsinfo.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<UpdateContactsInfo> : DescriptionDefaults
{
    using Request = class UpdateContactsInfoRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 1;
    static constexpr char tail[] = "/contacts";
    static constexpr bool tokenSigns = true;
    static constexpr std::array roots{"contactsUpdateResponse"};
    static constexpr char creationFailure[] = "updateContactsInfoRequest object creation failed";

    static QString document(const ContactsInfo& contacts, const QString& /*accountId*/)
    {
        return MsgCreator::xmlContactsInfoUpdate(contacts);
    }
};

/// Changes the ways to reach the user.
class UpdateContactsInfoRequest : public RequestOf<UpdateContactsInfo, ContactsInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
