#include "list/html_report.h"

#include <windows.h>

#include "convert/conversion_report.h"
#include "res/string_ids.h"
#include "win/paths.h"
#include "win/utf8.h"

namespace morvex {
namespace {

constexpr size_t kBuffer = 1 << 16;
constexpr size_t kMostPictures = 2000;  // a page with more is too heavy to open

constexpr wchar_t kHead[] =
    LR"(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>%s</title>
<style>
body { font: 14px sans-serif; margin: 1em; color: #222 }
table { border-collapse: collapse }
th, td { padding: .3em .8em; text-align: left; border-bottom: 1px solid #ddd; vertical-align: top }
th { cursor: pointer; background: #2b3d4f; color: #fff; position: sticky; top: 0 }
td.p { overflow-wrap: anywhere; min-width: 14em }
td.n { text-align: right; font-variant-numeric: tabular-nums }
tr.failed td { background: #fdecea }
img { max-width: 160px; max-height: 120px }
</style></head><body><h1>%s</h1>
<table><thead><tr>)";

constexpr wchar_t kTail[] =
    LR"(<script>
document.querySelectorAll("th").forEach((head, column) => head.onclick = () => {
  const body = document.querySelector("tbody"), up = head.dataset.up !== "1";
  const text = row => row.cells[column].textContent;
  const number = head.className === "n";
  const order = (a, b) => number ? text(a) - text(b) : text(a).localeCompare(text(b));
  const rows = [...body.rows].sort((a, b) => up ? order(a, b) : order(b, a));
  document.querySelectorAll("th").forEach(other => delete other.dataset.up);
  head.dataset.up = up ? "1" : "0";
  body.append(...rows);
});
</script></body></html>
)";

std::wstring Escaped(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        if (unit == L'<')
            escaped += L"&lt;";
        else if (unit == L'>')
            escaped += L"&gt;";
        else if (unit == L'&')
            escaped += L"&amp;";
        else if (unit == L'"')
            escaped += L"&quot;";
        else
            escaped += unit;
    }
    return escaped;
}

std::wstring Base64(std::string_view bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::wstring text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        std::uint32_t bits = 0;
        for (size_t i = 0; i < 3; ++i)
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
        for (size_t i = 0; i < 4; ++i)
            text += i <= group.size() ? static_cast<wchar_t>(kDigits[bits >> (18 - 6 * i) & 0x3F]) : L'=';
    }
    return text;
}

std::wstring Cell(std::wstring_view text) {
    return L"<td>" + Escaped(text) + L"</td>";
}

std::wstring PathCell(std::wstring_view path) {
    return L"<td class=\"p\">" + Escaped(path) + L"</td>";
}

std::wstring NumberCell(const std::wstring& number) {
    return L"<td class=\"n\">" + Escaped(number) + L"</td>";
}

constexpr struct {
    int text;
    bool number;  // sorted as such
} kColumns[] = {{IDS_PREVIEW, false},
                {IDS_FILENAME, false},
                {IDS_STATUS, false},
                {IDS_INFORMATION, false},
                {IDS_FACT_TIME, true},
                {IDS_REPORT_INPUT_BYTES, true},
                {IDS_REPORT_OUTPUT_BYTES, true},
                {IDS_FACT_BOX, false},
                {IDS_FACT_PARTS, true},
                {IDS_FACT_SOLIDS, true},
                {IDS_FACT_FACES, true},
                {IDS_FACT_TRIANGLES, true},
                {IDS_REPORT_OUTPUT, false}};

// Why a file failed, or what a conversion lost and warns of.
std::wstring Remarks(const ReportEntry& entry, const ConversionReport& report) {
    std::wstring remarks = Escaped(entry.reason);
    for (const auto* texts : {&report.missing, &report.warnings}) {
        for (const std::wstring& text : *texts) remarks += (remarks.empty() ? L"" : L"<br>") + Escaped(text);
    }
    return L"<td>" + remarks + L"</td>";
}

}  // namespace

HtmlReport::~HtmlReport() {
    if (!file_) return;
    file_.reset();
    DeleteFileW(Temporary().c_str());
}

bool HtmlReport::Begin(std::wstring_view title) {
    file_ = OwnFile(CreateFileW(Temporary().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    const std::wstring escaped = Escaped(title);
    std::wstring headers;
    for (const auto& column : kColumns)
        headers += (column.number ? L"<th class=\"n\">" : L"<th>") + Escaped(text_(column.text)) + L"</th>";
    return file_ &&
           Write(Format(kHead, escaped.c_str(), escaped.c_str()) + headers + L"</tr></thead><tbody>\n");
}

bool HtmlReport::Add(const ReportEntry& entry) {
    ConversionReport report;
    if (!entry.output.empty()) report = ReadConversionReport(entry.output).value_or(ConversionReport{});
    std::wstring row = entry.failed ? L"<tr class=\"failed\"><td>" : L"<tr><td>";
    if (!report.picture.empty() && pictures_ < kMostPictures) {
        ++pictures_;
        row += L"<img alt=\"\" src=\"data:image/png;base64," + Base64(report.picture) + L"\">";
    }
    row += L"</td>" + PathCell(entry.input) + Cell(entry.status) + Remarks(entry, report) +
           NumberCell(entry.seconds > 0 ? Format(L"%.3f", entry.seconds) : report.seconds) +
           NumberCell(std::to_wstring(entry.inputBytes)) + NumberCell(std::to_wstring(entry.outputBytes)) +
           Cell(report.Dimensions());
    for (const wchar_t* fact : {L"parts", L"solids", L"faces", L"triangles"})
        row += NumberCell(report.Fact(fact));
    return Write(row + PathCell(entry.output) + L"</tr>\n");
}

bool HtmlReport::Finish(std::wstring_view summary) {
    if (!file_ || !Write(L"</tbody></table><p>" + Escaped(summary) + L"</p>\n") || !Write(kTail) || !Flush())
        return false;
    file_.reset();
    if (MoveFileExW(Temporary().c_str(), WithLongPrefix(path_).c_str(), MOVEFILE_REPLACE_EXISTING))
        return true;
    DeleteFileW(Temporary().c_str());
    return false;
}

std::wstring HtmlReport::Temporary() const {
    return WithLongPrefix(TemporaryBeside(path_));
}

bool HtmlReport::Write(std::wstring_view text) {
    buffer_ += ToUtf8(text);
    return buffer_.size() < kBuffer || Flush();
}

bool HtmlReport::Flush() {
    DWORD written = 0;
    const auto size = static_cast<DWORD>(buffer_.size());
    const bool whole = WriteFile(file_.get(), buffer_.data(), size, &written, nullptr) && written == size;
    buffer_.clear();
    return whole;
}

}  // namespace morvex
