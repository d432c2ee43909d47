// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/restrequesthandler.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

namespace ZorAuth {

/// What asks the service, made when it is first used: Qt's network library takes its time, and the
/// daemon stands still until the process that it has started says what it can do.
class ServiceOnDemand
{
public:
    using Handler = KelRestHandler::RESTRequestHandler;

    Handler* get()
    {
        if (!mHandler)
            mHandler = std::make_unique<Handler>();
        return mHandler.get();
    }
    Handler* operator->() { return get(); }

    /// Opens a connection, when the event loop has sent the answer that is being given: while the
    /// daemon is busy with that.
    void prepareSoon(const QString& baseAddress)
    {
        QTimer::singleShot(0, &mContext, [this, baseAddress] { get()->prepareOnce(baseAddress); });
    }

    /// With all that it has under way.
    void drop() { mHandler.reset(); }

private:
    std::unique_ptr<Handler> mHandler;
    QObject mContext;
};

} // namespace ZorAuth
