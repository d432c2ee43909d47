// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integration/emulateddevice.h"

#include "integration/emulatedservice.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"
#include "support/sqlitereader.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <csignal>

using namespace KelTest;

namespace {

QVariant fromStore(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    QVariant value;
    stream >> value;
    return value;
}

} // namespace

bool EmulatedDevice::isInside()
{
    return EmulatedService::isThere() && qEnvironmentVariableIsSet("SSO_STORAGE_PATH");
}

QString EmulatedDevice::addAccount(const QJsonObject& account)
{
    if (EmulatedService::ask("POST", "/accounts", QJsonDocument(account).toJson()).status != 200)
        return {};
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    return all.isEmpty() ? QString() : all.last().toObject().value("accountId"_s).toString();
}

QJsonObject EmulatedDevice::accountAtService(const QString& number)
{
    const QJsonArray all =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/accounts").body).array();
    for (const QJsonValue& account : all) {
        if (account.toObject().value("accountId"_s).toString() == number)
            return account.toObject();
    }
    return {};
}

QList<int> EmulatedDevice::operations()
{
    const QJsonArray requests =
        QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
    EmulatedService::ask("DELETE", "/requests");
    QList<int> numbers;
    for (const QJsonValue& request : requests)
        numbers.append(request.toObject().value("operation"_s).toInt(-1));
    return numbers;
}

bool EmulatedDevice::letTokensExpire()
{
    return EmulatedService::ask("POST", "/tokens/expire").status == 200;
}

QString EmulatedDevice::storeFile(const char* file)
{
    return qEnvironmentVariable("SSO_STORAGE_PATH") + QLatin1Char('/') + QLatin1String(file);
}

QVariantMap EmulatedDevice::storedFor(int identity)
{
    QVariantMap map;
    const QList<QVariantList> rows =
        sqliteRows(storeFile("signon-secrets.db"),
                   "SELECT key, value FROM STORE WHERE identity_id = %1"_s.arg(identity));
    for (const QVariantList& row : rows)
        map.insert(row.value(0).toString(), fromStore(row.value(1).toByteArray()));
    return map;
}

bool EmulatedDevice::changeStored(int identity, const QString& name, const QVariant& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return sqliteChange(storeFile("signon-secrets.db"),
                        "UPDATE STORE SET value = X'%1' WHERE identity_id = %2 AND key = '%3'"_s
                            .arg(QString::fromLatin1(bytes.toHex()))
                            .arg(identity)
                            .arg(name));
}

QList<pid_t> EmulatedDevice::processesNamed(const char* beginning)
{
    const QByteArray marker = "SSO_STORAGE_PATH=" + qgetenv("SSO_STORAGE_PATH");
    QList<pid_t> found;
    const QStringList processes = QDir("/proc"_s).entryList(QDir::Dirs);
    for (const QString& process : processes) {
        QFile commandName("/proc/%1/comm"_s.arg(process));
        QFile environment("/proc/%1/environ"_s.arg(process));
        if (process.toInt() > 1 && commandName.open(QIODevice::ReadOnly) &&
            commandName.readAll().startsWith(beginning) && environment.open(QIODevice::ReadOnly) &&
            environment.readAll().split('\0').contains(marker))
            found.append(process.toInt());
    }
    return found;
}

bool EmulatedDevice::killPluginProcesses()
{
    const QList<pid_t> found = pluginProcesses();
    for (const pid_t id : found)
        ::kill(id, SIGKILL);
    // Until the daemon has collected them: before, it takes the next request for theirs.
    return !found.isEmpty() && waitUntil([&] {
        return std::none_of(found.cbegin(), found.cend(),
                            [](pid_t id) { return QFile::exists("/proc/%1"_s.arg(id)); });
    });
}
