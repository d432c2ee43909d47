// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/checks.h"

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <memory>
#include <sqlite3.h>

namespace Doctor {

namespace {

constexpr const char* provider = "provider";
constexpr const char* service = "service";
constexpr const char* database = "database";
constexpr const char* secrets = "secrets";

/// Where the accounts framework looks for a kind of file.
QStringList foldersOf(const char* variable, const char* kind)
{
    const QString own = qEnvironmentVariable(variable);
    if (!own.isEmpty())
        return {own};
    QStringList folders;
    const QStringList all = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (const QString& folder : all)
        folders.append(folder + QLatin1String("/accounts/") + QLatin1String(kind));
    return folders;
}

/// The document of that file in the first folder that has it.
QDomElement read(const QStringList& folders, const QString& name, QString& problem)
{
    for (const QString& folder : folders) {
        QFile file(folder + QLatin1Char('/') + name);
        if (!file.exists())
            continue;
        QDomDocument document;
        if (file.open(QIODevice::ReadOnly) && document.setContent(&file)) {
            problem.clear();
            return document.documentElement();
        }
        problem = QStringLiteral("%1 cannot be read").arg(file.fileName());
        return {};
    }
    problem = QStringLiteral("%1 is not in %2").arg(name, folders.join(QLatin1String(", ")));
    return {};
}

const auto installFiles =
    QStringLiteral("install the file that comes with the plugin (Debian: signon-plugin-zorauth)");

void checkProvider(Findings& findings)
{
    QString problem;
    const QDomElement root =
        read(foldersOf("AG_PROVIDERS", "providers"), QStringLiteral("zor.provider"), problem);
    if (problem.isEmpty() && root.attribute(QStringLiteral("id")) != QLatin1String("zor"))
        problem = QStringLiteral("zor.provider describes another provider");
    if (problem.isEmpty())
        findings.good(provider, QStringLiteral("the accounts framework knows the provider"));
    else
        findings.error(provider, problem, installFiles);
}

void checkServiceFile(Findings& findings)
{
    QString problem;
    const QDomElement root = read(foldersOf("AG_SERVICES", "services"),
                                  QStringLiteral(KELACCOUNT_SERVICE_FILE), problem);
    const QString owner = root.firstChildElement(QStringLiteral("provider")).text().trimmed();
    if (problem.isEmpty() && owner != QLatin1String("zor"))
        problem = QStringLiteral(KELACCOUNT_SERVICE_FILE " is of another provider");
    if (problem.isEmpty())
        findings.good(service, QStringLiteral("the accounts framework knows the service"));
    else
        findings.error(service, problem, installFiles);
}

struct Close
{
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
};

/// Whether it can be written, as SQLite sees it: permissions, a full disk, a lock, another kind of
/// file.
QString writingProblem(const QString& file)
{
    constexpr int patienceMs = 2000;
    sqlite3* opened = nullptr;
    const int status = sqlite3_open_v2(QFile::encodeName(file).constData(), &opened,
                                       SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, Close> connection(opened);
    if (status != SQLITE_OK)
        return QString::fromUtf8(sqlite3_errstr(status));
    sqlite3_busy_timeout(opened, patienceMs);
    for (const char* statement :
         {"BEGIN IMMEDIATE", "SELECT name FROM sqlite_master", "ROLLBACK"}) {
        if (sqlite3_exec(opened, statement, nullptr, nullptr, nullptr) != SQLITE_OK)
            return QString::fromUtf8(sqlite3_errmsg(opened));
    }
    return sqlite3_db_readonly(opened, "main") == 0 ? QString() : QStringLiteral("read only");
}

void checkDatabase(Findings& findings)
{
    const QString folder = qEnvironmentVariable(
        "ACCOUNTS", QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                        QLatin1String("/libaccounts-glib"));
    const QString file = folder + QLatin1String("/accounts.db");
    if (!QFileInfo::exists(file)) {
        // The framework makes it, and the folder.
        QString above = folder;
        while (!QFileInfo::exists(above) && above != QFileInfo(above).path())
            above = QFileInfo(above).path();
        if (QFileInfo(above).isDir() && QFileInfo(above).isWritable())
            findings.good(database, QStringLiteral("the accounts database will be %1").arg(file));
        else
            findings.error(database, QStringLiteral("%1 cannot be made in %2").arg(file, above),
                           QStringLiteral("let the user write there, or set ACCOUNTS to a folder"));
        return;
    }
    const QString problem = writingProblem(file);
    if (problem.isEmpty())
        findings.good(database, QStringLiteral("%1 can be written").arg(file));
    else
        findings.error(database, QStringLiteral("%1 cannot be written: %2").arg(file, problem),
                       QStringLiteral("let the user write it, and free what holds it; a file that "
                                      "is no database has to go"));
}

/// The extension that encrypts what the daemon keeps; empty when there is none.
QString encryption(const QSettings& configuration)
{
    const QDir extensions(qEnvironmentVariable(
        "SSO_EXTENSIONS_DIR", QStringLiteral(KELACCOUNT_DAEMON_PLUGINS "/extensions")));
    const QStringList there = extensions.entryList({QStringLiteral("*.so")}, QDir::Files);
    for (const char* key : {"SecureStorage/CryptoManager", "SecureStorage/SecretsStorage"}) {
        const QString wanted = configuration.value(QLatin1String(key)).toString();
        if (wanted == QLatin1String("default"))
            continue;
        for (const QString& file : there) {
            // Without a name, the first extension that can do it is taken.
            const QString kind = QLatin1String(key).contains(QLatin1String("Crypto"))
                                     ? QStringLiteral("crypt")
                                     : QStringLiteral("keyring");
            if (file.contains(wanted.isEmpty() ? kind : wanted))
                return file;
        }
    }
    return {};
}

/// Whether others than its owner get there: by the folder's own permissions, and by those of every
/// folder above.
bool mayBeEntered(const QString& folder)
{
    constexpr auto others = QFile::ExeGroup | QFile::ExeOther;
    const QFileInfo info(folder);
    if (!info.exists() || !(info.permissions() & others))
        return false;
    return info.canonicalFilePath() == QLatin1String("/") ||
           mayBeEntered(QFileInfo(info.canonicalFilePath()).path());
}

void checkSecrets(Findings& findings)
{
    const QSettings configuration(
        qEnvironmentVariable("SSO_CONFIG_FILE_DIR", QStringLiteral("/etc")) +
            QLatin1String("/signond.conf"),
        QSettings::IniFormat);
    const QString usual = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                          QLatin1String("/signond");
    QString folder = qEnvironmentVariable(
        "SSO_STORAGE_PATH",
        configuration.value(QStringLiteral("General/StoragePath"), usual).toString());
    if (folder.startsWith(QLatin1String("~/")))
        folder = QDir::homePath() + folder.mid(1);
    if (mayBeEntered(folder)) {
        findings.error(secrets, QStringLiteral("other users may look into %1").arg(folder),
                       QStringLiteral("chmod 700 %1").arg(folder));
        return;
    }
    const QString extension = encryption(configuration);
    if (!extension.isEmpty()) {
        findings.good(secrets, QStringLiteral("passwords are kept by %1").arg(extension));
        return;
    }
    findings.warning(secrets,
                     QStringLiteral("the daemon keeps passwords unencrypted in %1").arg(folder),
                     QStringLiteral("install one of the daemon's extensions for encryption or a "
                                    "keyring, or keep that folder on an encrypted disk"));
}

} // namespace

void checkAccounts(Findings& findings)
{
    checkProvider(findings);
    checkServiceFile(findings);
    checkDatabase(findings);
    checkSecrets(findings);
}

} // namespace Doctor
