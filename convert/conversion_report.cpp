#include "convert/conversion_report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <string_view>

#include "core/text_catalogue.h"
#include "win/text_file.h"

namespace morvex {
namespace {

std::wstring Unescaped(std::wstring text) {
    static constexpr struct {
        std::wstring_view escaped;
        wchar_t unit;
    } kEscapes[] = {{L"&lt;", L'<'},    {L"&gt;", L'>'},  {L"&quot;", L'"'},
                    {L"&apos;", L'\''}, {L"&#10;", L' '}, {L"&amp;", L'&'}};
    for (const auto& escape : kEscapes) {  // the ampersand last: it begins all of them
        for (size_t at = 0; (at = text.find(escape.escaped, at)) != text.npos; ++at)
            text.replace(at, escape.escaped.size(), 1, escape.unit);
    }
    std::ranges::replace(text, L'\n', L' ');
    return text;
}

// One element of a flat report: its attributes as they stand, and its text.
struct Element {
    std::wstring_view attributes, content;
};

std::vector<Element> ElementsOf(std::wstring_view text, std::wstring_view name) {
    const std::wstring opening = L"<" + std::wstring(name), closing = L"</" + std::wstring(name) + L">";
    std::vector<Element> found;
    for (size_t at = 0; (at = text.find(opening, at)) != text.npos;) {
        at += opening.size();
        const size_t end = text.find(L'>', at);
        if (end == text.npos) break;
        if (text.find_first_of(L" />", at) != at) continue;  // a longer name
        const size_t close = text[end - 1] == L'/' ? end + 1 : text.find(closing, end);
        if (close == text.npos) break;
        found.push_back({text.substr(at, end - at), text.substr(end + 1, close - end - 1)});
        at = close;
    }
    return found;
}

ConversionReport::Facts FactsOf(std::wstring_view attributes) {
    ConversionReport::Facts facts;
    for (size_t equals; (equals = attributes.find(L"=\"")) != attributes.npos;) {
        const size_t end = attributes.find(L'"', equals + 2);
        if (end == attributes.npos) break;
        const std::wstring_view before = attributes.substr(0, equals);
        const size_t blank = before.find_last_of(L" \n\t");
        const std::wstring_view name = blank == before.npos ? before : before.substr(blank + 1);
        facts.emplace(name, Unescaped(std::wstring(attributes.substr(equals + 2, end - equals - 2))));
        attributes.remove_prefix(end + 1);
    }
    return facts;
}

std::vector<std::wstring> TextsOf(std::wstring_view text, std::wstring_view name) {
    std::vector<std::wstring> texts;
    for (const Element& element : ElementsOf(text, name))
        texts.push_back(Unescaped(std::wstring(element.content)));
    return texts;
}

ConversionReport::Facts FirstFacts(std::wstring_view text, std::wstring_view name) {
    const std::vector<Element> elements = ElementsOf(text, name);
    return elements.empty() ? ConversionReport::Facts{} : FactsOf(elements.front().attributes);
}

std::string FromBase64(std::wstring_view text) {
    constexpr std::wstring_view kDigits = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const wchar_t unit : text) {
        const size_t digit = kDigits.find(unit);
        if (digit == kDigits.npos) continue;  // line ends, and the padding behind the last digit
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFF);
    }
    return bytes;
}

}  // namespace

std::wstring ConversionReport::Fact(const std::wstring& name) const {
    for (const Facts* facts : {&written, &read}) {
        if (const auto found = facts->find(name); found != facts->end()) return found->second;
    }
    return {};
}

std::wstring ConversionReport::Dimensions() const {
    std::wistringstream text(Fact(L"box"));
    std::array<double, 6> corners{};
    for (double& value : corners) text >> value;
    if (!text) return {};
    return Format(L"%.6g \u00D7 %.6g \u00D7 %.6g mm", std::abs(corners[3] - corners[0]),
                  std::abs(corners[4] - corners[1]), std::abs(corners[5] - corners[2]));
}

std::optional<ConversionReport> ReadConversionReport(const std::wstring& output) {
    std::wstring text;
    if (!ReadTextFile(output + kReportSuffix, text)) return std::nullopt;
    ConversionReport report;
    report.read = FirstFacts(text, L"read");
    report.written = FirstFacts(text, L"written");
    for (std::wstring& reason : TextsOf(text, L"reason")) report.reason = std::move(reason);
    report.missing = TextsOf(text, L"missing");
    report.warnings = TextsOf(text, L"warning");
    const ConversionReport::Facts time = FirstFacts(text, L"time");
    if (const auto found = time.find(L"seconds"); found != time.end()) report.seconds = found->second;
    for (const Element& preview : ElementsOf(text, L"preview")) report.picture = FromBase64(preview.content);
    return report;
}

}  // namespace morvex
