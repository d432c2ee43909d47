// SPDX-License-Identifier: LGPL-2.1-or-later
#include "surroundings.h"

#include "fuzztarget.h"

#include "device/peercalls.h"
#include "device/tagserveraddress.h"
#include "platform/platformroot.h"
#include "rest/request/serviceaddress.h"

#include <QCoreApplication>
#include <QMetaMethod>

#include <unistd.h>

namespace {

QString& base()
{
    static QString address;
    return address;
}

QString& root()
{
    static QString folder;
    return folder;
}

qint64 passedMs = 0;

qint64 monotonicMs()
{
    return passedMs;
}

const char* ownSocketName()
{
    static const QByteArray name = "kelaccount-fuzz-" + QByteArray::number(::getpid());
    return name.constData();
}

void lookThrough(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text)
{
    require(!text.contains(QLatin1String(KelFuzz::plantedSecret)));
}

} // namespace

namespace KelRestHandler {

const char RestSchemaNamespace[] = "https://account.example/schemas/rest/v1_0";
const char OAuthRealm[] = "OAuth realm=\"https://account.example\"";

QString serverBaseAddress(int serverIndex)
{
    // One is elsewhere, so that there is another server than the one that a session belongs to.
    return serverIndex == 1 ? base() + QLatin1String("other/") : base();
}

const PeerCalls& peerCalls()
{
    static const PeerCalls calls = {systemPeerCalls().peerUser, systemPeerCalls().ownUser,
                                    monotonicMs};
    return calls;
}

} // namespace KelRestHandler

namespace KelRestHandler::TagServer {

// Nothing is started: there is always one.
const char* const path = "/nonexistent";
const char* const argument0 = "nonexistent";
const char* const socketName = ownSocketName();
const int longestExchangeMs = 1000;
const int longestQueueMs = 1000;

} // namespace KelRestHandler::TagServer

QString QtMobility::platformRoot()
{
    return root();
}

namespace KelFuzz {

void beApplication()
{
    static int count = 1;
    static char name[] = "fuzz";
    static char* arguments[] = {name, nullptr};
    // Not of the user's, and it ends with the process.
    static const bool once = [] {
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        qInstallMessageHandler(lookThrough);
        static QCoreApplication application(count, arguments);
        return true;
    }();
    Q_UNUSED(once)
}

void setServiceBase(const QString& address)
{
    base() = address;
}

void setPlatformRoot(const QString& folder)
{
    root() = folder;
}

QByteArray tagServerName()
{
    return ownSocketName();
}

void passTagServerTime()
{
    constexpr qint64 anHour = 3600000;
    passedMs += anHour;
}

SignalCounter::SignalCounter(const QObject* sender, const QMetaObject& type)
    : mType(type), mCounts(type.methodCount())
{
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        if (type.method(i).methodType() == QMetaMethod::Signal)
            QMetaObject::connect(sender, i, this, QObject::staticMetaObject.methodCount() + i);
    }
}

int SignalCounter::count(const QByteArray& name) const
{
    int sum = 0;
    for (int i = mType.methodOffset(); i < mType.methodCount(); ++i) {
        if (mType.method(i).name() == name)
            sum += mCounts.at(i);
    }
    return sum;
}

int SignalCounter::all() const
{
    int sum = 0;
    for (const int count : mCounts)
        sum += count;
    return sum;
}

// What moc would write for a slot for each signal.
int SignalCounter::qt_metacall(QMetaObject::Call call, int id, void** arguments)
{
    const int own = QObject::qt_metacall(call, id, arguments);
    if (own < 0 || call != QMetaObject::InvokeMetaMethod)
        return own;
    ++mCounts[own];
    return -1;
}

} // namespace KelFuzz
