// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

#include <algorithm>

namespace KelEmulator {

namespace {

std::vector<Contact> contactsFrom(const XmlElement& document)
{
    std::vector<Contact> contacts;
    for (const XmlElement& contact : document.child("mobileContacts")->children)
        contacts.push_back({true, contact.textOf("mobileNumber"), contact.isTrue("preferred")});
    for (const XmlElement& contact : document.child("emailContacts")->children) {
        contacts.push_back(
            {false, withAsciiDomain(contact.textOf("emailAddress")), contact.isTrue("preferred")});
    }
    return contacts;
}

bool isWellFormed(const Contact& contact)
{
    return contact.isMobile ? isMobileNumber(contact.value) : isEmailAddress(contact.value);
}

bool hasTwoPreferred(const std::vector<Contact>& contacts, bool mobile)
{
    return std::count_if(contacts.begin(), contacts.end(), [=](const Contact& contact) {
               return contact.isMobile == mobile && contact.isPreferred;
           }) > 1;
}

} // namespace

Reply contactsUpdate(const Call& call)
{
    constexpr const char* area = "contactUpdateError";
    const std::vector<Contact> contacts = contactsFrom(call.document);
    if (!std::all_of(contacts.begin(), contacts.end(), isWellFormed)) {
        return operationError(400, area, "attributeSyntaxError",
                              "A contact is neither a mobile number nor an e-mail address");
    }
    if (hasTwoPreferred(contacts, true) || hasTwoPreferred(contacts, false))
        return operationErrorWith(409, area, {}, "Only one contact of a kind is preferred");
    call.tables.contacts.replace(call.account.key, contacts);
    return contactsReply(call.account, contacts);
}

} // namespace KelEmulator
