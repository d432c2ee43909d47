// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <vector>

/// Where the service of the matrix listens, and how it does not.
namespace Matrix {

/// Bound to that host, and to that port or, with 0, to a free one; -1 on failure.
int boundSocket(const char* host, int port);
int portOf(int socket);

/// A port that stays ours when nobody listens, and who listens at it.
struct Door
{
    int keeper = -1; ///< bound, and never listens
    int port = 0;
    int open = -1;
    int full = -1; ///< its queue has no room, so that what comes is dropped
    std::vector<int> fillers;
    const char* host = "127.0.0.1";

    void reserve(const char* at);
    /// Whether somebody listens, and whether what comes is dropped.
    void set(bool isOpen, bool isFull);
};

/// Of one slot.
struct Doors
{
    Door service;
    Door elsewhere; ///< the same port on another address
    Door proxy;
    int dead = -1;
};

} // namespace Matrix
