// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/literals.h"
#include "support/patience.h"
#include "support/sessionsandbox.h"

#include <SignOn/AuthSession>
#include <SignOn/Identity>

#include <QSignalSpy>

#include <csignal>
#include <memory>

using namespace KelTest;

namespace {

const QString mechanism = "initialise"_s;

} // namespace

/// The plugin as the sign-on library sees it, without this project's own code in between: what no
/// scenario would miss. One that did not answer, fail, end or keep to its steps fails there.
class TestTestPlugin : public QObject
{
    Q_OBJECT

public:
    explicit TestTestPlugin(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init()
    {
        mAnswers.clear();
        mErrors.clear();
        mSandbox.script({});
        mIdentity.reset(SignOn::Identity::newIdentity());
        mSession = mIdentity->createSession("zorauth"_s);
        QVERIFY(mSession);
        connect(mSession, &SignOn::AuthSession::response, this,
                [this](const SignOn::SessionData& data) { mAnswers.append(data.toMap()); });
        connect(mSession, &SignOn::AuthSession::error, this,
                [this](const SignOn::Error& error) { mErrors.append(error.type()); });
    }

    void cleanup() { mIdentity.reset(); }

    void recordsKeysTypesAndValues()
    {
        const QVariantMap sent = {{"Text"_s, "väl\u0301ue"_s},
                                  {"Empty"_s, QString(QLatin1String(""))},
                                  {"Number"_s, -7},
                                  {"Flag"_s, true},
                                  {"Bytes"_s, QByteArray("\0\1\xff", 3)}};
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

    void hangsUntilItIsCancelled()
    {
        mSandbox.script({{mechanism, PluginStep::Hang}});
        process();
        QVERIFY(mSandbox.waitForRequests(1, onABusyMachine));
        QVERIFY(!waitUntil([this] { return !mAnswers.isEmpty() || !mErrors.isEmpty(); }, 300));
        mSession->cancel();
        QVERIFY(waitForAnswer());
        QCOMPARE(mErrors, QList<int>({SignOn::Error::SessionCanceled}));
        QVERIFY(waitUntil([this] { return mSandbox.cancellations() == 1; }, onABusyMachine));
    }

    void deafToCancellationItAnswersAllTheSame()
    {
        mSandbox.script({{mechanism, PluginStep::IgnoreCancel, {}, 0, 400},
                         {mechanism, PluginStep::Err, {}, 601}});
        process();
        QVERIFY(mSandbox.waitForRequests(1, onABusyMachine));
        mSession->cancel();
        QVERIFY(waitForAnswer());
        QCOMPARE(mErrors, QList<int>({SignOn::Error::SessionCanceled}));
        // The daemon keeps the next request until the plugin has done with the cancelled one.
        process();
        QVERIFY(waitForAnswer());
        QCOMPARE(mErrors, QList<int>({SignOn::Error::SessionCanceled, 601}));
        const QList<PluginRequest> requests = mSandbox.requests();
        QCOMPARE(requests.size(), 2);
        QVERIFY(!requests.at(1).isBeside);
    }

private:
    void process(const QVariantMap& data = QVariantMap())
    {
        mSession->process(SignOn::SessionData(data), mechanism);
    }

    bool waitForAnswer()
    {
        const int before = mAnswers.size() + mErrors.size();
        return waitUntil([this, before] { return mAnswers.size() + mErrors.size() > before; },
                         onABusyMachine);
    }

    SessionSandbox& mSandbox;
    std::unique_ptr<SignOn::Identity> mIdentity;
    SignOn::AuthSessionP mSession;
    QList<QVariantMap> mAnswers;
    QList<int> mErrors;
};

KEL_TEST_IN_SESSION(TestTestPlugin)
#include "tst_testplugin.moc"
