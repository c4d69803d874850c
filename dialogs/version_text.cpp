#include "dialogs/version_text.h"

namespace morvex {

std::wstring VersionText(const std::optional<LibraryVersion>& library) {
    std::wstring text = L"Morvex 2024 Advanced 64-bit V2024.4  (2024.09.30)";
    if (!library) return text + L"\nPolyvane.dll (V..)";
    text += library->nativeEdition ? L"\nPolyvaneZel.dll V" : L"\nPolyvane.dll V";
    return text + library->VersionText() + L" (" + library->ReleaseText() + L")";
}

}  // namespace morvex
