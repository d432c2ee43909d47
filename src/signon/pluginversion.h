// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace SignOn {
class SessionData;
}

namespace KelAccount {

/// Compares the version that the plugin has told in its answer to "initialise" with the library's,
/// and logs when they are two. They need not be one: what only one of them knows is answered with
/// an error by the other. But whoever looks for the reason of that error should find it.
void comparePluginVersion(const SignOn::SessionData& answer);

} // namespace KelAccount
