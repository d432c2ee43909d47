// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/recording/writers.h"

#include <kelaccount/statustext.h>

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace KelAccount {

namespace {

constexpr double unknown = -1;

QJsonObject::iterator put(QJsonObject& object, const char* key, const QJsonValue& value)
{
    return object.insert(QLatin1String(key), value);
}

/// The stages of an entry in milliseconds, and their sum.
struct Timings
{
    double blocked = 0;
    double connect = unknown; ///< as long as a connection stood already
    double send = 0;
    double wait = 0;
    double receive = 0;

    double total() const { return blocked + qMax(0.0, connect) + send + wait + receive; }

    QJsonObject object() const
    {
        QJsonObject object;
        put(object, "blocked", blocked);
        put(object, "dns", unknown); // the network library does both of these by itself
        put(object, "connect", connect);
        put(object, "ssl", unknown);
        put(object, "send", send);
        put(object, "wait", wait);
        put(object, "receive", receive);
        return object;
    }
};

// What ended in between ended in the first stage that has no end of its own.
Timings timingsOf(const RecordedCall& call, const RecordedRequest& request, qint64 now)
{
    const qint64 end = request.ended.value_or(call.end(now));
    qint64 since = call.made;
    const auto until = [&](const std::optional<qint64>& next) {
        const qint64 length = qMax<qint64>(0, next.value_or(end) - since);
        since += length;
        return milliseconds(length);
    };
    Timings timings;
    timings.blocked = until(request.posted);
    if (request.connected || !(request.sent || request.firstByte))
        timings.connect = until(request.connected);
    if (request.sent || !request.firstByte)
        timings.send = until(request.sent);
    timings.wait = until(request.firstByte);
    timings.receive = until(end);
    return timings;
}

// Addresses have values of the user in them, so the operation stands for one. No such host can be.
QJsonObject requestObject(const RecordedCall& call, bool isHttp)
{
    QJsonObject object;
    put(object, "method", QLatin1String(isHttp ? "POST" : "CALL"));
    put(object, "url", QLatin1String("https://left-out.invalid/") + QLatin1String(call.operation));
    put(object, "httpVersion", QLatin1String(isHttp ? "HTTP/1.1" : ""));
    put(object, "cookies", QJsonArray());
    put(object, "headers", QJsonArray());
    put(object, "queryString", QJsonArray());
    put(object, "headersSize", unknown);
    put(object, "bodySize", unknown);
    return object;
}

QJsonObject responseObject(const RecordedCall& call, int httpStatus)
{
    QJsonObject content;
    put(content, "size", 0);
    put(content, "mimeType", QLatin1String("x-unknown"));
    put(content, "comment", QLatin1String("left out"));
    QJsonObject object;
    put(object, "status", httpStatus);
    put(object, "statusText", call.answered ? statusName(call.status) : QString());
    put(object, "httpVersion", QLatin1String(httpStatus ? "HTTP/1.1" : ""));
    put(object, "cookies", QJsonArray());
    put(object, "headers", QJsonArray());
    put(object, "content", content);
    put(object, "redirectURL", QLatin1String(""));
    put(object, "headersSize", unknown);
    put(object, "bodySize", unknown);
    return object;
}

QJsonObject entry(const RecordedCall& call, const Timings& timings)
{
    QJsonObject object;
    put(object, "startedDateTime",
        QDateTime::fromMSecsSinceEpoch(wallClock(call.made), Qt::UTC).toString(Qt::ISODateWithMs));
    put(object, "time", timings.total());
    put(object, "cache", QJsonObject());
    put(object, "timings", timings.object());
    put(object, "_call", recordedNumber(call.number));
    put(object, "_operation", QLatin1String(call.operation));
    if (call.answered)
        put(object, "_status", call.status);
    if (call.isAbandoned)
        put(object, "_abandoned", true);
    return object;
}

QJsonObject entryOf(const RecordedCall& call, const RecordedRequest& request, qint64 now)
{
    QJsonObject object = entry(call, timingsOf(call, request, now));
    put(object, "request", requestObject(call, true));
    put(object, "response", responseObject(call, request.httpStatus));
    put(object, "_request", request.id);
    put(object, "_operationNumber", request.type);
    if (const QString error = networkErrorName(request.error); !error.isEmpty())
        put(object, "_error", error);
    return object;
}

// Of a call that was refused, or that the plugin was asked for: all of it is waiting.
QJsonObject entryOf(const RecordedCall& call, qint64 now)
{
    Timings timings;
    timings.wait = milliseconds(call.end(now) - call.made);
    QJsonObject object = entry(call, timings);
    put(object, "request", requestObject(call, false));
    put(object, "response", responseObject(call, 0));
    return object;
}

} // namespace

QByteArray harOf(const std::vector<RecordedCall>& calls, qint64 now)
{
    QJsonArray entries;
    for (const RecordedCall& call : calls) {
        for (const RecordedRequest& request : call.requests)
            entries.append(entryOf(call, request, now));
        if (call.requests.empty())
            entries.append(entryOf(call, now));
    }
    QJsonObject creator;
    put(creator, "name", QLatin1String("libaccounts-kel"));
    put(creator, "version", QLatin1String(KELACCOUNT_VERSION));
    QJsonObject log;
    put(log, "version", QLatin1String("1.2"));
    put(log, "creator", creator);
    put(log, "entries", entries);
    QJsonObject document;
    put(document, "log", log);
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

} // namespace KelAccount
