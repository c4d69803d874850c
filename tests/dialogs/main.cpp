// Runs the tests; or shows one window for a look at it: settings_tests --show <window> <language>.
#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

#include <cwchar>
#include <gtest/gtest.h>

#include "dialogs/about_dlg.h"
#include "dialogs/cfg_dialogs.h"
#include "dialogs/options_dlg.h"
#include "tests/support/temp_folder.h"

namespace {

int Show(const std::wstring& window, const std::wstring& language) {
    using namespace morvex;
    const test::TempFolder folder;
    AppContext context(MakeProgramFolders(folder.Path(), folder.Path()));
    context.settings.developerMode.Set(true);
    context.text.SetLanguage(language);
    if (window == L"healing")
        CfgHealingDlg(context).Run(nullptr);
    else if (window == L"robcad")
        CfgRobcadDlg(context).Run(nullptr);
    else if (window == L"xmt")
        CfgNoHealingXmtDlg(context).Run(nullptr);
    else if (window == L"pdf")
        CfgNoHealingPDFDlg(context, PdfVariant::Pdf).Run(nullptr);
    else if (window == L"advanced")
        CfgPdfAdvancedDlg(context).Run(nullptr);
    else if (window == L"stl")
        CfgNoHealingSTLDlg(context).Run(nullptr);
    else if (window == L"default")
        CfgNoHealingDefaultDlg(context).Run(nullptr);
    else if (window == L"options")
        OptionsDlg(context, nullptr).Run(nullptr);
    else if (window == L"about")
        CAboutDlg(context.text).Run(nullptr);
    else
        return 1;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count == 4 && std::wcscmp(arguments[1], L"--show") == 0) return Show(arguments[2], arguments[3]);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
