// SPDX-License-Identifier: LGPL-2.1-or-later
// An application that shows a message box in the slot of every answer: an event loop of its own
// runs there for longer than each guard of the library takes.
#include "account/accountfixture.h"
#include "account/accountsetup.h"
#include "configure/kelconfigure.h"
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"
#include "support/rows.h"

using namespace KelTest;
using facadecalls::failure;
using facadecalls::line;

namespace {

constexpr int guardMs = 600;
constexpr int boxMs = 900;

const QString initialise = "initialise"_s;

} // namespace

class TestModalSlots : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void aSetUpStaysSuccessful_data()
    {
        setUpRows("configureOnDb", "with a device account", "no device account");
    }
    void aSetUpStaysSuccessful()
    {
        QFETCH(bool, configureOnDb);
        const SetUp setUp = setUpWithFacade();
        letPass(50); // the facade's own first call starts the daemon
        showBoxes();
        // Called from the event loop, as applications do.
        QTimer::singleShot(0, this, [&] { setUp.start(*mAccounts, configureOnDb); });
        const QStringList all = linesBehindTheBox();
        const quint32 id = identities().value(0);
        QCOMPARE(all, QStringList(success(setUp, id)));
        QCOMPARE(identities(), QList<quint32>({id}));
        QList<QVariantList> expected;
        if (configureOnDb)
            expected.append({"the-user-id"_s, QString::number(id)});
        QCOMPARE(deviceAccounts(), expected);
    }

    void aSetUpFailsOnce_data()
    {
        columns<int, int>("setUp", "status");
        for (const int status : {615, 800, 805, 806})
            QTest::addRow("%s, %d", facadecalls::setUps()[0].name, status) << 0 << status;
        QTest::addRow("%s, 805", facadecalls::setUps()[1].name) << 1 << 805;
    }
    void aSetUpFailsOnce()
    {
        QFETCH(int, status);
        const SetUp setUp = setUpOfTheRow();
        const QByteArray folder = qgetenv("ACCOUNTS");
        if (status == 806 || status == 615)
            mSandbox.script(
                {{status == 806 ? initialise : text(setUp.mechanism), PluginStep::Err, {}, 615}});
        makeFacade();
        letPass(50);
        if (status == 800)
            QVERIFY(setCredentialsReadable(false));
        showBoxes();
        setUp.start(*mAccounts, true);
        if (status ==
            805) // it has looked for an account, and makes none before the event loop runs
            qputenv("ACCOUNTS", "/proc/nonexistent");
        const QStringList all = linesBehindTheBox();
        qputenv("ACCOUNTS", folder);
        if (status == 800)
            QVERIFY(setCredentialsReadable(true));
        QCOMPARE(all, QStringList(failure(setUp, status)));
        QVERIFY(waitUntil([this] { return identities().isEmpty(); }));
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
        endFacade();
        makeFacade();
        QVERIFY(succeeds(setUp));
    }

    void anOperationIsAnsweredOnce_data() { operationRows(); }
    void anOperationIsAnsweredOnce()
    {
        const Operation operation = operationOfTheRow();
        QVERIFY(resetForSignedInUser());
        letPass(50);
        showBoxes();
        QTimer::singleShot(0, this, [&] {
            operation.call(*mAccounts);
            operation.call(*mAccounts); // behind the first, and answered inside its box
        });
        QVERIFY(mRecorder->waitFor(2, 20000));
        letPass(boxMs - guardMs);
        QCOMPARE(lines(), QStringList({line(operation.answer, 0), line(operation.answer, 0)}));
    }

private:
    // Boxes that outlive every guard.
    void showBoxes()
    {
        auto* const store = mAccounts->findChild<KelAccount::KelConfigure*>();
        store->setStoreTimeout(guardMs);
        store->setAccountTimeout(guardMs);
        store->setRemovalTimeout(guardMs);
        mAccounts->findChild<KelAccount::AccountSetUp*>()->setReservationTimeout(guardMs);
        mAccounts->findChild<KelAccount::KelAuthSessionInterface*>()->setOpeningTimeout(guardMs);
        mRecorder->stayInSlots(boxMs);
    }

    QStringList linesBehindTheBox() const
    {
        mRecorder->waitFor(1, 20000); // returns when the slot does
        letPass(boxMs - guardMs);
        return lines();
    }
};

KEL_TEST_IN_SESSION(TestModalSlots)
#include "tst_modalslots.moc"
