// SPDX-License-Identifier: LGPL-2.1-or-later
// What the library sees of the device inside the emulator, with "--sim" and without.
// This program is also the application that runs there.
#include "account/facaderecorder.h"
#include "emulator/emulatorprocess.h"
#include "platform/privatebus.h"
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

const auto finnishSim = QStringLiteral("244-05-1234567890");
// SHA-1 of "1234567890", from sha1sum and base64
constexpr const char* finnishHash = "AbMHrLpPVPVar8M7sGu79sqAPpo=";
const auto preAccount = QStringLiteral("1234567890,carol,+358401234567,FI");

/// The application: asks the facade, stays until all is answered, and writes the signals and the
/// operations that the service was asked.
int beAnApplication()
{
    KelAccount::KelAccounts accounts;
    FacadeRecorder recorder(&accounts);
    accounts.initialize(QStringLiteral("demo-key"), QStringLiteral("demo-secret"), 2,
                        QStringLiteral("sync"), {});
    accounts.retrieveCountryCode();
    accounts.detectPreAccount();
    recorder.waitFor(3, patience);
    accounts.signInAndConfigure(QStringLiteral("alice"), QStringLiteral("secret"), true);
    recorder.waitFor(4, patience);
    // The plugin takes one request after the other: when this one is answered, what the sign-in had
    // sent after it has been done.
    accounts.downloadProfile();
    recorder.waitFor(5, patience);
    for (const QString& line : recorder.lines())
        std::printf("%s\n", qPrintable(line));
    const QByteArray log = askAdministration(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"),
                                             "GET", QStringLiteral("/requests"))
                               .body;
    for (const QJsonValue& request : QJsonDocument::fromJson(log).array())
        std::printf("operation %d %d\n", request[QStringLiteral("operation")].toInt(),
                    request[QStringLiteral("status")].toInt());
    return 0;
}

QStringList withSim(const QString& sim)
{
    return sim.isEmpty() ? QStringList() : QStringList{QStringLiteral("--sim"), sim};
}

} // namespace

class TestEmulatorModem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theClientSeesTheSim_data();
    void theClientSeesTheSim();
    void thePreAccountIsTheSims_data();
    void thePreAccountIsTheSims();
    void anApplicationTellsItsSimAfterSigningIn();
    void anApplicationWithoutASimTellsNothing();
    void theMachinesOwnModemStaysOutOfSight();
    void aSimThatIsNoneIsMisuse_data();
    void aSimThatIsNoneIsMisuse();
    void aSimWithoutASessionEndsTheStart();
    void theModemSaysWhyItCannotAppear();

private:
    struct Run
    {
        int status = -1;
        QStringList output;
        QByteArray errors;
    };
    static Run run(const QString& program, const QStringList& arguments);
    static Run runApplication(const QStringList& options);
    static QJsonObject ask(const EmulatorProcess& emulator, const QStringList& words);
};

TestEmulatorModem::Run TestEmulatorModem::run(const QString& program, const QStringList& arguments)
{
    BoundProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(2 * patience) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(),
            QString::fromLocal8Bit(process.readAllStandardOutput())
                .split(QLatin1Char('\n'), Qt::SkipEmptyParts),
            process.readAllStandardError()};
}

TestEmulatorModem::Run TestEmulatorModem::runApplication(const QStringList& options)
{
    qputenv(taskVariable, "be an application");
    const Run inside =
        run(EmulatorProcess::program(),
            QStringList{QStringLiteral("run")} + options +
                QStringList{QStringLiteral("--"), QCoreApplication::applicationFilePath()});
    qunsetenv(taskVariable);
    return inside;
}

QJsonObject TestEmulatorModem::ask(const EmulatorProcess& emulator, const QStringList& words)
{
    return Client(emulator.environment()).run(words + QStringList{QStringLiteral("--json")}).json();
}

void TestEmulatorModem::theClientSeesTheSim_data()
{
    QTest::addColumn<QString>("sim");
    QTest::addColumn<QString>("imsi");
    QTest::addColumn<QString>("imei");
    QTest::addColumn<QString>("mcc");
    QTest::addColumn<QString>("mnc");
    QTest::addColumn<QString>("country");
    const auto row = [](const char* sim, const char* imsi, const char* imei, const char* mcc,
                        const char* mnc, const char* country) {
        QTest::newRow(sim) << QString::fromLatin1(sim) << QString::fromLatin1(imsi)
                           << QString::fromLatin1(imei) << QString::fromLatin1(mcc)
                           << QString::fromLatin1(mnc) << QString::fromLatin1(country);
    };
    row("244-05-1234567890", "244051234567890", "356938035643809", "244", "05", "FI");
    row("310-150-123456789,490154203237518", "310150123456789", "490154203237518", "310", "150",
        "US");
    row("999-01-7", "999017", "356938035643809", "999", "01", "");
    row("", "", "", "", "", "");
}

void TestEmulatorModem::theClientSeesTheSim()
{
    QFETCH(QString, sim);
    QFETCH(QString, country);
    EmulatorProcess emulator;
    QVERIFY2(emulator.start(withSim(sim)), emulator.log().constData());
    const QJsonObject device =
        ask(emulator, {QStringLiteral("device-info"), QStringLiteral("--show-identifiers")});
    QCOMPARE(device[QStringLiteral("status")].toInt(-1), 0);
    QVERIFY(device[QStringLiteral("SIM")].isBool());
    QCOMPARE(device[QStringLiteral("SIM")].toBool(), !sim.isEmpty());
    QTEST(device[QStringLiteral("IMSI")].toString(), "imsi");
    QTEST(device[QStringLiteral("IMEI")].toString(), "imei");
    QTEST(device[QStringLiteral("home MCC")].toString(), "mcc");
    QTEST(device[QStringLiteral("home MNC")].toString(), "mnc");

    const QJsonObject answer = ask(emulator, {QStringLiteral("country")});
    QCOMPARE(answer[QStringLiteral("status")].toInt(-1), country.isEmpty() ? 807 : 0);
    QCOMPARE(answer[QStringLiteral("country")].toString(), country);
    QCOMPARE(emulator.stop(), 0);
    QCOMPARE(emulator.log(), QByteArray());
}

void TestEmulatorModem::thePreAccountIsTheSims_data()
{
    QTest::addColumn<QString>("sim");
    QTest::addColumn<int>("status");
    QTest::newRow("the subscriber") << finnishSim << 0;
    // The number alone says who it is: the hash knows nothing of the network.
    QTest::newRow("the number in another network") << QStringLiteral("310-15-1234567890") << 0;
    QTest::newRow("another number") << QStringLiteral("244-05-1234567891") << 507;
    QTest::newRow("the same digits, parted elsewhere")
        << QStringLiteral("244-051-234567890") << 507;
    QTest::newRow("no SIM") << QString() << 507;
}

void TestEmulatorModem::thePreAccountIsTheSims()
{
    QFETCH(QString, sim);
    QFETCH(int, status);
    EmulatorProcess emulator;
    QVERIFY2(
        emulator.start(withSim(sim) + QStringList{QStringLiteral("--pre-account"), preAccount}),
        emulator.log().constData());
    const QJsonObject answer = ask(emulator, {QStringLiteral("detect-pre-account")});
    QCOMPARE(answer[QStringLiteral("status")].toInt(-1), status);
    if (status != 0)
        return;
    QCOMPARE(answer[QStringLiteral("username")].toString(), QStringLiteral("carol"));
    QCOMPARE(answer[QStringLiteral("mobile")].toString(), QStringLiteral("+358401234567"));
    QCOMPARE(answer[QStringLiteral("country")].toString(), QStringLiteral("Finland"));
}

void TestEmulatorModem::anApplicationTellsItsSimAfterSigningIn()
{
    const QTemporaryDir folder;
    const QString database = folder.filePath(QStringLiteral("accounts.db"));
    const Run inside =
        runApplication({QStringLiteral("--sim"), finnishSim, QStringLiteral("--pre-account"),
                        preAccount, QStringLiteral("--database"), database});
    QVERIFY2(inside.status == 0, inside.errors.constData());
    const QString said = inside.output.join(QLatin1Char('\n'));
    QVERIFY2(inside.output.contains(QStringLiteral("retrieveCountryCodeResponse(0, 'FI')")),
             qPrintable(said));
    QVERIFY2(said.contains(QStringLiteral("detectPreAccountResponse(0, pre-account '")),
             qPrintable(said));
    QVERIFY2(
        said.contains(QStringLiteral("' 'carol' '+358401234567' %1)").arg(int(QLocale::Finland))),
        qPrintable(said));
    QVERIFY2(said.contains(QStringLiteral("signInAndConfigureResponse(0, ")), qPrintable(said));
    QVERIFY2(said.contains(QStringLiteral("downloadProfileResponse(0, profile)")),
             qPrintable(said));
    QCOMPARE(inside.output.count(QStringLiteral("operation 26 200")), 1);

    const QVariantList device = {QStringLiteral("356938035643809"), QStringLiteral("244"),
                                 QStringLiteral("05"), QString::fromLatin1(finnishHash)};
    QCOMPARE(sqliteRows(database,
                        QStringLiteral("SELECT serial_number, mcc, mnc, hashed_msin FROM devices")),
             QList<QVariantList>{device});
}

void TestEmulatorModem::anApplicationWithoutASimTellsNothing()
{
    const Run inside = runApplication({QStringLiteral("--pre-account"), preAccount});
    QVERIFY2(inside.status == 0, inside.errors.constData());
    const QString said = inside.output.join(QLatin1Char('\n'));
    QVERIFY2(inside.output.contains(QStringLiteral("retrieveCountryCodeResponse(807, '')")),
             qPrintable(said));
    QVERIFY2(said.contains(QStringLiteral("detectPreAccountResponse(507, ")), qPrintable(said));
    QVERIFY2(said.contains(QStringLiteral("signInAndConfigureResponse(0, ")), qPrintable(said));
    QVERIFY2(said.contains(QStringLiteral("downloadProfileResponse(0, profile)")),
             qPrintable(said));
    QCOMPARE(inside.output.count(QStringLiteral("operation 1 200")), 1);
    QVERIFY2(!said.contains(QStringLiteral("operation 26")), qPrintable(said));
}

void TestEmulatorModem::theMachinesOwnModemStaysOutOfSight()
{
    const QByteArray before = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const struct
    {
        QStringList options;
        int status;
        const char* country;
    } cases[] = {
        // It would be seen: without a session the command keeps the machine's own bus.
        {{QStringLiteral("--no-session")}, 0, "FI"},
        {{}, 807, ""},
        {withSim(QStringLiteral("310-15-1")), 0, "US"},
    };
    {
        PrivateBus machine;
        QVERIFY2(machine.start(), "needs the package dbus");
        QVERIFY2(machine.runModem(QStringLiteral("mm-sim")), "needs the package python3-dbusmock");
        for (const auto& one : cases) {
            EmulatorProcess emulator;
            QVERIFY2(emulator.start(one.options), emulator.log().constData());
            const QJsonObject answer = ask(emulator, {QStringLiteral("country")});
            QCOMPARE(answer[QStringLiteral("status")].toInt(-1), one.status);
            QCOMPARE(answer[QStringLiteral("country")].toString(),
                     QString::fromLatin1(one.country));
        }
    }
    before.isNull() ? qunsetenv("DBUS_SYSTEM_BUS_ADDRESS")
                    : qputenv("DBUS_SYSTEM_BUS_ADDRESS", before);
}

void TestEmulatorModem::aSimThatIsNoneIsMisuse_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("reason");
    const auto row = [](const char* sim, const char* reason) {
        QTest::newRow(*sim ? sim : "nothing")
            << QStringList{QStringLiteral("--sim=") + QString::fromLatin1(sim)}
            << QByteArray(reason);
    };
    row("", "the MCC has three digits");
    row("24-05-1234567890", "the MCC has three digits");
    row("24x-05-1234567890", "the MCC has three digits");
    row("244051234567890", "the MCC has three digits");
    row("244", "the MNC has two or three digits");
    row("244-5-1234567890", "the MNC has two or three digits");
    row("244-0505-123456", "the MNC has two or three digits");
    row("244-05", "the MSIN has digits only, at most 15 together with MCC and MNC");
    row("244-05-12345678901", "the MSIN has digits only, at most 15 together with MCC and MNC");
    row("244-051-1234567890", "the MSIN has digits only, at most 15 together with MCC and MNC");
    row("244-05-1234-5678", "the MSIN has digits only, at most 15 together with MCC and MNC");
    row("244-05-1234567890,", "the IMEI has 15 digits");
    row("244-05-1234567890,35693803564380", "the IMEI has 15 digits");
    row("244-05-1234567890,356938035643809,1", "the IMEI has 15 digits");
    QTest::newRow("no value") << QStringList{QStringLiteral("--sim")}
                              << QByteArray("--sim needs a value");
    QTest::newRow("no session") << QStringList{QStringLiteral("--sim"), finnishSim,
                                               QStringLiteral("--no-session")}
                                << QByteArray("--sim needs the session's bus");
}

void TestEmulatorModem::aSimThatIsNoneIsMisuse()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, reason);
    // "serve" would print its environment; a value that is missing is missing at the end.
    const Run misused =
        run(EmulatorProcess::program(), QStringList{QStringLiteral("serve")} + options);
    QCOMPARE(misused.status, 2);
    QCOMPARE(misused.output, QStringList());
    QVERIFY2(misused.errors.contains(reason), misused.errors.constData());
    QCOMPARE(misused.errors.count('\n'), 1);
}

void TestEmulatorModem::aSimWithoutASessionEndsTheStart()
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    const Run failed = run(EmulatorProcess::program(),
                           {QStringLiteral("serve"), QStringLiteral("--sim"), finnishSim});
    qputenv("PATH", path);
    QCOMPARE(failed.status, 125);
    QCOMPARE(failed.output, QStringList());
    QVERIFY2(failed.errors.contains("package dbus"), failed.errors.constData());
    QVERIFY2(failed.errors.contains("--sim"), failed.errors.constData());
    QCOMPARE(failed.errors.count('\n'), 1);
}

void TestEmulatorModem::theModemSaysWhyItCannotAppear()
{
    const auto modem = QStringLiteral(KELACCOUNT_MODEM_PROGRAM);
    QCOMPARE(run(modem, {}).status, 2);
    const Run misused = run(modem, {QStringLiteral("244")});
    QCOMPARE(misused.status, 2);
    QVERIFY2(misused.errors.contains("MNC"), misused.errors.constData());

    // Each emulator has a bus of its own; on this one there is a modem already.
    EmulatorProcess emulator;
    QVERIFY2(emulator.start(withSim(finnishSim)), emulator.log().constData());
    const QByteArray before = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS",
            emulator.environment().value(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS")).toLocal8Bit());
    const Run second = run(modem, {finnishSim});
    emulator.stop();
    const Run withoutBus = run(modem, {finnishSim});
    before.isNull() ? qunsetenv("DBUS_SYSTEM_BUS_ADDRESS")
                    : qputenv("DBUS_SYSTEM_BUS_ADDRESS", before);
    QCOMPARE(second.status, 1);
    QVERIFY2(second.errors.contains("somebody else is org.ofono on this bus"),
             second.errors.constData());
    QCOMPARE(withoutBus.status, 1);
    QCOMPARE(withoutBus.errors.count('\n'), 1);
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(taskVariable))
        return beAnApplication();
    TestEmulatorModem test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_emulator_modem.moc"
