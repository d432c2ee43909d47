// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/privatebus.h"
#include "platform/privateconfiguration.h"
#include "support/literals.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

class TestDeviceCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
        QVERIFY(mConfiguration.write("/meegotouch/i18n/region"_s, "'en_GB'"));
        QVERIFY2(mBus.start(), "needs the package dbus");
    }

    void identifiersAreHidden()
    {
        QVERIFY2(mBus.runModem("ofono-sim"_s), "needs the package python3-dbusmock");
        for (const QString& option : {"--json"_s, "--verbose"_s}) {
            const QByteArray text = output({option, "device-info"_s});
            QVERIFY2(text.contains("244"), text);
            QVERIFY2(text.contains("IMEI"), text);
            QVERIFY2(!text.contains("356938035643800"), text);
            QVERIFY2(!text.contains("1234567890"), text);
        }
        const QJsonObject device = facts({"device-info"_s});
        QCOMPARE(device.value("SIM"_s).toBool(), true);
        QCOMPARE(device.value("home MCC"_s).toString(), "244"_s);
        QCOMPARE(device.value("home MNC"_s).toString(), "05"_s);
    }

    void identifiersAreShownOnRequest()
    {
        const QJsonObject device = facts({"device-info"_s, "--show-identifiers"_s});
        QCOMPARE(device.value("IMEI"_s).toString(), "356938035643800"_s);
        QCOMPARE(device.value("IMSI"_s).toString(), "244051234567890"_s);
    }

    void whatIsMissingIsNotHidden()
    {
        mBus.stopServices();
        const QJsonObject device = facts({"device-info"_s});
        QVERIFY(device.contains("IMEI"_s));
        QVERIFY(device.contains("IMSI"_s));
        QCOMPARE(device.value("IMEI"_s).toString(), QString());
        QCOMPARE(device.value("SIM"_s).toBool(true), false);
    }

    void theCountryIsThatOfTheSim()
    {
        QVERIFY(mBus.runModem("ofono-sim"_s));
        const QJsonObject country = facts({"country"_s});
        QCOMPARE(country.value("country"_s).toString(), "FI"_s);
        mBus.stopServices();
    }

    void theCountryIsThatOfTheRegionWithoutASim()
    {
        QCOMPARE(facts({"country"_s}).value("country"_s).toString(), "GB"_s);
    }

    void argumentsAreMisuse() { QCOMPARE(output({"country"_s, "FI"_s}, 2), QByteArray()); }

private:
    // Standard output; the exit status must be this.
    QByteArray output(const QStringList& arguments, int exitStatus = 0)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(KELACCOUNT_PROGRAM), arguments);
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != exitStatus)
            return "ended with " + QByteArray::number(process.exitCode());
        return process.readAllStandardOutput();
    }

    QJsonObject facts(const QStringList& arguments)
    {
        return QJsonDocument::fromJson(output(QStringList{"--json"_s} + arguments))["values"_s]
            .toObject();
    }

    KelTest::PrivateBus mBus;
    KelTest::PrivateConfiguration mConfiguration;
};

QTEST_GUILESS_MAIN(TestDeviceCommands)
#include "tst_devicecommands.moc"
