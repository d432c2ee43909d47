// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "plugin/zorauthplugin.h"
#include "support/literals.h"

#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <memory>

/// The plugin in the test's own process, without a daemon around it: sanitizers see all of it, and
/// the test decides what the daemon hands in.
class PluginObject : public QObject
{
    Q_OBJECT

protected:
    /// What the daemon hands in for the emulator's account "alice", and `more` over it.
    static QVariantMap request(const QVariantMap& more = {});

    /// A new plugin, and nothing said or stored yet.
    void makePlugin();
    void process(const char* mechanism, const QVariantMap& data = request());
    /// Until it has answered, and whatever it stored before.
    bool waitForEnd();
    /// What it says to that: in their order "result", "store" or an error's type.
    QStringList said(const char* mechanism, const QVariantMap& data = request());
    /// Sends that to the emulated service, which hangs then.
    bool hangs(const char* mechanism, const QVariantMap& data = request());
    /// Whether nothing comes in that time.
    bool saysNothingMore(int milliseconds);

    const QStringList answered{"result"_s};
    const QStringList stored{"store"_s, "result"_s};
    static QStringList failed(int error) { return {QString::number(error)}; }

    std::unique_ptr<ZorAuth::ZorAuthPlugin> mPlugin;
    QStringList mEvents;
    QString mMessage; ///< of the last error
    QVariantMap mAnswer;
    QVariantMap mStored;
};
