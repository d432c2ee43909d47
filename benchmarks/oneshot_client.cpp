// SPDX-License-Identifier: LGPL-2.1-or-later
// A process that makes one call through a client and ends.
#include <kelaccount/client.h>

#include <QCoreApplication>

using namespace KelAccount;

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc > 1)
        return 0; // its start is measured alone
    Client client;
    client.initialize(QStringLiteral("demo-key"), QStringLiteral("demo-secret"), Server::Production,
                      QString());
    client.isUserIdAvailable(QStringLiteral("bob"))
        .then(
            &application, [] { QCoreApplication::exit(0); },
            [](const Failure& failure) { QCoreApplication::exit(failure.status); });
    return QCoreApplication::exec();
}
