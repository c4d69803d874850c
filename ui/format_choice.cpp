#include "ui/format_choice.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "formats/format_codes.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg_messages.h"
#include "win/controls.h"
#include "win/window_device.h"

namespace morvex {
namespace {

// A format that no profile offers, of a list file for one, is an entry of its own.
void Show(const ComboBox& formats, const std::wstring& chosen) {
    if (chosen.empty() || formats.SelectText(chosen)) return;
    formats.Add(chosen);
    formats.SelectText(chosen);
}

// Just before it opens: the list is as wide as its widest entry.
void FitList(const ComboBox& formats) {
    const WindowDevice device(formats.Handle());
    LONG widest = 0;
    for (int i = 0; i < formats.Count(); ++i) {
        const std::wstring text = formats.TextAt(i);
        SIZE size{};
        GetTextExtentPoint32W(device.Get(), text.c_str(), static_cast<int>(text.size()), &size);
        widest = std::max(widest, size.cx);
    }
    widest += 2 * GetSystemMetrics(SM_CXVSCROLL);  // a scroll bar, and the margins
    formats.Send(CB_SETDROPPEDWIDTH, static_cast<WPARAM>(widest));
}

}  // namespace

void FormatChoice::Fill() {
    const ComboBox formats(state_.Item(IDC_INPUT_FORMAT));
    formats.Clear();
    for (const auto& entry : state_.context.pairs.All()) formats.Add(entry.first);
    TextSetting& chosen = state_.Settings().formatIn;
    if (chosen.Get().empty() && formats.Count() > 0) chosen.Set(formats.TextAt(0));
    Show(formats, chosen.Get());
    FillOutputs();
}

void FormatChoice::Choose(const ChosenFormats& formats) {
    state_.Settings().formatIn.Set(formats.input);
    state_.Settings().formatOut.Set(formats.output);
    Show(ComboBox(state_.Item(IDC_INPUT_FORMAT)), formats.input);
    FillOutputs();
}

// The outputs on offer for the chosen input; repairs a chosen output that is not among them.
void FormatChoice::FillOutputs() {
    const ComboBox formats(state_.Item(IDC_OUTPUT_FORMAT));
    formats.Clear();
    const std::vector<ConversionPair>* const pairs =
        state_.context.pairs.OutputsOf(state_.Settings().formatIn.Get());
    if (!pairs) return Show(formats, state_.Settings().formatOut.Get());
    std::vector<std::wstring> shown;  // several profiles may offer the same pair
    for (const ConversionPair& pair : *pairs) {
        if (std::find(shown.begin(), shown.end(), pair.outputFilterText) != shown.end()) continue;
        formats.Add(pair.outputFilterText);
        shown.push_back(pair.outputFilterText);
    }
    TextSetting& chosen = state_.Settings().formatOut;
    if (formats.SelectText(chosen.Get())) return;
    formats.Select(0);
    chosen.Set(formats.TextAt(0));
}

void FormatChoice::ShowChosen() const {
    ComboBox(state_.Item(IDC_INPUT_FORMAT)).SelectText(state_.Settings().formatIn.Get());
    ComboBox(state_.Item(IDC_OUTPUT_FORMAT)).SelectText(state_.Settings().formatOut.Get());
}

void FormatChoice::OnNotification(int box, int notification) {
    if (notification == CBN_DROPDOWN) return FitList(ComboBox(state_.Item(box)));
    const bool open = SendMessageW(state_.Item(box), CB_GETDROPPEDSTATE, 0, 0) != 0;
    const bool altClosesIt = notification == CBN_SELENDCANCEL && GetKeyState(VK_MENU) < 0;  // so Wine says it
    if (notification == CBN_SELENDCANCEL && !altClosesIt) return ShowChosen();
    const bool chosen =
        altClosesIt || notification == CBN_SELENDOK || (notification == CBN_SELCHANGE && !open);
    // One choice makes up to two notifications, the first while the list is still open.
    if (chosen && !std::exchange(chosenBox_, box)) PostMessageW(state_.window, kFormatChosenMessage, 0, 0);
}

std::wstring FormatChoice::ShownInput() const {
    return ComboBox(state_.Item(IDC_INPUT_FORMAT)).SelectedText();
}

void FormatChoice::TakeOutput() {
    TextSetting& chosen = state_.Settings().formatOut;
    const std::wstring shown = ComboBox(state_.Item(IDC_OUTPUT_FORMAT)).SelectedText();
    if (shown != chosen.Get()) chosen.Set(shown);
}

bool FormatChoice::Same() const {
    const int code = InputFilterTextToFormatCode(state_.Settings().formatIn.Get());
    return code != kCodeAny && code == OutputFilterTextToFormatCode(state_.Settings().formatOut.Get());
}

void FormatChoice::FlashWhile(const std::wstring& message) {
    flashedLabel_.clear();
    flashing_ = true;
    SetTimer(state_.window, kFlashTimer, kFlashDelay, nullptr);
    state_.prompts.message(state_.window, message, kMessageCaption, MB_OK);
    KillTimer(state_.window, kFlashTimer);
    flashing_ = false;
    if (!flashedLabel_.empty()) Flash();
}

// Clears the input format and its label, or brings them back.
void FormatChoice::Flash() {
    const Control label(state_.Item(IDS_INPUT_FORMAT));
    const ComboBox formats(state_.Item(IDC_INPUT_FORMAT));
    if (flashedLabel_.empty()) {
        flashedLabel_ = label.Text();
        label.SetText(L" ");
        formats.Select(-1);
    } else {
        label.SetText(std::exchange(flashedLabel_, {}));
        formats.SelectText(state_.Settings().formatIn.Get());
    }
}

}  // namespace morvex
