#include "core/start_up.h"

#include "win/profile.h"

namespace morvex {
namespace {

// Every section of the installation settings file but these two is a conversion profile.
bool IsProfile(const std::wstring& section) {
    return section != L"General" && section != L"Options";
}

// A list of names without the blanks around its commas, which are no part of them.
std::wstring NamesOnly(const std::wstring& list) {
    std::wstring names;
    for (const wchar_t c : list) {
        if (c == L' ' && names.ends_with(L',')) continue;
        if (c == L',') names.resize(names.find_last_not_of(L' ') + 1);
        names += c;
    }
    return names;
}

void RegisterProfiles(AppContext& context) {
    constexpr unsigned kLongestList = 4096;
    const std::wstring& file = context.folders.installationSettings;
    for (const std::wstring& section : profile::SectionNames(file)) {
        if (!IsProfile(section)) continue;
        const auto value = [&](const wchar_t* key) {
            return profile::ReadText(file, section.c_str(), key, L"", kLongestList);
        };
        const std::wstring inputs = NamesOnly(value(L"ZEL_INPUT_FORMAT"));
        context.pairs.RegisterProfile(inputs, NamesOnly(value(L"ZEL_OUTPUT_FORMAT")),
                                      value(L"ZEL_CONFIG_FILE"));
        context.pairs.ExceptExtensions(inputs, NamesOnly(value(L"ZEL_INPUT_EXCEPT")));
    }
}

void RepairSavedPair(AppContext& context) {
    std::wstring input = context.settings.formatIn.Get();
    std::wstring output = context.settings.formatOut.Get();
    if (context.pairs.ValidateSavedPair(input, output)) return;
    // Without a pair on offer there is none to save, at every start: writing takes longer than all the rest.
    AppSettings& settings = context.settings;
    if (input != settings.formatIn.Get()) settings.formatIn.Set(input);
    if (output != settings.formatOut.Get()) settings.formatOut.Set(output);
}

}  // namespace

void LoadState(AppContext& context, SavedPair pair) {
    context.settings.Load();
    RegisterProfiles(context);
    context.text.SetLanguage(context.settings.language.Get());
    if (context.settings.addNativeFormat.Get()) context.pairs.AddNativeFormat();
    if (pair == SavedPair::Repair && !context.settings.developerMode.Get()) RepairSavedPair(context);
}

}  // namespace morvex
