// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "device/testtagserver.h"
#include "integration/storyfixture.h"
#include "support/rows.h"

/// A set-up of the device account that is made to fail, and the one after it.
class SetUpFixture : public StoryFixture
{
    Q_OBJECT

public:
    enum SetUp { SignIn, Registration };
    Q_ENUM(SetUp)

protected Q_SLOTS:
    void initTestCase();
    void cleanup() { tidyUp(); }
    void cleanupTestCase() { QVERIFY(KelTest::EmulatedService::waitForNetworkThreads()); }

protected:
    static constexpr const char* password = "pässword 1";

    /// A row for each.
    static void bothSetUps()
    {
        const auto row = rows<SetUp>("setUp");
        row("sign-in", SignIn);
        row("registration", Registration);
    }
    /// And for each with each row of a table.
    template <class Table>
    static void bothSetUpsWith(const Table& table)
    {
        const auto add = rows<SetUp, int>("setUp", "row");
        int number = 0;
        for (const auto& row : table) {
            add("sign-in, " + QByteArray(row.name), SignIn, number);
            add("registration, " + QByteArray(row.name), Registration, number++);
        }
    }

    /// A facade, and a user whom only this row knows: at the service when signing in, with a
    /// captcha that is solved when registering.
    void prepare(SetUp setUp);
    /// After each row: no faults, nothing on the device, no facade.
    void tidyUp();

    QString user() const { return mUser; }
    /// Solves another captcha for the next registration.
    void solveCaptcha() { mCaptcha = solvedCaptcha(); }
    void begin(SetUp setUp);
    QStringList attempt(SetUp setUp);
    /// Runs the action as soon as the condition holds, in whatever event loop runs then: opening a
    /// session has one of its own.
    void when(const std::function<bool()>& condition, const std::function<void()>& action);
    /// The same once the service has got the request that the last of the faults is for.
    void whenTheFaultIsTaken(const std::function<void()>& action);

    /// The one line of a set-up that failed.
    static QStringList failed(SetUp setUp, int status);
    /// Whether the service has the account of this row's user.
    bool isAtService() const;

    /// The set-up once more on the same facade: it succeeds, and everything is where it belongs.
    /// The problem, or nothing. A user whom the service knows in spite of the failure is told so,
    /// and then signs in.
    QString succeedsNow(SetUp setUp);
    /// A failure must leave nothing, and the next attempt succeeds.
    void expectNothingIsLeft(SetUp setUp);
    /// Whether the lines say success and the device has all of it.
    QString isComplete(SetUp setUp, const QStringList& lines);

private:
    KelTest::ThreadTagServer mNoServiceTag{QByteArray("\0\0\0\0\x01", 5)};
    std::unique_ptr<QObject> mAwaited = std::make_unique<QObject>();
    QString mUser;
    QString mCaptcha;
    int mCount = 0;
};
