// A user's way through the real window with the real engine: drop, run, look, repair, run again, report.
#include <windows.h>

#include <dlgs.h>
#include <gtest/gtest.h>

#include "convert/conversion_library.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "tests/end_to_end/file_drag.h"
#include "tests/end_to_end/window.h"
#include "win/ole_session.h"
#include "win/paths.h"
#include "win/text_file.h"

namespace morvex::test {
namespace {

const std::wstring kParts = L"Z:\\usr\\share\\opencascade\\data\\step\\";

HWND VisibleWindow(const wchar_t* type) {
    HWND found = nullptr;
    while ((found = FindWindowExW(nullptr, found, type, nullptr)) && !IsWindowVisible(found)) {
    }
    return found;
}

// What the user presses while a menu is open.
void ChooseFirstOfMenu() {
    HWND menu = nullptr;
    ASSERT_TRUE(Eventually([&] { return (menu = VisibleWindow(L"#32768")) != nullptr; }));
    for (const int key : {VK_DOWN, VK_RETURN}) PostMessageW(menu, WM_KEYDOWN, static_cast<WPARAM>(key), 0);
}

// Answers the file dialog that the window has opened.
void NameFile(HWND owner, const std::wstring& path) {
    HWND dialog = nullptr;
    ASSERT_TRUE(Eventually([&] {
        dialog = GetLastActivePopup(owner);
        return dialog != owner && IsWindowVisible(dialog) && GetDlgItem(dialog, IDOK);
    }));
    std::pair<const std::wstring&, bool> entry{path, false};
    EnumChildWindows(
        dialog,
        [](HWND child, LPARAM parameter) -> BOOL {
            auto& [name, entered] = *reinterpret_cast<std::pair<const std::wstring&, bool>*>(parameter);
            if (GetDlgCtrlID(child) != cmb13) return TRUE;
            SendMessageW(child, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(name.c_str()));
            entered = true;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&entry));
    ASSERT_TRUE(entry.second);
    PostMessageW(dialog, WM_COMMAND, IDOK, reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDOK)));
}

TEST(WholeWay, TheEngineKnowsItsSettings) {
    const std::wstring engine =
        std::wstring(FolderOf(ModulePath())) + L"\\..\\..\\bin\\Plugins\\Polyvane_x64.dll";
    EXPECT_EQ(AskForEffect(engine, {{L"STL CONF", L"LINEAR_TOL"},
                                    {L"MODIFICATION D'ATTRIBUT", L"VISIBILITY"},
                                    {L"TRANSFORMATION ENTITES", L"BODY_TO_NURBS"},
                                    {L"FILTRAGE DE DOMAINE", L"GEOM_LINK"},
                                    {L"STL CONF", L"LINEAR"}}),
              (std::vector<bool>{true, true, true, false, false}));
}

TEST(WholeWay, DropRunRepairAndReport) {
    const OleSession ole;
    const TempFolder parts;
    const std::wstring good = parts / L"rods.step", bad = parts / L"screw.step",
                       report = parts / L"report.csv";
    ASSERT_TRUE(CopyFileW((kParts + L"linkrods.step").c_str(), good.c_str(), TRUE));
    const std::string screw = ReadFileBytes(kParts + L"screw.step");
    WriteFileBytes(bad, screw.substr(0, screw.size() / 2));

    const Program program{Program::AsBuilt{}};
    WriteTextFile(program.UserFolder() + L"\\zel_morvex.ini",
                  L"[General]\nFormat_in=STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)\n"
                  L"Format_out=STL (*.stl)\n");
    const OpenWindow window(program);
    ASSERT_TRUE(window.Handle());
    ASSERT_TRUE(DragFiles({good, bad}, GetDlgItem(window.Handle(), IDC_LIST)));
    ChooseFirstOfMenu();
    ASSERT_TRUE(Eventually([&] { return window.Rows() == 2; }));

    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), (std::vector<std::wstring>{L"OK", L"Corrupted File"}));
    const std::string first = ReadFileBytes(parts / L"rods.stl");
    EXPECT_GT(first.size(), 100'000u);
    EXPECT_FALSE(PathExists(parts / L"screw.stl"));
    std::wstring xml;
    ASSERT_TRUE(ReadTextFile(parts / L"rods.stl-zel.xml", xml));
    EXPECT_NE(xml.find(L"<preview"), std::wstring::npos);

    WriteFileBytes(bad, screw);
    ASSERT_TRUE(DeleteFileW((parts / L"rods.stl").c_str()));  // must not be made again
    window.Command(IDC_ACTION);
    ASSERT_TRUE(Eventually([&] { return window.Statuses().back() == L"OK"; }));
    EXPECT_TRUE(PathExists(parts / L"screw.stl"));
    EXPECT_FALSE(PathExists(parts / L"rods.stl"));

    window.Command(IDS_SAVE_RESULTS_REPORT);
    NameFile(window.Handle(), report);
    std::wstring text;
    ASSERT_TRUE(
        Eventually([&] { return ReadTextFile(report, text) && text.find(L"screw.step") != text.npos; }));
    EXPECT_EQ(text.find(L"Corrupted"), std::wstring::npos);
}

}  // namespace
}  // namespace morvex::test
