// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "operations/facadecalls.h"
#include "support/sessionsandbox.h"

#include <QList>
#include <QObject>
#include <QVariantList>
#include <QVariantMap>

#include <memory>

/// A facade in a sandbox, with a note of each of its signals, and what the daemon and the accounts
/// database keep for it. The REST layer, the modem and the tag server answer as the test says.
class AccountFixture : public QObject
{
public:
    explicit AccountFixture(KelTest::SessionSandbox& sandbox);
    ~AccountFixture() override;

protected:
    using KelAccounts = KelAccount::KelAccounts;
    using Operation = facadecalls::Operation;
    using SetUp = facadecalls::SetUp;

    /// No facade, no account, no script, no modem; what identities() counts starts here. False when
    /// the daemon cannot be brought to work.
    bool reset();
    /// The same, with a facade and the account of `mCredentials`.
    bool resetForSignedInUser();
    void makeFacade(bool initialized = true);
    void endFacade();

    /// Credentials that somebody stored before; 0 on failure.
    quint32 storeIdentity();
    /// An account that somebody made before. False on failure.
    static bool createDeviceAccount(quint32 credentials, bool enabled = true);

    QStringList lines() const { return mRecorder->lines(); }
    /// True when exactly so many came and, after a while, no more.
    bool answersOnce(int count = 1, int timeoutMs = 20000) const;
    /// Long enough for what should not come.
    static void letPass(int milliseconds);

    /// What is in the stores since reset(): numbers of identities, and of each device account its
    /// name and credentials.
    QList<quint32> identities() const;
    QList<QVariantList> deviceAccounts() const;

    /// What the plugin says about the user in these tests, and a script that has it say so.
    static QVariantMap userData();
    static QList<KelTest::PluginStep> succeeding();
    /// The answer of a set-up that stored these credentials, and succeeded.
    static QString success(const SetUp& setUp, quint32 credentials);
    /// Whether a set-up of this kind succeeds now, with all that it has to leave behind.
    bool succeeds(const SetUp& setUp);

    static void setUpRows(); ///< a column "setUp" and a row for each
    static SetUp setUpOfTheRow();
    /// The same, with a facade.
    SetUp setUpWithFacade()
    {
        makeFacade();
        return setUpOfTheRow();
    }

    KelTest::SessionSandbox& mSandbox;
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<KelTest::FacadeRecorder> mRecorder;
    std::unique_ptr<KelTest::ThreadTagServer> mTagServer; ///< gives the tag "tag"

    quint32 mCredentials = 0;

private:
    quint32 mNewestBefore = 0;
};

/// There is one answer and this is it.
#define COMPARE_ANSWER(line)                                                                       \
    do {                                                                                           \
        QVERIFY(answersOnce());                                                                    \
        QCOMPARE(lines(), QStringList(line));                                                      \
    } while (false)
