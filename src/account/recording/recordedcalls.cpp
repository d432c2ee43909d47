// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/recording/recordedcalls.h"

#include <QDateTime>
#include <QMetaEnum>
#include <QNetworkReply>

#include <algorithm>
#include <unordered_map>

namespace KelAccount {

using FlightRecord::Moment;
using FlightRecord::Recorded;

namespace {

constexpr double nanosecondsOfOne = 1e6;

void note(RecordedRequest& request, const Recorded& recorded)
{
    const auto& [event, when] = recorded;
    switch (event.moment) {
    case Moment::Signed:
        request.type = event.status;
        return;
    case Moment::Posted:
        request.posted = when;
        return;
    case Moment::Connected:
        request.connected = when;
        return;
    case Moment::Sent:
        request.sent = when;
        return;
    case Moment::FirstByte:
        request.firstByte = request.firstByte.value_or(when);
        request.httpStatus = event.status;
        return;
    case Moment::Read:
        request.ended = when;
        request.error = event.status;
        request.httpStatus = event.detail;
        return;
    case Moment::TimedOut:
    case Moment::TakenBack:
        request.ended = request.ended.value_or(when);
        request.error = event.moment == Moment::TimedOut ? QNetworkReply::TimeoutError
                                                         : QNetworkReply::OperationCanceledError;
        return;
    case Moment::Made:
    case Moment::Requested:
    case Moment::Step:
    case Moment::Abandoned:
    case Moment::Answered:
    case Moment::Opening:
    case Moment::Opened:
    case Moment::Queued:
    case Moment::WithPlugin:
    case Moment::Replied:
    case Moment::Waiting:
        return;
    }
}

void note(RecordedCall& call, const Recorded& recorded)
{
    call.moments.push_back(recorded);
    if (recorded.event.moment == Moment::Answered) {
        call.answered = recorded.nanoseconds;
        call.status = recorded.event.status;
    }
    call.isAbandoned = call.isAbandoned || recorded.event.moment == Moment::Abandoned;
}

} // namespace

qint64 RecordedCall::end(qint64 now) const
{
    return answered || isAbandoned ? moments.back().nanoseconds : now;
}

// A request is made known to its call when it has been posted, so its first moments are looked for.
std::vector<RecordedCall> recordedCalls(const std::vector<Recorded>& kept)
{
    std::unordered_map<int, quint64> callOfRequest;
    for (const Recorded& recorded : kept) {
        if (recorded.event.moment == Moment::Requested)
            callOfRequest[recorded.event.request] = recorded.event.call;
    }
    std::vector<RecordedCall> calls;
    std::unordered_map<quint64, std::size_t> positions;
    for (const Recorded& recorded : kept) {
        const auto& event = recorded.event;
        if (event.moment == Moment::Made) {
            positions[event.call] = calls.size();
            calls.emplace_back();
            calls.back().number = event.call;
            calls.back().operation = event.name;
            calls.back().made = recorded.nanoseconds;
        }
        const auto asked = callOfRequest.find(event.request);
        const quint64 number =
            event.call == 0 && asked != callOfRequest.end() ? asked->second : event.call;
        const auto position = positions.find(number);
        if (position == positions.end())
            continue;
        RecordedCall& call = calls[position->second];
        note(call, recorded);
        if (event.request == -1)
            continue;
        auto request = std::find_if(call.requests.begin(), call.requests.end(),
                                    [&](const auto& known) { return known.id == event.request; });
        if (request == call.requests.end()) {
            request = call.requests.emplace(call.requests.end());
            request->id = event.request;
        }
        note(*request, recorded);
    }
    return calls;
}

QString recordedNumber(quint64 call)
{
    using FlightRecord::callsOfASource;
    if (call == 0)
        return {};
    return QString::number(call / callsOfASource) + QLatin1Char('.') +
           QString::number(call % callsOfASource);
}

QString networkErrorName(int error)
{
    if (error == QNetworkReply::NoError)
        return {};
    const char* const name = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error);
    return name ? QString::fromLatin1(name) : QString::number(error);
}

double milliseconds(qint64 nanoseconds)
{
    return static_cast<double>(nanoseconds) / nanosecondsOfOne;
}

qint64 wallClock(qint64 nanoseconds)
{
    return QDateTime::currentMSecsSinceEpoch() -
           static_cast<qint64>(milliseconds(FlightRecord::now() - nanoseconds));
}

} // namespace KelAccount
