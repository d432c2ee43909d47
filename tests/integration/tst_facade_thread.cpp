// SPDX-License-Identifier: LGPL-2.1-or-later
// A facade that is made on the main thread and used on another, inside the emulator and against the
// shared library: every road from the first call to its answer.
#include "account/facaderecorder.h"
#include "integration/storyfixture.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <QMutex>
#include <QSet>
#include <QThread>

#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;

/// While one lives, what Qt says against uses of an object from another thread is kept.
class ThreadComplaints
{
public:
    ThreadComplaints() { mPrevious = qInstallMessageHandler(&ThreadComplaints::take); }
    ~ThreadComplaints() { qInstallMessageHandler(mPrevious); }
    ThreadComplaints(const ThreadComplaints&) = delete;
    ThreadComplaints& operator=(const ThreadComplaints&) = delete;

    static QStringList texts()
    {
        const QMutexLocker lock(&mutex());
        return list();
    }

private:
    static QMutex& mutex()
    {
        static QMutex one;
        return one;
    }
    static QStringList& list()
    {
        static QStringList texts;
        return texts;
    }
    static void take(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        if (text.contains("thread"_s)) {
            const QMutexLocker lock(&mutex());
            list().append(text);
        }
        mPrevious(type, context, text);
    }

    static QtMessageHandler mPrevious;
};

QtMessageHandler ThreadComplaints::mPrevious = nullptr;

class TestFacadeThread : public StoryFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mThreads.clear();
        mThread = std::make_unique<QThread>();
        mThread->start();
        mAccounts = std::make_unique<KelAccounts>();
        mCaller = std::make_unique<QObject>();
        mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
        mRecorder->afterwards = [this](const QString&) {
            mThreads.insert(QThread::currentThread());
        };
        // What construction began goes on while the facade moves.
        moveTo(*mThread);
    }

    void cleanup()
    {
        endThread();
        QVERIFY(cleanDevice());
        QCOMPARE(ThreadComplaints::texts(), QStringList());
    }

    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void refusalsArrive()
    {
        QCOMPARE(answers([this] { mAccounts->isUserIdAvailable("name"_s); }),
                 QStringList("isUserIdAvailableResponse(802, false, [])"_s));
        QCOMPARE(answers([this] { mAccounts->downloadProfile(); }),
                 QStringList("downloadProfileResponse(802, no profile)"_s));
    }

    void theServiceAnswers()
    {
        initialize();
        for (const Here here : {Here::Runs, Here::Stands}) {
            QCOMPARE(answers([this] { mAccounts->isUserIdAvailable("free-name"_s); }, 1, here),
                     QStringList("isUserIdAvailableResponse(0, true, [])"_s));
        }
    }

    void aPictureArrives()
    {
        initialize();
        const QStringList lines = answers([this] { mAccounts->retrieveCaptchaImage(200, 80); }, 2);
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(0), "captchaImageResponse(0, picture 200x80)"_s);
        QVERIFY2(lines.at(1).startsWith("retrieveCaptchaImageResponse(0, picture 200x80, '"_s),
                 qPrintable(lines.at(1)));
    }

    void theCountryIsAnswered()
    {
        // There is neither a SIM nor a region.
        QCOMPARE(answers([this] { mAccounts->retrieveCountryCode(); }),
                 QStringList("retrieveCountryCodeResponse(807, '')"_s));
    }

    void theSessionAndTheStoresAnswer()
    {
        const QString user = "threaded@mail.example"_s;
        const QString password = "pässword 1"_s;
        QVERIFY(!addAccount({{"email"_s, user}, {"password"_s, password}}).isEmpty());
        initialize();
        QStringList lines = answers([&] { mAccounts->signInAndConfigure(user, password, true); });
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.at(0).startsWith("signInAndConfigureResponse(0, "_s),
                 qPrintable(lines.at(0)));
        QCOMPARE(deviceAccounts().size(), 1);
        QCOMPARE(identities().size(), 1);

        lines = answers(
            [this] {
                mAccounts->downloadProfile();
                mAccounts->ensureTokenAvailable(0);
                mAccounts->close();
            },
            3);
        QCOMPARE(lines, QStringList({"closeResponse(0)"_s, "downloadProfileResponse(0, profile)"_s,
                                     "ensureTokenAvailableResponse(0)"_s}));
    }

    void nothingDependsOnTheThreadThatItLeft()
    {
        const QString user = "alone@mail.example"_s;
        const QString password = "pässword 1"_s;
        QVERIFY(!addAccount({{"email"_s, user}, {"password"_s, password}}).isEmpty());
        initialize();
        QStringList lines =
            answers([&] { mAccounts->signInAndConfigure(user, password, true); }, 1, Here::Stands);
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.at(0).startsWith("signInAndConfigureResponse(0, "_s),
                 qPrintable(lines.at(0)));
        lines = answers([this] { mAccounts->downloadProfile(); }, 1, Here::Stands);
        QCOMPARE(lines, QStringList("downloadProfileResponse(0, profile)"_s));
    }

    void itMayMoveTwice()
    {
        QThread second;
        second.start();
        // An object is sent away from the thread that it is on.
        QMetaObject::invokeMethod(
            mCaller.get(), [&] { moveTo(second); }, Qt::BlockingQueuedConnection);
        initialize();
        QCOMPARE(answers([this] { mAccounts->isUserIdAvailable("free-name"_s); }),
                 QStringList("isUserIdAvailableResponse(0, true, [])"_s));
        QMetaObject::invokeMethod(
            mCaller.get(),
            [&] {
                mAccounts.reset();
                mRecorder.reset();
            },
            Qt::BlockingQueuedConnection);
        second.quit();
        second.wait();
    }

    void itMayGoOnItsThreadWithAnswersToCome()
    {
        initialize();
        const auto callAndGo = [this] {
            mAccounts->isUserIdAvailable("free-name"_s);
            mAccounts->downloadProfile();
            mAccounts.reset();
        };
        QMetaObject::invokeMethod(mCaller.get(), callAndGo, Qt::BlockingQueuedConnection);
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

private:
    /// The facade goes to the thread; what is called from then on is called there.
    void moveTo(QThread& thread)
    {
        mAccounts->moveToThread(&thread);
        mRecorder->moveToThread(&thread);
        mCaller->moveToThread(&thread);
    }

    void initialize()
    {
        const auto call = [this] {
            mAccounts->initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
        };
        QCOMPARE(answers(call), QStringList("initializeResponse(0)"_s));
    }

    /// What the facade says after the call, made on its thread, once so many lines are there. Every
    /// line has to come on that thread, too. `here` is what this thread does meanwhile.
    enum class Here { Runs, Stands };

    QStringList answers(const Call& call, int count = 1, Here here = Here::Runs)
    {
        constexpr int patienceMs = 20000;
        constexpr int settleMs = 20;
        QStringList lines;
        bool ended = false;
        const auto ask = [&] {
            mRecorder->clear();
            call();
            mRecorder->waitFor(count, patienceMs);
            waitUntil([] { return false; }, settleMs);
            lines = mRecorder->lines();
        };
        if (here == Here::Stands) {
            QMetaObject::invokeMethod(mCaller.get(), ask, Qt::BlockingQueuedConnection);
        } else {
            const auto report = [&] {
                ask();
                QMetaObject::invokeMethod(
                    this, [&] { ended = true; }, Qt::QueuedConnection);
            };
            QMetaObject::invokeMethod(mCaller.get(), report, Qt::QueuedConnection);
            waitUntil([&] { return ended; }, 2 * patienceMs);
        }
        if (mThreads != QSet<QThread*>({mAccounts->thread()}))
            lines.prepend("on another thread:"_s);
        return lines;
    }

    void endThread()
    {
        if (!mThread)
            return;
        if (mAccounts) {
            const auto end = [this] {
                mAccounts.reset();
                mRecorder.reset();
            };
            QMetaObject::invokeMethod(mCaller.get(), end, Qt::BlockingQueuedConnection);
        }
        mThread->quit();
        mThread->wait();
        mCaller.reset();
        mThread.reset();
    }

    ThreadComplaints mComplaints;
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<FacadeRecorder> mRecorder;
    std::unique_ptr<QObject> mCaller; ///< lives where the facade does
    std::unique_ptr<QThread> mThread;
    QSet<QThread*> mThreads; ///< on which lines came
};

QTEST_MAIN(TestFacadeThread)
#include "tst_facade_thread.moc"
