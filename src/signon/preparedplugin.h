// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

namespace SignOn {
class AuthSession;
class Identity;
} // namespace SignOn

namespace KelAccount {

/// Has the plugin's process running and a connection to the service open in it, for a set-up that
/// is expected soon.
///
/// The daemon runs the plugin in a process for each identity, stored or not, and starts it with the
/// first session. So this makes an identity that holds nothing and is not stored, and opens a
/// session on it. A set-up that stores its credentials as this identity keeps the process: the
/// daemon gives the open sessions the new number.
///
/// The plugin opens a connection each time that it is asked to, where there is none that can still
/// be used; so it is asked again while there is one, and with the end of this object it ends, too.
/// Nothing of what goes wrong is told. The set-up then makes an identity of its own.
class PreparedPlugin : public QObject
{
    Q_OBJECT

public:
    /// As often as the connection of what needs no plugin is renewed.
    static constexpr int renewals = 9;
    static constexpr int usualRenewalMilliseconds = 3000;

    explicit PreparedPlugin(QObject* parent);
    ~PreparedPlugin() override;

    /// For the account service with that index. Where it was begun before, in the same process.
    void begin(int serverUrlValue);

    /// The identity, which is the caller's from then on, with its session; null when there is none.
    SignOn::Identity* take();

    bool isBeginning() const { return mIsBeginning; }
    bool isReady() const;
    /// From one time that the plugin is asked to the next.
    void setRenewalMilliseconds(int milliseconds) { mDue.setInterval(milliseconds); }

private:
    void open();
    void ask();
    void renew();
    void drop();

    int mServerUrlValue = 0;
    int mRenewalsLeft = 0;
    bool mIsBeginning = false;
    bool mIsAsked = false; // and has not answered
    bool mHearsOfDaemon = false;
    QPointer<SignOn::Identity> mIdentity;
    QPointer<SignOn::AuthSession> mSession; // the identity's child
    QTimer mDue{this};                      // a child, so that it comes along to another thread
};

} // namespace KelAccount
