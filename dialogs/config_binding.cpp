#include "dialogs/config_binding.h"

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <numbers>
#include <span>

#include "core/text_catalogue.h"
#include "win/controls.h"
#include "win/profile.h"

namespace morvex {
namespace {

std::span<const BoundControl> ControlsOf(const ConfigBinding& binding) {
    size_t count = 0;
    while (count < std::size(binding.controls) && binding.controls[count].id != 0) ++count;
    return {binding.controls, count};
}

int ToInteger(const std::wstring& text) {
    return static_cast<int>(std::wcstol(text.c_str(), nullptr, 10));
}

constexpr double kLeastAngle = 0.001;  // radians; the engine takes no smaller one

// The number that a text begins with. Blanks before it and whatever follows, a unit for one, are no part of
// it; a decimal comma counts as a point.
struct Number {
    explicit Number(std::wstring from) {
        std::ranges::replace(from, L',', L'.');
        wchar_t* end = nullptr;
        const double read = std::wcstod(from.c_str(), &end);
        value = std::isfinite(read) ? read : 0;
        const size_t start = from.find_first_not_of(L" \t");
        const auto length = static_cast<size_t>(end - from.c_str());
        if (start < length) text = from.substr(start, length - start);
    }
    double value = 0;   // 0 when there is none or it is not finite
    std::wstring text;  // with a point
};

void ShowChoice(const ConfigBinding& binding, HWND dialog, int value) {
    const auto controls = ControlsOf(binding);
    auto chosen = std::find_if(controls.begin(), controls.end(),
                               [value](const BoundControl& control) { return control.value == value; });
    if (chosen == controls.end() && binding.kind == BindingKind::Choice) --chosen;
    for (auto control = controls.begin(); control != controls.end(); ++control) {
        CheckBox(GetDlgItem(dialog, control->id)).Check(control == chosen);
    }
}

std::wstring ShownText(BindingKind kind, const std::wstring& stored) {
    switch (kind) {
        case BindingKind::Number:
            return std::to_wstring(ToInteger(stored));
        case BindingKind::Length: {
            const double length = ToReal(stored);
            return Format(L"%.5lf", length > 0 ? length : 0.1);
        }
        case BindingKind::Angle: {
            const double radians = std::min(ToReal(stored), std::numbers::pi / 2);
            return Format(L"%.2lf", radians * 180 / std::numbers::pi);
        }
        default:
            return stored;
    }
}

std::wstring StoredText(BindingKind kind, const std::wstring& typed) {
    switch (kind) {
        case BindingKind::Number:
            return Format(L"%d", ToInteger(typed));
        case BindingKind::Length: {
            const Number number(typed);
            return number.value > 0 ? number.text : L"0.10000";
        }
        case BindingKind::Angle: {
            const double degrees = ToReal(typed);
            const double radians = (degrees > 0 ? degrees : 90) * (std::numbers::pi / 180);
            return Format(L"%f", std::max(radians, kLeastAngle));
        }
        default:
            return typed;
    }
}

bool IsEdit(BindingKind kind) {
    return kind >= BindingKind::Text;
}

}  // namespace

double ToReal(const std::wstring& text) {
    return Number(text).value;
}

void LoadBinding(const ConfigBinding& binding, HWND dialog, const std::wstring& file) {
    const std::wstring stored = file.empty()
                                    ? binding.fallback
                                    : profile::ReadText(file, binding.section, binding.key, binding.fallback);
    if (IsEdit(binding.kind)) {
        Control(GetDlgItem(dialog, binding.controls[0].id)).SetText(ShownText(binding.kind, stored));
    } else {
        ShowChoice(binding, dialog, ToInteger(stored));
    }
}

std::optional<std::wstring> Correction(const ConfigBinding& binding, HWND dialog) {
    const std::wstring typed = Control(GetDlgItem(dialog, binding.controls[0].id)).Text();
    const double value = ToReal(typed);
    bool usable = true;
    switch (binding.kind) {
        case BindingKind::Number:
            usable = value >= 1;
            break;
        case BindingKind::Length:
            usable = value > 0;
            break;
        case BindingKind::Angle:
            usable = value * (std::numbers::pi / 180) >= kLeastAngle && value <= 90;
            break;
        default:
            break;
    }
    if (usable) return std::nullopt;
    return binding.kind == BindingKind::Number ? std::wstring(binding.fallback)
                                               : ShownText(binding.kind, StoredText(binding.kind, typed));
}

bool SaveBinding(const ConfigBinding& binding, HWND dialog, const std::wstring& file) {
    const auto controls = ControlsOf(binding);
    std::wstring value;
    if (IsEdit(binding.kind)) {
        value = StoredText(binding.kind, Control(GetDlgItem(dialog, controls[0].id)).Text());
    } else {
        const auto chosen =
            std::find_if(controls.begin(), controls.end(), [dialog](const BoundControl& control) {
                return CheckBox(GetDlgItem(dialog, control.id)).Checked();
            });
        if (chosen != controls.end())
            value = std::to_wstring(chosen->value);
        else if (binding.kind == BindingKind::StrictChoice)
            return true;
        else
            value = binding.kind == BindingKind::Check ? L"0" : std::to_wstring(controls.back().value);
    }
    return profile::WriteText(file, binding.section, binding.key, value);
}

}  // namespace morvex
