// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagserveraddress.h"

namespace KelRestHandler::TagServer {

const char* const path = "/usr/sbin/obcmngrlite-server";
const char* const argument0 = "obcmngrlite-server";
const char* const socketName = "obc";
const int longestExchangeMs = 10000;
const int longestQueueMs = 1000;

} // namespace KelRestHandler::TagServer
