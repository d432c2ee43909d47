// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/administration.h"

#include "emulator/service/accountjson.h"
#include "emulator/service/fault.h"
#include "emulator/service/jsonfields.h"
#include "emulator/service/operation.h"
#include "emulator/service/values.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace KelEmulator {

namespace {

constexpr const char* noSuchAccount = "there is no such account";
constexpr const char* malformedName = "a name has 1 to 64 letters, digits or . _ - @ +";

QString qtText(const std::string& text)
{
    return QString::fromStdString(text);
}

/// The objects of a body: one, or an array of them.
std::vector<Fields> objectsOf(const std::string& body)
{
    QJsonParseError failure{};
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromStdString(body), &failure);
    if (document.isObject())
        return {Fields(document.object())};
    std::vector<Fields> objects;
    const QJsonArray values = document.array();
    for (const auto& value : values) {
        if (!value.isObject())
            throw Refusal{"send JSON objects"};
        objects.emplace_back(value.toObject());
    }
    if (objects.empty()) {
        throw Refusal{failure.error == QJsonParseError::NoError
                          ? "send a JSON object or an array of them"
                          : "no JSON: " + failure.errorString().toStdString()};
    }
    return objects;
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
            for (Fields& fields : objectsOf(body))
                addAccount(tables.accounts, accountFrom(fields));
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
        for (Fields& fields : objectsOf(body))
            tables.devices.savePreAccount(preAccountFrom(fields));
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
        Fields fields(object);
        return preAccountFrom(fields);
    } catch (const Refusal& refusal) {
        problem = refusal.problem;
        return std::nullopt;
    }
}

std::string accountsJson(Store& store)
{
    QJsonArray array;
    for (const Account& account : store.with([](Tables& tables) { return tables.accounts.list(); }))
        array.append(accountJson(account));
    return jsonOf(array);
}

std::optional<Account> findAccount(Tables& tables, const std::string& user)
{
    bool isNumber = false;
    const qlonglong key = QByteArray::fromStdString(user).toLongLong(&isNumber);
    std::optional<Account> account;
    if (isNumber)
        account = tables.accounts.find(key);
    return account ? account : tables.accounts.findUser(user);
}

bool changeAccount(Store& store, const std::string& user, const std::string& body,
                   std::string& problem)
{
    return unlessRefused(store, problem, [&](Tables& tables) {
        const std::optional<Account> before = findAccount(tables, user);
        if (!before)
            throw Refusal{noSuchAccount};
        QJsonObject object = wholeAccountJson(*before);
        const QJsonObject changes = readJsonObject(body);
        for (auto change = changes.begin(); change != changes.end(); ++change)
            object.insert(change.key(), change.value());
        Fields fields(object);
        Account after = accountFrom(fields);
        after.key = before->key;
        after.marketingByEmail = before->marketingByEmail;
        after.marketingByMobile = before->marketingByMobile;
        after.hasAcceptedTos = before->hasAcceptedTos;
        after.hasAcceptedServiceTos = before->hasAcceptedServiceTos;
        after.hasAcceptedPrivacyPolicy = before->hasAcceptedPrivacyPolicy;
        if (!after.isLocked() && !before->isLocked())
            after.failures = before->failures;
        const std::optional<Account> sameEmail = tables.accounts.findEmail(after.email);
        if (!after.email.empty() && sameEmail && sameEmail->key != after.key)
            throw Refusal{"an account has this email already"};
        if (!tables.accounts.save(after))
            throw Refusal{"an account has this userName already"};
    });
}

bool deleteAccount(Store& store, const std::string& user, std::string& problem)
{
    return unlessRefused(store, problem, [&](Tables& tables) {
        const std::optional<Account> account = findAccount(tables, user);
        if (!account)
            throw Refusal{noSuchAccount};
        tables.removeAccount(account->key);
    });
}

std::string accountText(Store& store, const std::string& user)
{
    const std::optional<Account> account =
        store.with([&](Tables& tables) { return findAccount(tables, user); });
    return account ? QJsonDocument(accountJson(*account)).toJson().toStdString() : std::string();
}

std::string captchasJson(Store& store, std::int64_t now)
{
    QJsonArray array;
    for (const Captcha& captcha :
         store.with([now](Tables& tables) { return tables.captchas.list(now); })) {
        array.append(QJsonObject{{QStringLiteral("id"), qtText(captcha.id)},
                                 {QStringLiteral("text"), qtText(captcha.text)}});
    }
    return jsonOf(array);
}

std::string operationsJson()
{
    QJsonArray array;
    for (const Operation& operation : allOperations()) {
        array.append(QJsonObject{{QStringLiteral("number"), operation.number},
                                 {QStringLiteral("verb"), QLatin1String(operation.verb)},
                                 {QStringLiteral("path"), QLatin1String(operation.path)}});
    }
    return jsonOf(array);
}

std::string knownFaultsJson()
{
    QJsonArray array;
    for (const std::string& name : knownFaults())
        array.append(qtText(name));
    return jsonOf(array);
}

bool setClock(Clock& clock, const std::string& body, std::string& problem)
{
    try {
        Fields fields(readJsonObject(body));
        const bool moves = fields.has("skew");
        const bool accelerates = fields.has("speed");
        const std::int64_t skew = fields.whole("skew", -Clock::largestSkew, Clock::largestSkew, 0);
        const double speed = fields.number("speed", Clock::slowest, Clock::fastest, 1);
        const std::string time = fields.text("time");
        fields.expectNoMore();
        const QDateTime wanted = QDateTime::fromString(qtText(time), Qt::ISODate);
        const qint64 ahead = QDateTime::currentDateTimeUtc().secsTo(wanted);
        if (!time.empty() && (moves || !wanted.isValid() || std::abs(ahead) > Clock::largestSkew))
            throw Refusal{"time must be like 2030-12-31T23:59:59Z, within ten years, without skew"};
        if (moves || !time.empty())
            clock.setSkew(moves ? skew : ahead);
        if (accelerates)
            clock.setSpeed(speed);
        return true;
    } catch (const Refusal& refusal) {
        problem = refusal.problem;
        return false;
    }
}

std::string clockJson(const Clock& clock)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("time"), qtText(timeText(clock.now()))},
                                     {QStringLiteral("skew"), qint64(clock.skew())},
                                     {QStringLiteral("speed"), clock.speed()}})
        .toJson()
        .toStdString();
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
