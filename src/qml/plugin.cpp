// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/plugin.h"

// Written by qmltyperegistrar. Named here, so that the linker keeps it.
void qml_register_types_Kel_Accounts();

KelAccountsPlugin::KelAccountsPlugin(QObject* parent) : QQmlEngineExtensionPlugin(parent)
{
    static volatile auto registration = &qml_register_types_Kel_Accounts;
    Q_UNUSED(registration)
}
