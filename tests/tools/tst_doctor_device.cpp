// SPDX-License-Identifier: LGPL-2.1-or-later
// The client's doctor, on a device that has everything, and on one that has not much.
#include "tools/doctorrun.h"

using namespace KelTest;

class TestDoctorDevice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whereAllIsInOrderEverythingIsGood()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(withSim + QStringList{"--tag-server"_s}),
                 emulator.log().constData());
        const Session session(emulator);
        const ProgramRun run = diagnosed(session);
        QVERIFY2(run.status == Fine, run.output.constData());
        QStringList checks;
        for (const QJsonValue& finding : run.json()["findings"_s].toArray()) {
            QCOMPARE(finding["level"_s].toString(), "good"_s);
            checks.append(finding["check"_s].toString());
        }
        QCOMPARE(checks, QString("modules texts bus daemon plugin provider service database "
                                 "secrets proxy host tls clock key tag modem sim region locale"_s)
                             .split(QLatin1Char(' ')));
        QCOMPARE(run.json()["worst"_s].toString(), "good"_s);
        QCOMPARE(run.json()["schema"_s].toInt(), 1);
    }

    void whatADeviceHasNotIsNoted()
    {
        EmulatorProcess emulator;
        QVERIFY2(emulator.start(), emulator.log().constData());
        const Session session(emulator);
        const ProgramRun run = diagnosed(session);
        verifyFinding(run, "tag"_s, "note"_s, "no tag server"_s);
        verifyFinding(run, "modem"_s, "note"_s, "no modem"_s);
        verifyFinding(run, "sim"_s, "note"_s, "no SIM"_s);
        verifyFinding(run, "region"_s, "warning"_s, "807"_s);
        QCOMPARE(run.status, int(HasWarnings));
    }
};

QTEST_GUILESS_MAIN(TestDoctorDevice)
#include "tst_doctor_device.moc"
