#include <shlobj.h>

#include "tests/ui/main_window_fixture.h"

namespace morvex::test {
namespace {

// A shell file list as another program offers it.
HGLOBAL FileList(const Texts& paths) {
    std::wstring names;
    for (const std::wstring& path : paths) names += path + L'\0';
    names += L'\0';
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof(DROPFILES) + names.size() * sizeof(wchar_t));
    auto* list = static_cast<DROPFILES*>(GlobalLock(memory));
    list->pFiles = sizeof(DROPFILES);
    list->fWide = TRUE;
    names.copy(reinterpret_cast<wchar_t*>(list + 1), names.size());
    GlobalUnlock(memory);
    return memory;
}

class FakeData : private IDataObject {
  public:
    explicit FakeData(Texts paths) : paths_(std::move(paths)) {}
    virtual ~FakeData() = default;
    IDataObject* Interface() { return this; }

    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP QueryGetData(FORMATETC* format) override {
        return !paths_.empty() && format->cfFormat == CF_HDROP ? S_OK : DV_E_FORMATETC;
    }
    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override {
        if (QueryGetData(format) != S_OK) return DV_E_FORMATETC;
        *medium = {};
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = FileList(paths_);
        return S_OK;
    }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

  private:
    Texts paths_;
};

class DropTest : public MainWindowTest {
  protected:
    // Drops the paths on the list; `choice_` is what the user takes from the menu. The effect that the source
    // sees.
    DWORD Drop(const Texts& paths, bool inside = true) {
        menu_.clear();
        RECT list{};
        GetWindowRect(Item(IDC_LIST), &list);
        const POINTL point{inside ? list.left + 30 : -500, inside ? list.top + 50 : -500};
        FakeData data(paths);
        IDropTarget& target = window_->DropTarget().Interface();
        DWORD effect = DROPEFFECT_COPY;
        target.DragEnter(data.Interface(), 0, point, &effect);
        const DWORD offered = effect;
        target.Drop(data.Interface(), 0, point, &effect);
        if (inside && !paths.empty()) {
            EXPECT_TRUE(WaitFor([&] { return !menu_.empty(); }));
            EXPECT_TRUE(WaitForAdded());
        }
        return offered;
    }
};

TEST_F(DropTest, AsksAndAddsOrReplaces) {
    Open();
    CreateDirectoryW((parts_ + L"\\sub").c_str(), nullptr);
    MakeFile(L"a.stp");
    MakeFile(L"b.igs");
    MakeFile(L"sub\\c.stp");
    choice_ = IDS_ADD_FILES;
    EXPECT_EQ(Drop({parts_}), static_cast<DWORD>(DROPEFFECT_COPY));
    EXPECT_EQ(menu_, (Ids{IDS_ADD_FILES, IDS_ADD_FILES_RECURSIVE}));
    EXPECT_EQ(Names(), Texts{L"a.stp"});  // only the folder's own files
    choice_ = IDS_ADD_FILES_RECURSIVE;
    Drop({parts_ + L"\\sub\\c.stp", parts_});
    EXPECT_EQ(menu_, (Ids{IDS_ADD_FILES, IDS_ADD_FILES_RECURSIVE, 0, IDS_REPLACE_FILES,
                          IDS_REPLACE_FILES_RECURSIVE}));
    EXPECT_EQ(List().Count(), 4u);
    EXPECT_EQ(Names()[1], L"c.stp");
    choice_ = IDS_REPLACE_FILES;
    Drop({parts_ + L"\\a.stp"});
    EXPECT_EQ(Names(), Texts{L"a.stp"});
    EXPECT_TRUE(messages_.empty());
    Drop({parts_ + L"\\b.igs"});
    EXPECT_EQ(messages_, Texts{L"Only STEP files can be added!"});
}

TEST_F(DropTest, RefusesWhatIsNoFileListAndDropsOutside) {
    Open();
    EXPECT_EQ(Drop({}), static_cast<DWORD>(DROPEFFECT_NONE));
    Drop({MakeFile(L"a.stp")}, false);
    chosenFiles_ = {MakeFile(L"picked.stp")};
    PickFiles();
    EXPECT_EQ(Names(), Texts{L"picked.stp"});  // nothing was pending
    EnableWindow(window_->Handle(), FALSE);    // as under a message
    const Texts paths = {MakeFile(L"b.stp")};
    SendMessageW(window_->Handle(), WM_DROPFILES, reinterpret_cast<WPARAM>(FileList(paths)), 0);
    EXPECT_FALSE(window_->Adding());
}

TEST_F(DropTest, LeavesOutWhatTheProfileExcepts) {
    Install(L"B", L"ZEL_INPUT_EXCEPT", L"IGES,x");
    Choose(L"Format_in", kIgesIn);
    Open();
    choice_ = IDS_ADD_FILES;
    Drop({MakeFile(L"a.igs"), MakeFile(L"b.iges"), MakeFile(L"c.IGES")});
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(Names(), Texts{L"a.igs"});
    EXPECT_EQ(StatusLine(), L"Files added: 1   Not read by the conversion library: b.iges, c.IGES");
    chosenFiles_ = {MakeFile(L"d.iges"), MakeFile(L"e.stp")};
    PickFiles();
    EXPECT_EQ(Names(), (Texts{L"a.igs", L"e.stp"}));  // picked ones are not asked for their format
    Click(IDS_EMPTY_LIST);
    Drop({MakeFile(L"b.iges")});
    ASSERT_TRUE(WaitForAdded());
    EXPECT_TRUE(List().Empty());
    EXPECT_TRUE(messages_.empty());  // the line says it, and the message would be wrong
}

TEST_F(DropTest, AClosedMenuLeavesTheDropForAddFiles) {
    Open();
    Drop({MakeFile(L"a.stp")});
    EXPECT_TRUE(List().Empty());
    Click(IDS_ADD_FILES);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(Names(), Texts{L"a.stp"});
    EXPECT_TRUE(fileDialogs_.empty());
    Click(IDS_ADD_FILES);  // nothing is pending any more: the dialog
    EXPECT_EQ(fileDialogs_.size(), 1u);
    EXPECT_EQ(Names(), Texts{L"a.stp"});
}

TEST_F(DropTest, ShellMessageEmptiesAFinishedList) {
    const LibraryLog log;
    Open();
    AddFiles({L"a.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    const Texts paths = {MakeFile(L"b.stp"), MakeFile(L"c.igs")};
    SendMessageW(window_->Handle(), WM_DROPFILES, reinterpret_cast<WPARAM>(FileList(paths)), 0);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(Names(), Texts{L"b.stp"});
    EXPECT_EQ(window_->State(), RunState::Idle);
}

TEST_F(DropTest, ListFilesGoRound) {
    Open();
    AddFiles({L"b.stp", L"a.stp"});
    savePath_ = folder_ / L"LIST.CSV";
    Command(IDS_SAVE_LIST);
    EXPECT_EQ(ReadFileBytes(savePath_),
              Utf16Bytes(std::wstring(L"morvex_list\r\n") + kStepIn + L"\r\nSTL (*.stl)\r\n" + parts_ +
                         L"\\b.stp\r\n" + parts_ + L"\\a.stp\r\n"));
    ChooseFormat(IDC_INPUT_FORMAT, kIgesIn);
    ASSERT_TRUE(List().Empty());
    choice_ = IDS_ADD_FILES;
    Drop({savePath_});  // a single list file, whatever the chosen format
    EXPECT_EQ(Names(), (Texts{L"b.stp", L"a.stp"}));
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
    EXPECT_EQ(ComboBox(Item(IDC_OUTPUT_FORMAT)).SelectedText(), L"STL (*.stl)");
    EXPECT_EQ(Chosen(L"Format_in"), kStepIn);

    chosenFiles_ = {MakeFile(L"bad.csv")};
    Command(IDS_LOAD_LIST);
    EXPECT_EQ(messages_, Texts{L"The selected file is not valid or corrupted!"});
    EXPECT_EQ(List().Count(), 2u);
    chosenFiles_ = {savePath_};
    Command(IDS_LOAD_LIST);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(List().Count(), 2u);
    savePath_ = folder_ / L"no folder\\x.csv";
    Command(IDS_SAVE_LIST);
    EXPECT_EQ(messages_.back(), L"The file could not be written:\n" + savePath_);
}

TEST_F(DropTest, ARunKeepsLastStateReportAndRecentFiles) {
    const LibraryLog log;
    Install(L"General", L"LoadLastState", L"1");
    Install(L"General", L"DeveloperMode", L"1");
    Open();
    AddFiles({L"a.stp", L"b{result=-5}.stp", L"c.igs"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    savePath_ = folder_ / L"report.csv";
    Command(IDS_SAVE_RESULTS_REPORT);
    const std::string report = ReadFileBytes(savePath_);
    EXPECT_NE(report.find(Utf16Bytes(L"a.stp;10 b;OK [0.00 sec]\r\n").substr(2)), std::string::npos);

    Open();  // the list comes back
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(Names(), (Texts{L"a.stp", L"b{result=-5}.stp"}));  // picked files of another format do not
    const Ids menu = MenuNow();
    const auto recent = std::find(menu.begin(), menu.end(), 4001);
    ASSERT_NE(recent, menu.end());
    EXPECT_EQ(*(recent + 2), 4003);
    Command(4003);
    EXPECT_EQ(Names().back(), L"a.stp");
    EXPECT_EQ(Column(ListColumn::Folder).back().find(L'\\'), std::wstring::npos);  // keeps its slashes
    Command(4001);                                                                 // c.igs
    EXPECT_EQ(messages_, Texts{L"Only STEP files can be added!"});
}

}  // namespace
}  // namespace morvex::test
