// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/client.h>

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

#include <functional>

/// What tests of KelAccount::Client have in common.
namespace KelTest {

/// An accounts database of this process's own, and with it the lock that set-ups and sign-outs of
/// one device share: neither the user's nor that of another run of the same test.
class OwnAccounts
{
public:
    OwnAccounts() { qputenv("ACCOUNTS", mFolder.path().toLocal8Bit()); }

private:
    QTemporaryDir mFolder;
};

/// How calls were answered, a line each: the operation and what came.
class Answers
{
public:
    QStringList lines;
    /// Called after each was written down; may do anything, and delete this.
    std::function<void()> afterwards;

    /// `context` as for Call::then().
    template <class Result>
    void expect(const KelAccount::Call<Result>& call, QObject* context)
    {
        call.then(
            context,
            [this, name = call.operation()](const Result& result) {
                add(name + QLatin1String(": ") + described(result));
            },
            [this, name = call.operation()](const KelAccount::Failure& failure) {
                add(name + QLatin1String(" failed: ") + QString::number(failure.status));
            });
    }

    static QString described(const KelAccount::Done& result);
    static QString described(const KelAccount::Availability& result);
    static QString described(const KelAccount::Captcha& result);
    static QString described(const KelAccount::SetUp& result);
    static QString described(const KelAccount::Profile& result);
    static QString described(const KelAccount::Terms& result);
    static QString described(const KelAccount::SecurityQuestions& result);
    static QString described(const KelAccount::RecoveryQuestion& result);
    static QString described(const KelAccount::PreAccount& result);
    static QString described(const KelAccount::Country& result);
    static QString described(const KelAccount::MarketingConsent& result);
    static QString described(const KelAccount::CaptchaRequirement& result);
    static QString described(const KelAccount::DeviceAccountState& result);

private:
    void add(const QString& line)
    {
        lines.append(line);
        const auto next = afterwards;
        if (next)
            next();
    }
};

/// What is known of a call whatever its result.
struct MadeCall
{
    KelAccount::CallBase call;
    /// Makes a future of it, and gives the question whether that is finished.
    std::function<std::function<bool()>()> future;
};

/// One method of the client, with arguments that are good.
struct ClientCall
{
    const char* name;
    /// Has the answer written down.
    std::function<MadeCall(KelAccount::Client&, Answers&, QObject* context)> make;
};

/// Every method, each once.
const QVector<ClientCall>& clientCalls();

} // namespace KelTest
