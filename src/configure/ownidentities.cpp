// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/ownidentities.h"

#include "common/signondaemon.h"

#include <SignOn/AuthService>
#include <SignOn/IdentityInfo>

#include <QPointer>
#include <QTimer>

#include <utility>

namespace KelAccount {

const QLatin1String ownerToken("libaccounts-kel::accesssvt");

namespace {

constexpr int retryMs = 100;

/// One search. A daemon that ends meanwhile is started again and asked again, while the time lasts.
class Search : public QObject
{
public:
    Search(QObject* context, QString userName, int timeoutMs,
           std::function<void(const IdentityNumbers&)> next)
        : QObject(context), mUserName(std::move(userName)), mNext(std::move(next)), mGuard(this),
          mRetry(this)
    {
        mGuard.setSingleShot(true);
        connect(&mGuard, &QTimer::timeout, this, [this] { finish({}); });
        mGuard.start(timeoutMs);
        mRetry.setSingleShot(true);
        mRetry.setInterval(retryMs);
        connect(&mRetry, &QTimer::timeout, this, &Search::startDaemon);
        whenSignOnDaemonIsLost(this, [this] {
            if (mService)
                startDaemon();
        });
        query();
    }

private:
    void startDaemon()
    {
        dropService();
        mRetry.stop();
        ensureSignOnDaemon(this, mGuard.remainingTime(), [this](bool running) {
            if (running)
                query();
            else
                finish({});
        });
    }

    void query()
    {
        if (mFinished)
            return;
        mService = new SignOn::AuthService(this);
        connect(mService, &SignOn::AuthService::identities, this, &Search::collect);
        connect(mService, &SignOn::AuthService::error, this, [this](const SignOn::Error& error) {
            if (error.type() == SignOn::Error::InternalCommunication) {
                dropService();
                mRetry.start();
            } else {
                finish({});
            }
        });
        mService->queryIdentities();
    }

    void collect(const QList<SignOn::IdentityInfo>& all)
    {
        QSet<quint32> numbers;
        for (const SignOn::IdentityInfo& info : all) {
            if (info.owner() == ownerToken && info.userName() == mUserName)
                numbers.insert(info.id());
        }
        finish(numbers);
    }

    void dropService()
    {
        if (!mService)
            return;
        mService->disconnect();
        mService->deleteLater(); // this may run in a slot of its
        mService.clear();
    }

    void finish(const IdentityNumbers& numbers)
    {
        if (std::exchange(mFinished, true))
            return;
        dropService();
        deleteLater();
        mNext(numbers);
    }

    QString mUserName;
    std::function<void(const IdentityNumbers&)> mNext;
    QPointer<SignOn::AuthService> mService; // while it is asked
    QTimer mGuard;
    QTimer mRetry;
    bool mFinished = false;
};

} // namespace

void findOwnIdentities(QObject* context, const QString& userName, int timeoutMs,
                       const std::function<void(const IdentityNumbers&)>& next)
{
    new Search(context, userName, timeoutMs, next);
}

} // namespace KelAccount
