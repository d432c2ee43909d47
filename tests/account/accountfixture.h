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

#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <tuple>

/// A facade in a sandbox, with a note of each of its signals, and what the daemon and the accounts
/// database keep for it. The REST layer, the modem and the tag server answer as the test says.
class AccountFixture : public QObject
{
public:
    explicit AccountFixture(KelTest::SessionSandbox& sandbox) : mSandbox(sandbox) {}

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
    static bool removeDeviceAccounts();

    QStringList lines() const { return mRecorder->lines(); }
    /// True when exactly so many came and, after a while, no more.
    bool answersOnce(int count = 1, int timeoutMs = 20000) const;
    /// Long enough for what should not come.
    static void letPass(int milliseconds);

    /// Runs `action` from the event loop once the plugin has been asked for the mechanism. Works
    /// while a call waits for the plugin in an event loop of its own.
    void whenAsked(const QString& mechanism, const std::function<void()>& action);

    /// Kills the process that the last request went to.
    bool killPlugin() const;

    /// Kills the daemon and puts a folder in the place of its database, or takes it away again.
    bool setCredentialsReadable(bool readable) const;

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

    /// More columns of a table of set-ups or operations: what follows the name of a row, and
    /// values.
    template <class... Values>
    using Further = std::initializer_list<std::tuple<const char*, Values...>>;

    static void setUpRows(); ///< a column "setUp" and a row for each
    template <class... Values>
    static void setUpRows(const std::array<const char*, sizeof...(Values)>& names,
                          Further<Values...> rows)
    {
        addRows("setUp", facadecalls::setUps(), names, rows);
    }
    /// The same with a column of true or false.
    static void setUpRows(const char* column, const char* ifTrue, const char* ifFalse)
    {
        setUpRows<bool>({column}, {{ifTrue, true}, {ifFalse, false}});
    }
    static SetUp setUpOfTheRow();
    /// The same, with a facade.
    SetUp setUpWithFacade()
    {
        makeFacade();
        return setUpOfTheRow();
    }

    static void operationRows(); ///< a column "operation" and a row for each of the session's
    template <class... Values>
    static void operationRows(const std::array<const char*, sizeof...(Values)>& names,
                              Further<Values...> rows)
    {
        addRows("operation", facadecalls::ofTheSession(), names, rows);
    }
    static Operation operationOfTheRow();

    KelTest::SessionSandbox& mSandbox;
    std::unique_ptr<KelAccounts> mAccounts;
    std::unique_ptr<KelTest::FacadeRecorder> mRecorder;
    std::unique_ptr<KelTest::ThreadTagServer> mTagServer; ///< gives the tag "tag"

    quint32 mCredentials = 0;

private:
    template <class Table, class... Values>
    static void addRows(const char* column, const Table& table,
                        const std::array<const char*, sizeof...(Values)>& names,
                        Further<Values...> rows)
    {
        QTest::addColumn<int>(column);
        std::size_t next = 0;
        (QTest::addColumn<Values>(names[next++]), ...);
        for (int i = 0; i < table.size(); ++i) {
            for (const auto& row : rows) {
                QTestData& data = QTest::addRow("%s, %s", table.at(i).name, std::get<0>(row)) << i;
                std::apply(
                    [&data](const char*, const Values&... values) { (data << ... << values); },
                    row);
            }
        }
    }

    quint32 mNewestBefore = 0;
};

/// There is one answer and this is it.
#define COMPARE_ANSWER(line)                                                                       \
    do {                                                                                           \
        QVERIFY(answersOnce());                                                                    \
        QCOMPARE(lines(), QStringList(line));                                                      \
    } while (false)
