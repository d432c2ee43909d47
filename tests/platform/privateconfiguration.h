// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace KelTest {

/// A dconf database of this test's own, in a temporary folder.
class PrivateConfiguration
{
public:
    /// Moves this process into it; before anything has read the configuration.
    bool enter();

    /// The value in dconf's text form. Written by the real service on a bus that lives as long.
    bool write(const QString& key, const QByteArray& value);
    bool clear(const QString& key);

private:
    QTemporaryDir mFolder;
};

} // namespace KelTest
