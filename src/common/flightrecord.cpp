// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/flightrecord.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace KelAccount::FlightRecord {

namespace {

/// One place of the ring. All of it is atomic, since somebody may read what is being overwritten;
/// the number, which is `beingWritten` meanwhile and another one afterwards, tells that. Whoever
/// has read a new word has seen the number change before: the words are released and acquired for
/// that.
struct Place
{
    std::atomic<std::uint64_t> number; ///< of the event, from 1 on; 0 before the first
    std::atomic<std::int64_t> nanoseconds;
    std::atomic<std::uint64_t> call;
    std::atomic<const char*> name;
    std::atomic<std::uint64_t> requestAndStatus;
    std::atomic<std::uint64_t> detailAndMoment;
};

// Zeroes, so no page of it is touched before it is needed.
std::array<Place, capacity> ring;
std::atomic<std::uint64_t> recorded{0};
std::atomic<quint64> sources{0};

constexpr std::uint64_t beingWritten = ~std::uint64_t(0);
constexpr int half = 32;

std::uint64_t pack(int upper, std::uint32_t lower)
{
    return (std::uint64_t(static_cast<std::uint32_t>(upper)) << half) | lower;
}

int upperOf(std::uint64_t both)
{
    return static_cast<int>(static_cast<std::uint32_t>(both >> half));
}

std::uint32_t lowerOf(std::uint64_t both)
{
    return static_cast<std::uint32_t>(both);
}

/// What stands in the place of the event with that number, unless it is gone.
bool read(std::uint64_t number, Recorded& into)
{
    const Place& place = ring[(number - 1) % capacity];
    if (place.number.load(std::memory_order_acquire) != number)
        return false;
    constexpr auto order = std::memory_order_acquire;
    into.nanoseconds = place.nanoseconds.load(order);
    into.event.call = place.call.load(order);
    into.event.name = place.name.load(order);
    const std::uint64_t requestAndStatus = place.requestAndStatus.load(order);
    const std::uint64_t detailAndMoment = place.detailAndMoment.load(order);
    into.event.request = upperOf(requestAndStatus);
    into.event.status = static_cast<int>(lowerOf(requestAndStatus));
    into.event.detail = upperOf(detailAndMoment);
    into.event.moment = static_cast<Moment>(lowerOf(detailAndMoment));
    return place.number.load(std::memory_order_relaxed) == number;
}

} // namespace

qint64 now()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

void record(const Event& event)
{
    const std::uint64_t number = recorded.fetch_add(1, std::memory_order_relaxed) + 1;
    Place& place = ring[(number - 1) % capacity];
    constexpr auto order = std::memory_order_release;
    // A thread that the others have overtaken by a whole round, in the middle of this, keeps its
    // place: what they have for it is lost.
    std::uint64_t before = place.number.load(std::memory_order_relaxed);
    if (before > number ||
        !place.number.compare_exchange_strong(before, beingWritten, std::memory_order_acquire))
        return;
    place.nanoseconds.store(now(), order);
    place.call.store(event.call, order);
    place.name.store(event.name, order);
    place.requestAndStatus.store(pack(event.request, static_cast<std::uint32_t>(event.status)),
                                 order);
    place.detailAndMoment.store(pack(event.detail, static_cast<std::uint32_t>(event.moment)),
                                order);
    place.number.store(number, order);
}

std::vector<Recorded> kept()
{
    const std::uint64_t last = recorded.load(std::memory_order_relaxed);
    const std::uint64_t first = last > capacity ? last - capacity + 1 : 1;
    std::vector<Recorded> events;
    events.reserve(static_cast<std::size_t>(last - first + 1));
    for (std::uint64_t number = first; number <= last; ++number) {
        Recorded event{{Moment::Made}, 0};
        if (read(number, event))
            events.push_back(event);
    }
    // Two threads may have taken their numbers in one order and the time in the other.
    std::stable_sort(events.begin(), events.end(), [](const Recorded& one, const Recorded& other) {
        return one.nanoseconds < other.nanoseconds;
    });
    return events;
}

quint64 newSource()
{
    return sources.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace KelAccount::FlightRecord
