// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace SignOn {
class Error;
}

namespace KelAccount {

/// Logs why no session could be opened, in words where the error has a meaning of its own. The
/// error's text is another process's and stays out of the log.
void logSessionRefusal(const SignOn::Error& error);

/// Logs what an error of the plugin's says about the account, where it says something.
void logAccountError(const SignOn::Error& error);

} // namespace KelAccount
