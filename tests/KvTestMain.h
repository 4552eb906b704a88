#pragma once

// Test mains that put the C library's numbers back to a decimal point after the application
// object is made, as the player's own main() does. Without it a test run under a comma-decimal
// locale (the suite runs once more under de_DE.UTF-8) would exercise a program that does not
// exist: the application constructor installs the user's locale, and the player undoes that for
// LC_NUMERIC only.

#include "KvTestMain.h"
#include <QApplication>
#include <QCoreApplication>
#include <QTest>

#include <clocale>

#define KV_TEST_MAIN_BODY(AppClass, TestObject)                                                    \
    int main(int argc, char** argv) {                                                              \
        AppClass app(argc, argv);                                                                  \
        std::setlocale(LC_NUMERIC, "C");                                                           \
        TestObject tc;                                                                             \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&tc, argc, argv);                                                      \
    }

// A widget test: QApplication, 96 dpi like QTEST_MAIN.
#define KV_TEST_MAIN(TestObject)                                                                   \
    int main(int argc, char** argv) {                                                              \
        QApplication app(argc, argv);                                                              \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                   \
        std::setlocale(LC_NUMERIC, "C");                                                           \
        TestObject tc;                                                                             \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&tc, argc, argv);                                                      \
    }

// A test without widgets: QCoreApplication.
#define KV_TEST_GUILESS_MAIN(TestObject) KV_TEST_MAIN_BODY(QCoreApplication, TestObject)
