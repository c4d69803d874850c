#include "ui/morvex_dlg.h"

#include <windows.h>

#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <utility>

#include "convert/conversion_library.h"
#include "core/product.h"
#include "res/string_ids.h"
#include "ui/context_menu.h"
#include "ui/morvex_dlg_messages.h"
#include "win/access_keys.h"

namespace morvex {
namespace {

COLORREF ToColour(const Colour& colour) {
    return RGB(colour.red, colour.green, colour.blue);
}

constexpr int kTextControls[] = {
    IDS_INPUT_FORMAT,   IDS_OUTPUT_FORMAT, IDS_OUTPUT_FOLDER,      IDS_WRITE_INTO_INPUT_FOLDER,
    IDS_HEALING,        IDS_MULTIPROCESS,  IDS_CONVERT_AT_STARTUP, IDS_OVERRIDE,
    IDS_ADD_FILES,      IDS_EMPTY_LIST,    IDS_CONFIGURE,          IDS_OPTIONS,
    IDS_RUN_CONVERSION, IDS_QUIT};
constexpr int kCheckBoxes[] = {IDS_WRITE_INTO_INPUT_FOLDER, IDS_HEALING, IDS_MULTIPROCESS,
                               IDS_CONVERT_AT_STARTUP, IDS_OVERRIDE};
constexpr int kDeveloperBoxes[] = {IDS_HEALING, IDS_MULTIPROCESS, IDS_CONVERT_AT_STARTUP, IDS_OVERRIDE};
constexpr int kRunControls[] = {
    IDS_RUN_CONVERSION, IDS_OPTIONS,    IDC_INPUT_FORMAT, IDC_OUTPUT_FORMAT,
    IDC_BROWSE,         IDS_EMPTY_LIST, IDS_ADD_FILES,    IDS_WRITE_INTO_INPUT_FOLDER,
    IDS_CONFIGURE,      IDS_HEALING,    IDS_MULTIPROCESS, IDS_OVERRIDE};
constexpr struct {
    int control;
    int text;
} kTooltips[] = {
    {IDC_INPUT_FORMAT, IDS_TIP_INPUT_FORMAT},
    {IDC_OUTPUT_FORMAT, IDS_TIP_OUTPUT_FORMAT},
    {IDC_OUTPUT_FOLDER, IDS_TIP_OUTPUT_FOLDER},
    {IDC_BROWSE, IDS_BROWSE},
    {IDS_WRITE_INTO_INPUT_FOLDER, IDS_TIP_WRITE_INTO_INPUT_FOLDER},
    {IDS_CONFIGURE, IDS_TIP_CONFIGURE},
    {IDS_HEALING, IDS_TIP_HEALING},
    {IDS_MULTIPROCESS, IDS_TIP_MULTIPROCESS},
    {IDS_CONVERT_AT_STARTUP, IDS_TIP_CONVERT_AT_STARTUP},
    {IDS_OVERRIDE, IDS_TIP_OVERRIDE},
};

SIZE OuterSize(HWND window) {
    RECT rect{};
    GetWindowRect(window, &rect);
    return {rect.right - rect.left, rect.bottom - rect.top};
}

RECT PlaceOf(HWND control) {  // in its dialog
    RECT rect{};
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, GetParent(control), reinterpret_cast<POINT*>(&rect), 2);
    return rect;
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
    Update();
    const bool runAtOnce = settings_.developerMode.Get() && settings_.convertAtStartup.Get();
    if (settings_.loadLastState.Get()) {
        ListFile file = ReadLastState(state_.context.folders, state_.context.pairs);
        if (file.kind == ListFileKind::List) adding_.TakeListFile(std::move(file));
    }
    if (state_.adding)
        runWhenAdded_ = runAtOnce;
    else if (runAtOnce)
        PostMessageW(Handle(), kStartRunMessage, 0, 0);
    SetFocus(Item(IDC_LIST));
    return false;
}

void CmorvexDlg::SetUpWindow() {
    for (const auto& [kind, metric] : {std::pair{ICON_BIG, SM_CXICON}, std::pair{ICON_SMALL, SM_CXSMICON}}) {
        const int size = GetSystemMetrics(metric);
        const HANDLE icon = LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_MORVEX), IMAGE_ICON,
                                       size, size, LR_SHARED);
        SendMessageW(Handle(), WM_SETICON, static_cast<WPARAM>(kind), reinterpret_cast<LPARAM>(icon));
    }
    for (const int id : kCheckBoxes) WindowTheme::MakeColourable(Item(id));
    listControl_.Attach(Item(IDC_LIST));
    listControl_.DropTarget().dropped = [this](std::vector<std::wstring> paths, POINT screen) {
        adding_.OnDropped(std::move(paths), screen);
    };
    tooltip_.Create(Handle());
    CheckBox(Item(IDS_HEALING)).Check(settings_.healing.Get());
    CheckBox(Item(IDS_MULTIPROCESS)).Check(settings_.multiprocess.Get());
    CheckBox(Item(IDS_CONVERT_AT_STARTUP)).Check(settings_.convertAtStartup.Get());
    CheckBox(Item(IDS_OVERRIDE)).Check(settings_.fillOverride.Get());
    for (const int id : kDeveloperBoxes) Control(Item(id)).Show(settings_.developerMode.Get());
}

// The list gets the size that shows all columns and 22 rows; the window what goes around it, if the screen
// has it.
void CmorvexDlg::SetUpSize() {
    using A = AnchorLayout;
    if (!settings_.developerMode.Get()) TakeRoomOfDeveloperBoxes();
    layout_.Attach(Handle());
    layout_.Add(IDC_OUTPUT_FORMAT, A::kLeft | A::kTop | A::kRight);
    layout_.Add(IDC_OUTPUT_FOLDER, A::kLeft | A::kTop | A::kRight);
    layout_.Add(IDC_BROWSE, A::kTop | A::kRight);
    layout_.Add(IDS_WRITE_INTO_INPUT_FOLDER, A::kTop | A::kRight);
    layout_.Add(IDC_LIST, A::kLeft | A::kTop | A::kRight | A::kBottom);
    layout_.Add(IDC_STATUS_LINE, A::kLeft | A::kRight | A::kBottom);
    for (const int id : kDeveloperBoxes) layout_.Add(id, A::kLeft | A::kBottom);
    for (const int id : {IDS_ADD_FILES, IDS_EMPTY_LIST, IDS_CONFIGURE, IDS_OPTIONS})
        layout_.Add(id, A::kBottom);
    for (const int id : {IDS_RUN_CONVERSION, IDS_QUIT}) layout_.Add(id, A::kRight | A::kBottom);

    const SIZE window = OuterSize(Handle()), list = OuterSize(Item(IDC_LIST)),
               wanted = listControl_.NaturalSize();
    RECT client{};
    GetClientRect(Handle(), &client);
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(Handle(), MONITOR_DEFAULTTOPRIMARY), &monitor);
    const RECT& area = monitor.rcWork;
    smallest_.cx =
        std::min(layout_.Size().cx + wanted.cx - list.cx + window.cx - client.right, area.right - area.left);
    smallest_.cy =
        std::min(layout_.Size().cy + wanted.cy - list.cy + window.cy - client.bottom, area.bottom - area.top);
    smallestDpi_ = GetDpiForWindow(Handle());
    SetWindowPos(Handle(), nullptr, (area.left + area.right - smallest_.cx) / 2,
                 (area.top + area.bottom - smallest_.cy) / 2, smallest_.cx, smallest_.cy,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void CmorvexDlg::TakeRoomOfDeveloperBoxes() {
    const RECT line = PlaceOf(Item(IDC_STATUS_LINE)), list = PlaceOf(Item(IDC_LIST));
    const LONG room = PlaceOf(Item(IDS_HEALING)).top - line.top;
    SetWindowPos(Item(IDC_STATUS_LINE), nullptr, line.left, line.top + room, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    SetWindowPos(Item(IDC_LIST), nullptr, 0, 0, list.right - list.left, list.bottom - list.top + room,
                 SWP_NOMOVE | SWP_NOZORDER);
}

void CmorvexDlg::ApplyTexts() {
    const TextCatalogue& text = state_.context.text;
    SetWindowTextW(Handle(), Title().c_str());
    for (const int id : kTextControls) Control(Item(id)).SetText(EscapeAmpersands(text(id)));
    AssignAccessKeys(Handle());
    for (const auto& tip : kTooltips) tooltip_.SetText(tip.control, text(tip.text));
    listControl_.Localise();
    state_.recentFiles.Read(state_.context.folders.recentFiles);
}

std::wstring CmorvexDlg::Title() const {
    const auto library = LibraryVersion::Query(state_.context.folders.library);
    const std::wstring version =
        library ? Format(L"%d.%d", library->version / 10, library->version % 10) : product::kVersion;
    const wchar_t* const name = settings_.developerMode.Get() ? product::kDeveloperTitle : product::kTitle;
    return name + version + L")";
}

bool CmorvexDlg::PreTranslate(const MSG& message) {
    if (IsInput(message.message)) running_.OnNoticed();
    if (!Handle() || (message.hwnd != Handle() && !IsChild(Handle(), message.hwnd))) return false;
    if (folder_.PreTranslate(message)) return true;
    if (message.message != WM_KEYDOWN || message.wParam != VK_ESCAPE) return false;
    // Escape would mean Quit to the dialog manager, whose number that button has.
    adding_.Stop();
    if (SendMessageW(message.hwnd, CB_GETDROPPEDSTATE, 0, 0))
        SendMessageW(message.hwnd, CB_SHOWDROPDOWN, FALSE, 0);
    return true;
}

void CmorvexDlg::OnCancel() {
    if (!IsWindowEnabled(Handle())) return;  // a box or dialog of ours is open and would lose its owner
    folder_.Commit();
    Destroy();
}

bool CmorvexDlg::OnCommand(int id, int notification, HWND control) {
    if (id == IDC_INPUT_FORMAT && notification == CBN_SELCHANGE)
        OnInputFormat();
    else if (id == IDC_OUTPUT_FORMAT && notification == CBN_SELCHANGE)
        OnOutputFormat();
    else if (id == IDC_OUTPUT_FOLDER && notification == EN_KILLFOCUS)
        folder_.OnLeft();
    else
        return (!control || notification == BN_CLICKED) && Execute(id);
    return true;
}

bool CmorvexDlg::OnNotify(NMHDR& header, LRESULT& result) {
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
        case LVN_KEYDOWN:
            return OnListKey(reinterpret_cast<NMLVKEYDOWN&>(header).wVKey);
        case NM_DBLCLK:
            if (!state_.Busy()) rows_.OpenResult(reinterpret_cast<NMITEMACTIVATE&>(header));
            return true;
        default:
            return false;
    }
}

bool CmorvexDlg::OnListKey(int key) {
    if (key == VK_DELETE)
        Execute(IDS_REMOVE_FROM_LIST);
    else if (key == 'A' && GetKeyState(VK_CONTROL) < 0)
        listControl_.View().SelectAll(true);
    else
        return false;
    return true;
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
            if (wParam == SIZE_MINIMIZED || !listControl_.View().Handle()) return false;
            layout_.Apply();
            listControl_.FitColumnsToWidth();
            RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
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
            return false;  // the system scales the controls and their font
        case kRescaleMessage:
            Rescale();
            return true;
        case WM_ACTIVATE:
            if (LOWORD(wParam) != WA_INACTIVE) running_.OnNoticed();
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
        case kDropMessage:
            adding_.ShowDropMenu();
            return true;
        case kCheckFolderMessage:
            folder_.Check();
            return true;
        case kFoundMessage:
            adding_.OnFound();
            return true;
        case kRunNewsMessage:
            running_.OnNewsPosted();
            return true;
        case kStartRunMessage:
            StartRun();
            return true;
        case WM_TIMER:
            if (wParam == kRunNewsTimer) running_.OnNews();
            if (wParam == kFlashTimer) formats_.OnFlashTimer();
            return true;
        default:
            return false;
    }
}

void CmorvexDlg::Rescale() {
    listControl_.Rescale();
    layout_.Apply();
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
    FillContextMenu(menu, state_, listControl_.View().SelectedCount());
    state_.prompts.showMenu(menu, Handle(), screen);
    return true;
}

// A frozen control would keep the keyboard to itself: the list gets it first.
void CmorvexDlg::Update() {
    listControl_.Refresh();
    const HWND focus = GetFocus();
    for (const int id : kRunControls) {
        const bool needsRows = id == IDS_RUN_CONVERSION || id == IDS_EMPTY_LIST;
        const bool on = !state_.Busy() && !(needsRows && state_.list.Empty());
        if (!on && Item(id) == focus) SetFocus(Item(IDC_LIST));
        Control(Item(id)).Enable(on);
    }
}

void CmorvexDlg::OnRowsAdded() {
    if (!state_.list.Empty() && state_.run == RunState::Finished) state_.run = RunState::Idle;
    Update();
    listControl_.ShowSorted(false);
    listControl_.FitColumnsToRows();
}

void CmorvexDlg::OnAddingEnded(bool stopped) {
    if (std::exchange(runWhenAdded_, false) && !stopped) StartRun();
}

}  // namespace morvex
