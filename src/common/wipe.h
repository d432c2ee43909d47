// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

namespace KelAccount {

// Overwrites a secret's memory and lets go of it. Only what nobody else shares: who does still
// reads it, so its last owner is the one to wipe it.
void wipe(QString& text);
void wipe(QByteArray& bytes);
/// Every text and all bytes in it, however deep.
void wipe(QVariant& value);
void wipe(QVariantMap& map);

} // namespace KelAccount
