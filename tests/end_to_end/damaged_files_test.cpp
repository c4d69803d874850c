// The program's own files, damaged in every way: it starts, it converts, and what it cannot save it leaves
// alone.
#include <functional>

#include "tests/end_to_end/listed_files.h"

namespace morvex {
namespace {

using test::LibraryLog;
using test::ListedFiles;
using test::OpenWindow;
using test::Program;

std::string Ascii(const std::string& utf16) {
    std::string text;
    for (size_t i = 2; i + 1 < utf16.size(); i += 2) text += utf16[i];
    return text;
}

std::string Times(size_t count, const std::string& text) {
    std::string all;
    for (size_t i = 0; i < count; ++i) all += text;
    return all;
}

const struct {
    const char* name;
    std::function<std::string(const std::string&)> of;  // from the good file's bytes, UTF-16LE with its mark
    bool sameList;                                      // the text, and so the list, is the good one
} kDamages[] = {
    {"empty", [](const std::string&) { return ""; }, false},
    {"cut", [](const std::string& good) { return good.substr(0, good.size() / 2 | 1); }, false},
    {"ANSI", [](const std::string& good) { return Ascii(good) + "\xE9\r\n"; }, false},
    {"UTF-8", [](const std::string& good) { return Ascii(good); }, true},
    {"UTF-8 with a mark", [](const std::string& good) { return "\xEF\xBB\xBF" + Ascii(good); }, true},
    {"UTF-16 without its mark", [](const std::string& good) { return good.substr(2); }, true},
    {"one line", [](const std::string&) { return Times(1 << 20, "line"); }, false},
    {"many lines",
     [](const std::string& good) { return good + Times(100000, std::string("x\0\r\0\n\0", 6)); }, false},
    {"zeros", [](const std::string& good) { return std::string(good.size(), '\0'); }, false},
};

// A start by hand whose formats are given, and a window, on files that are damaged one at a time and all at
// once.
TEST(DamagedFiles, AreSurvived) {
    for (const auto& damage : kDamages) {
        SCOPED_TRACE(damage.name);
        const std::vector<std::wstring> names = {L"a.stp", L"b.stp"};
        const ListedFiles files(names);
        const LibraryLog log(L"output");
        const std::wstring user = files.InProgram().UserFolder() + L"\\";
        const auto convert = [&] {
            Program::Formats(L"STEP", L"STL");
            const test::ProgramRun run = files.InProgram().Run(L"\"" + files.Input(names[0]) + L"\"");
            Program::Formats(nullptr, nullptr);
            return run.exitCode == 0 && !log.Calls().empty() && log.Calls().back().inputFormat == 4 &&
                   log.Calls().back().outputFormat == 22;
        };
        ASSERT_TRUE(convert());  // makes the files that were missing
        WriteTextFile(user + L"zel_recent_files.ini", L"C:\\one.lst\nC:\\two.lst\n");
        for (const std::wstring& path :
             {files.InProgram().Settings(), user + L"zel_morvex.ini", user + L"p.zel"}) {
            const std::string good = test::ReadFileBytes(path);
            ASSERT_FALSE(good.empty()) << testing::PrintToString(path);
            test::WriteFileBytes(path, damage.of(good));
            EXPECT_TRUE(convert()) << testing::PrintToString(path);
            test::WriteFileBytes(path, good);
        }
        for (const wchar_t* name :
             {L"zel_morvex.ini", L"p.zel", L"zel_last_state.ini", L"zel_recent_files.ini"})
            test::WriteFileBytes(user + name, damage.of(test::ReadFileBytes(user + name)));
        const OpenWindow window(files.InProgram());
        ASSERT_TRUE(window.Handle());
        if (damage.sameList) {
            EXPECT_TRUE(test::Eventually([&] { return window.Rows() == names.size(); })) << window.Rows();
        }
        EXPECT_EQ(WaitForSingleObject(window.Process(), 300), DWORD{WAIT_TIMEOUT});
        files.FilesBeside();
    }
}

// What cannot be saved stays as it was, and nothing is left beside it.
TEST(DamagedFiles, ReadOnlyFilesStay) {
    const ListedFiles files({L"a.stp", L"b.stp"});
    const LibraryLog log(L"output");
    const std::wstring user = files.InProgram().UserFolder();
    {
        const OpenWindow first(files.InProgram());  // makes what is missing
        ASSERT_TRUE(test::Eventually([&] { return first.Rows() == 2 && !first.Converting(); }));
    }
    std::map<std::wstring, std::string> before;
    for (const auto& entry : std::filesystem::directory_iterator(user)) {
        const std::wstring path = entry.path().wstring();
        before[path] = test::ReadFileBytes(path);
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    }
    ASSERT_GE(before.size(), 2u);
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 2 && !window.Converting(); }));
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), (std::vector<std::wstring>{L"OK", L"OK"}));
    PostMessageW(window.Handle(), WM_CLOSE, 0, 0);
    EXPECT_EQ(WaitForSingleObject(window.Process(), 20000), WAIT_OBJECT_0);
    for (const auto& [path, bytes] : before)
        EXPECT_EQ(test::ReadFileBytes(path), bytes) << testing::PrintToString(path);
    for (const auto& entry : std::filesystem::directory_iterator(user))
        EXPECT_NE(entry.path().extension(), ".tmp");
}

}  // namespace
}  // namespace morvex
