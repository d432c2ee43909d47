// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Very many calls by one process, of which every twentieth meets a fault.
namespace Matrix {

constexpr const char* soakMark = "--inside-soak";

/// Its main(), inside: what it has after so many calls is a line on standard output, as
/// SoakPoint writes it. Fails when a call is not answered once, or one without a fault otherwise
/// than with success.
int runSoakInside(int argc, char** argv);

} // namespace Matrix
