// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/privatebus.h"
#include "platform/privateconfiguration.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

class TestDeviceCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void identifiersAreHidden();
    void identifiersAreShownOnRequest();
    void whatIsMissingIsNotHidden();
    void theCountryIsThatOfTheSim();
    void theCountryIsThatOfTheRegionWithoutASim();
    void argumentsAreMisuse();

private:
    // Standard output; the exit status must be this.
    QByteArray output(const QStringList& arguments, int exitStatus = 0);
    QJsonObject facts(const QStringList& arguments);

    KelTest::PrivateBus mBus;
    KelTest::PrivateConfiguration mConfiguration;
};

void TestDeviceCommands::initTestCase()
{
    QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
    QVERIFY(mConfiguration.write(QStringLiteral("/meegotouch/i18n/region"), "'en_GB'"));
    QVERIFY2(mBus.start(), "needs the package dbus");
}

QByteArray TestDeviceCommands::output(const QStringList& arguments, int exitStatus)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(KELACCOUNT_PROGRAM), arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != exitStatus)
        return "ended with " + QByteArray::number(process.exitCode());
    return process.readAllStandardOutput();
}

QJsonObject TestDeviceCommands::facts(const QStringList& arguments)
{
    return QJsonDocument::fromJson(output(QStringList{QStringLiteral("--json")} + arguments))
        .object();
}

void TestDeviceCommands::identifiersAreHidden()
{
    QVERIFY2(mBus.runModem(QStringLiteral("ofono-sim")), "needs the package python3-dbusmock");
    for (const QString& option : {QStringLiteral("--json"), QStringLiteral("--verbose")}) {
        const QByteArray text = output({option, QStringLiteral("device-info")});
        QVERIFY2(text.contains("244"), text);
        QVERIFY2(text.contains("IMEI"), text);
        QVERIFY2(!text.contains("356938035643800"), text);
        QVERIFY2(!text.contains("1234567890"), text);
    }
    const QJsonObject device = facts({QStringLiteral("device-info")});
    QCOMPARE(device.value(QStringLiteral("SIM")).toBool(), true);
    QCOMPARE(device.value(QStringLiteral("home MCC")).toString(), QStringLiteral("244"));
    QCOMPARE(device.value(QStringLiteral("home MNC")).toString(), QStringLiteral("05"));
}

void TestDeviceCommands::identifiersAreShownOnRequest()
{
    const QJsonObject device =
        facts({QStringLiteral("device-info"), QStringLiteral("--show-identifiers")});
    QCOMPARE(device.value(QStringLiteral("IMEI")).toString(), QStringLiteral("356938035643800"));
    QCOMPARE(device.value(QStringLiteral("IMSI")).toString(), QStringLiteral("244051234567890"));
}

void TestDeviceCommands::theCountryIsThatOfTheSim()
{
    QVERIFY(mBus.runModem(QStringLiteral("ofono-sim")));
    const QJsonObject country = facts({QStringLiteral("country")});
    QCOMPARE(country.value(QStringLiteral("country")).toString(), QStringLiteral("FI"));
    mBus.stopServices();
}

void TestDeviceCommands::whatIsMissingIsNotHidden()
{
    mBus.stopServices();
    const QJsonObject device = facts({QStringLiteral("device-info")});
    QVERIFY(device.contains(QStringLiteral("IMEI")));
    QVERIFY(device.contains(QStringLiteral("IMSI")));
    QCOMPARE(device.value(QStringLiteral("IMEI")).toString(), QString());
    QCOMPARE(device.value(QStringLiteral("SIM")).toBool(true), false);
}

void TestDeviceCommands::theCountryIsThatOfTheRegionWithoutASim()
{
    QCOMPARE(facts({QStringLiteral("country")}).value(QStringLiteral("country")).toString(),
             QStringLiteral("GB"));
}

void TestDeviceCommands::argumentsAreMisuse()
{
    QCOMPARE(output({QStringLiteral("country"), QStringLiteral("FI")}, 2), QByteArray());
}

QTEST_GUILESS_MAIN(TestDeviceCommands)
#include "tst_devicecommands.moc"
