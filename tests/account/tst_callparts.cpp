// SPDX-License-Identifier: LGPL-2.1-or-later
// What the orchestrator keeps its calls by, each part alone: who is answered and how often, what a
// call is refused by, what was initialised, and the road to the service.
#include "account/calls.h"
#include "account/fakeresthandler.h"
#include "account/refusal.h"
#include "account/sentrequests.h"
#include "account/serviceroad.h"
#include "account/settings.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QTest>

#include <array>
#include <new>

using namespace KelAccount;
using namespace KelTest;

namespace {

enum Type { First, Second, EndOfTypes };

class Refuser : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void plain(KelAccount::ErrorStatus error);
    void carrying(KelAccount::ErrorStatus error, bool flag, QStringList texts);
};

constexpr Refusal first{First, &Refuser::plain};
constexpr Refusal second{Second, &Refuser::carrying};
constexpr auto table = std::make_tuple(first, second);

static_assert(coversAllUpTo(EndOfTypes, table));
static_assert(!coversAllUpTo(EndOfTypes, std::make_tuple(first)), "the last is missing");
static_assert(!coversAllUpTo(EndOfTypes, std::make_tuple(second)), "the first is missing");
static_assert(!coversAllUpTo(EndOfTypes, std::make_tuple(second, first)), "out of order");
static_assert(!coversAllUpTo(EndOfTypes, std::make_tuple(first, second, second)), "twice");

class NoSigner : public KelRestHandler::ISignatureProvider
{
public:
    QString getToken(const QString& /*key*/) override { return {}; }
    QString createSignature(const QString& /*key*/, const QString& /*base*/, bool /*use*/) override
    {
        return {};
    }
    QString getTimeStamp() override { return {}; }
};

} // namespace

class TestCallParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FakeRestHandler::reset(); }

    void anIdentityIsNotGivenTwice()
    {
        Calls calls;
        QCOMPARE(calls.last(), CallId(0));
        const CallId expected = calls.next();
        const CallId one = calls.make();
        QCOMPARE(one, expected);
        QCOMPARE(calls.last(), one);
        QVERIFY(one != 0);
        QVERIFY(calls.answer({one, 0}, [] {}));
        const CallId two = calls.make();
        QVERIFY(two != one);
        QCOMPARE(calls.last(), two);
        calls.returnFrom(one);
        QCOMPARE(calls.last(), one);
        QVERIFY(calls.next() != one && calls.next() != two);
    }

    void aCallIsAnsweredOnce()
    {
        Calls calls;
        const CallId call = calls.make();
        QVERIFY(calls.isAwaited(call));
        int emitted = 0;
        const auto emitSignals = [&] { ++emitted; };
        QVERIFY(calls.answer({call, 0}, emitSignals));
        QVERIFY(!calls.isAwaited(call));
        QVERIFY(!calls.answer({call, 0}, emitSignals));
        QVERIFY(!calls.answer({call + 1, 0}, emitSignals)); // not made yet
        QCOMPARE(emitted, 1);
    }

    void whatBelongsToNoCallIsAnsweredAllTheSame()
    {
        Calls calls;
        int emitted = 0;
        for (int i = 0; i < 2; ++i)
            QVERIFY(calls.answer({0, 0}, [&] { ++emitted; }));
        QCOMPARE(emitted, 2);
    }

    void anAbandonedCallIsNotAnswered()
    {
        Calls calls;
        const CallId call = calls.make();
        QVERIFY(calls.abandon(call));
        QVERIFY(!calls.abandon(call));
        QVERIFY(!calls.abandon(call + 1));
        QVERIFY(!calls.answer({call, 0}, [] { QFAIL("answered"); }));
    }

    void anAnswerSaysWhatItAnswers()
    {
        Calls calls;
        const CallId outer = calls.make();
        const CallId inner = calls.make();
        QVector<CallId> answered;
        QVector<int> statuses;
        const auto note = [&] {
            answered.append(calls.answered());
            statuses.append(calls.answerDetails().status);
        };
        const auto noteAround = [&] {
            note();
            calls.answer({inner, 508}, note);
        };
        calls.answer({outer, 403}, noteAround, note);
        note();
        QCOMPARE(answered, QVector<CallId>({outer, inner, outer, 0}));
        QCOMPARE(statuses, QVector<int>({403, 508, 403, 0}));
    }

    void aCallThatIsAbandonedInASlotWasNotHeard()
    {
        Calls calls;
        const CallId outer = calls.make();
        const CallId inner = calls.make();
        const bool isHeard = calls.answer(
            {outer, 0},
            [&] {
                const bool isInnerHeard = calls.answer({inner, 0}, [&] {
                    QVERIFY(!calls.abandon(outer));
                    QVERIFY(!calls.abandon(inner + 1)); // another changes nothing
                });
                QVERIFY(isInnerHeard);
            },
            [] { QFAIL("more was emitted"); });
        QVERIFY(!isHeard);
    }

    // Whoever calls an operation that answers at once asks for its number afterwards.
    void whatIsMadeInASlotIsNotTheLastOne()
    {
        Calls calls;
        const CallId call = calls.make();
        calls.answer({call, 0}, [&] {
            const CallId inner = calls.make();
            calls.answer({inner, 0}, [&] { calls.make(); });
            QCOMPARE(calls.last(), inner);
        });
        QCOMPARE(calls.last(), call);
    }

    // As an application does that deletes the facade in the slot of an answer.
    void theyMayGoWhileTheyAnswer()
    {
        constexpr unsigned char somebodyElses = 0xa5;
        alignas(Calls) std::array<unsigned char, sizeof(Calls)> place{};
        auto* const calls = new (place.data()) Calls;
        const CallId outer = calls->make();
        const CallId inner = calls->make();
        bool isInnerHeard = false;
        const bool isHeard = calls->answer(
            {outer, 0},
            [&] {
                isInnerHeard = calls->answer({inner, 0}, [&] {
                    calls->~Calls();
                    place.fill(somebodyElses);
                });
            },
            [] { QFAIL("more was emitted"); });
        QVERIFY(isHeard && isInnerHeard);
        for (const unsigned char byte : place)
            QCOMPARE(byte, somebodyElses);
    }

    void aRequestIsItsCallsUntilItIsTaken()
    {
        SentRequests requests;
        requests.add(12, 1, nullptr);
        requests.add(11, 2, nullptr);
        QCOMPARE(requests.requestOf(1), 12);
        QCOMPARE(requests.requestOf(2), 11);
        QCOMPARE(requests.take(12), CallId(1));
        QCOMPARE(requests.take(12), CallId(0));
        QCOMPARE(requests.requestOf(1), -1);
        QCOMPARE(requests.requestOf(2), 11);
        QCOMPARE(requests.take(-1), CallId(0));
    }

    void aTypeIsRefusedByItsSignal()
    {
        Refuser refuser;
        QStringList seen;
        connect(&refuser, &Refuser::plain, this,
                [&](ErrorStatus error) { seen.append("plain %1"_s.arg(error)); });
        connect(&refuser, &Refuser::carrying, this,
                [&](ErrorStatus error, bool flag, const QStringList& texts) {
                    seen.append("carrying %1 %2 %3"_s.arg(error).arg(flag).arg(texts.size()));
                });
        QVERIFY(refuseBy(table, refuser, Second, ErrorInvalidParameter));
        QVERIFY(refuseBy(table, refuser, First, ErrorUnknown));
        QVERIFY(!refuseBy(table, refuser, EndOfTypes, ErrorUnknown));
        QCOMPARE(seen, QStringList({"carrying 1001 0 0"_s, "plain 1003"_s}));
    }

    void settingsAreGivenOnce()
    {
        Settings settings;
        QVERIFY(!settings.areGiven());
        QCOMPARE(settings.initialize(QString(), "secret"_s, 2, "shop"_s), ErrorInvalidParameter);
        QCOMPARE(settings.initialize("key"_s, QString(), 2, "shop"_s), ErrorInvalidParameter);
        QVERIFY(!settings.areGiven());
        QVERIFY(settings.consumerKey().isEmpty() && settings.serverUrl().isEmpty());
        QCOMPARE(settings.initialize("key"_s, "secret"_s, 3, "shop"_s), ErrorNone);
        QVERIFY(settings.areGiven());
        QCOMPARE(settings.initialize("other"_s, "other"_s, 0, "other"_s), ErrorInvalidRequest);
        QCOMPARE(settings.initialize(QString(), QString(), 0, QString()), ErrorInvalidRequest);
        QCOMPARE(settings.consumerKey(), "key"_s);
        QCOMPARE(settings.consumerSecret(), "secret"_s);
        QCOMPARE(settings.serverIndex(), 3);
        QCOMPARE(settings.serverUrl(), QStringLiteral("https://" TEST_HOST_STAGING "/rest/1.0/"));
        QCOMPARE(settings.zorService(), "shop"_s);
    }

    void aQuestionIsRefusedOrSent_data()
    {
        columns<bool, bool, bool, bool, int>("good", "initialized", "operation", "accepted",
                                             "status");
        row("bad arguments, before initialize", false, false, true, true, 1001);
        row("bad arguments", false, true, true, true, 1001);
        row("before initialize", true, false, true, true, 802);
        row("without an operation", true, true, false, true, 1002);
        row("not sent", true, true, true, false, 1002);
        row("sent", true, true, true, true, 0);
    }
    void aQuestionIsRefusedOrSent()
    {
        QFETCH(bool, good);
        QFETCH(bool, initialized);
        QFETCH(bool, operation);
        QFETCH(bool, accepted);
        QFETCH(int, status);
        if (initialized)
            mSettings.initialize("key"_s, "secret"_s, 2, "shop"_s);
        if (!accepted)
            FakeRestHandler::refuseRequests();
        Road road(mSettings);
        const MessageLog log;
        road.ask(good, operation ? &ServiceRoad::Rest::sendQueryMarketingRequest : nullptr);
        QCOMPARE(road.refused, status == 0 ? QVector<int>() : QVector<int>({status}));
        QCOMPARE(log.hasCritical("Failed to ask"), status == 1002);
        QCOMPARE(FakeRestHandler::sent().size(), operation && good && initialized ? 1 : 0);
        // What was sent is the call's, until it is answered.
        const int request = status == 0 ? FakeRestHandler::lastRequestId() : 5;
        FakeRestHandler::answer({request, {}}, [&] {
            QCOMPARE(road.road.answer(403).call, CallId(status == 0 ? Road::call.id : 0));
            QCOMPARE(road.road.answer(403).call, CallId(0));
            QCOMPARE(road.road.answer(403).details.status, 403);
        });
    }

    void anAbandonedQuestionIsTakenBack()
    {
        mSettings.initialize("key"_s, "secret"_s, 2, "shop"_s);
        Road road(mSettings);
        road.ask(true, &ServiceRoad::Rest::sendQueryMarketingRequest);
        road.road.abandon(Road::call.id + 1);
        QCOMPARE(FakeRestHandler::abandoned(), QVector<int>());
        road.road.abandon(Road::call.id);
        road.road.abandon(Road::call.id);
        QCOMPARE(FakeRestHandler::abandoned(), QVector<int>({FakeRestHandler::lastRequestId()}));
    }

    void cleanup() { mSettings = Settings(); }

private:
    struct Road
    {
        explicit Road(const Settings& settings)
            : road(handler, signer, settings, [this](OpenCall refusedCall, ErrorStatus why) {
                  QCOMPARE(refusedCall.id, call.id);
                  QCOMPARE(refusedCall.type, call.type);
                  refused.append(why);
              })
        {
        }
        template <class Operation>
        void ask(bool argumentsAreGood, Operation operation)
        {
            road.ask({call, argumentsAreGood, "Failed to ask"}, operation);
        }

        static constexpr OpenCall call{4, 44};
        KelRestHandler::RESTRequestHandler handler;
        NoSigner signer;
        QVector<int> refused;
        ServiceRoad road;
    };

    Settings mSettings;
};

QTEST_MAIN(TestCallParts)
#include "tst_callparts.moc"
