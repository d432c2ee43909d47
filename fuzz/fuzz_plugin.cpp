// SPDX-License-Identifier: LGPL-2.1-or-later
// A request to the plugin: a mechanism, session data, and what the service answers to what becomes
// of that.
#include "fuzztarget.h"
#include "loopbackservice.h"
#include "sessiondata.h"
#include "surroundings.h"

#include "plugin/zorauthplugin.h"
#include "rest/transport/networkreplycontainer.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QElapsedTimer>
#include <QTimer>

#include <deque>

namespace KelFuzz::Plugin {

namespace {

using KelRestHandler::NetworkReplyContainer;

constexpr int guardMs = 20;
// Then the daemon cancels.
constexpr int patienceMs = 100;

constexpr auto tokenCreated =
    "<tokenCreationResponse><tokenInfo><token>t2</token><tokenSecret>s2</tokenSecret><conditions>"
    "<ttl>3600</ttl></conditions></tokenInfo><userInfo><username>alice</username><accountId>"
    "1000042</accountId></userInfo></tokenCreationResponse>";
constexpr auto registered =
    "<registrationResponse><tokenInfo><token>t4</token></tokenInfo><userInfo><accountId>1000043"
    "</accountId></userInfo></registrationResponse>";
constexpr const char* replies[] = {
    tokenCreated,
    "<tokenRefreshResponse><tokenInfo><token>t3</token></tokenInfo></tokenRefreshResponse>",
    registered,
    "<profileQueryResponse><profile><username>alice</username></profile></profileQueryResponse>",
    "<profileUpdateResponse/>",
    "<errorResponse><errorCode>invalidAccessToken</errorCode></errorResponse>",
    "<errorResponse><errorCode>notAuthorized</errorCode></errorResponse>",
    "",
};

Said saidFrom(ByteSource& source)
{
    const int kind = source.below(12);
    const QByteArray body =
        kind < 8 ? "<?xml version=\"1.0\"?>" + QByteArray(replies[kind]) : source.block();
    const QByteArray status = kind == 5 || kind == 6 ? "401" : "200";
    QByteArray head = "HTTP/1.1 " + status + " Said\r\n";
    // Another clock: a request may be refused because of its time.
    if (kind == 6)
        head += "Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n";
    Said said;
    said.bytes = kind == 11 ? body
                            : head + "Content-Length: " + QByteArray::number(body.size()) +
                                  "\r\n\r\n" + body;
    said.end = kind == 11 ? Said::End::Close : Said::End::KeepOpen;
    return said;
}

class Asked : public QObject
{
public:
    Asked()
    {
        connect(&mPlugin, &AuthPluginInterface::result, this, [this](const SignOn::SessionData& d) {
            ++mAnswers;
            requireNoSecret(d.toMap());
        });
        connect(&mPlugin, &AuthPluginInterface::error, this, [this](const SignOn::Error& error) {
            ++mAnswers;
            require(!error.message().contains(QLatin1String(plantedSecret)));
        });
        connect(&mPlugin, &AuthPluginInterface::store, this, [this](const SignOn::SessionData& d) {
            require(mAnswers == 0); // the daemon takes none behind the answer
            mStored = d.toMap();
            require(mStored.size() == 1);
        });
    }

    void process(const QVariantMap& data, const QString& mechanism)
    {
        mAnswers = 0;
        mPlugin.process(SignOn::SessionData(data), mechanism);
    }
    void wait(int milliseconds)
    {
        QTimer wake;
        wake.start(milliseconds + 1);
        QElapsedTimer timer;
        timer.start();
        while (mAnswers == 0 && timer.elapsed() < milliseconds)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void cancelAndSettle()
    {
        if (mAnswers == 0)
            mPlugin.cancel();
        require(mAnswers == 1);
        for (int i = 0; i < 3; ++i) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        require(mAnswers == 1);
    }
    const QVariantMap& stored() const { return mStored; }

private:
    static void requireNoSecret(const QVariantMap& answer)
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << answer;
        const QString secret = QLatin1String(plantedSecret);
        QByteArray wide;
        QDataStream wideStream(&wide, QIODevice::WriteOnly);
        wideStream << secret;
        require(!bytes.contains(wide.mid(4)) && !bytes.contains(plantedSecret));
    }

    ZorAuth::ZorAuthPlugin mPlugin;
    int mAnswers = 0;
    QVariantMap mStored;
};

// What the daemon has it keep takes the place of what it kept.
QVariantMap withStored(QVariantMap data, const QVariantMap& stored)
{
    if (stored.isEmpty())
        return data;
    const QStringList names = data.keys();
    for (const QString& name : names) {
        if (name.startsWith(QLatin1String("Kept ")))
            data.remove(name);
    }
    data.insert(stored.firstKey(), stored.first());
    return data;
}

void run(const uint8_t* data, size_t size)
{
    beApplication();
    static LoopbackService service;
    setServiceBase(QString::fromLatin1(service.base()));
    NetworkReplyContainer::setGuardMilliseconds(guardMs);
    ByteSource source(data, size);
    const int first = source.byte();
    const int second = source.byte();
    const int answers = source.below(6);
    const bool isCancelled = source.below(8) == 7;
    const QVariantMap handedIn = SessionData::dataFrom(source);
    std::deque<Said> said;
    for (int i = 0; i < answers; ++i)
        said.push_back(saidFrom(source));
    service.say(std::move(said));

    Asked asked;
    const QStringList mechanisms = ZorAuth::ZorAuthPlugin().mechanisms();
    // One that it does not have, too.
    const auto mechanism = [&](int number) {
        return mechanisms.value(number % (mechanisms.size() + 1), QStringLiteral("none"));
    };
    asked.process(handedIn, mechanism(first));
    asked.wait(isCancelled ? 0 : patienceMs);
    asked.cancelAndSettle();
    if (second == 0)
        return;
    asked.process(withStored(handedIn, asked.stored()), mechanism(second));
    asked.wait(patienceMs);
    asked.cancelAndSettle();
}

} // namespace

} // namespace KelFuzz::Plugin

KEL_FUZZ_TARGET(plugin, KelFuzz::Plugin::run)
