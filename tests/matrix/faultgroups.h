// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/faults.h"

/// The groups of the table, each of which adds its rows.
namespace Matrix {

using Rows = std::vector<Fault>;

void addNames(Rows& rows);
void addConnections(Rows& rows);
void addProxies(Rows& rows);
void addTls(Rows& rows);
void addHeads(Rows& rows);
void addStatuses(Rows& rows);
void addBodies(Rows& rows);
void addDocuments(Rows& rows);
void addClocks(Rows& rows);
void addLocals(Rows& rows);

/// One that a guard ends.
inline Fault waiting(Fault fault)
{
    fault.waits = true;
    return fault;
}

/// One that is large.
inline Fault alone(Fault fault)
{
    fault.alone = true;
    return fault;
}

inline const std::string ok = "HTTP/1.1 200 OK\r\n";
inline const std::string lengthAndBody = "Content-Length: {length}\r\n\r\n{body}";
inline const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";

} // namespace Matrix
