// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QQmlEngineExtensionPlugin>

/// The module Kel.Accounts. Its types register themselves: what moc knows of their headers is made
/// a list of by qmltyperegistrar.
class KelAccountsPlugin : public QQmlEngineExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)

public:
    explicit KelAccountsPlugin(QObject* parent = nullptr);
};
