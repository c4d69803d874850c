#pragma once

#include <windows.h>

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "core/start_up.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "tests/support/fake_taskbar.h"
#include "tests/support/library_log.h"
#include "tests/support/temp_folder.h"
#include "ui/morvex_dlg.h"
#include "win/profile.h"
#include "win/text_file.h"

namespace morvex::test {

inline constexpr wchar_t kStepIn[] = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
inline constexpr wchar_t kIgesIn[] = L"IGES 3D (*.igs;*.iges)";

using Ids = std::vector<int>;
using Texts = std::vector<std::wstring>;

// The real window of a program with folders of its own and the recording library. The user's answers are
// plain members; what the window says is kept in others.
class MainWindowTest : public testing::Test {
  protected:
    MainWindowTest() {
        CreateDirectoryW(program_.c_str(), nullptr);
        CreateDirectoryW(user_.c_str(), nullptr);
        CreateDirectoryW(parts_.c_str(), nullptr);
        CreateTextFile(Folders().userSettings, L"");  // as the program does: names of languages are kept
        Install(L"A", L"ZEL_INPUT_FORMAT", L"STEP");
        Install(L"A", L"ZEL_OUTPUT_FORMAT", L"STL,STEP,VDAFS");
        Install(L"B", L"ZEL_INPUT_FORMAT", L"IGES 3D,ALL");
        Install(L"B", L"ZEL_OUTPUT_FORMAT", L"OBJ,STL");
        Choose(L"Format_in", kStepIn);
        Choose(L"Format_out", L"STL (*.stl)");
    }

    // Settings before the window opens.
    void Install(const wchar_t* section, const wchar_t* key, const wchar_t* value) {
        profile::WriteText(Folders().installationSettings, section, key, value);
    }
    void Choose(const wchar_t* key, const wchar_t* value) {
        profile::WriteText(Folders().userSettings, L"General", key, value);
    }
    std::wstring Chosen(const wchar_t* key) const {
        return profile::ReadText(Folders().userSettings, L"General", key, L"(missing)");
    }

    // Opens the window as the program does when it starts, in place of an open one.
    void Open() {
        window_.reset();
        context_ = std::make_unique<AppContext>(Folders());
        context_->folders.library = library_;
        LoadState(*context_);
        window_ = std::make_unique<CmorvexDlg>(*context_, Answers());
        window_->Open();
    }

    // Lets the window work until the condition holds; false after ten seconds without it.
    bool WaitFor(const std::function<bool()>& condition) {
        const ULONGLONG end = GetTickCount64() + 10'000;
        while (!condition()) {
            if (GetTickCount64() > end) return false;
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                if (window_->PreTranslate(message) || IsDialogMessageW(window_->Handle(), &message)) continue;
                TranslateMessage(&message);
                DispatchMessageW(&message);
            }
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
        }
        return true;
    }
    // Lets the window answer what is in its queue.
    void LetItWork() {
        int rounds = 0;
        WaitFor([&] { return rounds++ > 0; });
    }
    bool WaitForState(RunState state) {
        return WaitFor([&] { return window_->State() == state; });
    }
    bool WaitForAdded() {
        return WaitFor([&] { return !window_->Adding(); });
    }

    HWND Item(int id) const { return window_->Item(id); }
    ListView View() const { return ListView(Item(IDC_LIST)); }
    const ConversionList& List() const { return window_->List(); }
    std::wstring Text(int id) const { return Control(Item(id)).Text(); }
    std::wstring StatusLine() const { return Text(IDC_STATUS_LINE); }
    bool Enabled(int id) const { return Control(Item(id)).Enabled(); }
    void Click(int id) { SendMessageW(Item(id), BM_CLICK, 0, 0); }
    void Command(int id) { SendMessageW(window_->Handle(), WM_COMMAND, static_cast<WPARAM>(id), 0); }
    void ClickHeader(int column) {
        NMLISTVIEW click{};
        click.hdr = {Item(IDC_LIST), IDC_LIST, LVN_COLUMNCLICK};
        click.iItem = -1;
        click.iSubItem = column;
        Notify(&click);
    }
    void DoubleClick(int row, int x) {
        NMITEMACTIVATE click{};
        click.hdr = {Item(IDC_LIST), IDC_LIST, static_cast<UINT>(NM_DBLCLK)};
        click.iItem = row;
        click.ptAction = {x, 1};
        Notify(&click);
    }
    void PressInList(WORD key) {
        PostMessageW(Item(IDC_LIST), WM_KEYDOWN, key, 0);
        LetItWork();
    }
    void ChooseFormat(int combo, const std::wstring& format) {
        EXPECT_TRUE(ComboBox(Item(combo)).SelectText(format)) << "not on offer";
        SendMessageW(window_->Handle(), WM_COMMAND, MAKEWPARAM(combo, CBN_SELCHANGE),
                     reinterpret_cast<LPARAM>(Item(combo)));
        LetItWork();
    }
    Texts FormatsOnOffer(int combo) const {
        Texts texts;
        for (int i = 0; i < ComboBox(Item(combo)).Count(); ++i)
            texts.push_back(ComboBox(Item(combo)).TextAt(i));
        return texts;
    }

    // Makes files in the parts folder and answers the next "Add Files" with them.
    void AddFiles(const Texts& names) {
        chosenFiles_.clear();
        for (const std::wstring& name : names) chosenFiles_.push_back(MakeFile(name));
        PickFiles();
    }
    // Adds chosenFiles_ by the dialog of "Add Files".
    void PickFiles() {
        Click(IDS_ADD_FILES);
        EXPECT_TRUE(WaitForAdded());
    }
    std::wstring MakeFile(const std::wstring& name, size_t bytes = 10) {
        WriteFileBytes(parts_ + L"\\" + name, std::string(bytes, 'x'));
        return parts_ + L"\\" + name;
    }
    Texts Names() const { return Column(ListColumn::Filename); }
    Texts Statuses() const { return Column(ListColumn::Status); }
    Texts Column(ListColumn column) const {
        Texts texts;
        for (size_t row = 0; row < List().Count(); ++row) texts.push_back(List().Text(row, column));
        return texts;
    }
    void Select(const std::vector<size_t>& rows) {
        View().SelectAll(false);
        for (const size_t row : rows) View().Select(row);
    }
    static std::wstring Clipboard() {
        if (!OpenClipboard(nullptr)) return {};
        const HANDLE memory = GetClipboardData(CF_UNICODETEXT);
        std::wstring text = memory ? static_cast<const wchar_t*>(GlobalLock(memory)) : L"";
        if (memory) GlobalUnlock(memory);
        CloseClipboard();
        return text;
    }
    // Commands of the right-click menu, 0 for a separator, in order; those of a submenu where it stands.
    Ids MenuNow() {
        menu_.clear();
        RECT list{};
        GetWindowRect(Item(IDC_LIST), &list);
        SendMessageW(window_->Handle(), WM_CONTEXTMENU, reinterpret_cast<WPARAM>(Item(IDC_LIST)),
                     MAKELPARAM(list.left + 20, list.top + 40));
        return menu_;
    }

    TempFolder folder_;
    const std::wstring program_ = folder_ / L"program", user_ = folder_ / L"user",
                       parts_ = folder_ / L"parts";
    std::wstring library_ = LibraryLog::LibraryPath();
    std::unique_ptr<AppContext> context_;

    Texts chosenFiles_;
    std::wstring chosenFolder_, savePath_;  // empty: cancelled
    std::vector<FileDialog> fileDialogs_;
    Texts messages_, opened_;
    Ids menu_;
    int answer_ = IDOK;                   // of messages
    int choice_ = 0;                      // what the user takes from the next menus
    std::function<void()> whileMessage_;  // what happens while a message is open
    FakeTaskbar taskbar_;

    std::unique_ptr<CmorvexDlg> window_;  // last: goes first

  private:
    ProgramFolders Folders() const { return MakeProgramFolders(program_, user_); }
    void Notify(void* header) {
        SendMessageW(window_->Handle(), WM_NOTIFY, IDC_LIST, reinterpret_cast<LPARAM>(header));
    }

    static void Collect(HMENU menu, Ids& ids) {
        for (int i = 0; i < GetMenuItemCount(menu); ++i) {
            if (const HMENU submenu = GetSubMenu(menu, i))
                Collect(submenu, ids);
            else
                ids.push_back(static_cast<int>(GetMenuItemID(menu, i)));
        }
    }

    MainPrompts Answers() {
        MainPrompts prompts;
        prompts.message = [this](HWND, const std::wstring& text, const wchar_t*, UINT) {
            messages_.push_back(text);
            if (whileMessage_) whileMessage_();
            return answer_;
        };
        prompts.openFiles = [this](HWND, const FileDialog& dialog) {
            fileDialogs_.push_back(dialog);
            return chosenFiles_;
        };
        const auto unlessEmpty = [](const std::wstring& answer) {
            return answer.empty() ? std::nullopt : std::optional(answer);
        };
        prompts.saveFile = [this, unlessEmpty](HWND, const FileDialog&) { return unlessEmpty(savePath_); };
        prompts.browseFolder = [this, unlessEmpty](HWND, const std::wstring&, const std::wstring&) {
            return unlessEmpty(chosenFolder_);
        };
        prompts.showMenu = [this](const PopupMenu& menu, HWND, POINT) {
            Collect(menu.Handle(), menu_);
            if (choice_) Command(choice_);
        };
        prompts.open = [this](HWND, const std::wstring& path) { opened_.push_back(path); };
        return prompts;
    }
};

}  // namespace morvex::test
