// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/signonhome.h"

#include "common/signondaemon.h"

#include <SignOn/AuthService>

#include <QDBusConnection>
#include <QMetaType>
#include <QThread>

#include <mutex>
#include <new>
#include <utility>

namespace KelAccount::SignOnHome {

namespace {

// The library hands the connection to its objects by a signal, which a queue can only carry when
// the type is known. It has no default constructor, so Qt cannot be told in the usual way.
void registerConnectionType()
{
    const char* const name = "QDBusConnection";
    if (QMetaType::type(name) != QMetaType::UnknownType)
        return;
    const auto construct = [](void* where, const void* copied) -> void* {
        return copied ? new (where) QDBusConnection(*static_cast<const QDBusConnection*>(copied))
                      : new (where) QDBusConnection(QString());
    };
    const auto destruct = [](void* what) {
        static_cast<QDBusConnection*>(what)->~QDBusConnection();
    };
    QMetaType::registerNormalizedType(name, destruct, construct, sizeof(QDBusConnection),
                                      QMetaType::NeedsConstruction | QMetaType::NeedsDestruction |
                                          QMetaType::MovableType,
                                      nullptr);
}

class Home
{
public:
    void use()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        const bool isNew = !std::exchange(mSettled, true);
        if (isNew) {
            registerConnectionType();
            mTenant.moveToThread(&mThread);
            mThread.setObjectName(QStringLiteral("kelaccount-bus"));
        }
        if (!mThread.isRunning())
            mThread.start();
        // The library's first object makes the connection, and the connection stays. Later, what
        // came before this has been handled there when it returns: news of a daemon that has ended
        // would else take the next one's connection away from who is about to use it.
        const auto settle = [isNew] {
            if (isNew)
                SignOn::AuthService();
        };
        QMetaObject::invokeMethod(&mTenant, settle, Qt::BlockingQueuedConnection);
    }

    void end()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mThread.quit();
        // It is idle, but for the moment in which the connection is made.
        constexpr unsigned long longestMs = 2000;
        mThread.wait(longestMs);
    }

private:
    std::mutex mMutex;
    bool mSettled = false;
    QThread mThread; ///< started again when it is needed again, with what lives on it
    QObject mTenant;
};

Home& home()
{
    static auto* const instance = new Home; // outlives the application
    return *instance;
}

} // namespace

void install()
{
    setSignOnDaemonFound([] { home().use(); });
}

void end()
{
    home().end();
}

} // namespace KelAccount::SignOnHome
