// Letters beyond ASCII in STEP files.
#include "engine/modules/step/step_text.h"

#include <gtest/gtest.h>

#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

TEST(StepText, LettersBeyondAscii) {
    EXPECT_EQ(EscapeStepText("a 'b' \\"), "a 'b' \\");
    EXPECT_EQ(EscapeStepText("x\u0416\u6f22y\U0001F600\u0416"),
              "x\\X2\\04166F22\\X0\\y\\X4\\0001F600\\X0\\\\X2\\0416\\X0\\");
    EXPECT_EQ(EscapeStepText("\xff"), "\\X2\\FFFD\\X0\\");
    // Letters across the places where a large file is cut.
    const ScratchFolder folder;
    std::string large = "'", expected = "'";
    for (int count = 0; count < 700'000; ++count) large += "\u00e9a", expected += "\\X2\\00E9\\X0\\a";
    StepTextBuffer buffer(folder / "f.stp");
    std::ostream stream(&buffer);
    stream << large[0] << large.substr(1, 500'000) << large.substr(500'001);
    EXPECT_TRUE(buffer.Close());
    EXPECT_TRUE(ReadWhole(folder / "f.stp") == expected);
}

}  // namespace
}  // namespace morvex::test
