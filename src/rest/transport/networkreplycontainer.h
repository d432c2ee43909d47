// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QElapsedTimer>
#include <QNetworkReply>
#include <QObject>

namespace KelRestHandler {

/// Guards one reply: reports when no answer came in time, never before it, and ends a reply that
/// grows past all measure or has no end that could be waited for. It is a child of the reply and
/// dies with it.
class NetworkReplyContainer : public QObject
{
    Q_OBJECT

public:
    /// Nothing that the service sends comes near this; what does is not held in memory.
    static constexpr qint64 maximumReplyBytes = qint64{8} * 1024 * 1024;

    explicit NetworkReplyContainer(QNetworkReply* reply);
    /// For a request that has waited before it was posted.
    NetworkReplyContainer(QNetworkReply* reply, int milliseconds);

    /// Shortens the guard of replies made from now on, for tests. Applications always get 60 s.
    static void setGuardMilliseconds(int milliseconds);
    static int guardMilliseconds();

Q_SIGNALS:
    void requestTimedOut(QNetworkReply* reply);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void onHead();
    void endTornReply();
    void endOversizedReply();

    QNetworkReply* mReply;
    int mGuardMilliseconds;
    QElapsedTimer mSincePosted;
};

} // namespace KelRestHandler
