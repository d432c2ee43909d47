// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QVariant>

/// What the desktop's configuration holds under a key; see MGConfItem::value(). dconf brings GLib
/// into a process, which only the question for the region needs, so it is a module that is loaded
/// when the first item is read.
QVariant configurationValue(const QString& key);
