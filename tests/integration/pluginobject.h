// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "plugin/zorauthplugin.h"

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
    void process(const char* mechanism, const QVariantMap& data);
    /// Until it has answered, and whatever it stored before.
    bool waitForEnd();

    std::unique_ptr<ZorAuth::ZorAuthPlugin> mPlugin;
    QStringList mEvents; // in their order: "result", "store" or an error's type
    QVariantMap mAnswer;
    QVariantMap mStored;
};
