// SPDX-License-Identifier: LGPL-2.1-or-later
// Every method of the facade that a signal answers, in every state, is answered exactly once. Which
// methods and signals there are is what the facade's meta-object says; the service is one of this
// process, the plugin a scripted one.
#include "account/accountfixture.h"
#include "account/fakeresthandler.h"
#include "account/kelaccountsprivate.h"
#include "rest/request/serviceaddress.h"
#include "signon/kelauthsessioninterface.h"
#include "support/allaccounts.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/scriptedserver.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

#include <QHash>
#include <QMetaMethod>

using namespace KelTest;
using KelAccount::KelAccounts;

namespace {

QString serviceBase;

const QMetaObject& facade = KelAccounts::staticMetaObject;

QVector<QMetaMethod> declared(QMetaMethod::MethodType type)
{
    QVector<QMetaMethod> methods;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        if (facade.method(i).methodType() == type)
            methods.append(facade.method(i));
    }
    return methods;
}

/// What returns a value has answered with it.
QVector<QMetaMethod> answeredMethods()
{
    QVector<QMetaMethod> methods;
    for (const QMetaMethod& method : declared(QMetaMethod::Slot)) {
        if (method.returnType() == QMetaType::Void)
            methods.append(method);
    }
    return methods;
}

QStringList signalNames()
{
    QStringList names;
    for (const QMetaMethod& signal : declared(QMetaMethod::Signal))
        names.append(QString::fromLatin1(signal.name()));
    return names;
}

/// The signals that answer a method, in their order. Most are named after it.
QStringList answersOf(const QMetaMethod& method)
{
    static const QHash<QByteArray, QString> otherNames = {
        {"initValues", "initializeResponse"_s},
        {"retrieveCaptchaImage", "captchaImageResponse"_s},
        {"retrieveSecurityQuestionList", "securityQuestionListResponse"_s},
        {"retrieveTermsOfService", "termsOfServiceResponse"_s},
        {"queryMarketingVariant", "marketingVariantResponse"_s},
    };
    QStringList names(otherNames.value(method.name()));
    names.append(QString::fromLatin1(method.name()) + "Response"_s);
    for (int i = names.size() - 1; i >= 0; --i) {
        if (!signalNames().contains(names.at(i)))
            names.removeAt(i);
    }
    return names;
}

/// A value that nothing is wrong with; without a name when there is none for the type.
QGenericArgument valueOf(const QByteArray& type)
{
    static const QString text = "text"_s;
    static const int number = 2;
    static const uint identifier = 0;
    static const bool yes = true;
    static const QVariantMap map;
    static KelAccount::RegistrationInfo registration;
    static QObject* const object = &registration;
    registration.setEmailAddress("new.user@mail.example"_s);
    registration.setPassword("the-new-password"_s);
    const QHash<QByteArray, const void*> values = {
        {"QString", &text},    {"int", &number},      {"uint", &identifier},
        {"bool", &yes},        {"QVariantMap", &map}, {"RegistrationInfo", &registration},
        {"QObject*", &object},
    };
    const auto value = values.constFind(type);
    return value == values.cend() ? QGenericArgument() : QGenericArgument(type.constData(), *value);
}

void callMethod(KelAccounts& accounts, const QMetaMethod& method)
{
    const QList<QByteArray> types = method.parameterTypes();
    const auto value = [&types](int i) { return valueOf(types.value(i)); };
    QVERIFY(method.invoke(&accounts, Qt::DirectConnection, value(0), value(1), value(2), value(3),
                          value(4)));
}

} // namespace

namespace KelRestHandler {

const char RestSchemaNamespace[] = "https://account.example/schemas/rest/v1_0";
const char OAuthRealm[] = "OAuth realm=\"https://account.example\"";

QString serverBaseAddress(int /*serverIndex*/)
{
    return serviceBase;
}

} // namespace KelRestHandler

// The REST layer is the real one.
void KelTest::FakeRestHandler::reset()
{
}

class TestEveryMethod : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

    enum State {
        Fresh,
        RefusedInitialize,
        InTheSlotOfInitialize,
        Initialized,
        SignedIn,
        CalledTwice,
        SetUpUnderWay,
        AfterASetUpThatFailed,
        Closed,
    };
    Q_ENUM(State)

private Q_SLOTS:
    void initTestCase()
    {
        mService.answerBy([](const WireRequest&) { return Reaction::reply(200, ""); });
        serviceBase = mService.base();
        QVERIFY(reset());
        mCredentials = storeIdentity();
        QVERIFY(mCredentials > 0);
    }
    void cleanup()
    {
        endFacade();
        QVERIFY(deviceAccounts().isEmpty() || KelTest::removeAllAccounts());
    }

    void everyMethodHasASignalAndEverySignalAMethod()
    {
        QStringList found;
        for (const QMetaMethod& method : answeredMethods()) {
            QVERIFY2(!answersOf(method).isEmpty(), method.methodSignature());
            found += answersOf(method);
        }
        for (const QString& signal : signalNames())
            QVERIFY2(found.contains(signal), qPrintable(signal));
    }

    void everyParameterHasAValue()
    {
        for (const QMetaMethod& method : answeredMethods()) {
            for (const QByteArray& type : method.parameterTypes())
                QVERIFY2(valueOf(type).name(), method.methodSignature() + " has a " + type);
        }
    }

    // Of one the slot does nothing, so that no answer would miss it.
    void everyAnswerOfTheSessionIsHeard()
    {
        makeFacade();
        auto* const session = mAccounts->findChild<KelAccount::KelAuthSessionInterface*>();
        auto* const orchestrator = mAccounts->findChild<KelAccount::KelAccountsPrivate*>();
        const QMetaObject& meta = KelAccount::KelAuthSessionInterface::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod signal = meta.method(i);
            // Nothing of the facade asks for these.
            if (signal.methodType() != QMetaMethod::Signal || signal.name() == "tokenResponse" ||
                signal.name() == "signOutResponse")
                continue;
            QVERIFY2(QObject::disconnect(session, signal, orchestrator, QMetaMethod()),
                     signal.name());
        }
    }

    void everyMethodIsAnsweredOnceInEveryState_data()
    {
        columns<int, int>("state", "method");
        const QMetaEnum states = QMetaEnum::fromType<State>();
        for (int state = 0; state < states.keyCount(); ++state) {
            for (const QMetaMethod& method : answeredMethods())
                QTest::addRow("%s in state %s", method.methodSignature().constData(),
                              states.key(state))
                    << state << method.methodIndex();
        }
    }

    void everyMethodIsAnsweredOnceInEveryState()
    {
        const auto [state, index] = fetch<int, int>("state", "method");
        const QMetaMethod method = facade.method(index);
        QStringList expected = enter(State(state), method);
        if (state == InTheSlotOfInitialize)
            expected.append("initializeResponse"_s);
        else
            callMethod(*mAccounts, method);
        QStringList answers = answersOf(method);
        // The service's answer is told by a second signal, a refusal is not.
        if (state == Fresh || state == RefusedInitialize)
            answers = answers.mid(0, 1);
        expected += expected.removeAll("twice"_s) > 0 ? answers + answers : answers;
        QVERIFY2(mRecorder->waitFor(expected.size()), qPrintable(lines().join("; "_s)));
        letPass(20);
        QStringList names;
        for (const QString& line : lines())
            names.append(line.section("("_s, 0, 0));
        names.sort();
        expected.sort();
        QCOMPARE(names, expected);
    }

private:
    /// A facade in the state. Returns the signals that are still to come without another call.
    QStringList enter(State state, const QMetaMethod& method)
    {
        mSandbox.script(succeeding());
        if (state == SignedIn || state == CalledTwice || state == Closed)
            createDeviceAccount(mCredentials);
        makeFacade(state != Fresh && state != RefusedInitialize && state != InTheSlotOfInitialize);
        switch (state) {
        case RefusedInitialize:
            mAccounts->initialize({}, {}, 2, {}, {});
            return {"initializeResponse"_s};
        case InTheSlotOfInitialize:
            mRecorder->afterwards = [this, method](const QString&) {
                const QMetaMethod next = method; // outlives the function, which ends here
                KelAccounts& accounts = *mAccounts;
                mRecorder->afterwards = nullptr;
                callMethod(accounts, next);
            };
            mAccounts->initialize("key"_s, "secret"_s, 2, {}, {});
            return {};
        case CalledTwice:
            callMethod(*mAccounts, method);
            return {"twice"_s};
        case SetUpUnderWay:
            mAccounts->signInAndConfigure("somebody"_s, "secret"_s, false);
            return {"signInAndConfigureResponse"_s};
        case AfterASetUpThatFailed:
            mSandbox.script({{"signIn"_s, PluginStep::Err, {}, 615}});
            mAccounts->signInAndConfigure("somebody"_s, "secret"_s, false);
            mRecorder->waitFor(1);
            mRecorder->clear();
            mSandbox.script(succeeding());
            return {};
        case Closed:
            mAccounts->close();
            mRecorder->waitFor(1);
            mRecorder->clear();
            return {};
        default:
            return {};
        }
    }

    ScriptedServer mService;
};

KEL_TEST_IN_SESSION(TestEveryMethod)
#include "tst_everymethod.moc"
