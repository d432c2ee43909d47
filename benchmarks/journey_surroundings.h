// SPDX-License-Identifier: LGPL-2.1-or-later
// What the emulator around this program is asked, and clients that only carry bytes.
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QString>
#include <QVector>

#include <memory>

/// The bodies of the requests that some work has sent, in the order in which they came in.
using Exchanges = QVector<int>;

/// What something took.
struct Taken
{
    int rounds = 0;
    double milliseconds = 0;
    Exchanges exchanges;
};

/// The emulator's administrative endpoint.
class Administration
{
public:
    Administration();

    QByteArray get(const QString& path);
    bool post(const QString& path, const QByteArray& body);
    bool setLatency(int milliseconds);
    /// The text of the newest captcha.
    QString captchaText(const QString& id);
    /// Waits until so many requests of the operation were answered since the beginning.
    void waitForOperation(int operation, int times);
    int roundTrips();
    int handshakes();
    /// Those since this was last asked.
    Exchanges newExchanges();

    /// What the work takes, which has waited for its end when it returns; ends the program when it
    /// says false.
    template <class Work>
    Taken measured(const QString& name, Work work)
    {
        Taken taken;
        const int before = roundTrips();
        newExchanges();
        QElapsedTimer clock;
        clock.start();
        require(name, work());
        taken.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        taken.rounds = roundTrips() - before;
        taken.exchanges = newExchanges();
        return taken;
    }

private:
    static void require(const QString& name, bool good);
    int count(const char* what);

    QNetworkAccessManager mManager;
    QString mAddress;
    int mSeen = 0;
};

/// Posts bodies of those sizes, each when the one before has its answer.
class Carrier
{
public:
    virtual ~Carrier() = default;
    virtual bool carry(const Exchanges& exchanges) = 0;

    static std::unique_ptr<Carrier> bareManager();
    static std::unique_ptr<Carrier> curl();
};
