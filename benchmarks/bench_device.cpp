// SPDX-License-Identifier: LGPL-2.1-or-later
// What an application waits for on its own thread: the device's country without a modem, and the
// captcha test with a running tag server, beside one bare exchange on the same bus. Processor time
// is that of all threads, as the bus connection has its own.

#include "device/devicecountrypicker.h"
#include "device/obcmgrwrapper.h"
#include "device/testtagserver.h"
#include "platform/privatebus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

// The library's own, so that it can be broken before a first call.
const auto libraryConnection = QStringLiteral("kelaccount-platform");

void bareRoundTrip(benchmark::State& state)
{
    const QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("bare"));
    const QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
    for (auto _ : state) {
        if (bus.call(question, QDBus::Block, 1000).type() != QDBusMessage::ReplyMessage)
            state.SkipWithError("no reply from the bus");
    }
}

void countryWithoutModem(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(DeviceCountryPicker().deviceCountry());
}

void countryOnFirstCall(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        QDBusConnection::disconnectFromPeer(libraryConnection);
        state.ResumeTiming();
        benchmark::DoNotOptimize(DeviceCountryPicker().deviceCountry());
        if (!QDBusConnection(libraryConnection).isConnected())
            state.SkipWithError("the bus was not asked");
    }
}

void captchaTestOnFirstCall(benchmark::State& state)
{
    for (auto _ : state) {
        if (!KelRestHandler::ObcMgrWrapper().isServiceTagAvailable())
            state.SkipWithError("no tag");
    }
}

} // namespace

BENCHMARK(bareRoundTrip)->Name("bare D-Bus round trip")->MeasureProcessCPUTime();
BENCHMARK(countryWithoutModem)->Name("country without a modem")->MeasureProcessCPUTime();
BENCHMARK(countryOnFirstCall)->Name("country on the first call")->MeasureProcessCPUTime();
BENCHMARK(captchaTestOnFirstCall)->Name("captcha test on the first call")->MeasureProcessCPUTime();

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    QCoreApplication application(argc, argv);
    KelTest::PrivateBus bus;
    KelTest::RunningTagServer tagServer;
    if (!bus.start() || !tagServer.isReady()) {
        fprintf(stderr, "The bus or the tag server does not run; nothing is measured.\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
