#include "tests/end_to_end/program.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "convert/child_process.h"
#include "win/text_file.h"
#include "win/unique_handle.h"

namespace morvex::test {
namespace {

// A file that a child writes its output into: unlike a pipe it never fills up.
UniqueHandle OutputFile(const std::wstring& path) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return OwnFile(
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr));
}

// Wine now and then cannot place a new process in its address range and answers with an internal error; the
// next try finds another place.
bool Create(const std::wstring& program, const std::wstring& arguments, HANDLE output, HANDLE errors,
            PROCESS_INFORMATION& created) {
    std::wstring line = L"\"" + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = errors;
    const auto start = [&] {
        return CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, output != nullptr, 0, nullptr,
                              nullptr, &startup, &created) != FALSE;
    };
    return start() || (GetLastError() == ERROR_INTERNAL_ERROR && start());
}

}  // namespace

Program::Program() {
    std::filesystem::create_directories(folder_ / L"Plugins");
    std::filesystem::create_directories(UserFolder());
    const std::wstring built = std::wstring(FolderOf(ModulePath())) + L"\\program\\Morvex.exe";
    EXPECT_TRUE(CopyFileW(built.c_str(), program_.c_str(), TRUE));
    EXPECT_TRUE(CopyFileW(LibraryLog::LibraryPath().c_str(), Library().c_str(), TRUE));
    SetEnvironmentVariableW(L"MORVEX_USER_FOLDER", UserFolder().c_str());
    Formats(L"STEP", L"STL");
}

Program::Program(AsBuilt) : program_(std::wstring(FolderOf(ModulePath())) + L"\\..\\..\\bin\\Morvex.exe") {
    std::filesystem::create_directories(UserFolder());
    SetEnvironmentVariableW(L"MORVEX_USER_FOLDER", UserFolder().c_str());
}

Program::~Program() {
    SetEnvironmentVariableW(L"MORVEX_USER_FOLDER", nullptr);
    Formats(nullptr, nullptr);
}

void Program::Formats(const wchar_t* input, const wchar_t* output) {
    SetEnvironmentVariableW(kFormatInVariable, input);
    SetEnvironmentVariableW(kFormatOutVariable, output);
}

ProgramRun Program::Run(const std::wstring& arguments) const {
    const std::wstring outputPath = folder_ / L"output.txt", errorPath = folder_ / L"errors.txt";
    ProgramRun run;
    {
        const UniqueHandle output = OutputFile(outputPath), errors = OutputFile(errorPath);
        PROCESS_INFORMATION created{};
        if (!Create(program_, arguments, output.get(), errors.get(), created)) {
            ADD_FAILURE() << "Morvex.exe does not start: " << GetLastError();
            return run;
        }
        const UniqueHandle process(created.hProcess), thread(created.hThread);
        if (WaitForSingleObject(process.get(), 60000) != WAIT_OBJECT_0) {
            ADD_FAILURE() << "Morvex.exe hangs";
            TerminateProcess(process.get(), 99);
            WaitForSingleObject(process.get(), INFINITE);
        }
        GetExitCodeProcess(process.get(), &run.exitCode);
    }
    run.output = ReadFileBytes(outputPath);
    run.errors = ReadFileBytes(errorPath);
    return run;
}

UniqueHandle Program::Start(const std::wstring& arguments, DWORD& id, HANDLE output) const {
    PROCESS_INFORMATION created{};
    EXPECT_TRUE(Create(program_, arguments, output, output, created));
    CloseHandle(created.hThread);
    id = created.dwProcessId;
    return UniqueHandle(created.hProcess);
}

EngineBehind::EngineBehind() {
    const char* const program = std::getenv("MORVEX_PROGRAM_FOLDER");
    if (!program) return;
    const std::string engine = std::string("Z:") + program + "/Plugins/Polyvane_x64.dll";
    found_ = SetEnvironmentVariableA("MORVEX_TEST_LIBRARY", engine.c_str()) != FALSE;
}

EngineBehind::~EngineBehind() {
    SetEnvironmentVariableA("MORVEX_TEST_LIBRARY", nullptr);
}

}  // namespace morvex::test
