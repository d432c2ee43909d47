// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/CommonUtils>
#include <kelaccount/ErrorStatus>
#include <kelaccount/KelAccounts>

#include <QCoreApplication>
#include <QTextStream>

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    const KelAccount::KelAccounts accounts;
    QTextStream(stdout) << CommonUtils::ConvertErrorCodeToString(KelAccount::ErrorTimeout) << '\n';
    return accounts.objectName().isEmpty() ? 0 : 1;
}
