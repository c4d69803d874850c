#include "ui/result_card.h"

#include <algorithm>

#include "res/resource.h"
#include "res/string_ids.h"
#include "win/controls.h"
#include "win/paths.h"
#include "win/window_device.h"

namespace morvex {
namespace {

constexpr int kValueColumn = 70;  // dialog units from the left edge

std::wstring Sizes(const ListRow& row) {
    if (row.status.state != RowState::Converted) return row.size;
    const auto written = FileSizeOf(row.status.output);
    return written ? row.size + L" \u2192 " + FormatFileSize(*written) : row.size;
}

}  // namespace

std::wstring FactsOf(const ListRow& row, const ConversionReport& report, const TextCatalogue& text) {
    std::wstring facts;
    const auto add = [&](int label, const std::wstring& value) {
        if (!value.empty()) facts += (facts.empty() ? L"" : L"\r\n") + text(label) + L"\t" + value;
    };
    add(IDS_STATUS, row.status.text);
    add(IDS_INFORMATION, row.status.reason);
    add(IDS_SIZE, Sizes(row));
    add(IDS_FACT_BOX, report.Dimensions());
    add(IDS_FACT_PARTS, report.Fact(L"parts"));
    add(IDS_FACT_SOLIDS, report.Fact(L"solids"));
    add(IDS_FACT_FACES, report.Fact(L"faces"));
    add(IDS_FACT_TRIANGLES, report.Fact(L"triangles"));
    add(IDS_FACT_TIME, report.seconds.empty() ? L"" : report.seconds + L" s");
    for (const std::wstring& lost : report.missing) add(IDS_FACT_MISSING, lost);
    for (const std::wstring& warning : report.warnings) add(IDS_FACT_WARNING, warning);
    return facts;
}

void ResultCard::ShowRow(HWND owner, LONG statuses, const ListRow& row) {
    const std::wstring wanted =
        row.FullPath() + L'\n' + row.status.output + L'\n' + row.status.text + L'\n' + text_.Language();
    if (Shown() && wanted == shown_) return;
    ConversionReport report;
    if (row.status.Final()) report = ReadConversionReport(row.status.output).value_or(ConversionReport{});
    picture_ = Picture(report.picture);
    shown_ = wanted;
    if (!Shown()) {
        Create(IDD_RESULT_CARD, owner);
        PlaceBeside(owner, statuses);
        const UINT column = kValueColumn;
        Control(Item(IDC_CARD_FACTS)).Send(EM_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(&column));
    }
    for (const HWND name : {Handle(), Item(IDC_CARD_NAME)}) SetWindowTextW(name, row.name.c_str());
    Control(Item(IDC_CARD_FACTS)).SetText(FactsOf(row, report, text_));
    FitScrollBar();
    InvalidateRect(Item(IDC_CARD_PICTURE), nullptr, TRUE);
    ComeForward(true);
}

void ResultCard::ComeForward(bool forward) const {
    if (!Shown()) return;
    const bool dialogOpen = !IsWindowEnabled(GetWindow(Handle(), GW_OWNER));
    ShowWindow(Handle(), forward && !dialogOpen ? SW_SHOWNOACTIVATE : SW_HIDE);
}

bool ResultCard::PreTranslate(const MSG& message) {
    if (!Shown() || (message.hwnd != Handle() && !IsChild(Handle(), message.hwnd))) return false;
    const bool closes =
        message.message == WM_KEYDOWN && (message.wParam == VK_ESCAPE || message.wParam == VK_SPACE);
    if (closes) Hide();
    return closes;
}

bool ResultCard::OnMessage(UINT message, WPARAM, LPARAM lParam, INT_PTR& result) {
    if (message == WM_NCHITTEST) SetWindowLongPtrW(Handle(), DWLP_MSGRESULT, HTCAPTION);
    if (message == WM_DRAWITEM) DrawPicture(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    result = TRUE;
    return message == WM_NCHITTEST || message == WM_DRAWITEM;
}

void ResultCard::DrawPicture(const DRAWITEMSTRUCT& item) const {
    FillRect(item.hDC, &item.rcItem, GetSysColorBrush(COLOR_WINDOW));
    picture_.Draw(item.hDC, item.rcItem);
    if (!picture_.Empty()) return;
    RECT area = item.rcItem;
    SetBkMode(item.hDC, TRANSPARENT);
    SetTextColor(item.hDC, GetSysColor(COLOR_GRAYTEXT));
    DrawTextW(item.hDC, text_(IDS_NO_PICTURE).c_str(), -1, &area,
              DT_SINGLELINE | DT_CENTER | DT_VCENTER | DT_NOPREFIX);
}

// To the right of the owner, or to its left, where there is room; else over the list, beside its statuses.
void ResultCard::PlaceBeside(HWND owner, LONG statuses) const {
    RECT window{}, card{};
    GetWindowRect(owner, &window);
    GetWindowRect(Handle(), &card);
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTONEAREST), &monitor);
    const RECT& screen = monitor.rcWork;
    const LONG width = card.right - card.left;
    LONG left = window.right;
    if (left + width > screen.right) left = window.left - width;
    if (left < screen.left) left = std::max(statuses - width, screen.left);
    SetWindowPos(Handle(), nullptr, left, window.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void ResultCard::FitScrollBar() const {
    const Control facts(Item(IDC_CARD_FACTS));
    RECT room{};
    facts.Send(EM_GETRECT, 0, reinterpret_cast<LPARAM>(&room));
    TEXTMETRICW metrics{};
    GetTextMetricsW(WindowDevice(facts.Handle()).Get(), &metrics);
    ShowScrollBar(facts.Handle(), SB_VERT,
                  facts.Send(EM_GETLINECOUNT) * metrics.tmHeight > room.bottom - room.top);
}

}  // namespace morvex
