#include "dialogs/tessellation_dialog.h"

#include <algorithm>
#include <cmath>

#include "core/text_catalogue.h"
#include "res/settings_ids.h"
#include "win/controls.h"

namespace morvex {
namespace {

constexpr int kLargestAngle = 90;        // degrees
constexpr int kTickSpacing = 10;         // degrees
constexpr int kSliderWhenDisabled = 10;  // degrees

}  // namespace

bool TessellationDialog::OnInit() {
    const Slider slider(Item(IDC_ANGULAR_SLIDER));
    slider.SetRange(0, kLargestAngle);
    slider.Send(TBM_SETTICFREQ, kTickSpacing);
    return ConfigDialog::OnInit();
}

bool TessellationDialog::OnCommand(int id, int notification, HWND control) {
    switch (id) {
        case IDC_EXISTING_MESHES:
        case IDC_FORCE_TESSELLATION:
        case IDC_LINEAR_DISABLE:
        case IDC_ANGULAR_DISABLE:
            ShowState();
            return true;
        case IDC_ANGULAR_VALUE:
            if (notification == EN_CHANGE) ShowSlider();
            return ConfigDialog::OnCommand(id, notification, control);
        default:
            return ConfigDialog::OnCommand(id, notification, control);
    }
}

bool TessellationDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) {
    const Slider slider(Item(IDC_ANGULAR_SLIDER));
    if (message != WM_HSCROLL || reinterpret_cast<HWND>(lParam) != slider.Handle()) {
        return ConfigDialog::OnMessage(message, wParam, lParam, result);
    }
    Edit(Item(IDC_ANGULAR_VALUE)).SetText(Format(L"%.2lf", static_cast<double>(slider.Position())));
    return true;
}

bool TessellationDialog::Checked(int id) const {
    return CheckBox(Item(id)).Checked();
}

void TessellationDialog::ShowState() {
    const bool tolerances = !Checked(IDC_EXISTING_MESHES) && WritesMesh();
    const bool angular = !Checked(IDC_ANGULAR_DISABLE);
    CheckBox(Item(IDC_LINEAR_DISABLE)).Enable(tolerances);
    Edit(Item(IDC_LINEAR_VALUE)).Enable(tolerances && !Checked(IDC_LINEAR_DISABLE));
    CheckBox(Item(IDC_ANGULAR_DISABLE)).Enable(tolerances);
    Slider(Item(IDC_ANGULAR_SLIDER)).Enable(tolerances && angular);
    Edit(Item(IDC_ANGULAR_VALUE)).Enable(tolerances);
    Edit(Item(IDC_ANGULAR_VALUE)).SetReadOnly(!angular);
    ShowSlider();
}

void TessellationDialog::ShowSlider() {
    const double degrees = ToReal(Control(Item(IDC_ANGULAR_VALUE)).Text());
    const int position = static_cast<int>(std::lround(std::clamp<double>(degrees, 0, kLargestAngle)));
    Slider(Item(IDC_ANGULAR_SLIDER))
        .SetPosition(Checked(IDC_ANGULAR_DISABLE) ? kSliderWhenDisabled : position);
}

}  // namespace morvex
