#include <windows.h>

#include <ole2.h>

#include <gtest/gtest.h>

#include "tests/support/child_of_tests.h"

int main(int argc, char** argv) {
    if (const auto result = morvex::test::ConvertAsChild()) return *result;
    OleInitialize(nullptr);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    OleUninitialize();
    return result;
}
