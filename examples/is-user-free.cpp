// SPDX-License-Identifier: LGPL-2.1-or-later
// Asks whether the user name given as argument is free. Key and secret come from the environment.
#include <kelaccount/commonutils.h>
#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QTextStream>

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    if (argc != 2) {
        out << "usage: is-user-free NAME\n";
        return 2;
    }

    KelAccounts accounts;
    QObject::connect(&accounts, &KelAccounts::isUserIdAvailableResponse, &application,
                     [&](ErrorStatus status, bool available, const QStringList& suggestions) {
                         if (status != KelAccount::ErrorNone)
                             out << CommonUtils::ConvertErrorCodeToString(status) << '\n';
                         else if (available)
                             out << "free\n";
                         else
                             out << "taken; free are " << suggestions.join(QStringLiteral(", "))
                                 << '\n';
                         QCoreApplication::exit(status == KelAccount::ErrorNone ? 0 : 1);
                     });

    constexpr int productionServer = 2;
    accounts.initialize(qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY"),
                        qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET"), productionServer,
                        QStringLiteral("example"), QVariantMap());
    accounts.isUserIdAvailable(QString::fromLocal8Bit(argv[1]));
    return QCoreApplication::exec();
}
