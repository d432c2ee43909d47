// SPDX-License-Identifier: LGPL-2.1-or-later
// The set-up by itself: every event in every state, with steps that only write down what they are
// asked for.
#include "account/accountsetup.h"
#include "common/flightrecord.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/rows.h"

#include <QFile>
#include <QMetaEnum>
#include <QTemporaryDir>
#include <QTest>

#include <kelaccount/errorstatus.h>

#include <functional>
#include <memory>

using namespace KelAccount;
using SetUpStates::Action;
using SetUpStates::Event;
using SetUpStates::State;

namespace {

constexpr quint32 credentials = 7;
constexpr OpenCall call{3, 30};
constexpr int pluginsError = 615;

template <class Enum>
QString nameOf(Enum value)
{
    return QString::fromLatin1(QMetaEnum::fromType<Enum>().valueToKey(int(value)));
}

struct FakeSteps : public SetUpSteps
{
    QStringList calls;
    QStringList answers;
    std::function<void()> inOpening;
    std::function<void()> inAnswer;
    std::function<void()> onTakenBack;
    bool stores = true;
    bool isHeard = true;
    bool isOnDevice = false;

    bool store(const QString& /*name*/, const QString& /*password*/) override
    {
        calls.append("store"_s);
        return stores;
    }
    bool openSession(quint32 id) override
    {
        calls.append("open %1"_s.arg(id));
        if (inOpening)
            inOpening();
        return true;
    }
    void askPlugin(int kind) override { calls.append("ask %1"_s.arg(kind)); }
    bool hasAccount() override
    {
        calls.append("look"_s);
        return isOnDevice;
    }
    bool createAccount(quint32 id, const SignOn::SessionData& /*data*/) override
    {
        calls.append("create %1"_s.arg(id));
        return true;
    }
    void reportDevice() override { calls.append("report"_s); }
    void takeBack(quint32 id, const std::function<void()>& next) override
    {
        calls.append((next ? "take back %1"_s : "remove unseen %1"_s).arg(id));
        onTakenBack = next;
    }
    void takeAllBack(quint32 id, const std::function<void()>& next) override
    {
        calls.append((next ? "take all back %1"_s : "remove all unseen %1"_s).arg(id));
        onTakenBack = next;
    }
    bool answer(OpenCall its, int status, const QVariantMap& result, bool later) override
    {
        if (its.type != call.type)
            calls.append("another type"_s);
        const QString line = "answer %1 %2%3"_s.arg(its.id).arg(status);
        answers.append(line.arg(later ? " later"_s : QString()));
        calls.append(answers.last());
        if (result.isEmpty() != (status != ErrorNone))
            calls.append("values that do not fit"_s);
        if (const auto action = std::exchange(inAnswer, nullptr))
            action();
        return isHeard;
    }
};

/// The step that an action shows by, or nothing.
QString firstStepOf(State state, Action action)
{
    switch (action) {
    case Action::Store:
        return "store"_s;
    case Action::Refuse:
        return "answer 30 800 later"_s;
    case Action::Announce:
        return "answer 30 800"_s;
    case Action::OpenSession:
        return "open 7"_s;
    case Action::AskPlugin:
        return "ask 2"_s;
    case Action::Create:
        return "create 7"_s;
    case Action::Complete:
        return "report"_s;
    case Action::TakeBack:
        return "take back 7"_s;
    case Action::TakeAllBack:
        return state == State::Idle ? "take all back 0"_s : "take all back 7"_s;
    case Action::Answer: // nothing has failed while it was stored in vain
        return state == State::TakingBack ? "answer 30 615"_s : "answer 30 405"_s;
    case Action::RemoveUnseen:
        return "remove unseen 7"_s;
    case Action::RemoveAllUnseen:
        return "remove all unseen 7"_s;
    case Action::RemoveUnlessStored:
        return "look"_s;
    case Action::Reserve: // the accounts are another's
    case Action::Wait:
    case Action::Complain:
    case Action::Ignore:
    case Action::Missing:
        break;
    }
    return {};
}

} // namespace

class TestAccountSetUp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        qputenv("ACCOUNTS", QFile::encodeName(mFolder.path()));
    }

    void init()
    {
        auto steps = std::make_unique<FakeSteps>();
        mSteps = steps.get();
        mSetUp = std::make_unique<AccountSetUp>(std::move(steps), nullptr);
        mOther.release();
    }

    void theDocumentShowsTheTable()
    {
        QFile file(QStringLiteral(KELACCOUNT_SIGNON_DOCUMENT));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        for (int s = 0; s < QMetaEnum::fromType<State>().keyCount(); ++s) {
            for (int e = 0; e < QMetaEnum::fromType<Event>().keyCount(); ++e) {
                const auto state = State(s);
                const SetUpStates::Transition expected = SetUpStates::transition(state, Event(e));
                QString there = nameOf(expected.action) + " → "_s + nameOf(expected.next);
                if (expected.next == state && expected.action == Action::Ignore)
                    there = "·"_s;
                if (expected.next == state && expected.action == Action::Complain)
                    there = "complain"_s;
                QCOMPARE(nameOf(state) + QLatin1Char(' ') + nameOf(Event(e)) + QLatin1String(": ") +
                             cell(text, state, Event(e)),
                         nameOf(state) + QLatin1Char(' ') + nameOf(Event(e)) + QLatin1String(": ") +
                             there);
            }
        }
    }

    void everyEventInEveryState_data()
    {
        columns<int, int>("state", "event");
        for (int s = 0; s < QMetaEnum::fromType<State>().keyCount(); ++s) {
            for (int e = 0; e < QMetaEnum::fromType<Event>().keyCount(); ++e)
                QTest::addRow("%s, %s", qPrintable(nameOf(State(s))), qPrintable(nameOf(Event(e))))
                    << s << e;
        }
    }
    void everyEventInEveryState()
    {
        QFETCH(int, state);
        QFETCH(int, event);
        const SetUpStates::Transition expected =
            SetUpStates::transition(State(state), Event(event));
        QVERIFY(expected.action != Action::Missing);
        const bool nothing =
            expected.action == Action::Ignore || expected.action == Action::Complain;
        QStringList calls;
        State after = State::Idle;
        at(State(state), [&] {
            send(Event(event));
            calls = mSteps->calls;
            after = mSetUp->state();
        });
        if (nothing) {
            QCOMPARE(calls, QStringList());
            QCOMPARE(after, expected.next);
        }
        const QString step = firstStepOf(State(state), expected.action);
        if (!step.isEmpty())
            QCOMPARE(calls.value(0), step);
        // Whatever came when: one answer, and nothing that was stored stays after a failure.
        goOn();
        QCOMPARE(mSetUp->state(), State::Idle);
        QCOMPARE(mSetUp->pending(), int(AccountSetUp::None));
        int answers = 1;
        if (State(state) == State::Idle)
            answers = Event(event) == Event::Begun || Event(event) == Event::Unheard ? 1 : 0;
        else if (Event(event) == Event::Abandoned && State(state) != State::Announcing)
            answers = 0;
        QCOMPARE(mSteps->answers.size(), answers);
    }

    void anOutcomeWithoutASetUpDoesNothing()
    {
        for (const Event event : {Event::Stored, Event::NotStored, Event::Failed, Event::Succeeded,
                                  Event::AccountStored, Event::AccountFailed, Event::TakenBack})
            send(event);
        QCOMPARE(mSteps->calls, QStringList());
        QCOMPARE(mSetUp->credentialsId(), 0U);
        QCOMPARE(mSetUp->sessionCredentials(), 0U);
    }

    void aSetUpThatIsWithdrawnLeavesNothing_data()
    {
        columns<int, QStringList>("state", "steps");
        const QString answer = "answer 30 405"_s;
        const QStringList takenBack = {"take back 7"_s, answer};
        QTest::newRow("while the daemon stores") << int(State::Storing) << takenBack;
        QTest::newRow("while the plugin works") << int(State::Asking) << takenBack;
        QTest::newRow("while another has the accounts") << int(State::Reserving) << takenBack;
        row("while the database stores", int(State::Creating),
            QStringList({"take all back 7"_s, answer}));
    }
    void aSetUpThatIsWithdrawnLeavesNothing()
    {
        QFETCH(int, state);
        at(State(state), [this] {
            mSetUp->withdraw(call.id + 1);
            QCOMPARE(mSteps->calls, QStringList());
            mSetUp->withdraw(call.id);
        });
        QVERIFY(mSetUp->pending() != AccountSetUp::None);
        goOn();
        QTEST(mSteps->calls, "steps");
        QCOMPARE(mSetUp->state(), State::Idle);
        QCOMPARE(mSetUp->sessionCredentials(), 0U);
        QVERIFY(!mSetUp->hasReturned(credentials));
    }

    void anAccountThatIsAbandonedKeepsItsCredentials()
    {
        for (const bool isStored : {false, true}) {
            init();
            at(State::Creating, [this, isStored] {
                mSteps->isOnDevice = isStored;
                mSetUp->handle(Event::Abandoned);
            });
            const QStringList kept = {"look"_s};
            QCOMPARE(mSteps->calls, isStored ? kept : kept + QStringList("remove unseen 7"_s));
        }
    }

    void aSuccessThatNobodyHearsOfIsTakenBack()
    {
        mSteps->isHeard = false;
        at(State::Creating, [this] { mSetUp->handle(Event::AccountStored); });
        QCOMPARE(mSetUp->pending(), int(AccountSetUp::Registration));
        QVERIFY(!mSetUp->hasReturned(credentials));
        goOn();
        const QStringList steps = {"report"_s, "answer 30 0"_s, "take all back 7"_s,
                                   "answer 30 405"_s};
        QCOMPARE(mSteps->calls, steps);
        QCOMPARE(mSetUp->sessionCredentials(), 0U);
    }

    void aSetUpThatWaitsTooLongForTheAccountsIsTakenBack()
    {
        mSetUp->setReservationTimeout(150);
        at(State::Reserving, [] {});
        QTRY_COMPARE(mSetUp->state(), State::TakingBack);
        QCOMPARE(mSteps->calls, QStringList("take back 7"_s));
        mSteps->onTakenBack();
        QCOMPARE(mSteps->answers, QStringList("answer 30 805"_s));
    }

    void aSetUpThatGetsTheAccountsInTheEndGoesOn()
    {
        at(State::Reserving, [] {});
        mOther.release();
        QTRY_COMPARE(mSetUp->state(), State::Creating);
        QCOMPARE(mOther.tryTake(), AccountsLock::Busy);
        mSetUp->handle(Event::AccountStored);
        QCOMPARE(mOther.tryTake(), AccountsLock::Taken);
        QCOMPARE(mSteps->answers, QStringList("answer 30 0"_s));
    }

    void credentialsWithoutAnAccountAreKnownUntilTheyAreForgotten()
    {
        mSetUp->begin(call, AccountSetUp::SignIn, "n"_s, "p"_s, false);
        mSetUp->stored(credentials);
        mSetUp->succeeded(SignOn::SessionData());
        QCOMPARE(mSetUp->state(), State::Idle);
        QCOMPARE(mSteps->answers, QStringList("answer 30 0"_s));
        QCOMPARE(mSetUp->sessionCredentials(), credentials);
        QVERIFY(mSetUp->hasReturned(credentials));
        mSetUp->forgetCredentials(credentials + 1);
        QCOMPARE(mSetUp->sessionCredentials(), credentials);
        QVERIFY(mSetUp->hasReturned(credentials));
        mSetUp->forgetCredentials(credentials);
        QCOMPARE(mSetUp->sessionCredentials(), 0U);
        QVERIFY(!mSetUp->hasReturned(credentials));
    }

    // The flight recorder shows a set-up by them.
    void itsStatesAreRecordedOnceEach_data()
    {
        columns<bool, QStringList>("fails", "steps");
        row("success", false,
            QStringList(
                {"Storing 0"_s, "Opening 0"_s, "Asking 0"_s, "Reserving 0"_s, "Creating 0"_s}));
        row("failure", true,
            QStringList({"Storing 0"_s, "Opening 0"_s, "Asking 0"_s, "TakingBack 615"_s}));
    }
    void itsStatesAreRecordedOnceEach()
    {
        QFETCH(bool, fails);
        const qint64 begin = FlightRecord::now();
        mSetUp->begin(call, AccountSetUp::Registration, "n"_s, "p"_s, true);
        mSetUp->stored(credentials);
        if (fails)
            mSetUp->handle(Event::Failed, pluginsError);
        goOn();
        QCOMPARE(mSetUp->state(), State::Idle);
        QStringList steps;
        for (const auto& [event, when] : FlightRecord::kept()) {
            if (when >= begin && event.call == call.id &&
                event.moment == FlightRecord::Moment::Step)
                steps.append(QString::fromLatin1(event.name) + QLatin1Char(' ') +
                             QString::number(event.status));
        }
        QTEST(steps, "steps");
    }

private:
    /// What the document's table says about an event in a state.
    static QString cell(const QString& text, State state, Event event)
    {
        const QStringList lines = text.split(QLatin1Char('\n'));
        int column = -1;
        for (const QString& line : lines) {
            const QStringList cells = line.split(QLatin1String(" | "));
            if (line.startsWith(QLatin1String("| | ")))
                column = line.mid(4)
                             .remove(QLatin1String(" |"))
                             .split(QLatin1Char(' '))
                             .indexOf(nameOf(state));
            if (column >= 0 && cells.at(0) == QLatin1String("| ") + nameOf(event))
                return cells.value(column + 1).remove(QLatin1String(" |"));
        }
        return "not there"_s;
    }

    // Brings a set-up into the state and runs the action there.
    void at(State state, const std::function<void()>& action)
    {
        const auto there = [this, state, action] {
            QCOMPARE(mSetUp->state(), state);
            mSteps->calls.clear();
            action();
        };
        if (state == State::Opening)
            mSteps->inOpening = there;
        if (state == State::Announcing)
            mSteps->inAnswer = there;
        if (state == State::Reserving)
            QCOMPARE(mOther.tryTake(), AccountsLock::Taken);
        if (state != State::Idle)
            mSetUp->begin(call, AccountSetUp::Registration, "n"_s, "p"_s, true);
        if (state == State::Announcing)
            mSetUp->handle(Event::NotStored);
        else if (state != State::Idle && state != State::Storing && state != State::StoringInVain)
            mSetUp->stored(credentials);
        if (state == State::Reserving || state == State::Creating || state == State::CreatingInVain)
            mSetUp->succeeded(SignOn::SessionData());
        if (state == State::StoringInVain || state == State::CreatingInVain)
            mSetUp->handle(Event::Withdrawn);
        if (state == State::TakingBack)
            mSetUp->handle(Event::Failed, pluginsError);
        if (state != State::Opening && state != State::Announcing)
            there();
    }

    void send(Event event)
    {
        if (event == Event::Begun)
            mSetUp->begin(call, AccountSetUp::Registration, "n"_s, "p"_s, true);
        else if (event == Event::Stored)
            mSetUp->stored(credentials);
        else if (event == Event::Succeeded)
            mSetUp->succeeded(SignOn::SessionData());
        else
            mSetUp->handle(event, pluginsError);
    }

    // All goes well from here on.
    void goOn()
    {
        mOther.release();
        for (int i = 0; i < SetUpStates::stateCount && mSetUp->state() != State::Idle; ++i) {
            switch (mSetUp->state()) {
            case State::Storing:
            case State::StoringInVain:
                mSetUp->stored(credentials);
                break;
            case State::Asking:
                mSetUp->succeeded(SignOn::SessionData());
                break;
            case State::Reserving:
                mSetUp->handle(Event::Retried);
                break;
            case State::Creating:
            case State::CreatingInVain:
                mSetUp->handle(Event::AccountStored);
                break;
            case State::TakingBack:
                mSteps->onTakenBack();
                break;
            case State::Idle:
            case State::Announcing:
            case State::Opening:
                break;
            }
        }
    }

    QTemporaryDir mFolder;
    FakeSteps* mSteps = nullptr; // the machine's
    std::unique_ptr<AccountSetUp> mSetUp;
    AccountsLock mOther;
};

QTEST_GUILESS_MAIN(TestAccountSetUp)
#include "tst_accountsetup.moc"
