// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/requestlog.h"

#include <algorithm>
#include <cstdio>

namespace KelEmulator {

namespace {

std::string jsonString(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            quoted += '\\';
            quoted += character;
        } else if (byte < 0x20 || byte >= 0x7f) {
            // Byte for byte: what came over the wire need not be UTF-8.
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            quoted += escape;
        } else {
            quoted += character;
        }
    }
    return quoted + '"';
}

} // namespace

void RequestLog::append(RequestRecord record)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    record.number = ++mCount;
    mRecords.push_back(std::move(record));
    if (mRecords.size() > detailed) {
        RequestRecord& older = mRecords[mRecords.size() - 1 - detailed];
        older.trace = {};
        older.reply = {};
    }
    if (mRecords.size() > capacity)
        mRecords.pop_front();
}

void RequestLog::clear()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mRecords.clear();
}

std::string RequestLog::json(std::uint64_t after) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    std::string text = "[";
    for (const RequestRecord& record : mRecords) {
        if (record.number <= after)
            continue;
        text += text.size() > 1 ? ",\n " : "\n ";
        text += "{\"number\": " + std::to_string(record.number);
        text += ", \"verb\": " + jsonString(record.verb);
        text += ", \"target\": " + jsonString(record.target);
        text += ", \"host\": " + jsonString(record.host);
        text += ", \"status\": " + std::to_string(record.status);
        text += ", \"operation\": " + std::to_string(record.operation);
        text += ", \"outcome\": " + jsonString(record.outcome);
        text += ", \"problem\": " + jsonString(record.problem);
        text += ", \"fault\": " + jsonString(record.fault);
        text += ", \"bodyBytes\": " + std::to_string(record.bodyBytes);
        text += ", \"microseconds\": " + std::to_string(record.microseconds) + '}';
    }
    return text + "\n]\n";
}

std::string RequestLog::detailJson(std::uint64_t number) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found =
        std::find_if(mRecords.begin(), mRecords.end(),
                     [number](const RequestRecord& record) { return record.number == number; });
    if (found == mRecords.end() || mRecords.end() - found > std::int64_t{detailed})
        return {};
    std::string text = "{\"number\": " + std::to_string(number) + ", \"steps\": [";
    for (const Trace::Step& step : found->trace.steps) {
        text += &step == &found->trace.steps.front() ? "\n" : ",\n";
        text += " {\"name\": " + jsonString(step.name) +
                ", \"detail\": " + jsonString(step.detail) +
                ", \"good\": " + (step.good ? "true" : "false") + '}';
    }
    return text + "],\n \"document\": " + jsonString(found->trace.document) +
           ",\n \"reply\": " + jsonString(found->reply) + "}\n";
}

} // namespace KelEmulator
