// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/devices.h"

namespace KelEmulator {

Devices::Devices(Database& database)
    : mSave(database.prepare("INSERT OR REPLACE INTO devices"
                             " (account, serial_number, mcc, mnc, hashed_msin, pre_account)"
                             " VALUES (?1, ?2, ?3, ?4, ?5, ?6)")),
      mList(database.prepare("SELECT serial_number, mcc, mnc, hashed_msin, pre_account"
                             " FROM devices WHERE account = ?1")),
      mSavePreAccount(database.prepare("INSERT OR REPLACE INTO pre_accounts"
                                       " (id, hashed_msin, name, mobile, country)"
                                       " VALUES (?1, ?2, ?3, ?4, ?5)")),
      mFindPreAccount(database.prepare("SELECT id, hashed_msin, name, mobile, country"
                                       " FROM pre_accounts WHERE hashed_msin = ?1")),
      mPreAccounts(database.prepare("SELECT id, hashed_msin, name, mobile, country"
                                    " FROM pre_accounts ORDER BY id LIMIT 1000")),
      mHasPreAccount(database.prepare("SELECT 1 FROM pre_accounts WHERE id = ?1")),
      mIsActivated(database.prepare("SELECT 1 FROM devices WHERE pre_account = ?1"))
{
}

void Devices::save(std::int64_t account, const Device& device)
{
    Query(mSave)
        .bind(1, account)
        .bind(2, device.serialNumber)
        .bind(3, device.mcc)
        .bind(4, device.mnc)
        .bind(5, device.hashedMsin)
        .bind(6, device.preAccountId)
        .run();
}

std::vector<Device> Devices::list(std::int64_t account)
{
    std::vector<Device> devices;
    Query query(mList);
    query.bind(1, account);
    while (query.next()) {
        devices.push_back(
            {query.text(0), query.text(1), query.text(2), query.text(3), query.text(4)});
    }
    return devices;
}

bool Devices::savePreAccount(const PreAccount& preAccount)
{
    return Query(mSavePreAccount)
        .bind(1, preAccount.id)
        .bind(2, preAccount.hashedMsin)
        .bind(3, preAccount.userName)
        .bind(4, preAccount.mobile)
        .bind(5, preAccount.country)
        .run();
}

std::optional<PreAccount> Devices::findPreAccount(const std::string& hashedMsin)
{
    Query query(mFindPreAccount);
    if (!query.bind(1, hashedMsin).next())
        return std::nullopt;
    return PreAccount{query.text(0), query.text(1), query.text(2), query.text(3), query.text(4)};
}

std::vector<PreAccount> Devices::preAccounts()
{
    std::vector<PreAccount> preAccounts;
    Query query(mPreAccounts);
    while (query.next()) {
        preAccounts.push_back(
            {query.text(0), query.text(1), query.text(2), query.text(3), query.text(4)});
    }
    return preAccounts;
}

bool Devices::isActivated(const std::string& preAccountId)
{
    return Query(mIsActivated).bind(1, preAccountId).next();
}

bool Devices::hasPreAccount(const std::string& id)
{
    return Query(mHasPreAccount).bind(1, id).next();
}

} // namespace KelEmulator
