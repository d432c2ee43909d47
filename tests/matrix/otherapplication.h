// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// A second application: a process of its own, in the same session.
namespace Matrix {

/// Its main(), inside. It does what the lines on its standard input say, one after the other, and
/// writes a line when it has: "asks" is answered with a status, "signs-in", "signs-out" too, and
/// "removes" takes all accounts away. It ends with its input.
int runBeside(int argc, char** argv);

constexpr const char* besideMark = "--beside";

} // namespace Matrix
