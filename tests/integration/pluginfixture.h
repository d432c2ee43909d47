// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "integration/emulateddevice.h"
#include "integration/emulatedservice.h"
#include "support/patience.h"

#include <SignOn/AuthSession>
#include <SignOn/Error>
#include <SignOn/Identity>
#include <SignOn/IdentityInfo>
#include <SignOn/SessionData>

#include <QTest>
#include <QVariantMap>

#include <functional>
#include <memory>

/// The plugin as a client of the sign-on daemon meets it, inside the emulator: no class of this
/// project stands between.
class PluginFixture : public EmulatedDevice
{
    Q_OBJECT

protected:
    struct Outcome
    {
        int error = -1; ///< type of the sign-on error, 0 for an answer, -1 for neither in time
        QVariantMap data;
        QString message;
    };

    static QString key() { return QStringLiteral("demo-key"); }
    static constexpr int server = 2;

    /// A captcha that a registration can use.
    static bool makeCaptcha(QString& id, QString& text);

    /// Stores an identity as the library does and opens a session on it.
    bool openSession(const QString& user, const QString& secret);
    /// The same, signed in once and out again: it is known where, and there is no token.
    bool openSignedOut(const QString& user, const QString& secret);
    /// Gives the session's identity another secret.
    bool storeSecret(const QString& secret);
    /// And another list of those that may use it.
    bool storeAccessControlList(const QStringList& list);
    /// Has the daemon forget what plugins stored with it.
    bool signOutOfIdentity();
    /// Sends a request with the keys that the library sends with it, and `data` over them; a null
    /// value takes a key out.
    void send(const char* mechanism, const QVariantMap& data = {});
    Outcome wait(int timeoutMs = KelTest::onABusyMachine);
    Outcome process(const char* mechanism, const QVariantMap& data = {});
    /// The same as a text, with the numbers of what the service has been asked: "0: 1 22".
    QString told(const char* mechanism, const QVariantMap& data = {});
    SignOn::AuthSession* session() { return mSession.data(); }

    /// What the daemon keeps for this identity, by name.
    QVariantMap stored() const;
    /// Of that, what belongs to this application and server.
    QVariantMap storedSession() const;
    /// Puts something else in its place.
    bool changeStoredSession(const QVariant& session);
    /// Lets the end of the daemon's copy of the session have passed.
    bool expire();

    /// The daemon loses the request with which it starts an ended plugin again.
    bool startPluginAgain();

    quint32 mIdentityId = 0;

private:
    bool changeIdentity(const std::function<void(SignOn::IdentityInfo&)>& change);

    std::unique_ptr<SignOn::Identity> mIdentity;
    SignOn::AuthSessionP mSession;
    Outcome mOutcome;
};

/// With a session of a user that nobody has used before.
class PluginUserFixture : public PluginFixture
{
    Q_OBJECT

protected:
    bool openNewUser();

    QString mUser;
    QString mEmail;
    QString mPassword;
    QString mNumber; ///< the account's, at the service
    int mCount = 0;
};
