#include "tests/ui/main_window_fixture.h"

namespace morvex::test {
namespace {

TEST_F(MainWindowTest, AddsPickedFilesWithoutTests) {
    Open();
    AddFiles({L"a.stp", L"b.stp", L"a.stp", L"notes.txt"});
    EXPECT_EQ(Names(), (Texts{L"a.stp", L"b.stp", L"a.stp", L"notes.txt"}));
    EXPECT_TRUE(fileDialogs_.front().multiple);
    EXPECT_TRUE(fileDialogs_.front().filter.starts_with(L"STEP AP203/214 (*.step;"));
    EXPECT_EQ(View().RowCount(), 4);
    EXPECT_TRUE(Enabled(IDS_RUN_CONVERSION));
    EXPECT_TRUE(Enabled(IDS_EMPTY_LIST));
    Click(IDS_EMPTY_LIST);
    EXPECT_TRUE(List().Empty());
    EXPECT_FALSE(Enabled(IDS_RUN_CONVERSION));
    EXPECT_FALSE(Enabled(IDS_EMPTY_LIST));
    EXPECT_TRUE(Enabled(IDS_ADD_FILES));
}

TEST_F(MainWindowTest, AddsFolders) {
    MakeFile(L"a.stp");
    MakeFile(L"b.igs");
    CreateDirectoryW((parts_ + L"\\sub").c_str(), nullptr);
    MakeFile(L"sub\\c.stp");
    chosenFolder_ = parts_;
    Open();
    Command(IDS_ADD_FOLDER);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(Names(), Texts{L"a.stp"});
    EXPECT_EQ(StatusLine(), L"Files added: 1");
    EXPECT_EQ(Chosen(L"Input_folder_GUI"), parts_);
    Command(IDS_ADD_FOLDER_RECURSIVE);
    ASSERT_TRUE(WaitForAdded());
    Texts names = Names();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Texts{L"a.stp", L"a.stp", L"c.stp"}));
    EXPECT_TRUE(Enabled(IDS_RUN_CONVERSION));
    EXPECT_TRUE(messages_.empty());
}

TEST_F(MainWindowTest, FolderWithoutFilesOfTheFormatIsSaidAndTheFormatFlashes) {
    MakeFile(L"b.igs");
    chosenFolder_ = parts_;
    Open();
    const std::wstring label = Text(IDS_INPUT_FORMAT);
    bool flashed = false;
    whileMessage_ = [&] {
        flashed = WaitFor([&] {
            return Text(IDS_INPUT_FORMAT) == L" " && ComboBox(Item(IDC_INPUT_FORMAT)).Selected() < 0;
        });
    };
    Command(IDS_ADD_FOLDER);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(messages_, Texts{L"Only STEP files can be added!"});
    EXPECT_TRUE(flashed);
    EXPECT_EQ(Text(IDS_INPUT_FORMAT), label);
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
    EXPECT_FALSE(Enabled(IDS_RUN_CONVERSION));
}

TEST_F(MainWindowTest, EscapeStopsASearch) {
    constexpr int kFolders = 400;
    for (int i = 0; i < kFolders; ++i) {
        CreateDirectoryW((parts_ + L"\\" + std::to_wstring(i)).c_str(), nullptr);
        MakeFile(std::to_wstring(i) + L"\\a.stp");
    }
    chosenFolder_ = parts_;
    Open();
    Command(IDS_ADD_FOLDER_RECURSIVE);
    EXPECT_TRUE(window_->Adding());
    EXPECT_FALSE(Enabled(IDS_ADD_FILES));
    EXPECT_EQ(MenuNow(), (Ids{IDS_OPTIONS, 0, IDS_QUIT}));
    PostMessageW(window_->Handle(), WM_KEYDOWN, VK_ESCAPE, 0);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_LT(List().Count(), static_cast<size_t>(kFolders));
    EXPECT_TRUE(Enabled(IDS_ADD_FILES));
    EXPECT_TRUE(messages_.empty());
    EXPECT_TRUE(window_->Handle());
}

TEST_F(MainWindowTest, RemovesAndMovesRows) {
    Open();
    AddFiles({L"a.stp", L"b.stp", L"c.stp", L"d.stp"});
    Select({1});
    Command(IDS_MOVE_UP);
    EXPECT_EQ(Names(), (Texts{L"b.stp", L"a.stp", L"c.stp", L"d.stp"}));
    EXPECT_EQ(View().SelectedCount(), 0u);
    Select({0});
    Command(IDS_MOVE_UP);
    Select({3});
    Command(IDS_MOVE_DOWN);
    Select({0, 1});
    Command(IDS_MOVE_DOWN);
    EXPECT_EQ(Names(), (Texts{L"b.stp", L"a.stp", L"c.stp", L"d.stp"}));
    Select({2});
    Command(IDS_MOVE_DOWN);
    EXPECT_EQ(Names(), (Texts{L"b.stp", L"a.stp", L"d.stp", L"c.stp"}));
    Select({0, 2});
    PressInList(VK_DELETE);
    EXPECT_EQ(Names(), (Texts{L"a.stp", L"c.stp"}));
    EXPECT_EQ(View().RowCount(), 2);
    View().SelectAll(true);
    Command(IDS_REMOVE_FROM_LIST);
    EXPECT_TRUE(List().Empty());
    EXPECT_FALSE(Enabled(IDS_RUN_CONVERSION));
}

TEST_F(MainWindowTest, SortsByHeaderAndKeepsTheSelection) {
    const auto arrows = [this] {  // of the header, one character a column
        std::wstring found;
        for (WPARAM column = 0; column < kListColumns; ++column) {
            HDITEMW item{};
            item.mask = HDI_FORMAT;
            SendMessageW(reinterpret_cast<HWND>(View().Send(LVM_GETHEADER)), HDM_GETITEMW, column,
                         reinterpret_cast<LPARAM>(&item));
            found += item.fmt & HDF_SORTUP ? L'^' : item.fmt & HDF_SORTDOWN ? L'v' : L'-';
        }
        return found;
    };
    Open();
    AddFiles({L"B.stp", L"a.stp", L"c.stp"});
    MakeFile(L"B.stp", 999);
    MakeFile(L"a.stp", 1024);
    Click(IDS_EMPTY_LIST);
    PickFiles();  // sizes 999 b, 1 KB, 10 b
    Select({1});
    ClickHeader(0);
    EXPECT_EQ(Names(), (Texts{L"c.stp", L"B.stp", L"a.stp"}));  // the first click turns the order round
    EXPECT_EQ(View().SelectedRows(), std::vector<size_t>{2});
    EXPECT_EQ(arrows(), L"v---");
    ClickHeader(0);
    EXPECT_EQ(Names(), (Texts{L"a.stp", L"B.stp", L"c.stp"}));
    EXPECT_EQ(arrows(), L"^---");
    ClickHeader(1);
    EXPECT_EQ(Column(ListColumn::Size), (Texts{L"10 b", L"999 b", L"1 KB"}));
    ClickHeader(1);
    EXPECT_EQ(Column(ListColumn::Size), (Texts{L"1 KB", L"999 b", L"10 b"}));
    EXPECT_EQ(View().SelectedRows(), std::vector<size_t>{0});
    EXPECT_EQ(arrows(), L"-v--");
    AddFiles({L"d.stp"});
    EXPECT_EQ(arrows(), L"----");
}

TEST_F(MainWindowTest, ManyRowsMakeRoomForTheScrollBarOnce) {
    Open();
    const int status = View().ColumnWidth(3);
    Texts names(22, L"a.stp");
    AddFiles(names);
    EXPECT_EQ(View().ColumnWidth(3), status);
    AddFiles({L"b.stp"});
    const int narrower =
        MulDiv(17, static_cast<int>(GetDpiForWindow(window_->Handle())), USER_DEFAULT_SCREEN_DPI);
    EXPECT_EQ(View().ColumnWidth(3), status - narrower);
    EXPECT_FALSE(GetWindowLongW(Item(IDC_LIST), GWL_STYLE) & WS_HSCROLL);
    Select({0, 1, 2});
    PressInList(VK_DELETE);
    AddFiles(names);
    EXPECT_EQ(View().ColumnWidth(3), status - narrower);
}

TEST_F(MainWindowTest, MenuFollowsTheState) {
    Open();
    const Ids empty = {
        IDS_ADD_FILES, IDS_ADD_FOLDER, IDS_ADD_FOLDER_RECURSIVE, 0, IDS_LOAD_LIST, 0, IDS_OPTIONS, 0,
        IDS_QUIT};
    EXPECT_EQ(MenuNow(), empty);
    AddFiles({L"a.stp", L"b.stp"});
    const Ids adding = {IDS_ADD_FILES,
                        IDS_ADD_FOLDER,
                        IDS_ADD_FOLDER_RECURSIVE,
                        IDS_EMPTY_LIST,
                        0,
                        IDS_LOAD_LIST,
                        IDS_SAVE_LIST,
                        0,
                        IDS_OPTIONS,
                        0,
                        IDS_QUIT};
    const auto expected = [&](Ids before) {
        before.insert(before.end(), adding.begin(), adding.end());
        return before;
    };
    EXPECT_EQ(MenuNow(), expected({IDS_RUN_CONVERSION, 0}));
    Select({0});
    EXPECT_EQ(MenuNow(), expected({IDS_RUN_CONVERSION, 0, IDS_REMOVE_FROM_LIST, 0, IDS_COPY_FILE_PATH,
                                   IDS_OPEN_CONTAINING_FOLDER, IDS_OPEN_OUTPUT_FOLDER, 0}));
    Select({0, 1});
    EXPECT_EQ(MenuNow(), expected({IDS_RUN_CONVERSION, 0, IDS_REMOVE_FROM_LIST, 0}));
    Select({});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(MenuNow(), expected({IDS_RUN_CONVERSION, 0, IDS_SAVE_RESULTS_REPORT, 0}));
    menu_.clear();
    RECT window{};
    GetWindowRect(window_->Handle(), &window);
    SendMessageW(window_->Handle(), WM_CONTEXTMENU, reinterpret_cast<WPARAM>(window_->Handle()),
                 MAKELPARAM(window.right + 50, window.top));
    EXPECT_TRUE(menu_.empty());  // outside
}

TEST_F(MainWindowTest, CommandsOnTheSelectedRow) {
    Choose(L"Output_folder", program_.c_str());
    Open();
    AddFiles({L"a.stp", L"b & c.stp"});
    Command(IDS_COPY_FILE_PATH);  // nothing is selected
    Select({1});
    Command(IDS_OPEN_CONTAINING_FOLDER);
    Command(IDS_OPEN_OUTPUT_FOLDER);
    Click(IDS_WRITE_INTO_INPUT_FOLDER);
    Command(IDS_OPEN_OUTPUT_FOLDER);
    EXPECT_EQ(opened_, (Texts{parts_, parts_, program_}));
    Command(IDS_COPY_FILE_PATH);
    EXPECT_EQ(Clipboard(), parts_ + L"\\b & c.stp");
}

// Colours of a row's cells as the window draws them: left edges of Filename and Status.
struct Drawn {
    COLORREF name, status;
};

Drawn Draw(HWND window, const ListView& view, int row, bool selected) {
    const RECT place{0, 0, 2000, 30};
    const HDC screen = GetDC(nullptr), device = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, place.right, place.bottom);
    SelectObject(device, bitmap);
    DRAWITEMSTRUCT item{};
    item.CtlType = ODT_LISTVIEW;
    item.CtlID = IDC_LIST;
    item.itemID = static_cast<UINT>(row);
    item.itemState = selected ? ODS_SELECTED : 0u;
    item.hDC = device;
    item.rcItem = place;
    SendMessageW(window, WM_DRAWITEM, IDC_LIST, reinterpret_cast<LPARAM>(&item));
    const int status = view.ColumnWidth(0) + view.ColumnWidth(1) + view.ColumnWidth(2);
    const Drawn drawn{GetPixel(device, 1, 1), GetPixel(device, status + 1, 1)};
    DeleteDC(device);
    DeleteObject(bitmap);
    ReleaseDC(nullptr, screen);
    return drawn;
}

TEST_F(MainWindowTest, StatusCellsHaveTheirColours) {
    const LibraryLog log(L"sleep=300");
    Open();
    AddFiles({L"ok.stp", L"ko{result=1}.stp", L"bad{result=-5}.stp"});
    const COLORREF window = GetSysColor(COLOR_WINDOW), highlight = GetSysColor(COLOR_HIGHLIGHT);
    EXPECT_EQ(Draw(window_->Handle(), View(), 0, false).status, window);
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitFor([&] { return Statuses().front() == L"In progress..."; }));
    EXPECT_EQ(Draw(window_->Handle(), View(), 0, false).status, RGB(236, 241, 255));
    ASSERT_TRUE(WaitForState(RunState::Finished));
    const COLORREF expected[] = {RGB(232, 253, 227), RGB(255, 234, 234), RGB(255, 234, 234)};
    for (int row = 0; row < 3; ++row) {
        EXPECT_EQ(Draw(window_->Handle(), View(), row, false).status, expected[row]) << row;
        EXPECT_EQ(Draw(window_->Handle(), View(), row, false).name, window);
        EXPECT_EQ(Draw(window_->Handle(), View(), row, true).status, highlight);
    }
}

TEST_F(MainWindowTest, ListAnswersTheKeyboard) {
    Open();
    AddFiles({L"axle.stp", L"Bolt.stp", L"bush.stp"});
    BYTE keys[256]{};
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys);
    PressInList('A');
    EXPECT_EQ(View().SelectedCount(), 3u);
    keys[VK_CONTROL] = 0;
    SetKeyboardState(keys);
    LVFINDINFOW typed{};
    typed.flags = LVFI_STRING | LVFI_PARTIAL | LVFI_WRAP;
    typed.psz = L"BU";
    const auto find = [&] { return View().Send(LVM_FINDITEMW, 0, reinterpret_cast<LPARAM>(&typed)); };
    EXPECT_EQ(find(), 2);
    typed.psz = L"x";
    EXPECT_EQ(find(), -1);
}

}  // namespace
}  // namespace morvex::test
