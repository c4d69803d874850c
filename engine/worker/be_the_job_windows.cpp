#include "engine/worker/be_the_job_windows.h"

#include <windows.h>

#include <cstdlib>
#include <fcntl.h>
#include <io.h>

#include "engine/common/ini_file.h"
#include "engine/worker/handle_windows.h"
#include "engine/worker/job_order_windows.h"
#include "engine/worker/job_process.h"
#include "engine/worker/standard_streams.h"

namespace morvex {
namespace {

// The libraries talk a lot; only a trace lets them. Returns the pipe that standard output was.
OwnedHandle TakeJournal(bool trace) {
    HANDLE journal = nullptr;
    const HANDLE self = GetCurrentProcess();
    DuplicateHandle(self, GetStdHandle(STD_OUTPUT_HANDLE), self, &journal, 0, FALSE, DUPLICATE_SAME_ACCESS);
    const int null = _open("NUL", _O_RDWR | _O_BINARY | _O_NOINHERIT);
    _dup2(trace ? 2 : null, 1);
    if (!trace) _dup2(null, 2);
    return OwnedHandle(journal);
}

std::string ReceiveOrder() {
    std::string text;
    char bytes[4096];
    while (const std::size_t got = ReadFromCaller(bytes, sizeof bytes)) text.append(bytes, got);
    return text;
}

Outcome Convert(const ReceivedOrder& order, Journal& journal) {
    IniFile file = IniFile::Read(order.request.config);
    for (const std::string& setting : order.request.settings) file.Override(setting);
    // The process that watches has read the same settings, complaints included.
    std::vector<std::string> told;
    const Settings settings = ReadSettings(file, told);
    return RunConversion({order.request, settings, order.target, 0, 0}, journal);
}

}  // namespace

void BeTheJob() {
    PrepareStandardStreams();
    const ReceivedOrder order = DecodeOrder(ReceiveOrder());
    const OwnedHandle pipe = TakeJournal(order.request.trace);
    Journal journal([&pipe](std::string_view line) {
        DWORD written = 0;
        WriteFile(pipe.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    });
    journal.Finish(Convert(order, journal));
    // The libraries' own destructors would cost more than the memory is worth.
    TerminateProcess(GetCurrentProcess(), EXIT_SUCCESS);
    std::abort();
}

}  // namespace morvex
