// Outputs that meet a source or each other, in the real program.
#include "tests/end_to_end/host.h"
#include "tests/end_to_end/listed_files.h"
#include "win/profile.h"

namespace morvex {
namespace {

using test::HostPath;
using test::LibraryLog;
using test::ListedFiles;
using test::OnHost;
using test::OpenWindow;

// STEP to STEP into the folder of the sources, however it is spelled: both keep their bytes, both get a
// result.
TEST(Sources, KeepTheirBytesHoweverTheOutputFolderIsSpelled) {
    const std::vector<std::wstring> names = {L"{output}a.step", L"{output}a.stp"};
    const ListedFiles files(names);
    const LibraryLog log;
    const std::wstring in = files.Folder(), root = files.InProgram().Folder();
    const std::wstring settings = files.InProgram().UserFolder() + L"\\zel_morvex.ini";
    std::wstring slashes = in;
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    std::vector<std::wstring> spellings = {
        in, slashes, root + L"\\\\in", in + L"\\.", root + L"\\user\\..\\IN", L"\\\\?\\" + in, in + L". "};
    const std::wstring host = HostPath(in);
    const std::wstring link = root + L"\\link", hostLink = HostPath(root) + L"/link";
    if (!host.empty()) {
        spellings.push_back(L"Z:" + host);
        OnHost(L"ln", L"-sfn \"" + host + L"\" \"" + hostLink + L"\"", [&] { return FolderExists(link); });
        spellings.push_back(link);
    }
    files.List(names, L"STEP (*.stp)");
    for (const std::wstring& folder : spellings) {
        profile::WriteText(settings, L"General", L"SameFolderAsInput", L"0");
        profile::WriteText(settings, L"General", L"Output_folder", folder);
        const OpenWindow window(files.InProgram());
        ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 2 && !window.Converting(); }));
        ASSERT_TRUE(window.Convert());
        EXPECT_EQ(window.Statuses(), (std::vector<std::wstring>{L"OK", L"OK"}))
            << testing::PrintToString(folder);
        std::set<std::wstring> results = files.FilesBeside();
        EXPECT_EQ(results, (std::set<std::wstring>{in + L"\\{output}a (2).stp", in + L"\\{output}a (3).stp"}))
            << testing::PrintToString(folder);
        for (const std::wstring& result : results) DeleteFileW(result.c_str());
    }
    if (!host.empty()) OnHost(L"rm", L"-f \"" + hostLink + L"\"", [&] { return !PathExists(link); });
}

// Links among the outputs of earlier runs, by any drive letter: what they lead to keeps its bytes.
TEST(Sources, KeepTheirBytesThroughLinks) {
    const std::vector<std::wstring> names = {L"{output}a.step", L"{output}b.step", L"{output}c.step"};
    const ListedFiles files(names);
    const LibraryLog log;
    const std::wstring settings = files.InProgram().UserFolder() + L"\\zel_morvex.ini";
    const test::TempFolder made;
    std::vector<std::wstring> folders = {made.Path()};
    const std::wstring host = HostPath(L"C:\\");
    // Beside the folder that is the drive C:.
    if (!host.empty())
        folders.push_back(L"Z:" + host + L"/../links-" + std::to_wstring(GetCurrentProcessId()));
    for (const std::wstring& folder : folders) {
        std::filesystem::create_directories(folder);
        ASSERT_TRUE(
            CreateHardLinkW((folder + L"/{output}a.stl").c_str(), files.Input(names[1]).c_str(), nullptr));
        ASSERT_TRUE(
            CreateHardLinkW((folder + L"/{output}b.stl").c_str(), files.Input(names[1]).c_str(), nullptr));
        const std::wstring symbolic = folder + L"/{output}c.stl";
        if (!host.empty())
            OnHost(L"ln", L"-s \"" + HostPath(files.Input(names[0])) + L"\" \"" + HostPath(symbolic) + L"\"",
                   [&] { return PathExists(symbolic); });
        profile::WriteText(settings, L"General", L"SameFolderAsInput", L"0");
        profile::WriteText(settings, L"General", L"Output_folder", folder);
        {
            const OpenWindow window(files.InProgram());
            ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 3 && !window.Converting(); }));
            ASSERT_TRUE(window.Convert());
            EXPECT_EQ(window.Statuses(), std::vector<std::wstring>(3, L"OK"));
        }
        EXPECT_TRUE(files.FilesBeside().empty());
        for (const wchar_t* name : {L"a (2)", L"b (2)", L"c (2)"})
            EXPECT_EQ(test::ReadFileBytes(folder + L"/{output}" + name + L".stl"), "written");
        // Wine would remove what the link leads to.
        if (!host.empty())
            OnHost(L"rm", L"\"" + HostPath(symbolic) + L"\"", [&] { return !PathExists(symbolic); });
        std::filesystem::remove_all(folder);
    }
}

// The names of devices are no files: what is written there is lost.
TEST(Sources, NoResultGoesToADevice) {
    const std::vector<std::wstring> names = {L"{output}x.stp"};
    const ListedFiles files(names);
    const LibraryLog log(L"output");
    for (const wchar_t* name : {L"NUL", L"aux.part", L"PRN "}) {
        files.List({std::wstring(name) + L".stp"}, L"STL (*.stl)");
        const OpenWindow window(files.InProgram());
        ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 1 && !window.Converting(); }));
        ASSERT_TRUE(window.Convert());
        const std::wstring output = log.Calls().back().output;
        EXPECT_EQ(FileNameOf(output), L"_" + std::wstring(name) + L".stl");
        EXPECT_EQ(test::ReadFileBytes(output), "written") << testing::PrintToString(output);
        DeleteFileW(output.c_str());
    }
}

// Two windows that convert files of one name into one folder at once: both results exist.
TEST(Sources, TwoWindowsKeepBothResults) {
    const std::wstring slow = L"{output,sleep=4000}a.step", quick = L"{output}b.step";
    const ListedFiles files({slow, quick});
    const LibraryLog log;
    const OpenWindow first(files.InProgram()), second(files.InProgram());
    for (const OpenWindow* window : {&first, &second})
        ASSERT_TRUE(test::Eventually([&] { return window->Rows() == 2 && !window->Converting(); }));
    first.Begin();
    ASSERT_TRUE(test::Eventually([&] { return PathExists(files.Output(slow)); }));
    ASSERT_TRUE(second.Convert());
    ASSERT_TRUE(test::Eventually([&] { return !first.Converting(); }));
    EXPECT_EQ(first.Statuses(), (std::vector<std::wstring>{L"OK", L"OK"}));
    EXPECT_EQ(second.Statuses(), (std::vector<std::wstring>{L"OK", L"OK"}));
    EXPECT_EQ(files.FilesBeside().size(), 4u);
}

}  // namespace
}  // namespace morvex
