// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KelEmulator {

/// What a device says of itself; texts that it does not know are empty.
struct Device
{
    std::string serialNumber;
    std::string mcc;
    std::string mnc;
    std::string hashedMsin; ///< base64
    std::string preAccountId;
};

/// What is known of a subscriber before any registration.
struct PreAccount
{
    std::string id;
    std::string hashedMsin; ///< base64 of the number's SHA-1
    std::string userName;
    std::string mobile;
    std::string country;
};

/// The devices of accounts, and the pre-accounts that devices are recognised by.
class Devices
{
public:
    explicit Devices(Database& database);

    void save(std::int64_t account, const Device& device);
    std::vector<Device> list(std::int64_t account);

    /// Takes the place of one with the same identifier or number.
    bool savePreAccount(const PreAccount& preAccount);
    std::optional<PreAccount> findPreAccount(const std::string& hashedMsin);
    std::vector<PreAccount> preAccounts();
    bool hasPreAccount(const std::string& id);
    /// Whether an account was registered with it.
    bool isActivated(const std::string& preAccountId);

private:
    Statement mSave;
    Statement mList;
    Statement mSavePreAccount;
    Statement mFindPreAccount;
    Statement mPreAccounts;
    Statement mHasPreAccount;
    Statement mIsActivated;
};

} // namespace KelEmulator
