// SPDX-License-Identifier: LGPL-2.1-or-later
// A serialised list of contacts, as another process may hand it over.
#include "fuzztarget.h"

#include "rest/records/contactsinfo.h"

namespace KelFuzz::Contacts {

namespace {

using namespace KelRestHandler;

void run(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    const ContactsInfo contacts(bytes);
    require(contacts.mobileContacts.size() + contacts.emailContacts.size() <= bytes.size() / 4);
    const QByteArray written = contacts.serialize();
    require(ContactsInfo(written).serialize() == written);
}

} // namespace

} // namespace KelFuzz::Contacts

KEL_FUZZ_TARGET(contacts, KelFuzz::Contacts::run)
