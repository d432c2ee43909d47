// SPDX-License-Identifier: LGPL-2.1-or-later
// Random calls, faults and deletions. Each sequence is a row named by its seed;
// KELACCOUNT_TEST_SEED sets the first row's.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QMap>
#include <QRandomGenerator>
#include <QTest>

#include <memory>
#include <vector>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::NetworkReplyContainer;

namespace {

constexpr int sequenceCount = 200;
constexpr int guardMilliseconds = 40;

using Counts = QMap<QString, int>;

// A facade, what was called on it, and what it said.
struct Client
{
    std::unique_ptr<KelAccounts> accounts = std::make_unique<KelAccounts>();
    FacadeRecorder recorder{accounts.get()};
    bool initialized = false;
    Counts owed;      ///< answers by signal
    int lastLine = 0; ///< when the facade was deleted

    Counts given() const
    {
        Counts counts;
        for (const QString& line : recorder.lines())
            ++counts[line.section(QLatin1Char('('), 0, 0)];
        return counts;
    }

    void owe(const char* signal) { ++owed[QString::fromLatin1(signal)]; }

    void end()
    {
        accounts.reset();
        lastLine = recorder.lines().size();
    }
};

QString describe(const Counts& counts)
{
    QStringList parts;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        parts.append("%1 x%2"_s.arg(it.key()).arg(it.value()));
    return parts.join(", "_s);
}

class Sequence
{
public:
    explicit Sequence(quint32 seed) : mRandom(seed)
    {
        mService.disturb = [this](const WireRequest&) { return disturbance(); };
        addClient();
    }

    void run()
    {
        const int steps = between(4, 14);
        for (int i = 0; i < steps; ++i)
            step();
        mSettled = QTest::qWaitFor([this] { return isSettled(); }, onABusyMachine);
        // Long enough for a second answer of the guard.
        QTest::qWait(mHung ? guardMilliseconds : 1);
    }

    /// What is wrong; empty when nothing is.
    QString problem() const
    {
        for (const auto& client : mClients) {
            const Counts given = client->given();
            const QString counts =
                " owed: %1; given: %2"_s.arg(describe(client->owed), describe(given));
            if (client->accounts && given != client->owed)
                return "not every call was answered once;"_s + counts;
            for (auto it = given.cbegin(); it != given.cend(); ++it) {
                if (it.value() > client->owed.value(it.key()))
                    return "a call was answered twice;"_s + counts;
            }
            if (!client->accounts && client->recorder.lines().size() != client->lastLine)
                return "a deleted facade spoke;"_s + counts;
        }
        if (!mSettled)
            return "answers were missing until the end"_s;
        return mService.problems().join(QLatin1Char('\n'));
    }

private:
    int between(int least, int most) { return mRandom.bounded(least, most + 1); }

    Disturbance disturbance()
    {
        const Disturbance all[] = {Disturbance::Delay,       Disturbance::Hang,
                                   Disturbance::Close,       Disturbance::CloseInHeaders,
                                   Disturbance::CloseInBody, Disturbance::NotXml,
                                   Disturbance::Status500};
        constexpr int kinds = sizeof all / sizeof *all;
        if (between(0, 99) < 55)
            return Disturbance::None;
        const Disturbance chosen = all[between(0, kinds - 1)];
        mHung = mHung || chosen == Disturbance::Hang;
        return chosen;
    }

    void step()
    {
        Client* const client = anyLiving();
        const int choice = between(0, 99);
        if (!client || choice < 6)
            return addClient();
        if (choice < 50)
            return call(*client);
        if (choice < 62)
            return callWithoutService(*client);
        if (choice < 74)
            return initialize(*client);
        if (choice < 86)
            return QTest::qWait(between(0, 8));
        if (choice < 93)
            return client->end();
        client->recorder.afterwards = [client](const QString&) { client->end(); };
    }

    void call(Client& client)
    {
        const auto& operation = servedOperations()[between(0, servedOperations().size() - 1)];
        const int signalCount = client.initialized ? operation.lines.size() : 1;
        for (int i = 0; i < signalCount; ++i)
            ++client.owed[operation.lines.at(i).section(QLatin1Char('('), 0, 0)];
        operation.call(*client.accounts);
    }

    void callWithoutService(Client& client)
    {
        KelAccounts& accounts = *client.accounts;
        switch (between(0, 5)) {
        case 0:
            client.owe("isUserIdAvailableResponse");
            return accounts.isUserIdAvailable(QString());
        case 1:
            client.owe("resetPasswordUsingSecurityQuestionResponse");
            return accounts.resetPasswordUsingSecurityQuestion(QString(), QString(), QString(),
                                                               QString());
        case 2:
            client.owe("retrieveCountryCodeResponse");
            return accounts.retrieveCountryCode();
        case 3:
            client.owe("initializeResponse");
            return accounts.initValues(QString(), QString(), 0);
        case 4:
            client.owe("registerAccountResponse");
            return accounts.registerAccount(nullptr, true);
        default:
            client.owe("closeResponse");
            return accounts.close();
        }
    }

    void initialize(Client& client)
    {
        const bool good = between(0, 3) > 0;
        client.owe("initializeResponse");
        client.initialized = client.initialized || good;
        client.accounts->initialize("the key"_s, good ? "the secret"_s : QString(), between(-1, 6),
                                    "service"_s, {});
    }

    void addClient() { mClients.push_back(std::make_unique<Client>()); }

    Client* anyLiving()
    {
        std::vector<Client*> living;
        for (const auto& client : mClients) {
            if (client->accounts)
                living.push_back(client.get());
        }
        return living.empty() ? nullptr : living[size_t(between(0, int(living.size()) - 1))];
    }

    bool isSettled() const
    {
        for (const auto& client : mClients) {
            // One that waits for its signal to be deleted in may never get it.
            if (client->accounts && client->given() != client->owed)
                return false;
        }
        return true;
    }

    QRandomGenerator mRandom;
    bool mHung = false;
    bool mSettled = false;
    StandInService mService;
    std::vector<std::unique_ptr<Client>> mClients;
};

} // namespace

class TestFacadeSequences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
        FakeModem::reset();
        FakeModem::setSims({{false, {}, "244"_s, "91"_s}});
        QVERIFY(mTags.isReady());
    }

    void everyCallIsAnsweredOnceWhereItsFacadeLives_data()
    {
        rows<quint32>("seed");
        bool given = false;
        const int fromOutside = qEnvironmentVariableIntValue("KELACCOUNT_TEST_SEED", &given);
        const quint32 first = given ? quint32(fromOutside) : 1;
        for (quint32 seed = first; seed < first + sequenceCount; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void everyCallIsAnsweredOnceWhereItsFacadeLives()
    {
        QFETCH(quint32, seed);
        Sequence sequence(seed);
        sequence.run();
        const QString problem = sequence.problem();
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

private:
    ThreadTagServer mTags{"\x01tag"_ba};
};

QTEST_MAIN(TestFacadeSequences)
#include "tst_facade_sequences.moc"
