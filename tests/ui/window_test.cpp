#include "tests/support/dialog_driver.h"
#include "tests/ui/main_window_fixture.h"
#include "ui/morvex_dlg_messages.h"
#include "win/access_keys.h"
#include "win/window_device.h"

namespace morvex::test {
namespace {

constexpr int kDeveloperBoxes[] = {IDS_HEALING, IDS_MULTIPROCESS, IDS_CONVERT_AT_STARTUP, IDS_OVERRIDE};

int Scaled(HWND window, int pixels) {
    return MulDiv(pixels, static_cast<int>(GetDpiForWindow(window)), USER_DEFAULT_SCREEN_DPI);
}

std::wstring HeaderTitle(const ListView& view, int index) {
    wchar_t title[64] = L"";
    HDITEMW item{};
    item.mask = HDI_TEXT;
    item.pszText = title;
    item.cchTextMax = 64;
    SendMessageW(reinterpret_cast<HWND>(view.Send(LVM_GETHEADER)), HDM_GETITEMW, static_cast<WPARAM>(index),
                 reinterpret_cast<LPARAM>(&item));
    return title;
}

TEST_F(MainWindowTest, OpensWithTheSettings) {
    Choose(L"Output_folder", parts_.c_str());
    Open();
    EXPECT_EQ(Control(window_->Handle()).Text(), L"Morvex 2024 64-bit        (24.4)");
    EXPECT_EQ(FormatsOnOffer(IDC_INPUT_FORMAT), (Texts{L"ALL (*.*)", kIgesIn, kStepIn}));
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
    EXPECT_EQ(ComboBox(Item(IDC_OUTPUT_FORMAT)).SelectedText(), L"STL (*.stl)");
    EXPECT_FALSE(Enabled(IDS_RUN_CONVERSION));
    EXPECT_FALSE(Enabled(IDS_EMPTY_LIST));
    EXPECT_TRUE(CheckBox(Item(IDS_WRITE_INTO_INPUT_FOLDER)).Checked());
    EXPECT_TRUE(Edit(Item(IDC_OUTPUT_FOLDER)).ReadOnly());
    EXPECT_EQ(Text(IDC_OUTPUT_FOLDER), L" ");
    for (const int id : kDeveloperBoxes) EXPECT_FALSE(GetWindowLongW(Item(id), GWL_STYLE) & WS_VISIBLE);
    const int widths[] = {415, 76, 268, 162};
    for (int i = 0; i < kListColumns; ++i)
        EXPECT_EQ(View().ColumnWidth(i), Scaled(Item(IDC_LIST), widths[i])) << i;
    EXPECT_GE(View().VisibleCount(), 22u);
    EXPECT_FALSE(GetWindowLongW(Item(IDC_LIST), GWL_STYLE) & WS_HSCROLL);
}

TEST_F(MainWindowTest, DeveloperModeShowsItsBoxesAndTheyWriteTheirSettings) {
    Install(L"General", L"DeveloperMode", L"1");
    Choose(L"Healing", L"1");
    Choose(L"SameFolderAsInput", L"0");
    Choose(L"Output_folder", parts_.c_str());
    Open();
    EXPECT_EQ(Control(window_->Handle()).Text(), L"Morvex 2024 64-bit DEV MODE       (24.4)");
    EXPECT_EQ(Text(IDC_OUTPUT_FOLDER), parts_);
    EXPECT_FALSE(CheckBox(Item(IDS_WRITE_INTO_INPUT_FOLDER)).Checked());
    for (const int id : kDeveloperBoxes) {
        EXPECT_TRUE(GetWindowLongW(Item(id), GWL_STYLE) & WS_VISIBLE);
        EXPECT_EQ(CheckBox(Item(id)).Checked(), id == IDS_HEALING);
        Click(id);
    }
    const std::wstring installation = context_->folders.installationSettings;
    EXPECT_EQ(Chosen(L"Healing"), L"0");
    EXPECT_EQ(profile::ReadInt(installation, L"General", L"Multiprocess", -1), 1);
    EXPECT_EQ(profile::ReadInt(installation, L"General", L"ConvertAtStartup", -1), 1);
    EXPECT_EQ(profile::ReadInt(context_->folders.SharedConfig(), L"INTERNAL CONF", L"FILL_OVERRIDE", -1), 1);
}

// Every text has room in its control, in every language; no two access keys are equal.
TEST_F(MainWindowTest, TextsFitInAllLanguages) {
    Install(L"General", L"DeveloperMode", L"1");
    for (const Language& language : Languages()) {
        profile::WriteText(user_ + L"\\zel_morvex.ini", L"Options", L"Language", language.name);
        Open();
        const HDC device = GetDC(window_->Handle());
        SelectObject(device, reinterpret_cast<HFONT>(SendMessageW(window_->Handle(), WM_GETFONT, 0, 0)));
        std::wstring keys;
        for (HWND control = GetWindow(window_->Handle(), GW_CHILD); control;
             control = GetWindow(control, GW_HWNDNEXT)) {
            const std::wstring text = Control(control).Text();
            const int id = GetDlgCtrlID(control);
            if (text.empty() || id == IDC_INPUT_FORMAT || id == IDC_OUTPUT_FORMAT) continue;
            RECT room{}, needed{};
            GetClientRect(control, &room);
            DrawTextW(device, text.c_str(), -1, &needed, DT_CALCRECT | DT_SINGLELINE);
            const LONG type = GetWindowLongW(control, GWL_STYLE) & BS_TYPEMASK;
            const bool box =
                SendMessageW(control, WM_GETDLGCODE, 0, 0) & DLGC_BUTTON && type == BS_AUTOCHECKBOX;
            const int margin = Scaled(control, box ? 18 : 0);
            EXPECT_LE(needed.right + margin, room.right) << id << " in language " << language.offset;
            const size_t mark = text.find(L'&');
            if (mark != text.npos && text[mark + 1] != L'&') keys += text[mark + 1];
        }
        const auto expectRoom = [&](const std::wstring& text, int column, int padding) {
            SIZE size{};
            GetTextExtentPoint32W(device, text.c_str(), static_cast<int>(text.size()), &size);
            EXPECT_LE(size.cx + Scaled(Item(IDC_LIST), padding), View().ColumnWidth(column))
                << column << " in language " << language.offset;
        };
        for (int column = 0; column < kListColumns; ++column)
            expectRoom(HeaderTitle(View(), column), column, 12);
        ReleaseDC(window_->Handle(), device);
        CharUpperW(keys.data());
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());
        EXPECT_GE(keys.size(), 12u);
    }
}

// What the window says of a run is not cut, in any language; nor are the formats on offer.
TEST_F(MainWindowTest, WhatARunSaysFitsInAllLanguages) {
    const LibraryLog log;
    Install(L"C", L"ZEL_INPUT_FORMAT", L"STEP,STL,OBJ,glTF,glTF Binary,FBX,DWG/DXF 3D,IFC");
    Install(L"C", L"ZEL_OUTPUT_FORMAT", L"STEP,IGES,OCC,STL,OBJ,glTF,glTF Binary,VRML,Collada,FBX,3MF");
    Texts names;
    for (const int result : {0, 1, -2, -5, -15, -22, -23, -27, -28, -29, -32, -38})
        names.push_back(L"{result=" + std::to_wstring(result) + L"}.stp");
    for (const Language& language : Languages()) {
        SCOPED_TRACE(language.offset);
        profile::WriteText(user_ + L"\\zel_morvex.ini", L"Options", L"Language", language.name);
        Open();
        const auto needed = [&](int id, const std::wstring& text) {
            SIZE size{};
            GetTextExtentPoint32W(WindowDevice(Item(id)).Get(), text.c_str(), static_cast<int>(text.size()),
                                  &size);
            return static_cast<int>(size.cx);
        };
        const auto room = [&](int id) {
            RECT client{};
            GetClientRect(Item(id), &client);
            return static_cast<int>(client.right);
        };
        for (const int box : {IDC_INPUT_FORMAT, IDC_OUTPUT_FORMAT}) {
            for (const std::wstring& format : FormatsOnOffer(box))
                EXPECT_LE(needed(box, format) + 4, room(box) - GetSystemMetrics(SM_CXVSCROLL))
                    << testing::PrintToString(format);
        }
        AddFiles(names);
        Click(IDS_RUN_CONVERSION);
        const auto text = [&](int id) { return context_->text(id); };
        const std::wstring longest = Format(text(IDS_RUN_PROGRESS).c_str(), 1000, 1000) + L"   " +
                                     Format(text(IDS_PROGRESS_FAILED).c_str(), 100) + L"   " +
                                     Format(text(IDS_PROGRESS_AT_WORK).c_str(), 50) + L"   " +
                                     Format(text(IDS_PROGRESS_ELAPSED).c_str(), L"10:00:00") + L"   " +
                                     Format(text(IDS_PROGRESS_LEFT).c_str(), L"10:00:00");
        EXPECT_LE(needed(IDC_STATUS_LINE, longest), room(IDC_STATUS_LINE));
        ASSERT_TRUE(WaitForState(RunState::Finished));
        LetItWork();
        for (const std::wstring& status : Statuses())
            EXPECT_LT(needed(IDC_LIST, L" " + status + L" "), View().ColumnWidth(3))
                << testing::PrintToString(status);
        EXPECT_LE(needed(IDC_STATUS_LINE, StatusLine()), room(IDC_STATUS_LINE));
        EXPECT_LE(needed(IDC_ACTION, Text(IDC_ACTION)) + 8, room(IDC_ACTION));
    }
}

TEST_F(MainWindowTest, LanguageChangesWhileOpen) {
    const LibraryLog log;
    Install(L"General", L"DeveloperMode", L"1");  // more in the statuses
    Open();
    AddFiles({L"a.stp", L"b{result=-5}.stp", L"c{result=-9}.stp", L"d{result=-5}.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    Select({3});
    Command(IDS_REMOVE_FROM_LIST);
    Drive([&] { Command(IDS_OPTIONS); },
          [](const ShownDialog& options) {
              ASSERT_TRUE(ComboBox(options.Item(1030)).SelectText(L"Deutsch"));
              SendMessageW(options.Window(), WM_COMMAND, MAKEWPARAM(1030, CBN_SELCHANGE),
                           reinterpret_cast<LPARAM>(options.Item(1030)));
          });
    TextCatalogue german;
    german.SetLanguage(L"Deutsch");
    const auto shown = [&](int id) {
        std::wstring text = Text(id);
        std::erase(text, L'&');
        return text;
    };
    for (const int id : {IDS_ADD_FILES, IDS_RUN_CONVERSION, IDS_INPUT_FORMAT, IDS_WRITE_INTO_INPUT_FOLDER}) {
        EXPECT_EQ(shown(id), german(id));
    }
    EXPECT_EQ(HeaderTitle(View(), 0), german(IDS_FILENAME));
    EXPECT_EQ(HeaderTitle(View(), 3), german(IDS_STATUS));
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
    Command(kUndoCommand);
    const std::wstring time = L" [0.00 sec]", corrupted = german(IDS_RESULT_CORRUPTED) + time;
    EXPECT_EQ(Statuses(), (Texts{L"OK" + time, corrupted, L"-9" + time, corrupted}));
}

// As the system does when the window comes to a screen of another scaling: a new font, then the message.
TEST_F(MainWindowTest, RowsFollowTheScaling) {
    Open();
    AddFiles({L"a.stp"});
    const auto rowHeight = [&] {
        const RECT row = View().RowRect(0);
        return row.bottom - row.top;
    };
    const LONG before = rowHeight();
    LOGFONTW font{};
    GetObjectW(reinterpret_cast<HFONT>(View().Send(WM_GETFONT)), sizeof font, &font);
    font.lfHeight *= 2;
    const UniqueFont larger(CreateFontIndirectW(&font));
    View().Send(WM_SETFONT, reinterpret_cast<WPARAM>(larger.get()), FALSE);
    RECT place{};
    GetWindowRect(window_->Handle(), &place);
    SendMessageW(window_->Handle(), WM_DPICHANGED, MAKEWPARAM(192, 192), reinterpret_cast<LPARAM>(&place));
    EXPECT_TRUE(WaitFor([&] { return rowHeight() > before * 3 / 2; }));
    window_.reset();
}

TEST_F(MainWindowTest, ListTakesTheRoomOfALargerWindow) {
    Open();
    RECT before{}, window{}, after{}, quit{};
    GetWindowRect(Item(IDC_LIST), &before);
    GetWindowRect(window_->Handle(), &window);
    SetWindowPos(window_->Handle(), nullptr, 0, 0, window.right - window.left + 200,
                 window.bottom - window.top + 100, SWP_NOMOVE | SWP_NOZORDER);
    GetWindowRect(Item(IDC_LIST), &after);
    GetWindowRect(Item(IDS_QUIT), &quit);
    EXPECT_EQ(after.right - after.left, before.right - before.left + 200);
    EXPECT_EQ(after.bottom - after.top, before.bottom - before.top + 100);
    EXPECT_GT(quit.top, after.bottom);
    int columns = 0;
    for (int i = 0; i < kListColumns; ++i) columns += View().ColumnWidth(i);
    EXPECT_EQ(columns, Scaled(Item(IDC_LIST), 415 + 76 + 268 + 162) + 200);
}

TEST_F(MainWindowTest, ADraggedDividerLeavesNoBarAndNoStrip) {
    Open();
    AddFiles(Texts(30, L"a.stp"));
    const auto header = reinterpret_cast<HWND>(View().Send(LVM_GETHEADER));
    RECT room{};
    GetClientRect(Item(IDC_LIST), &room);
    for (const auto& [column, width] : {std::pair{0, 700}, {2, 30}, {3, 20}, {0, 2000}, {1, 100}, {3, 400}}) {
        HDITEMW item{};
        item.mask = HDI_WIDTH;
        item.cxy = width;
        SendMessageW(header, HDM_SETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
        int columns = 0;
        for (int i = 0; i < kListColumns; ++i) columns += View().ColumnWidth(i);
        EXPECT_EQ(columns, room.right) << column;
        EXPECT_FALSE(GetWindowLongW(Item(IDC_LIST), GWL_STYLE) & WS_HSCROLL);
    }
}

TEST_F(MainWindowTest, SizePlaceAndColumnsAreKept) {
    Open();
    RECT before{}, after{};
    SetWindowPos(window_->Handle(), nullptr, 40, 50, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    GetWindowRect(window_->Handle(), &before);
    SetWindowPos(window_->Handle(), nullptr, 0, 0, before.right - before.left,
                 before.bottom - before.top - 150, SWP_NOMOVE | SWP_NOZORDER);
    GetWindowRect(window_->Handle(), &before);
    const auto header = reinterpret_cast<HWND>(View().Send(LVM_GETHEADER));
    HDITEMW item{};
    item.mask = HDI_WIDTH;
    item.cxy = 300;
    SendMessageW(header, HDM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    const int status = View().ColumnWidth(3);
    Click(IDS_QUIT);
    Open();
    GetWindowRect(window_->Handle(), &after);
    EXPECT_TRUE(EqualRect(&before, &after));
    EXPECT_EQ(View().ColumnWidth(0), 300);
    EXPECT_EQ(View().ColumnWidth(3), status);
    window_.reset();
    profile::WriteText(user_ + L"\\zel_morvex.ini", L"Window", L"Place", L"90000 90000 91000 91000 96 0");
    Open();
    GetWindowRect(window_->Handle(), &after);
    EXPECT_TRUE(MonitorFromRect(&after, MONITOR_DEFAULTTONULL));  // no such screen: a place in sight
}

TEST_F(MainWindowTest, EscapeDoesNotCloseAndQuitDoes) {
    Open();
    PostMessageW(Item(IDC_LIST), WM_KEYDOWN, VK_ESCAPE, 0);
    PostMessageW(window_->Handle(), WM_APP + 100, 0, 0);
    int seen = 0;
    WaitFor([&] { return ++seen > 3; });
    ASSERT_TRUE(window_->Handle());
    Click(IDS_QUIT);
    EXPECT_FALSE(window_->Handle());
}

TEST_F(MainWindowTest, ChoosingFormats) {
    Install(L"C", L"ZEL_INPUT_FORMAT", L"IGES 3D");  // a second profile with that pair
    Install(L"C", L"ZEL_OUTPUT_FORMAT", L"STL");
    Open();
    AddFiles({L"a.stp"});
    ChooseFormat(IDC_INPUT_FORMAT, kStepIn);
    EXPECT_EQ(Names(), Texts{L"a.stp"});  // the same format again keeps the list
    ChooseFormat(IDC_OUTPUT_FORMAT, L"VDAFS (*.vda)");
    EXPECT_EQ(Chosen(L"Format_out"), L"VDAFS (*.vda)");
    ChooseFormat(IDC_INPUT_FORMAT, kIgesIn);
    EXPECT_TRUE(List().Empty());
    EXPECT_EQ(FormatsOnOffer(IDC_OUTPUT_FORMAT), (Texts{L"OBJ (*.obj)", L"STL (*.stl)"}));
    EXPECT_EQ(ComboBox(Item(IDC_OUTPUT_FORMAT)).SelectedText(), L"OBJ (*.obj)");  // repaired
    EXPECT_EQ(Chosen(L"Format_in"), kIgesIn);
    EXPECT_EQ(Chosen(L"Format_out"), L"OBJ (*.obj)");
}

TEST_F(MainWindowTest, SameFormatIsNotWrittenBesideItsInput) {
    Choose(L"Output_folder", L"C:\\no such folder");
    Open();
    ChooseFormat(IDC_OUTPUT_FORMAT, L"STEP (*.stp)");
    EXPECT_FALSE(CheckBox(Item(IDS_WRITE_INTO_INPUT_FOLDER)).Checked());
    EXPECT_EQ(Text(IDC_OUTPUT_FOLDER), L"C:\\no such folder");
    EXPECT_EQ(Chosen(L"SameFolderAsInput"), L"0");
    EXPECT_EQ(messages_, Texts{L"Output folder is not valid!"});
    EXPECT_EQ(StatusLine(), context_->text(IDS_NOT_BESIDE_INPUT));
    ChooseFormat(IDC_OUTPUT_FORMAT, L"STL (*.stl)");  // other formats: as the user had it
    EXPECT_TRUE(CheckBox(Item(IDS_WRITE_INTO_INPUT_FOLDER)).Checked());
    EXPECT_EQ(Chosen(L"SameFolderAsInput"), L"1");
    ChooseFormat(IDC_OUTPUT_FORMAT, L"STEP (*.stp)");
    chosenFolder_ = parts_;
    Click(IDC_BROWSE);
    ChooseFormat(IDC_OUTPUT_FORMAT, L"STL (*.stl)");
    EXPECT_EQ(Chosen(L"SameFolderAsInput"), L"0");  // the user has chosen a folder since
}

TEST_F(MainWindowTest, OutputFolderIsChosenTypedAndSwitchedOff) {
    Open();
    ShowWindow(window_->Handle(), SW_SHOW);
    chosenFolder_ = parts_;
    Click(IDC_BROWSE);
    EXPECT_EQ(Text(IDC_OUTPUT_FOLDER), parts_);
    EXPECT_EQ(Chosen(L"Output_folder"), parts_);
    EXPECT_EQ(Chosen(L"SameFolderAsInput"), L"0");

    SetFocus(Item(IDC_OUTPUT_FOLDER));
    SendMessageW(Item(IDC_OUTPUT_FOLDER), EM_SETSEL, 0, -1);
    SendMessageW(Item(IDC_OUTPUT_FOLDER), EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(L"C:\\nowhere"));
    PostMessageW(Item(IDC_OUTPUT_FOLDER), WM_KEYDOWN, VK_RETURN, 0);  // moves on, presses no button
    ASSERT_TRUE(WaitFor([&] { return !messages_.empty(); }));
    EXPECT_EQ(messages_, Texts{L"Output folder is not valid!"});
    EXPECT_EQ(GetFocus(), Item(IDC_BROWSE));
    EXPECT_EQ(Chosen(L"Output_folder"), L"C:\\nowhere");

    Click(IDS_WRITE_INTO_INPUT_FOLDER);
    EXPECT_EQ(Text(IDC_OUTPUT_FOLDER), L" ");
    EXPECT_EQ(Chosen(L"SameFolderAsInput"), L"1");
    Click(IDS_WRITE_INTO_INPUT_FOLDER);
    EXPECT_EQ(Text(IDC_OUTPUT_FOLDER), L"C:\\nowhere");
    EXPECT_EQ(messages_.size(), 2u);
}

// The message about the folder takes the rest of the click that left the edit; the button gets it afterwards.
TEST_F(MainWindowTest, AClickThatLeavesAWrongFolderStillCounts) {
    Choose(L"SameFolderAsInput", L"0");
    Open();
    ShowWindow(window_->Handle(), SW_SHOW);
    SetFocus(Item(IDC_OUTPUT_FOLDER));
    SendMessageW(Item(IDC_OUTPUT_FOLDER), EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(L"C:\\nowhere\\"));
    chosenFiles_ = {MakeFile(L"a.stp")};
    RECT button{};
    GetWindowRect(Item(IDS_ADD_FILES), &button);
    SetCursorPos(button.left + 5, button.top + 5);
    BYTE keys[256]{};
    keys[VK_LBUTTON] = 0x80;
    SetKeyboardState(keys);
    SetFocus(Item(IDS_ADD_FILES));
    keys[VK_LBUTTON] = 0;
    SetKeyboardState(keys);
    EXPECT_TRUE(WaitFor([&] { return !List().Empty(); }));
    EXPECT_EQ(messages_, Texts{L"Output folder is not valid!"});
}

}  // namespace
}  // namespace morvex::test
