#include "convert/output_watch.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "win/paths.h"
#include "win/text_file.h"

namespace morvex {
namespace {

std::wstring Unescaped(std::wstring text) {
    static constexpr struct {
        std::wstring_view escaped;
        wchar_t unit;
    } kEscapes[] = {
        {L"&lt;", L'<'}, {L"&gt;", L'>'}, {L"&quot;", L'"'}, {L"&apos;", L'\''}, {L"&amp;", L'&'}};
    for (const auto& escape : kEscapes) {  // the ampersand last: it begins all of them
        for (size_t at = 0; (at = text.find(escape.escaped, at)) != text.npos; ++at)
            text.replace(at, escape.escaped.size(), 1, escape.unit);
    }
    std::ranges::replace(text, L'\n', L' ');
    return text;
}

}  // namespace

OutputWatch::OutputWatch(std::wstring output)
    : output_(std::move(output)),
      before_(StampOf(output_)),
      reportBefore_(StampOf(output_ + kReportSuffix)) {}

void OutputWatch::RemoveHalfWritten() const {
    const FileStamp now = StampOf(output_);
    if (now && now != before_) DeleteFileW(WithLongPrefix(output_).c_str());
}

void OutputWatch::RemoveStaleReport() const {
    const std::wstring report = output_ + kReportSuffix;
    if (reportBefore_ && StampOf(report) == reportBefore_) DeleteFileW(WithLongPrefix(report).c_str());
}

std::wstring OutputWatch::ReadReason() const {
    constexpr std::wstring_view kBegin = L"<reason>", kEnd = L"</reason>";
    const std::wstring report = output_ + kReportSuffix;
    std::wstring text;
    const FileStamp now = StampOf(report);
    if (!now || now == reportBefore_ || !ReadTextFile(report, text)) return {};
    const size_t begin = text.find(kBegin);
    const size_t end = text.find(kEnd, begin);
    if (end == text.npos) return {};
    return Unescaped(text.substr(begin + kBegin.size(), end - begin - kBegin.size()));
}

}  // namespace morvex
