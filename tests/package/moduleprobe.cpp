// SPDX-License-Identifier: LGPL-2.1-or-later
// An application that needs two modules of the library, and says where they came from. With an
// argument, it goes to that folder first.
#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QFile>
#include <QSet>

#include <cstdio>
#include <unistd.h>

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    if (count > 1 && chdir(arguments[1]) != 0)
        return 2;
    KelAccount::KelAccounts accounts;
    accounts.isKeLAccountConfigured();
    QObject::connect(&accounts, &KelAccount::KelAccounts::retrieveCountryCodeResponse, &application,
                     &QCoreApplication::quit);
    accounts.retrieveCountryCode();
    QCoreApplication::exec();

    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly))
        return 3;
    QSet<QByteArray> shown;
    const QByteArrayList lines = maps.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QByteArray path = line.mid(line.indexOf('/'));
        const bool isModule = path.endsWith("/accounts.so") || path.endsWith("/region.so");
        if (isModule && !shown.contains(path)) {
            shown.insert(path);
            std::puts(path.constData());
        }
    }
    return 0;
}
