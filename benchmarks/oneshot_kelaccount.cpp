// SPDX-License-Identifier: LGPL-2.1-or-later
// A process that makes one call through the library and ends.
#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>

using KelAccount::KelAccounts;

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc > 1)
        return 0; // its start is measured alone
    KelAccounts accounts;
    QObject::connect(&accounts, &KelAccounts::isUserIdAvailableResponse, &application,
                     [](KelAccount::ErrorStatus status) { QCoreApplication::exit(status); });
    accounts.initialize(QStringLiteral("demo-key"), QStringLiteral("demo-secret"), 2, QString(),
                        QVariantMap());
    accounts.isUserIdAvailable(QStringLiteral("bob"));
    return QCoreApplication::exec();
}
