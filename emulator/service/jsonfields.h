// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <cstdint>
#include <string>
#include <vector>

namespace KelEmulator {

/// Ends the reading, and a transaction with nothing done. `problem` names the key.
struct Refusal
{
    std::string problem;
};

/// Takes fields out of an object, so that those left over can be refused. Every function throws a
/// `Refusal` for a value of another type.
class Fields
{
public:
    /// `path` stands before the keys in what is said of them: "accounts[0].".
    explicit Fields(QJsonObject object, std::string path = {});

    bool has(const char* name) const { return mObject.contains(QLatin1String(name)); }
    /// Empty when there is none.
    std::string text(const char* name);
    std::string text(const char* name, bool (*isGood)(const std::string&));
    bool flag(const char* name, bool otherwise);
    std::int64_t whole(const char* name, std::int64_t smallest, std::int64_t largest,
                       std::int64_t otherwise);
    double number(const char* name, double smallest, double largest, double otherwise);
    /// An object in this one; empty when there is none.
    Fields object(const char* name);
    /// An object for each element of an array.
    std::vector<Fields> objects(const char* name);
    std::vector<std::string> texts(const char* name);

    void expectNoMore() const;
    [[noreturn]] void refuse(const char* name, const std::string& why) const;
    /// The same, for a name of which an array's element is meant.
    [[noreturn]] void refuse(const char* name, size_t index, const std::string& why) const;

private:
    QJsonValue take(const char* name);
    QJsonArray takeArray(const char* name);

    QJsonObject mObject;
    std::string mPath;
};

/// A document that is an object. Throws a `Refusal` that says the line of a mistake.
QJsonObject readJsonObject(const std::string& text);

} // namespace KelEmulator
