// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/ownidentities.h"

#include <SignOn/AuthService>
#include <SignOn/IdentityInfo>

#include <QTimer>

namespace KelAccount {

const QLatin1String ownerToken("libaccounts-kel::accesssvt");

void findOwnIdentities(QObject* context, const QString& userName, int timeoutMs,
                       const std::function<void(const IdentityNumbers&)>& next)
{
    auto* const service = new SignOn::AuthService(context);
    auto* const guard = new QTimer(service);
    const auto finish = [service, guard, next](const IdentityNumbers& numbers) {
        service->disconnect();
        guard->stop();
        service->deleteLater();
        next(numbers);
    };
    QObject::connect(service, &SignOn::AuthService::identities, service,
                     [finish, userName](const QList<SignOn::IdentityInfo>& all) {
                         QSet<quint32> numbers;
                         for (const SignOn::IdentityInfo& info : all) {
                             if (info.owner() == ownerToken && info.userName() == userName)
                                 numbers.insert(info.id());
                         }
                         finish(numbers);
                     });
    QObject::connect(service, &SignOn::AuthService::error, service, [finish] { finish({}); });
    guard->setSingleShot(true);
    QObject::connect(guard, &QTimer::timeout, service, [finish] { finish({}); });
    guard->start(timeoutMs);
    service->queryIdentities();
}

} // namespace KelAccount
