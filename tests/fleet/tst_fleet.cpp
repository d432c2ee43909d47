// SPDX-License-Identifier: LGPL-2.1-or-later
// The simulation of a fleet: it loses and invents nothing, and its service does what it is said to.
#include "client/retrywait.h"
#include "fleet.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace fleet;

Q_DECLARE_METATYPE(fleet::Outage)
Q_DECLARE_METATYPE(fleet::Again)

namespace {

constexpr int few = 5000;

/// A service for so few, which is down for one minute.
Settings small(Outage outage, Again again)
{
    Settings settings;
    settings.handsets = few;
    settings.betweenScreens = 200;
    settings.requestsASecond = 150;
    settings.handshakesASecond = 250;
    settings.outage = outage;
    settings.again = again;
    settings.outageStart = 120;
    settings.outageLength = 60;
    settings.end = 600;
    return settings;
}

Second during(const Settings& settings, const Result& result, double from, double length)
{
    Result part;
    const auto begin = result.seconds.begin() + static_cast<int>(settings.outageStart + from);
    part.seconds.assign(begin, begin + static_cast<int>(length));
    return part.sum();
}

bool isSame(const Second& a, const Second& b)
{
    return a.attempts == b.attempts && a.arrivals == b.arrivals && a.handshakes == b.handshakes &&
           a.notAccepted == b.notAccepted && a.answered == b.answered && a.refused == b.refused &&
           a.guarded == b.guarded && a.unreachable == b.unreachable &&
           a.connections == b.connections && a.queue == b.queue;
}

bool isSame(const Result& a, const Result& b)
{
    return std::equal(a.seconds.begin(), a.seconds.end(), b.seconds.begin(), b.seconds.end(),
                      [](const Second& x, const Second& y) { return isSame(x, y); });
}

} // namespace

class TestFleet : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsLostOrInvented_data();
    void nothingIsLostOrInvented();
    void theServiceDoesNoMoreThanItCan_data();
    void theServiceDoesNoMoreThanItCan();
    void nothingIsAnsweredDuringTheOutage_data();
    void nothingIsAnsweredDuringTheOutage();
    void theSameSeedGivesTheSame();
    void connectionsAreAsManyAsTheirTimesSay();
    void whatComesAfterThePausesCostsAHandshake();
    void aPreparedScreenSavesTheFirstHandshakeOfACall();
    void noneReturnsBeforeTheServiceSaid();
    void whatTheClientSuggestsSpreadsTheReturn();
    void aSuggestedWaitIsNeverShorterThanAskedForAndHalfAsLongAgainAtMost();
    void allWaitsBetweenAreSuggested();

private:
    static void everyTrouble();
};

void TestFleet::everyTrouble()
{
    QTest::addColumn<Outage>("outage");
    QTest::addColumn<Again>("again");
    QTest::addColumn<bool>("isPrepared");
    for (const Outage outage :
         {Outage::None, Outage::Unreachable, Outage::Silent, Outage::Asking, Outage::Naming})
        for (const Again again : {Again::Fixed, Again::AsSaid, Again::Suggested, Again::Doubling})
            for (const bool isPrepared : {false, true})
                QTest::addRow("outage %d, again %d, prepared %d", int(outage), int(again),
                              int(isPrepared))
                    << outage << again << isPrepared;
}

void TestFleet::nothingIsLostOrInvented_data()
{
    everyTrouble();
}

void TestFleet::nothingIsLostOrInvented()
{
    QFETCH(Outage, outage);
    QFETCH(Again, again);
    Settings settings = small(outage, again);
    settings.isPrepared =
        QTest::currentDataTag() && QByteArray(QTest::currentDataTag()).endsWith('1');
    settings.patience = 90; // so that some are given up
    const Result result = simulate(settings);
    const Second all = result.sum();
    QVERIFY(all.answered > few);
    QCOMPARE(all.attempts, result.calls + result.again);
    QCOMPARE(all.attempts, all.answered + all.failures() + result.onTheirWay);
    // Every failure is followed by another attempt, by giving up, or by the end.
    QCOMPARE(all.failures(), result.again + result.givenUp + result.waiting);
    QVERIFY(all.arrivals <= all.attempts);
    QVERIFY(all.answered + all.refused <= all.arrivals);
    QVERIFY(all.handshakes <= all.attempts + result.prepared);
    QCOMPARE(result.prepared > 0, settings.isPrepared);
    for (const Second& second : result.seconds)
        QVERIFY(second.connections >= 0);
    QCOMPARE(result.seconds.back().connections, result.leftOpen);
}

void TestFleet::theServiceDoesNoMoreThanItCan_data()
{
    everyTrouble();
}

void TestFleet::theServiceDoesNoMoreThanItCan()
{
    QFETCH(Outage, outage);
    QFETCH(Again, again);
    const Settings settings = small(outage, again);
    const Result result = simulate(settings);
    for (const Second& second : result.seconds) {
        QVERIFY(second.answered <= std::ceil(settings.requestsASecond) + 1);
        QVERIFY(second.handshakes <=
                settings.handshakesASecond * (1 + settings.longestBacklog) + 1);
    }
}

void TestFleet::nothingIsAnsweredDuringTheOutage_data()
{
    QTest::addColumn<Outage>("outage");
    QTest::addColumn<bool>("hasFront");
    QTest::newRow("unreachable") << Outage::Unreachable << false;
    QTest::newRow("silent") << Outage::Silent << false;
    QTest::newRow("asking") << Outage::Asking << true;
    QTest::newRow("naming") << Outage::Naming << true;
}

void TestFleet::nothingIsAnsweredDuringTheOutage()
{
    QFETCH(Outage, outage);
    QFETCH(bool, hasFront);
    const Settings settings = small(outage, Again::Suggested);
    const Result result = simulate(settings);
    // What had arrived before is answered within the longest queue.
    const double settled = settings.longestQueue + 1;
    const Second down = during(settings, result, settled, settings.outageLength - settled);
    QVERIFY(down.attempts > 0);
    QCOMPARE(down.answered, 0);
    QCOMPARE(down.handshakes > 0, hasFront);
    QCOMPARE(down.refused > 0, hasFront);
    const Second later = during(settings, result, settings.outageLength, 60);
    QVERIFY(later.answered > 0);
}

void TestFleet::theSameSeedGivesTheSame()
{
    Settings settings = small(Outage::Asking, Again::Suggested);
    const Result first = simulate(settings);
    QVERIFY(isSame(first, simulate(settings)));
    ++settings.seed;
    QVERIFY(!isSame(first, simulate(settings)));
}

// Little's law: a quarter of a second for the handshake and the answer, and then the service's idle
// time or until the next call's own connection, whatever comes first.
void TestFleet::connectionsAreAsManyAsTheirTimesSay()
{
    Settings settings = small(Outage::None, Again::Fixed);
    settings.callsOfScreen = 1; // so that no connection is used twice
    const Result result = simulate(settings);
    double open = 0;
    double made = 0;
    for (int i = 100; i < 500; ++i) {
        open += double(result.seconds[i].connections);
        made += double(result.seconds[i].handshakes);
    }
    const double lifetime = 1.5 * settings.roundTrip + 1 / settings.requestsASecond +
                            1 / settings.handshakesASecond + settings.serviceKeepsIdle;
    QVERIFY2(std::abs(open / made - lifetime) < 0.05 * lifetime,
             qPrintable(QString::number(open / made)));
}

// A pause is longer than the limit with a probability of e^(-limit / mean).
void TestFleet::whatComesAfterThePausesCostsAHandshake()
{
    const Settings settings = small(Outage::None, Again::Fixed);
    const Second all = simulate(settings).sum();
    const double calls = settings.callsOfScreen;
    const double expected =
        (1 + (calls - 1) * std::exp(-settings.idleLimit / settings.betweenCalls)) / calls;
    const double seen = double(all.handshakes) / double(all.arrivals);
    QVERIFY2(std::abs(seen - expected) < 0.03 * expected, qPrintable(QString::number(seen)));
}

void TestFleet::aPreparedScreenSavesTheFirstHandshakeOfACall()
{
    Settings settings = small(Outage::None, Again::Fixed);
    settings.untilFirstCall = 0.5; // nearly always within the limit
    settings.isPrepared = true;
    settings.renewals = 0;
    const Result result = simulate(settings);
    const Second all = result.sum();
    const auto ownHandshakes = double(all.handshakes - result.prepared);
    const double calls = settings.callsOfScreen;
    const double expected = (calls - 1) * std::exp(-settings.idleLimit / settings.betweenCalls);
    const double screens = double(result.calls) / calls;
    // A quarter calls before the connection is there.
    const double early = 1 - std::exp(-1.5 * settings.roundTrip / settings.untilFirstCall);
    QVERIFY2(std::abs(ownHandshakes / screens - expected - early) < 0.1 * expected,
             qPrintable(QString::number(ownHandshakes / screens)));
}

void TestFleet::noneReturnsBeforeTheServiceSaid()
{
    for (const Again again : {Again::AsSaid, Again::Suggested}) {
        Settings settings = small(Outage::Naming, again);
        settings.handsets = few;
        const Result result = simulate(settings);
        // Each call is refused once while the service is down, and not again before it is back.
        const double settled = 1;
        const Second down = during(settings, result, settled, settings.outageLength - settled - 1);
        const Second whole = during(settings, result, 0, settings.outageLength);
        QVERIFY(down.refused > 0);
        QVERIFY(whole.attempts <= few);
        QVERIFY(during(settings, result, settings.outageLength, 60).attempts > down.refused);
    }
}

void TestFleet::whatTheClientSuggestsSpreadsTheReturn()
{
    const auto busiest = [](Again again) {
        const Settings settings = small(Outage::Naming, again);
        const Result result = simulate(settings);
        std::int64_t most = 0;
        for (int i = 0; i < 5; ++i) // about the moment that was named
            most =
                std::max(most, during(settings, result, settings.outageLength - 2 + i, 1).attempts);
        return most;
    };
    QVERIFY(busiest(Again::Suggested) * 3 < busiest(Again::AsSaid));
}

void TestFleet::aSuggestedWaitIsNeverShorterThanAskedForAndHalfAsLongAgainAtMost()
{
    using KelAccount::suggestedWait;
    using std::chrono::seconds;
    std::mt19937 random(1);
    for (const qint64 asked : {1, 2, 3, 17, 30, 3600, 1000000000}) {
        for (int i = 0; i < 1000; ++i) {
            const qint64 wait = suggestedWait(seconds(asked), random()).count();
            QVERIFY(wait >= asked);
            QVERIFY(wait <= asked + (asked + 1) / 2);
        }
    }
    QCOMPARE(suggestedWait(seconds(0), 0).count(), 0);
    QCOMPARE(suggestedWait(seconds(-1), 0xffffffff).count(), 0);
    // As an int, which others hold it in.
    const qint64 longest = std::numeric_limits<int>::max();
    for (int i = 0; i < 1000; ++i)
        QCOMPARE(suggestedWait(seconds(longest), random()).count(), longest);
    QCOMPARE(suggestedWait(seconds::max(), random()).count(), longest);
}

void TestFleet::allWaitsBetweenAreSuggested()
{
    std::mt19937 random(1);
    std::vector<int> seen(11);
    for (int i = 0; i < 11000; ++i)
        ++seen.at(KelAccount::suggestedWait(std::chrono::seconds(20), random()).count() - 20);
    for (const int count : seen)
        QVERIFY(count > 800 && count < 1200);
}

QTEST_GUILESS_MAIN(TestFleet)
#include "tst_fleet.moc"
