// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QEventLoop>
#include <QTimer>

#include <functional>
#include <optional>

namespace Doctor {

/// Starts something that answers by calling what it is given, and waits for it; nothing when that
/// took too long. What comes later is ignored: the context is gone then.
template <class Value>
std::optional<Value> awaited(int patienceMs,
                             const std::function<void(QObject*, std::function<void(Value)>)>& start)
{
    std::optional<Value> result;
    QEventLoop loop;
    QTimer::singleShot(patienceMs, &loop, &QEventLoop::quit);
    start(&loop, [&](Value value) {
        result = value;
        loop.quit();
    });
    // Some answer from inside the call.
    if (!result)
        loop.exec();
    return result;
}

} // namespace Doctor
