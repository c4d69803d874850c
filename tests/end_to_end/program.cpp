#include "tests/end_to_end/program.h"

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
        std::wstring line = L"\"" + program_ + L"\" " + arguments;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = output.get();
        startup.hStdError = errors.get();
        PROCESS_INFORMATION created{};
        if (!CreateProcessW(program_.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                            &startup, &created)) {
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
    std::wstring line = L"\"" + program_ + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output;
    PROCESS_INFORMATION created{};
    EXPECT_TRUE(CreateProcessW(program_.c_str(), line.data(), nullptr, nullptr, output != nullptr, 0, nullptr,
                               nullptr, &startup, &created));
    CloseHandle(created.hThread);
    id = created.dwProcessId;
    return UniqueHandle(created.hProcess);
}

}  // namespace morvex::test
