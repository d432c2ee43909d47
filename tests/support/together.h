// SPDX-License-Identifier: LGPL-2.1-or-later
// Forced into every source of a program that holds several tests, before anything else: what would
// be the main() of a test is kept under the name of its file, and the program's first argument
// chooses one. A test does not know of it, and can be a program of its own at any time.
#pragma once

#ifndef KEL_HAS_NO_TEST

#include "support/kepttests.h"

#include <QtTest/qtest.h>
#ifdef QT_GUI_LIB
#include <QtTest/qtest_gui.h>
#endif

#define KEL_TESTS_TOGETHER
/// A function that takes what a main() takes.
#define KEL_TEST_MAIN(function)                                                                    \
    namespace {                                                                                    \
    [[maybe_unused]] const bool function##IsKept = KelTest::keepTest(__FILE__, function);          \
    }
#define KEL_KEEP_TEST(Test, application)                                                           \
    namespace {                                                                                    \
    int run##Test([[maybe_unused]] int argc, [[maybe_unused]] char** argv)                         \
    {                                                                                              \
        application;                                                                               \
        Test test;                                                                                 \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }                                                                                              \
    }                                                                                              \
    KEL_TEST_MAIN(run##Test)

#undef QTEST_MAIN
#undef QTEST_GUILESS_MAIN
#undef QTEST_APPLESS_MAIN
#ifdef QT_GUI_LIB
#define QTEST_MAIN(Test)                                                                           \
    KEL_KEEP_TEST(Test, QGuiApplication application(argc, argv);                                   \
                  QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true))
#else
#define QTEST_MAIN(Test) QTEST_GUILESS_MAIN(Test)
#endif
#define QTEST_GUILESS_MAIN(Test)                                                                   \
    KEL_KEEP_TEST(Test, QCoreApplication application(argc, argv);                                  \
                  QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true))
#define QTEST_APPLESS_MAIN(Test) KEL_KEEP_TEST(Test, )

#endif
