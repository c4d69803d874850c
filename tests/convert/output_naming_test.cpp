#include "convert/output_naming.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

#include "convert/output_plan.h"
#include "tests/support/temp_folder.h"

namespace morvex {
namespace {

ConversionRequest To(const std::wstring& extension, int inputCode = 4, int outputCode = 22) {
    ConversionRequest request;
    request.formats = {L"", L"", inputCode, outputCode, extension};
    return request;
}

ConversionRequest Into(ConversionRequest request, const std::wstring& folder = L"D:\\out") {
    request.outputFolder = folder;
    return request;
}

TEST(OutputNaming, FollowsTheRules) {
    ConversionRequest pathInName = Into(To(L".stl"));
    pathInName.inputPathInName = true;
    const struct {
        SourceFile source;
        ConversionRequest request;
        std::wstring expected;
    } cases[] = {
        {{L"C:\\in", L"part.stp"}, To(L".stl"), L"C:\\in\\part.stl"},
        {{L"C:\\in", L"part.stp"}, Into(To(L".stl")), L"D:\\out\\part.stl"},
        {{L"C:\\in", L"part.stp"}, Into(To(L".stl"), L"C:\\"), L"C:\\part.stl"},
        {{L"C:\\", L"part.stp"}, To(L".stl"), L"C:\\part.stl"},
        {{L"C:\\in", L"two.dots.stp"}, To(L".stl"), L"C:\\in\\two.dots.stl"},
        {{L"C:\\in.d", L"nodot"}, To(L".stl"), L"C:\\in.d\\nodot.stl"},
        {{L"C:\\in", L".stp"}, To(L".stl"), L"C:\\in\\.stl"},
        // Never onto the input: the same extension in any case, or the same format.
        {{L"C:\\in", L"a.STP"}, To(L".stp", 4, 4), L"C:\\in\\a-zel.stp"},
        {{L"C:\\in", L"a.step"}, To(L".stp", 4, 4), L"C:\\in\\a-zel.stp"},
        {{L"C:\\in", L"a.stl"}, To(L".stl", 1, 22), L"C:\\in\\a-zel.stl"},
        {{L"C:\\in", L"a.step"}, Into(To(L".stp", 4, 4)), L"D:\\out\\a.stp"},
        // A Creo version number goes with the extension.
        {{L"C:\\in", L"gear.prt.3"}, To(L".stp", 12, 4), L"C:\\in\\gear.stp"},
        {{L"C:\\in", L"top.asm.3"}, To(L".stp", 12, 4), L"C:\\in\\top.asm.stp"},
        {{L"C:\\in", L"gear.prt.3"}, To(L".stp", 17, 4), L"C:\\in\\gear.prt.stp"},
        // Cadds parts are named by their folder.
        {{L"C:\\in\\flange", L"_pd"}, To(L".stp", 7, 4), L"C:\\in\\flange\\flange.stp"},
        {{L"C:\\", L"_pd"}, To(L".stp", 7, 4), L"C:\\C_.stp"},
        {{L"C:\\in\\flange", L"_db"}, Into(To(L".stp", 7, 4)), L"D:\\out\\flange.stp"},
        {{L"C:\\in\\a b", L"part.stp"}, pathInName, L"D:\\out\\C__in_a b_part.stl"},
        {{L"C:\\in", L"part.stp"}, To(L""), L"C:\\in\\part"},
        // Devices take what is written to their names.
        {{L"C:\\in", L"nul.stp"}, To(L".stl"), L"C:\\in\\_nul.stl"},
        {{L"C:\\in", L"Com1 .part.stp"}, To(L".stl"), L"C:\\in\\_Com1 .part.stl"},
        {{L"C:\\in", L"CONE.stp"}, To(L".stl"), L"C:\\in\\CONE.stl"},
        {{L"C:\\in", L"COM10.stp"}, To(L".stl"), L"C:\\in\\COM10.stl"},
        {{L"C:\\in", L"\u90E8\u54C1 \U0001F600.stp"}, To(L".stl"), L"C:\\in\\\u90E8\u54C1 \U0001F600.stl"},
    };
    for (const auto& c : cases) EXPECT_EQ(NameOutput(c.source, c.request).Path(), c.expected);
}

TEST(OutputNaming, PrefixesPathsOfMoreThan259Characters) {
    const auto withLength = [](size_t length) {
        const std::wstring frame = L"C:\\.stl";
        return NameOutput({L"C:\\", std::wstring(length - frame.size(), L'x') + L".stp"}, To(L".stl")).Path();
    };
    EXPECT_EQ(withLength(259).size(), 259u);
    EXPECT_EQ(withLength(260).substr(0, 8), L"\\\\?\\C:\\x");
    EXPECT_EQ(withLength(260).size(), 264u);
    const std::wstring share =
        NameOutput({L"\\\\server\\share", std::wstring(300, L'x') + L".stp"}, To(L".stl")).Path();
    EXPECT_TRUE(share.starts_with(L"\\\\?\\UNC\\server\\share\\x"));
    const std::wstring prefixed =
        NameOutput({L"\\\\?\\C:\\in", std::wstring(300, L'x') + L".stp"}, To(L".stl")).Path();
    EXPECT_TRUE(prefixed.starts_with(L"\\\\?\\C:\\in\\x"));
    const std::wstring slashes =
        NameOutput({L"C:/in/sub", std::wstring(300, L'x') + L".stp"}, To(L".stl")).Path();
    EXPECT_TRUE(slashes.starts_with(L"\\\\?\\C:\\in\\sub\\x"));
}

TEST(OutputNaming, KeepsOutputsOfOneRunApart) {
    const auto plan = [](const std::vector<SourceFile>& sources, const ConversionRequest& request) {
        const OutputPlan planned(sources, request);
        std::vector<std::wstring> paths;
        for (size_t row = 0; row < sources.size(); ++row) paths.push_back(planned.Path(row));
        return paths;
    };
    using Paths = std::vector<std::wstring>;
    EXPECT_EQ(plan({{L"C:\\1", L"a.stp"}, {L"C:\\2", L"A.stp"}, {L"C:\\3", L"a.step"}}, Into(To(L".stl"))),
              (Paths{L"D:\\out\\a.stl", L"D:\\out\\A (2).stl", L"D:\\out\\a (3).stl"}));
    // A number that another file carries already is passed over, for the later one of the two.
    EXPECT_EQ(plan({{L"C:\\1", L"a.stp"}, {L"C:\\1", L"a (2).stp"}, {L"C:\\2", L"a.stp"}}, Into(To(L".stl"))),
              (Paths{L"D:\\out\\a.stl", L"D:\\out\\a (2).stl", L"D:\\out\\a (3).stl"}));
    // The output folder is the input's own: the input keeps its bytes.
    EXPECT_EQ(plan({{L"D:\\OUT", L"a.stp"}}, Into(To(L".stp", 4, 4))), (Paths{L"D:\\out\\a (2).stp"}));
    // Another row's input is not written either.
    EXPECT_EQ(plan({{L"C:\\in", L"a.stp"}, {L"C:\\in", L"a.igs"}}, To(L".igs", 1, 6)),
              (Paths{L"C:\\in\\a (2).igs", L"C:\\in\\a-zel.igs"}));
    // One letter in two spellings is one name to some file systems.
    EXPECT_EQ(plan({{L"C:\\1", L"\u00E9.stp"}, {L"C:\\2", L"E\u0301.stp"}}, Into(To(L".stl"))),
              (Paths{L"D:\\out\\\u00E9.stl", L"D:\\out\\E\u0301 (2).stl"}));
    // The same row twice is converted twice.
    EXPECT_EQ(plan({{L"C:\\in", L"a.stp"}, {L"C:\\in", L"a.stp"}}, To(L".igs", 1, 6)),
              (Paths{L"C:\\in\\a.igs", L"C:\\in\\a (2).igs"}));
}

// The same folder by another drive letter, where the system has one for it (Wine's Z: is the host's root).
std::wstring OnOtherDrive(const std::wstring& folder) {
    using HostPath = char* (*)(const wchar_t*);
    const auto hostPath = reinterpret_cast<HostPath>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
    if (!hostPath) return folder;
    const std::string path = hostPath(folder.c_str());
    return L"Z:" + std::wstring(path.begin(), path.end());
}

// However the folder is spelled, and whatever a file is linked to.
TEST(OutputNaming, ComparesFilesAndNotTexts) {
    const test::TempFolder folder;
    const std::wstring in = folder / L"in", out = folder / L"out";
    CreateDirectoryW(in.c_str(), nullptr);
    CreateDirectoryW(out.c_str(), nullptr);
    for (const wchar_t* name : {L"a.step", L"a.stp"}) test::WriteFileBytes(in + L"\\" + name, "precious");
    std::wstring slashes = in;
    std::ranges::replace(slashes, L'\\', L'/');
    for (const std::wstring& spelled : {in, OnOtherDrive(in), slashes, in + L"\\", in + L"\\.",
                                        folder / L"out\\..\\IN", folder / L"\\in"}) {
        const OutputPlan plan({{in, L"a.step"}, {in, L"a.stp"}}, Into(To(L".stp", 4, 4), spelled));
        EXPECT_EQ(FileNameOf(plan.Path(0)), L"a (2).stp") << testing::PrintToString(spelled);
        EXPECT_EQ(FileNameOf(plan.Path(1)), L"a (3).stp");
    }
    // The short name of a source among the rows, its long one that of another row's output.
    test::WriteFileBytes(in + L"\\a long name.stp", "precious");
    wchar_t brief[MAX_PATH];
    ASSERT_GT(GetShortPathNameW((in + L"\\a long name.stp").c_str(), brief, MAX_PATH), 0u);
    ASSERT_NE(FileNameOf(brief), L"a long name.stp");
    const OutputPlan briefly({{in, std::wstring(FileNameOf(brief))}, {in, L"a long name.step"}},
                             Into(To(L".stp", 4, 4), std::wstring(FolderOf(brief))));
    EXPECT_EQ(FileNameOf(briefly.Path(1)), L"a long name (2).stp");

    // An output that is a link to a row's input, and one that is a link to another output.
    ASSERT_TRUE(CreateHardLinkW((out + L"\\a.stl").c_str(), (in + L"\\a.stp").c_str(), nullptr));
    test::WriteFileBytes(out + L"\\b.stl", "old");
    ASSERT_TRUE(CreateHardLinkW((out + L"\\c.stl").c_str(), (out + L"\\b.stl").c_str(), nullptr));
    const OutputPlan plan({{in, L"a.stp"}, {in, L"b.stp"}, {in, L"c.stp"}}, Into(To(L".stl"), out));
    EXPECT_EQ(plan.Path(0), out + L"\\a (2).stl");
    EXPECT_EQ(plan.Path(1), out + L"\\b.stl");
    EXPECT_EQ(plan.Path(2), out + L"\\c (2).stl");
}

TEST(OutputNaming, LeavesFilesAloneThatAreToBeKept) {
    const OutputPlan plan({{L"C:\\in", L"a.step"}}, Into(To(L".stl")),
                          {L"C:\\in\\a.stp", L"D:\\OUT\\A.stl", L"D:\\out\\a (2).stl"});
    EXPECT_EQ(plan.Path(0), L"D:\\out\\a (3).stl");

    // By another of its names: the first output is a link to such a file.
    const test::TempFolder folder;
    test::WriteFileBytes(folder / L"source of another row.igs", "precious");
    ASSERT_TRUE(CreateHardLinkW((folder / L"b.stl").c_str(), (folder / L"source of another row.igs").c_str(),
                                nullptr));
    const OutputPlan linked({{L"C:\\in", L"b.stp"}}, Into(To(L".stl"), folder.Path()),
                            {folder / L"source of another row.igs"});
    EXPECT_EQ(linked.Path(0), folder / L"b (2).stl");
}

TEST(OutputNaming, GivesANameToOneRunAtATime) {
    const std::vector<SourceFile> sources = {{L"C:\\in", L"a.stp"}, {L"C:\\in", L"b.stp"}};
    auto first = std::make_unique<OutputPlan>(sources, Into(To(L".stl")));
    OutputPlan second({sources[0]}, Into(To(L".stl"), L"D:\\x\\..\\out"));
    EXPECT_EQ(first->Claim(0), L"D:\\out\\a.stl");
    EXPECT_EQ(second.Claim(0), L"D:\\x\\..\\out\\a (2).stl");
    first.reset();
    EXPECT_EQ(OutputPlan(sources, Into(To(L".stl"))).Claim(0), L"D:\\out\\a.stl");

    // What was there when the run was planned is replaced, what somebody has put there since is not.
    const test::TempFolder folder;
    test::WriteFileBytes(folder / L"a.stl", "old");
    OutputPlan late(sources, Into(To(L".stl"), folder.Path()));
    test::WriteFileBytes(folder / L"b.stl", "of another run");
    EXPECT_EQ(late.Claim(0), folder / L"a.stl");
    EXPECT_EQ(late.Claim(1), folder / L"b (2).stl");
}

}  // namespace
}  // namespace morvex
