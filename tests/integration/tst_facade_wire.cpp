// SPDX-License-Identifier: LGPL-2.1-or-later
// The whole library between an application's calls and the bytes on the wire.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QLoggingCategory>
#include <QNetworkProxy>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelRestHandler::NetworkReplyContainer;

namespace {

const auto secret = "planted-consumer-secret"_s;

std::unique_ptr<KelAccounts> initialized()
{
    auto accounts = std::make_unique<KelAccounts>();
    accounts->initialize("the key"_s, secret, 2, "service"_s, {});
    return accounts;
}

void addRowForEachOperation()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < servedOperations().size(); ++i)
        QTest::newRow(servedOperations()[i].name) << i;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QString signalOf(const QString& line)
{
    return line.section(QLatin1Char('('), 0, 0);
}

QStringList signalsOf(const QStringList& lines)
{
    QStringList names;
    for (const QString& line : lines)
        names.append(signalOf(line));
    return names;
}

// The status of each: the first value behind the name.
QList<int> statusesOf(const QStringList& lines)
{
    QList<int> statuses;
    for (const QString& line : lines) {
        QString values = line.mid(signalOf(line).size() + 1);
        values.chop(1);
        statuses.append(values.section(QLatin1Char(','), 0, 0).toInt());
    }
    return statuses;
}

} // namespace

class TestFacadeWire : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    }

    void init()
    {
        NetworkReplyContainer::setGuardMilliseconds(60000);
        FakeModem::reset();
        mService = std::make_unique<StandInService>();
        mTags.reset(); // it has one name
        mTags = std::make_unique<ThreadTagServer>("\x01planted-service-tag"_ba);
        QVERIFY(mTags->isReady());
    }

    void cleanup() { QCOMPARE(mService->problems(), QStringList()); }

    void anOperationIsAnsweredWithWhatTheServiceSays_data() { addRowForEachOperation(); }
    void anOperationIsAnsweredWithWhatTheServiceSays()
    {
        QFETCH(int, index);
        const ServedOperation& operation = servedOperations()[index];
        const auto accounts = initialized();
        const FacadeRecorder recorder(accounts.get());
        operation.call(*accounts);
        QCOMPARE(recorder.lines(), QStringList());
        QVERIFY(recorder.waitFor(operation.lines.size()));
        QTest::qWait(5);
        QCOMPARE(recorder.lines(), operation.lines);
        QCOMPARE(mService->requests().size(), 1);
    }

    void aTakenNameComesWithItsSuggestions()
    {
        const auto accounts = initialized();
        const FacadeRecorder recorder(accounts.get());
        accounts->isUserIdAvailable("taken"_s);
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines(),
                 QStringList("isUserIdAvailableResponse(0, false, [somebody1980, a.somebody])"_s));
    }

    void theAnswerToASecurityAnswerIsWordedInEnglish()
    {
        const auto accounts = initialized();
        const FacadeRecorder recorder(accounts.get());
        accounts->resetPasswordUsingSecurityQuestion("bob"_s, "t"_s, "p"_s, "a"_s);
        accounts->retrievePasswordResetSecQuestion("bob"_s, "de"_s);
        QVERIFY(recorder.waitFor(2));
        for (const WireRequest& request : mService->requests()) {
            const bool reset = request.target.endsWith("/change");
            QCOMPARE(request.header("Accept-Language"), QByteArray(reset ? "en" : "de"));
        }
    }

    void theServersIndexDoesNotDecideWhoAnswers()
    {
        // The address is asked for once, from the table; nothing else in the library knows hosts.
        KelAccounts accounts;
        const FacadeRecorder recorder(&accounts);
        accounts.initialize("k"_s, secret, 5, QString(), {});
        accounts.queryMarketingVariant();
        QVERIFY(recorder.waitFor(2));
        QCOMPARE(recorder.lines().last(), "marketingVariantResponse(0, 2)"_s);
    }

    void allOperationsAtOnceAreAnsweredOnceEach()
    {
        const auto first = initialized();
        const auto second = initialized();
        const FacadeRecorder firstRecorder(first.get());
        const FacadeRecorder secondRecorder(second.get());
        QStringList expected;
        constexpr int rounds = 3;
        for (int round = 0; round < rounds; ++round) {
            for (const ServedOperation& operation : servedOperations()) {
                operation.call(*first);
                operation.call(*second);
                expected += operation.lines;
            }
        }
        QVERIFY(firstRecorder.waitFor(expected.size()));
        QVERIFY(secondRecorder.waitFor(expected.size()));
        QTest::qWait(20);
        QCOMPARE(sorted(firstRecorder.lines()), sorted(expected));
        QCOMPARE(sorted(secondRecorder.lines()), sorted(expected));
    }

    void aDisturbedRequestIsAnsweredOnceAndTheNextIsWell_data()
    {
        columns<int, int, int>("index", "disturbance", "status");
        const QList<std::tuple<const char*, Disturbance, int>> rows = {
            {"delayed", Disturbance::Delay, 0},
            {"never answered", Disturbance::Hang, 404},
            {"closed", Disturbance::Close, 402},
            {"closed in the headers", Disturbance::CloseInHeaders, 402},
            {"closed in the body", Disturbance::CloseInBody, 402},
            // Without a document the status of the network decides.
            {"no XML", Disturbance::NotXml, 0},
            {"HTTP 500", Disturbance::Status500, 1004},
        };
        for (int i = 0; i < servedOperations().size(); ++i) {
            for (const auto& row : rows)
                QTest::addRow("%s, %s", servedOperations()[i].name, std::get<0>(row))
                    << i << int(std::get<1>(row)) << std::get<2>(row);
        }
    }

    void aDisturbedRequestIsAnsweredOnceAndTheNextIsWell()
    {
        QFETCH(int, index);
        QFETCH(int, disturbance);
        QFETCH(int, status);
        const ServedOperation& operation = servedOperations()[index];
        NetworkReplyContainer::setGuardMilliseconds(150);
        mService->disturb = [=](const WireRequest&) {
            return static_cast<Disturbance>(disturbance);
        };
        const auto accounts = initialized();
        FacadeRecorder recorder(accounts.get());
        operation.call(*accounts);
        QVERIFY(recorder.waitFor(operation.lines.size()));
        QTest::qWait(5);
        QCOMPARE(signalsOf(recorder.lines()), signalsOf(operation.lines));
        // A captcha's failure shows in its picture alone.
        const bool captcha = operation.lines.size() == 2;
        for (int seen : statusesOf(recorder.lines()))
            QCOMPARE(seen, captcha ? 0 : status);
        if (captcha && status != 0)
            QCOMPARE(recorder.lines().first(), "captchaImageResponse(0, no picture)"_s);

        mService->disturb = nullptr;
        recorder.clear();
        NetworkReplyContainer::setGuardMilliseconds(60000);
        operation.call(*accounts);
        QVERIFY(recorder.waitFor(operation.lines.size()));
        QCOMPARE(recorder.lines(), operation.lines);
    }

    void aFacadeDeletedWithCallsUnderWayIsSilent_data()
    {
        QTest::addColumn<int>("waitMs");
        QTest::newRow("at once") << 0;
        QTest::newRow("requests on their way") << 3;
        QTest::newRow("answers on their way") << 10;
    }

    void aFacadeDeletedWithCallsUnderWayIsSilent()
    {
        QFETCH(int, waitMs);
        mService->disturb = [](const WireRequest&) { return Disturbance::Delay; };
        auto accounts = initialized();
        const FacadeRecorder recorder(accounts.get());
        for (const ServedOperation& operation : servedOperations())
            operation.call(*accounts);
        QTest::qWait(waitMs);
        accounts.reset();
        const QStringList before = recorder.lines();
        QTest::qWait(60);
        QCOMPARE(recorder.lines(), before);
        QVERIFY(before.size() < servedOperations().size());
    }

    void aFacadeDeletedFromItsSignalIsSilentAfterwards_data() { addRowForEachOperation(); }
    void aFacadeDeletedFromItsSignalIsSilentAfterwards()
    {
        QFETCH(int, index);
        const ServedOperation& operation = servedOperations()[index];
        auto accounts = initialized();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        operation.call(*accounts);
        operation.call(*accounts);
        QVERIFY(recorder.waitFor(1));
        QTest::qWait(30);
        QCOMPARE(recorder.lines(), operation.lines.mid(0, 1));
    }

    void aFacadeDeletedFromTheSecondCaptchaSignalIsSilentAfterwards()
    {
        auto accounts = initialized();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString& signal) {
            if (signal == "retrieveCaptchaImageResponse"_s)
                accounts.reset();
        };
        accounts->retrieveCaptchaImage(120, 40);
        accounts->retrieveCaptchaImage(120, 40);
        QVERIFY(recorder.waitFor(2));
        QTest::qWait(30);
        QCOMPARE(recorder.lines().size(), 2);
    }

    void aFacadeDeletedFromATimeOutIsSilentAfterwards()
    {
        NetworkReplyContainer::setGuardMilliseconds(40);
        mService->disturb = [](const WireRequest&) { return Disturbance::Hang; };
        auto accounts = initialized();
        FacadeRecorder recorder(accounts.get());
        recorder.afterwards = [&](const QString&) { accounts.reset(); };
        accounts->queryMarketingVariant();
        accounts->detectPreAccount();
        accounts->isUserIdAvailable("bob"_s);
        QVERIFY(recorder.waitFor(1));
        QTest::qWait(80);
        QCOMPARE(statusesOf(recorder.lines()), QList<int>({404}));
    }

    void oneFacadeMayEndWhileTheOtherGoesOn()
    {
        mService->disturb = [](const WireRequest&) { return Disturbance::Delay; };
        auto first = initialized();
        const auto second = initialized();
        const FacadeRecorder firstRecorder(first.get());
        FacadeRecorder secondRecorder(second.get());
        secondRecorder.afterwards = [&](const QString&) { first.reset(); };
        second->queryMarketingVariant();
        QTest::qWait(5);
        for (const ServedOperation& operation : servedOperations())
            operation.call(*first);
        QVERIFY(secondRecorder.waitFor(1));
        second->detectPreAccount();
        QVERIFY(secondRecorder.waitFor(2));
        QCOMPARE(signalsOf(secondRecorder.lines()),
                 QStringList({"marketingVariantResponse"_s, "detectPreAccountResponse"_s}));
        QVERIFY(!first);
    }

    void nothingPlantedIsInTheLog_data()
    {
        QTest::addColumn<int>("disturbance");
        QTest::newRow("well") << int(Disturbance::None);
        QTest::newRow("no XML") << int(Disturbance::NotXml);
        QTest::newRow("closed in the body") << int(Disturbance::CloseInBody);
        QTest::newRow("never answered") << int(Disturbance::Hang);
        QTest::newRow("HTTP 500") << int(Disturbance::Status500);
    }

    void nothingPlantedIsInTheLog()
    {
        QFETCH(int, disturbance);
        NetworkReplyContainer::setGuardMilliseconds(150);
        mService->disturb = [=](const WireRequest&) {
            return static_cast<Disturbance>(disturbance);
        };
        QLoggingCategory::setFilterRules("*=true"_s);
        int expected = 0;
        QStringList logged;
        {
            const MessageLog log;
            // Proof that everything is let through.
            qCDebug(QLoggingCategory("kelaccount.rest"), "first line");
            const auto accounts = initialized();
            const FacadeRecorder recorder(accounts.get());
            for (const ServedOperation& operation : servedOperations()) {
                operation.call(*accounts);
                expected += operation.lines.size();
            }
            QVERIFY(recorder.waitFor(expected));
            logged = log.all();
        }
        QLoggingCategory::setFilterRules(QString());
        QVERIFY(logged.contains("D first line"_s));
        const QStringList found = logged.filter("planted"_s);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(QLatin1Char('\n'))));
    }

private:
    std::unique_ptr<StandInService> mService;
    std::unique_ptr<ThreadTagServer> mTags;
};

QTEST_MAIN(TestFacadeWire)
#include "tst_facade_wire.moc"
