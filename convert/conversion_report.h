#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace morvex {

// The conversion report that a library leaves beside an output: the output's path with this behind it.
inline constexpr wchar_t kReportSuffix[] = L"-zel.xml";

// What such a report says; what it does not say is empty.
struct ConversionReport {
    // Values by their names in the report: "parts", "solids", "faces", "triangles", "box" ("x y z x y z", in
    // millimetres) and others.
    using Facts = std::map<std::wstring, std::wstring>;
    Facts read;                         // of the model that the input holds
    Facts written;                      // of the output
    std::wstring reason;                // why the conversion failed, in one line
    std::vector<std::wstring> missing;  // what was lost on the way
    std::vector<std::wstring> warnings;
    std::wstring seconds;  // that the conversion took
    std::string picture;   // of the model: the bytes of a PNG file

    // A fact of the output or else of the model; empty when neither is known.
    std::wstring Fact(const std::wstring& name) const;
    // The lengths of the model's box along the axes, as "a x b x c mm"; empty when not known.
    std::wstring Dimensions() const;
};

// Reads the report beside an output; nothing when there is none. Of a file that is no report nothing is
// known.
std::optional<ConversionReport> ReadConversionReport(const std::wstring& output);

}  // namespace morvex
