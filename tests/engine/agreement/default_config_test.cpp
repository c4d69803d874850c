// The configuration file that the program writes on first use, read by the engine.
#include "core/default_config.h"

#include <gtest/gtest.h>
#include <set>

#include "engine/common/settings.h"

namespace morvex::test {
namespace {

std::string Narrow(std::wstring_view text) {
    std::string narrow;
    for (const wchar_t letter : text) narrow += static_cast<char>(letter);
    return narrow;
}

// Keys that only the engine knows; no dialog of the program shows them.
const std::set<std::string> kOwnKeys{"TRANSFORMATION ENTITES/SEW", "FILE CONF/PREVIEW",
                                     "FILE CONF/KEEP_PARTIAL", "FILE CONF/VERIFY"};

TEST(DefaultConfig, GivesTheDefaultsOfTheEngine) {
    std::string text;
    for (const auto& [section, key, value] : kConfigDefaults) {
        text += "[" + Narrow(section) + "]\n" + Narrow(key) + "=" + Narrow(value) + "\n";
    }
    const IniFile file = IniFile::Parse(text);
    std::vector<std::string> complaints;
    EXPECT_EQ(ReadSettings(file, complaints), Settings());
    EXPECT_TRUE(complaints.empty()) << complaints.front();
    for (const auto& [section, key] : SettingNames()) {
        const std::string name = section + "/" + key;
        EXPECT_NE(file.Value(section, key).has_value(), kOwnKeys.contains(name)) << name;
    }
}

}  // namespace
}  // namespace morvex::test
