// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/faults.h"

#include "matrix/faultgroups.h"

namespace Matrix {

namespace {

Rows makeFaults()
{
    Rows rows;
    rows.push_back({"Nothing is wrong", "none", "nothing is wrong", Kind::None});
    addNames(rows);
    addConnections(rows);
    addProxies(rows);
    addTls(rows);
    addHeads(rows);
    addStatuses(rows);
    addBodies(rows);
    addDocuments(rows);
    addClocks(rows);
    addLocals(rows);
    return rows;
}

} // namespace

const std::vector<Fault>& faults()
{
    static const Rows rows = makeFaults();
    return rows;
}

} // namespace Matrix
