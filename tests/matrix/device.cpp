// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/device.h"

#include "matrix/sessionprocesses.h"
#include "support/allaccounts.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"
#include "support/sqlitereader.h"

#include <SignOn/Identity>

#include <memory>

using namespace KelTest;

namespace Matrix::Device {

namespace {

constexpr int patienceMs = 30000;
constexpr int manyCells = 20;

QList<QVariantList> identities()
{
    const QString file = qEnvironmentVariable("SSO_STORAGE_PATH") + "/signon.db"_s;
    return QFile::exists(file) ? sqliteRows(file, "SELECT id FROM CREDENTIALS ORDER BY id"_s)
                               : QList<QVariantList>();
}

void removeIdentity(quint32 number)
{
    const std::unique_ptr<SignOn::Identity> identity(SignOn::Identity::existingIdentity(number));
    if (!identity)
        return;
    bool ended = false;
    QObject::connect(identity.get(), &SignOn::Identity::removed, identity.get(),
                     [&] { ended = true; });
    QObject::connect(identity.get(), &SignOn::Identity::error, identity.get(),
                     [&] { ended = true; });
    identity->remove();
    waitUntil([&] { return ended; }, 2000);
}

} // namespace

bool clean()
{
    KelTest::removeAllAccounts();
    if (!identities().isEmpty() && !DaemonControl::start()) {
        qWarning("the daemon does not start");
        return false;
    }
    const bool isClean = waitUntil(
        [] {
            const QList<QVariantList> rows = identities();
            for (const QVariantList& row : rows)
                removeIdentity(row.at(0).toUInt());
            return identities().isEmpty();
        },
        patienceMs);
    static int count = 0;
    if (++count % manyCells == 0)
        endPlugins();
    if (!isClean)
        qWarning("the identity %d stays", identities().value(0).value(0).toInt());
    return isClean;
}

} // namespace Matrix::Device
