#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

#include "tests/end_to_end/program.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using test::LibraryCall;
using test::LibraryLog;
using test::Program;
using test::ProgramRun;

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

TEST(ChildRoad, ExitsWithTheLibrarysResult) {
    const Program program;
    const LibraryLog log;
    for (const int result :
         {0, -2, -5, -15, -22, -23, -27, -28, -29, -30, -31, -32, -34, -38, -1, 1, 7, 259}) {
        const ProgramRun run = program.Run(Quoted(L"C:\\in\\{result=" + std::to_wstring(result) + L"}.stp"));
        EXPECT_EQ(static_cast<int>(run.exitCode), result);
    }
}

TEST(ChildRoad, SurvivesAFaultingLibraryAndLogsIt) {
    const Program program;
    const LibraryLog log;
    constexpr DWORD kQuiet = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX;
    WriteTextFile(program.Settings(), L"[General]\nWriteLogFileIfCrash=1\n");
    for (const wchar_t* fault : {L"read", L"overflow=300", L"throw", L"raise"}) {
        const std::wstring input = std::wstring(L"C:\\in\\{") + fault + L"}.stp";
        EXPECT_EQ(program.Run(Quoted(input)).exitCode, 1u);
        EXPECT_EQ(test::ReadFileBytes(program.Folder() + L"\\LogFileIfCrash.txt"),
                  test::Utf16Bytes(
                      L"Nombre de fichiers \u00EF\u00BF\u00BD convertir: 1\r\n\r\n" + input +
                      L"\r\nD\u00EF\u00BF\u00BDbut de traitement...Crash!!!\r\n\r\nFin des conversions"));
    }
    // What cannot be caught ends this process only, without a box that somebody would have to close.
    for (const wchar_t* end : {L"abort", L"fastfail"}) {
        EXPECT_NE(program.Run(Quoted(std::wstring(L"C:\\in\\{") + end + L"}.stp")).exitCode, 0u);
    }
    // Nor does the system show one for what it meets in the library.
    EXPECT_EQ(program.Run(Quoted(L"C:\\in\\{errormode}.stp")).exitCode & kQuiet, kQuiet);
    WriteTextFile(program.Settings(), L"[General]\nDisableTryCatch=1\n");
    EXPECT_NE(program.Run(Quoted(L"C:\\in\\{read}.stp")).exitCode, 0u);
}

TEST(ChildRoad, SaysWhatIsMissingAndOpensNoWindow) {
    const Program program;
    DeleteFileW(program.Library().c_str());
    ProgramRun run = program.Run(Quoted(L"C:\\in\\a.stp"));
    EXPECT_EQ(run.exitCode, 1u);
    EXPECT_EQ(run.errors.substr(0, 25), "A component is missing : ");
    EXPECT_NE(run.errors.find("Plugins\\Polyvane_x64.dll"), run.errors.npos);
    test::WriteFileBytes(program.Library(), "MZ, but no library");
    EXPECT_EQ(program.Run(Quoted(L"C:\\in\\a.stp")).exitCode, 1u);
    EXPECT_EQ(program.Run(L"one word").exitCode, 1u);
}

TEST(ChildRoad, PrintsItsArguments) {
    const Program program;
    const ProgramRun run = program.Run(L"\"C:\\\u90E8 \u0447.stp\" out\\ \"\" \"C:\\s x\"");
    EXPECT_EQ(run.output.substr(run.output.find("1: ")),
              "1: C:\\\xE9\x83\xA8 \xD1\x87.stp\n2: out\\\n3: \n4: C:\\s x\n");
    EXPECT_EQ(run.output.substr(0, 3), "0: ");
}

TEST(ChildRoad, TakesArgumentTwoAsFolderOrPath) {
    const Program program;
    const LibraryLog log;
    const std::wstring longName(240, L'n');
    const std::wstring folder = program.Folder();
    const struct {
        std::wstring input, argument, output;
    } cases[] = {
        {L"C:\\in\\a.stp", folder, folder + L"\\a.stl"},
        {L"C:\\in\\a.stp", L"D:\\not there\\", L"D:\\not there\\a.stl"},
        {L"C:\\in\\a.stp", L"C:\\", L"C:\\a.stl"},
        {L"C:\\in\\a.stp", L"D:\\as it stands.xyz", L"D:\\as it stands.xyz"},
        {L"C:\\in\\a.stp", L"", L"C:\\in\\a.stl"},
        {L"C:\\a.stp", L"", L"C:\\a.stl"},
        {L"C:/in/sub/a.stp", L"D:/x/", L"D:\\x\\a.stl"},
        {L"C:\\" + longName + L"\\" + longName + L".stp", L"",
         L"\\\\?\\C:\\" + longName + L"\\" + longName + L".stl"},
        {L"C:\\in\\a.stp", L"D:\\" + std::wstring(256, L'o'), L"D:\\" + std::wstring(256, L'o')},
        {L"C:\\in\\a.stp", L"D:\\" + std::wstring(257, L'o'), L"\\\\?\\D:\\" + std::wstring(257, L'o')},
        {L"C:\\\U0001F600 \u90E8\u0447 %41 #&^'\\-@.stp", L"D:\\x\\", L"D:\\x\\-@.stl"},
    };
    for (const auto& c : cases) {
        // A backslash before the closing quote is doubled, as every caller has to.
        const std::wstring argument = c.argument + (c.argument.ends_with(L'\\') ? L"\\" : L"");
        program.Run(Quoted(c.input) + L" " + Quoted(argument) + L" \"C:\\my.zel\" \"C:\\schemas\"");
        const LibraryCall call = log.Calls().back();
        std::wstring input = c.input;
        std::replace(input.begin(), input.end(), L'/', L'\\');
        EXPECT_EQ(call.input, WithLongPrefix(input));
        EXPECT_EQ(call.output, c.output);
        EXPECT_EQ(call.config, L"C:\\my.zel");
        EXPECT_EQ(call.schema, L"C:\\schemas");
        EXPECT_EQ(call.runSize, -1);
    }
}

TEST(ChildRoad, FallsBackToTheSettings) {
    const Program program;
    const LibraryLog log;
    Program::Formats(nullptr, nullptr);
    WriteTextFile(program.Settings(),
                  L"[General]\nMultiprocess=1\n[P]\nZEL_INPUT_FORMAT=JT\nZEL_OUTPUT_FORMAT=3MF\nZEL_CONFIG_"
                  L"FILE=jt.zel\n");
    WriteTextFile(program.UserFolder() + L"\\zel_morvex.ini",
                  L"[General]\nFormat_in=JT (*.jt)\nFormat_out=3MF (*.3mf)\n");
    program.Run(Quoted(L"C:\\in\\a.jt"));
    const LibraryCall call = log.Calls().back();
    EXPECT_EQ(call.inputFormat, 21);
    EXPECT_EQ(call.outputFormat, 50);
    EXPECT_EQ(call.parallel, 0);  // a child never starts children, whatever the setting says
    EXPECT_EQ(call.output, L"C:\\in\\a.3mf");
    EXPECT_EQ(call.config, program.UserFolder() + L"\\jt.zel");
    EXPECT_EQ(call.schema, program.Folder() + L"\\schema");
    EXPECT_TRUE(PathExists(call.config));
}

TEST(ChildRoad, NeverLoadsALibraryFromBesideTheInput) {
    const Program program;
    const LibraryLog log;
    // Were one of these loaded, the process would not start: they are no libraries.
    const std::wstring hostile = program.UserFolder();
    for (const wchar_t* name :
         {L"version.dll", L"ole32.dll", L"comctl32.dll", L"shell32.dll", L"Polyvane_x64.dll"}) {
        test::WriteFileBytes(hostile + L"\\" + name, "hostile");
    }
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    SetCurrentDirectoryW(hostile.c_str());
    SetEnvironmentVariableW(L"PATH", (hostile + L";C:\\windows\\system32").c_str());
    const ProgramRun run = program.Run(L"a.stp");
    SetCurrentDirectoryW(before);
    EXPECT_EQ(run.exitCode, 0u);
    ASSERT_EQ(log.Calls().size(), 1u);
    EXPECT_EQ(log.Calls()[0].input, hostile + L"\\a.stp");
}

// In a run the parent names the very path: a folder of that name is for the library to refuse.
TEST(ChildRoad, OfARunTakesArgumentTwoAsItStands) {
    const Program program;
    const LibraryLog log;
    const std::wstring taken = program.Folder() + L"\\a.stl";
    CreateDirectoryW(taken.c_str(), nullptr);
    const auto outputWith = [&](const wchar_t* variable) {
        SetEnvironmentVariableW(variable, L"1");
        program.Run(Quoted(L"C:\\in\\a.stp") + L" " + Quoted(taken) + L" \"\" \"C:\\schema\"");
        SetEnvironmentVariableW(variable, nullptr);
        return log.Calls().back().output;
    };
    EXPECT_EQ(outputWith(L"MORVEX_RESULT_CHANNEL"), taken);
    EXPECT_EQ(outputWith(L"MORVEX_SIDE_BY_SIDE"), taken + L"\\a.stl");
}

TEST(ChildRoad, AnswersQuestionsBeforeAnythingElse) {
    const Program program;
    const ProgramRun help = program.Run(L"--help"), version = program.Run(L"--version");
    EXPECT_EQ(help.exitCode + version.exitCode, 0u);
    EXPECT_NE(help.output.find("MORVEX_FORMAT_IN"), help.output.npos);
    EXPECT_EQ(version.output, "Morvex 2024 (24.4)\n");
    EXPECT_FALSE(PathExists(program.UserFolder() + L"\\zel_morvex.ini"));
}

// Formats by hand: those of the environment, the saved ones, and the extensions fill up for each other.
TEST(ChildRoad, FindsTheFormatsOfAStartByHand) {
    const struct {
        const wchar_t *in, *out, *saved, *arguments;
        int inputCode, outputCode;
        const char* warning;
    } cases[] = {
        {nullptr, nullptr, L"", L"C:\\in\\a.stp D:\\x\\b.stl", 4, 22, ""},
        {nullptr, nullptr, L"", L"C:\\in\\a.stp D:\\x\\b.step", 4, 4, ""},
        {nullptr, L"STL", L"", L"C:\\in\\a.jt", 21, 22, ""},
        {nullptr, L"STEP", L"", L"C:\\in\\a.stl", 22, 4, ""},
        {nullptr, L"STEP", L"Format_in=STL (*.stl)\nFormat_out=3MF (*.3mf)\n", L"C:\\in\\a.jt", 21, 4, ""},
        {L"JT", nullptr, L"", L"C:\\in\\a.dat D:\\x\\b.stl", 21, 22, ""},
        {nullptr, L"STL", L"Format_in=JT (*.jt)\nFormat_out=3MF (*.3mf)\n", L"C:\\in\\a.jt", 21, 22, ""},
        {L"JT", nullptr, L"Format_in=JT (*.jt)\nFormat_out=3MF (*.3mf)\n", L"C:\\in\\a.stp", 21, 50, ""},
        {nullptr, nullptr, L"Format_in=JT (*.jt)\nFormat_out=3MF (*.3mf)\n", L"C:\\in\\a.jt D:\\x\\b.stl", 21,
         50, "was written as 3MF (*.3mf)"},
    };
    const Program program;
    const LibraryLog log;
    WriteTextFile(program.Settings(), L"[P]\nZEL_INPUT_FORMAT=JT,STEP,STL\nZEL_OUTPUT_FORMAT=3MF,STL,STEP\n");
    for (const auto& c : cases) {
        Program::Formats(c.in, c.out);
        WriteTextFile(program.UserFolder() + L"\\zel_morvex.ini", std::wstring(L"[General]\n") + c.saved);
        const ProgramRun run = program.Run(c.arguments);
        EXPECT_EQ(run.exitCode, 0u);
        EXPECT_EQ(log.Calls().back().inputFormat, c.inputCode) << testing::PrintToString(c.arguments);
        EXPECT_EQ(log.Calls().back().outputFormat, c.outputCode) << testing::PrintToString(c.arguments);
        EXPECT_EQ(run.errors.find('\n') + 1 < run.errors.size(), *c.warning != 0) << run.errors;
        EXPECT_NE(run.errors.find(c.warning), run.errors.npos) << run.errors;
    }
    Program::Formats(nullptr, nullptr);
    WriteTextFile(program.UserFolder() + L"\\zel_morvex.ini", L"");
    const ProgramRun run = program.Run(L"C:\\in\\a.stp");
    EXPECT_EQ(static_cast<int>(run.exitCode), -29);
    EXPECT_NE(run.errors.find("MORVEX_FORMAT_OUT"), run.errors.npos);
    EXPECT_EQ(log.Calls().size(), std::size(cases));
}

// Paths that are dropped on the program's icon become its arguments.
TEST(ChildRoad, OverwritesNoFileOfAnotherFormat) {
    const Program program;
    const LibraryLog log;
    std::wstring paths;
    for (const wchar_t* name : {L"a.stp", L"b.stp", L"c.step"}) {
        const std::wstring path = program.Folder() + L"\\" + name;
        test::WriteFileBytes(path, "precious");
        paths += Quoted(path) + L" ";
    }
    const ProgramRun run = program.Run(paths);
    EXPECT_EQ(static_cast<int>(run.exitCode), -23);
    EXPECT_EQ(run.errors.substr(0, 25), "Cannot write Output File\n");
    EXPECT_NE(run.errors.find("b.stp\" exists"), run.errors.npos);
    EXPECT_TRUE(log.Calls().empty());
    test::WriteFileBytes(program.Folder() + L"\\a.stl", "old");
    EXPECT_EQ(
        program.Run(Quoted(program.Folder() + L"\\a.stp") + L" " + Quoted(program.Folder() + L"\\a.stl"))
            .exitCode,
        0u);
}

TEST(ChildRoad, LongInputsReachTheLibrary) {
    const Program program;
    const LibraryLog log;
    for (const size_t length : {259u, 260u, 261u, 400u}) {
        const std::wstring input = L"C:\\" + std::wstring(length - 7, L'l') + L".stp";
        program.Run(Quoted(input) + L" D:\\x\\");
        EXPECT_EQ(log.Calls().back().input, WithLongPrefix(input));
    }
}

TEST(ChildRoad, NeverWritesItsInput) {
    const Program program;
    const LibraryLog log;
    const std::wstring input = program.Folder() + L"\\part.stp";
    test::WriteFileBytes(input, "precious");
    const std::wstring otherwise = program.Folder() + L"\\user\\..\\PART.stp";
    EXPECT_EQ(static_cast<int>(program.Run(Quoted(input) + L" " + Quoted(otherwise)).exitCode), -23);
    EXPECT_TRUE(log.Calls().empty());
}

TEST(ChildRoad, SaysTheStatusInDeveloperModeToo) {
    const Program program;
    const LibraryLog log;
    WriteTextFile(program.Settings(), L"[General]\nDeveloperMode=1\n");
    EXPECT_EQ(program.Run(Quoted(L"C:\\in\\{result=-40}.stp")).errors,
              "-40 [0.00 sec]\nThe conversion library answered -40 and gave no reason\n");
}

// A user folder that the tests' own user has is put aside meanwhile.
TEST(FirstStart, MakesTheUserFolderAndAnEmptySettingsFile) {
    const Program program;
    const LibraryLog log;
    wchar_t roaming[MAX_PATH];
    ASSERT_GT(GetEnvironmentVariableW(L"APPDATA", roaming, MAX_PATH), 0u);
    const std::wstring folder = std::wstring(roaming) + L"\\Norwend", aside = folder + L".put-aside";
    const bool had = MoveFileW(folder.c_str(), aside.c_str()) != FALSE;
    ASSERT_FALSE(PathExists(folder));
    SetEnvironmentVariableW(L"MORVEX_USER_FOLDER", nullptr);
    program.Run(Quoted(L"C:\\in\\a.stp"));
    const std::string settings = test::ReadFileBytes(folder + L"\\Morvex\\zel_morvex.ini");
    EXPECT_EQ(settings.substr(0, 2), "\xFF\xFE");
    EXPECT_NE(settings.find(std::string("F\0i\0r\0s\0t\0L\0a\0u\0n\0c\0h\0", 22)), settings.npos);
    std::filesystem::remove_all(folder);
    if (had) MoveFileW(aside.c_str(), folder.c_str());
}

}  // namespace
}  // namespace morvex
