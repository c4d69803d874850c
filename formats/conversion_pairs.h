#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

// One conversion on offer; the input format is the key it is registered under.
struct ConversionPair {
    std::wstring outputFilterText;
    std::wstring inputDialogFilter;
    std::wstring outputExtension;
    std::wstring configFile;  // as the profile names it; may be empty
};

// The conversions on offer, by input filter text (in code-unit order) and, within it, in the order of their
// registration. Filled at start-up; reading it afterwards is safe on any thread.
class ConversionPairs {
  public:
    // Adds one pair, again if it is there already. Does nothing when either display name is unknown.
    void RegisterConversionPair(std::wstring_view inputDisplayName, std::wstring_view outputDisplayName,
                                std::wstring_view configFile);

    // Adds every pair of a profile: each input of the comma-separated list with each output, where an output
    // may be the name of a group. Nothing is trimmed.
    void RegisterProfile(std::wstring_view inputList, std::wstring_view outputList,
                         std::wstring_view configFile);

    // Says that files of these extensions (a comma-separated list) cannot be read, though the inputs of the
    // other list include them.
    void ExceptExtensions(std::wstring_view inputList, std::wstring_view extensionList);

    // The extensions that are excepted of an input, as they were given.
    const std::vector<std::wstring>& ExceptedOf(std::wstring_view inputFilterText) const;

    // Offers the native format, without a configuration file, as an output of every registered input and as
    // an input with every registered output. Pairs that a profile registered already stay as they are.
    void AddNativeFormat();

    const std::map<std::wstring, std::vector<ConversionPair>>& All() const { return pairs_; }

    // The pairs of an input, or null. Valid until the next registration.
    const std::vector<ConversionPair>* OutputsOf(std::wstring_view inputFilterText) const;

    // The first registered pair of these two, or null. Valid until the next registration.
    const ConversionPair* Find(std::wstring_view inputFilterText, std::wstring_view outputFilterText) const;

    // Whether the saved choice may stand. If not, puts the first registered input (the empty text when there
    // is none) and no output in its place and returns false: the caller saves both texts.
    bool ValidateSavedPair(std::wstring& formatIn, std::wstring& formatOut) const;

  private:
    void Add(const std::wstring& inputFilterText, const std::wstring& outputFilterText,
             std::wstring_view configFile);

    std::map<std::wstring, std::vector<ConversionPair>> pairs_;
    std::map<std::wstring, std::vector<std::wstring>> excepted_;
};

}  // namespace morvex
