// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/contacts.h"

namespace KelEmulator {

Contacts::Contacts(Database& database)
    : mList(database.prepare("SELECT is_mobile, value, preferred FROM contacts"
                             " WHERE account = ?1 ORDER BY position")),
      mClear(database.prepare("DELETE FROM contacts WHERE account = ?1")),
      mInsert(
          database.prepare("INSERT INTO contacts (account, position, is_mobile, value, preferred)"
                           " VALUES (?1, ?2, ?3, ?4, ?5)"))
{
}

std::vector<Contact> Contacts::list(std::int64_t account)
{
    std::vector<Contact> contacts;
    Query query(mList);
    query.bind(1, account);
    while (query.next())
        contacts.push_back({query.number(0) != 0, query.text(1), query.number(2) != 0});
    return contacts;
}

void Contacts::replace(std::int64_t account, const std::vector<Contact>& contacts)
{
    Query(mClear).bind(1, account).run();
    std::int64_t position = 0;
    for (const Contact& contact : contacts) {
        Query(mInsert)
            .bind(1, account)
            .bind(2, position++)
            .bind(3, std::int64_t{contact.isMobile})
            .bind(4, contact.value)
            .bind(5, std::int64_t{contact.isPreferred})
            .run();
    }
}

} // namespace KelEmulator
