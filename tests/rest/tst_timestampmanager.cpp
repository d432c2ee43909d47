// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/timestampmanager.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <ctime>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

using namespace KelRestHandler;

namespace {

/// Not time(): it reads a clock that ticks with the kernel, and is a second behind for
/// milliseconds.
qint64 now()
{
    timespec time = {};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec;
}

QDateTime inUtc(int year)
{
    return QDateTime(QDate(year, 1, 1), QTime(0, 0), Qt::UTC);
}

constexpr int lowest = std::numeric_limits<qint32>::min();
constexpr int highest = std::numeric_limits<qint32>::max();

} // namespace

// The device's clock may tick while a test runs: what depends on it lies between two readings.
#define VERIFY_IS_NOW_PLUS(value, offset)                                                          \
    do {                                                                                           \
        const qint64 earliest = now() + (offset);                                                  \
        const qint64 got = (value);                                                                \
        const qint64 latest = now() + (offset);                                                    \
        QVERIFY2(got >= earliest && got <= latest, qPrintable(QString::number(got)));              \
    } while (false)

class TimeStampManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thereIsOneInstanceWithoutDifferenceAtFirst()
    {
        TimeStampManager* const instance = TimeStampManager::getTimeStampManager();
        QVERIFY(instance);
        QCOMPARE(TimeStampManager::getTimeStampManager(), instance);
        QCOMPARE(instance->serverTimeDifference(), 0);
    }

    void eachThreadHasItsOwn()
    {
        TimeStampManager* const here = TimeStampManager::getTimeStampManager();
        here->setServerTimeDifference(17);
        TimeStampManager* there = nullptr;
        int difference = -1;
        std::thread([&] {
            there = TimeStampManager::getTimeStampManager();
            difference = there->serverTimeDifference();
            there->setServerTimeDifference(23);
        }).join();
        QVERIFY(there != here);
        QCOMPARE(difference, 0);
        QCOMPARE(here->serverTimeDifference(), 17);
        here->setServerTimeDifference(0);
    }

    void aDifferenceShiftsTheClock_data()
    {
        QTest::addColumn<int>("difference");
        QTest::newRow("none") << 0;
        QTest::newRow("ahead") << 90;
        QTest::newRow("behind") << -90;
        QTest::newRow("a year behind") << -31536000;
        QTest::newRow("as far ahead as it goes") << highest;
    }
    void aDifferenceShiftsTheClock()
    {
        QFETCH(int, difference);
        TimeStampManager manager;
        manager.setServerTimeDifference(difference);
        QCOMPARE(manager.serverTimeDifference(), difference);
        VERIFY_IS_NOW_PLUS(manager.toTime_t(), difference);
        VERIFY_IS_NOW_PLUS(manager.timeStamp().toLongLong(), difference);
        const QString stamp = manager.timeStamp();
        QCOMPARE(QString::number(stamp.toLongLong()), stamp); // plain decimal
        VERIFY_IS_NOW_PLUS(manager.currentServerTime().toSecsSinceEpoch(), difference);
        QVERIFY(qAbs(manager.secsTo(QDateTime::fromSecsSinceEpoch(now() + difference + 10)) - 10) <=
                1);
    }

    // Of whatever zone, in place of the former, and not once more when it is told again.
    void aServersTimeMakesTheDifference()
    {
        TimeStampManager manager;
        for (const int offset : {90, 5000, -7200, 0, 90}) {
            for (const int zone : {0, 0, 5 * 3600}) {
                manager.syncToTime(
                    QDateTime::fromSecsSinceEpoch(now() + offset, Qt::OffsetFromUTC, zone));
                QVERIFY2(qAbs(manager.serverTimeDifference() - offset) <= 1,
                         qPrintable(QString::number(manager.serverTimeDifference())));
            }
        }
        VERIFY_IS_NOW_PLUS(manager.timeStamp().toLongLong(), manager.serverTimeDifference());
    }

    void anInvalidTimeChangesNothing()
    {
        TimeStampManager manager;
        manager.setServerTimeDifference(90);
        manager.syncToTime(QDateTime());
        QCOMPARE(manager.serverTimeDifference(), 90);
        manager.syncToTime(QDateTime(QDate(2010, 2, 30), QTime(0, 0), Qt::UTC));
        QCOMPARE(manager.serverTimeDifference(), 90);
        QCOMPARE(manager.secsTo(QDateTime()), Q_INT64_C(0));
    }

    void absurdYearsAreClampedAndTheRightTimeIsReachedAgain_data()
    {
        columns<int, int>("year", "difference");
        QTest::newRow("9999") << 9999 << highest;
        QTest::newRow("100") << 100 << lowest;
        QTest::newRow("-4000") << -4000 << lowest;
    }
    void absurdYearsAreClampedAndTheRightTimeIsReachedAgain()
    {
        const auto [year, difference] = fetch<int, int>("year", "difference");
        TimeStampManager manager;
        for (int i = 0; i < 2; ++i) {
            manager.syncToTime(inUtc(year));
            QCOMPARE(manager.serverTimeDifference(), difference);
        }
        manager.syncToTime(QDateTime::fromSecsSinceEpoch(now(), Qt::UTC));
        QVERIFY(qAbs(manager.serverTimeDifference()) <= 1);
    }

    void theTimeStampIsNeverNegative()
    {
        TimeStampManager manager;
        manager.setServerTimeDifference(lowest);
        QCOMPARE(manager.toTime_t(), Q_INT64_C(0));
        QCOMPARE(manager.timeStamp(), "0"_s);
        QCOMPARE(manager.currentServerTime().toSecsSinceEpoch(), Q_INT64_C(0));
    }

    void eachServerHasAClockOfItsOwn()
    {
        const auto first = "first.example"_s;
        const auto second = "second.example"_s;
        TimeStampManager manager;
        manager.selectServer(first);
        manager.syncToTime(QDateTime::fromSecsSinceEpoch(now() + 90, Qt::UTC), second);
        QCOMPARE(manager.serverTimeDifference(), 0);
        manager.syncToTime(QDateTime::fromSecsSinceEpoch(now() - 5000, Qt::UTC), first);
        QVERIFY(qAbs(manager.serverTimeDifference() + 5000) <= 1);
        manager.selectServer(second);
        QVERIFY(qAbs(manager.serverTimeDifference() - 90) <= 1);
        VERIFY_IS_NOW_PLUS(manager.timeStamp().toLongLong(), manager.serverTimeDifference());
        VERIFY_IS_NOW_PLUS(manager.currentServerTime().toSecsSinceEpoch(),
                           manager.serverTimeDifference());
        manager.syncToTime(QDateTime(), second);
        QVERIFY(qAbs(manager.serverTimeDifference() - 90) <= 1);
    }

    void theClockOfAnAddressIsItsServers()
    {
        const std::vector<std::pair<QString, int>> expected{
            {"https://first.example/rest/"_s, 90},
            {"https://second.example:444/"_s, -5000},
            {"https://second.example:444/"_s, -5000},
            {"https://first.example/rest/"_s, 90},
            // Without a server in it, whichever was chosen last stays chosen.
            {"nonsense"_s, 90},
            {QString(), 90},
        };
        std::vector<int> differences;
        // The thread's own manager, of which nobody else is to know.
        std::thread([&] {
            TimeStampManager* const manager = TimeStampManager::getTimeStampManager();
            manager->syncToTime(QDateTime::fromSecsSinceEpoch(now() + 90, Qt::UTC),
                                "first.example"_s);
            manager->syncToTime(QDateTime::fromSecsSinceEpoch(now() - 5000, Qt::UTC),
                                "second.example:444"_s);
            for (const auto& [address, difference] : expected)
                differences.push_back(TimeStampManager::clockOf(address).serverTimeDifference());
        }).join();
        QCOMPARE(differences.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            QVERIFY2(qAbs(differences[i] - expected[i].second) <= 1,
                     qPrintable("%1: %2"_s.arg(expected[i].first).arg(differences[i])));
    }

    void aDifferenceThatIsSetIsForAllServers()
    {
        const auto server = "first.example"_s;
        TimeStampManager manager;
        manager.setServerTimeDifference(42);
        manager.selectServer(server);
        QCOMPARE(manager.serverTimeDifference(), 42);
        manager.syncToTime(inUtc(2000), server);
        manager.setServerTimeDifference(7);
        QCOMPARE(manager.serverTimeDifference(), 7);
        manager.syncToTime(inUtc(2000), server);
        manager.syncToTime(QDateTime::fromSecsSinceEpoch(now() + 90, Qt::UTC));
        QVERIFY(qAbs(manager.serverTimeDifference() - 90) <= 1);
    }
};

QTEST_APPLESS_MAIN(TimeStampManagerTest)
#include "tst_timestampmanager.moc"
