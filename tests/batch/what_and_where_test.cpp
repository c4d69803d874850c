#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/batch/batch_program.h"
#include "win/text_file.h"

// What is converted, and where the results go. The recording library writes "written" as an output.
namespace morvex {
namespace {

using test::BatchEnd;
using test::BatchProgram;
using test::LibraryLog;
using test::Names;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

TEST(Batch, SaysWhatIsWrongWithACommandLine) {
    const BatchProgram program;
    program.Make({L"a.stp"});
    const std::string times =
        "2026-01-01T00:00:00.000Z the pump starts\n2026-01-01T00:00:00.000Z\tthe\tpump\tstops\n2026-01";
    program.Make({L"times.txt"}, times);
    const struct {
        const wchar_t* arguments;
        const char* error;
    } cases[] = {
        {L"", "Name the files or folders"},
        {L"a.stp", "--to FORMAT is missing"},
        {L"--to Nothing a.stp", "No output format is named \"Nothing\""},
        {L"--to STL --from Nothing a.stp", "No input format is named \"Nothing\""},
        {L"--to", "--to needs a value"},
        {L"--no-such a.stp", "There is no option --no-such"},
        {L"-rx a.stp", "There is no option -x"},
        {L"--quiet=1 -t STL a.stp", "--quiet takes no value"},
        {L"-t STL -j 0 a.stp", "\"0\" is no whole number from 1"},
        {L"-t STL --retries -1 a.stp", "\"-1\" is no whole number"},
        {L"-t STL --overwrite sometimes a.stp", "not one of never, older, always"},
        {L"-t STL --set KEY=1 a.stp", "not SECTION/KEY=VALUE"},
        {L"-t STL --set \"STL CONF/LINEAR_TOLERANCE=1\" a.stp", "no setting STL CONF/LINEAR_TOLERANCE"},
        {L"-t STL --shard 3/2 a.stp", "not I/N"},
        {L"-t STL --keep-tree a.stp", "--keep-tree needs --out"},
        {L"-t STL -0 a.stp", "-0 needs --files-from"},
        {L"-t STL --watch .", "--watch needs --log"},
        {L"-t STL --config none.zel a.stp", "There is no configuration file"},
        {L"-t STL \"\"", "A path is empty"},
        {L"-t STL -j 1001 a.stp", "whole number from 1 to 1000"},
        {L"-t STL --retry-failed none.tsv", "There is no log"},
        {L"-t STL --log a.stp", "Name the files or folders"},
        {L"-t STL --log a.stp a.stp", "It is no log"},
        {L"-t STL --log times.txt a.stp", "It is no log"},
        {L"-t STL --report a.stp a.stp", "does not end in .html"},
        {L"-t STL --log no\\folder\\l.log a.stp", "The log cannot be written"},
        {L"-t STL --report no\\folder\\r.html a.stp", "The report cannot be written"},
    };
    for (const auto& test : cases) {
        const BatchEnd end = program.Run(test.arguments);
        EXPECT_EQ(end.exitCode, 101u) << end.errors;
        EXPECT_THAT(end.errors, HasSubstr(test.error));
    }
    EXPECT_EQ(program.Files(), (Names{L"a.stp", L"times.txt"}));
    EXPECT_EQ(program.Read(L"times.txt"), times);
    EXPECT_EQ(program.Read(L"a.stp"), "part");
    const std::string help = program.Run(L"--help").output;
    EXPECT_THAT(help, HasSubstr("--help all"));
    std::istringstream lines(help);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) EXPECT_LE(line.size(), 80u) << line;
    EXPECT_LT(count, 24);
    EXPECT_THAT(program.Run(L"--help all").output, HasSubstr("%25"));
}

TEST(Batch, FindsWhatIsNamed) {
    const LibraryLog script(L"output");
    const std::wstring listFile =
        L"morvex_list\nSTEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)\nSTL (*.stl)\n";
    const struct {
        const wchar_t* arguments;
        std::string input;
        Names made;
        DWORD exitCode = 0;
    } cases[] = {
        {L"--to STL a.stp", "", {L"a.stl"}},
        {L"--to zel_stl .\\sub/c.igs", "", {L"sub/c.stl"}},
        {L"--to .stl a.stp a.stp .\\A.STP", "", {L"a.stl"}},
        {L"-t obj .", "", {L"a.obj", L"b.obj", L"mesh.obj", L"unnamed.obj"}},
        {L"-rt obj -f STEP .", "", {L"a.obj", L"b.obj", L"sub/d.obj"}},
        {L"-t STL *.stp sub\\?.igs", "", {L"a.stl", L"b.stl", L"sub/c.stl"}},
        {L"-t STL --files-from -", "a.stp\r\n\n.\\b.stp  \n", {L"a.stl", L"b.stl"}},
        {L"-t STL -0 --files-from -", std::string("a.stp\0sub/c.igs", 15), {L"a.stl", L"sub/c.stl"}},
        {L"-t STL --files-from -",
         "\xFF\xFE" + test::Utf16Bytes(L"sub\\d.step\r\n").substr(2),
         {L"sub/d.stl"}},
        {L"list.csv", "", {L"a.stl", L"sub/d.stl"}},
        {L"-t STL unnamed", "", {L"unnamed-zel.stl"}},
        {L"-t STL -- -r.stp", "", {L"-r.stl"}},
        {L"-t STL sub\\..\\.\\a.stp --out sub/..\\\\sub\\new\\..\\", "", {L"sub/a.stl"}},
        {L"-t STL gone.stp a.stp note.txt --files-from none.txt", "", {L"a.stl"}, 3},
        {L"-t STL *.none b.stp", "", {L"b.stl"}, 1},
    };
    for (const auto& test : cases) {
        const BatchProgram program;
        Names names = {L"a.stp",     L"b.stp",      L"note.txt", L"old-zel.xml",
                       L"sub/c.igs", L"sub/d.step", L"-r.stp"};
        if (std::wstring_view(test.arguments).find(L"-r.stp") == std::wstring_view::npos) names.pop_back();
        program.Make(names);
        program.Make({L"mesh.stl", L"unnamed"}, "solid x\nfacet normal 0 0 1\n");
        program.Make({L"list.csv"});
        WriteTextFile(program.In(L"list.csv"),
                      listFile + L"a.stp\n" + program.In(L"sub\\d.step") + L"\na.stp\n");
        Names expected = program.Files();
        expected.insert(expected.end(), test.made.begin(), test.made.end());
        const BatchEnd end = program.Run(test.arguments, test.input);
        EXPECT_EQ(end.exitCode, test.exitCode) << end.output << end.errors;
        EXPECT_THAT(program.Files(), UnorderedElementsAreArray(expected)) << test::Utf16Bytes(test.arguments);
    }
}

TEST(Batch, PutsResultsWhereTheyBelong) {
    const LibraryLog script(L"output");
    const struct {
        const wchar_t* arguments;
        Names inputs, made;
    } cases[] = {
        {L"-t STL --out new\\deep -r in",
         {L"in/a.stp", L"in/x/b.stp"},
         {L"new/deep/a.stl", L"new/deep/b.stl"}},
        {L"-t STL --out out --keep-tree -r in", {L"in/a.stp", L"in/x/b.stp"}, {L"out/a.stl", L"out/x/b.stl"}},
        {L"-t STL --out out -r in", {L"in/a.stp", L"in/x/A.stp"}, {L"out/a.stl", L"out/A (2).stl"}},
        {L"-j1 -t STL a.step a.stp", {L"a.step", L"a.stp"}, {L"a.stl", L"a (2).stl"}},
        {L"-t STEP --from STEP a.stp", {L"a.stp"}, {L"a-zel.stp"}},
        // An input that is listed later is no output.
        {L"-j1 -t STL a.stp a.stl", {L"a.stp", L"a.stl"}, {L"a (2).stl", L"a-zel.stl"}},
    };
    for (const auto& test : cases) {
        const BatchProgram program;
        program.Make(test.inputs);
        const BatchEnd end = program.Run(test.arguments);
        EXPECT_EQ(end.exitCode, 0u) << end.output << end.errors;
        Names expected = test.inputs;
        expected.insert(expected.end(), test.made.begin(), test.made.end());
        EXPECT_THAT(program.Files(), UnorderedElementsAreArray(expected));
        for (const std::wstring& input : test.inputs) EXPECT_EQ(program.Read(input), "part");
    }
}

// File systems that take the two names for one make one file of them.
TEST(Batch, ConvertsInputsThatOnlySomeFileSystemsTellApart) {
    const LibraryLog script(L"output");
    const BatchProgram program;
    const std::wstring composed = L"r\u00E9sum\u00E9", decomposed = L"re\u0301sume\u0301";
    program.Make({composed + L".stp"});
    program.Make({decomposed + L".stp"}, "another part");
    const size_t inputs = program.Files().size();
    const std::wstring command = L"-j1 -t STL --log l.tsv --files-from -";
    const std::string list =
        "r\xC3\xA9sum\xC3\xA9.stp\nre\xCC\x81sume\xCC\x81.stp\nR\xC3\x89SUM\xC3\x89.stp\n";
    const BatchEnd first = program.Run(command, list);
    EXPECT_EQ(first.exitCode, 0u) << first.output;
    EXPECT_EQ(script.Calls().size(), inputs);
    EXPECT_EQ(program.Files().size(), inputs * 2 + 1);
    const BatchEnd folder = program.Run(L"-t STL --from STEP -n .");
    EXPECT_THAT(folder.output, HasSubstr(std::to_string(inputs) + " to convert"));
    // Each goes by its own lines of the log.
    program.Make({decomposed + L".stp"}, "a part that has grown");
    const BatchEnd again = program.Run(command + L" --resume l.tsv", list);
    EXPECT_THAT(again.output, HasSubstr("1 converted, 0 failed"));
    EXPECT_EQ(again.output.find("1 done before") != std::string::npos, inputs > 1) << again.output;
    EXPECT_EQ(program.Files().size(), inputs * 2 + 1);
}

// What an earlier batch has made is left aside in a folder, but not when somebody names it.
TEST(Batch, ConvertsAnEarlierResultThatIsNamed) {
    const LibraryLog script(L"output");
    const BatchProgram program;
    program.Make({L"a.igs"});
    EXPECT_EQ(program.Run(L"-t STEP --log l.tsv a.igs").exitCode, 0u);
    const Names made = {L"a.igs", L"a.stp", L"l.tsv"};
    ASSERT_THAT(program.Files(), UnorderedElementsAreArray(made));
    EXPECT_THAT(program.Run(L"-t STEP --from STEP -n --resume l.tsv .").output, HasSubstr("0 skipped; "));
    const BatchEnd end = program.Run(L"-t STL --resume l.tsv a.stp");
    EXPECT_EQ(end.exitCode, 0u) << end.output;
    EXPECT_EQ(program.Read(L"a.stl"), "written");
}

// The system takes ".." out of short paths only.
TEST(Batch, FollowsLongPathsUp) {
    const LibraryLog script(L"output");
    const BatchProgram program;
    std::wstring deep = L"deep";
    for (int i = 0; i < 5; ++i) deep += L"\\" + std::wstring(60, L'x');
    std::filesystem::create_directories(L"\\\\?\\" + program.In(deep));
    program.Make({L"a.stp"});
    const BatchEnd end =
        program.Run(L"-t STL --out " + deep + L"\\..\\out " + deep + L"\\..\\..\\..\\..\\..\\..\\a.stp");
    EXPECT_EQ(end.exitCode, 0u) << end.output << end.errors;
    const std::wstring made =
        L"\\\\?\\" + program.In(deep).substr(0, program.In(deep).rfind(L'\\')) + L"\\out\\a.stl";
    EXPECT_TRUE(std::filesystem::exists(made));
}

TEST(Batch, LeavesExistingResultsAsTheOptionsSay) {
    const LibraryLog script(L"output");
    // Results beside old.stp are newer than it, those beside new.stp older; empty.stl and bad.stl are no
    // good.
    const struct {
        const wchar_t* options;
        Names replaced;
    } cases[] = {
        {L"", {L"bad", L"empty", L"new", L"old"}}, {L"--overwrite never", {}},
        {L"--overwrite older", {L"new"}},          {L"--skip-existing", {L"bad", L"empty", L"new"}},
        {L"--skip-existing --dry-run", {}},
    };
    for (const auto& test : cases) {
        const BatchProgram program;
        namespace fs = std::filesystem;
        const auto now = fs::file_time_type::clock::now();
        for (const std::wstring name : {L"bad", L"empty", L"new", L"old"}) {
            program.Make({name + L".stp"});
            program.Make({name + L".stl"}, name == L"empty" ? "" : "earlier");
            fs::last_write_time(program.In(name + L".stl"), now - std::chrono::hours(name == L"new" ? 2 : 0));
            fs::last_write_time(program.In(name + L".stp"), now - std::chrono::hours(1));
        }
        program.Make({L"bad.stl-zel.xml"}, "<reason>no faces</reason>");
        const BatchEnd end = program.Run(L"--to STL . " + std::wstring(test.options));
        EXPECT_EQ(end.exitCode, 0u) << end.output;
        for (const std::wstring name : {L"bad", L"empty", L"new", L"old"}) {
            const bool replaced = std::ranges::find(test.replaced, name) != test.replaced.end();
            EXPECT_EQ(program.Read(name + L".stl") == "written", replaced) << end.output;
        }
    }
}

TEST(Batch, DealsTheSameSharesEverywhere) {
    const LibraryLog script(L"output");
    const BatchProgram program;
    for (int i = 0; i < 30; ++i) {
        const std::wstring name = L"d" + std::to_wstring(i % 3) + L"/p" + std::to_wstring(i) + L".stp";
        program.Make({L"one/" + name, L"two/" + name}, std::string(i == 0 ? 20 << 20 : 100, 'x'));
    }
    Names converted;
    for (const wchar_t* shard : {L"1/3", L"2/3", L"3/3"}) {
        // Wherever the files lie.
        const std::wstring folder = shard[0] == L'2' ? L"one" : L"two";
        const BatchEnd end = program.Run(L"-r -t STL --out out" + std::wstring(1, shard[0]) + L" --shard " +
                                         shard + L" " + folder);
        EXPECT_EQ(end.exitCode, 0u) << end.output;
    }
    size_t largest = 0;
    for (const std::wstring& name : program.Files()) {
        if (!name.starts_with(L"out")) continue;
        converted.push_back(name.substr(5));
        if (name.ends_with(L"/p0.stl")) largest = static_cast<size_t>(name[3]);
    }
    Names expected;
    for (int i = 0; i < 30; ++i) expected.push_back(L"p" + std::to_wstring(i) + L".stl");
    EXPECT_THAT(converted, UnorderedElementsAreArray(expected));
    // The part with the file that outweighs some dozen others has hardly another.
    size_t withLargest = 0;
    for (const std::wstring& name : program.Files())
        withLargest += name.starts_with(L"out" + std::wstring(1, static_cast<wchar_t>(largest)));
    EXPECT_LE(withLargest, 2u);
    // What no share has is told by one of them.
    EXPECT_EQ(
        program.Run(L"-t STL --shard 1/2 none").exitCode + program.Run(L"-t STL --shard 2/2 none").exitCode,
        1u);
}

}  // namespace
}  // namespace morvex
