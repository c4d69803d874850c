#include "ui/morvex_dlg.h"

#include <windows.h>

#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <utility>

#include "res/string_ids.h"
#include "ui/context_menu.h"
#include "ui/morvex_dlg_messages.h"
#include "ui/window_place.h"

namespace morvex {
namespace {

COLORREF ToColour(const Colour& colour) {
    return RGB(colour.red, colour.green, colour.blue);
}

constexpr int kRunControls[] = {
    IDS_RUN_CONVERSION, IDS_OPTIONS,    IDC_INPUT_FORMAT, IDC_OUTPUT_FORMAT,
    IDC_BROWSE,         IDS_EMPTY_LIST, IDS_ADD_FILES,    IDS_WRITE_INTO_INPUT_FOLDER,
    IDS_CONFIGURE,      IDS_HEALING,    IDS_MULTIPROCESS, IDS_OVERRIDE};

// Enter where it would press the default button: it is to press only one that has the focus.
bool IsStrayEnter(const MSG& message) {
    if (message.message != WM_KEYDOWN || message.wParam != VK_RETURN) return false;
    const LRESULT kind = SendMessageW(message.hwnd, WM_GETDLGCODE, 0, 0);
    return !(kind & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON)) &&
           !SendMessageW(message.hwnd, CB_GETDROPPEDSTATE, 0, 0);
}

bool IsInput(UINT message) {
    return message == WM_KEYDOWN || message == WM_SYSKEYDOWN || message == WM_LBUTTONDOWN ||
           message == WM_RBUTTONDOWN || message == WM_NCLBUTTONDOWN;
}

}  // namespace

CmorvexDlg::CmorvexDlg(AppContext& context, MainPrompts prompts)
    : state_{context, std::move(prompts)},
      settings_(context.settings),
      theme_(ToColour(settings_.Theme())),
      listControl_(state_.list, context.text) {}

void CmorvexDlg::Open() {
    const INITCOMMONCONTROLSEX controls{sizeof controls,
                                        ICC_LISTVIEW_CLASSES | ICC_PROGRESS_CLASS | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    Create(IDD_MAIN, nullptr);
}

bool CmorvexDlg::OnInit() {
    state_.window = Handle();
    SetUpWindow();
    ApplyTexts();
    formats_.Fill();
    folder_.Attach();
    adding_.Attach();
    running_.Attach();
    SetUpSize();
    maximised_ = RestorePlace(Handle(), settings_.windowPlace.Get());
    listControl_.SetWidths(settings_.columnWidths.Get());
    made_ = true;
    Arrange();
    Update();
    const bool runAtOnce = settings_.developerMode.Get() && settings_.convertAtStartup.Get();
    if (settings_.loadLastState.Get()) {
        ListFile file =
            ReadLastState(state_.context.folders, state_.context.pairs, settings_.developerMode.Get());
        if (file.kind == ListFileKind::List) adding_.TakeListFile(std::move(file));
    }
    if (state_.adding)
        runWhenAdded_ = runAtOnce;
    else if (runAtOnce)
        PostMessageW(Handle(), kStartRunMessage, 0, 0);
    SetFocus(Item(IDC_LIST));
    return false;
}

bool CmorvexDlg::PreTranslate(const MSG& message) {
    if (IsInput(message.message)) running_.OnNoticed();
    if (card_.PreTranslate(message)) return true;
    if (!Handle() || (message.hwnd != Handle() && !IsChild(Handle(), message.hwnd))) return false;
    if (folder_.PreTranslate(message) || OnShortcut(message) || IsStrayEnter(message)) return true;
    if (message.message != WM_KEYDOWN || message.wParam != VK_ESCAPE) return false;
    // Escape would mean Quit to the dialog manager, whose number that button has.
    adding_.Stop();
    card_.Hide();
    if (SendMessageW(message.hwnd, CB_GETDROPPEDSTATE, 0, 0))
        SendMessageW(message.hwnd, CB_SHOWDROPDOWN, FALSE, 0);
    return true;
}

void CmorvexDlg::OnCancel() {
    if (!IsWindowEnabled(Handle())) return;  // a box or dialog of ours is open and would lose its owner
    if (Converting() && state_.prompts.message(Handle(), state_.Text(IDS_ASK_STOP_AND_QUIT), kMessageCaption,
                                               MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;
    folder_.Commit();
    KeepPlace();
    Destroy();
}

bool CmorvexDlg::OnCommand(int id, int notification, HWND control) {
    if (id == IDC_INPUT_FORMAT || id == IDC_OUTPUT_FORMAT) {
        formats_.OnNotification(id, notification);
        return true;
    }
    if (id == IDC_OUTPUT_FOLDER && notification == EN_KILLFOCUS) folder_.OnLeft();
    return (!control || notification == BN_CLICKED) && Execute(id);
}

bool CmorvexDlg::OnNotify(NMHDR& header, LRESULT& result) {
    if (tooltip_.Answer(header)) return true;
    if (header.idFrom != IDC_LIST) return false;
    switch (header.code) {
        case LVN_GETDISPINFOW:
            listControl_.GiveText(reinterpret_cast<NMLVDISPINFOW&>(header));
            return true;
        case LVN_ODFINDITEMW:
            result = listControl_.FindByName(reinterpret_cast<NMLVFINDITEMW&>(header));
            return true;
        case LVN_COLUMNCLICK:
            if (!state_.Busy())
                rows_.SortByColumn(static_cast<ListColumn>(reinterpret_cast<NMLISTVIEW&>(header).iSubItem));
            return true;
        case LVN_ITEMCHANGED:
        case LVN_ODSTATECHANGED:  // one of many, when many rows are
            if (!std::exchange(summaryPending_, true)) PostMessageW(Handle(), kSelectionMessage, 0, 0);
            return true;
        case NM_DBLCLK:
            if (!state_.Busy()) rows_.OpenResult(reinterpret_cast<NMITEMACTIVATE&>(header));
            return true;
        default:
            return false;
    }
}

bool CmorvexDlg::OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) {
    if (const HBRUSH brush = theme_.Answer(message, wParam, lParam)) {
        result = reinterpret_cast<INT_PTR>(brush);
        return true;
    }
    result = TRUE;
    switch (message) {
        case WM_DRAWITEM:
            if (wParam == IDC_LIST) listControl_.Draw(*reinterpret_cast<DRAWITEMSTRUCT*>(lParam));
            return wParam == IDC_LIST;
        case WM_SIZE:
            if (wParam == SIZE_MINIMIZED || !made_) return false;
            Arrange();
            return true;
        case WM_GETMINMAXINFO: {
            const int dpi = static_cast<int>(GetDpiForWindow(Handle())),
                      madeFor = static_cast<int>(smallestDpi_);
            reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {
                MulDiv(static_cast<int>(smallest_.cx), dpi, madeFor),
                MulDiv(static_cast<int>(smallest_.cy), dpi, madeFor)};
            return true;
        }
        case WM_DPICHANGED:
            PostMessageW(Handle(), kRescaleMessage, 0, 0);
            return false;   // the system scales the controls and their font
        case WM_SETCURSOR:  // the pointer comes: from here on it may want to know
            if (!tooltip_.Created()) SetUpTips();
            return false;
        case WM_ACTIVATE:
            if (LOWORD(wParam) != WA_INACTIVE) running_.OnNoticed();
            return false;
        case WM_ACTIVATEAPP:
        case WM_ENABLE:
            card_.ComeForward(wParam != FALSE);
            return false;
        case WM_CONTEXTMENU:
            return OnContextMenu(reinterpret_cast<HWND>(wParam),
                                 {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        case WM_DROPFILES: {
            const auto drop = reinterpret_cast<HDROP>(wParam);
            adding_.AddDroppedFileHandle(drop);
            DragFinish(drop);
            return true;
        }
        case WM_COPYDATA: {
            const HandOver answer =
                adding_.AddHandedFiles(ReadHandedFiles(*reinterpret_cast<COPYDATASTRUCT*>(lParam)));
            SetWindowLongPtrW(Handle(), DWLP_MSGRESULT, static_cast<LONG_PTR>(answer));
            return true;
        }
        case WM_TIMER:
            if (wParam == kRunNewsTimer || wParam == kRunClockTimer) running_.OnNews();
            if (wParam == kFlashTimer) formats_.OnFlashTimer();
            return true;
        default:
            return OnOwnMessage(message);
    }
}

// What the window's threads and its parts have posted.
bool CmorvexDlg::OnOwnMessage(UINT message) {
    switch (message) {
        case kRescaleMessage:
            listControl_.Rescale();
            Arrange();
            return true;
        case kDropMessage:
            adding_.ShowDropMenu();
            return true;
        case kCheckFolderMessage:
            folder_.CheckIfLeft();
            return true;
        case kFoundMessage:
            adding_.OnFound();
            return true;
        case kRunNewsMessage:
            running_.OnNewsPosted();
            return true;
        case kSelectionMessage:
            if (std::exchange(summaryPending_, false)) ShowRowSummary();
            UpdateCard();
            return true;
        case kFormatChosenMessage:
            TakeChosenFormat();
            return true;
        case kStartRunMessage:
            StartRun();
            return true;
        default:
            return false;
    }
}

void CmorvexDlg::Arrange() {
    layout_.Apply();
    statusLine_.Place();
    listControl_.FitColumnsToWidth();
    RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

bool CmorvexDlg::OnContextMenu(HWND clicked, POINT screen) {
    RECT client{};
    GetClientRect(Handle(), &client);
    if (screen.x == -1 && screen.y == -1) {  // by the keyboard
        const HWND list = Item(IDC_LIST);
        const HWND origin = clicked == Handle() ? list : clicked;
        RECT room{};
        GetClientRect(origin, &room);
        const int row = origin == list ? listControl_.View().FocusedRow() : -1;
        const RECT place = row < 0 ? RECT{} : listControl_.View().RowRect(static_cast<size_t>(row));
        screen = {std::clamp(place.left, 0L, room.right), std::clamp(place.bottom, 0L, room.bottom)};
        ClientToScreen(origin, &screen);
    }
    POINT inside = screen;
    ScreenToClient(Handle(), &inside);
    if (!PtInRect(&client, inside)) return false;
    PopupMenu menu;
    FillContextMenu(menu, state_, listControl_.View().SelectedCount(), rows_.SelectedRow());
    menu.AssignKeys();
    state_.prompts.showMenu(menu, Handle(), screen);
    return true;
}

// A frozen control would keep the keyboard to itself: the list gets it first.
void CmorvexDlg::Update() {
    listControl_.Refresh();
    const HWND focus = GetFocus();
    for (const int id : kRunControls) {
        const bool needsRows = id == IDS_RUN_CONVERSION || id == IDS_EMPTY_LIST;
        const bool busy = id == IDS_OPTIONS ? state_.run == RunState::Running : state_.Busy();
        const bool on = !busy && !(needsRows && state_.list.Empty());
        if (!on && Item(id) == focus) SetFocus(Item(IDC_LIST));
        Control(Item(id)).Enable(on);
    }
    ShowAction();
    UpdateCard();
}

void CmorvexDlg::RedrawRows() {
    listControl_.RedrawVisible();
    UpdateCard();
}

void CmorvexDlg::ShowRowSummary() {
    summaryPending_ = false;
    if (state_.Busy()) return;
    const ConversionList& list = state_.list;
    const auto count = [&](RowState state) { return static_cast<int>(list.RowsIn(state).size()); };
    const int rows = static_cast<int>(list.Count());
    const int selected = static_cast<int>(listControl_.View().SelectedCount());
    if (rows == 0) return ShowStatus(L"");
    if (state_.run == RunState::Finished) {
        const int read = count(RowState::Converted);
        const int unknown = std::min(static_cast<int>(state_.notStarted), read);
        const int failed = state_.abandoned ? rows - read : count(RowState::Failed);
        std::wstring text = Format(state_.Text(IDS_RUN_SUMMARY).c_str(), read - unknown, rows, failed);
        if (unknown > 0) text += L", " + Format(state_.Text(IDS_NOT_STARTED).c_str(), unknown);
        return ShowStatus(text);
    }
    ShowStatus(selected > 0 ? Format(state_.Text(IDS_FILES_SELECTED).c_str(), rows, selected)
                            : Format(state_.Text(IDS_FILES_IN_LIST).c_str(), rows));
}

void CmorvexDlg::OnRowsAdded(bool any) {
    if (any) state_.undo.reset();
    if (!state_.list.Empty() && state_.run == RunState::Finished) state_.run = RunState::Idle;
    Update();
    listControl_.ShowSorted(false);
    listControl_.FitColumnsToRows();
}

void CmorvexDlg::OnAddingEnded(bool stopped) {
    Update();
    if (std::exchange(runWhenAdded_, false) && !stopped) StartRun();
}

}  // namespace morvex
