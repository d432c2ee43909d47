// SPDX-License-Identifier: LGPL-2.1-or-later
// What the library sees of the device inside the emulator, with "--sim" and without.
// This program is also the application that runs there.
#include "account/facaderecorder.h"
#include "emulator/emulatorprocess.h"
#include "platform/privatebus.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sqlitereader.h"
#include "tools/clientrun.h"

#include <kelaccount/kelaccounts.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using namespace KelTest;

namespace {

constexpr const char* taskVariable = "KELACCOUNT_TEST_TASK";
constexpr int patience = 30000;

const auto finnishSim = "244-05-1234567890"_s;
// SHA-1 of "1234567890", from sha1sum and base64
constexpr const char* finnishHash = "AbMHrLpPVPVar8M7sGu79sqAPpo=";
const auto preAccount = "1234567890,carol,+358401234567,FI"_s;

/// The application: asks the facade, stays until all is answered, and writes the signals and the
/// operations that the service was asked.
int beAnApplication()
{
    KelAccount::KelAccounts accounts;
    FacadeRecorder recorder(&accounts);
    accounts.initialize("demo-key"_s, "demo-secret"_s, 2, "sync"_s, {});
    accounts.retrieveCountryCode();
    accounts.detectPreAccount();
    recorder.waitFor(3, patience);
    accounts.signInAndConfigure("alice"_s, "secret"_s, true);
    recorder.waitFor(4, patience);
    // The plugin takes one request after the other: when this one is answered, what the sign-in had
    // sent after it has been done.
    accounts.downloadProfile();
    recorder.waitFor(5, patience);
    for (const QString& line : recorder.lines())
        std::printf("%s\n", qPrintable(line));
    const QByteArray log =
        askAdministration(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"), "GET", "/requests"_s)
            .body;
    for (const QJsonValue& request : QJsonDocument::fromJson(log).array())
        std::printf("operation %d %d\n", request["operation"_s].toInt(),
                    request["status"_s].toInt());
    return 0;
}

QStringList withSim(const QString& sim)
{
    return sim.isEmpty() ? QStringList() : QStringList{"--sim"_s, sim};
}

} // namespace

class TestEmulatorModem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theClientSeesTheSim_data()
    {
        const auto row = rows<QString, QString, QString, QString, QString, QString>(
            "sim", "imsi", "imei", "mcc", "mnc", "country");
        row("two-digit network", finnishSim, "244051234567890", "356938035643809", "244", "05",
            "FI");
        row("three-digit network, another modem", "310-150-123456789,490154203237518",
            "310150123456789", "490154203237518", "310", "150", "US");
        row("unknown country", "999-01-7", "999017", "356938035643809", "999", "01", "");
        row("no SIM", "", "", "", "", "", "");
    }
    void theClientSeesTheSim()
    {
        const auto [sim, country] = fetch<QString, QString>("sim", "country");
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(withSim(sim)), emulator.log().constData());
        const QJsonObject device = ask(emulator, {"device-info"_s, "--show-identifiers"_s});
        QCOMPARE(device["status"_s].toInt(-1), 0);
        QVERIFY(device["SIM"_s].isBool());
        QCOMPARE(device["SIM"_s].toBool(), !sim.isEmpty());
        QTEST(device["IMSI"_s].toString(), "imsi");
        QTEST(device["IMEI"_s].toString(), "imei");
        QTEST(device["home MCC"_s].toString(), "mcc");
        QTEST(device["home MNC"_s].toString(), "mnc");

        const QJsonObject answer = ask(emulator, {"country"_s});
        QCOMPARE(answer["status"_s].toInt(-1), country.isEmpty() ? 807 : 0);
        QCOMPARE(answer["country"_s].toString(), country);
        QCOMPARE(emulator.stop(), 0);
        QCOMPARE(emulator.log(), QByteArray());
    }

    void thePreAccountIsTheSims_data()
    {
        const auto row = rows<QString, int>("sim", "status");
        row("the subscriber", finnishSim, 0);
        // The number alone says who it is: the hash knows nothing of the network.
        row("the number in another network", "310-15-1234567890", 0);
        row("another number", "244-05-1234567891", 507);
        row("the same digits, parted elsewhere", "244-051-234567890", 507);
        row("no SIM", {}, 507);
    }
    void thePreAccountIsTheSims()
    {
        const auto [sim, status] = fetch<QString, int>("sim", "status");
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(withSim(sim) + QStringList{"--pre-account"_s, preAccount}),
                 emulator.log().constData());
        const QJsonObject answer = ask(emulator, {"detect-pre-account"_s});
        QCOMPARE(answer["status"_s].toInt(-1), status);
        if (status != 0)
            return;
        QCOMPARE(answer["username"_s].toString(), "carol"_s);
        QCOMPARE(answer["mobile"_s].toString(), "+358401234567"_s);
        QCOMPARE(answer["country"_s].toString(), "Finland"_s);
    }

    void anApplicationTellsItsSimAfterSigningIn()
    {
        const QTemporaryDir folder;
        const QString database = folder.filePath("accounts.db"_s);
        const ProgramRun inside = EmulatorProcess::run(
            {"run"_s, "--sim"_s, finnishSim, "--pre-account"_s, preAccount, "--database"_s,
             database, "--"_s, QCoreApplication::applicationFilePath()},
            {{QLatin1String(taskVariable), "be an application"_s}});
        QVERIFY2(inside.status == 0, inside.errors.constData());
        for (const QByteArray& said :
             {"\nretrieveCountryCodeResponse(0, 'FI')\n"_ba,
              "\ndetectPreAccountResponse(0, pre-account '"_ba,
              "' 'carol' '+358401234567' %1)\n"_s.arg(int(QLocale::Finland)).toLatin1(),
              "\nsignInAndConfigureResponse(0, "_ba, "\ndownloadProfileResponse(0, profile)\n"_ba})
            QVERIFY2(inside.output.contains(said), inside.output.constData());
        QCOMPARE(inside.output.count("\noperation 26 200\n"), 1);

        const QVariantList device = {"356938035643809"_s, "244"_s, "05"_s,
                                     QString::fromLatin1(finnishHash)};
        QCOMPARE(sqliteRows(database, "SELECT serial_number, mcc, mnc, hashed_msin FROM devices"_s),
                 QList<QVariantList>{device});
    }

    void theMachinesOwnModemStaysOutOfSight()
    {
        const QByteArray before = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        const struct
        {
            QStringList options;
            int status;
            const char* country;
        } cases[] = {
            // It would be seen: without a session the command keeps the machine's own bus.
            {{"--no-session"_s}, 0, "FI"},
            {{}, 807, ""},
            {withSim("310-15-1"_s), 0, "US"},
        };
        {
            PrivateBus machine;
            QVERIFY2(machine.start(), "needs the package dbus");
            QVERIFY2(machine.runModem("mm-sim"_s), "needs the package python3-dbusmock");
            for (const auto& one : cases) {
                EmulatorProcess emulator;
                QVERIFY2(emulator.start(one.options), emulator.log().constData());
                const QJsonObject answer = ask(emulator, {"country"_s});
                QCOMPARE(answer["status"_s].toInt(-1), one.status);
                QCOMPARE(answer["country"_s].toString(), QString::fromLatin1(one.country));
            }
        }
        before.isNull() ? qunsetenv("DBUS_SYSTEM_BUS_ADDRESS")
                        : qputenv("DBUS_SYSTEM_BUS_ADDRESS", before);
    }

    void aSimWithoutASessionEndsTheStart()
    {
        const ProgramRun failed = EmulatorProcess::run({"serve"_s, "--sim"_s, finnishSim},
                                                       {{"PATH"_s, "/nonexistent"_s}});
        QCOMPARE(failed.status, 125);
        QCOMPARE(failed.output, QByteArray());
        QVERIFY2(failed.errors.contains("package dbus"), failed.errors.constData());
        QVERIFY2(failed.errors.contains("--sim"), failed.errors.constData());
        QCOMPARE(failed.errors.count('\n'), 1);
    }

    void theModemSaysWhyItCannotAppear()
    {
        const auto modem = QStringLiteral(KELACCOUNT_MODEM_PROGRAM);
        QCOMPARE(runProgram(modem, {}).status, 2);
        const ProgramRun misused = runProgram(modem, {"244"_s});
        QCOMPARE(misused.status, 2);
        QVERIFY2(misused.errors.contains("MNC"), misused.errors.constData());

        // Each emulator has a bus of its own; on this one there is a modem already.
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(withSim(finnishSim)), emulator.log().constData());
        const auto bus = "DBUS_SYSTEM_BUS_ADDRESS"_s;
        const EnvironmentChange onTheBus = {{bus, emulator.environment().value(bus)}};
        const ProgramRun second = runProgram(modem, {finnishSim}, onTheBus);
        emulator.stop();
        const ProgramRun withoutBus = runProgram(modem, {finnishSim}, onTheBus);
        QCOMPARE(second.status, 1);
        QVERIFY2(second.errors.contains("somebody else is org.ofono on this bus"),
                 second.errors.constData());
        QCOMPARE(withoutBus.status, 1);
        QCOMPARE(withoutBus.errors.count('\n'), 1);
    }

private:
    static QJsonObject ask(const EmulatorProcess& emulator, const QStringList& words)
    {
        const QJsonObject answer =
            Client(emulator.environment()).run(words + QStringList{"--json"_s}).json();
        QJsonObject values = answer["values"_s].toObject();
        values.insert("status"_s, answer["status"_s]);
        return values;
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(taskVariable))
        return beAnApplication();
    TestEmulatorModem test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_emulator_modem.moc"
