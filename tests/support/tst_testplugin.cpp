// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/sessionsandbox.h"

#include <SignOn/AuthSession>
#include <SignOn/Identity>

#include <QSignalSpy>

#include <csignal>
#include <memory>

using namespace KelTest;

namespace {

const QString mechanism = QStringLiteral("initialise");

} // namespace

/// The plugin as the sign-on library sees it, without this project's own code in between.
class TestTestPlugin : public QObject
{
    Q_OBJECT

public:
    explicit TestTestPlugin(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init();
    void cleanup();
    void recordsKeysTypesAndValues();
    void answersWithWhatItWasGiven();
    void reportsTheGivenError();
    void stepsAreTakenInOrderAndTheLastStays();
    void stepsBelongToAMechanism();
    void hangsUntilItIsCancelled();
    void answersLate();
    void diesAndIsStartedAgain();
    void deafToCancellationItAnswersAllTheSame();

private:
    void process(const QVariantMap& data = QVariantMap());
    bool waitForAnswer();

    SessionSandbox& mSandbox;
    std::unique_ptr<SignOn::Identity> mIdentity;
    SignOn::AuthSessionP mSession;
    QList<QVariantMap> mAnswers;
    QList<int> mErrors;
};

void TestTestPlugin::init()
{
    mAnswers.clear();
    mErrors.clear();
    mSandbox.script({});
    mIdentity.reset(SignOn::Identity::newIdentity());
    mSession = mIdentity->createSession(QStringLiteral("zorauth"));
    QVERIFY(mSession);
    connect(mSession, &SignOn::AuthSession::response, this,
            [this](const SignOn::SessionData& data) { mAnswers.append(data.toMap()); });
    connect(mSession, &SignOn::AuthSession::error, this,
            [this](const SignOn::Error& error) { mErrors.append(error.type()); });
}

void TestTestPlugin::cleanup()
{
    mIdentity.reset();
}

void TestTestPlugin::process(const QVariantMap& data)
{
    mSession->process(SignOn::SessionData(data), mechanism);
}

bool TestTestPlugin::waitForAnswer()
{
    const int before = mAnswers.size() + mErrors.size();
    return waitUntil([this, before] { return mAnswers.size() + mErrors.size() > before; });
}

void TestTestPlugin::recordsKeysTypesAndValues()
{
    const QVariantMap sent = {{QStringLiteral("Text"), QStringLiteral("väl\u0301ue")},
                              {QStringLiteral("Empty"), QString(QLatin1String(""))},
                              {QStringLiteral("Number"), -7},
                              {QStringLiteral("Flag"), true},
                              {QStringLiteral("Bytes"), QByteArray("\0\1\xff", 3)}};
    process(sent);
    QVERIFY(waitForAnswer());
    const QList<PluginRequest> requests = mSandbox.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.at(0).mechanism, mechanism);
    for (auto entry = sent.cbegin(); entry != sent.cend(); ++entry) {
        const QVariant got = requests.at(0).data.value(entry.key());
        QCOMPARE(got, entry.value());
        QCOMPARE(got.userType(), entry.value().userType());
    }
}

void TestTestPlugin::answersWithWhatItWasGiven()
{
    mSandbox.script({{mechanism,
                      PluginStep::Answer,
                      {{QStringLiteral("Token"), QStringLiteral("t")},
                       {QStringLiteral("Number"), 3},
                       {QStringLiteral("Bytes"), QByteArray("ab")}}}});
    process();
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors, QList<int>());
    QCOMPARE(mAnswers.at(0).value(QStringLiteral("Token")), QVariant(QStringLiteral("t")));
    QCOMPARE(mAnswers.at(0).value(QStringLiteral("Number")), QVariant(3));
    QCOMPARE(mAnswers.at(0).value(QStringLiteral("Bytes")), QVariant(QByteArray("ab")));
}

void TestTestPlugin::reportsTheGivenError()
{
    mSandbox.script({{mechanism, PluginStep::Err, {}, 614}});
    process();
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors, QList<int>({614}));
    QCOMPARE(mAnswers.size(), 0);
}

void TestTestPlugin::stepsAreTakenInOrderAndTheLastStays()
{
    mSandbox.script({{mechanism, PluginStep::Err, {}, 601}, {mechanism, PluginStep::Err, {}, 602}});
    for (int i = 0; i < 3; ++i) {
        process();
        QVERIFY(waitForAnswer());
    }
    QCOMPARE(mErrors, QList<int>({601, 602, 602}));
}

void TestTestPlugin::stepsBelongToAMechanism()
{
    mSandbox.script({{QStringLiteral("token"), PluginStep::Err, {}, 601}});
    process();
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors, QList<int>());
    mSession->process(SignOn::SessionData(), QStringLiteral("token"));
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors, QList<int>({601}));
    QCOMPARE(mSandbox.mechanisms(), QStringList({mechanism, QStringLiteral("token")}));
}

void TestTestPlugin::hangsUntilItIsCancelled()
{
    mSandbox.script({{mechanism, PluginStep::Hang}});
    process();
    QVERIFY(mSandbox.waitForRequests(1));
    QVERIFY(!waitUntil([this] { return !mAnswers.isEmpty() || !mErrors.isEmpty(); }, 300));
    mSession->cancel();
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors, QList<int>({SignOn::Error::SessionCanceled}));
    QVERIFY(waitUntil([this] { return mSandbox.cancellations() == 1; }));
}

void TestTestPlugin::answersLate()
{
    mSandbox.script({{mechanism, PluginStep::Answer, {{QStringLiteral("A"), 1}}, 0, 300}});
    process();
    QVERIFY(!waitUntil([this] { return !mAnswers.isEmpty(); }, 150));
    QVERIFY(waitForAnswer());
    QCOMPARE(mAnswers.at(0).value(QStringLiteral("A")), QVariant(1));
}

void TestTestPlugin::diesAndIsStartedAgain()
{
    mSandbox.script({{mechanism, PluginStep::Die}, {mechanism, PluginStep::Answer}});
    process();
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors.size(), 1);
    const pid_t first = mSandbox.pluginProcessId();
    // The daemon notices the end of the process a moment after it has reported it.
    QVERIFY(waitUntil([this] {
        process();
        waitForAnswer();
        return !mAnswers.isEmpty();
    }));
    QVERIFY(mSandbox.pluginProcessId() != first);
}

void TestTestPlugin::deafToCancellationItAnswersAllTheSame()
{
    mSandbox.script(
        {{mechanism, PluginStep::IgnoreCancel, {}, 0, 400}, {mechanism, PluginStep::Err, {}, 601}});
    process();
    QVERIFY(mSandbox.waitForRequests(1));
    mSession->cancel();
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors, QList<int>({SignOn::Error::SessionCanceled}));
    // The daemon keeps the next request until the plugin has done with the cancelled one.
    process();
    QVERIFY(!mSandbox.waitForRequests(2, 150));
    QVERIFY(waitForAnswer());
    QCOMPARE(mErrors.last(), 601);
}

int main(int argc, char** argv)
{
    return runInSession<TestTestPlugin>(argc, argv);
}

#include "tst_testplugin.moc"
