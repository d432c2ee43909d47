// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "bytesource.h"

#include <QVariantMap>

namespace KelFuzz::SessionData {

extern const QString consumerKey;
extern const QString consumerSecret;
extern const QString password;

/// What the daemon hands to the plugin for a request: a good one, and what the input changes in it,
/// in what is stored besides, and in the session in that.
QVariantMap dataFrom(ByteSource& source);

/// What the stored session of that consumer is bound to.
QByteArray consumer();

} // namespace KelFuzz::SessionData
