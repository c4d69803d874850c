// Figures of the run, as "name value" lines, times in milliseconds.
//
//   bench_run rows COUNT LIBRARY                        a run of so many rows in this process
//   bench_run children COUNT PROGRAM FROM TO INPUT OUT  a multiprocess run of copies of one row, into
//                                                       the folder OUT
#include <windows.h>

#include <cstdio>
#include <omp.h>
#include <string>

#include "convert/conversion_library.h"
#include "convert/conversion_run.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/command_line.h"
#include "win/paths.h"

namespace {

using namespace morvex;

double Now() {
    LARGE_INTEGER count, frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double ProcessorTime() {
    FILETIME ignored, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &ignored, &ignored, &kernel, &user);
    const auto milliseconds = [](const FILETIME& time) {
        return static_cast<double>(static_cast<unsigned long long>(time.dwHighDateTime) << 32 |
                                   time.dwLowDateTime) /
               1e4;
    };
    return milliseconds(kernel) + milliseconds(user);
}

// All that a run of this many rows takes but for loading the library, which is measured by itself.
int RunRows(int count, const std::wstring& library) {
    ConversionJob job;
    for (int i = 0; i < count; ++i) {
        job.files.push_back({L"C:\\in", std::to_wstring(i) + L".stp"});
    }
    job.request.outputFolder = L"C:\\out";
    job.request.formats.extension = L".stl";
    job.request.libraryPath = library;
    RunObserver nobody;
    const double loadStart = Now();
    for (int i = 0; i < count; ++i) ConversionLibrary(library).ConvertEntry();
    const double load = Now() - loadStart;
    const double start = Now();
    RunConversions(job, nobody);
    const double run = Now() - start;
    std::printf("load_per_file %.4f\nrun_per_file %.4f\nown_per_file %.4f\n", load / count, run / count,
                (run - load) / count);
    return 0;
}

int RunChildren(int count, const std::vector<std::wstring>& arguments) {
    ConversionJob job;
    const std::wstring folder(FolderOf(arguments[6]));
    const std::wstring name(FileNameOf(arguments[6]));
    job.files.assign(static_cast<size_t>(count), {folder, name});
    job.request.outputFolder = arguments[7];
    job.request.program = arguments[3];
    job.request.formats = LookUpFormats(InputDisplayNameToFilterText(arguments[4]),
                                        OutputDisplayNameToFilterText(arguments[5]));
    job.request.multiprocess = true;
    RunObserver nobody;
    const double start = Now(), processorStart = ProcessorTime();
    const RunOutcome outcome = RunConversions(job, nobody);
    std::printf("wall %.2f\nprocessor_per_file %.4f\nworkers %d\nfailed %d\n", Now() - start,
                (ProcessorTime() - processorStart) / count, omp_get_max_threads(),
                static_cast<int>(outcome.failed));
    return outcome.failed == 0 ? 0 : 1;
}

}  // namespace

int main() {
    const std::vector<std::wstring> arguments = SplitCommandLine(GetCommandLineW());
    if (arguments.size() == 4 && arguments[1] == L"rows")
        return RunRows(std::stoi(arguments[2]), arguments[3]);
    if (arguments.size() == 8 && arguments[1] == L"children")
        return RunChildren(std::stoi(arguments[2]), arguments);
    std::fputs("see the head of bench_run.cpp\n", stderr);
    return 2;
}
