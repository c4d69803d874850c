// Inputs and outputs that cannot be read or written, in the real program with the real engine.
#include "tests/end_to_end/host.h"
#include "tests/end_to_end/listed_files.h"
#include "win/profile.h"

namespace morvex {
namespace {

using test::EngineBehind;
using test::LibraryLog;
using test::ListedFiles;
using test::OpenWindow;

const std::wstring kPart = L"Z:\\usr\\share\\opencascade\\data\\step\\screw.step";

// Nobody else may do anything with the file until the handle goes.
UniqueHandle Locked(const std::wstring& path) {
    UniqueHandle file =
        OwnFile(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(file);
    return file;
}

void WaitForRows(const OpenWindow& window, size_t rows) {
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == rows && !window.Converting(); }));
}

class Places : public testing::TestWithParam<const wchar_t*> {
  protected:
    void SetUp() override {
        if (!engine_.Found()) GTEST_SKIP() << "MORVEX_PROGRAM_FOLDER names no program folder with an engine";
    }
    const EngineBehind engine_;
    const LibraryLog log_;
};
INSTANTIATE_TEST_SUITE_P(Runs, Places, testing::Values(L"", L"Multiprocess=1\n"), [](const auto& mode) {
    return std::string(*mode.param ? "InChildren" : "InProcess");
});

// What happens to files between their listing and their turn.
TEST_P(Places, FilesThatAreTakenAwayFailWithAReason) {
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"deleted.step", L"No File"},
        {L"locked.step", L"Cannot open Input File"},
        {L"replaced.step", L"Unknown File Type"},
        {L"to a folder.step", L"Cannot write Output File"},
        {L"to a locked one.step", L"Cannot write Output File"},
        {L"to a read-only one.step", L"Cannot write Output File"},
        {L"good.step", L"OK"},
    };
    std::map<std::wstring, std::string> bytes;
    std::vector<std::wstring> names, statuses;
    for (const auto& [name, status] : rows) {
        names.emplace_back(name);
        statuses.emplace_back(status);
        bytes[name] = test::ReadFileBytes(kPart);
    }
    ListedFiles files(bytes, GetParam(), names);
    const std::wstring locked = files.Output(names[4]), readOnly = files.Output(names[5]);
    const OpenWindow window(files.InProgram());
    WaitForRows(window, names.size());
    DeleteFileW(files.Input(names[0]).c_str());
    test::WriteFileBytes(files.Input(names[2]), std::string(4096, '\xA7'));
    CreateDirectoryW(files.Output(names[3]).c_str(), nullptr);
    for (const std::wstring& old : {locked, readOnly}) test::WriteFileBytes(old, "old");
    SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
    files.Forget(names[0]);
    files.Forget(names[2]);
    {
        const UniqueHandle input = Locked(files.Input(names[1])), output = Locked(locked);
        ASSERT_TRUE(window.Convert());
    }
    EXPECT_EQ(window.Statuses(), statuses);
    EXPECT_EQ(test::ReadFileBytes(locked) + test::ReadFileBytes(readOnly), "oldold");
    std::set<std::wstring> expected = {files.Input(names[2]),
                                       files.Output(names[3]),
                                       locked,
                                       readOnly,
                                       files.Output(names[6]),
                                       files.Output(names[6]) + L"-zel.xml"};
    for (const size_t row : {1u, 2u, 3u, 4u, 5u}) expected.insert(files.Output(names[row]) + L"-zel.xml");
    EXPECT_EQ(files.FilesBeside(), expected);
}

// Old results stay, nothing else is left: no half file, no temporary folder.
TEST_P(Places, FoldersThatTakeNoFileAreSaidInTheRow) {
    const test::TempFolder folder;
    const test::HostDisk full(folder / L"full", L"size=64k"), readOnly(folder / L"read-only", L"size=64k");
    if (!full.Mounted()) GTEST_SKIP() << "Only the host's administrator can make a small disk";
    const std::wstring old[] = {full.Path() + L"\\part.stl", readOnly.Path() + L"\\part.stl"};
    for (const std::wstring& path : old) test::WriteFileBytes(path, "old");
    readOnly.MakeReadOnly();
    const ListedFiles files({{L"part.step", test::ReadFileBytes(kPart)}}, GetParam(), {L"part.step"});
    const std::wstring settings = files.InProgram().UserFolder() + L"\\zel_morvex.ini";
    for (const std::wstring& out : {folder / L"missing", readOnly.Path(), full.Path()}) {
        profile::WriteText(settings, L"General", L"SameFolderAsInput", L"0");
        profile::WriteText(settings, L"General", L"Output_folder", out);
        const OpenWindow window(files.InProgram());
        WaitForRows(window, 1);
        ASSERT_TRUE(window.Convert());
        EXPECT_EQ(window.Statuses(), std::vector<std::wstring>{L"Cannot write Output File"})
            << testing::PrintToString(out);
    }
    for (const std::wstring& path : old) {
        EXPECT_EQ(test::ReadFileBytes(path), "old");
        for (const auto& entry : std::filesystem::directory_iterator(FolderOf(path))) {
            const std::wstring name = entry.path().filename().wstring();
            EXPECT_TRUE(name == L"part.stl" || name == L"part.stl-zel.xml") << testing::PrintToString(name);
        }
    }
    EXPECT_TRUE(files.FilesBeside().empty());
}

// Where the disk with the user's files is full, these stay as they were.
TEST(Settings, OutliveAFullDisk) {
    const ListedFiles files({L"a.stp", L"b.stp"});
    const LibraryLog log(L"output");
    const std::wstring user = files.InProgram().UserFolder();
    std::map<std::wstring, std::string> before;
    {
        const OpenWindow first(files.InProgram());  // makes what is missing
        WaitForRows(first, 2);
        ASSERT_TRUE(first.Convert());
    }
    for (const auto& entry : std::filesystem::directory_iterator(user))
        before[entry.path().wstring()] = test::ReadFileBytes(entry.path().wstring());
    const test::HostDisk disk(user, L"size=64k");
    if (!disk.Mounted()) GTEST_SKIP() << "Only the host's administrator can make a small disk";
    for (const auto& [path, bytes] : before) test::WriteFileBytes(path, bytes);
    disk.Fill();
    files.List({L"b.stp"}, L"STL (*.stl)");
    const OpenWindow window(files.InProgram());
    WaitForRows(window, 2);
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), (std::vector<std::wstring>{L"OK", L"OK"}));
    PostMessageW(window.Handle(), WM_CLOSE, 0, 0);
    EXPECT_EQ(WaitForSingleObject(window.Process(), 20000), WAIT_OBJECT_0);
    for (const auto& [path, bytes] : before)
        EXPECT_EQ(test::ReadFileBytes(path), bytes) << testing::PrintToString(path);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(user), {}),
              static_cast<std::ptrdiff_t>(before.size()) + 1);  // what fills it
}

// The disk becomes full in the middle of a change: it is made as a whole or not at all, and nothing is left.
TEST(Settings, AreNeverCutByADiskThatFillsUp) {
    const test::TempFolder folder;
    const test::HostDisk disk(folder / L"small", L"size=128k");
    if (!disk.Mounted()) GTEST_SKIP() << "Only the host's administrator can make a small disk";
    const std::wstring settings = disk.Path() + L"\\settings.ini", list = disk.Path() + L"\\list.ini";
    const std::wstring longText(900, L'x');
    const auto files = [&] { return std::distance(std::filesystem::directory_iterator(disk.Path()), {}); };
    ASSERT_TRUE(WriteTextFile(list, L"a short list"));
    const std::string oldList = test::ReadFileBytes(list);
    ASSERT_TRUE(WriteTextFile(settings, L"[General]\nLast=" + longText + L"\n"));
    for (int pages = 0; pages < 8; ++pages) {
        SCOPED_TRACE(pages);
        const std::string before = test::ReadFileBytes(settings);
        const std::wstring filler = disk.Fill(pages * 4096), value(4000, static_cast<wchar_t>(L'a' + pages));
        if (profile::WriteText(settings, L"General", L"New", value)) {
            EXPECT_EQ(profile::ReadText(settings, L"General", L"New", L"", 8000), value);
            EXPECT_EQ(profile::ReadText(settings, L"General", L"Last", L"", 8000), longText);
        } else {
            EXPECT_EQ(test::ReadFileBytes(settings), before);
        }
        const std::wstring created = disk.Path() + L"\\first.ini";
        const profile::Entry entry = {L"General", L"New", value.c_str()};
        if (profile::Create(created, {&entry, 1})) {
            EXPECT_EQ(profile::ReadText(created, L"General", L"New", L"", 8000), value);
            DeleteFileW(created.c_str());
        }
        if (pages < 3) {
            EXPECT_FALSE(WriteTextFile(list, std::wstring(8000, L'y')));
            EXPECT_EQ(test::ReadFileBytes(list), oldList);
        }
        EXPECT_EQ(files(), 3);
        DeleteFileW(filler.c_str());
    }
    EXPECT_TRUE(profile::WriteText(settings, L"General", L"New", L"there is room again"));
}

}  // namespace
}  // namespace morvex
