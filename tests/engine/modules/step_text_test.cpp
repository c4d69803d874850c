// Letters beyond ASCII in STEP files.
#include "engine/modules/step/step_text.h"

#include <gtest/gtest.h>

#include "engine/modules/scan/step_scan.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

TEST(StepText, LettersBeyondAscii) {
    EXPECT_EQ(EscapeStepText("a 'b' \\"), "a 'b' \\");
    EXPECT_EQ(EscapeStepText("x\u0416\u6f22y\U0001F600\u0416"),
              "x\\X2\\04166F22\\X0\\y\\X4\\0001F600\\X0\\\\X2\\0416\\X0\\");
    EXPECT_EQ(EscapeStepText("\xff"), "\\X2\\FFFD\\X0\\");
    const std::string letters = "x\u0416\u6f22y\U0001F600";
    EXPECT_EQ(DecodeStepText(EscapeStepText(letters)), letters);
    EXPECT_EQ(DecodeStepText("\\X\\2E\\X\\2e/\\S\\d\\\\ \\X2\\00"), "../\u00e4\\ 00");
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

// What is changed of a text that ends too early lies within it.
TEST(StepScan, EndsWithTheText) {
    for (const std::string end : {"DATA", "DATA ", "DATA;", "DATA#1=", "ENDSEC", "#1=A('", "#1=A() #2"}) {
        SCOPED_TRACE(end);
        std::string text = "ISO-10303-21;HEADER;ENDSEC;" + end;
        const std::size_t size = text.size();
        text += "beyond";
        StepScan(std::string_view(text).substr(0, size)).Simplify(text.data());
        EXPECT_EQ(text.substr(size), "beyond");
    }
}

}  // namespace
}  // namespace morvex::test
