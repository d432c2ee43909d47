// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KelEmulator {

/// An account as the service keeps it. Empty texts stand for what is not known.
struct Account
{
    std::int64_t key = 0;
    std::string name;
    /// In clear: clients send a digest over it that nothing else can check. This is a stand-in for
    /// tests; no real service keeps passwords so.
    std::string password;
    std::string email;
    std::string mobile;
    bool emailVerified = false;
    bool mobileVerified = false;
    std::string questionId;
    std::string answer;
    std::string language;
    std::string country;
    std::string dateOfBirth; ///< "yyyy-MM-dd"
    std::string firstName;
    std::string lastName;
    std::string gender;
    bool marketingByEmail = false;
    bool marketingByMobile = false;
    bool hasAcceptedTos = true;
    bool hasAcceptedServiceTos = true;
    bool hasAcceptedPrivacyPolicy = true;
    std::int64_t failures = 0; ///< wrong passwords and answers in a row

    static constexpr std::int64_t failuresToLock = 10;
    bool isLocked() const { return failures >= failuresToLock; }
    /// The number by which clients address it.
    std::string id() const { return std::to_string(key); }
};

/// The accounts of the emulated service. Names and addresses differ in more than ASCII letter case.
class Accounts
{
public:
    enum class NameState { Free, Taken, Reserved };

    static constexpr size_t longestName = 64;
    /// Of accounts made by name alone.
    static constexpr const char* givenPassword = "secret";

    explicit Accounts(Database& database);

    /// One to `longestName` ASCII letters, digits or ". _ - @ +".
    static bool isWellFormed(const std::string& name);

    /// Makes an account with `givenPassword` and the address NAME@example.org, unless one has the
    /// name already. False for a name not well-formed.
    bool add(const std::string& name);
    /// Keeps a name from being given to anybody.
    bool reserve(const std::string& name);

    /// Makes an account; the key is set. False when it cannot be written.
    bool insert(Account& account);
    bool save(const Account& account);

    std::optional<Account> find(std::int64_t key);
    /// The account of a user name, an e-mail address or a mobile number.
    std::optional<Account> findUser(const std::string& user);
    std::optional<Account> findEmail(const std::string& email);
    bool hasEmail(const std::string& email) { return findEmail(email).has_value(); }
    std::vector<Account> list();
    std::vector<std::string> reservedNames();

    NameState state(const std::string& name);
    /// Up to `count` names that are free now and resemble `name`.
    std::vector<std::string> suggestions(const std::string& name, size_t count);

private:
    bool hasName(const std::string& name);

    Database& mDatabase;
    Statement mInsert;
    Statement mSave;
    Statement mFind;
    Statement mFindUser;
    Statement mFindEmail;
    Statement mList;
    Statement mReserve;
    Statement mReserved;
    Statement mState;
};

} // namespace KelEmulator
