// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/facaderecorder.h"
#include "integration/emulateddevice.h"
#include "integration/emulatedservice.h"
#include "support/literals.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

#include <QStringList>
#include <QTest>
#include <QVariantMap>

#include <functional>
#include <memory>

/// An application with its one facade, inside the emulator: nothing of the library, of the daemon,
/// of the plugin or of the databases is replaced.
class StoryFixture : public EmulatedDevice
{
    Q_OBJECT

protected:
    using KelAccounts = KelAccount::KelAccounts;
    using Call = std::function<void()>;

    /// A new facade, initialised.
    void openFacade(const QString& consumerSecret = QStringLiteral("demo-secret"));
    void closeFacade();
    KelAccounts& facade() { return *mAccounts; }
    KelTest::FacadeRecorder& recorder() { return *mRecorder; }

    /// Everything that the facade says after the call: waits for the first line and a little
    /// longer, so that a second answer would stand there, too. One from inside the call is marked.
    QStringList answers(const Call& call);
    /// Waits until the facade has answered what was called before; the same lines.
    QStringList answersToCome();

    /// A captcha from the facade, which remembers its id, and its text from the service.
    QString solvedCaptcha();

    /// The line of a set-up that succeeded for the one identity that the daemon knows.
    static QString setUpLine(const char* signal, const QVariantMap& values);

    // What lies on the device.

    /// Number and user name of what the daemon keeps.
    static QList<QVariantList> identities();
    static int identityNumber(); ///< of the only one; 0 when there is none or more
    /// Name, provider, enabled and credentials of the accounts in the database.
    static QList<QVariantList> deviceAccounts();
    /// Names the tables of the three databases that hold anything a set-up writes; empty when none
    /// does.
    static QString leftOnTheDevice();
    /// Takes account and identities off the device, as its settings do.
    static bool cleanDevice();

private:
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<KelTest::FacadeRecorder> mRecorder;
};
