// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelRestHandler {

/// Whether a tag may be asked for over this connection: any user of the machine can take the tag
/// server's name, so whoever listens must be root or the user that this process acts for.
bool isTagServerTrusted(int connection);

/// Remembers, for the whole process, that the tag server has just let an exchange run out of time.
void noteTagServerHang();

/// Whether that was less than a minute ago, so that the caller is not held up again.
bool hasTagServerHungLately();

} // namespace KelRestHandler
