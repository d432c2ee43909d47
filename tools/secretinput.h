// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QStringList>

/// Reads secrets: one line each from the descriptor, or, with -1, from the terminal, where they are
/// asked for by name and not shown. On failure `problem` becomes one line that says what to do.
QStringList readSecrets(const QStringList& names, int descriptor, QString& problem);
