#include "tests/batch/batch_program.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace morvex::test {
namespace fs = std::filesystem;
namespace {

constexpr DWORD kLongestRun = 60000;  // milliseconds

UniqueHandle Inherited(const std::wstring& path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return OwnFile(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                               disposition, 0, nullptr));
}

}  // namespace

BatchProgram::BatchProgram() {
    fs::create_directories(folder_ / L"Plugins");
    fs::create_directories(folder_ / L"user");
    const std::wstring built = std::wstring(FolderOf(ModulePath())) + L"\\program\\";
    for (const std::wstring name : {L"Morvex.exe", L"morvex-batch.exe"})
        EXPECT_TRUE(CopyFileW((built + name).c_str(), (folder_ / name).c_str(), TRUE));
    EXPECT_TRUE(
        CopyFileW(LibraryLog::LibraryPath().c_str(), (folder_ / L"Plugins\\Polyvane_x64.dll").c_str(), TRUE));
    SetEnvironmentVariableW(L"MORVEX_USER_FOLDER", (folder_ / L"user").c_str());
}

BatchProgram::~BatchProgram() {
    SetEnvironmentVariableW(L"MORVEX_USER_FOLDER", nullptr);
}

UniqueHandle BatchProgram::Launch(const std::wstring& arguments, STARTUPINFOW startup, DWORD flags,
                                  DWORD& id) const {
    const std::wstring program = folder_ / L"morvex-batch.exe";
    std::wstring line = Quoted(program) + L" " + arguments;
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    EXPECT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                               inputs_.Path().c_str(), &startup, &created));
    CloseHandle(created.hThread);
    id = created.dwProcessId;
    return UniqueHandle(created.hProcess);
}

BatchEnd BatchProgram::Run(const std::wstring& arguments, const std::string& input) const {
    const std::wstring base =
        folder_ / std::to_wstring(GetCurrentThreadId());  // batches may run side by side
    WriteFileBytes(base + L".in", input);
    BatchEnd end;
    {
        const UniqueHandle in = Inherited(base + L".in", GENERIC_READ, OPEN_EXISTING);
        const UniqueHandle out = Inherited(base + L".out", GENERIC_WRITE, CREATE_ALWAYS);
        const UniqueHandle errors = Inherited(base + L".err", GENERIC_WRITE, CREATE_ALWAYS);
        STARTUPINFOW startup{};
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in.get();
        startup.hStdOutput = out.get();
        startup.hStdError = errors.get();
        DWORD id = 0;
        const UniqueHandle process = Launch(arguments, startup, 0, id);
        if (WaitForSingleObject(process.get(), kLongestRun) != WAIT_OBJECT_0) {
            ADD_FAILURE() << "morvex-batch.exe hangs";
            TerminateProcess(process.get(), 99);
            WaitForSingleObject(process.get(), INFINITE);
        }
        GetExitCodeProcess(process.get(), &end.exitCode);
    }
    end.output = ReadFileBytes(base + L".out");
    end.errors = ReadFileBytes(base + L".err");
    return end;
}

UniqueHandle BatchProgram::Start(const std::wstring& arguments, DWORD& id) const {
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    return Launch(arguments, startup, CREATE_NEW_CONSOLE, id);
}

void BatchProgram::Make(const Names& names, const std::string& content) const {
    for (const std::wstring& name : names) {
        fs::create_directories(fs::path(In(name)).parent_path());
        WriteFileBytes(In(name), content);
    }
}

Names BatchProgram::Files() const {
    Names names;
    for (const auto& entry : fs::recursive_directory_iterator(inputs_.Path())) {
        if (!entry.is_regular_file()) continue;
        std::wstring name = entry.path().wstring().substr(inputs_.Path().size() + 1);
        std::ranges::replace(name, L'\\', L'/');
        names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
}

}  // namespace morvex::test
