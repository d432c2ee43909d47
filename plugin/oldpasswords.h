// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace ZorAuth {

/// How long an old password has to wait until it is compared, after so many wrong ones.
int oldPasswordDelayMs(int wrongBefore);

/// More wrong ones make no difference.
constexpr int mostCounted = 1000;

} // namespace ZorAuth
