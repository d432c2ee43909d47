// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/fault.h"

#include <algorithm>
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

constexpr std::uint64_t mostAtOnce = 10000;
constexpr std::uint64_t lastOperation = 26;
constexpr std::uint64_t tenMinutes = std::uint64_t{10} * 60 * 1000;
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

namespace {

/// Takes "3*" or "30s*" off the text. False when what stands before "*" is neither.
bool takeExtent(std::string_view& text, std::uint64_t& count, std::int64_t& seconds)
{
    const size_t star = text.find('*');
    if (star == std::string_view::npos)
        return true;
    std::string_view number = text.substr(0, star);
    text.remove_prefix(star + 1);
    const bool isTime = !number.empty() && number.back() == 's';
    if (isTime)
        number.remove_suffix(1);
    std::uint64_t value = 0;
    if (!readNumber(number, value) || value < 1 || value > mostAtOnce)
        return false;
    if (isTime)
        seconds = static_cast<std::int64_t>(value);
    else
        count = value;
    return true;
}

/// Takes "@4" off the text.
bool takeOperation(std::string_view& text, int& operation)
{
    const size_t sign = text.find('@');
    if (sign == std::string_view::npos)
        return true;
    std::uint64_t number = 0;
    if (!readNumber(text.substr(sign + 1), number) || number < 1 || number > lastOperation)
        return false;
    operation = static_cast<int>(number);
    text = text.substr(0, sign);
    return true;
}

} // namespace

bool readFault(std::string_view text, std::vector<Fault>& faults, std::string& problem)
{
    const auto fail = [&](const std::string& why) {
        problem = "fault \"" + std::string(text.substr(0, 64)) + "\": " + why;
        return false;
    };

    std::string_view rest = text;
    Fault fault;
    std::uint64_t count = 1;
    if (!takeExtent(rest, count, fault.seconds))
        return fail("the count before \"*\", or the seconds as in \"30s*\", go from 1 to " +
                    std::to_string(mostAtOnce));
    if (!takeOperation(rest, fault.operation))
        return fail("the operation behind \"@\" is a number from 1 to " +
                    std::to_string(lastOperation));
    const size_t sign = rest.find('=');
    const std::string_view name = rest.substr(0, sign);
    for (const FaultName& row : faultNames) {
        if (row.name != name)
            continue;
        fault.kind = row.kind;
        const bool hasValue = sign != std::string_view::npos;
        if (row.largest == 0 && hasValue)
            return fail("takes no value");
        if (row.largest != 0 && (!hasValue || !readNumber(rest.substr(sign + 1), fault.value) ||
                                 fault.value < row.smallest || fault.value > row.largest))
            return fail("needs \"=\" and a number from " + std::to_string(row.smallest) + " to " +
                        std::to_string(row.largest));
        if (fault.kind == Fault::Kind::WrongHost && fault.operation != 0)
            return fail("is for a connection, ahead of any operation");
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
        if (row.kind != fault.kind)
            continue;
        return (fault.seconds ? std::to_string(fault.seconds) + "s*" : std::string()) +
               std::string(row.name) + (row.largest ? '=' + std::to_string(fault.value) : "") +
               (fault.operation ? '@' + std::to_string(fault.operation) : "");
    }
    return {};
}

void FaultQueue::setConnectionCloser(std::function<void()> onWrongHost)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mOnWrongHost = std::move(onWrongHost);
}

void FaultQueue::forgetThoseOver()
{
    const std::int64_t now = mClock.now();
    mOrders.erase(std::remove_if(mOrders.begin(), mOrders.end(),
                                 [now](const Order& order) {
                                     return order.fault.seconds != 0 && order.until <= now;
                                 }),
                  mOrders.end());
}

FaultQueue::Orders::iterator FaultQueue::firstFor(int operation)
{
    forgetThoseOver();
    return std::find_if(mOrders.begin(), mOrders.end(), [operation](const Order& order) {
        return order.fault.operation == 0 || order.fault.operation == operation;
    });
}

bool FaultQueue::isWrongHostNext()
{
    const auto next = firstFor(0);
    return next != mOrders.end() && next->fault.kind == Fault::Kind::WrongHost;
}

Fault FaultQueue::take(Orders::iterator order)
{
    const Fault fault = order->fault;
    if (fault.seconds == 0)
        mOrders.erase(order);
    return fault;
}

void FaultQueue::closeConnectionsIfDue(std::unique_lock<std::mutex> lock)
{
    if (!isWrongHostNext() || !mOnWrongHost)
        return;
    const auto close = mOnWrongHost;
    lock.unlock();
    close();
}

void FaultQueue::append(const std::vector<Fault>& faults)
{
    std::unique_lock<std::mutex> lock(mMutex);
    const std::int64_t now = mClock.now();
    for (const Fault& fault : faults)
        mOrders.push_back({fault, now + fault.seconds});
    closeConnectionsIfDue(std::move(lock));
}

void FaultQueue::clear()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mOrders.clear();
}

std::vector<Fault> FaultQueue::list() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    const std::int64_t now = mClock.now();
    std::vector<Fault> faults;
    for (const Order& order : mOrders) {
        Fault fault = order.fault;
        if (fault.seconds != 0)
            fault.seconds = order.until - now;
        if (order.fault.seconds == 0 || fault.seconds > 0)
            faults.push_back(fault);
    }
    return faults;
}

bool FaultQueue::asksForOperation() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return std::any_of(mOrders.begin(), mOrders.end(),
                       [](const Order& order) { return order.fault.operation != 0; });
}

Fault FaultQueue::takeForRequest(int operation)
{
    std::unique_lock<std::mutex> lock(mMutex);
    const auto next = firstFor(operation);
    if (next == mOrders.end())
        return {};
    if (next->fault.kind == Fault::Kind::WrongHost)
        return next->fault;
    const Fault fault = take(next);
    closeConnectionsIfDue(std::move(lock));
    return fault;
}

bool FaultQueue::takeWrongHost()
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (!isWrongHostNext())
        return false;
    take(firstFor(0));
    closeConnectionsIfDue(std::move(lock));
    return true;
}

bool FaultQueue::wrongHostIsNext()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return isWrongHostNext();
}

} // namespace KelEmulator
