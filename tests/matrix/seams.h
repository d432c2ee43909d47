// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/state.h"

/// Takes the place of the library's table of servers, in the program and in the plugin: a "server"
/// is a cell.
namespace Matrix {

constexpr int serverOf(int cell, int slot)
{
    return cell * slotCount + slot;
}

} // namespace Matrix
