// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/scriptedserver.h"

#include <QList>
#include <QString>

/// An account service in the test's own process that knows one user, does as it is ordered, and
/// keeps every request.
class ScriptedService
{
public:
    explicit ScriptedService(const QSslConfiguration& tls);

    QString base() const { return mServer.base(); }
    const QList<WireRequest>& requests() const { return mServer.requests(); }
    /// How many of the requests carried a password's digest.
    int digests() const;

    /// How the next requests are answered, parted by commas: "token-refused", "clock 3600" (refused
    /// for it), "renewed TOKEN", "signed-in TOKEN", "profile", or a status with an error code, as
    /// in "403 accountLocked". False when there is another one.
    bool order(const QString& answers);
    int ordersLeft() const { return mOrders.size(); }

    bool refusesPasswords = false;

    /// "GET accounts/1000042/profile"
    static QByteArray asText(const WireRequest& request);
    /// Of an item of the "Authorization" header: what follows its name.
    static QByteArray authorization(const WireRequest& request, const QByteArray& item);

private:
    Reaction answer(const WireRequest& request);

    ScriptedServer mServer;
    QList<Reaction> mOrders;
    QList<QByteArray> mTokens; ///< that it has given out by itself
};
