// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/jsonfields.h"

#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace KelEmulator {

namespace {

std::string elementName(const char* name, size_t index)
{
    return std::string(name) + '[' + std::to_string(index) + ']';
}

std::string shortText(double value)
{
    return QByteArray::number(value).toStdString();
}

} // namespace

Fields::Fields(QJsonObject object, std::string path)
    : mObject(std::move(object)), mPath(std::move(path))
{
}

void Fields::refuse(const char* name, const std::string& why) const
{
    throw Refusal{mPath + name + ' ' + why};
}

void Fields::refuse(const char* name, size_t index, const std::string& why) const
{
    throw Refusal{mPath + elementName(name, index) + ' ' + why};
}

QJsonValue Fields::take(const char* name)
{
    return mObject.take(QLatin1String(name));
}

QJsonArray Fields::takeArray(const char* name)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isArray())
        refuse(name, "must be an array");
    return value.toArray();
}

std::string Fields::text(const char* name)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isString())
        refuse(name, "must be a string");
    return value.toString().toStdString();
}

std::string Fields::text(const char* name, bool (*isGood)(const std::string&))
{
    std::string value = text(name);
    if (!value.empty() && !isGood(value))
        refuse(name, "is malformed");
    return value;
}

bool Fields::flag(const char* name, bool otherwise)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isBool())
        refuse(name, "must be true or false");
    return value.toBool(otherwise);
}

double Fields::number(const char* name, double smallest, double largest, double otherwise)
{
    const QJsonValue value = take(name);
    if (value.isUndefined())
        return otherwise;
    const double number = value.toDouble();
    if (!value.isDouble() || !(number >= smallest && number <= largest))
        refuse(name, "must be a number from " + shortText(smallest) + " to " + shortText(largest));
    return number;
}

std::int64_t Fields::whole(const char* name, std::int64_t smallest, std::int64_t largest,
                           std::int64_t otherwise)
{
    const QJsonValue value = take(name);
    if (value.isUndefined())
        return otherwise;
    const double number = value.toDouble();
    if (!value.isDouble() || std::floor(number) != number ||
        !(number >= static_cast<double>(smallest) && number <= static_cast<double>(largest)))
        refuse(name, "must be a whole number from " + std::to_string(smallest) + " to " +
                         std::to_string(largest));
    return static_cast<std::int64_t>(number);
}

Fields Fields::object(const char* name)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isObject())
        refuse(name, "must be an object");
    return Fields(value.toObject(), mPath + name + '.');
}

std::vector<Fields> Fields::objects(const char* name)
{
    std::vector<Fields> list;
    const QJsonArray values = takeArray(name);
    for (const auto& value : values) {
        if (!value.isObject())
            refuse(name, list.size(), "must be an object");
        list.emplace_back(value.toObject(), mPath + elementName(name, list.size()) + '.');
    }
    return list;
}

std::vector<std::string> Fields::texts(const char* name)
{
    std::vector<std::string> list;
    const QJsonArray values = takeArray(name);
    for (const auto& value : values) {
        if (!value.isString())
            refuse(name, list.size(), "must be a string");
        list.push_back(value.toString().toStdString());
    }
    return list;
}

void Fields::expectNoMore() const
{
    if (!mObject.isEmpty())
        throw Refusal{"there is no field " + mPath + mObject.keys().constFirst().toStdString()};
}

QJsonObject readJsonObject(const std::string& text)
{
    QJsonParseError failure{};
    const QByteArray bytes = QByteArray::fromStdString(text);
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &failure);
    if (failure.error != QJsonParseError::NoError) {
        const auto lines = bytes.left(failure.offset).count('\n') + 1;
        throw Refusal{"no JSON in line " + std::to_string(lines) + ": " +
                      failure.errorString().toStdString()};
    }
    if (!document.isObject())
        throw Refusal{"a JSON object is wanted"};
    return document.object();
}

} // namespace KelEmulator
