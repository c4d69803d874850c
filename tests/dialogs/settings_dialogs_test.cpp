// Opens every settings dialog on files of all kinds and reads back key by key what it saves.
#include <algorithm>
#include <gtest/gtest.h>

#include "res/settings_ids.h"
#include "res/string_ids.h"
#include "tests/dialogs/dialogs_fixture.h"
#include "tests/support/library_log.h"
#include "win/unique_handle.h"

namespace morvex::test {
namespace {

constexpr wchar_t kFilter[] = L"FILTRAGE DE DOMAINE";
constexpr wchar_t kAttribute[] = L"MODIFICATION D'ATTRIBUT";
constexpr wchar_t kTransform[] = L"TRANSFORMATION ENTITES";
constexpr wchar_t kAsk[] = L"DIALOG BOX";

struct Choice {
    std::wstring value;
    int control;  // 0: no control is checked
};

// One key shown by buttons: what each of its values checks, what a value outside checks, what is saved then
// (the value itself when empty), and the value shown and saved when the key is missing.
struct KeyCase {
    ConfigKey key;
    std::vector<Choice> choices;
    int outside;
    std::wstring savedOutside;
    std::wstring fallback;
};

KeyCase Check(const wchar_t* section, const wchar_t* key, int control, const wchar_t* fallback = L"0") {
    return {{section, key}, {{L"1", control}, {L"0", 0}}, 0, L"0", fallback};
}
KeyCase Pair(const wchar_t* key, int deleted, int written, int outside = 0) {
    return {{kAttribute, key}, {{L"-1", deleted}, {L"0", written}}, outside, L"0", L"-1"};
}
KeyCase ThreeWay(const wchar_t* key, int zero, int minusOne, int one, const wchar_t* fallback) {
    return {{kAsk, key}, {{L"0", zero}, {L"-1", minusOne}, {L"1", one}}, 0, L"", fallback};
}

const KeyCase kPart = Pair(L"VISIBILITY", 1011, 1012);
const KeyCase kAssembly = Pair(L"ASM_VISIBILITY", 1015, 1016);
const KeyCase kAnnotation = Pair(L"FDT_VISIBILITY", 1013, 1014);
const KeyCase kWireframe = Check(kFilter, L"FILAIRE", 1001);
const KeyCase kFdt = Check(kFilter, L"FDT", 1002);
const KeyCase kRender = Check(kFilter, L"RENDER_INFOS", 2053);
const KeyCase kModelDisplay = Check(kFilter, L"MODEL_DISPLAY", 2054);
const KeyCase kMetadata = Check(kFilter, L"META_PARAMETERS", 1075);
const KeyCase kGeomLink = Check(kFilter, L"GEOM_LINK", 2055);
const KeyCase kSolid = Check(kFilter, L"SOLID", 2057);
const KeyCase kMesh = Check(kFilter, L"MESH", 2058);
const KeyCase kNurbs = Check(kTransform, L"BODY_TO_NURBS", 1020);
const KeyCase kExplode = Check(kTransform, L"EXPLOSE_GROUP", 1023);
const KeyCase kKeep = Check(kTransform, L"KEEP_ASSEMBLY", 1026, L"1");
const KeyCase kSimplify = Check(kTransform, L"REMOVE_EMPTY_NODES", 1028);
const KeyCase kCatalog = ThreeWay(L"CHOOSE_IN_CATALOG", 1025, 1064, 1065, L"-1");
const KeyCase kAxis = ThreeWay(L"CHOOSE_AXIS", 1021, 1062, 1063, L"0");
const KeyCase kLayer = ThreeWay(L"CHOOSE_LAYER_FILTER", 1019, 1060, 1061, L"0");
const KeyCase kReference = {
    {kAsk, L"CHOOSE_REFERENCESET_FILTER"}, {{L"1", 1067}, {L"0", 1027}}, 1027, L"0", L"0"};
const KeyCase kUseMeshes = {{L"STL CONF", L"USE_TESSEL"}, {{L"1", 1068}, {L"0", 1069}}, 1069, L"0", L"1"};
const KeyCase kLinearOff = Check(L"STL CONF", L"LINEAR_DIS", 1059, L"1");
const KeyCase kAngularOff = Check(L"STL CONF", L"ANGULAR_DIS", 1018, L"1");
const KeyCase k3dFormat = {
    {L"PDF CONF", L"3D_FORMAT"}, {{L"0", 1070}, {L"1", 1073}, {L"2", 1074}}, 1074, L"2", L"0"};

enum class Window { Healing, Robcad, Xmt, Default, Stl, Pdf, Prc };

struct DialogCase {
    const char* name;
    Window window;
    int path;
    std::vector<KeyCase> keys;
    std::vector<ConfigKey> otherKeys;  // written too, see the tests of numbers
};

const std::vector<ConfigKey> kTolerances = {{L"STL CONF", L"LINEAR_TOL"}, {L"STL CONF", L"ANGULAR_TOL"}};

std::vector<DialogCase> DialogCases() {
    const std::vector<KeyCase> xmt = {kPart,    kAssembly, kWireframe, kReference, kAxis,
                                      kCatalog, kLayer,    kNurbs,     kKeep};
    std::vector<KeyCase> other = xmt;
    other.insert(other.end(), {kFdt, kAnnotation, kExplode, kSolid, kMesh});
    const std::vector<KeyCase> stl = {kPart,   kAssembly,     kAnnotation, kWireframe, kFdt,
                                      kRender, kModelDisplay, kKeep,       kReference, kCatalog,
                                      kLayer,  kUseMeshes,    kLinearOff,  kAngularOff};
    std::vector<KeyCase> pdf = stl;
    pdf.insert(pdf.end(), {kMetadata, kGeomLink, kSimplify, k3dFormat});
    return {{"Healing",
             Window::Healing,
             1041,
             {Pair(L"VISIBILITY", 1043, 1044, 1044), Pair(L"ASM_VISIBILITY", 1045, 1046, 1046),
              Check(kTransform, L"KEEP_ASSEMBLY", 1067, L"1"), kWireframe, kNurbs},
             {}},
            {"Robcad",
             Window::Robcad,
             1043,
             {kPart, kAssembly},
             {{L"ROBCAD CONF", L"NAME_LENGTH"},
              {L"ROBCAD CONF", L"WRITE_MAX_ANGLE"},
              {L"ROBCAD CONF", L"WRITE_MAX_SAG"}}},
            {"Xmt", Window::Xmt, 1085, xmt, {}},
            {"Default", Window::Default, 1085, other, {}},
            {"Stl", Window::Stl, 1085, stl, kTolerances},
            {"Pdf", Window::Pdf, 1085, pdf, kTolerances},
            {"Prc", Window::Prc, 1085, pdf, kTolerances}};
}

class EverySettingsDialogTest : public SettingsTest, public testing::WithParamInterface<DialogCase> {
  protected:
    void ShowIt(const DialogScript& script) {
        switch (GetParam().window) {
            case Window::Healing:
                return Show<CfgHealingDlg>(script);
            case Window::Robcad:
                return Show<CfgRobcadDlg>(script);
            case Window::Xmt:
                return Show<CfgNoHealingXmtDlg>(script);
            case Window::Default:
                return Show<CfgNoHealingDefaultDlg>(script);
            case Window::Stl:
                return Show<CfgNoHealingSTLDlg>(script);
            case Window::Pdf:
                return Show<CfgNoHealingPDFDlg>(script, PdfVariant::Pdf);
            case Window::Prc:
                return Show<CfgNoHealingPDFDlg>(script, PdfVariant::Prc);
        }
    }

    static void ExpectOnly(const ShownDialog& dialog, const KeyCase& key, int checked) {
        for (const Choice& choice : key.choices) {
            if (!choice.control) continue;
            EXPECT_EQ(dialog.Checked(choice.control), choice.control == checked)
                << "control " << choice.control << " of " << testing::PrintToString(key.key.second);
        }
    }

    // The file's content without what this dialog may write.
    ConfigContent Rest() const {
        ConfigContent content = ReadConfig(file_);
        for (const KeyCase& key : GetParam().keys) content.erase(key.key);
        for (const ConfigKey& key : GetParam().otherKeys) content.erase(key);
        return content;
    }

    std::wstring Value(const ConfigKey& key) const {
        return profile::ReadText(file_, key.first.c_str(), key.second.c_str(), L"missing");
    }
};

const Choice& Nth(const KeyCase& key, size_t n) {
    return key.choices[n % key.choices.size()];
}

TEST_P(EverySettingsDialogTest, ShowsAndKeepsEachValueOfEachKey) {
    const ConfigContent rest = Rest();
    for (size_t n = 0; n < 3; ++n) {
        for (const KeyCase& key : GetParam().keys) WriteConfig(file_, {{key.key, Nth(key, n).value}});
        ShowIt([&](const ShownDialog& dialog) {
            EXPECT_EQ(dialog.Text(GetParam().path), file_);
            for (const KeyCase& key : GetParam().keys) ExpectOnly(dialog, key, Nth(key, n).control);
            dialog.Click(IDOK);
        });
        for (const KeyCase& key : GetParam().keys)
            EXPECT_EQ(Value(key.key), Nth(key, n).value) << key.key.second;
        EXPECT_EQ(Rest(), rest);
    }
}

TEST_P(EverySettingsDialogTest, SavesWhatTheUserChooses) {
    const ConfigContent rest = Rest();
    for (size_t n = 0; n < 3; ++n) {
        ShowIt([&](const ShownDialog& dialog) {
            dialog.Click(1069);  // where there is a tessellation group its tolerances are enabled
            for (const KeyCase& key : GetParam().keys) {
                const Choice& choice = Nth(key, n);
                if (choice.control && !dialog.Checked(choice.control)) dialog.Click(choice.control);
                for (const Choice& off : key.choices) {
                    if (!choice.control && off.control && dialog.Checked(off.control))
                        dialog.Click(off.control);
                }
            }
            dialog.Click(IDOK);
        });
        for (const KeyCase& key : GetParam().keys)
            EXPECT_EQ(Value(key.key), Nth(key, n).value) << key.key.second;
        EXPECT_EQ(Rest(), rest);
    }
}

TEST_P(EverySettingsDialogTest, BearsValuesOutsideTheRange) {
    for (const wchar_t* value : {L"7", L"-2", L"2147483648"}) {
        for (const KeyCase& key : GetParam().keys) WriteConfig(file_, {{key.key, value}});
        ShowIt([&](const ShownDialog& dialog) {
            for (const KeyCase& key : GetParam().keys) ExpectOnly(dialog, key, key.outside);
            dialog.Click(IDOK);
        });
        for (const KeyCase& key : GetParam().keys) {
            EXPECT_EQ(Value(key.key), key.savedOutside.empty() ? value : key.savedOutside) << key.key.second;
        }
    }
}

TEST_P(EverySettingsDialogTest, ShowsAndSavesTheFallbackOfMissingKeys) {
    for (const KeyCase& key : GetParam().keys) RemoveKey(file_, key.key);
    ShowIt([&](const ShownDialog& dialog) {
        for (const KeyCase& key : GetParam().keys) {
            const auto choice = std::ranges::find(key.choices, key.fallback, &Choice::value);
            ASSERT_NE(choice, key.choices.end());
            ExpectOnly(dialog, key, choice->control);
        }
        dialog.Click(IDOK);
    });
    for (const KeyCase& key : GetParam().keys) EXPECT_EQ(Value(key.key), key.fallback) << key.key.second;
}

TEST_P(EverySettingsDialogTest, CreatesTheMissingFileAndCancelWritesNothing) {
    const std::string defaults = ReadFileBytes(file_);
    context_.settings.configFilePath.Set(L"");
    context_.settings.developerMode.Set(true);  // every pair uses the shared file
    const std::wstring shared = context_.folders.SharedConfig();
    ShowIt([&](const ShownDialog& dialog) {
        EXPECT_EQ(ReadFileBytes(shared), defaults);
        EXPECT_EQ(dialog.Text(GetParam().path), shared);
        for (const KeyCase& key : GetParam().keys) dialog.Click(key.choices.front().control);
        dialog.Click(IDCANCEL);
        EXPECT_FALSE(dialog.Open());
    });
    EXPECT_EQ(ReadFileBytes(shared), defaults);
}

TEST_P(EverySettingsDialogTest, KeepsFileAndChoicesWhenTheFileCannotBeWritten) {
    const std::string before = ReadFileBytes(file_);
    const KeyCase& key = GetParam().keys.front();
    const std::wstring message =
        L"Morvex 2024: " + Format(context_.text(IDS_CANNOT_SAVE_SETTINGS).c_str(), file_.c_str());
    ShowIt([&](const ShownDialog& dialog) {
        dialog.Click(key.choices[1].control);
        SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_READONLY);
        dialog.Click(IDOK);
        SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_NORMAL);
        EXPECT_EQ(messages_, std::vector{message});
        {
            const UniqueHandle lock(CreateFileW(file_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                OPEN_EXISTING, 0, nullptr));
            dialog.Click(IDOK);
        }
        EXPECT_EQ(messages_, (std::vector{message, message}));
        EXPECT_EQ(ReadFileBytes(file_), before);
        EXPECT_TRUE(dialog.Open());
        dialog.Click(IDOK);
        EXPECT_FALSE(dialog.Open());
    });
    EXPECT_EQ(Value(key.key), key.choices[1].value);
    EXPECT_EQ(messages_.size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(, EverySettingsDialogTest, testing::ValuesIn(DialogCases()),
                         [](const auto& info) { return std::string(info.param.name); });

// Settings that the library at hand does not use stay usable; their tooltips say it.
TEST_F(SettingsTest, TooltipsSayWhatHasNoEffect) {
    context_.folders.library = LibraryLog::LibraryPath();
    const std::wstring remark = context_.text(IDS_TIP_NOT_USED);
    Show<CfgNoHealingXmtDlg>([&](const ShownDialog& dialog) {
        const auto said = [&](int id) {
            wchar_t text[600] = L"";
            TTTOOLINFOW tool{};
            tool.cbSize = TTTOOLINFOW_V1_SIZE;
            tool.hwnd = dialog.Window();
            tool.uId = reinterpret_cast<UINT_PTR>(dialog.Item(id));
            tool.lpszText = text;
            for (HWND tip = nullptr; (tip = FindWindowExW(nullptr, tip, TOOLTIPS_CLASSW, nullptr));) {
                if (GetWindow(tip, GW_OWNER) == dialog.Window())
                    SendMessageW(tip, TTM_GETTEXTW, std::size(text), reinterpret_cast<LPARAM>(&tool));
            }
            return std::wstring(text);
        };
        EXPECT_EQ(said(IDC_PART_DELETE), context_.text(IDS_TIP_CFG_DELETE));
        EXPECT_EQ(said(IDC_NURBS), context_.text(IDS_TIP_CFG_NURBS) + L"\n" + remark);
        EXPECT_TRUE(dialog.Enabled(IDC_NURBS));
    });
}

}  // namespace
}  // namespace morvex::test
