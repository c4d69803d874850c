#include "list/list_files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "list/html_report.h"
#include "list/recent_files.h"
#include "tests/support/temp_folder.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kStep = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";

const ChosenFormats kStepToStl = {kStep, L"STL (*.stl)"};

ConversionPairs StepToStlOnly() {
    ConversionPairs pairs;
    pairs.RegisterConversionPair(L"STEP", L"STL", L"");
    return pairs;
}

ConversionList ListOf(const std::vector<std::wstring>& paths) {
    ConversionList list;
    for (const std::wstring& path : paths) list.AppendPickedFile(path);
    return list;
}

std::string Utf8(const std::u8string& text) {
    return {text.begin(), text.end()};
}

TEST(ListFiles, ListFileByteForByteAndBack) {
    const test::TempFolder folder;
    const std::wstring file = folder / L"list.csv";
    const std::vector<std::wstring> paths = {L"C:\\b\\ü部.stp", L"C:\\a;b.stp", L"\\\\s\\t\\\xD83D\xDE00.stp",
                                             L"C:\\lone\xD800.stp"};
    ASSERT_TRUE(SaveListFile(file, ListOf(paths), kStepToStl));
    std::wstring expected = std::wstring(L"morvex_list\r\n") + kStep + L"\r\nSTL (*.stl)\r\n";
    for (const std::wstring& path : paths) expected += path + L"\r\n";
    EXPECT_EQ(test::ReadFileBytes(file), test::Utf16Bytes(expected));

    const ListFile back = ReadListFile(file, StepToStlOnly(), false);
    EXPECT_EQ(back.kind, ListFileKind::List);
    EXPECT_EQ(back.formats.input, kStep);
    EXPECT_EQ(back.formats.output, L"STL (*.stl)");
    EXPECT_EQ(back.paths, paths);
}

TEST(ListFiles, ReadsWhatEditorsMakeOfAListFile) {
    const test::TempFolder folder;
    const std::wstring file = folder / L"list.csv";
    const std::string head =
        "morvex_list\nSTEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)\nSTL (*.stl)\n";
    const std::string body = head + Utf8(u8"C:\\ü.stp\n\nC:\\b.stp \nC:\\ü.stp\nC:\\B.stp");
    std::string windows = body;
    for (size_t at = 0; (at = windows.find('\n', at)) != windows.npos; at += 2) windows.insert(at, 1, '\r');
    std::wstring wide =
        L"morvex_list\n" + std::wstring(kStep) + L"\nSTL (*.stl)\nC:\\ü.stp\nC:\\b.stp\nC:\\B.stp\n";
    std::string utf16 = test::Utf16Bytes(wide);
    std::string big = utf16;
    for (size_t i = 0; i < big.size(); i += 2) std::swap(big[i], big[i + 1]);
    for (const std::string& bytes :
         {body, windows, "\xEF\xBB\xBF" + body, utf16, utf16.substr(2), big, big.substr(2)}) {
        test::WriteFileBytes(file, bytes);
        const ListFile read = ReadListFile(file, StepToStlOnly(), false);
        EXPECT_EQ(read.kind, ListFileKind::List);
        EXPECT_THAT(read.paths, ElementsAre(L"C:\\ü.stp", L"C:\\b.stp", L"C:\\B.stp"));
    }
    test::WriteFileBytes(file, head + "C:\\\xFC.stp");  // in the system's code page
    EXPECT_EQ(ReadListFile(file, StepToStlOnly(), false).paths.size(), 1u);
}

TEST(ListFiles, DamagedAndForeignFiles) {
    const test::TempFolder folder;
    const std::wstring file = folder / L"list.csv";
    const std::string step = "\nSTEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
    const std::string stl = "\nSTL (*.stl)";
    const struct {
        std::string bytes;
        ListFileKind user, developer;
        size_t developerPaths;
    } cases[] = {
        {"", ListFileKind::NotValid, ListFileKind::PlainPaths, 0},
        {"morvex_lis", ListFileKind::NotValid, ListFileKind::PlainPaths, 1},
        {"Morvex_List" + step + stl + "\nC:\\a.stp", ListFileKind::NotValid, ListFileKind::PlainPaths, 4},
        {"C:\\a.stp\nC:\\a.stp\n", ListFileKind::NotValid, ListFileKind::PlainPaths, 2},
        {"morvex_list", ListFileKind::NotValid, ListFileKind::List, 0},
        {"morvex_list" + step, ListFileKind::NotValid, ListFileKind::List, 0},
        {"morvex_list\nSTEP" + stl + "\nC:\\a.stp", ListFileKind::NotValid, ListFileKind::List, 1},
        {"morvex_list" + step + "\nJT (*.jt)\nC:\\a.stp", ListFileKind::NotValid, ListFileKind::List, 1},
        {"morvex_list" + step + stl, ListFileKind::List, ListFileKind::List, 0},
        {"morvex_list" + step + stl + "\n" + std::string(4'000'000, 'x'), ListFileKind::List,
         ListFileKind::List, 0},
        {std::string(4'000'000, 'x'), ListFileKind::NotValid, ListFileKind::PlainPaths, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes.substr(0, 100));
        test::WriteFileBytes(file, c.bytes);
        EXPECT_EQ(ReadListFile(file, StepToStlOnly(), false).kind, c.user);
        const ListFile read = ReadListFile(file, StepToStlOnly(), true);
        EXPECT_EQ(read.kind, c.developer);
        EXPECT_EQ(read.paths.size(), c.developerPaths);
    }
    EXPECT_EQ(ReadListFile(folder / L"missing.csv", StepToStlOnly(), true).kind, ListFileKind::CannotOpen);
    EXPECT_EQ(ReadListFile(folder.Path(), StepToStlOnly(), true).kind, ListFileKind::CannotOpen);
}

TEST(ListFiles, ResultsReportAndPythonList) {
    const test::TempFolder folder;
    ConversionList list = ListOf({L"C:\\a\\one.stp", L"C:\\ü\\a;b\xD83D\xDE00.stp"});
    list.SetStatus(0, {RowState::Converted, kResultOk, L"OK", L"", L""});
    TextCatalogue text;
    const std::wstring report = folder / L"report.csv";
    const std::wstring head =
        std::wstring(L"Input Format :\r\n") + kStep + L"\r\n\r\nOutput Format :\r\nSTL (*.stl)\r\n\r\n";
    const std::wstring rows =
        L"Filename;Size;Status\r\nC:\\a\\one.stp;-;OK\r\nC:\\ü\\a;b\xD83D\xDE00.stp;-;-\r\n";
    ASSERT_TRUE(SaveResultsReport(report, list, kStepToStl, std::nullopt, text));
    EXPECT_EQ(test::ReadFileBytes(report), test::Utf16Bytes(head + rows));
    ASSERT_TRUE(SaveResultsReport(report, list, kStepToStl, L"D:\\out", text));
    EXPECT_EQ(test::ReadFileBytes(report),
              test::Utf16Bytes(head + L"Output Folder :\r\nD:\\out\r\n\r\n" + rows));
    text.SetLanguage(L"Deutsch");
    ASSERT_TRUE(SaveResultsReport(report, list, kStepToStl, std::nullopt, text));
    EXPECT_TRUE(test::ReadFileBytes(report).starts_with(test::Utf16Bytes(text(1008) + L"\r\n")));

    const std::wstring python = folder / L"list.py.csv";
    ASSERT_TRUE(SavePythonList(python, list));
    EXPECT_EQ(test::ReadFileBytes(python), Utf8(u8"0|C:\\a\\one.stp\n1|C:\\ü\\a;b\U0001F600.stp\n"));
}

TEST(ListFiles, AFailedSaveLeavesTheOldFile) {
    const test::TempFolder folder;
    const std::wstring file = folder / L"list.csv";
    test::WriteFileBytes(file, "old");
    SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(SaveListFile(file, ListOf({L"C:\\a.stp"}), kStepToStl));
    EXPECT_FALSE(SavePythonList(file, ListOf({L"C:\\a.stp"})));
    EXPECT_EQ(test::ReadFileBytes(file), "old");
    SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_FALSE(SaveListFile(folder / L"missing\\list.csv", ListOf({}), kStepToStl));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}),
              1);  // nothing is left over
}

TEST(ListFiles, LastState) {
    const test::TempFolder program, user;
    const ProgramFolders folders = MakeProgramFolders(program.Path(), user.Path());
    const ConversionPairs pairs = StepToStlOnly();
    EXPECT_EQ(ReadLastState(folders, pairs, false).kind, ListFileKind::CannotOpen);

    ASSERT_TRUE(SaveListFile(program / L"tmp_list.ini", ListOf({L"C:\\temporary.stp"}), kStepToStl));
    EXPECT_THAT(ReadLastState(folders, pairs, false).paths, ElementsAre(L"C:\\temporary.stp"));

    ASSERT_TRUE(SaveLastState(folders, ListOf({L"C:\\last.stp"}), kStepToStl));
    EXPECT_FALSE(PathExists(program / L"tmp_list.ini"));
    EXPECT_TRUE(PathExists(user / L"zel_last_state.ini"));
    EXPECT_THAT(ReadLastState(folders, pairs, false).paths, ElementsAre(L"C:\\last.stp"));

    test::WriteFileBytes(folders.lastState, "no list");
    EXPECT_EQ(ReadLastState(folders, pairs, false).kind, ListFileKind::NotValid);
    ASSERT_TRUE(SaveListFile(folders.lastState, ListOf({L"C:\\last.stp"}), {L"X (*.x)", L"Y (*.y)"}));
    EXPECT_EQ(ReadLastState(folders, pairs, false).kind, ListFileKind::NotValid);
    EXPECT_EQ(ReadLastState(folders, pairs, true).formats.output, L"Y (*.y)");
}

TEST(RecentFiles, RunsPutTheirBottomRowsFirst) {
    RecentFiles recent;
    const auto run = [&](std::vector<std::wstring> names) {
        for (std::wstring& name : names) name = L"C:\\" + name;
        recent.Update(ListOf(names));
        std::wstring joined;
        for (const std::wstring& path : recent.Paths()) joined += path.substr(path.rfind(L'/') + 1);
        return joined;
    };
    EXPECT_EQ(run({}), L"");
    EXPECT_EQ(run({L"a", L"b", L"c", L"d", L"e", L"f", L"g"}), L"gfedc");
    EXPECT_EQ(run({L"e", L"x"}), L"xgfed");        // e keeps its place
    EXPECT_EQ(run({L"y", L"g", L"z"}), L"zyxgf");  // known rows in between do not count
    EXPECT_EQ(run({L"z", L"z", L"n", L"n"}), L"nzyxg");
    EXPECT_EQ(recent.Paths().front(), L"C:/n");
}

TEST(RecentFiles, FileByteForByteAndBack) {
    const test::TempFolder folder;
    const std::wstring file = folder / L"zel_recent_files.ini";
    RecentFiles recent;
    recent.Update(ListOf({L"C:\\a\\b.stp", L"D:\\ü.stp"}));
    ASSERT_TRUE(recent.Write(file));
    EXPECT_EQ(test::ReadFileBytes(file), test::Utf16Bytes(L"D:/ü.stp\r\nC:/a/b.stp\r\n"));

    recent.Read(folder / L"missing.ini");
    EXPECT_EQ(recent.Paths().size(), 2u);  // a missing file changes nothing
    test::WriteFileBytes(
        file, "C:\\1\n\nC:/2\r\nC:/2\nC:/1\nC:/3\nC:/4\nC:/5\nC:/6\n" + std::string(4'000'000, 'x'));
    recent.Read(file);
    EXPECT_THAT(recent.Paths(), ElementsAre(L"C:/1", L"C:/2", L"C:/3", L"C:/4", L"C:/5"));
    test::WriteFileBytes(file, "");
    recent.Read(file);
    EXPECT_THAT(recent.Paths(), IsEmpty());
}

TEST(HtmlReport, OnlyAFinishedPageTakesTheOldOnesPlace) {
    const test::TempFolder folder;
    const std::wstring file = folder / L"page.html";
    test::WriteFileBytes(file, "old");
    for (const bool finished : {false, true}) {
        {
            HtmlReport page(file);
            ASSERT_TRUE(page.Begin(L"1 < 2") &&
                        page.Add({.input = L"a & b", .output = {}, .status = L"OK", .reason = {}}));
            if (finished) {
                EXPECT_TRUE(page.Finish(L"end"));
            }
        }
        const std::string now = test::ReadFileBytes(file);
        EXPECT_EQ(now == "old", !finished);
        EXPECT_EQ(now.find("a &amp; b") != now.npos, finished);
        using Files = std::filesystem::directory_iterator;
        EXPECT_EQ(std::distance(Files(folder.Path()), Files()), 1);
    }
}

}  // namespace
}  // namespace morvex
