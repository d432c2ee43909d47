// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/logging.h"

Q_LOGGING_CATEGORY(logRest, "kelaccount.rest")
Q_LOGGING_CATEGORY(logSignon, "kelaccount.signon")
Q_LOGGING_CATEGORY(logConfigure, "kelaccount.configure")
Q_LOGGING_CATEGORY(logDevice, "kelaccount.device")
Q_LOGGING_CATEGORY(logAccount, "kelaccount.account")
