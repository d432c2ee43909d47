// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelTest {

/// Keeps the main() of the test in that file, for the program that holds it with others.
bool keepTest(const char* file, int (*run)(int, char**));

} // namespace KelTest
