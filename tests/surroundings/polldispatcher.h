// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>

#include <vector>

namespace KelTest {

/// An application's own event dispatcher: poll() over its own lists. Qt's dispatchers, GLib's main
/// context and a window system have no part in it.
class PollDispatcher : public QAbstractEventDispatcher
{
    Q_OBJECT

public:
    explicit PollDispatcher(QObject* parent = nullptr);
    ~PollDispatcher() override;

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    bool hasPendingEvents() override;
    void registerSocketNotifier(QSocketNotifier* notifier) override;
    void unregisterSocketNotifier(QSocketNotifier* notifier) override;
    void registerTimer(int id, int interval, Qt::TimerType type, QObject* object) override;
    bool unregisterTimer(int id) override;
    bool unregisterTimers(QObject* object) override;
    QList<TimerInfo> registeredTimers(QObject* object) const override;
    int remainingTime(int id) override;
    void wakeUp() override;
    void interrupt() override;
    void flush() override {}

private:
    struct Timer
    {
        int id;
        int interval;
        Qt::TimerType type;
        QObject* object;
        qint64 due;
        bool isBeingSent;
    };

    Timer* timer(int id);
    int timeToWait() const; ///< -1 for ever
    bool sendTimers();
    bool waitForSockets(int timeoutMs, bool send);

    QElapsedTimer mClock;
    std::vector<Timer> mTimers;
    std::vector<QSocketNotifier*> mNotifiers;
    int mWakeUp;
    bool mIsInterrupted = false;
};

} // namespace KelTest
