// SPDX-License-Identifier: LGPL-2.1-or-later
// An application that shows a message box in the slot of an answer: an event loop inside the
// library's signal, which lasts longer than the guard.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"

#include <QEventLoop>
#include <QNetworkProxy>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::NetworkReplyContainer;

namespace {

// No answer that comes takes so long; one that does not come is waited for briefly.
constexpr int longGuard = 2000;
constexpr int shortGuard = 30;

QStringList sorted(QStringList lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace

class TestFacadeModalLoops : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        FakeModem::reset();
        FakeModem::setSims({{false, {}, "244"_s, "91"_s}});
        QVERIFY(mTags.isReady());
    }

    void init()
    {
        NetworkReplyContainer::setGuardMilliseconds(longGuard);
        mService = std::make_unique<StandInService>();
        mAccounts = std::make_unique<KelAccounts>();
        mRecorder = std::make_unique<FacadeRecorder>(mAccounts.get());
        mAccounts->initialize("the key"_s, "the secret"_s, 2, "service"_s, {});
        mRecorder->clear();
        mInTheLoop.clear();
        mHasBegun = false;
        mIsOver = false;
    }

    void cleanup()
    {
        mRecorder.reset();
        mAccounts.reset();
        QCOMPARE(mService->problems(), QStringList());
        mService.reset();
    }

    void everySlotMayRunALoop()
    {
        QStringList expected;
        for (const ServedOperation& one : servedOperations())
            expected += one.lines;
        int over = 0;
        mRecorder->afterwards = [&over](const QString&) {
            QEventLoop messageBox;
            QTimer::singleShot(longGuard + shortGuard, &messageBox, &QEventLoop::quit);
            messageBox.exec();
            ++over;
        };
        for (const ServedOperation& one : servedOperations())
            one.call(*mAccounts);
        QTRY_COMPARE_WITH_TIMEOUT(over, expected.size(), 20 * longGuard);
        QCOMPARE(sorted(mRecorder->lines()), sorted(expected));
    }

    void aCallFromTheLoopIsAnsweredInIt_data() { operations(); }

    void aCallFromTheLoopIsAnsweredInIt()
    {
        const QStringList& lines = operation().lines;
        inTheFirstSlot(1 + lines.size(), [this] { operation().call(*mAccounts); });
        operation().call(*mAccounts);
        QTRY_VERIFY(mIsOver);
        QCOMPARE(sorted(mInTheLoop), sorted(lines.mid(0, 1) + lines));
        QTRY_COMPARE(sorted(mRecorder->lines()), sorted(lines + lines));
    }

    void aCallBeforeTheLoopIsAnsweredInIt_data() { operations(); }

    void aCallBeforeTheLoopIsAnsweredInIt()
    {
        const QStringList& lines = operation().lines;
        inTheFirstSlot(1 + lines.size());
        operation().call(*mAccounts);
        operation().call(*mAccounts);
        QTRY_VERIFY(mIsOver);
        QCOMPARE(sorted(mInTheLoop), sorted(lines.mid(0, 1) + lines));
        QTRY_COMPARE(sorted(mRecorder->lines()), sorted(lines + lines));
    }

    void aGuardThatExpiresInTheLoopAnswersOnce_data() { operations(); }

    void aGuardThatExpiresInTheLoopAnswersOnce()
    {
        bool isSecond = false;
        mService->disturb = [&isSecond](const WireRequest&) {
            return isSecond ? Disturbance::Hang : Disturbance::None;
        };
        const QStringList& lines = operation().lines;
        inTheFirstSlot(1 + lines.size(), [&] {
            isSecond = true;
            NetworkReplyContainer::setGuardMilliseconds(shortGuard);
            operation().call(*mAccounts);
        });
        operation().call(*mAccounts);
        QTRY_VERIFY(mIsOver);
        QCOMPARE(mInTheLoop.size(), 1 + lines.size());
        // No answer in time; a captcha says so by the picture.
        QVERIFY2(mInTheLoop.at(1).contains("(404"_s) || mInTheLoop.at(1).contains("no picture"_s),
                 qPrintable(mInTheLoop.at(1)));
        QTRY_COMPARE(mRecorder->lines().size(), 2 * lines.size());
    }

    void theFacadeMayGoInTheLoop_data() { operations(); }

    void theFacadeMayGoInTheLoop()
    {
        inTheFirstSlot(1, [this] { mAccounts.reset(); });
        operation().call(*mAccounts);
        operation().call(*mAccounts);
        QTRY_VERIFY(mIsOver);
        QVERIFY(!mAccounts);
        const QStringList said = mRecorder->lines();
        QTest::qWait(2 * shortGuard);
        QCOMPARE(mRecorder->lines(), said);
    }

private:
    static void operations()
    {
        QTest::addColumn<int>("operation");
        for (int i = 0; i < servedOperations().size(); ++i)
            QTest::newRow(servedOperations().at(i).name) << i;
    }

    static const ServedOperation& operation()
    {
        return servedOperations().at(
            *static_cast<const int*>(QTest::qData("operation", QMetaType::Int)));
    }

    /// In the slot of the first answer: a loop that begins with an action and ends when there are
    /// so many answers and, after that, time for one too many.
    void inTheFirstSlot(
        int answers, const std::function<void()>& action = [] {})
    {
        mRecorder->afterwards = [this, answers, action](const QString&) {
            if (mHasBegun)
                return;
            mHasBegun = true;
            QTimer::singleShot(0, this, action);
            const bool came = QTest::qWaitFor([&] { return mRecorder->lines().size() >= answers; });
            QTest::qWait(2 * shortGuard);
            mInTheLoop = mRecorder->lines();
            mIsOver = came;
        };
    }

    ThreadTagServer mTags{"\x01tag"_ba};
    std::unique_ptr<StandInService> mService;
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<FacadeRecorder> mRecorder;
    QStringList mInTheLoop; ///< what the facade said by the end of it
    bool mHasBegun = false;
    bool mIsOver = false;
};

QTEST_MAIN(TestFacadeModalLoops)
#include "tst_facade_modalloops.moc"
