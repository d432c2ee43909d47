// SPDX-License-Identifier: LGPL-2.1-or-later
// Tag server, modem and the bus that leads to it.
#include "device/testtagserver.h"
#include "matrix/breakages.h"
#include "matrix/sessionprocesses.h"
#include "matrix/state.h"
#include "support/literals.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QFile>
#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int patienceMs = 10000;

// One that keeps nothing of what it is asked: very many ask.
ThreadTagServer::Behaviour saying(const QByteArray& reply)
{
    return [reply](int connection) {
        char request[4096];
        if (::recv(connection, request, sizeof request, 0) > 0)
            (void)::send(connection, reply.constData(), static_cast<size_t>(reply.size()),
                         MSG_NOSIGNAL);
    };
}

/// A tag server in the place of the one that works.
class OtherTagServer : public Breakage
{
public:
    /// Without a behaviour there is none, and none can be started.
    explicit OtherTagServer(ThreadTagServer::Behaviour behaviour) : mBehaviour(std::move(behaviour))
    {
    }
    bool begin() override
    {
        PretendedPeer::passTime(pastAllTrustMs);
        workingTagServer().reset();
        mBefore = sharedState()->tagServerAsked;
        if (!mBehaviour)
            return TagServerAddress::setProgram("/nonexistent"), true;
        mServer = std::make_unique<ThreadTagServer>(mBehaviour);
        return mServer->isReady();
    }
    bool end() override
    {
        mServer.reset();
        PretendedPeer::passTime(pastAllTrustMs);
        TagServerAddress::setProgram({});
        workingTagServer() = std::make_unique<ThreadTagServer>(saying("\x01tag"));
        return workingTagServer()->isReady();
    }
    int met() const override { return sharedState()->tagServerAsked - mBefore; }

    static std::unique_ptr<ThreadTagServer>& workingTagServer()
    {
        static std::unique_ptr<ThreadTagServer> server;
        return server;
    }

private:
    // One that has hung is left alone for a minute.
    static constexpr qint64 pastAllTrustMs = 120000;

    const ThreadTagServer::Behaviour mBehaviour;
    std::unique_ptr<ThreadTagServer> mServer;
    int mBefore = 0;
};

void hang(int connection)
{
    char request[4096];
    while (::recv(connection, request, sizeof request, 0) > 0) {
    }
}

/// Whatever modem service is asked for, on the system bus of the session: by a thread, since this
/// one waits for it.
class Modem : public Breakage
{
public:
    enum class Manner { Hangs, Lies, Fails };
    explicit Modem(Manner manner) : mThread(manner) {}

    bool begin() override
    {
        mThread.start();
        return mThread.isReady.tryAcquire(1, patienceMs) && mThread.isThere;
    }
    bool end() override
    {
        mThread.quit();
        return mThread.wait(patienceMs);
    }
    int met() const override { return mThread.asked; }

private:
    class Object : public QDBusVirtualObject
    {
    public:
        Object(Manner manner, std::atomic<int>& asked) : mManner(manner), mAsked(asked) {}
        QString introspect(const QString& /*path*/) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
        {
            ++mAsked;
            if (mManner == Manner::Lies)
                connection.send(message.createReply(
                    QVariantList{QString(100000, QLatin1Char('x')), -1, QByteArray()}));
            else if (mManner == Manner::Fails)
                connection.send(message.createErrorReply("org.ofono.Error.Failed"_s, "no"_s));
            return true;
        }

    private:
        const Manner mManner;
        std::atomic<int>& mAsked;
    };

    class Thread : public QThread
    {
    public:
        explicit Thread(Manner how) : manner(how) {}
        void run() override
        {
            const QString name = "kel-matrix-modem"_s;
            {
                Object object(manner, asked);
                auto bus = QDBusConnection::connectToBus(variable("DBUS_SYSTEM_BUS_ADDRESS"), name);
                isThere = bus.registerVirtualObject("/"_s, &object, QDBusConnection::SubPath) &&
                          bus.registerService("org.ofono"_s);
                isReady.release();
                exec();
                bus.unregisterService("org.ofono"_s);
            }
            QDBusConnection::disconnectFromBus(name);
        }

        const Manner manner;
        std::atomic<int> asked{0};
        std::atomic<bool> isThere{false};
        QSemaphore isReady;
    };

    Thread mThread;
};

/// Another system bus than the session's: none, or one that takes connections and says nothing.
class SystemBus : public Breakage
{
public:
    explicit SystemBus(bool hangs) : mHangs(hangs) {}
    ~SystemBus() override
    {
        if (mSocket >= 0)
            ::close(mSocket);
    }
    bool begin() override
    {
        mAddress = qgetenv(variableName);
        const QByteArray path =
            QFile::encodeName(sessionFolder() + QLatin1Char('/') + text(silentBus));
        if (mHangs && !listen(path))
            return false;
        useAnother("unix:path=" + path);
        mBefore = sharedState()->systemBusAsked;
        return true;
    }
    bool end() override
    {
        useAnother(mAddress);
        return !mHangs ||
               ::unlink(QFile::encodeName(sessionFolder() + QLatin1Char('/') + text(silentBus))) ==
                   0;
    }
    int met() const override { return sharedState()->systemBusAsked - mBefore; }

private:
    static constexpr const char* variableName = "DBUS_SYSTEM_BUS_ADDRESS";

    bool listen(const QByteArray& path)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.constData(),
                    qMin(size_t(path.size()), sizeof address.sun_path - 1));
        mSocket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return ::bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
               ::listen(mSocket, 100) == 0;
    }
    // Who has a connection would go on using it.
    static void useAnother(const QByteArray& address)
    {
        qputenv(variableName, address);
        QDBusConnection::disconnectFromPeer("kelaccount-platform"_s);
    }

    const bool mHangs;
    int mSocket = -1;
    int mBefore = 0;
    QByteArray mAddress;
};

} // namespace

std::unique_ptr<Breakage> brokenService(const std::string& name)
{
    if (name == "tags-absent")
        return std::make_unique<OtherTagServer>(nullptr);
    if (name == "tags-hang")
        return std::make_unique<OtherTagServer>(hang);
    if (name == "tags-close")
        return std::make_unique<OtherTagServer>([](int) {});
    if (name == "tags-refuse")
        return std::make_unique<OtherTagServer>(saying(QByteArray("\0\0\0\0\x01", 5)));
    if (name == "tags-half")
        return std::make_unique<OtherTagServer>(saying(QByteArray("\0\0", 2)));
    if (name == "tags-garbage")
        return std::make_unique<OtherTagServer>(saying(QByteArray("\x7f\xff\xff\xff garbage")));
    if (name == "tags-long")
        return std::make_unique<OtherTagServer>(saying("\x01" + QByteArray(100000, 'x')));
    if (name == "modem-hangs")
        return std::make_unique<Modem>(Modem::Manner::Hangs);
    if (name == "modem-lies")
        return std::make_unique<Modem>(Modem::Manner::Lies);
    if (name == "modem-fails")
        return std::make_unique<Modem>(Modem::Manner::Fails);
    if (name == "system-bus-absent")
        return std::make_unique<SystemBus>(false);
    if (name == "system-bus-hangs")
        return std::make_unique<SystemBus>(true);
    return nullptr;
}

bool startTagServer()
{
    OtherTagServer::workingTagServer() = std::make_unique<ThreadTagServer>(saying("\x01tag"));
    return OtherTagServer::workingTagServer()->isReady();
}

void endTagServer()
{
    OtherTagServer::workingTagServer().reset();
}

} // namespace Matrix
