// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/fault.h"

#include <charconv>

namespace KelEmulator {

namespace {

struct FaultName
{
    std::string_view name;
    Fault::Kind kind;
    std::uint64_t smallest; ///< with `largest` 0 the fault takes no value
    std::uint64_t largest;
};

constexpr std::uint64_t tenMinutes = 10 * 60 * 1000;
constexpr std::uint64_t fourGigabytes = 4ULL * 1024 * 1024 * 1024;

constexpr FaultName faultNames[] = {
    {"none", Fault::Kind::None, 0, 0},
    {"delay", Fault::Kind::Delay, 0, tenMinutes},
    {"hang", Fault::Kind::Hang, 0, 0},
    {"close-before-headers", Fault::Kind::CloseBeforeHeaders, 0, 0},
    {"close-in-headers", Fault::Kind::CloseInHeaders, 0, 0},
    {"close-after-headers", Fault::Kind::CloseAfterHeaders, 0, 0},
    {"cut-body", Fault::Kind::CutBody, 0, 0},
    {"wrong-length", Fault::Kind::LongLength, 0, 0},
    {"short-length", Fault::Kind::ShortLength, 0, 0},
    {"status", Fault::Kind::Status, 200, 999},
    {"not-xml", Fault::Kind::NotXml, 0, 0},
    {"huge-body", Fault::Kind::HugeBody, 1, fourGigabytes},
    {"wrong-host", Fault::Kind::WrongHost, 0, 0},
};

bool readNumber(std::string_view text, std::uint64_t& number)
{
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

std::string knownNames()
{
    std::string names;
    for (const FaultName& row : faultNames) {
        names += names.empty() ? "" : ", ";
        names += row.name;
        names += row.largest ? "=N" : "";
    }
    return names;
}

} // namespace

bool readFault(std::string_view text, std::vector<Fault>& faults, std::string& problem)
{
    constexpr std::uint64_t mostAtOnce = 10000;
    const auto fail = [&](const std::string& why) {
        problem = "fault \"" + std::string(text.substr(0, 64)) + "\": " + why;
        return false;
    };

    std::string_view rest = text;
    std::uint64_t count = 1;
    const size_t star = rest.find('*');
    if (star != std::string_view::npos) {
        if (!readNumber(rest.substr(0, star), count) || count < 1 || count > mostAtOnce)
            return fail("the count before \"*\" goes from 1 to " + std::to_string(mostAtOnce));
        rest.remove_prefix(star + 1);
    }
    const size_t sign = rest.find('=');
    const std::string_view name = rest.substr(0, sign);
    for (const FaultName& row : faultNames) {
        if (row.name != name)
            continue;
        Fault fault;
        fault.kind = row.kind;
        const bool hasValue = sign != std::string_view::npos;
        if (row.largest == 0 && hasValue)
            return fail("takes no value");
        if (row.largest != 0 && (!hasValue || !readNumber(rest.substr(sign + 1), fault.value) ||
                                 fault.value < row.smallest || fault.value > row.largest))
            return fail("needs \"=\" and a number from " + std::to_string(row.smallest) + " to " +
                        std::to_string(row.largest));
        faults.insert(faults.end(), static_cast<size_t>(count), fault);
        return true;
    }
    return fail("unknown; the faults are " + knownNames());
}

std::vector<std::string> knownFaults()
{
    std::vector<std::string> names;
    for (const FaultName& row : faultNames)
        names.push_back(std::string(row.name) + (row.largest ? "=" : ""));
    return names;
}

std::string faultText(const Fault& fault)
{
    for (const FaultName& row : faultNames) {
        if (row.kind == fault.kind)
            return std::string(row.name) + (row.largest ? '=' + std::to_string(fault.value) : "");
    }
    return std::string();
}

void FaultQueue::setConnectionCloser(std::function<void()> onWrongHost)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mOnWrongHost = std::move(onWrongHost);
}

void FaultQueue::closeConnectionsIfDue(std::unique_lock<std::mutex> lock)
{
    if (mFaults.empty() || mFaults.front().kind != Fault::Kind::WrongHost || !mOnWrongHost)
        return;
    const std::function<void()> closer = mOnWrongHost;
    lock.unlock();
    closer();
}

void FaultQueue::append(const std::vector<Fault>& faults)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mFaults.insert(mFaults.end(), faults.begin(), faults.end());
    closeConnectionsIfDue(std::move(lock));
}

void FaultQueue::clear()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mFaults.clear();
}

std::vector<Fault> FaultQueue::list() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return {mFaults.begin(), mFaults.end()};
}

Fault FaultQueue::takeForRequest()
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (mFaults.empty())
        return {};
    const Fault fault = mFaults.front();
    if (fault.kind == Fault::Kind::WrongHost)
        return fault;
    mFaults.pop_front();
    closeConnectionsIfDue(std::move(lock));
    return fault;
}

bool FaultQueue::takeWrongHost()
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (mFaults.empty() || mFaults.front().kind != Fault::Kind::WrongHost)
        return false;
    mFaults.pop_front();
    closeConnectionsIfDue(std::move(lock));
    return true;
}

bool FaultQueue::wrongHostIsNext() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return !mFaults.empty() && mFaults.front().kind == Fault::Kind::WrongHost;
}

} // namespace KelEmulator
