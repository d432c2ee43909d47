// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/target.h"

#include "operations/facadecalls.h"
#include "schedules/documented.h"
#include "schedules/handover.h"
#include "support/literals.h"
#include "support/signalrecorder.h"

#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QMap>
#include <QThread>
#include <QVector>

#include <functional>
#include <utility>

using namespace KelTest;
using KelAccount::KelAccounts;

namespace Schedules {

namespace {

struct Operation
{
    QString name;
    QString signal; ///< none where the call itself has the answer
    std::function<void(KelAccounts&)> call;
    QVector<facadecalls::BadCall> badCalls = {};
};

QVector<Operation> makeOperations()
{
    QVector<Operation> all = {
        {"initialize"_s, "initializeResponse"_s,
         [](KelAccounts& a) { a.initialize("key"_s, "planted-secret"_s, 2, "shop"_s, {}); }},
        {"initValues"_s, "initializeResponse"_s, [](KelAccounts& a) { a.initValues({}, {}, 0); }},
        {"close"_s, "closeResponse"_s, [](KelAccounts& a) { a.close(); }},
        {"retrieveCountryCode"_s, "retrieveCountryCodeResponse"_s,
         [](KelAccounts& a) { a.retrieveCountryCode(); }},
        {"isCaptchaRequired"_s, {}, [](KelAccounts& a) { a.isCaptchaRequired(); }},
        {"isKeLAccountConfigured"_s, {}, [](KelAccounts& a) { a.isKeLAccountConfigured(); }},
    };
    const auto add = [&all](const QVector<facadecalls::Operation>& operations) {
        for (const facadecalls::Operation& operation : operations)
            all.append({text(operation.name),
                        text(operation.refusal).section(QLatin1Char('('), 0, 0),
                        [operation](KelAccounts& a) { operation.call(a); }, operation.badCalls()});
    };
    add(facadecalls::ofTheService());
    add(facadecalls::ofTheSession());
    for (const facadecalls::SetUp& setUp : facadecalls::setUps()) {
        const QString signal = text(setUp.answer);
        all.append({signal.chopped(int(qstrlen("Response"))),
                    signal,
                    [start = setUp.start](KelAccounts& a) { start(a, true); },
                    {{"any", setUp.startWithoutArguments}}});
    }
    return all;
}

const QVector<Operation>& operations()
{
    static const QVector<Operation> all = makeOperations();
    return all;
}

/// Whether the documents have it answered from inside the call.
bool mayAnswerInside(const QString& signal, int status)
{
    return signal == "closeResponse"_s || (signal == "initializeResponse"_s && status == 0);
}

class FacadeTarget : public Target
{
public:
    FacadeTarget(Stage& stage, bool isInitialised)
        : Target(stage), mAccounts(make()), mListener(*this)
    {
        if (isInitialised)
            make(operations().first(), operations().first().call);
    }

    void call(int operation, QObject* /*context*/, int /*fate*/) override
    {
        const Operation& chosen = operations().at(operation % operations().size());
        make(chosen, chosen.call);
    }
    void sessionCall(int operation, QObject* /*context*/, int /*fate*/) override
    {
        callNamed(sessionOperations().at(operation % sessionOperations().size()));
    }
    void signIn(QObject* /*context*/, int /*fate*/) override { callNamed("signInAndConfigure"_s); }
    void badCall(int operation) override
    {
        const Operation& chosen = operations().at(operation % operations().size());
        if (!chosen.badCalls.isEmpty())
            make(chosen, chosen.badCalls.at(operation % chosen.badCalls.size()).call);
    }
    void prepare() override {}
    void cancel(int /*which*/, QObject* /*context*/, int /*how*/) override {}
    void end() override
    {
        mIsLeaving = true;
        const std::unique_ptr<KelAccounts> ending = std::move(mAccounts);
    }
    void endLater() override
    {
        mIsLeaving = true;
        if (mAccounts)
            mAccounts.release()->deleteLater();
    }
    void contextEnds(QObject* /*context*/) override {}
    bool isThere() const override { return mAccounts != nullptr; }
    bool isClient() const override { return false; }
    bool isSettled() const override { return mIsLeaving || mAnswered == mCalled; }
    QString problem(bool wereAwaited) const override
    {
        if (!wereAwaited || mIsLeaving)
            return {};
        for (auto it = mCalled.cbegin(); it != mCalled.cend(); ++it) {
            if (mAnswered.value(it.key()) != it.value())
                return "%1 came %2 times for %3 calls of a facade"_s.arg(it.key())
                    .arg(mAnswered.value(it.key()))
                    .arg(it.value());
        }
        return {};
    }

private:
    class Listener : public SignalRecorder
    {
    public:
        explicit Listener(FacadeTarget& target)
            : SignalRecorder(target.mAccounts.get(), KelAccounts::staticMetaObject), mTarget(target)
        {
        }

    private:
        void record(const QMetaMethod& signal, void** arguments) override
        {
            mTarget.heard(QString::fromLatin1(signal.name()),
                          *static_cast<const int*>(arguments[0]));
        }

        FacadeTarget& mTarget;
    };

    // It may change its thread before its first call. Objects are made where the application is.
    static std::unique_ptr<KelAccounts> make()
    {
        QObject* const application = QCoreApplication::instance();
        if (application->thread() == QThread::currentThread())
            return std::make_unique<KelAccounts>();
        std::unique_ptr<KelAccounts> accounts;
        QThread* const here = QThread::currentThread();
        handOver();
        const auto makeThere = [&accounts, here] {
            handOver();
            accounts = std::make_unique<KelAccounts>();
            accounts->moveToThread(here);
            handOver();
        };
        QMetaObject::invokeMethod(application, makeThere, Qt::BlockingQueuedConnection);
        handOver();
        return accounts;
    }

    void callNamed(const QString& name, const std::function<void(KelAccounts&)>& call = nullptr)
    {
        for (const Operation& operation : operations()) {
            if (operation.name == name)
                make(operation, call ? call : operation.call);
        }
    }

    void make(const Operation& operation, const std::function<void(KelAccounts&)>& call)
    {
        if (!mAccounts)
            return;
        if (!operation.signal.isEmpty())
            ++mCalled[operation.signal];
        const QString before = std::exchange(mCalling, operation.signal);
        call(*mAccounts);
        mCalling = before;
    }

    void heard(const QString& signal, int status)
    {
        // The second signal of the one answer.
        if (signal == "retrieveCaptchaImageResponse"_s) {
            if (++mPictures > mAnswered.value("captchaImageResponse"_s))
                mStage.complain("a captcha's second signal came without the first"_s);
        } else {
            check(signal, status);
        }
        mStage.answered(*this);
    }

    void check(const QString& signal, int status)
    {
        const int count = ++mAnswered[signal];
        const int calls = mCalled.value(signal);
        if (count > calls)
            mStage.complain(
                "%1 came %2 times for %3 calls of a facade"_s.arg(signal).arg(count).arg(calls));
        // What comes while that is in its slot is another call's answer.
        if (mCalling == signal && mayAnswerInside(signal, status))
            mCalling.clear();
        else if (mCalling == signal && count == calls)
            mStage.complain("%1(%2) came from inside the call"_s.arg(signal).arg(status));
        bool isDocumented = false;
        for (const Operation& operation : operations())
            isDocumented = isDocumented || (operation.signal == signal &&
                                            mStage.documented().has(operation.name, status));
        if (!isDocumented)
            mStage.complain("%1 has status %2, which is not documented"_s.arg(signal).arg(status));
    }

    std::unique_ptr<KelAccounts> mAccounts;
    bool mIsLeaving = false;
    QMap<QString, int> mCalled; ///< by the signal that answers
    QMap<QString, int> mAnswered;
    int mPictures = 0;
    QString mCalling; ///< the signal of the call that is being made
    Listener mListener;
};

} // namespace

QString missingOperations()
{
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QString name = QString::fromLatin1(facade.method(i).name());
        const auto is = [&name](const Operation& operation) { return operation.name == name; };
        const auto& known = operations();
        if (facade.method(i).methodType() == QMetaMethod::Slot &&
            !std::any_of(known.begin(), known.end(), is))
            return "no schedule calls %1"_s.arg(name);
    }
    return {};
}

const QStringList& sessionOperations()
{
    static const QStringList all = [] {
        QStringList names;
        for (const facadecalls::Operation& operation : facadecalls::ofTheSession())
            names.append(text(operation.name));
        for (const facadecalls::SetUp& setUp : facadecalls::setUps())
            names.append(text(setUp.answer).chopped(int(qstrlen("Response"))));
        return names;
    }();
    return all;
}

std::unique_ptr<Target> makeFacade(Stage& stage, bool isInitialised)
{
    return std::make_unique<FacadeTarget>(stage, isInitialised);
}

} // namespace Schedules
