// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <cstdint>
#include <string>
#include <vector>

namespace KelEmulator {

struct Contact
{
    bool isMobile = false;
    std::string value;
    bool isPreferred = false;
};

/// The contacts of each account.
class Contacts
{
public:
    explicit Contacts(Database& database);

    std::vector<Contact> list(std::int64_t account);
    void replace(std::int64_t account, const std::vector<Contact>& contacts);

private:
    Statement mList;
    Statement mClear;
    Statement mInsert;
};

} // namespace KelEmulator
