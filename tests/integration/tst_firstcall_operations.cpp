// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator: the other operations that need no sign-on session, over TLS.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/emulatedservice.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/kelaccounts.h>

#include <QTest>

#include <functional>
#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;

namespace {

struct Row
{
    const char* name;
    std::function<void(KelAccounts&)> call;
    const char* line; ///< the signal, or the beginning of it
};

// A device without SIM and without service tag, and a user who has a name and nothing else.
// Statuses are those of the error codes that the emulator answers with.
const QVector<Row>& rows()
{
    static const QVector<Row> all = {
        {"pre-account", [](KelAccounts& a) { a.detectPreAccount(); },
         "detectPreAccountResponse(507, pre-account '' '' '' 0)"},
        {"consent variant", [](KelAccounts& a) { a.queryMarketingVariant(); },
         "marketingVariantResponse(0, 3)"},
        {"questions", [](KelAccounts& a) { a.retrieveSecurityQuestionList("en"_s); },
         "securityQuestionListResponse(0, {1: "},
        {"terms", [](KelAccounts& a) { a.retrieveTermsOfService("shop"_s, "fi"_s, "FI"_s, 1); },
         "termsOfServiceResponse(0, {privacyPolicyUrl: https://"},
        {"terms of nobody",
         [](KelAccounts& a) { a.retrieveTermsOfService("a b"_s, "fi"_s, "FI"_s, 1); },
         "termsOfServiceResponse(507, {})"},
        {"recovery without captcha",
         [](KelAccounts& a) { a.requestPasswordReset("alice"_s, QString(), false, QString()); },
         "requestPasswordResetResponse(513)"},
        {"recovery with a wrong captcha",
         [](KelAccounts& a) { a.requestPasswordReset("alice"_s, "guessed"_s, false, QString()); },
         "requestPasswordResetResponse(517)"},
        {"question of nobody",
         [](KelAccounts& a) { a.retrievePasswordResetSecQuestion("nobody"_s, "en"_s); },
         "retrievePasswordResetSecQuestionResponse(519, {"},
        {"reset of nobody",
         [](KelAccounts& a) {
             a.resetPasswordUsingSecurityQuestion("nobody"_s, "t"_s, "p"_s, "a"_s);
         },
         "resetPasswordUsingSecurityQuestionResponse(519)"},
    };
    return all;
}

} // namespace

class TestFirstCallOperations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
        QVERIFY(mTags.isReady());
        mAccounts->initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
    }

    void cleanupTestCase()
    {
        mAccounts.reset();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void init() { mRecorder.clear(); }
    void cleanup() { EmulatedService::ask("DELETE", "/faults"); }

    void theServiceAnswers_data() { addRows(); }
    void theServiceAnswers()
    {
        QFETCH(int, index);
        rows()[index].call(*mAccounts);
        QCOMPARE(mRecorder.lines(), QStringList());
        QVERIFY(mRecorder.waitFor(1));
        QTest::qWait(5);
        QCOMPARE(mRecorder.lines().size(), 1);
        QVERIFY2(mRecorder.lines().first().startsWith(text(rows()[index].line)),
                 qPrintable(mRecorder.lines().first()));
    }

    void aFaultIsOneAnswerAndTheNextCallWorks_data()
    {
        columns<int, QByteArray, QString>("index", "faults", "status");
        const QList<QPair<QByteArray, QString>> faults = {
            {"close-before-headers", "402"_s},
            {"close-in-headers", "402"_s},
            {"cut-body", "402"_s},
            {"status=500", "1004"_s},
            {"status=403", "413"_s},
            {"wrong-host", "406"_s},
        };
        for (int i = 0; i < rows().size(); ++i) {
            for (const auto& fault : faults)
                QTest::addRow("%s, %s", rows()[i].name, fault.first.constData())
                    << i << fault.first << fault.second;
        }
    }

    void aFaultIsOneAnswerAndTheNextCallWorks()
    {
        const auto [index, faults, status] =
            fetch<int, QByteArray, QString>("index", "faults", "status");
        QVERIFY(EmulatedService::orderFaults(faults));
        rows()[index].call(*mAccounts);
        QVERIFY(mRecorder.waitFor(1, 20000));
        QTest::qWait(5);
        QCOMPARE(mRecorder.lines().size(), 1);
        const QString signal = text(rows()[index].line).section(QLatin1Char('('), 0, 0);
        const QString line = mRecorder.lines().first();
        QVERIFY2(line.startsWith(signal + QLatin1Char('(') + status), qPrintable(line));
        QCOMPARE(EmulatedService::faultsLeft(), QByteArray());

        mRecorder.clear();
        rows()[index].call(*mAccounts);
        QVERIFY(mRecorder.waitFor(1));
        QVERIFY2(mRecorder.lines().first().startsWith(text(rows()[index].line)),
                 qPrintable(mRecorder.lines().first()));
    }

private:
    static void addRows()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < rows().size(); ++i)
            QTest::newRow(rows()[i].name) << i;
    }

    // It has no tag for anybody, and says so at once.
    ThreadTagServer mTags{QByteArray("\0\0\0\0\x01", 5)};
    std::unique_ptr<KelAccounts> mAccounts = std::make_unique<KelAccounts>();
    FacadeRecorder mRecorder{mAccounts.get()};
};

QTEST_GUILESS_MAIN(TestFirstCallOperations)
#include "tst_firstcall_operations.moc"
