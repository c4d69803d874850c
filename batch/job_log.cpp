#include "batch/job_log.h"

#include <algorithm>
#include <cwchar>
#include <functional>
#include <utility>
#include <vector>

#include "batch/same_input.h"
#include "core/text_catalogue.h"
#include "win/line_reader.h"
#include "win/paths.h"
#include "win/text_hash.h"
#include "win/utf8.h"

namespace morvex {
namespace {

constexpr size_t kFields = 8;
constexpr ULONGLONG kFlushMilliseconds = 1000;
constexpr std::uint64_t kBeginning = 1 << 16;  // bytes in which a log shows itself
constexpr std::pair<wchar_t, std::wstring_view> kEscapes[] = {
    {L'%', L"%25"}, {L'\t', L"%09"}, {L'\n', L"%0A"}, {L'\r', L"%0D"}};

std::wstring Escaped(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        const auto escape = std::ranges::find(kEscapes, unit, &std::pair<wchar_t, std::wstring_view>::first);
        if (escape == std::end(kEscapes))
            escaped += unit;
        else
            escaped += escape->second;
    }
    return escaped;
}

std::wstring Unescaped(std::wstring_view text) {
    std::wstring plain;
    while (!text.empty()) {
        const auto escape = std::ranges::find_if(
            kEscapes, [&](const auto& candidate) { return text.starts_with(candidate.second); });
        const bool found = escape != std::end(kEscapes);
        plain += found ? escape->first : text.front();
        text.remove_prefix(found ? escape->second.size() : 1);
    }
    return plain;
}

std::vector<std::wstring_view> SplitAtTabs(std::wstring_view line) {
    std::vector<std::wstring_view> fields;
    for (size_t tab; (tab = line.find(L'\t')) != line.npos; line.remove_prefix(tab + 1))
        fields.push_back(line.substr(0, tab));
    fields.push_back(line);
    return fields;
}

constexpr std::wstring_view kTimeShape = L"0000-00-00T00:00:00.000Z";

// Whether the text is a time, or as much of one as it is long.
bool BeginsTime(std::wstring_view text) {
    return text.size() <= kTimeShape.size() &&
           std::ranges::equal(text, kTimeShape.substr(0, text.size()), [](wchar_t unit, wchar_t shape) {
               return shape == L'0' ? unit >= L'0' && unit <= L'9' : unit == shape;
           });
}

bool IsTime(std::wstring_view text) {
    return text.size() == kTimeShape.size() && BeginsTime(text);
}

// A number as the log has it: digits, behind a minus or around a point where the field may have one.
bool IsNumber(std::wstring_view text, std::wstring_view others) {
    return !text.empty() && std::ranges::all_of(text, [&](wchar_t unit) {
        return (unit >= L'0' && unit <= L'9') || others.find(unit) != others.npos;
    });
}

// Whether that field of a record may hold the text.
bool Fits(size_t field, std::wstring_view text) {
    switch (field) {
        case 0:
            return IsTime(text);
        case 1:
            return IsNumber(text, L".");
        case 2:
            return IsNumber(text, L"-");
        case 4:
        case 5:
            return IsNumber(text, {});
        default:
            return true;
    }
}

// Whether the line is the beginning of a record, as a power cut leaves it.
bool BeginsRecord(std::wstring_view line) {
    const std::vector<std::wstring_view> fields = SplitAtTabs(line);
    if (fields.size() == 1) return BeginsTime(line);
    for (size_t i = 0; i + 1 < fields.size(); ++i) {
        if (!Fits(i, fields[i])) return false;
    }
    return fields.size() <= kFields;
}

UniqueHandle OpenForReading(const std::wstring& path) {
    return OwnFile(CreateFileW(WithLongPrefix(path).c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                               FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

bool MoveTo(HANDLE file, std::uint64_t offset) {
    LARGE_INTEGER place;
    place.QuadPart = static_cast<LONGLONG>(offset);
    return SetFilePointerEx(file, place, nullptr, FILE_BEGIN) != FALSE;
}

}  // namespace

std::wstring LogTime(const FILETIME& time) {
    SYSTEMTIME parts{};
    FileTimeToSystemTime(&time, &parts);
    return Format(L"%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.wYear, parts.wMonth, parts.wDay, parts.wHour,
                  parts.wMinute, parts.wSecond, parts.wMilliseconds);
}

std::string FormatJobRecord(const JobRecord& record) {
    const std::wstring tab = L"\t";
    return ToUtf8(record.start + tab + Format(L"%.3f", record.seconds) + tab +
                  std::to_wstring(record.result) + tab + Escaped(record.reason) + tab +
                  std::to_wstring(record.inputBytes) + tab + std::to_wstring(record.outputBytes) + tab +
                  Escaped(record.input) + tab + Escaped(record.output) + L"\n");
}

std::optional<JobRecord> ParseJobRecord(std::wstring_view line) {
    const std::vector<std::wstring_view> fields = SplitAtTabs(line);
    if (fields.size() != kFields || !BeginsRecord(line) || fields[6].empty()) return std::nullopt;
    const auto number = [&](size_t i) { return std::wcstoull(std::wstring(fields[i]).c_str(), nullptr, 10); };
    JobRecord record;
    record.start = fields[0];
    record.seconds = std::wcstod(std::wstring(fields[1]).c_str(), nullptr);
    record.result = static_cast<int>(std::wcstol(std::wstring(fields[2]).c_str(), nullptr, 10));
    record.reason = Unescaped(fields[3]);
    record.inputBytes = number(4);
    record.outputBytes = number(5);
    record.input = Unescaped(fields[6]);
    record.output = Unescaped(fields[7]);
    return record;
}

std::wstring JobLog::Open(const std::wstring& path) {
    file_ = OwnFile(CreateFileW(WithLongPrefix(path).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file_ && !IsLog()) {
        file_.reset();
        return L"It is no log, so nothing is appended to it: " + path;
    }
    if (file_) return CutIncompleteLine() ? L"" : L"The log cannot be read: " + path;
    return (GetLastError() == ERROR_SHARING_VIOLATION ? L"The log belongs to another batch that is running: "
                                                      : L"The log cannot be written: ") +
           path;
}

// Told by its first lines, since some of them may be damaged.
bool JobLog::IsLog() {
    LineReader reader(file_.get());
    bool empty = true;
    for (std::wstring line; reader.Next(line) && reader.Offset() < kBeginning; empty = false) {
        if (reader.Whole() ? ParseJobRecord(line).has_value() : empty && BeginsRecord(line)) return true;
    }
    return empty;
}

bool JobLog::CutIncompleteLine() {
    constexpr DWORD kPiece = 1 << 16;
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file_.get(), &size)) return false;
    auto end = static_cast<std::uint64_t>(size.QuadPart);
    for (std::string bytes; end > 0; end -= bytes.size()) {
        bytes.resize(std::min<std::uint64_t>(end, kPiece));
        DWORD read = 0;
        if (!MoveTo(file_.get(), end - bytes.size()) ||
            !ReadFile(file_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) ||
            read != bytes.size())
            return false;
        if (const size_t last = bytes.rfind('\n'); last != bytes.npos) {
            end -= bytes.size() - (last + 1);
            break;
        }
    }
    return MoveTo(file_.get(), end) &&
           (end == static_cast<std::uint64_t>(size.QuadPart) || SetEndOfFile(file_.get()));
}

bool JobLog::Append(const JobRecord& record) {
    if (!file_) return true;
    const std::string line = FormatJobRecord(record);
    LARGE_INTEGER before;
    if (!SetFilePointerEx(file_.get(), {}, &before, FILE_CURRENT)) return false;
    DWORD written = 0;
    if (!WriteFile(file_.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr) ||
        written != line.size()) {
        if (MoveTo(file_.get(), static_cast<std::uint64_t>(before.QuadPart))) SetEndOfFile(file_.get());
        return false;
    }
    if (std::exchange(flushed_, false)) flushAt_ = GetTickCount64() + kFlushMilliseconds;
    return true;
}

void JobLog::Flush() {
    if (!std::exchange(flushed_, true)) FlushFileBuffers(file_.get());
}

void JobLog::FlushWhenDue() {
    if (GetTickCount64() >= flushAt_) Flush();
}

std::wstring JobHistory::Read(const std::wstring& path, Outputs outputs) {
    file_ = OpenForReading(path);
    if (!file_) return PathExists(path) ? L"The log cannot be read: " + path : L"";
    LineReader reader(file_.get());
    for (std::wstring line; reader.Next(line);) {
        const std::optional<JobRecord> record = reader.Whole() ? ParseJobRecord(line) : std::nullopt;
        if (!record) continue;
        const Line last{HashOf(record->input), reader.Offset()};
        const OutputNames::Key key = names_.KeyOf(record->input);
        const auto [first, end] = lastLines_.equal_range(key);
        const auto known =
            std::find_if(first, end, [&](const auto& entry) { return entry.second.path == last.path; });
        if (known != end)
            known->second = last;
        else
            lastLines_.emplace(key, last);
        if (outputs == Outputs::Keep && !record->output.empty()) names_.Keep(names_.KeyOf(record->output));
    }
    return {};
}

std::optional<JobRecord> JobHistory::Find(const std::wstring& input) {
    const auto [first, end] = lastLines_.equal_range(names_.KeyOf(input));
    std::vector<Line> lines;
    for (auto entry = first; entry != end; ++entry) lines.push_back(entry->second);
    std::ranges::sort(lines, std::greater(), &Line::offset);
    const std::uint64_t path = HashOf(input);
    for (const Line& line : lines) {
        std::optional<JobRecord> record = RecordAt(line.offset);
        if (record && (line.path == path || SameInput(input, record->input))) return record;
    }
    return std::nullopt;
}

std::optional<JobRecord> JobHistory::RecordAt(std::uint64_t offset) {
    const std::lock_guard lock(mutex_);
    std::wstring line;
    if (!MoveTo(file_.get(), offset) || !LineReader(file_.get()).Next(line)) return std::nullopt;
    return ParseJobRecord(line);
}

void JobHistory::ForEachFailed(const std::function<void(const JobRecord&)>& take) {
    std::vector<std::uint64_t> offsets;
    for (const auto& [key, line] : lastLines_) offsets.push_back(line.offset);
    std::ranges::sort(offsets);
    for (const std::uint64_t offset : offsets) {
        const std::optional<JobRecord> record = RecordAt(offset);
        if (record && record->result != 0) take(*record);
    }
}

}  // namespace morvex
