#include <windows.h>

#include <algorithm>
#include <map>
#include <utility>

#include "convert/conversion_library.h"
#include "core/product.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg.h"
#include "ui/window_place.h"
#include "win/access_keys.h"
#include "win/window_device.h"

// How the main window is made: its controls, its size, its texts.
namespace morvex {
namespace {

constexpr int kTextControls[] = {
    IDS_INPUT_FORMAT,   IDS_OUTPUT_FORMAT, IDS_OUTPUT_FOLDER,      IDS_WRITE_INTO_INPUT_FOLDER,
    IDS_HEALING,        IDS_MULTIPROCESS,  IDS_CONVERT_AT_STARTUP, IDS_OVERRIDE,
    IDS_ADD_FILES,      IDS_EMPTY_LIST,    IDS_CONFIGURE,          IDS_OPTIONS,
    IDS_RUN_CONVERSION, IDS_QUIT};
constexpr int kDeveloperBoxes[] = {IDS_HEALING, IDS_MULTIPROCESS, IDS_CONVERT_AT_STARTUP, IDS_OVERRIDE};
constexpr struct {
    int control;
    int text;
} kTooltips[] = {
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

}  // namespace

void CmorvexDlg::SetUpWindow() {
    for (const auto& [kind, metric] : {std::pair{ICON_BIG, SM_CXICON}, std::pair{ICON_SMALL, SM_CXSMICON}}) {
        const int size = GetSystemMetrics(metric);
        const HANDLE icon = LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_MORVEX), IMAGE_ICON,
                                       size, size, LR_SHARED);
        SendMessageW(Handle(), WM_SETICON, static_cast<WPARAM>(kind), reinterpret_cast<LPARAM>(icon));
    }
    WindowTheme::MakeColourable(Item(IDS_WRITE_INTO_INPUT_FOLDER));
    listControl_.Attach(Item(IDC_LIST));
    listControl_.DropTarget().dropped = [this](std::vector<std::wstring> paths, POINT screen) {
        adding_.OnDropped(std::move(paths), screen);
    };
    CheckBox(Item(IDS_HEALING)).Check(settings_.healing.Get());
    CheckBox(Item(IDS_MULTIPROCESS)).Check(settings_.multiprocess.Get());
    CheckBox(Item(IDS_CONVERT_AT_STARTUP)).Check(settings_.convertAtStartup.Get());
    CheckBox(Item(IDS_OVERRIDE)).Check(settings_.fillOverride.Get());
    if (!settings_.developerMode.Get()) return;
    for (const int id : kDeveloperBoxes) {
        WindowTheme::MakeColourable(Item(id));
        Control(Item(id)).Show();
    }
}

void CmorvexDlg::KeepPlace() {
    settings_.windowPlace.Set(PlaceOf(Handle()));
    settings_.columnWidths.Set(listControl_.Widths());
}

// The list gets the size that shows all columns and 22 rows; the window what goes around it, if the screen
// has it.
void CmorvexDlg::SetUpSize() {
    using A = AnchorLayout;
    if (!settings_.developerMode.Get()) TakeRoomOfDeveloperBoxes();
    layout_.Attach(Handle());
    layout_.Add(IDC_INPUT_FORMAT, A::kLeft | A::kTop | A::kRight);
    for (const int id : {IDS_OUTPUT_FORMAT, IDC_OUTPUT_FORMAT}) layout_.Add(id, A::kTop | A::kRight);
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
    const SIZE frame{window.cx - client.right, window.cy - client.bottom};
    const SIZE natural{std::min(layout_.Size().cx + wanted.cx - list.cx + frame.cx, area.right - area.left),
                       std::min(layout_.Size().cy + wanted.cy - list.cy + frame.cy, area.bottom - area.top)};
    const LONG spare = wanted.cy - wanted.cy / 4;  // a quarter of its rows is still of use
    smallest_ = {std::min(layout_.Size().cx + frame.cx, natural.cx), natural.cy - spare};
    smallestDpi_ = GetDpiForWindow(Handle());
    SetWindowPos(Handle(), nullptr, (area.left + area.right - natural.cx) / 2,
                 (area.top + area.bottom - natural.cy) / 2, natural.cx, natural.cy,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void CmorvexDlg::TakeRoomOfDeveloperBoxes() {
    const RECT line = Control(Item(IDC_STATUS_LINE)).Place(), list = Control(Item(IDC_LIST)).Place();
    const LONG room = Control(Item(IDS_HEALING)).Place().top - line.top;
    SetWindowPos(Item(IDC_STATUS_LINE), nullptr, line.left, line.top + room, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    SetWindowPos(Item(IDC_LIST), nullptr, 0, 0, list.right - list.left, list.bottom - list.top + room,
                 SWP_NOMOVE | SWP_NOZORDER);
}

void CmorvexDlg::ApplyTexts() {
    const TextCatalogue& text = state_.context.text;
    SetWindowTextW(Handle(), Title().c_str());
    std::map<int, std::wstring> captions;
    for (const int id : kTextControls) captions[id] = text(id);
    AssignAccessKeys(Handle(), captions);
    if (tooltip_.Created()) SetUpTips();
    listControl_.Localise();
    state_.list.Localise(text);
    listControl_.RedrawVisible();
    ShowAction();
    ShowRowSummary();
    UpdateCard();
    state_.recentFiles.Read(state_.context.folders.recentFiles);
}

void CmorvexDlg::SetUpTips() {
    if (!tooltip_.Created()) tooltip_.Create(Handle());
    for (const auto& tip : kTooltips) tooltip_.SetText(tip.control, state_.Text(tip.text));
    for (const auto& tip : {std::pair{IDC_INPUT_FORMAT, IDS_TIP_INPUT_FORMAT},
                            {IDC_OUTPUT_FORMAT, IDS_TIP_OUTPUT_FORMAT},
                            {IDC_OUTPUT_FOLDER, IDS_TIP_OUTPUT_FOLDER}})
        tooltip_.SetText(tip.first, [this, tip] { return ShownWhole(tip.first, tip.second); });
    tooltip_.SetText(IDC_STATUS_LINE, [this] { return ShownWhole(IDC_STATUS_LINE, 0); });
    tooltip_.SetText(IDC_LIST, [this] { return listControl_.TipAtPointer(); });
    listControl_.cellChanged = [this] { tooltip_.Hide(); };
}

// The control's text when it is cut, and the text that explains the control, if any.
std::wstring CmorvexDlg::ShownWhole(int id, int tip) const {
    const Control control(Item(id));
    const bool combo = id == IDC_INPUT_FORMAT || id == IDC_OUTPUT_FORMAT;
    std::wstring text = control.Text(), explained = tip ? state_.Text(tip) : L"";
    RECT room{};
    GetClientRect(control.Handle(), &room);
    SIZE size{};
    GetTextExtentPoint32W(WindowDevice(control.Handle()).Get(), text.c_str(), static_cast<int>(text.size()),
                          &size);
    const int button = combo ? GetSystemMetrics(SM_CXVSCROLL) : 0;
    if (size.cx <= room.right - button) return explained;
    return explained.empty() ? text : text + L"\n" + explained;
}

std::wstring CmorvexDlg::Title() const {
    const auto library = LibraryVersion::Query(state_.context.folders.library);
    const std::wstring version =
        library ? Format(L"%d.%d", library->version / 10, library->version % 10) : product::kVersion;
    const wchar_t* const name = settings_.developerMode.Get() ? product::kDeveloperTitle : product::kTitle;
    return name + version + L")";
}

}  // namespace morvex
