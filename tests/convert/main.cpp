#include <gtest/gtest.h>

#include "tests/support/child_of_tests.h"

int main(int argc, char** argv) {
    if (const auto result = morvex::test::ConvertAsChild()) return *result;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
