// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLatin1String>

namespace KelAccount {

/// The sign-on method that the plugin is for.
const QLatin1String pluginMethod("zorauth");

} // namespace KelAccount
