// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs scenarios of data/, each a row: a facade with the real sign-on daemon and accounts database
// and a plugin that does as it is told. The README there says how they are written.
#include "account/accountfixture.h"
#include "account/accountsetup.h"
#include "account/fakeresthandler.h"
#include "account/kelaccountsprivate.h"
#include "account/registrationfields.h"
#include "configure/kelconfigure.h"
#include "platform/fakemodem.h"
#include "signon/kelauthsessioninterface.h"
#include "support/allaccounts.h"
#include "support/literals.h"
#include "support/sessionscenarios.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

#include <QPixmap>
#include <QTimer>

#include <utility>

using namespace KelTest;
using facadecalls::failure;
using facadecalls::line;
using KelAccount::CallId;
using KelAccount::KelAccountsPrivate;
using KelAccount::KelAuthSessionInterface;
using KelAccount::KelConfigure;

namespace {

// No other timer has it.
constexpr int longGuardMs = 61234;

QString nameOf(const char* mechanism)
{
    return text(mechanism).remove("privateMechanism_"_s);
}

/// All of a table's, by the names of their mechanisms.
template <class Table>
QString namesOf(const Table& table)
{
    QStringList names;
    for (const auto& row : table)
        names.append(nameOf(row.mechanism));
    return names.join(QLatin1Char(' '));
}

template <class Table>
auto find(const Table& table, const QString& name)
{
    for (const auto& row : table) {
        if (nameOf(row.mechanism) == name)
            return row;
    }
    qFatal("there is no %s", qPrintable(name));
}

} // namespace

class TestFacadeScenarios : public AccountFixture, private SessionScenarios
{
    Q_OBJECT

public:
    explicit TestFacadeScenarios(SessionSandbox& sandbox)
        : AccountFixture(sandbox), SessionScenarios(sandbox)
    {
        addWordsForFacades();
        addWordsForCalls();
        addWordsForStores();
        addWordsForRegistrations();
        addWordsForSurroundings();
    }

private Q_SLOTS:
    void cleanup() { endFacade(); }

    void everyScenario_data() { scenarioRows(); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        QStringList user;
        const QVariantMap data = userData();
        for (auto it = data.cbegin(); it != data.cend(); ++it)
            user.append(it.key() + QLatin1Char('=') + it.value().toString());
        mValues = {{"setups"_s, namesOf(facadecalls::setUps())},
                   {"operations"_s, namesOf(facadecalls::ofTheSession())},
                   {"user"_s, user.join(" | "_s)},
                   {"moment"_s, qEnvironmentVariable("KEL_BUS_ENDS_IN")}};
        QVERIFY(start());
        const QString problem = problemOf(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void aScenarioThatDoesNotHoldFails()
    {
        QVERIFY(start());
        QCOMPARE(whichHolds(R"(facade; answered closeResponse(0)
            facade; call close; answered nothing
            facade; unlogged
            facade; facade is-gone
            facade; configured yes
            facade; start signIn somehow
            facade; last call
            facade; next call; last call
            facade; abandon nobody
            facade; answers-to somebody
            facade; answering somebody
            in-answer call close
            facade; behind-answer call close
            left identity|1
            store first; left nothing
            account enabled 17; both-or-neither
            fresh; at-service 1
            facade; register emailAddress=a; registered firstName=b
            fresh; tag-asked :SSO
            accounts no statement
            in accounts select 1 => 2
            think about it)"_s),
                 QString());
    }

private:
    bool start()
    {
        mInAnswer = nullptr;
        mCalls.clear();
        forgetPlugin();
        return reset();
    }

    void useFacade()
    {
        mAnswered.clear();
        mRecorder->afterwards = [this](const QString&) {
            mAnswered.append(orchestrator()->calls().answered());
            if (const auto steps = std::exchange(mInAnswer, nullptr))
                steps();
        };
    }

    KelAccountsPrivate* orchestrator() const { return mAccounts->findChild<KelAccountsPrivate*>(); }

    void addWordsForFacades()
    {
        word("fresh", [this](const QString&) { return start(); });
        word("signed-in", [this](const QString&) {
            start();
            const bool isDone = resetForSignedInUser();
            mValues["own"_s] = QString::number(mCredentials);
            useFacade();
            return isDone;
        });
        word("facade", [this](const QString& what) {
            if (what == "is-gone"_s)
                return !mAccounts;
            if (what == "ends"_s) {
                mAccounts.reset();
                return true;
            }
            makeFacade(what != "uninitialized"_s);
            useFacade();
            return true;
        });
        word("answers", [this](const QString& text) {
            mRecorder->waitFor(expectedLines(text).size(), 20000);
            letPass(20);
            return compareAnswers(text);
        });
        word("answered", [this](const QString& text) { return compareAnswers(text); });
        word("forget", [this](const QString& what) {
            mRecorder->clear();
            return what == "answers"_s;
        });
        word("in-answer", [this](const QString& steps) {
            mInAnswer = prepared(steps);
            return true;
        });
        // Behind the facade, which has done by then what it does in the plugin's answer.
        word("behind-answer", [this](const QString& steps) {
            auto* const session = mAccounts->findChild<KelAuthSessionInterface*>();
            const auto action = [first = true, then = prepared(steps)]() mutable {
                if (std::exchange(first, false))
                    then();
            };
            connect(session, &KelAuthSessionInterface::signInResponse, this, action);
            connect(session, &KelAuthSessionInterface::registerationCompleted, this, action);
            return session != nullptr;
        });
    }

    QString compareAnswers(const QString& text)
    {
        const quint32 id = identities().value(0);
        mValues["id"_s] = QString::number(id);
        mValues["next"_s] = QString::number(id + 1);
        QStringList found = lines();
        const QStringList expected = expectedLines(text);
        for (int i = 0; i < qMin(found.size(), expected.size()); ++i) {
            if (expected.at(i) == "*"_s)
                found[i] = "*"_s;
        }
        return same(found.join(" + "_s), expected.join(" + "_s));
    }

    /// "failed signIn 615 + closeResponse(0)": lines as the recorder writes them.
    QStringList expectedLines(const QString& text) const
    {
        QStringList expected;
        if (text == "nothing"_s)
            return expected;
        const QStringList parts = text.split(" + "_s);
        for (const QString& part : parts) {
            const QStringList words = part.split(QLatin1Char(' '));
            const int status = words.last().toInt();
            if (words.first() == "everything"_s)
                expected += everythingRefused(status);
            else if (words.first() == "failed"_s)
                expected.append(failure(find(facadecalls::setUps(), words.value(1)), status));
            else if (words.first() == "succeeded"_s)
                expected.append(
                    success(find(facadecalls::setUps(), words.value(1)), identities().value(0)));
            else if (words.first() == "answered"_s)
                expected.append(line(operation(words.value(1)).answer, status));
            else if (words.first() == "refused"_s)
                expected.append(line(operation(words.value(1)).refusal, status));
            else if (words.first() == "badly"_s)
                expected +=
                    QStringList(QVector<QString>(operation(words.value(1)).badCalls().size(),
                                                 line(operation(words.value(1)).refusal, status))
                                    .toList());
            else
                expected.append(QString(part).replace("IDENTITY"_s, mValues.value("id"_s)));
        }
        return expected;
    }

    static Operation operation(const QString& name)
    {
        return find(facadecalls::ofTheSession(), name);
    }

    /// Everything that a set-up under way refuses, with good arguments and with bad ones.
    void callEverything()
    {
        for (const auto& operation : facadecalls::ofTheSession()) {
            operation.call(*mAccounts);
            for (const auto& bad : operation.badCalls())
                bad.call(*mAccounts);
        }
        for (const auto& setUp : facadecalls::setUps()) {
            setUp.start(*mAccounts, true);
            setUp.startWithoutArguments(*mAccounts);
        }
    }

    static QStringList everythingRefused(int status)
    {
        QStringList lines;
        for (const auto& operation : facadecalls::ofTheSession()) {
            for (int i = 0; i <= operation.badCalls().size(); ++i)
                lines.append(line(operation.refusal, status));
        }
        for (const auto& setUp : facadecalls::setUps())
            lines += {failure(setUp, status), failure(setUp, status)};
        return lines;
    }

    void addWordsForCalls()
    {
        word("start", [this](const QString& text) {
            const QString how = text.section(QLatin1Char(' '), 1);
            const SetUp setUp = find(facadecalls::setUps(), text.section(QLatin1Char(' '), 0, 0));
            if (how == "without arguments"_s) {
                setUp.startWithoutArguments(*mAccounts);
                return true;
            }
            setUp.start(*mAccounts, how != "without an account"_s);
            return how.isEmpty() || how.endsWith(" an account"_s);
        });
        word("call", [this](const QString& name) {
            if (name == "everything"_s)
                callEverything();
            else if (name == "close"_s)
                mAccounts->close();
            else if (name == "isUserIdAvailable"_s)
                mAccounts->isUserIdAvailable("somebody"_s);
            else
                operation(name).call(*mAccounts);
            return true;
        });
        word("call-badly", [this](const QString& name) {
            for (const auto& bad : operation(name).badCalls())
                bad.call(*mAccounts);
            return true;
        });
        word("ensure", [this](const QString& credentials) {
            mAccounts->ensureTokenAvailable(credentials.toUInt());
            return true;
        });
        word("succeeds",
             [this](const QString& name) { return succeeds(find(facadecalls::setUps(), name)); });
        word("name", [this](const QString& name) {
            mCalls[name] = orchestrator()->calls().last();
            return mCalls[name] != 0;
        });
        word("next", [this](const QString& name) {
            mCalls[name] = orchestrator()->calls().next();
            return mCalls[name] != 0;
        });
        word("last", [this](const QString& name) {
            return orchestrator()->calls().last() == mCalls.value(name);
        });
        word("abandon", [this](const QString& name) {
            orchestrator()->abandon(mCalls.value(name));
            return mCalls.contains(name);
        });
        word("answers-to", [this](const QString& names) {
            QStringList found;
            for (const CallId call : qAsConst(mAnswered))
                found.append(mCalls.key(call, QString::number(call)));
            return same(found.isEmpty() ? "nobody"_s : found.join(QLatin1Char(' ')), names);
        });
        word("answering", [this](const QString& name) {
            return orchestrator()->calls().answered() == mCalls.value(name) && name == "nobody"_s;
        });
        word("withdrawn", [this](const QString&) {
            const auto* const machine = mAccounts->findChild<KelAccount::AccountSetUp*>();
            return waitUntil([machine] { return machine->pending() == 0; });
        });
        word("at-service",
             [](const QString& count) { return FakeRestHandler::sent().size() == count.toInt(); });
    }

    void addWordsForStores()
    {
        word("left", [this](const QString& what) {
            return same(textOf(identitiesAndAccounts()), what == "nothing"_s ? QString() : what);
        });
        word("leaves", [this](const QString& what) {
            return waitUntil([&] { return identities().size() == what.toInt(); });
        });
        word("leaves-nothing", [this](const QString& name) { return leavesNothing(name); });
        word("both-or-neither", [this](const QString&) {
            QList<QVariantList> expected;
            for (const quint32 id : identities())
                expected.append({"the-user-id"_s, QString::number(id)});
            return deviceAccounts() == expected;
        });
        word("store", [this](const QString& name) {
            const quint32 credentials = storeIdentity();
            mValues[name] = QString::number(credentials);
            return credentials > 0;
        });
        word("account", [](const QString& text) {
            if (text.startsWith("none"_s))
                return true;
            return text == "gone"_s
                       ? KelTest::removeAllAccounts()
                       : createDeviceAccount(text.section(QLatin1Char(' '), 1).toUInt(),
                                             text.startsWith("enabled"_s));
        });
        word("configured", [this](const QString& expected) {
            return mAccounts->isKeLAccountConfigured() == (expected == "yes"_s);
        });
    }

    /// Of the record as the plugin got it: the fields that the text names.
    QString registered(const QString& text) const
    {
        const QVariantMap fields =
            fieldsOfRegistration(mSandbox.requests().value(1).data.value("RegistrationData"_s));
        const QVariantMap expected = dataOf(text);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            if (fields.value(it.key()) != it.value())
                return it.key() + " is "_s + fields.value(it.key()).toString();
        }
        return {};
    }

    void addWordsForRegistrations()
    {
        word("sign-in", [this](const QString& text) {
            mAccounts->signInAndConfigure(text.section(QLatin1Char('|'), 0, 0),
                                          text.section(QLatin1Char('|'), 1), true);
            return true;
        });
        word("register", [this](const QString& text) {
            KelAccount::RegistrationInfo record;
            const bool isFilled = fill(record, dataOf(text));
            mAccounts->registerAccount(record, true);
            return isFilled;
        });
        word("register-object", [this](const QString& text) {
            KelAccount::RegistrationInfo record;
            const bool isFilled = fill(record, dataOf(text));
            mAccounts->registerAccount(static_cast<QObject*>(&record), false);
            return isFilled;
        });
        word("register-other", [this](const QString& what) {
            QObject other;
            mAccounts->registerAccount(what == "null"_s ? nullptr : &other, true);
            return true;
        });
        word("registered", [this](const QString& fields) { return registered(fields); });
        word("captcha", [](const QString& id) {
            FakeRestHandler::latest().retrieveCaptchaImageResponse(0, {}, id);
            return true;
        });
        word("tag-server", [this](const QString& what) {
            mTagServer.reset();
            TagServerAddress::setProgram("/nonexistent/tag-server");
            return what == "away"_s;
        });
        word("tag-asked", [this](const QString& purpose) {
            const QByteArray asked =
                mTagServer->frames().value(0).mid(7); // behind the frame's head
            return mTagServer->connections() == 1 && asked.startsWith(purpose.toLatin1());
        });
    }

    /// Of each identity its number, of each account its name and credentials.
    QList<QVariantList> identitiesAndAccounts() const
    {
        QList<QVariantList> rows;
        for (const quint32 id : identities())
            rows.append({"identity"_s, id});
        return rows + deviceAccounts();
    }

    /// Nothing was said, nothing is left behind, and a new facade finds everything in order.
    bool leavesNothing(const QString& setUp)
    {
        if (!waitUntil([this] { return identities().isEmpty(); }))
            return false;
        letPass(100);
        if (!lines().isEmpty() || !identitiesAndAccounts().isEmpty())
            return false;
        makeFacade();
        return succeeds(find(facadecalls::setUps(), setUp));
    }

    void addWordsForSurroundings()
    {
        word("sims", [](const QString& state) {
            FakeModem::setModems({{{}, {}, "356938035643809"_s}});
            if (state != "none"_s)
                FakeModem::setSims({{state == "locked"_s, "244051234567890"_s, "244"_s, "05"_s}});
            return true;
        });
        word("patience", [this](const QString& text) {
            setPatience(text.section(QLatin1Char(' '), 0, 0),
                        text.section(QLatin1Char(' '), 1).toInt());
            return true;
        });
        word("bus-ends", [this](const QString& moment) {
            if (moment == "rest"_s)
                return run({"kill bus"_s, "pause 100"_s, "answered nothing"_s});
            const QString problem =
                run({"plugin %1 hangs"_s.arg(moment), "at %1 kill bus"_s.arg(moment),
                     "start "_s + moment, "answers *"_s});
            // The sign-on library's "internal communication"; or, of a daemon that was quicker to
            // end than the news of the bus, its "cancelled".
            const bool isEither = compareAnswers("failed %1 3"_s.arg(moment)).isEmpty() ||
                                  compareAnswers("failed %1 311"_s.arg(moment)).isEmpty();
            return problem.isEmpty() && !isEither ? lines().join(" + "_s) : problem;
        });
        // Boxes that outlive every guard that still runs when one opens. Those of the accounts and
        // of identities are no children of the facade, so that they are short from the beginning;
        // an operation has none of them.
        word("boxes", [this](const QString& where) {
            const bool isOfOperations = where == "around operations"_s;
            const int guardMs = isOfOperations ? 100 : 600;
            setPatience("store"_s, longGuardMs);
            for (const auto& guard : {"account"_s, "removal"_s})
                setPatience(guard, isOfOperations ? longGuardMs : guardMs);
            mAccounts->findChild<KelAccount::AccountSetUp*>()->setReservationTimeout(longGuardMs);
            mAccounts->findChild<KelAuthSessionInterface*>()->setOpeningTimeout(longGuardMs);
            mRecorder->afterwards = [this, guardMs,
                                     next = mRecorder->afterwards](const QString& name) {
                for (QTimer* const timer : mAccounts->findChildren<QTimer*>()) {
                    if (timer->isActive() && timer->interval() == longGuardMs)
                        timer->setInterval(guardMs); // and so begins anew
                }
                next(name);
            };
            mRecorder->stayInSlots(guardMs + guardMs / 2);
            return isOfOperations || where.isEmpty();
        });
    }

    void setPatience(const QString& with, int milliseconds)
    {
        auto* const store = mAccounts->findChild<KelConfigure*>();
        if (with == "store"_s)
            store->setStoreTimeout(milliseconds);
        else if (with == "account"_s)
            store->setAccountTimeout(milliseconds);
        else
            store->setRemovalTimeout(milliseconds);
    }

    void passTime(int milliseconds) override { letPass(milliseconds); }

    QMap<QString, CallId> mCalls; // by the names that they were given
    QList<CallId> mAnswered;
    std::function<void()> mInAnswer;
};

KEL_TEST_IN_SESSION(TestFacadeScenarios)
#include "tst_facade_scenarios.moc"
