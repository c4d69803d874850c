#include "convert/command_formats.h"

#include <algorithm>

#include "convert/child_process.h"
#include "core/conversion_config.h"
#include "formats/file_recognition.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/environment.h"
#include "win/paths.h"

namespace morvex {
namespace {

// The format of that display name or filter text.
std::wstring FilterText(const std::wstring& named, std::wstring (*ofDisplayName)(std::wstring_view)) {
    const std::wstring found = ofDisplayName(named);
    return found.empty() ? named : found;
}

// Whether the format's text, as in "Inventor 3D (*.ipt,*.iam)", names the path's extension.
bool TextNames(std::wstring_view filterText, std::wstring_view path) {
    const std::wstring_view extension = ExtensionOf(path);
    size_t at = filterText.rfind(L'(');
    while (!extension.empty() && (at = filterText.find(L"*.", at)) != filterText.npos) {
        at += 2;
        if (SameText(filterText.substr(at, filterText.find_first_of(L";,)", at) - at), extension))
            return true;
    }
    return false;
}

// By the format's own rule, or by its text when it takes every file.
bool Recognises(std::wstring_view inputFilterText, std::wstring_view path) {
    return IsFileOfInputFormat(L"C:\\a.no extension of any", inputFilterText)
               ? TextNames(inputFilterText, path)
               : IsFileOfInputFormat(path, inputFilterText);
}

// An output format's own extension, or another one by which the same format is recognised as an input.
bool Names(std::wstring_view path, const OutputFormat& format) {
    const std::wstring_view extension = ExtensionOf(path);
    if (extension.empty()) return false;
    if (SameText(L"." + std::wstring(extension), format.extension)) return true;
    const std::wstring asInput = InputDisplayNameToFilterText(format.displayName);
    return !asInput.empty() && Recognises(asInput, path);
}

std::wstring OutputOf(const AppContext& context, const std::wstring& input, std::wstring_view path) {
    std::wstring any;
    for (const OutputFormat& format : OutputFormats()) {
        if (!Names(path, format)) continue;
        if (context.pairs.Find(input, format.filterText)) return format.filterText;
        if (any.empty()) any = format.filterText;
    }
    return any;
}

}  // namespace

std::wstring InputFormatOf(const ConversionPairs& pairs, std::wstring_view path) {
    std::wstring any;
    for (const InputFormat& format : InputFormats()) {
        if (!Recognises(format.filterText, path)) continue;
        if (pairs.OutputsOf(format.filterText)) return format.filterText;
        if (any.empty()) any = format.filterText;
    }
    return any;
}

ConversionFormats ChooseFormats(const AppContext& context, const std::wstring& input,
                                const std::wstring& output) {
    const std::wstring namedInput = EnvironmentText(kFormatInVariable);
    const std::wstring namedOutput = EnvironmentText(kFormatOutVariable);
    ConversionFormats saved = SavedFormats(context.settings);
    if (saved.input.empty() || saved.output.empty()) saved = {};
    std::wstring from = saved.input, to = saved.output;
    if (!namedInput.empty()) {
        from = FilterText(namedInput, InputDisplayNameToFilterText);
    } else if (saved.input.empty() || (!namedOutput.empty() && !Recognises(saved.input, input))) {
        const std::wstring found = InputFormatOf(context.pairs, input);
        if (!found.empty()) from = found;
    }
    if (!namedOutput.empty()) {
        to = FilterText(namedOutput, OutputDisplayNameToFilterText);
    } else if (saved.output.empty() || !namedInput.empty()) {
        const std::wstring found = OutputOf(context, from, output);
        if (!found.empty()) to = found;
    }
    return LookUpFormats(from, to);
}

bool HasExtensionOf(const std::wstring& path, const std::wstring& outputFilterText) {
    return std::ranges::any_of(OutputFormats(), [&](const OutputFormat& format) {
        return format.filterText == outputFilterText && Names(path, format);
    });
}

bool HasOutputExtension(const std::wstring& path) {
    return std::ranges::any_of(OutputFormats(),
                               [&](const OutputFormat& format) { return Names(path, format); });
}

}  // namespace morvex
