// Outputs that meet a source or each other, in the real program.
#include <functional>

#include "tests/end_to_end/listed_files.h"
#include "win/profile.h"

namespace morvex {
namespace {

using test::LibraryLog;
using test::ListedFiles;
using test::OpenWindow;

// The host's name of a path, where the program runs on Wine; nothing on Windows.
std::string HostPath(const std::wstring& path) {
    using Function = char* (*)(const wchar_t*);
    const auto hostPath = reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
    return hostPath ? hostPath(path.c_str()) : "";
}

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

// Runs a program of the host's, since Wine has no calls for links, until it has done what is wanted of it.
void OnHost(const std::wstring& program, const std::wstring& arguments, const std::function<bool()>& done) {
    std::wstring line = program + L" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    CreateProcessW((L"Z:\\bin\\" + program).c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                   nullptr, &startup, &created);
    EXPECT_TRUE(test::Eventually(done)) << testing::PrintToString(line);
}

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
    const std::string host = HostPath(in);
    const std::wstring link = root + L"\\link", hostLink = Wide(HostPath(root)) + L"/link";
    if (!host.empty()) {
        spellings.push_back(L"Z:" + Wide(host));
        OnHost(L"ln", L"-sfn \"" + Wide(host) + L"\" \"" + hostLink + L"\"",
               [&] { return FolderExists(link); });
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
