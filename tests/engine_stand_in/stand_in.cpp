// In place of the modules and their large libraries: does what the input's first line says.
#include <windows.h>

#include <fstream>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/common/formats.h"
#include "engine/common/job.h"
#include "engine/common/memory_limit.h"
#include "engine/common/paths.h"
#include "engine/worker/modules.h"

namespace morvex {
namespace {

[[noreturn]] void Fault() {
    *static_cast<volatile int*>(nullptr) = 1;
    std::abort();
}

// Half a gigabyte more each time, every page of it used.
[[noreturn]] void EatMemory() {
    std::vector<std::vector<char>> eaten;
    for (;;) eaten.emplace_back(512u << 20, 'x');
}

void Write(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path) << text << '\n';
}

// Beside the input, for the test to find: which process this is.
void TellProcess(const Request& request) {
    std::filesystem::path told = request.input;
    told += ".process";
    std::ofstream(told) << GetCurrentProcessId() << ' ';
}

Outcome Act(const std::string& command, const Job& job) {
    if (command == "fault") Fault();
    if (command == "abort") std::abort();
    if (command == "exit") ExitProcess(0);
    if (command == "killed") TerminateProcess(GetCurrentProcess(), 1);
    if (command == "throw") throw std::runtime_error("thrown");
    if (command == "eat") EatMemory();
    if (command == "no memory") throw std::bad_alloc();
    if (command == "sleep") Sleep(INFINITE);
    for (volatile bool spin = command == "spin"; spin;) {
    }
    job.journal.Start(Phase::Write);
    if (command == "write fault") Fault();
    // What the process was told has come through its order.
    Write(job.target, Utf8(job.request.output.filename()) + " " + job.request.from->name + " " +
                          job.request.to->name + (job.settings.asciiStl ? " ascii" : "") +
                          (job.request.parallel ? " parallel" : ""));
    Write(std::filesystem::path(job.target).replace_extension(".mtl"), "side");
    return Outcome::Ok();
}

Outcome RunJob(const Job& job) {
    std::ifstream input(job.request.input);
    std::string command;
    std::getline(input, command);
    puts("a library's chatter");
    for (const int percent : {10, 10, 55}) job.journal.Progress(percent);
    AllowMemory(1 << 20);  // as for a side file; what else the job object limits stays
    TellProcess(job.request);
    return Act(command.substr(std::min<std::size_t>(2, command.size())), job);
}

}  // namespace

void* FindFunction(const char*, const char*) {
    return reinterpret_cast<void*>(&RunJob);
}

}  // namespace morvex
