#include "formats/conversion_pairs.h"

#include <algorithm>
#include <set>

#include "formats/format_groups.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"

namespace morvex {
namespace {

constexpr std::wstring_view kNativeDisplayName = L"NORWEND";  // the same on both sides

std::vector<std::wstring_view> SplitAtCommas(std::wstring_view list) {
    std::vector<std::wstring_view> tokens;
    for (size_t comma; (comma = list.find(L',')) != std::wstring_view::npos; list.remove_prefix(comma + 1))
        tokens.push_back(list.substr(0, comma));
    tokens.push_back(list);
    return tokens;
}

}  // namespace

void ConversionPairs::RegisterConversionPair(std::wstring_view inputDisplayName,
                                             std::wstring_view outputDisplayName,
                                             std::wstring_view configFile) {
    const std::wstring input = InputDisplayNameToFilterText(inputDisplayName);
    const std::wstring output = OutputDisplayNameToFilterText(outputDisplayName);
    if (!input.empty() && !output.empty()) Add(input, output, configFile);
}

void ConversionPairs::RegisterProfile(std::wstring_view inputList, std::wstring_view outputList,
                                      std::wstring_view configFile) {
    const std::vector<std::wstring_view> outputs = SplitAtCommas(outputList);
    for (std::wstring_view input : SplitAtCommas(inputList)) {
        for (std::wstring_view output : outputs) {
            const auto group = OutputGroup(output);
            if (group.empty()) RegisterConversionPair(input, output, configFile);
            for (const wchar_t* member : group) RegisterConversionPair(input, member, configFile);
        }
    }
}

void ConversionPairs::ExceptExtensions(std::wstring_view inputList, std::wstring_view extensionList) {
    if (extensionList.empty()) return;
    for (const std::wstring_view input : SplitAtCommas(inputList)) {
        for (const std::wstring_view extension : SplitAtCommas(extensionList))
            excepted_[InputDisplayNameToFilterText(input)].emplace_back(extension);
    }
}

const std::vector<std::wstring>& ConversionPairs::ExceptedOf(std::wstring_view inputFilterText) const {
    static const std::vector<std::wstring> kNone;
    const auto found = excepted_.find(std::wstring(inputFilterText));
    return found == excepted_.end() ? kNone : found->second;
}

void ConversionPairs::AddNativeFormat() {
    const std::wstring nativeInput = InputDisplayNameToFilterText(kNativeDisplayName);
    const std::wstring nativeOutput = OutputDisplayNameToFilterText(kNativeDisplayName);
    const auto addIfMissing = [this](const std::wstring& input, const std::wstring& output) {
        if (!Find(input, output)) Add(input, output, {});
    };

    std::set<std::wstring> profileOutputs;
    for (const auto& [input, pairs] : pairs_)
        for (const ConversionPair& pair : pairs) profileOutputs.insert(pair.outputFilterText);

    for (const auto& [input, pairs] : pairs_) addIfMissing(input, nativeOutput);
    for (const OutputFormat& output : OutputFormats())  // in the order of the table, as users know it
        if (profileOutputs.contains(output.filterText)) addIfMissing(nativeInput, output.filterText);
}

const std::vector<ConversionPair>* ConversionPairs::OutputsOf(std::wstring_view inputFilterText) const {
    const auto found = pairs_.find(std::wstring(inputFilterText));
    return found == pairs_.end() ? nullptr : &found->second;
}

const ConversionPair* ConversionPairs::Find(std::wstring_view inputFilterText,
                                            std::wstring_view outputFilterText) const {
    const std::vector<ConversionPair>* outputs = OutputsOf(inputFilterText);
    if (!outputs) return nullptr;
    const auto pair = std::ranges::find(*outputs, outputFilterText, &ConversionPair::outputFilterText);
    return pair == outputs->end() ? nullptr : &*pair;
}

bool ConversionPairs::ValidateSavedPair(std::wstring& formatIn, std::wstring& formatOut) const {
    if (formatIn == InputDisplayNameToFilterText(kNativeDisplayName) || Find(formatIn, formatOut))
        return true;
    formatIn = pairs_.empty() ? std::wstring() : pairs_.begin()->first;
    formatOut.clear();
    return false;
}

void ConversionPairs::Add(const std::wstring& inputFilterText, const std::wstring& outputFilterText,
                          std::wstring_view configFile) {
    pairs_[inputFilterText].push_back({outputFilterText, InputFilterTextToDialogFilter(inputFilterText),
                                       OutputFilterTextToExtension(outputFilterText),
                                       std::wstring(configFile)});
}

}  // namespace morvex
