// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/clientfixture.h"
#include "support/patience.h"

#include "device/testtagserver.h"
#include "operations/answers.h"
#include "platform/fakemodem.h"

#include <QNetworkProxy>
#include <QTest>

using namespace KelAccount;

namespace KelTest {

void ClientFixture::initTestCase()
{
    qunsetenv("http_proxy");
    qunsetenv("https_proxy");
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    FakeModem::reset();
    setStartedServerOptions("");
}

void ClientFixture::init()
{
    PretendedPeer::reset();
    mService = std::make_unique<StandInService>();
    mAnswers.lines.clear();
    mClient = ready();
}

void ClientFixture::cleanup()
{
    mClient.reset();
    QCOMPARE(mService->problems(), QStringList());
}

std::unique_ptr<Client> ClientFixture::ready()
{
    auto client = std::make_unique<Client>();
    client->initialize(text("key"), text("secret"), Server::Production, text("shop"));
    return client;
}

void ClientFixture::serveNames()
{
    constexpr int unprocessable = 422;
    mService->replyBy = [](const WireRequest& request) {
        const bool taken = request.target.endsWith("/taken");
        const char* const reply =
            taken ? "usernameavailability/suggestions" : "usernameavailability/none";
        return Reaction::reply(taken ? unprocessable : 200, wiredata::body(reply).toUtf8());
    };
}

bool ClientFixture::settles(int answers)
{
    if (!QTest::qWaitFor([&] { return mAnswers.lines.size() >= answers; }, onABusyMachine))
        return false;
    // A call that is made now goes out last, and is answered after all that was refused.
    bool over = false;
    mClient->close().then(this, [&over] { over = true; });
    return QTest::qWaitFor([&over] { return over; }, onABusyMachine) &&
           mAnswers.lines.size() == answers;
}

QStringList ClientFixture::targets() const
{
    QStringList list;
    for (const WireRequest& request : mService->requests())
        list.append(QString::fromLatin1(request.target).section(QLatin1Char('/'), 3));
    return list;
}

} // namespace KelTest
