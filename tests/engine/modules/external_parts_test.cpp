// Parts that stand in files of their own, and what such a reference may not reach.
#include <filesystem>
#include <gtest/gtest.h>

#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

TEST(External, PartsInFilesOfTheirOwn) {
    const ScratchFolder folder;
    WriteAssembly(folder / "asm.step", true);
    std::string part;
    for (const std::string& name : folder.Names()) part = name.starts_with("part_") ? name : part;
    ASSERT_FALSE(part.empty());
    const auto convert = [&] { return RunWorker({folder / "asm.step", folder / "out.stl"}); };
    ASSERT_EQ(convert().code, 0);
    const std::string report = folder / "out.stl-zel.xml", whole = ReadWhole(folder / part);
    EXPECT_NE(ReadWhole(report).find("instances=\"4\" solids=\"4\" faces=\"18\""), std::string::npos)
        << ReadWhole(report);
    WriteWhole(folder / part, whole.substr(0, whole.size() / 2));
    EXPECT_EQ(convert().code, 5) << "a damaged part";
    WriteWhole(folder / part, Replaced(whole, "ADVANCED_FACE", "ADVANCED_FACF"));
    EXPECT_EQ(convert().code, 5) << "a part with a face less";
    std::filesystem::remove(folder / part);
    EXPECT_EQ(convert().code, 5) << "a part that is not there";
    EXPECT_NE(ReadWhole(report).find("external file"), std::string::npos);
}

// However the name is written, and wherever the library looks for it.
TEST(External, PartsOutsideAreNotRead) {
    const ScratchFolder folder, other;
    WriteAssembly(folder / "asm.step", true);
    std::string part;
    for (const std::string& name : folder.Names()) part = name.starts_with("part_") ? name : part;
    ASSERT_FALSE(part.empty());
    const std::string whole = ReadWhole(folder / part), assembly = ReadWhole(folder / "asm.step");
    WriteWhole(other / "other.step", whole);
    WriteWhole(other / "other", whole);
    std::filesystem::create_symlink(other.Path() / "other", folder / "link");
    const auto refused = [&] {
        EXPECT_EQ(RunWorker({"--keep-partial", folder / "in.step", folder / "out.stl"}).code, 5);
        const std::string report = ReadWhole(folder / "out.stl-zel.xml");
        EXPECT_NE(report.find("lies outside its folder"), std::string::npos) << report;
    };
    const std::string above = "../" + other.Path().filename().string() + "/";
    std::vector<std::string> names{above + "other.step",
                                   above + "other",
                                   other / "other.step",
                                   "link",
                                   "\\X\\2E./" + above.substr(3) + "other",
                                   R"(\\\\nowhere\\share\\x.stp)"};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        std::string text = assembly;
        while (text.find("'" + part + "'") != std::string::npos)
            text = Replaced(text, "'" + part + "'", "'" + name + "'");
        WriteWhole(folder / "in.step", text);
        refused();
    }
    // In a part, which the library parses by itself.
    WriteWhole(folder / "in.step", assembly);
    for (const std::string& name : names) {
        SCOPED_TRACE("a part of a part, " + name);
        WriteWhole(folder / part,
                   Replaced(whole, "ENDSEC;\nEND-ISO",
                            "#99001=DOCUMENT_FILE('','" + name +
                                "','',#99002,'',$);\n#99002=DOCUMENT_TYPE('');\nENDSEC;\nEND-ISO"));
        refused();
    }
}

}  // namespace
}  // namespace morvex::test
