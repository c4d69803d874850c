#include "tests/engine_windows/worker_process.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace morvex::test {
namespace {

constexpr DWORD kLongestWait = 300'000, kLongestEnd = 60'000;  // milliseconds

fs::path OwnFolder() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return fs::path(path).parent_path();
}

void MakePipe(HANDLE& read, HANDLE& write, HANDLE& theirs) {
    CreatePipe(&read, &write, nullptr, 1 << 16);
    SetHandleInformation(theirs, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}

}  // namespace

ScratchFolder::ScratchFolder() {
    static int count = 0;
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    path_ = fs::path(temp) /
            (L"worker test " + std::to_wstring(GetTickCount64()) + L"-" + std::to_wstring(++count));
    fs::create_directory(path_);
}

ScratchFolder::~ScratchFolder() {
    // The prefix lifts the limit of 260 characters, also for the library's own directory iterator.
    std::error_code ignored;
    fs::remove_all(L"\\\\?\\" + path_.native(), ignored);
}

std::vector<fs::path> ScratchFolder::Names() const {
    std::vector<fs::path> names;
    for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

fs::path ScratchFolder::Input(const std::string& command, const fs::path& name) const {
    WriteWhole(path_ / name, "# " + command + "\nv 0 0 0\n");
    return path_ / name;
}

std::string ReadWhole(const fs::path& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

void WriteWhole(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

Worker::Worker(const std::vector<std::wstring>& arguments) {
    HANDLE input, output;
    MakePipe(input, to_, input);
    MakePipe(from_, output, output);
    const std::wstring program = (OwnFolder() / L"stand_in\\morvex-engine.exe").native();
    std::wstring command = L"morvex-engine";
    for (const std::wstring& argument : arguments) command += L" \"" + argument + L"\"";
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = input;
    start.hStdOutput = start.hStdError = output;
    PROCESS_INFORMATION process{};
    CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP, nullptr,
                   nullptr, &start, &process);
    process_ = process.hProcess;
    id_ = process.dwProcessId;
    for (const HANDLE handle : {process.hThread, input, output}) CloseHandle(handle);
}

Worker::~Worker() {
    TerminateProcess(process_, 1);
    WaitForSingleObject(process_, kLongestWait);
    Leave();
    CloseHandle(from_);
    CloseHandle(process_);
}

void Worker::Send(const std::string& bytes) const {
    DWORD sent = 0;
    WriteFile(to_, bytes.data(), static_cast<DWORD>(bytes.size()), &sent, nullptr);
}

void Worker::Leave() {
    if (to_ != nullptr) CloseHandle(to_);
    to_ = nullptr;
}

std::string Worker::ReadLine() {
    std::string line;
    DWORD got = 0;
    for (char c; ReadFile(from_, &c, 1, &got, nullptr) && got != 0 && c != '\n';) line += c;
    return line;
}

std::string Worker::ReadOutput() {
    std::string output;
    char bytes[4096];
    DWORD got = 0;
    while (ReadFile(from_, bytes, sizeof bytes, &got, nullptr) && got != 0) output.append(bytes, got);
    return output;
}

DWORD Worker::Wait() const {
    DWORD code = 9999;
    if (WaitForSingleObject(process_, kLongestWait) == WAIT_OBJECT_0) GetExitCodeProcess(process_, &code);
    return code;
}

WorkerRun RunWorker(const std::vector<std::wstring>& arguments) {
    Worker worker(arguments);
    const std::string output = worker.ReadOutput();
    return {worker.Wait(), output};
}

HANDLE JobProcessOf(const fs::path& input) {
    fs::path told = input;
    told += L".process";
    const ULONGLONG end = GetTickCount64() + kLongestWait;
    while (GetTickCount64() < end) {
        const std::string text = ReadWhole(told);
        if (text.ends_with(' '))
            return OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, static_cast<DWORD>(std::stoul(text)));
        Sleep(5);
    }
    return nullptr;
}

bool EndsSoon(HANDLE process) {
    const bool ended = process != nullptr && WaitForSingleObject(process, kLongestEnd) == WAIT_OBJECT_0;
    if (process != nullptr && !ended) TerminateProcess(process, 1);
    return ended;
}

}  // namespace morvex::test
