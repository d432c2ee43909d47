// SPDX-License-Identifier: LGPL-2.1-or-later
// The set-up by itself: every event in every state, with steps that only write down what they are
// asked for.
#include "account/accountsetup.h"

#include <QFile>
#include <QMetaEnum>
#include <QTemporaryDir>
#include <QTest>

#include <kelaccount/errorstatus.h>

#include <functional>
#include <memory>

using namespace KelAccount;
using SetUp::Action;
using SetUp::Event;
using SetUp::State;

namespace {

constexpr quint32 credentials = 7;
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

    bool store(const QString& /*name*/, const QString& /*password*/) override
    {
        calls.append(QStringLiteral("store"));
        return stores;
    }
    bool openSession(quint32 id) override
    {
        calls.append(QStringLiteral("open %1").arg(id));
        if (inOpening)
            inOpening();
        return true;
    }
    void askPlugin(int kind) override { calls.append(QStringLiteral("ask %1").arg(kind)); }
    bool hasAccount() override
    {
        calls.append(QStringLiteral("look"));
        return false;
    }
    bool createAccount(const SignOn::SessionData& /*data*/) override
    {
        calls.append(QStringLiteral("create"));
        return true;
    }
    void reportDevice() override { calls.append(QStringLiteral("report")); }
    void takeBack(quint32 id, const std::function<void()>& next) override
    {
        calls.append(
            (next ? QStringLiteral("take back %1") : QStringLiteral("remove unseen %1")).arg(id));
        onTakenBack = next;
    }
    void takeAllBack(quint32 id, const std::function<void()>& next) override
    {
        calls.append(QStringLiteral("take all back %1").arg(id));
        onTakenBack = next;
    }
    void answer(int kind, int status, const QVariantMap& result, bool later) override
    {
        const QString line = QStringLiteral("answer %1 %2%3").arg(kind).arg(status);
        answers.append(line.arg(later ? QStringLiteral(" later") : QString()));
        calls.append(answers.last());
        QCOMPARE(result.isEmpty(), status != ErrorNone);
        if (const auto action = std::exchange(inAnswer, nullptr))
            action();
    }
};

/// The step that an action shows by, or nothing.
QString firstStepOf(State state, Action action)
{
    switch (action) {
    case Action::Store:
        return QStringLiteral("store");
    case Action::Refuse:
        return QStringLiteral("answer 2 800 later");
    case Action::Announce:
        return QStringLiteral("answer 2 800");
    case Action::OpenSession:
        return QStringLiteral("open 7");
    case Action::AskPlugin:
        return QStringLiteral("ask 2");
    case Action::Create:
        return QStringLiteral("create");
    case Action::Complete:
        return QStringLiteral("report");
    case Action::TakeBack:
        return QStringLiteral("take back 7");
    case Action::TakeAllBack:
        return QStringLiteral("take all back 7");
    case Action::Answer: // nothing has failed while it was stored in vain
        return state == State::TakingBack ? QStringLiteral("answer 2 615")
                                          : QStringLiteral("answer 2 405");
    case Action::RemoveUnseen:
        return QStringLiteral("remove unseen 7");
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
    void initTestCase();
    void init();
    void theDocumentShowsTheTable();
    void everyEventInEveryState_data();
    void everyEventInEveryState();
    void anOutcomeWithoutASetUpDoesNothing();
    void aSetUpThatIsWithdrawnLeavesNothing_data();
    void aSetUpThatIsWithdrawnLeavesNothing();
    void aSetUpThatWaitsTooLongForTheAccountsIsTakenBack();
    void aSetUpThatGetsTheAccountsInTheEndGoesOn();

private:
    static QString cell(const QString& text, State state, Event event);
    void at(State state, const std::function<void()>& action);
    void send(Event event);
    void goOn();

    QTemporaryDir mFolder;
    FakeSteps* mSteps = nullptr; // the machine's
    std::unique_ptr<AccountSetUp> mSetUp;
    AccountsLock mOther;
};

void TestAccountSetUp::initTestCase()
{
    QVERIFY(mFolder.isValid());
    qputenv("ACCOUNTS", QFile::encodeName(mFolder.path()));
}

void TestAccountSetUp::init()
{
    auto steps = std::make_unique<FakeSteps>();
    mSteps = steps.get();
    mSetUp = std::make_unique<AccountSetUp>(std::move(steps), nullptr);
    mOther.release();
}

/// What the document's table says about an event in a state.
QString TestAccountSetUp::cell(const QString& text, State state, Event event)
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
    return QStringLiteral("not there");
}

void TestAccountSetUp::theDocumentShowsTheTable()
{
    QFile file(QStringLiteral(KELACCOUNT_SIGNON_DOCUMENT));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    for (int s = 0; s < QMetaEnum::fromType<State>().keyCount(); ++s) {
        for (int e = 0; e < QMetaEnum::fromType<Event>().keyCount(); ++e) {
            const auto state = State(s);
            const SetUp::Transition expected = SetUp::transition(state, Event(e));
            QString there =
                nameOf(expected.action) + QString::fromUtf8(" → ") + nameOf(expected.next);
            if (expected.next == state && expected.action == Action::Ignore)
                there = QString::fromUtf8("·");
            if (expected.next == state && expected.action == Action::Complain)
                there = QStringLiteral("complain");
            QCOMPARE(nameOf(state) + QLatin1Char(' ') + nameOf(Event(e)) + QLatin1String(": ") +
                         cell(text, state, Event(e)),
                     nameOf(state) + QLatin1Char(' ') + nameOf(Event(e)) + QLatin1String(": ") +
                         there);
        }
    }
}

/// Brings a set-up into the state and runs the action there.
void TestAccountSetUp::at(State state, const std::function<void()>& action)
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
        mSetUp->begin(AccountSetUp::Registration, QStringLiteral("n"), QStringLiteral("p"), true);
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

void TestAccountSetUp::send(Event event)
{
    if (event == Event::Begun)
        mSetUp->begin(AccountSetUp::Registration, QStringLiteral("n"), QStringLiteral("p"), true);
    else if (event == Event::Stored)
        mSetUp->stored(credentials);
    else if (event == Event::Succeeded)
        mSetUp->succeeded(SignOn::SessionData());
    else
        mSetUp->handle(event, pluginsError);
}

/// All goes well from here on.
void TestAccountSetUp::goOn()
{
    mOther.release();
    for (int i = 0; i < SetUp::stateCount && mSetUp->state() != State::Idle; ++i) {
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

void TestAccountSetUp::everyEventInEveryState_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("event");
    for (int s = 0; s < QMetaEnum::fromType<State>().keyCount(); ++s) {
        for (int e = 0; e < QMetaEnum::fromType<Event>().keyCount(); ++e)
            QTest::addRow("%s, %s", qPrintable(nameOf(State(s))), qPrintable(nameOf(Event(e))))
                << s << e;
    }
}

void TestAccountSetUp::everyEventInEveryState()
{
    QFETCH(int, state);
    QFETCH(int, event);
    const SetUp::Transition expected = SetUp::transition(State(state), Event(event));
    QVERIFY(expected.action != Action::Missing);
    const bool nothing = expected.action == Action::Ignore || expected.action == Action::Complain;
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
        answers = Event(event) == Event::Begun ? 1 : 0;
    else if (Event(event) == Event::Abandoned && State(state) != State::Announcing)
        answers = 0;
    QCOMPARE(mSteps->answers.size(), answers);
}

void TestAccountSetUp::anOutcomeWithoutASetUpDoesNothing()
{
    for (const Event event : {Event::Stored, Event::NotStored, Event::Failed, Event::Succeeded,
                              Event::AccountStored, Event::AccountFailed, Event::TakenBack})
        send(event);
    QCOMPARE(mSteps->calls, QStringList());
    QCOMPARE(mSetUp->credentialsId(), 0U);
    QCOMPARE(mSetUp->sessionCredentials(), 0U);
}

void TestAccountSetUp::aSetUpThatIsWithdrawnLeavesNothing_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QStringList>("steps");
    const QString answer = QStringLiteral("answer 2 405");
    const QStringList takenBack = {QStringLiteral("take back 7"), answer};
    QTest::newRow("while the daemon stores") << int(State::Storing) << takenBack;
    QTest::newRow("while the plugin works") << int(State::Asking) << takenBack;
    QTest::newRow("while another has the accounts") << int(State::Reserving) << takenBack;
    QTest::newRow("while the database stores")
        << int(State::Creating) << QStringList({QStringLiteral("take all back 7"), answer});
}

void TestAccountSetUp::aSetUpThatIsWithdrawnLeavesNothing()
{
    QFETCH(int, state);
    at(State(state), [this] { mSetUp->handle(Event::Withdrawn); });
    QVERIFY(mSetUp->pending() != AccountSetUp::None);
    goOn();
    QTEST(mSteps->calls, "steps");
    QCOMPARE(mSetUp->state(), State::Idle);
    QCOMPARE(mSetUp->sessionCredentials(), 0U);
    QVERIFY(!mSetUp->hasReturned(credentials));
}

void TestAccountSetUp::aSetUpThatWaitsTooLongForTheAccountsIsTakenBack()
{
    mSetUp->setReservationTimeout(150);
    at(State::Reserving, [] {});
    QTRY_COMPARE(mSetUp->state(), State::TakingBack);
    QCOMPARE(mSteps->calls, QStringList(QStringLiteral("take back 7")));
    mSteps->onTakenBack();
    QCOMPARE(mSteps->answers, QStringList(QStringLiteral("answer 2 805")));
}

void TestAccountSetUp::aSetUpThatGetsTheAccountsInTheEndGoesOn()
{
    at(State::Reserving, [] {});
    mOther.release();
    QTRY_COMPARE(mSetUp->state(), State::Creating);
    QCOMPARE(mOther.tryTake(), AccountsLock::Busy);
    mSetUp->handle(Event::AccountStored);
    QCOMPARE(mOther.tryTake(), AccountsLock::Taken);
    QCOMPARE(mSteps->answers, QStringList(QStringLiteral("answer 2 0")));
}

QTEST_GUILESS_MAIN(TestAccountSetUp)
#include "tst_accountsetup.moc"
