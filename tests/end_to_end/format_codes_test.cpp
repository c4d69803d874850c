#include <gtest/gtest.h>

#include "tests/end_to_end/program.h"

namespace morvex {
namespace {

using test::LibraryLog;
using test::Program;

const struct {
    const wchar_t* name;
    const wchar_t* filterText;
    const char* identifier;
    int code;
    const wchar_t* dialogFilter;
} kInputs[] = {
#include "tests/support/expected_input_formats.inc"
};

const struct {
    const wchar_t* name;
    const wchar_t* filterText;
    const char* identifier;
    const wchar_t* extension;
    int code;
} kOutputs[] = {
#include "tests/support/expected_output_formats.inc"
};

TEST(FormatCodes, ReachTheLibraryForEveryInput) {
    const Program program;
    const LibraryLog log;
    for (const auto& input : kInputs) {
        Program::Formats(input.filterText, L"STL (*.stl)");
        program.Run(L"C:\\in\\a.file");
        EXPECT_EQ(log.Calls().back().inputFormat, input.code) << testing::PrintToString(input.filterText);
    }
    EXPECT_EQ(log.Calls().size(), std::size(kInputs));
}

TEST(FormatCodes, AndExtensionsReachTheLibraryForEveryOutput) {
    const Program program;
    const LibraryLog log;
    for (const auto& output : kOutputs) {
        Program::Formats(L"JT (*.jt)", output.filterText);
        program.Run(L"C:\\in\\a.file D:\\out\\");
        const test::LibraryCall call = log.Calls().back();
        EXPECT_EQ(call.outputFormat, output.code) << testing::PrintToString(output.filterText);
        EXPECT_EQ(call.output, L"D:\\out\\a" + std::wstring(output.extension));
    }
    EXPECT_EQ(log.Calls().size(), std::size(kOutputs));
}

}  // namespace
}  // namespace morvex
