// The formats in the profiles of the shipped settings file, which the engine is to convert.
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "engine/common/formats.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"

namespace morvex::test {
namespace {

// The formats of every profile, from lines such as "ZEL_OUTPUT_FORMAT=STEP,IGES".
std::vector<std::wstring> Offered(const std::string& key) {
    std::vector<std::wstring> names;
    std::ifstream file(SHIPPED_SETTINGS);
    for (std::string line, name; std::getline(file, line);) {
        if (!line.starts_with(key + "=")) continue;
        std::istringstream list(line.substr(key.size() + 1));
        while (std::getline(list, name, ',')) names.emplace_back(name.begin(), name.end());
    }
    return names;
}

TEST(OfferedFormats, AreReadByTheEngineUnderTheirNumbers) {
    const auto names = Offered("ZEL_INPUT_FORMAT");
    EXPECT_FALSE(names.empty());
    for (const std::wstring& name : names) {
        const int number = InputFilterTextToFormatCode(InputDisplayNameToFilterText(name));
        EXPECT_NE(number, kAnyFormatCode) << testing::PrintToString(name);
        EXPECT_NE(FindInputFormat(number, ""), nullptr) << testing::PrintToString(name);
    }
}

TEST(OfferedFormats, AreWrittenByTheEngineUnderTheirNumbersAndExtensions) {
    const auto names = Offered("ZEL_OUTPUT_FORMAT");
    EXPECT_FALSE(names.empty());
    for (const std::wstring& name : names) {
        const std::wstring filterText = OutputDisplayNameToFilterText(name);
        const std::filesystem::path extension(OutputFilterTextToExtension(filterText));
        const Format* const format =
            FindOutputFormat(OutputFilterTextToFormatCode(filterText), "part" + extension.string());
        ASSERT_NE(format, nullptr) << testing::PrintToString(name);
        EXPECT_TRUE(std::ranges::count(format->suffixes, extension.string())) << testing::PrintToString(name);
    }
}

}  // namespace
}  // namespace morvex::test
