// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/qsysteminfo.h"
#include "platform/testroot.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <sys/utsname.h>

namespace TestRoot = KelTest::TestRoot;
using QtMobility::QSystemInfo;

namespace {

// With it, this program prints its locale's country instead of testing.
constexpr auto countryOption = "--print-country";

} // namespace

class TestQSystemInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void versionsAreToldApart()
    {
        TestRoot::write("etc/os-release", "VERSION_ID=12\n");
        utsname kernel = {};
        QCOMPARE(uname(&kernel), 0);
        QSystemInfo system;
        QCOMPARE(system.version(QSystemInfo::Firmware), "12"_s);
        QCOMPARE(system.version(QSystemInfo::Os), QString::fromLatin1(kernel.release));
        QVERIFY(system.version(QSystemInfo::QtCore).startsWith("%1."_s.arg(QT_VERSION_MAJOR)));
        QCOMPARE(system.version(static_cast<QSystemInfo::Version>(99)), QString());
    }

    void theCountryIsTheLocales_data()
    {
        const auto row = rows<QByteArray, QString>("locale", "country");
        row("Finland", "fi_FI.UTF-8", "FI");
        row("three-letter language", "fil_PH", "PH");
        row("C", "C", {});
    }
    void theCountryIsTheLocales()
    {
        QFETCH(QByteArray, locale);
        // A process keeps the locale that it has started with.
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL"_s, QString::fromLatin1(locale));
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {QLatin1String(countryOption)});
        QVERIFY(process.waitForFinished());
        QTEST(QString::fromLatin1(process.readAllStandardOutput()), "country");
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains(QLatin1String(countryOption))) {
        std::fputs(qPrintable(QSystemInfo().currentCountryCode()), stdout);
        return 0;
    }
    TestQSystemInfo test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_qsysteminfo.moc"
