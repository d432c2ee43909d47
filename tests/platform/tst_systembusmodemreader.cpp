// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/privatebus.h"
#include "platform/systembusmodemreader.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/rows.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QTest>

#include <array>
#include <thread>
#include <vector>

using KelTest::PrivateBus;
using QtMobility::ModemDetails;
using QtMobility::SimCard;
using QtMobility::SystemBusModemReader;

namespace {

// What a question may take, and what a loaded machine may add to it.
constexpr int longestMs = 1000;
constexpr int slackMs = 700;

QStringList texts(const QVector<SimCard>& sims)
{
    QStringList list;
    for (const SimCard& sim : sims)
        list.append("%1 %2 %3 %4"_s.arg(sim.locked ? "locked"_s : "usable"_s, sim.imsi,
                                        sim.homeCountryCode, sim.homeNetworkCode));
    return list;
}

QStringList texts(const QVector<ModemDetails>& modems)
{
    QStringList list;
    for (const ModemDetails& modem : modems)
        list.append(modem.manufacturer + QLatin1Char('/') + modem.model + QLatin1Char('/') +
                    modem.imei);
    return list;
}

const char* const modem0 = "Maker/Modem 0/356938035643800";
const char* const modem1 = "Maker/Modem 1/356938035643801";
const char* const finnish = "usable 244051234567890 244 05";
const char* const american = "usable 310150123456789 310 150";
const char* const locked = "locked   ";

QStringList list(std::initializer_list<const char*> texts)
{
    QStringList strings;
    for (const char* text : texts)
        strings.append(QLatin1String(text));
    return strings;
}

} // namespace

class TestSystemBusModemReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { mBus.stopServices(); }

    void withoutABusThereIsNothing()
    {
        QElapsedTimer timer;
        timer.start();
        QVERIFY(SystemBusModemReader().modems().isEmpty());
        QVERIFY(SystemBusModemReader().sims().isEmpty());
        QVERIFY(timer.elapsed() < slackMs);
        // The other tests need one.
        QVERIFY2(mBus.start(), "needs the package dbus");
    }

    void withoutAServiceThereIsNothingAndNothingIsStarted()
    {
        QVERIFY(mBus.addActivatableService("org.ofono"_s));
        QVERIFY(mBus.addActivatableService("org.freedesktop.ModemManager1"_s));
        // The bus reads its services when it starts.
        mBus.stop();
        QVERIFY(mBus.start());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(SystemBusModemReader().modems().isEmpty());
        QVERIFY(SystemBusModemReader().sims().isEmpty());
        QVERIFY(timer.elapsed() < slackMs);
        QTest::qWait(200);
        QVERIFY(!mBus.wasActivated());
    }

    void modemsAndSimsAreRead_data()
    {
        rows<QStringList, QStringList>("modems", "sims");
        const auto row = [](const char* scenario, std::initializer_list<const char*> modems,
                            std::initializer_list<const char*> sims) {
            QTest::newRow(scenario) << list(modems) << list(sims);
        };
        row("ofono-no-modem", {}, {});
        row("ofono-no-power", {modem0}, {});
        row("ofono-no-sim", {modem0}, {});
        row("ofono-sim", {modem0}, {finnish});
        row("ofono-second-pin", {modem0}, {finnish});
        row("ofono-second-puk", {modem0}, {finnish});
        row("ofono-locked", {modem0}, {locked});
        row("ofono-puk", {modem0}, {"locked 244051234567890 244 05"});
        row("ofono-two", {modem0, modem1}, {finnish, american});
        row("ofono-two-one-empty", {modem0, modem1}, {american});
        row("ofono-two-one-locked", {modem0, modem1}, {locked, american});
        row("ofono-two-locked", {modem0, modem1}, {locked, locked});
        row("ofono-bluetooth", {modem1}, {finnish});
        row("ofono-sim-access", {modem1}, {finnish});
        row("ofono-odd-types", {modem0}, {"usable   05"});
        row("ofono-odd-reply", {}, {});
        row("ofono-sim-nothing", {modem0}, {}); // a reply without a value
        row("ofono-error", {}, {});
        row("mm-no-modem", {}, {});
        row("mm-no-sim", {modem0}, {});
        row("mm-sim", {modem0}, {finnish});
        row("mm-sim-listed", {modem0}, {finnish});
        row("mm-sim-at-the-root", {modem0}, {finnish});
        row("mm-second-pin", {modem0}, {finnish});
        row("mm-locked", {modem0}, {locked});
        row("mm-puk", {modem0}, {"locked 244051234567890 244 05"});
        row("mm-two", {modem0, modem1}, {finnish, american});
        row("mm-odd-types", {modem0}, {"usable  244 "});
    }
    void modemsAndSimsAreRead()
    {
        QVERIFY2(mBus.runModem(QString::fromLatin1(QTest::currentDataTag())),
                 "needs the package python3-dbusmock");
        SystemBusModemReader reader;
        QTEST(texts(reader.modems()), "modems");
        QTEST(texts(reader.sims()), "sims");
    }

    void everyReadingIsAfresh()
    {
        SystemBusModemReader reader;
        QVERIFY(reader.sims().isEmpty());
        QVERIFY(mBus.runModem("ofono-sim"_s));
        QCOMPARE(texts(reader.sims()), list({finnish}));
        mBus.stopServices();
        QVERIFY(mBus.runModem("mm-locked"_s));
        QTRY_COMPARE(texts(reader.sims()), list({locked}));
    }

    void ofonoComesBeforeModemManager()
    {
        QVERIFY(mBus.runModem("mm-two"_s));
        QVERIFY(mBus.runModem("ofono-sim"_s));
        QCOMPARE(texts(SystemBusModemReader().sims()), list({finnish}));
        QCOMPARE(texts(SystemBusModemReader().modems()), list({modem0}));
    }

    void modemManagerIsAskedWhenOfonoFails()
    {
        QVERIFY(mBus.runModem("mm-two"_s));
        QVERIFY(mBus.runModem("ofono-error"_s));
        QCOMPARE(texts(SystemBusModemReader().sims()), list({finnish, american}));
    }

    void aServiceThatHangsCostsOneSecond_data()
    {
        const auto row = rows<QStringList>("sims");
        row("ofono-hang", {});
        // It is there, but does not tell whose it is; nor whether it is there, in oFono's case.
        row("ofono-sim-hang", {});
        row("mm-hang", {});
        row("mm-sim-hang", list({"usable   "}));
    }
    void aServiceThatHangsCostsOneSecond()
    {
        QVERIFY(mBus.runModem(QString::fromLatin1(QTest::currentDataTag())));
        QElapsedTimer timer;
        timer.start();
        const QStringList sims = texts(SystemBusModemReader().sims());
        const qint64 elapsed = timer.elapsed();
        QTEST(sims, "sims");
        // The timers of Qt's buses may be early by a twentieth of what is left of the second.
        QVERIFY2(elapsed >= longestMs - longestMs / 10 && elapsed < longestMs + slackMs,
                 QByteArray::number(elapsed));
    }

    void aBusThatCameBackIsUsed()
    {
        QVERIFY(mBus.runModem("ofono-sim"_s));
        QCOMPARE(texts(SystemBusModemReader().sims()), list({finnish}));
        mBus.stopServices();
        mBus.stop();
        QTRY_VERIFY(SystemBusModemReader().sims().isEmpty());
        QVERIFY(mBus.start());
        QVERIFY(mBus.runModem("ofono-sim"_s));
        QCOMPARE(texts(SystemBusModemReader().sims()), list({finnish}));
    }

    void aBusThatHangsCostsOneSecond()
    {
        mBus.stop();
        QTRY_VERIFY(SystemBusModemReader().sims().isEmpty());
        {
            // Lets clients in and says nothing.
            const QString path =
                QFile::decodeName(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")).section(QLatin1Char('='), 1);
            QFile::remove(path);
            QLocalServer silent;
            QVERIFY(silent.listen(path));
            QElapsedTimer timer;
            timer.start();
            QVERIFY(SystemBusModemReader().sims().isEmpty());
            const qint64 elapsed = timer.elapsed();
            QVERIFY2(elapsed >= longestMs - 50 && elapsed < longestMs + slackMs,
                     QByteArray::number(elapsed));
        }
        QVERIFY(mBus.start());
        QVERIFY(mBus.runModem("ofono-sim"_s));
        QCOMPARE(texts(SystemBusModemReader().sims()), list({finnish}));
    }

    void threadsShareTheConnection()
    {
        mBus.stop();
        QTRY_VERIFY(SystemBusModemReader().sims().isEmpty());
        QVERIFY(mBus.start());
        QVERIFY(mBus.runModem("ofono-sim"_s));
        // All of them find a broken connection.
        std::array<QStringList, 8> found;
        std::vector<std::thread> threads;
        for (QStringList& sims : found)
            threads.emplace_back([&sims] { sims = texts(SystemBusModemReader().sims()); });
        for (std::thread& thread : threads)
            thread.join();
        for (const QStringList& sims : found)
            QCOMPARE(sims, list({finnish}));
    }

private:
    PrivateBus mBus;
};

QTEST_GUILESS_MAIN(TestSystemBusModemReader)
#include "tst_systembusmodemreader.moc"
