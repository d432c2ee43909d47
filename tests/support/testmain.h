// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The main() of a test that does more than Qt's macros: a function that takes the same. In a
// program that holds several tests it is one of them (together.h).
#ifndef KEL_TEST_MAIN
#define KEL_TEST_MAIN(function)                                                                    \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        return function(argc, argv);                                                               \
    }
#endif
