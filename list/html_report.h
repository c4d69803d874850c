#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/text_catalogue.h"
#include "win/unique_handle.h"

namespace morvex {

// One file of a report.
struct ReportEntry {
    std::wstring input, output, status, reason;
    bool failed = false;
    double seconds = 0;  // 0: as the conversion's own report says
    std::uint64_t inputBytes = 0, outputBytes = 0;
};

// A page of results that needs nothing else: it sorts by a click on a column's header, and shows the picture
// and the facts of a model where the conversion's own report holds them. Written as the files end and put in
// place by Finish; a report that is not finished leaves the old page as it was. One thread at a time.
class HtmlReport {
  public:
    // Headers are in the language of the texts.
    explicit HtmlReport(std::wstring path, TextCatalogue text = {})
        : path_(std::move(path)), text_(std::move(text)) {}
    ~HtmlReport();
    HtmlReport(const HtmlReport&) = delete;
    HtmlReport& operator=(const HtmlReport&) = delete;

    // Each is false when the page cannot be written.
    bool Begin(std::wstring_view title);
    bool Add(const ReportEntry& entry);
    bool Finish(std::wstring_view summary);

  private:
    std::wstring Temporary() const;
    bool Write(std::wstring_view text);
    bool Flush();

    std::wstring path_;
    TextCatalogue text_;
    UniqueHandle file_;
    std::string buffer_;
    size_t pictures_ = 0;
};

}  // namespace morvex
