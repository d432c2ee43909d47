// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Where the tag server is and how long an exchange with it may take. Fixed, and defined in a file
/// of its own, so that a test links its own instead; nothing outside the program can redirect the
/// client.
namespace KelRestHandler::TagServer {

extern const char* const path;       ///< of its program
extern const char* const argument0;  ///< as which it is started
extern const char* const socketName; ///< in the abstract name space, without the leading null byte
extern const int longestExchangeMs;  ///< from the first attempt to connect to the reply
extern const int longestQueueMs;     ///< of that, for a listener whose queue is full

} // namespace KelRestHandler::TagServer
