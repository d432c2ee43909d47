// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/servicetable.h"

#include "rest/request/serviceaddress.h"

#include <QHash>
#include <QNetworkProxy>

namespace {

QString everyBase;
QHash<int, QString> bases;

} // namespace

namespace KelRestHandler {

const char RestSchemaNamespace[] = "https://account.example/schemas/rest/v1_0";
const char OAuthRealm[] = "OAuth realm=\"https://account.example\"";

QString serverBaseAddress(int serverIndex)
{
    return bases.value(serverIndex, everyBase);
}

} // namespace KelRestHandler

namespace KelTest {

void ServiceTable::set(const QString& base)
{
    bases.clear();
    everyBase = base;
}

void ServiceTable::set(int server, const QString& base)
{
    bases.insert(server, base);
}

void ServiceTable::leaveProxies()
{
    for (const char* name : {"http_proxy", "https_proxy"})
        qunsetenv(name);
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
}

} // namespace KelTest
