// SPDX-License-Identifier: LGPL-2.1-or-later
// Whether the surrounding that this program was started in is one: for the program, and for the
// daemon and the plugin, which the emulator and the bus start. A test of the library in a
// surrounding that is not there would tell nothing.
#include "integration/storyfixture.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"

#include <QFile>
#include <QLocale>
#include <QTimeZone>

#include <algorithm>
#include <unistd.h>

using namespace KelTest;

namespace {

constexpr int hour = 3600;

bool isOfTheLocale(const QByteArray& variable)
{
    return variable.startsWith("LC_") || variable.startsWith("LANG");
}

/// What surroundings are made of, as a process was given it.
QByteArrayList surrounding(QByteArrayList environment)
{
    const auto belongs = [](const QByteArray& variable) {
        const QByteArray name = variable.left(variable.indexOf('='));
        return isOfTheLocale(name) || name == "TZ" || name == "QT_HASH_SEED" ||
               name == "LD_BIND_NOW";
    };
    environment.erase(std::remove_if(environment.begin(), environment.end(),
                                     [&](const QByteArray& one) { return !belongs(one); }),
                      environment.end());
    std::sort(environment.begin(), environment.end());
    return environment;
}

QByteArrayList surroundingOf(pid_t process)
{
    QFile file("/proc/%1/environ"_s.arg(process));
    return file.open(QIODevice::ReadOnly) ? surrounding(file.readAll().split('\0'))
                                          : QByteArrayList({"cannot be read"});
}

} // namespace

class TestSurrounding : public StoryFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
        openFacade();
    }

    void cleanupTestCase()
    {
        closeFacade();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void theLocaleIsTheOneThatTheVariableNames()
    {
        const QLocale locale = QLocale::system();
        const QString all = qEnvironmentVariable("LC_ALL");
        if (all.contains(QLatin1Char('_')))
            QCOMPARE(locale.name(), all.section(QLatin1Char('.'), 0, 0));
        const QByteArrayList here = surroundingOf(::getpid());
        if (std::none_of(here.begin(), here.end(), isOfTheLocale))
            QCOMPARE(locale.language(), QLocale::C);
        const QMap<QString, QString> fortyTwo = {
            {"fa_IR"_s, "۴۲"_s}, {"ar_EG"_s, "٤٢"_s}, {"tr_TR"_s, "42"_s}};
        QCOMPARE(locale.toString(42), fortyTwo.value(locale.name(), "42"_s));
    }

    void theTimeZoneIsTheOneThatTheVariableNames()
    {
        const QByteArray zone = qgetenv("TZ");
        const QDateTime summer(QDate(2026, 7, 1), QTime(12, 0));
        const QDateTime winter(QDate(2026, 1, 1), QTime(12, 0));
        if (!zone.isEmpty())
            QVERIFY2(QTimeZone(zone).isValid(), "the package tzdata is needed");
        if (zone == "Europe/Berlin") {
            QCOMPARE(summer.offsetFromUtc(), 2 * hour);
            QCOMPARE(winter.offsetFromUtc(), 1 * hour);
        } else if (zone == "Pacific/Apia") {
            QCOMPARE(summer.offsetFromUtc(), 13 * hour);
            QCOMPARE(winter.offsetFromUtc(), 13 * hour);
        }
    }

    void daemonAndPluginRunInItToo()
    {
        QVERIFY(!addAccount({{"userName"_s, "maria"_s}, {"password"_s, "secret"_s}}).isEmpty());
        const QStringList lines =
            answers([this] { facade().signInAndConfigure("maria"_s, "secret"_s, true); });
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.at(0).startsWith("signInAndConfigureResponse(0, "_s),
                 qPrintable(lines.at(0)));

        const QByteArrayList here = surroundingOf(::getpid());
        QCOMPARE(surroundingOf(DaemonControl::processId()), here);
        const QList<pid_t> plugins = pluginProcesses();
        QVERIFY(!plugins.isEmpty());
        for (const pid_t plugin : plugins)
            QCOMPARE(surroundingOf(plugin), here);
    }
};

QTEST_GUILESS_MAIN(TestSurrounding)
#include "tst_surrounding.moc"
