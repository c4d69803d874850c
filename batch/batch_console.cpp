#include "batch/batch_console.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "core/text_catalogue.h"
#include "win/utf8.h"

namespace morvex {
namespace {

constexpr wchar_t kCommand[] = L"morvex-batch: ";

std::wstring JsonText(std::wstring_view text) {
    std::wstring json = L"\"";
    for (const wchar_t unit : text) {
        if (unit == L'"' || unit == L'\\')
            json += {L'\\', unit};
        else if (unit < L' ')
            json += Format(L"\\u%04x", static_cast<unsigned>(unit));
        else
            json += unit;
    }
    return json + L"\"";
}

std::wstring JsonLine(const JobRecord& record, FileState state, unsigned attempts) {
    return L"{\"state\":" + JsonText(FileStateText(state)) + L",\"start\":" + JsonText(record.start) +
           L",\"seconds\":" + Format(L"%.3f", record.seconds) + L",\"result\":" +
           std::to_wstring(record.result) + L",\"reason\":" + JsonText(record.reason) + L",\"attempts\":" +
           std::to_wstring(attempts) + L",\"input_bytes\":" + std::to_wstring(record.inputBytes) +
           L",\"output_bytes\":" + std::to_wstring(record.outputBytes) + L",\"input\":" +
           JsonText(record.input) + L",\"output\":" + JsonText(record.output) + L"}";
}

std::wstring PlainLine(const JobRecord& record, FileState state) {
    std::wstring line = std::wstring(FileStateText(state)) + L": " + record.input;
    if (!record.output.empty() && state != FileState::Failed) line += L" -> " + record.output;
    if (!record.reason.empty()) line += L" (" + record.reason + L")";
    // Under Wine a name may hold a line end.
    std::ranges::replace_if(
        line, [](wchar_t unit) { return unit < L' '; }, L'?');
    return line;
}

std::wstring Duration(double seconds) {
    const auto whole = static_cast<unsigned>(seconds);
    return Format(L"%u:%02u:%02u", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

const wchar_t* FileStateText(FileState state) {
    static constexpr const wchar_t* kTexts[kFileStates] = {L"converted",   L"failed",        L"skipped",
                                                           L"done before", L"failed before", L"to convert"};
    return kTexts[static_cast<int>(state)];
}

std::wstring BatchSummary(const BatchCounts& counts) {
    std::wstring text = std::to_wstring(counts.Of(FileState::Converted)) + L" converted, " +
                        std::to_wstring(counts.Of(FileState::Failed) + counts.Of(FileState::FailedBefore)) +
                        L" failed, " + std::to_wstring(counts.Of(FileState::Skipped)) + L" skipped";
    if (const size_t before = counts.Of(FileState::DoneBefore))
        text += L", " + std::to_wstring(before) + L" done before";
    if (const size_t planned = counts.Of(FileState::Planned))
        text += L", " + std::to_wstring(planned) + L" to convert";
    return text;
}

size_t BatchCounts::Finished() const {
    return std::accumulate(std::begin(of), std::end(of), size_t{0});
}

BatchConsole::BatchConsole(Style style) : style_(style) {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (style_ == Style::Plain && GetConsoleMode(output, &mode)) style_ = Style::Terminal;
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    if (GetConsoleScreenBufferInfo(output, &screen) && screen.dwSize.X > 1)
        width_ = static_cast<size_t>(screen.dwSize.X) - 1;
}

void BatchConsole::Tell(const JobRecord& record, FileState state, unsigned attempts) {
    const bool failure = state == FileState::Failed;
    if (style_ == Style::Json)
        PrintLine(JsonLine(record, state, attempts));
    else if (failure || style_ == Style::Plain || (style_ == Style::Terminal && state == FileState::Planned))
        PrintLine(PlainLine(record, state));
}

void BatchConsole::ShowProgress(const BatchCounts& counts) {
    if (style_ != Style::Terminal) return;
    const size_t now = counts.Of(FileState::Converted) + counts.Of(FileState::Failed);
    const double rate = counts.seconds > 0 ? static_cast<double>(now) / counts.seconds : 0;
    std::wstring line = BatchSummary(counts) + L" of " + std::to_wstring(counts.listed) +
                        (counts.allListed ? L"" : L"+") + Format(L", %.1f files/s", rate);
    const size_t left = counts.listed - std::min(counts.listed, counts.Finished());
    if (counts.allListed && rate > 0) line += L", " + Duration(static_cast<double>(left) / rate) + L" left";
    line = line.substr(0, width_);
    const std::lock_guard lock(mutex_);
    const size_t before = std::exchange(shown_, line.size());
    Print(STD_OUTPUT_HANDLE, L"\r" + line + std::wstring(before - std::min(before, line.size()), L' '));
}

void BatchConsole::TellEnd(const BatchCounts& counts, size_t leftAside, const std::wstring& stopped) {
    if (style_ == Style::Plain || style_ == Style::Terminal) {
        std::wstring line = BatchSummary(counts);
        if (leftAside) line += L"; " + std::to_wstring(leftAside) + L" other files left aside";
        PrintLine(line + L"; " + Duration(counts.seconds));
    }
    if (!stopped.empty()) Complain(stopped);
}

// A line of its own: the progress line is wiped away before it.
void BatchConsole::PrintLine(const std::wstring& line) {
    const std::lock_guard lock(mutex_);
    const size_t before = std::exchange(shown_, 0);
    Print(STD_OUTPUT_HANDLE, (before ? L"\r" + std::wstring(before, L' ') + L"\r" : L"") + line + L"\n");
}

void BatchConsole::Print(DWORD stream, const std::wstring& text) {
    const HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0, written = 0;
    if (GetConsoleMode(handle, &mode)) {
        WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        return;
    }
    const std::string bytes = ToUtf8(text);
    WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void BatchConsole::Complain(const std::wstring& message) {
    Print(STD_ERROR_HANDLE, kCommand + message + L"\n");
}

}  // namespace morvex
