// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelRestHandler::TagError {

/// What ObC_ServiceTag() reports. The server's own errors come through the same number.
enum Code : unsigned {
    NullArgument = 0x2001, ///< key, tag buffer or tag length is null
    KeyTooLong = 0x2002,
    NoSocket = 0x2003,
    NotStarted = 0x2004, ///< no process could be made for the tag server
    NoReply = 0x2005,    ///< no reply, none in time, or nobody who is asked: see ObC_ServiceTag()
    NotReached = 0x2006  ///< could not be connected to after it was started
};

constexpr unsigned longestKey = 500;

} // namespace KelRestHandler::TagError

/// Asks the tag server for the tag of a key, starting the server when nobody listens and ending it
/// afterwards if it was started here. Blocks the calling thread, for ten seconds at most.
///
/// Who listens must be root or the process's effective user; a stranger is told nothing and
/// reported as NoReply at once. So is every call in the minute after one that a server let run out
/// of time.
///
/// Returns 1 with the tag's bytes in `tag` and their number in `*tagLength`. A tag that does not
/// fit into less than `capacity` bytes is dropped: 1 and no bytes. Returns 0 with the reason in
/// `*error`; when `error` is null or `*error` is not 0 on entry, at once and without touching
/// anything.
extern "C" int ObC_ServiceTag(const char* key, unsigned keyLength, void* tag, unsigned* tagLength,
                              int capacity, unsigned* error);
