// SPDX-License-Identifier: LGPL-2.1-or-later
// The road to the plugin alone, over a session interface of the test's own: it is asked in which
// order, and a session is opened, refused or comes to its end as the test says.
#include "account/recording/tracefile.h"
#include "account/sessionroad.h"
#include "account/settings.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <functional>
#include <memory>

using namespace KelAccount;
using namespace KelTest;

namespace {

/// What the session was asked, in order, and what happens while one is opened.
QStringList asked;
bool isOpened = true;
std::function<void()> whileOpening;

} // namespace

// Nothing is written down.
namespace KelAccount::TraceFile {

void writeAfterFailure()
{
}

} // namespace KelAccount::TraceFile

// What the library has of this class is not linked.
namespace KelAccount {

KelAuthSessionInterface::KelAuthSessionInterface(QObject* parent) : QObject(parent)
{
}

KelAuthSessionInterface::~KelAuthSessionInterface() = default;

bool KelAuthSessionInterface::createAuthSession(const QString& consumerKey,
                                                const QString& consumerSecret,
                                                const QString& serviceName, int serverUrlValue,
                                                unsigned credentialsId)
{
    asked.append("open %1 %2 %3 %4 %5"_s.arg(consumerKey, consumerSecret, serviceName)
                     .arg(serverUrlValue)
                     .arg(credentialsId));
    // It may delete this object, and is the test's to replace meanwhile.
    const bool isOpen = isOpened;
    const std::function<void()> happen = whileOpening;
    if (happen)
        happen();
    return isOpen;
}

void KelAuthSessionInterface::userIdUpdate(const QString& newUserName)
{
    asked.append("userIdUpdate %1 for %2"_s.arg(newUserName).arg(mCaller));
    mAnsweredCaller = mCaller;
}

void KelAuthSessionInterface::sendRequest(RequestData /*request*/)
{
}
void KelAuthSessionInterface::processPluginResponse(const SignOn::SessionData& /*data*/)
{
}
void KelAuthSessionInterface::processPluginError(const SignOn::Error& /*error*/)
{
}
void KelAuthSessionInterface::processBusLoss()
{
}

} // namespace KelAccount

class TestSessionRoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        asked.clear();
        isOpened = true;
        whileOpening = nullptr;
        mRefused.clear();
        mSession = std::make_unique<KelAuthSessionInterface>();
        mCalls = std::make_unique<Calls>();
        mRoad = std::make_unique<SessionRoad>(mSession.get(), *mCalls, mSettings,
                                              [this](OpenCall call, ErrorStatus why) {
                                                  mRefused.append({call, why});
                                              });
    }

    void initTestCase() { mSettings.initialize("key"_s, "secret"_s, 3, "shop"_s); }

    void aSessionIsOpenedWithWhatWasInitialised_data()
    {
        columns<bool>("isOpen");
        row("open", true);
        row("not to be had", false);
    }
    void aSessionIsOpenedWithWhatWasInitialised()
    {
        QFETCH(bool, isOpen);
        isOpened = isOpen;
        QCOMPARE(mRoad->open(17), isOpen);
        QCOMPARE(asked, QStringList({"open key secret shop 3 17"_s}));
        QVERIFY(mRefused.isEmpty()); // who opens one without a call says what becomes of that
    }

    void aCallIsAskedForInItsOwnName()
    {
        const OpenCall earlier = newCall();
        const OpenCall call = newCall();
        mSession->setCaller(earlier.id);
        mRoad->ask(call, 17, &SessionRoad::Session::userIdUpdate, "bob"_s);
        QCOMPARE(asked, QStringList({"open key secret shop 3 17"_s,
                                     "userIdUpdate bob for %1"_s.arg(call.id)}));
        QVERIFY(mRefused.isEmpty());
        QVERIFY(mCalls->isAwaited(call.id));
    }

    void aCallWithoutASessionIsRefused()
    {
        isOpened = false;
        const OpenCall call = newCall();
        mRoad->ask(call, 17, &SessionRoad::Session::userIdUpdate, "bob"_s);
        QCOMPARE(asked.size(), 1); // to be opened, and nothing else
        QCOMPARE(mRefused.size(), 1);
        QCOMPARE(mRefused.first().call.id, call.id);
        QCOMPARE(mRefused.first().call.type, call.type);
        QCOMPARE(mRefused.first().why, 806);
    }

    // Nothing goes to the plugin, and nobody is told that there is no session.
    void aCallThatIsAbandonedMeanwhileIsNeitherAskedNorRefused_data()
    {
        columns<bool>("isOpen");
        row("then open", true);
        row("then not to be had", false);
    }
    void aCallThatIsAbandonedMeanwhileIsNeitherAskedNorRefused()
    {
        QFETCH(bool, isOpen);
        isOpened = isOpen;
        const OpenCall other = newCall();
        const OpenCall call = newCall();
        mSession->setCaller(other.id);
        whileOpening = [&] { mCalls->abandon(call.id); };
        QVERIFY(!mRoad->openFor(call, 17));
        QVERIFY(mRefused.isEmpty());
        // Nor does the next request get its name.
        mSession->userIdUpdate("bob"_s);
        QCOMPARE(asked.last(), "userIdUpdate bob for %1"_s.arg(other.id));
    }

    // Whoever asks for the call that was made last means the one whose operation returns.
    void theCallThatWaitedIsTheLastOneAgain_data()
    {
        columns<bool, bool>("isOpen", "isAbandoned");
        row("open", true, false);
        row("not to be had", false, false);
        row("abandoned", true, true);
    }
    void theCallThatWaitedIsTheLastOneAgain()
    {
        QFETCH(bool, isOpen);
        QFETCH(bool, isAbandoned);
        isOpened = isOpen;
        const OpenCall call = newCall();
        whileOpening = [&] {
            newCall();
            if (isAbandoned)
                mCalls->abandon(call.id);
        };
        QCOMPARE(mRoad->openFor(call, 17), isOpen && !isAbandoned);
        QCOMPARE(mCalls->last(), call.id);
    }

    // The road ends with what it belongs to, as the calls do: none of them is touched any more.
    void aSessionThatEndsMeanwhileIsNotOpen_data()
    {
        columns<bool>("forACall");
        row("for a call", true);
        row("without one", false);
    }
    void aSessionThatEndsMeanwhileIsNotOpen()
    {
        QFETCH(bool, forACall);
        const OpenCall call = newCall();
        const CallId later = call.id + 1;
        whileOpening = [&] {
            mCalls->make();
            mSession.reset();
        };
        QVERIFY(!(forACall ? mRoad->openFor(call, 17) : mRoad->open(17)));
        QVERIFY(mRefused.isEmpty());
        QCOMPARE(mCalls->last(), later);
        QVERIFY(mCalls->isAwaited(call.id));
    }

    void anAnswerIsThatCalls()
    {
        QCOMPARE(mRoad->answer(405).call, CallId(0));
        const OpenCall call = newCall();
        mRoad->ask(call, 0, &SessionRoad::Session::userIdUpdate, "bob"_s);
        const OpenCall next = newCall();
        mSession->setCaller(next.id); // which was not what is answered
        const Answer answer = mRoad->answer(405);
        QCOMPARE(answer.call, call.id);
        QCOMPARE(answer.details.status, 405);
        QCOMPARE(answer.details.retryAfterSeconds, AnswerDetails().retryAfterSeconds);
        QVERIFY(answer.details.picture.isEmpty());
    }

private:
    struct Refused
    {
        OpenCall call;
        ErrorStatus why;
    };

    OpenCall newCall() { return {4, mCalls->make()}; }

    Settings mSettings;
    std::unique_ptr<KelAuthSessionInterface> mSession;
    std::unique_ptr<Calls> mCalls;
    std::unique_ptr<SessionRoad> mRoad;
    QVector<Refused> mRefused;
};

QTEST_GUILESS_MAIN(TestSessionRoad)
#include "tst_sessionroad.moc"
