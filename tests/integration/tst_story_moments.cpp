// SPDX-License-Identifier: LGPL-2.1-or-later
// The daemon ends, or stands still for three seconds, at any moment of both set-ups, while the
// service answers late: one answer, before any guard has run out, nothing left behind, and the next
// attempt succeeds. Which step a moment falls into depends on the machine, so there are many.
#include "integration/setupfixture.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QTimer>

#include <csignal>
#include <thread>

using namespace KelTest;

namespace {

constexpr int lateMs = 100; // each answer of the service
constexpr int spanMs = 500; // longer than a set-up takes
constexpr int stillMs = 3000;
// The shortest of the library's guards is 10 s: an answer after this has waited for one.
constexpr int promptMs = 6000;

// Whole sweeps are asked for by name: "term 5" for a moment each 5 ms.
constexpr const char* sweepVariable = "KELACCOUNT_TEST_SWEEP";

} // namespace

class TestStoryMoments : public SetUpFixture
{
    Q_OBJECT

public:
    enum Ending { Term, Kill, Stop };
    Q_ENUM(Ending)

private Q_SLOTS:
    void cleanupTestCase()
    {
        qInfo("slowest answer: %lld ms, %s", mSlowestMs, qPrintable(mSlowest));
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void aDaemonThatLeavesIsOneAnswer_data()
    {
        rows<SetUp, Ending, int, int>("setUp", "ending", "moment", "late");
        const QStringList sweep =
            qEnvironmentVariable(sweepVariable).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (sweep.isEmpty()) {
            addMoments(Term, 70);
            addMoments(Kill, 110, 330);
            addMoments(Stop, 150, 150);
            // And with a service that answers at once.
            for (const int moment : {0, 1, 2, 4, 6, 10, 15, 20, 25, 30})
                addMoment(Kill, moment, 0);
            return;
        }
        const int step = sweep.value(1).toInt();
        QVERIFY2(step > 0, sweepVariable);
        const int ending = QStringList({"term"_s, "kill"_s, "stop"_s}).indexOf(sweep.value(0));
        QVERIFY2(ending >= 0, sweepVariable);
        addMoments(Ending(ending), step);
    }
    void aDaemonThatLeavesIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        QFETCH(Ending, ending);
        QFETCH(int, moment);
        QFETCH(int, late);
        prepare(setUp);
        QVERIFY(DaemonControl::start());
        const pid_t daemon = DaemonControl::processId();
        QVERIFY(daemon > 1);
        QByteArray faults;
        for (int i = 0; i < 4; ++i)
            faults += "delay=" + QByteArray::number(late) + '\n';
        QVERIFY(EmulatedService::orderFaults(faults));
        mDisturbed = false;
        QTimer::singleShot(moment, Qt::PreciseTimer, this,
                           [this, ending, daemon] { disturb(ending, daemon); });
        QElapsedTimer timer;
        qint64 took = -1;
        recorder().afterwards = [&](const QString&) {
            if (took < 0)
                took = timer.elapsed();
        };
        timer.start();
        const QStringList lines = attempt(setUp);
        recorder().afterwards = nullptr;
        const bool disturbed = waitUntil([this] { return mDisturbed; });
        if (mWaking.joinable())
            mWaking.join();
        EmulatedService::ask("DELETE", "/faults");
        QVERIFY(disturbed);
        // What comes next is not to meet the end of the old one.
        if (ending != Stop) {
            QVERIFY(waitUntil([daemon] { return DaemonControl::processId() != daemon; }));
            // Answered behind the news, which the event loop then has.
            QDBusConnection::sessionBus().interface()->isServiceRegistered("nobody"_s);
            QCoreApplication::processEvents();
        }
        QCOMPARE(lines.size(), 1);
        QVERIFY2(took < promptMs + (ending == Stop ? stillMs : 0),
                 qPrintable(QString::number(took)));
        if (took > mSlowestMs) {
            mSlowestMs = took;
            mSlowest = QString::fromLatin1(QTest::currentDataTag()) + ": "_s + lines.at(0);
        }
        if (lines.at(0).contains("Response(0, "_s)) {
            QCOMPARE(isComplete(setUp, lines), QString());
            return;
        }
        QCOMPARE(identities(), QList<QVariantList>());
        // The daemon does not write its two databases as one: killed within some 30 ms after
        // storing, it may have lost the identity and kept the password, which no call can reach
        // then.
        if (ending == Kill)
            QVERIFY(sqliteChange(storeFile("signon-secrets.db"),
                                 "DELETE FROM CREDENTIALS; DELETE FROM STORE"_s));
        expectNothingIsLeft(setUp);
    }

private:
    static void addMoments(Ending ending, int stepMs, int endMs = spanMs)
    {
        for (int moment = stepMs / 2; moment < endMs; moment += stepMs)
            addMoment(ending, moment, lateMs);
    }
    static void addMoment(Ending ending, int moment, int late)
    {
        const char* const names[] = {"term", "kill", "stop"};
        QTest::addRow("%s, sign-in, %d ms, %d late", names[ending], moment, late)
            << SignIn << ending << moment << late;
        QTest::addRow("%s, registration, %d ms, %d late", names[ending], moment, late)
            << Registration << ending << moment << late;
    }

    void disturb(Ending ending, pid_t daemon)
    {
        mDisturbed = true;
        if (::kill(daemon, ending == Term ? SIGTERM : ending == Kill ? SIGKILL : SIGSTOP) != 0)
            qWarning("the daemon was gone already");
        if (ending == Kill)
            endCopiesOfTheDaemon();
        // By a thread, for this one might be standing still as well.
        if (ending == Stop)
            mWaking = std::thread([daemon] {
                std::this_thread::sleep_for(std::chrono::milliseconds(stillMs));
                ::kill(daemon, SIGCONT);
            });
    }

    /// One that is killed while it starts a plugin leaves its copy behind, which waits for a word
    /// of it and keeps its name on the bus.
    static void endCopiesOfTheDaemon()
    {
        const QList<pid_t> copies = processesNamed("signond\n");
        for (const pid_t copy : copies)
            ::kill(copy, SIGKILL);
    }

    qint64 mSlowestMs = 0;
    QString mSlowest;
    std::thread mWaking;
    bool mDisturbed = false;
};

QTEST_MAIN(TestStoryMoments)
#include "tst_story_moments.moc"
