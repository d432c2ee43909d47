// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/logging.h"

// What is for developers of the library is shown to who asks for it (QT_LOGGING_RULES).
Q_LOGGING_CATEGORY(logRest, "kelaccount.rest", QtInfoMsg)
Q_LOGGING_CATEGORY(logSignon, "kelaccount.signon", QtInfoMsg)
Q_LOGGING_CATEGORY(logConfigure, "kelaccount.configure", QtInfoMsg)
Q_LOGGING_CATEGORY(logDevice, "kelaccount.device", QtInfoMsg)
Q_LOGGING_CATEGORY(logAccount, "kelaccount.account", QtInfoMsg)
