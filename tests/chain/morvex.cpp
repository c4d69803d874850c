#include "tests/chain/morvex.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace morvex::chain {
namespace {

// Debian's wrapper script says on every start what is missing for 32-bit programs; the loader itself does
// not.
constexpr char kWine[] = "/usr/lib/wine/wine64";

fs::path BuiltProgram() {
    const char* folder = std::getenv("MORVEX_PROGRAM_FOLDER");
    if (!folder) throw std::runtime_error("MORVEX_PROGRAM_FOLDER must name the built program folder");
    return folder;
}

}  // namespace

Folder::Folder() {
    std::string name = (fs::temp_directory_path() / "morvex-chain-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::vector<std::string> Folder::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

Process::~Process() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
}

int Process::Wait(double seconds) {
    int status = 0;
    if (!Eventually(seconds, [&] { return waitpid(id_, &status, WNOHANG) == id_; })) return -1;
    id_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void Process::Kill() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
    id_ = 0;
}

Program::Program() {
    fs::create_directories(Root() / "user");
    fs::copy(BuiltProgram() / "Morvex.exe", Root() / "Morvex.exe");
    fs::copy(BuiltProgram() / "norwend_morvex.ini", Root() / "norwend_morvex.ini");
    fs::create_directory_symlink(BuiltProgram() / "Plugins", Root() / "Plugins");
}

int Program::Start(const std::map<std::string, std::string>& environment,
                   const std::vector<std::string>& arguments) const {
    const int child = fork();
    if (child != 0) return child;
    setenv("MORVEX_USER_FOLDER", WindowsPath((Root() / "user").string()).c_str(), 1);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    const int nowhere = open("/dev/null", O_RDWR);
    for (int descriptor = 0; descriptor < 3; ++descriptor) dup2(nowhere, descriptor);
    std::vector<std::string> words = {kWine, (Root() / "Morvex.exe").string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    execv(kWine, pointers.data());
    _exit(127);
}

int Program::Convert(const std::string& from, const std::string& to, const fs::path& input,
                     const std::string& output, const std::string& configText) const {
    std::vector<std::string> arguments = {WindowsPath(input.string()), WindowsPath(output)};
    if (!configText.empty()) {
        WriteBytes(Root() / "test.zel", configText);
        arguments.push_back(WindowsPath((Root() / "test.zel").string()));
    }
    Process process(Start({{"MORVEX_FORMAT_IN", from}, {"MORVEX_FORMAT_OUT", to}}, arguments));
    const int code = process.Wait(60);
    if (code == -1) return -1000;
    return code > 127 ? code - 256 : code;
}

std::string WindowsPath(const std::string& path) {
    std::string result = path.starts_with("/") ? "Z:" + path : path;
    std::replace(result.begin(), result.end(), '/', '\\');
    return result;
}

std::string ReadBytes(const fs::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes
        << file.rdbuf();  // a file of /proc fails to be read, without an exception, when its process has gone
    return bytes.str();
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string Utf16(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (const char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

std::vector<int> ProcessesWith(const std::string& text) {
    std::vector<int> ids;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != name.npos) continue;
        if (ReadBytes(entry.path() / "cmdline").find(text) != std::string::npos)
            ids.push_back(std::stoi(name));
    }
    return ids;
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

}  // namespace morvex::chain
