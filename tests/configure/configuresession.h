// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "sandbox/sandbox.h"
#include "support/literals.h"

#include <QDir>
#include <QTest>

namespace KelTest {

/// The synchronisation that the library's own service file is about.
inline QString ownSync()
{
    return QStringLiteral(KELACCOUNT_TEST_SERVICE_DOMAIN);
}

/// Gives a session what an installation gives the accounts framework, and two services more.
inline void installAccountFiles(KelEmulator::Sandbox& session)
{
    const QDir files(QStringLiteral(KELACCOUNT_TEST_ACCOUNT_FILES));
    session.addProvider(files.filePath("providers/zor.provider"_s));
    session.addService(files.filePath("services/%1.service"_s.arg(ownSync())));
    session.addService(QFINDTESTDATA("data/zor-backup.service"));
    session.addService(QFINDTESTDATA("data/zor-im.service"));
}

} // namespace KelTest
