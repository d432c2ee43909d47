// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDataStream>
#include <QFile>
#include <QList>
#include <QString>
#include <QVariantMap>

namespace KelTest {

/// What the test plugin does with one request.
struct PluginStep
{
    enum Action : qint32 {
        Answer,       ///< answers with `data`, after `delayMs`
        Err,          ///< reports `code`, after `delayMs`
        Hang,         ///< does nothing until it is cancelled
        Die,          ///< its process ends, after `delayMs`
        IgnoreCancel, ///< answers with `data` after `delayMs`, cancelled or not
    };

    QString mechanism = {}; ///< empty: any
    qint32 action = Answer;
    QVariantMap data = {};
    qint32 code = 0;
    qint32 delayMs = 0;
};

/// The steps for the requests after the first `firstEntry` entries. The n-th of them with a
/// mechanism takes the n-th step for that mechanism, or the last one when there are fewer. A
/// request without a step is answered with nothing.
struct PluginScript
{
    qint32 firstEntry = 0;
    QList<PluginStep> steps;
};

/// What the plugin was asked.
struct PluginRequest
{
    QString mechanism;
    QVariantMap data = {};
    qint64 processId = 0;
    bool cancelled = false; ///< an entry of its own: not a request but its cancellation
    bool isBeside = false;  ///< the plugin had not done with the one before
};

inline QDataStream& operator<<(QDataStream& stream, const PluginStep& step)
{
    return stream << step.mechanism << step.action << step.data << step.code << step.delayMs;
}

inline QDataStream& operator>>(QDataStream& stream, PluginStep& step)
{
    return stream >> step.mechanism >> step.action >> step.data >> step.code >> step.delayMs;
}

inline QDataStream& operator<<(QDataStream& stream, const PluginScript& script)
{
    return stream << script.firstEntry << script.steps;
}

inline QDataStream& operator>>(QDataStream& stream, PluginScript& script)
{
    return stream >> script.firstEntry >> script.steps;
}

inline QDataStream& operator<<(QDataStream& stream, const PluginRequest& request)
{
    return stream << request.mechanism << request.data << request.processId << request.cancelled
                  << request.isBeside;
}

inline QDataStream& operator>>(QDataStream& stream, PluginRequest& request)
{
    return stream >> request.mechanism >> request.data >> request.processId >> request.cancelled >>
           request.isBeside;
}

/// The requests and cancellations in the order in which they came.
inline QList<PluginRequest> readRequests(const QString& file)
{
    QList<PluginRequest> all;
    QFile requests(file);
    if (!requests.open(QIODevice::ReadOnly))
        return all;
    QDataStream stream(&requests);
    while (!stream.atEnd()) {
        PluginRequest request;
        stream >> request;
        all.append(request);
    }
    return all;
}

/// The session's home is where a test and its plugin talk: the file "script" one way, "requests"
/// the other.
constexpr const char* pluginFolderVariable = "HOME";

} // namespace KelTest
