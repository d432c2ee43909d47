// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QMap>
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
void wipe(QMap<QString, QString>& map);

/// A text whose last owner wipes it.
class SecretText : public QString
{
public:
    SecretText() = default;
    SecretText(const QString& text) : QString(text) {}
    SecretText(const SecretText& other) = default;
    SecretText& operator=(const QString& text);
    SecretText& operator=(const SecretText& other);
    ~SecretText() { wipe(*this); }
};

} // namespace KelAccount
