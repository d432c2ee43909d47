// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/accounts.h"

#include "emulator/service/values.h"

#include <algorithm>

namespace KelEmulator {

namespace {

// In the order in which `bind` writes and `accountOf` reads them.
#define KEL_ACCOUNT_COLUMNS                                                                        \
    "name, password, email, mobile, email_verified, mobile_verified, question, answer, language, " \
    "country, birthday, first_name, last_name, gender, marketing_email, marketing_mobile, tos, "   \
    "service_tos, privacy_policy, failures"

constexpr const char* insertText =
    "INSERT INTO accounts (" KEL_ACCOUNT_COLUMNS ") VALUES (NULLIF(?1, ''), ?2, ?3, ?4, ?5, ?6, ?7,"
    " ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19, ?20)";
constexpr const char* saveText =
    "UPDATE accounts SET (" KEL_ACCOUNT_COLUMNS ") = (NULLIF(?1, ''), ?2, ?3, ?4, ?5, ?6, ?7,"
    " ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19, ?20) WHERE id = ?21";
constexpr int keyParameter = 21;
constexpr const char* findText = "SELECT id, " KEL_ACCOUNT_COLUMNS " FROM accounts WHERE id = ?1";
// A name counts before an address, an address before a number.
constexpr const char* findUserText = "SELECT id, " KEL_ACCOUNT_COLUMNS " FROM accounts"
                                     " WHERE name = ?1 OR email = ?1 OR mobile = ?1"
                                     " ORDER BY name = ?1 DESC, email = ?1 DESC, id LIMIT 1";
constexpr const char* findEmailText =
    "SELECT id, " KEL_ACCOUNT_COLUMNS " FROM accounts WHERE email = ?1";
constexpr const char* listText =
    "SELECT id, " KEL_ACCOUNT_COLUMNS " FROM accounts ORDER BY id LIMIT 1000";

#undef KEL_ACCOUNT_COLUMNS

Account accountOf(const Query& row)
{
    Account account;
    account.key = row.number(0);
    account.name = row.text(1);
    account.password = row.text(2);
    account.email = row.text(3);
    account.mobile = row.text(4);
    account.emailVerified = row.number(5) != 0;
    account.mobileVerified = row.number(6) != 0;
    account.questionId = row.text(7);
    account.answer = row.text(8);
    account.language = row.text(9);
    account.country = row.text(10);
    account.dateOfBirth = row.text(11);
    account.firstName = row.text(12);
    account.lastName = row.text(13);
    account.gender = row.text(14);
    account.marketingByEmail = row.number(15) != 0;
    account.marketingByMobile = row.number(16) != 0;
    account.hasAcceptedTos = row.number(17) != 0;
    account.hasAcceptedServiceTos = row.number(18) != 0;
    account.hasAcceptedPrivacyPolicy = row.number(19) != 0;
    account.failures = row.number(20);
    return account;
}

void bind(Query& query, const Account& account)
{
    const std::string* const texts[] = {&account.name, &account.password, &account.email,
                                        &account.mobile};
    int index = 0;
    for (const std::string* text : texts)
        query.bind(++index, *text);
    query.bind(++index, std::int64_t{account.emailVerified});
    query.bind(++index, std::int64_t{account.mobileVerified});
    const std::string* const more[] = {
        &account.questionId,  &account.answer,    &account.language, &account.country,
        &account.dateOfBirth, &account.firstName, &account.lastName, &account.gender};
    for (const std::string* text : more)
        query.bind(++index, *text);
    for (const bool flag :
         {account.marketingByEmail, account.marketingByMobile, account.hasAcceptedTos,
          account.hasAcceptedServiceTos, account.hasAcceptedPrivacyPolicy})
        query.bind(++index, std::int64_t{flag});
    query.bind(++index, account.failures);
}

std::optional<Account> first(Query& query)
{
    return query.next() ? std::optional<Account>(accountOf(query)) : std::nullopt;
}

/// What suggestions are built on.
std::string stemOf(const std::string& name)
{
    constexpr size_t roomForDigits = 8;
    std::string stem =
        name.substr(0, name.find('@')).substr(0, Accounts::longestName - roomForDigits);
    // Clients take every reply with "error" in its text for an error reply, so no name offered may
    // contain it.
    const bool misread =
        stem.find("error") != std::string::npos || stem.find("Error") != std::string::npos;
    return stem.empty() || misread ? "user" : stem;
}

} // namespace

Accounts::Accounts(Database& database)
    : mDatabase(database), mInsert(database.prepare(insertText)), mSave(database.prepare(saveText)),
      mFind(database.prepare(findText)), mFindUser(database.prepare(findUserText)),
      mFindEmail(database.prepare(findEmailText)), mList(database.prepare(listText)),
      mReserve(database.prepare("INSERT OR IGNORE INTO reserved_names (name) VALUES (?1)")),
      mReserved(database.prepare("SELECT name FROM reserved_names ORDER BY name LIMIT 1000")),
      mState(database.prepare("SELECT EXISTS (SELECT 1 FROM accounts WHERE name = ?1),"
                              " EXISTS (SELECT 1 FROM reserved_names WHERE name = ?1)"))
{
}

bool Accounts::isWellFormed(const std::string& name)
{
    return !name.empty() && name.size() <= longestName &&
           std::all_of(name.begin(), name.end(), [](unsigned char byte) {
               return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
                      (byte >= '0' && byte <= '9') ||
                      std::string_view("._-@+").find(static_cast<char>(byte)) !=
                          std::string_view::npos;
           });
}

bool Accounts::add(const std::string& name)
{
    if (!isWellFormed(name))
        return false;
    Account account;
    account.name = name;
    account.password = givenPassword;
    const std::string email = name + "@example.org";
    if (isEmailAddress(email) && !hasEmail(email)) {
        account.email = email;
        account.emailVerified = true;
    }
    return hasName(name) || insert(account);
}

bool Accounts::reserve(const std::string& name)
{
    return isWellFormed(name) && Query(mReserve).bind(1, name).run();
}

bool Accounts::insert(Account& account)
{
    Query query(mInsert);
    bind(query, account);
    if (!query.run())
        return false;
    account.key = mDatabase.lastKey();
    return true;
}

bool Accounts::save(const Account& account)
{
    Query query(mSave);
    bind(query, account);
    return query.bind(keyParameter, account.key).run();
}

std::optional<Account> Accounts::find(std::int64_t key)
{
    Query query(mFind);
    return first(query.bind(1, key));
}

std::optional<Account> Accounts::findUser(const std::string& user)
{
    if (user.empty())
        return std::nullopt;
    Query query(mFindUser);
    return first(query.bind(1, user));
}

bool Accounts::hasName(const std::string& name)
{
    Query query(mState);
    return query.bind(1, name).next() && query.number(0) != 0;
}

std::optional<Account> Accounts::findEmail(const std::string& email)
{
    if (email.empty())
        return std::nullopt;
    Query query(mFindEmail);
    return first(query.bind(1, email));
}

std::vector<Account> Accounts::list()
{
    std::vector<Account> accounts;
    Query query(mList);
    while (query.next())
        accounts.push_back(accountOf(query));
    return accounts;
}

std::vector<std::string> Accounts::reservedNames()
{
    std::vector<std::string> names;
    Query query(mReserved);
    while (query.next())
        names.push_back(query.text(0));
    return names;
}

Accounts::NameState Accounts::state(const std::string& name)
{
    Query query(mState);
    query.bind(1, name);
    if (!query.next())
        return NameState::Free;
    if (query.number(1) != 0)
        return NameState::Reserved;
    return query.number(0) != 0 ? NameState::Taken : NameState::Free;
}

std::vector<std::string> Accounts::suggestions(const std::string& name, size_t count)
{
    constexpr int attempts = 10000;
    const std::string stem = stemOf(name);
    std::vector<std::string> names;
    for (int number = 1; number <= attempts && names.size() < count; ++number) {
        std::string candidate = stem + std::to_string(number);
        if (state(candidate) == NameState::Free)
            names.push_back(std::move(candidate));
    }
    return names;
}

} // namespace KelEmulator
