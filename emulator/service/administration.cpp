// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/administration.h"

#include "emulator/service/securityquestionlist.h"
#include "emulator/service/values.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <sstream>

namespace KelEmulator {

namespace {

constexpr const char* malformedName = "a name has 1 to 64 letters, digits or . _ - @ +";

/// Ends a transaction with nothing done.
struct Refusal
{
    std::string problem;
};

QString qtText(const std::string& text)
{
    return QString::fromStdString(text);
}

/// The objects of a body: one, or an array of them.
std::vector<QJsonObject> objectsOf(const std::string& body)
{
    QJsonParseError failure{};
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromStdString(body), &failure);
    if (document.isObject())
        return {document.object()};
    std::vector<QJsonObject> objects;
    for (const auto value : document.array()) {
        if (!value.isObject())
            throw Refusal{"send JSON objects"};
        objects.push_back(value.toObject());
    }
    if (objects.empty()) {
        throw Refusal{failure.error == QJsonParseError::NoError
                          ? "send a JSON object or an array of them"
                          : "no JSON: " + failure.errorString().toStdString()};
    }
    return objects;
}

/// Takes fields out of an object, so that those left over can be refused.
class Fields
{
public:
    explicit Fields(QJsonObject object) : mObject(std::move(object)) {}

    std::string text(const char* name)
    {
        const QJsonValue value = mObject.take(QLatin1String(name));
        if (!value.isUndefined() && !value.isString())
            throw Refusal{std::string(name) + " must be a string"};
        return value.toString().toStdString();
    }
    std::string text(const char* name, bool (*isGood)(const std::string&))
    {
        std::string value = text(name);
        if (!value.empty() && !isGood(value))
            throw Refusal{std::string(name) + " is malformed"};
        return value;
    }
    bool flag(const char* name, bool otherwise)
    {
        const QJsonValue value = mObject.take(QLatin1String(name));
        if (!value.isUndefined() && !value.isBool())
            throw Refusal{std::string(name) + " must be true or false"};
        return value.toBool(otherwise);
    }
    void expectNoMore() const
    {
        if (!mObject.isEmpty())
            throw Refusal{"there is no field " + mObject.keys().constFirst().toStdString()};
    }

private:
    QJsonObject mObject;
};

bool isQuestion(const std::string& id)
{
    return !securityQuestionText(id, std::string()).empty();
}

bool isGender(const std::string& text)
{
    return text == "male" || text == "female" || text == "unknown";
}

Account accountFrom(const QJsonObject& object)
{
    Fields fields(object);
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

/// By the number itself or by its hash.
PreAccount preAccountFrom(const QJsonObject& object)
{
    Fields fields(object);
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

/// Runs work that may refuse; then nothing of it stays.
template <typename Work>
bool unlessRefused(Store& store, std::string& problem, Work work)
{
    try {
        store.with(work);
        return true;
    } catch (const Refusal& refusal) {
        problem = refusal.problem;
        return false;
    }
}

std::string jsonOf(const QJsonArray& array)
{
    return QJsonDocument(array).toJson().toStdString();
}

} // namespace

std::vector<std::string> linesOf(const std::string& body)
{
    std::vector<std::string> lines;
    std::istringstream stream(body);
    std::string line;
    while (std::getline(stream, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty())
            lines.push_back(line);
    }
    return lines;
}

bool addAccounts(Store& store, const std::string& body, std::string& problem)
{
    const size_t start = body.find_first_not_of(" \t\r\n");
    if (start != std::string::npos && (body[start] == '{' || body[start] == '[')) {
        return unlessRefused(store, problem, [&](Tables& tables) {
            for (const QJsonObject& object : objectsOf(body))
                addAccount(tables.accounts, accountFrom(object));
        });
    }
    const std::vector<std::string> names = linesOf(body);
    return unlessRefused(store, problem, [&](Tables& tables) {
        if (names.empty())
            throw Refusal{"send names, one a line, or JSON"};
        for (const std::string& name : names) {
            if (!tables.accounts.add(name))
                throw Refusal{std::string(malformedName) + "; send one a line, or JSON"};
        }
    });
}

bool addPreAccounts(Store& store, const std::string& body, std::string& problem)
{
    return unlessRefused(store, problem, [&](Tables& tables) {
        for (const QJsonObject& object : objectsOf(body))
            tables.devices.savePreAccount(preAccountFrom(object));
    });
}

std::optional<PreAccount> readPreAccount(const std::string& text, std::string& problem)
{
    static constexpr const char* names[] = {"msin", "userName", "mobile", "country"};
    std::istringstream stream(text);
    std::string value;
    QJsonObject object;
    for (const char* name : names) {
        if (std::getline(stream, value, ','))
            object.insert(QLatin1String(name), qtText(value));
    }
    try {
        if (std::getline(stream, value))
            throw Refusal{"there is more than MSIN,USERNAME,MOBILE,COUNTRY"};
        return preAccountFrom(object);
    } catch (const Refusal& refusal) {
        problem = refusal.problem;
        return std::nullopt;
    }
}

std::string accountsJson(Store& store)
{
    QJsonArray array;
    for (const Account& account :
         store.with([](Tables& tables) { return tables.accounts.list(); })) {
        array.append(QJsonObject{
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
        });
    }
    return jsonOf(array);
}

std::string inboxJson(Store& store, const std::string& name)
{
    QJsonArray array;
    const auto messages = store.with([&](Tables& tables) { return tables.recovery.inbox(name); });
    for (const Message& message : messages) {
        array.append(QJsonObject{
            {QStringLiteral("user"), qtText(message.user)},
            {QStringLiteral("recipient"), qtText(message.recipient)},
            {QStringLiteral("sent"), qtText(timeText(message.sent))},
            {QStringLiteral("token"), qtText(message.token)},
            {QStringLiteral("text"), qtText(message.text)},
        });
    }
    return jsonOf(array);
}

} // namespace KelEmulator
