// SPDX-License-Identifier: LGPL-2.1-or-later
// The stand-in for the device's settings application, inside the emulator's session.
#include "configure/kelconfigure.h"
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"
#include "support/sqlitereader.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::KelConfigure;

namespace {

struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

QProcessEnvironment inside()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The accounts framework loses 214 bytes whenever it lists an account's keys.
    const QString options = environment.value("ASAN_OPTIONS"_s);
    environment.insert("ASAN_OPTIONS"_s, options + ":detect_leaks=0"_s);
    return environment;
}

Run settings(const QStringList& arguments, const QProcessEnvironment& environment = inside())
{
    BoundProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(KELACCOUNT_SETTINGS_PROGRAM), arguments);
    if (!process.waitForFinished(20000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QString inFolder(const char* variable, const char* file)
{
    return qEnvironmentVariable(variable) + QLatin1Char('/') + QLatin1String(file);
}

int identities()
{
    return sqliteRows(inFolder("SSO_STORAGE_PATH", "signon.db"),
                      "select count(*) from credentials"_s)
        .value(0)
        .value(0)
        .toInt();
}

QList<QVariantList> accounts()
{
    return sqliteRows(inFolder("ACCOUNTS", "accounts.db"),
                      "select name from accounts order by id"_s);
}

} // namespace

class TestEmulatorSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(qEnvironmentVariableIsSet("KELACCOUNT_EMULATOR_ADMIN")); }

    void aDeviceWithoutAccountsSaysSo()
    {
        const Run run = settings({"show"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.output, "There is no account on this device.\n"_ba);
    }

    void showsTheAccountWithItsSettings()
    {
        const quint32 credentialsId = setUp("kim"_s);
        QVERIFY(credentialsId > 0);
        const Run run = settings({"show"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.errors, QByteArray());
        const QList<QByteArray> lines = run.output.split('\n');
        QCOMPARE(lines.at(0), "account 1 of provider \"zor\": \"kim\", on"_ba);
        QMap<QByteArray, QByteArray> rows;
        for (const QByteArray& line : lines.mid(1)) {
            const QByteArray row = line.simplified();
            rows.insert(row.left(row.lastIndexOf(' ')), row.mid(row.lastIndexOf(' ') + 1));
        }
        QCOMPARE(rows.value("CredentialsId"), QByteArray::number(credentialsId));
        QCOMPARE(rows.value("SyncTarget"), "Zor"_ba);
        QCOMPARE(rows.value("scheduler/schedule_off_peak"), "-1"_ba);
        QCOMPARE(rows.value("scheduler/schedule_peak_enabled"), "true"_ba);
        QCOMPARE(rows.value("service " KELACCOUNT_TEST_SERVICE), "off"_ba);
        QVERIFY(!run.output.contains("planted"));
    }

    void removesOneAccountAndItsCredentials()
    {
        const quint32 credentialsId = setUp("lee"_s);
        QVERIFY(credentialsId > 0);
        QCOMPARE(identities(), 2);
        const Run run = settings({"remove"_s, "2"_s});
        QCOMPARE(run.errors, QByteArray());
        QCOMPARE(run.status, 0);
        QCOMPARE(run.output, "removed account 2, \"lee\", and credentials " +
                                 QByteArray::number(credentialsId) + '\n');
        QCOMPARE(identities(), 1);
        QCOMPARE(accounts(), QList<QVariantList>({{"kim"_s}}));
    }

    void removingWhatIsNotThereIsAnError_data()
    {
        const auto row = rows<QString>("account");
        row("never there", "4711");
        row("no number", "kim");
        row("nothing", {});
    }
    void removingWhatIsNotThereIsAnError()
    {
        QFETCH(QString, account);
        const Run run = settings({"remove"_s, account});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.errors, "kelaccount-settings: no account " + account.toUtf8() + '\n');
        QCOMPARE(identities(), 1);
        QCOMPARE(accounts().size(), 1);
    }

    void misuseIsExplained_data()
    {
        const auto row = rows<QStringList, QByteArray>("arguments", "problem");
        row("nothing", {}, "no command given; kelaccount-settings --help lists them"_ba);
        row("unknown", QStringList{"list"_s}, "unknown command 'list'"_ba);
        row("mistyped", QStringList{"remov"_s}, "did you mean remove?"_ba);
        row("remove what?", QStringList{"remove"_s},
            "usage: kelaccount-settings remove ACCOUNT"_ba);
        row("too many", QStringList{"show"_s, "1"_s}, "usage: kelaccount-settings show"_ba);
    }
    void misuseIsExplained()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, problem);
        const Run run = settings(arguments);
        QCOMPARE(run.status, 2);
        QCOMPARE(run.output, QByteArray());
        QVERIFY2(run.errors.startsWith("kelaccount-settings: "), run.errors.constData());
        QVERIFY2(run.errors.contains(problem), run.errors.constData());
    }

    void outsideTheEmulatorNothingIsTouched()
    {
        QProcessEnvironment outside = inside();
        outside.remove("KELACCOUNT_EMULATOR_ADMIN"_s);
        const Run run = settings({"remove"_s, "1"_s}, outside);
        QCOMPARE(run.status, 1);
        QVERIFY(run.errors.contains("not the emulator's session"));
        QCOMPARE(accounts(), QList<QVariantList>({{"kim"_s}}));
    }

private:
    /// The credentials of the account, or 0.
    quint32 setUp(const QString& name)
    {
        QSignalSpy stored(&mConfigure, &KelConfigure::storeUserCredentialsStatus);
        mConfigure.storeUserCredentials(name, "planted password"_s);
        if (!waitUntil([&] { return !stored.isEmpty(); }))
            return 0;
        const quint32 credentialsId = stored.at(0).at(1).toUInt();
        QSignalSpy configured(&mConfigure, &KelConfigure::configureAccountStatus);
        mConfigure.configureAccount(name, credentialsId);
        waitUntil([&] { return !configured.isEmpty(); });
        return configured.value(0).value(0).toBool() ? credentialsId : 0;
    }

    KelConfigure mConfigure;
};

QTEST_GUILESS_MAIN(TestEmulatorSettings)
#include "tst_emulator_settings.moc"
