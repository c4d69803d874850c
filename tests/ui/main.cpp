#include <gtest/gtest.h>

#include "tests/support/child_of_tests.h"
#include "win/ole_session.h"

int main(int argc, char** argv) {
    if (const auto result = morvex::test::ConvertAsChild()) return *result;
    const morvex::OleSession ole;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
