// SPDX-License-Identifier: LGPL-2.1-or-later
// A service, a modem and a tag server in the same process, and no bus: what a session needs is
// refused.
#include "schedules/world.h"

#include "client/clientcalls.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/serviceconnections.h"
#include "schedules/handover.h"
#include "support/literals.h"

#include <QCoreApplication>

#include <atomic>

using namespace KelTest;
using KelRestHandler::NetworkReplyContainer;
using KelRestHandler::ServiceConnections;

namespace Schedules {

namespace {

// Instead of 60 s and of 4 s.
constexpr int guardMs = 25;
constexpr int idleMs = 8;

/// The service lives where the application does.
class StandInWorld : public World
{
public:
    StandInWorld()
    {
        mService.disturb = [this](const WireRequest&) {
            return mDisturbed.fetch_sub(1) > 0 ? static_cast<Disturbance>(mDisturbance.load())
                                               : Disturbance::None;
        };
    }
    void disturb(int disturbance, int requests) override
    {
        constexpr int all = static_cast<int>(Disturbance::Status500);
        mDisturbance = 1 + disturbance % all;
        mDisturbed = 1 + requests % 4;
    }
    void disconnect() override
    {
        handOver();
        QMetaObject::invokeMethod(QCoreApplication::instance(), [this] {
            handOver();
            mService.closeConnections();
        });
    }
    void strike(int /*what*/) override {}
    void endBus() override {}
    QStringList problems() const override { return mService.problems(); }

private:
    std::atomic<int> mDisturbance{0};
    std::atomic<int> mDisturbed{0};
    StandInService mService;
};

} // namespace

bool World::hasSessions()
{
    return false;
}

QString World::prepare()
{
    static const OwnAccounts accounts;
    static const ThreadTagServer tags(QByteArray("\x01tag"));
    // Neither the user's sessions nor the device's buses.
    for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
        qputenv(bus, "unix:path=/nowhere");
    NetworkReplyContainer::setGuardMilliseconds(guardMs);
    ServiceConnections::setIdleMilliseconds(idleMs);
    FakeModem::reset();
    return tags.isReady() ? QString() : "there is no tag server"_s;
}

QString World::calm()
{
    return {};
}

std::unique_ptr<World> World::make()
{
    return std::make_unique<StandInWorld>();
}

} // namespace Schedules
