// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelEmulator {

/// What stands after a status on a reply's first line; for people.
const char* statusText(int status);

} // namespace KelEmulator
