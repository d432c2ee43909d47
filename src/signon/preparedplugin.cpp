// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/preparedplugin.h"

#include "common/signondaemon.h"
#include "signon/pluginmethod.h"
#include "signon/zorauthsessiondata.h"

#include <SignOn/AuthSession>
#include <SignOn/Identity>

#include <QDBusConnection>

#include <utility>

namespace KelAccount {

namespace {

constexpr int startTimeoutMs = 30000;

} // namespace

PreparedPlugin::PreparedPlugin(QObject* parent) : QObject(parent)
{
    mDue.setSingleShot(true);
    mDue.setInterval(usualRenewalMilliseconds);
    connect(&mDue, &QTimer::timeout, this, &PreparedPlugin::renew);
}

PreparedPlugin::~PreparedPlugin()
{
    drop();
}

void PreparedPlugin::begin(int serverUrlValue)
{
    mServerUrlValue = serverUrlValue;
    mRenewalsLeft = renewals;
    if (mIdentity) {
        ask();
        return;
    }
    if (mIsBeginning || !QDBusConnection::sessionBus().isConnected())
        return;
    mIsBeginning = true;
    ensureSignOnDaemon(this, startTimeoutMs, [this](bool isRunning) {
        // Taken already.
        if (!std::exchange(mIsBeginning, false))
            return;
        if (isRunning)
            open();
    });
}

void PreparedPlugin::open()
{
    mIdentity = SignOn::Identity::newIdentity(SignOn::IdentityInfo());
    if (!mIdentity)
        return;
    mSession = mIdentity->createSession(pluginMethod);
    if (!mSession) {
        drop();
        return;
    }
    // What the daemon knew of it goes with the daemon.
    if (!std::exchange(mHearsOfDaemon, true))
        whenSignOnDaemonIsLost(this, [this] { drop(); });
    connect(mSession, &SignOn::AuthSession::error, this, &PreparedPlugin::drop);
    connect(mSession, &SignOn::AuthSession::response, this, [this] { mIsAsked = false; });
    ask();
}

// The plugin asks the service nothing for it, so neither the application's keys are needed nor
// anything of a user's. One that is too old to know it answers as it does without keys.
void PreparedPlugin::ask()
{
    mDue.start();
    // It is about to do so, and the library takes a second request meanwhile for an error.
    if (std::exchange(mIsAsked, true))
        return;
    ZorKeLSignOn::ZorAuthSessionData record;
    record.setServerUrlValue(mServerUrlValue);
    record.setPrepare(true);
    mSession->process(record, QStringLiteral("initialise"));
}

void PreparedPlugin::renew()
{
    if (mRenewalsLeft-- > 0)
        ask();
    else
        drop();
}

SignOn::Identity* PreparedPlugin::take()
{
    mIsBeginning = false;
    mIsAsked = false;
    mDue.stop();
    if (mSession)
        mSession->disconnect(this);
    mSession.clear();
    SignOn::Identity* const identity = mIdentity;
    mIdentity.clear();
    return identity;
}

bool PreparedPlugin::isReady() const
{
    return mIdentity;
}

void PreparedPlugin::drop()
{
    // Later, because this may run in a slot of its session.
    if (SignOn::Identity* const identity = take())
        identity->deleteLater();
}

} // namespace KelAccount
