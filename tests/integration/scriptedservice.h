// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/scriptedserver.h"

#include <QList>
#include <QString>

/// An account service in the test's own process that knows one user, and keeps every request.
class ScriptedService
{
public:
    ScriptedService();

    QString base() const { return mServer.base(); }
    /// "POST tokens", in their order.
    QList<QByteArray> asked() const;
    /// How many of the requests carried a password's digest.
    int digests() const;

    bool refusesPasswords = false;

private:
    Reaction answer(const WireRequest& request);

    ScriptedServer mServer;
    int mTokens = 0;
};
