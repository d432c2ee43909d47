// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "client/clientcalls.h"
#include "integration/standinservice.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace KelTest {

/// A client that was initialised, and a service in this process that it asks.
class ClientFixture : public QObject
{
    Q_OBJECT

    const OwnAccounts mAccounts; // the last to go

protected Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

protected:
    static QString text(const char* utf8) { return QString::fromUtf8(utf8); }
    /// Another client that was initialised.
    static std::unique_ptr<KelAccount::Client> ready();
    /// Whether so many answers come, and no more.
    bool settles(int answers);
    /// The name "taken" is, and every other one is free.
    void serveNames();
    QStringList targets() const;

    std::unique_ptr<StandInService> mService;
    std::unique_ptr<KelAccount::Client> mClient;
    Answers mAnswers;
};

} // namespace KelTest
