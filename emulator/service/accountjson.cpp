// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/accountjson.h"

#include "emulator/service/securityquestionlist.h"
#include "emulator/service/values.h"

namespace KelEmulator {

namespace {

QString qtText(const std::string& text)
{
    return QString::fromStdString(text);
}

bool isQuestion(const std::string& id)
{
    return !securityQuestionText(id, std::string()).empty();
}

bool isGender(const std::string& text)
{
    return text == "male" || text == "female" || text == "unknown";
}

} // namespace

Account accountFrom(Fields& fields)
{
    Account account;
    account.name = fields.text("userName", Accounts::isWellFormed);
    account.password = fields.text("password", isPassword);
    if (account.password.empty())
        account.password = Accounts::givenPassword;
    account.email = fields.text("email", isEmailAddress);
    account.mobile = fields.text("mobile", isMobileNumber);
    account.emailVerified = fields.flag("emailVerified", true);
    account.mobileVerified = fields.flag("mobileVerified", true);
    account.questionId = fields.text("securityQuestion", isQuestion);
    account.answer = fields.text("securityAnswer");
    account.language = fields.text("language", isLanguage);
    account.country = fields.text("country", isCountry);
    account.dateOfBirth = fields.text("dateOfBirth", isDate);
    account.firstName = fields.text("firstName");
    account.lastName = fields.text("lastName");
    account.gender = fields.text("gender", isGender);
    if (fields.flag("locked", false))
        account.failures = Account::failuresToLock;
    fields.expectNoMore();
    if (account.name.empty() && account.email.empty())
        throw Refusal{"an account needs a userName or an email"};
    return account;
}

void addAccount(Accounts& accounts, Account account)
{
    if (accounts.hasEmail(account.email))
        throw Refusal{"an account has this email already"};
    if (!accounts.insert(account))
        throw Refusal{"an account has this userName already"};
}

PreAccount preAccountFrom(Fields& fields)
{
    PreAccount preAccount;
    const std::string msin = fields.text("msin");
    const auto hash = [](const std::string& text) { return isBase64(text); };
    preAccount.hashedMsin = fields.text("hashedMsin", hash);
    if (msin.empty() == preAccount.hashedMsin.empty())
        throw Refusal{"a pre-account needs either msin or hashedMsin"};
    if (!msin.empty())
        preAccount.hashedMsin = base64Encoded(sha1(msin));
    preAccount.id = fields.text("preAccountId");
    if (preAccount.id.empty())
        preAccount.id = randomHex(8);
    preAccount.userName = fields.text("userName", Accounts::isWellFormed);
    preAccount.mobile = fields.text("mobile", isMobileNumber);
    preAccount.country = fields.text("country", isCountry);
    fields.expectNoMore();
    return preAccount;
}

QJsonObject accountJson(const Account& account)
{
    return {
        {QStringLiteral("accountId"), qtText(account.id())},
        {QStringLiteral("userName"), qtText(account.name)},
        {QStringLiteral("email"), qtText(account.email)},
        {QStringLiteral("emailVerified"), account.emailVerified},
        {QStringLiteral("mobile"), qtText(account.mobile)},
        {QStringLiteral("mobileVerified"), account.mobileVerified},
        {QStringLiteral("securityQuestion"), qtText(account.questionId)},
        {QStringLiteral("language"), qtText(account.language)},
        {QStringLiteral("country"), qtText(account.country)},
        {QStringLiteral("dateOfBirth"), qtText(account.dateOfBirth)},
        {QStringLiteral("firstName"), qtText(account.firstName)},
        {QStringLiteral("lastName"), qtText(account.lastName)},
        {QStringLiteral("gender"), qtText(account.gender)},
        {QStringLiteral("marketingByEmail"), account.marketingByEmail},
        {QStringLiteral("marketingByMobile"), account.marketingByMobile},
        {QStringLiteral("locked"), account.isLocked()},
    };
}

QJsonObject wholeAccountJson(const Account& account)
{
    QJsonObject object = accountJson(account);
    // The service gives numbers itself, and consent is asked for.
    for (const char* name : {"accountId", "marketingByEmail", "marketingByMobile"})
        object.remove(QLatin1String(name));
    object.insert(QStringLiteral("password"), qtText(account.password));
    object.insert(QStringLiteral("securityAnswer"), qtText(account.answer));
    const QStringList names = object.keys();
    for (const QString& name : names) {
        if (object.value(name) == QJsonValue(QString()))
            object.remove(name);
    }
    return object;
}

QJsonObject preAccountJson(const PreAccount& preAccount)
{
    QJsonObject object{{QStringLiteral("hashedMsin"), qtText(preAccount.hashedMsin)},
                       {QStringLiteral("preAccountId"), qtText(preAccount.id)}};
    const auto add = [&object](const char* name, const std::string& text) {
        if (!text.empty())
            object.insert(QLatin1String(name), qtText(text));
    };
    add("userName", preAccount.userName);
    add("mobile", preAccount.mobile);
    add("country", preAccount.country);
    return object;
}

} // namespace KelEmulator
