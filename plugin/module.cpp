// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zorauthplugin.h"

// The daemon's plugin process looks this up by its name.
SIGNON_DECL_AUTH_PLUGIN(ZorAuth::ZorAuthPlugin)
