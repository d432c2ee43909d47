// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/recording/writers.h"

#include <kelaccount/statustext.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

namespace KelAccount {

using FlightRecord::Event;
using FlightRecord::Moment;

namespace {

/// What a call is in from that moment on; null when it is over, or nothing of it changes.
const char* stageAfter(const Event& event)
{
    switch (event.moment) {
    case Moment::Made:
        return "looked at";
    case Moment::Step:
        return event.name;
    case Moment::Opening:
        return "session being opened";
    case Moment::Opened:
        return event.status ? "session open" : "no session";
    case Moment::Queued:
        return "queued for the plugin";
    case Moment::WithPlugin:
        return "with the plugin";
    case Moment::Replied:
        return "replied";
    case Moment::Signed:
        return "signed";
    case Moment::Waiting:
        return "waiting to be posted";
    case Moment::Posted:
        return "posted";
    case Moment::Connected:
        return "connected";
    case Moment::Sent:
        return "sent";
    case Moment::FirstByte:
        return "being received";
    case Moment::Read:
        return "read";
    case Moment::TimedOut:
        return "timed out";
    case Moment::TakenBack:
        return "taken back";
    case Moment::Requested:
    case Moment::Abandoned:
    case Moment::Answered:
        return nullptr;
    }
    return nullptr;
}

/// Lays events down, in microseconds.
class Writer
{
public:
    void event(const char* phase, const QString& name, const QString& id, qint64 nanoseconds,
               const QJsonObject& arguments = {})
    {
        constexpr double nanosecondsOfOne = 1000;
        QJsonObject object{
            {QStringLiteral("ph"), QLatin1String(phase)},
            {QStringLiteral("cat"), QStringLiteral("call")},
            {QStringLiteral("name"), name},
            {QStringLiteral("id"), id},
            {QStringLiteral("pid"), mProcess},
            {QStringLiteral("tid"), mProcess},
            {QStringLiteral("ts"), static_cast<double>(nanoseconds) / nanosecondsOfOne},
        };
        if (!arguments.isEmpty())
            object.insert(QStringLiteral("args"), arguments);
        mEvents.append(object);
    }

    const QJsonArray& events() const { return mEvents; }

private:
    const int mProcess = static_cast<int>(::getpid());
    QJsonArray mEvents;
};

QJsonObject argumentsOf(const Event& event)
{
    QJsonObject arguments;
    if (event.request != -1)
        arguments.insert(QStringLiteral("request"), event.request);
    switch (event.moment) {
    case Moment::Signed:
        arguments.insert(QStringLiteral("operationNumber"), event.status);
        break;
    case Moment::FirstByte:
        arguments.insert(QStringLiteral("httpStatus"), event.status);
        break;
    case Moment::Read:
        arguments.insert(QStringLiteral("httpStatus"), event.detail);
        if (event.status != 0)
            arguments.insert(QStringLiteral("error"), networkErrorName(event.status));
        break;
    case Moment::Replied:
    case Moment::Step:
        if (event.status != 0)
            arguments.insert(QStringLiteral("status"), event.status);
        break;
    default:
        break;
    }
    return arguments;
}

void write(Writer& writer, const RecordedCall& call, qint64 now)
{
    const QString id = recordedNumber(call.number);
    const QString operation = QString::fromLatin1(call.operation);
    const qint64 end = call.end(now);
    writer.event("b", operation, id, call.made);
    const char* stage = nullptr;
    qint64 last = call.made;
    const auto leave = [&](qint64 when) {
        if (stage)
            writer.event("e", QString::fromLatin1(stage), id, when);
        last = when;
    };
    for (const auto& [event, when] : call.moments) {
        const char* const next = stageAfter(event);
        if (!next && event.moment != Moment::Answered && event.moment != Moment::Abandoned)
            continue;
        leave(qMax(last, when));
        stage = next;
        if (stage)
            writer.event("b", QString::fromLatin1(stage), id, last, argumentsOf(event));
    }
    leave(qMax(last, end));
    QJsonObject result;
    if (call.answered) {
        result.insert(QStringLiteral("status"), call.status);
        result.insert(QStringLiteral("statusName"), statusName(call.status));
    }
    if (call.isAbandoned)
        result.insert(QStringLiteral("abandoned"), true);
    writer.event("e", operation, id, last, result);
}

} // namespace

QByteArray traceOf(const std::vector<RecordedCall>& calls, qint64 now)
{
    Writer writer;
    for (const RecordedCall& call : calls)
        write(writer, call, now);
    const QJsonObject document{
        {QStringLiteral("displayTimeUnit"), QStringLiteral("ms")},
        {QStringLiteral("otherData"),
         QJsonObject{{QStringLiteral("version"), QStringLiteral(KELACCOUNT_VERSION)}}},
        {QStringLiteral("traceEvents"), writer.events()},
    };
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

} // namespace KelAccount
